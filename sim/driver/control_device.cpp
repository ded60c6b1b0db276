#include "sim/driver/control_device.h"

#include "sim/driver/bus.h"
#include "sim/driver/device_settings.h"
#include "sim/driver/faults.h"
#include "sim/driver/pending.h"
#include "sim/driver/registry_state.h"
#include "sim/driver/request_log.h"
#include "sim/driver/requests.h"
#include "sim/driver/text.h"
#include "sim/driver/usb_error_log.h"

namespace {

DEVICE_OBJECT* g_controlDevice;

NTSTATUS QueryInfo(RequestCall& call) {
    SimInfo_st& info = call.Output<SimInfo_st>();
    info.protocolVersion = kSimProtocolVersion;
    info.busStarted = IsBusStarted() && g_model.access.busAbsent == 0 ? 1 : 0;
    for (const SimDevice& device : g_model.devices)
        info.deviceCount += device.known ? 1 : 0;
    info.heldRequests = CountWaitingRequests();
    info.nextSequence = NextSequence();
    info.droppedRequests = DroppedRequests();
    info.bsodRequests = g_model.bsodRequests;
    info.removeRequests = g_model.removeRequests;
    info.activeFaults = ActiveFaults();
    return STATUS_SUCCESS;
}

NTSTATUS SetPortState(RequestCall& call) {
    const auto& request = call.Input<SimPortState_st>();
    if (request.portNumber == 0 || request.portNumber > kPortNameCount) return STATUS_INVALID_PARAMETER;
    g_model.declaredPortStates[request.portNumber - 1] = request.state;
    return STATUS_SUCCESS;
}

NTSTATUS SetGlobalRecord(RequestCall& call) {
    g_model.globalCfg = call.Input<GlobalCfg_st>();
    return STATUS_SUCCESS;
}

NTSTATUS SetLogRecord(RequestCall& call) {
    g_model.logCfg = call.Input<LogCfg_st>();
    return STATUS_SUCCESS;
}

NTSTATUS SetVersion(RequestCall& call) {
    g_model.version = call.Input<DriverVersion_st>();
    return STATUS_SUCCESS;
}

NTSTATUS SetIrpText(RequestCall& call) {
    if (call.inputBytes % sizeof(wchar_t) != 0 || call.inputBytes > sizeof(g_model.irpText))
        return STATUS_INVALID_PARAMETER;
    RtlZeroMemory(g_model.irpText, sizeof(g_model.irpText));
    if (call.inputBytes != 0) RtlCopyMemory(g_model.irpText, call.input, call.inputBytes);
    return STATUS_SUCCESS;
}

NTSTATUS SetAccess(RequestCall& call) {
    g_model.access = call.Input<SimAccess_st>();
    return STATUS_SUCCESS;
}

NTSTATUS DeclareFault(RequestCall& call) {
    if (call.inputBytes < sizeof(SimFault_st)) return STATUS_INFO_LENGTH_MISMATCH;
    const auto& rule = call.Input<SimFault_st>();
    if (call.inputBytes - sizeof(SimFault_st) != rule.dataBytes) return STATUS_INFO_LENGTH_MISMATCH;
    if ((rule.flags & kSimFaultStatus) != 0 && rule.ntStatus == STATUS_PENDING)
        return STATUS_INVALID_PARAMETER;
    return AddFault(rule, call.input + sizeof(SimFault_st)) ? STATUS_SUCCESS : STATUS_INSUFFICIENT_RESOURCES;
}

NTSTATUS ForgetFaults(RequestCall&) {
    ClearFaults();
    return STATUS_SUCCESS;
}

NTSTATUS ReadRequests(RequestCall& call) {
    call.returnedBytes = ReadRequestLog(call.Input<uint64_t>(), call.output, call.outputBytes);
    return STATUS_SUCCESS;
}

NTSTATUS ClearRequests(RequestCall&) {
    ClearRequestLog();
    return STATUS_SUCCESS;
}

NTSTATUS SetPresence(RequestCall& call) {
    const auto& request = call.Input<SimPresence_st>();
    StorePresence(request.instanceId, kSimIdChars, request.present != 0, request.problem);
    return STATUS_SUCCESS;
}

NTSTATUS WriteUsbErrLog(RequestCall& call) {
    const auto& request = call.Input<SimUsbErrLog_st>();
    const bool isWritten =
        AppendUsbErrorEpisode(request.instanceId, kSimIdChars, request.text, kSimLogTextChars);
    return isWritten ? STATUS_SUCCESS : STATUS_UNSUCCESSFUL;
}

NTSTATUS HoldUsbErrLog(RequestCall& call) {
    const auto& request = call.Input<SimUsbErrLogHold_st>();
    return HoldUsbErrorLog(request.instanceId, kSimIdChars, request.locked != 0) ? STATUS_SUCCESS
                                                                                 : STATUS_UNSUCCESSFUL;
}

NTSTATUS SetDosLink(RequestCall& call) {
    const auto& request = call.Input<SimDosLink_st>();
    TextBuilder<kSimIdChars> link;
    link.Add(L"\\DosDevices\\").Add(request.name);
    TextBuilder<kSimIdChars> target;
    target.Add(request.target);
    UNICODE_STRING linkName = link.Unicode();
    UNICODE_STRING targetName = target.Unicode();
    IoDeleteSymbolicLink(&linkName);
    return target.length() == 0 ? STATUS_SUCCESS : IoCreateSymbolicLink(&linkName, &targetName);
}

// Carried out without the lock, before the row's function (null: none).
enum class Outside : uint32_t { kNothing, kApplyInterface, kReleaseHeld, kReleaseAll, kReset };

struct ControlRow {
    RequestRow request;
    Outside after;
};

constexpr ControlRow kControls[] = {
    {{kSimQueryInfo, 0, sizeof(SimInfo_st), QueryInfo}, Outside::kNothing},
    {{kSimReset, 0, 0, nullptr}, Outside::kReset},
    {{kSimPlug, sizeof(SimPlug_st), 0, PlugDevice}, Outside::kNothing},
    {{kSimUnplug, sizeof(SimInstanceId_st), 0, UnplugDevice}, Outside::kNothing},
    {{kSimForget, sizeof(SimInstanceId_st), 0, ForgetDevice}, Outside::kNothing},
    {{kSimListDevices, 0, kAnyBytes, ListDevices}, Outside::kNothing},
    {{kSimSetDeviceField, sizeof(SimDeviceField_st), 0, SetDeviceField}, Outside::kNothing},
    {{kSimSetFlowpath, sizeof(SimFlowpath_st), 0, SetFlowpath}, Outside::kNothing},
    {{kSimSetUsbErrStat, sizeof(SimUsbErrStat_st), 0, SetUsbErrStat}, Outside::kNothing},
    {{kSimSetPortState, sizeof(SimPortState_st), 0, SetPortState}, Outside::kNothing},
    {{kSimSetGlobalCfg, sizeof(GlobalCfg_st), 0, SetGlobalRecord}, Outside::kNothing},
    {{kSimQueryGlobalCfg, 0, sizeof(GlobalCfg_st), GetGlobalCfg}, Outside::kNothing},
    {{kSimSetLogCfg, sizeof(LogCfg_st), 0, SetLogRecord}, Outside::kNothing},
    {{kSimQueryLogCfg, 0, sizeof(LogCfg_st), GetLogCfg}, Outside::kNothing},
    {{kSimSetVersion, sizeof(DriverVersion_st), 0, SetVersion}, Outside::kNothing},
    {{kSimSetIrpText, kAnyBytes, 0, SetIrpText}, Outside::kNothing},
    {{kSimSetAccess, sizeof(SimAccess_st), 0, SetAccess}, Outside::kApplyInterface},
    {{kSimAddFault, kAnyBytes, 0, DeclareFault}, Outside::kNothing},
    {{kSimClearFaults, 0, 0, ForgetFaults}, Outside::kReleaseAll},
    {{kSimReleaseHeld, 0, sizeof(uint32_t), nullptr}, Outside::kReleaseHeld},
    {{kSimReadRequests, sizeof(uint64_t), kAnyBytes, ReadRequests}, Outside::kNothing},
    {{kSimClearRequests, 0, 0, ClearRequests}, Outside::kNothing},
    {{kSimSetPresence, sizeof(SimPresence_st), 0, SetPresence}, Outside::kNothing},
    {{kSimWriteUsbErrLog, sizeof(SimUsbErrLog_st), 0, WriteUsbErrLog}, Outside::kNothing},
    {{kSimHoldUsbErrLog, sizeof(SimUsbErrLogHold_st), 0, HoldUsbErrLog}, Outside::kNothing},
    {{kSimSetDosLink, sizeof(SimDosLink_st), 0, SetDosLink}, Outside::kNothing},
};

const ControlRow* FindControl(uint32_t code) {
    for (const ControlRow& row : kControls)
        if (row.request.code == code) return &row;
    return nullptr;
}

void RunOutside(Outside what, RequestCall& call) {
    switch (what) {
        case Outside::kNothing:
            break;
        case Outside::kApplyInterface:
            ApplyBusInterface();
            break;
        case Outside::kReleaseHeld:
            call.Output<uint32_t>() = ReleaseAllRequests(false);
            break;
        case Outside::kReleaseAll:
            ReleaseAllRequests(true);
            break;
        case Outside::kReset:
            ResetSimulation();
            break;
    }
}

NTSTATUS RunControl(const ControlRow& row, RequestCall& call) {
    const RequestRow& request = row.request;
    if (request.inputBytes != kAnyBytes && call.inputBytes != request.inputBytes)
        return STATUS_INFO_LENGTH_MISMATCH;
    if (request.outputBytes != kAnyBytes && call.outputBytes != request.outputBytes)
        return STATUS_INFO_LENGTH_MISMATCH;
    NTSTATUS status = STATUS_SUCCESS;
    if (request.run != nullptr) {
        ModelLock lock;
        status = request.run(call);
    }
    if (NT_SUCCESS(status)) RunOutside(row.after, call);
    return status;
}

}  // namespace

NTSTATUS CreateControlDevice(DRIVER_OBJECT* driver) {
    UNICODE_STRING name;
    RtlInitUnicodeString(&name, kSimControlKernelName);
    NTSTATUS status = IoCreateDevice(driver, sizeof(DeviceExtension), &name, FILE_DEVICE_UNKNOWN, 0, FALSE,
                                     &g_controlDevice);
    if (!NT_SUCCESS(status)) return status;
    ExtensionOf(g_controlDevice).kind = ExtensionKind::kControl;
    UNICODE_STRING link;
    RtlInitUnicodeString(&link, kSimControlLinkName);
    status = IoCreateSymbolicLink(&link, &name);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(g_controlDevice);
        return status;
    }
    g_controlDevice->Flags &= ~static_cast<ULONG>(DO_DEVICE_INITIALIZING);
    return STATUS_SUCCESS;
}

void DeleteControlDevice() {
    UNICODE_STRING link;
    RtlInitUnicodeString(&link, kSimControlLinkName);
    IoDeleteSymbolicLink(&link);
    IoDeleteDevice(g_controlDevice);
}

NTSTATUS HandleControlRequest(IRP* irp) {
    const auto& parameters = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl;
    const ControlRow* row = FindControl(parameters.IoControlCode);
    if (row == nullptr) return CompleteIrp(irp, STATUS_INVALID_DEVICE_REQUEST);
    PoolPointer<uint8_t> input(parameters.InputBufferLength + 1);
    if (!input) return CompleteIrp(irp, STATUS_INSUFFICIENT_RESOURCES);
    auto* buffer = static_cast<uint8_t*>(irp->AssociatedIrp.SystemBuffer);
    if (parameters.InputBufferLength != 0) RtlCopyMemory(input.get(), buffer, parameters.InputBufferLength);
    if (parameters.OutputBufferLength != 0) RtlZeroMemory(buffer, parameters.OutputBufferLength);
    RequestCall call = {input.get(), parameters.InputBufferLength, buffer, parameters.OutputBufferLength, 0};
    const NTSTATUS status = RunControl(*row, call);
    return CompleteIrp(irp, status, call.returnedBytes);
}

void ResetSimulation() {
    {
        ModelLock lock;
        ClearFaults();
    }
    ReleaseAllRequests(true);
    {
        ModelLock lock;
        for (SimDevice& device : g_model.devices)
            if (device.known) DetachVcom(device);
        ResetModel();
        ResetPresence();
        ReleaseUsbErrorLog();
        ClearRequestLog();
    }
    ApplyBusInterface();
}
