// The private protocol between the simulated driver and the programs that steer it: simctl, the viewer and
// the system tests. The product never sees it. Same rules as driver/protocol.h: little-endian, UTF-16,
// zero-filled texts.
#pragma once

#include <cstddef>
#include <cstdint>

#include "driver/protocol.h"

// ---- Device -----------------------------------------------------------------------------------------------
// A device of its own beside the bus, so that the simulation can be steered while the bus pretends to be
// absent.
constexpr wchar_t kSimControlKernelName[] = L"\\Device\\TavixSimControl";
constexpr wchar_t kSimControlLinkName[] = L"\\DosDevices\\TavixSimControl";
constexpr wchar_t kSimControlPath[] = L"\\\\.\\TavixSimControl";

constexpr uint32_t kSimProtocolVersion = 1;

constexpr uint32_t SimControlCode(uint32_t function) {
    return 0x8612u << 16 | function << 2;  // METHOD_BUFFERED, any access
}

// Behind each code: input -> output.
constexpr uint32_t kSimQueryInfo = SimControlCode(0x800);       // none -> SimInfo_st
constexpr uint32_t kSimReset = SimControlCode(0x801);           // none -> none
constexpr uint32_t kSimPlug = SimControlCode(0x802);            // SimPlug_st -> none
constexpr uint32_t kSimUnplug = SimControlCode(0x803);          // SimInstanceId_st -> none
constexpr uint32_t kSimForget = SimControlCode(0x804);          // SimInstanceId_st -> none
constexpr uint32_t kSimListDevices = SimControlCode(0x805);     // none -> SimDeviceState_st[]
constexpr uint32_t kSimSetDeviceField = SimControlCode(0x806);  // SimDeviceField_st -> none
constexpr uint32_t kSimSetFlowpath = SimControlCode(0x807);     // SimFlowpath_st -> none
constexpr uint32_t kSimSetUsbErrStat = SimControlCode(0x808);   // SimUsbErrStat_st -> none
constexpr uint32_t kSimSetPortState = SimControlCode(0x809);    // SimPortState_st -> none
constexpr uint32_t kSimSetGlobalCfg = SimControlCode(0x80A);    // GlobalCfg_st -> none
constexpr uint32_t kSimQueryGlobalCfg = SimControlCode(0x80B);  // none -> GlobalCfg_st
constexpr uint32_t kSimSetLogCfg = SimControlCode(0x80C);       // LogCfg_st -> none
constexpr uint32_t kSimQueryLogCfg = SimControlCode(0x80D);     // none -> LogCfg_st
constexpr uint32_t kSimSetVersion = SimControlCode(0x80E);      // DriverVersion_st -> none
constexpr uint32_t kSimSetIrpText = SimControlCode(0x80F);      // text, at most kSimIrpTextChars -> none
constexpr uint32_t kSimSetAccess = SimControlCode(0x810);       // SimAccess_st -> none
constexpr uint32_t kSimAddFault = SimControlCode(0x811);        // SimFault_st and reply bytes -> none
constexpr uint32_t kSimClearFaults = SimControlCode(0x812);     // none -> none; releases held requests
constexpr uint32_t kSimReleaseHeld = SimControlCode(0x813);     // none -> 32-bit number of released requests
constexpr uint32_t kSimReadRequests =
    SimControlCode(0x814);  // 64-bit first sequence -> SimRequest_st and input, repeated
constexpr uint32_t kSimClearRequests = SimControlCode(0x815);   // none -> none
constexpr uint32_t kSimSetPresence = SimControlCode(0x816);     // SimPresence_st -> none
constexpr uint32_t kSimWriteUsbErrLog = SimControlCode(0x817);  // SimUsbErrLog_st -> none
constexpr uint32_t kSimSetDosLink = SimControlCode(0x818);      // SimDosLink_st -> none
// Through a handle of the bus or of a VCOM: none -> none. Fails as the opening should have failed. Some
// platforms do not wait for the driver's answer to an opening.
constexpr uint32_t kSimQueryOpened = SimControlCode(0x819);
constexpr uint32_t kSimQueryOpenedForWriting = kSimQueryOpened | kTavixWriteAccess << 14;
constexpr uint32_t kSimHoldUsbErrLog = SimControlCode(0x81A);  // SimUsbErrLogHold_st -> none

// ---- Sizes ------------------------------------------------------------------------------------------------
constexpr size_t kSimIdChars = 200;
constexpr size_t kSimHuidChars = 64;
constexpr size_t kSimMaxDevices = 144;
constexpr size_t kSimIrpTextChars = kIrpStateTextBytes / 2;
constexpr size_t kSimLogTextChars = 1000;
constexpr size_t kSimTweakCount = 4;
constexpr size_t kSimWdfStateCount = 5;
constexpr uint32_t kSimMaxRequestBytes = 64 * 1024;  // longer inputs are logged cut to this length

// ---- Records ----------------------------------------------------------------------------------------------

struct SimInfo_st {
    uint32_t protocolVersion;
    uint32_t busStarted;  // the product's device interface is there
    uint32_t deviceCount;
    uint32_t heldRequests;     // waiting for a release or for their delay to end
    uint64_t nextSequence;     // that the next logged request gets
    uint64_t droppedRequests;  // forgotten because the log was full
    uint32_t bsodRequests;
    uint32_t removeRequests;
    uint32_t activeFaults;
    uint32_t reserved;
};
static_assert(sizeof(SimInfo_st) == 48 && kIsWireRecord<SimInfo_st>);

struct SimInstanceId_st {
    wchar_t instanceId[kSimIdChars];
};
static_assert(sizeof(SimInstanceId_st) == 400 && kIsWireRecord<SimInstanceId_st>);

constexpr uint32_t kSimDefaultLifemode = 0xFFFFFFFF;

// Plugging a device that is known already plugs it again: it keeps its Huid and port.
struct SimPlug_st {
    wchar_t instanceId[kSimIdChars];  // USB\VID_1234&PID_5678\SN01
    wchar_t huid[kSimHuidChars];      // empty: the driver makes one
    uint32_t portNumber;              // 0: the first free port from COM5 on
    uint32_t lifemode;                // kSimDefaultLifemode: that of the global configuration
    uint32_t withoutVcom;             // 1: the driver does not map the device to a VCOM
    uint32_t speed;                   // UsbSpeed
    uint16_t idVendor;
    uint16_t idProduct;
    uint16_t bcdDevice;
    uint16_t reserved;
    wchar_t manufacturer[kUsbStringChars];
    wchar_t product[kUsbStringChars];
    wchar_t serialNumber[kUsbStringChars];
};
static_assert(sizeof(SimPlug_st) == 1320 && kIsWireRecord<SimPlug_st>);

struct SimDeviceState_st {
    wchar_t instanceId[kSimIdChars];      // empty for a dangle VCOM
    wchar_t vcomInstanceId[kSimIdChars];  // empty without a VCOM
    wchar_t huid[kSimHuidChars];
    wchar_t portName[kPortNameChars];
    wchar_t kernelName[kKernelNameChars];
    uint32_t plugged;
    uint32_t online;
    uint32_t vcomStarted;  // the system has started the VCOM's device node
    uint32_t lifemode;
    uint32_t openerPid;  // as the product is told
    uint32_t openCount;  // handles that are really open on the port
    uint32_t blindRun;
    uint32_t tweakCounts[kSimTweakCount];
    uint32_t wdfStates[kSimWdfStateCount];
    uint32_t statResets;
    uint32_t historyResets;
};
static_assert(sizeof(SimDeviceState_st) == 1272 && kIsWireRecord<SimDeviceState_st>);

enum SimDeviceFieldId : uint32_t {
    kSimFieldOnline = 1,          // number: 0 takes the USB device offline, the VCOM stays
    kSimFieldSpeed,               // number
    kSimFieldVendorId,            // number
    kSimFieldProductId,           // number
    kSimFieldBcdDevice,           // number
    kSimFieldManufacturer,        // text
    kSimFieldProduct,             // text
    kSimFieldSerialNumber,        // text
    kSimFieldReportedUsbdPath,    // text; replaces the USB path of GetUsbdInfo, even offline; empty: the true
                                  // one
    kSimFieldReportedVcomPath,    // text; replaces the VCOM path of GetUsbdInfo; empty: the true one
    kSimFieldDevinstPathAnswer,   // text; replaces the answer of QueryUsbdDevinstPath; empty: the true one
    kSimFieldReportedKernelName,  // text; replaces the answer of QueryVcomFdoPdo; empty: the true one
    kSimFieldOpenerPid,           // number; 0: who has really opened the port
    kSimFieldLifemode,            // number
    kSimFieldPortName,            // text, any; a COM name also moves the DOS link
    kSimFieldCfgResult,           // number; result word of GetVcomCfg, 0: the true one
    kSimFieldSetCfgResult,        // number; word returned by SetVcomCfg, 0: the true one
    kSimFieldBlindRun,            // number
    kSimFieldUpstreamRate,        // number: bytes per second that the device sends by itself
    kSimFieldDownstreamRate,      // number: bytes per second that are written to its VCOM by themselves
    kSimFieldReadRate,            // number: bytes per second that the VCOM's user reads of them; 0: all
    kSimFieldSendRate,            // number: bytes per second that the device takes of them; 0: all
    kSimFieldMiscount,            // number: bytes that the driver counts too many in each direction
    kSimFieldHuid,                // text; the value "NowHuid", written as it is: empty removes the value
    kSimFieldLastStartup,         // 64-bit number: the value "UsbdLastStartupSuccessUemsec"
    kSimFieldCount
};

struct SimDeviceField_st {
    DeviceName_st device;
    uint32_t field;  // SimDeviceFieldId
    uint32_t reserved;
    uint64_t number;
    wchar_t text[kSimIdChars];
};
static_assert(sizeof(SimDeviceField_st) == 672 && kIsWireRecord<SimDeviceField_st>);

struct SimFlowpath_st {
    DeviceName_st device;
    FlowpathStat_st stat;
};
static_assert(sizeof(SimFlowpath_st) == 480 && kIsWireRecord<SimFlowpath_st>);

struct SimUsbErrStat_st {
    DeviceName_st device;
    UsbErrStat_st stat;
};
static_assert(sizeof(SimUsbErrStat_st) == 456 && kIsWireRecord<SimUsbErrStat_st>);

constexpr uint32_t kSimPortComputed = 0xFFFFFFFF;

struct SimPortState_st {
    uint32_t portNumber;  // 1 to 128
    uint32_t state;       // PortNameState or any other number; kSimPortComputed: what the model says
};
static_assert(sizeof(SimPortState_st) == 8 && kIsWireRecord<SimPortState_st>);

struct SimAccess_st {
    uint32_t refuseWrite;  // opening the bus for writing fails with access denied
    int32_t openStatus;    // NTSTATUS that every opening of the bus fails with, 0: none
    uint32_t busAbsent;    // the product's device interface disappears; open handles meet "not connected"
};
static_assert(sizeof(SimAccess_st) == 12 && kIsWireRecord<SimAccess_st>);

enum SimFaultFlags : uint32_t {
    kSimFaultStatus = 1,      // fail with ntStatus
    kSimFaultReplyBytes = 2,  // claim replyBytes bytes, whatever the reply is
    kSimFaultDelay = 4,       // answer after delayMs; the request is carried out then
    kSimFaultHold = 8,        // answer at the next release; the request is carried out then
    kSimFaultReplyData = 16,  // answer with the bytes behind this record
};

constexpr uint32_t kSimForever = 0xFFFFFFFF;

struct SimFault_st {
    uint32_t code;   // control code; 0: every one
    uint32_t flags;  // SimFaultFlags
    uint32_t skip;   // so many matching requests pass before
    uint32_t count;  // requests that it meets; kSimForever: no limit
    int32_t ntStatus;
    uint32_t replyBytes;
    uint32_t delayMs;
    uint32_t dataBytes;
};
static_assert(sizeof(SimFault_st) == 32 && kIsWireRecord<SimFault_st>);

// One request that the product sent; its input follows, padded with zeros to a multiple of 8 bytes.
struct SimRequest_st {
    uint64_t sequence;
    uint64_t timeFiletime;
    uint32_t code;
    uint32_t processId;
    uint32_t inputBytes;   // as the sender gave it
    uint32_t loggedBytes;  // of the input, behind this record
    uint32_t outputBytes;  // room for the reply
    int32_t ntStatus;      // pending (0x103) until the request is answered
    uint64_t returnedBytes;
};
static_assert(sizeof(SimRequest_st) == 48 && kIsWireRecord<SimRequest_st>);

// What the platform shim tells a process about a device node. Stored under kSimNodesKey, one key per node,
// named by the upper-cased instance ID with '#' for each backslash. The keys vanish with the session, as the
// driver's state does.
constexpr wchar_t kSimNodesKey[] = L"SOFTWARE\\TavixSimulator\\Nodes";
constexpr wchar_t kSimNodePresentValue[] = L"Present";  // REG_DWORD
constexpr wchar_t kSimNodeProblemValue[] = L"Problem";  // REG_DWORD, a CM_PROB code; 0: none

struct SimPresence_st {
    wchar_t instanceId[kSimIdChars];
    uint32_t present;
    uint32_t problem;
};
static_assert(sizeof(SimPresence_st) == 408 && kIsWireRecord<SimPresence_st>);

// Writes one startup-error episode into the USB device's log file.
struct SimUsbErrLog_st {
    wchar_t instanceId[kSimIdChars];
    wchar_t text[kSimLogTextChars];  // empty: only the separator line
};
static_assert(sizeof(SimUsbErrLog_st) == 2400 && kIsWireRecord<SimUsbErrLog_st>);

// Keeps the USB device's log file open for writing, until another one is held or the driver is reset.
struct SimUsbErrLogHold_st {
    wchar_t instanceId[kSimIdChars];  // empty: none is held any more
    uint32_t locked;                  // 1: nobody else may open the file; 0: everybody may
};
static_assert(sizeof(SimUsbErrLogHold_st) == 404 && kIsWireRecord<SimUsbErrLogHold_st>);

// A DOS device name of the test's choice, for example one that another driver has taken.
struct SimDosLink_st {
    wchar_t name[kPortNameChars];
    wchar_t target[kSimIdChars];  // empty: removes the name
};
static_assert(sizeof(SimDosLink_st) == 432 && kIsWireRecord<SimDosLink_st>);
