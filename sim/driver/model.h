// What the simulated driver knows: the USB devices and VCOMs, the global records, what the tests declared.
// Every function here expects the caller to hold the ModelLock.
#pragma once

#include "driver/protocol.h"
#include "sim/control/control_protocol.h"
#include "sim/driver/kernel.h"

// What flows in one direction by itself, in bytes per second.
struct SimStream {
    uint64_t rate;
    uint64_t takenRate;  // by the receiver; 0: as fast as it comes
};

// One USB device with its VCOM, or a dangle VCOM, which has no USB device behind it.
struct SimDevice {
    bool known;        // the slot is in use
    bool plugged;      // the USB device is there
    bool online;       // ... and answers
    bool withoutVcom;  // is not mapped to a VCOM
    wchar_t instanceId[kSimIdChars];
    wchar_t huid[kSimHuidChars];
    DEVICE_OBJECT* vcom;  // the bus's child, null without a VCOM
    wchar_t portName[kPortNameChars];
    uint32_t lifemode;
    UsbdInfo_st identity;  // its paths and flags are filled when it is reported
    FlowpathStat_st flowpath;
    uint64_t trafficSince;  // FILETIME up to which the rates are counted in
    SimStream upstream;
    SimStream downstream;
    uint64_t miscount;  // bytes that U1 and D1 are told too high
    UsbErrStat_st errors;
    uint32_t declaredOpenerPid;
    uint32_t cfgResult;
    uint32_t setCfgResult;
    uint32_t tweakCounts[kSimTweakCount];
    uint32_t wdfStates[kSimWdfStateCount];
    uint32_t statResets;
    uint32_t historyResets;
    wchar_t reportedUsbdPath[kSimIdChars];
    wchar_t reportedVcomPath[kSimIdChars];
    wchar_t devinstPathAnswer[kSimIdChars];
    wchar_t reportedKernelName[kSimIdChars];
};

struct SimModel {
    SimDevice devices[kSimMaxDevices];
    DriverVersion_st version;
    GlobalCfg_st globalCfg;
    LogCfg_st logCfg;
    uint32_t declaredPortStates[kPortNameCount];  // kSimPortComputed: none
    wchar_t irpText[kSimIrpTextChars];            // empty: made from the model
    SimAccess_st access;
    uint32_t bsodRequests;
    uint32_t removeRequests;
};

extern SimModel g_model;

// Back to the state after loading. The caller has removed the VCOMs before.
void ResetModel();

SimDevice* FindByInstanceId(const wchar_t* instanceId, size_t idChars);
SimDevice* FindByVcomInstanceId(const wchar_t* instanceId, size_t idChars);

// A device-name field means a device by its Huid, by the tail of its instance ID or by that of its VCOM.
SimDevice* FindByName(const DeviceName_st& name);

// The same by the tail of the instance ID that the VCOM of an unplugged device had.
SimDevice* FindByLostVcom(const DeviceName_st& name);

// Null when every slot is taken.
SimDevice* AddDevice(const wchar_t* instanceId, size_t idChars);

// "QRV_VBUS\Qrv_vcom\<Huid>", empty without a VCOM. The field has kSimIdChars characters.
void VcomInstanceId(const SimDevice& device, wchar_t* out);

// Sets the port name and the DOS link with it.
void SetPortName(SimDevice& device, const wchar_t* text, size_t textChars);

// Goes offline or comes back; counts and stamps it as the product is told about it.
void SetOnline(SimDevice& device, bool online);

// A Huid that no known device has: "1&2", "1&3", ...
void MakeHuid(SimDevice& device);

// The first free port number from COM5 on; the lower ones belong to the machine.
uint32_t FreePortNumber();
