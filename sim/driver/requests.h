// The product's requests: one table row and one function each.
#pragma once

#include "sim/driver/model.h"

struct RequestCall {
    const uint8_t* input;
    uint32_t inputBytes;
    uint8_t* output;  // zero-filled
    uint32_t outputBytes;
    uint32_t returnedBytes;

    // The input as a record; its length has been checked.
    template <typename Record>
    const Record& Input() const {
        static_assert(kIsWireRecord<Record>);
        return *reinterpret_cast<const Record*>(input);
    }
    // The output as a record; its length has been checked.
    template <typename Record>
    Record& Output() {
        static_assert(kIsWireRecord<Record>);
        returnedBytes = sizeof(Record);
        return *reinterpret_cast<Record*>(output);
    }
};

using RequestFunction = NTSTATUS (*)(RequestCall& call);

constexpr uint32_t kAnyBytes = 0xFFFFFFFF;

struct RequestRow {
    uint32_t code;
    uint32_t inputBytes;   // exactly so many; kAnyBytes: the function checks
    uint32_t outputBytes;  // exactly so many; kAnyBytes: the function checks
    RequestFunction run;
};

// Takes a request from the bus: logs it, lets it meet its fault, carries it out, or keeps it for later.
NTSTATUS HandleBusRequest(DEVICE_OBJECT* device, IRP* irp);

// Carries out a request by the table. The caller holds the ModelLock.
NTSTATUS RunRequest(uint32_t code, RequestCall& call);

// requests_config.cpp
NTSTATUS GetDriverVersion(RequestCall& call);
NTSTATUS GetVcomCfg(RequestCall& call);
NTSTATUS SetVcomCfg(RequestCall& call);
NTSTATUS GetGlobalCfg(RequestCall& call);
NTSTATUS SetGlobalCfg(RequestCall& call);
NTSTATUS GetLogCfg(RequestCall& call);
NTSTATUS SetLogCfg(RequestCall& call);

// requests_usb.cpp
NTSTATUS GetVcomOpenerPid(RequestCall& call);
NTSTATUS RemoveDevice(RequestCall& call);
NTSTATUS GetUsbdInfo(RequestCall& call);
NTSTATUS QueryUsbdDevinstPath(RequestCall& call);
NTSTATUS GetUsbErrStat(RequestCall& call);
NTSTATUS QueryVcomFdoPdo(RequestCall& call);
NTSTATUS UsbTweak0(RequestCall& call);
NTSTATUS UsbTweak1(RequestCall& call);
NTSTATUS UsbTweak2(RequestCall& call);
NTSTATUS UsbTweak3(RequestCall& call);

// requests_flowpath.cpp
NTSTATUS GetFlowpathStat(RequestCall& call);
NTSTATUS ResetFlowpathStat(RequestCall& call);
NTSTATUS DestroyFlowpathStatHistory(RequestCall& call);
NTSTATUS StartBlindRun(RequestCall& call);
NTSTATUS StopBlindRun(RequestCall& call);

// requests_diagnostic.cpp
NTSTATUS RefuseBsod(RequestCall& call);
NTSTATUS GetIrpStateText(RequestCall& call);
NTSTATUS CreateDangleVcom(RequestCall& call);
NTSTATUS SetWdfDeviceState(RequestCall& call);
