#include "sim/driver/requests.h"

#include "sim/driver/bus.h"
#include "sim/driver/pending.h"
#include "sim/driver/request_log.h"
#include "sim/driver/requests_dispatch.h"

namespace {

constexpr uint32_t kName = sizeof(DeviceName_st);
constexpr uint32_t kNone = 0;
constexpr uint32_t kResult = sizeof(uint32_t);

constexpr RequestRow kRequests[] = {
    {IOCTL_TAVIX_BSOD, sizeof(kBsodInput), kNone, RefuseBsod},
    {IOCTL_TAVIX_GetDriverVersion, kNone, sizeof(DriverVersion_st), GetDriverVersion},
    {IOCTL_TAVIX_GetVcomCfg, kName, sizeof(VcomCfgReply_st), GetVcomCfg},
    {IOCTL_TAVIX_SetVcomCfg, sizeof(VcomCfgRequest_st), kResult, SetVcomCfg},
    {IOCTL_TAVIX_GetGlobalCfg, kNone, sizeof(GlobalCfg_st), GetGlobalCfg},
    {IOCTL_TAVIX_SetGlobalCfg, sizeof(GlobalCfg_st), kResult, SetGlobalCfg},
    {IOCTL_TAVIX_GetVcomOpenerPid, kName, sizeof(uint32_t), GetVcomOpenerPid},
    {IOCTL_TAVIX_RemoveDevice, kName, kNone, RemoveDevice},
    {IOCTL_TAVIX_GetLogCfg, kNone, sizeof(LogCfg_st), GetLogCfg},
    {IOCTL_TAVIX_SetLogCfg, sizeof(LogCfg_st), kNone, SetLogCfg},
    {IOCTL_TAVIX_GetUsbdInfo, kName, sizeof(UsbdInfo_st), GetUsbdInfo},
    {IOCTL_TAVIX_QueryUsbdDevinstPath, kAnyBytes, kAnyBytes, QueryUsbdDevinstPath},
    {IOCTL_TAVIX_GetFlowpathStat, kName, sizeof(FlowpathStat_st), GetFlowpathStat},
    {IOCTL_TAVIX_ResetFlowpathStat, kName, kNone, ResetFlowpathStat},
    {IOCTL_TAVIX_DestroyFlowpathStatHistory, kName, kNone, DestroyFlowpathStatHistory},
    {IOCTL_TAVIX_GetUsbErrStat, kName, sizeof(UsbErrStat_st), GetUsbErrStat},
    {IOCTL_TAVIX_QueryVcomFdoPdo, kName, sizeof(VcomFdoPdo_st), QueryVcomFdoPdo},
    {IOCTL_TAVIX_GetIrpStateText, kNone, kAnyBytes, GetIrpStateText},
    {IOCTL_TAVIX_CreateDangleVcom, sizeof(uint32_t), kNone, CreateDangleVcom},
    {IOCTL_TAVIX_StartBlindRun, kName, kNone, StartBlindRun},
    {IOCTL_TAVIX_StopBlindRun, kName, kNone, StopBlindRun},
    {IOCTL_TAVIX_UsbTweak0, kName, kNone, UsbTweak0},
    {IOCTL_TAVIX_UsbTweak1, kName, kNone, UsbTweak1},
    {IOCTL_TAVIX_UsbTweak2, kName, kNone, UsbTweak2},
    {IOCTL_TAVIX_UsbTweak3, kName, kNone, UsbTweak3},
    {IOCTL_TAVIX_SetWdfDeviceState, sizeof(WdfDeviceStateRequest_st), kNone, SetWdfDeviceState},
};

NTSTATUS CheckLengths(const RequestRow& row, const RequestCall& call) {
    if (row.inputBytes != kAnyBytes && call.inputBytes != row.inputBytes) return STATUS_INFO_LENGTH_MISMATCH;
    if (row.outputBytes == kAnyBytes || call.outputBytes == row.outputBytes) return STATUS_SUCCESS;
    return call.outputBytes < row.outputBytes ? STATUS_BUFFER_TOO_SMALL : STATUS_INFO_LENGTH_MISMATCH;
}

// Input and output share the system buffer; the request's function gets its own copy of the input.
NTSTATUS RunFromIrp(IRP* irp, uint32_t& returnedBytes) {
    const auto& parameters = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl;
    PoolPointer<uint8_t> input(parameters.InputBufferLength + 1);
    if (!input) return STATUS_INSUFFICIENT_RESOURCES;
    auto* buffer = static_cast<uint8_t*>(irp->AssociatedIrp.SystemBuffer);
    if (parameters.InputBufferLength != 0) RtlCopyMemory(input.get(), buffer, parameters.InputBufferLength);
    if (parameters.OutputBufferLength != 0) RtlZeroMemory(buffer, parameters.OutputBufferLength);
    RequestCall call = {input.get(), parameters.InputBufferLength, buffer, parameters.OutputBufferLength, 0};
    ModelLock lock;
    const NTSTATUS status = RunRequest(parameters.IoControlCode, call);
    returnedBytes = call.returnedBytes;
    return status;
}

void ReplaceReply(IRP* irp, const MetFault& fault, uint32_t& returnedBytes) {
    const uint32_t room = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl.OutputBufferLength;
    if ((fault.rule.flags & kSimFaultReplyData) != 0) {
        const uint32_t bytes = fault.rule.dataBytes < room ? fault.rule.dataBytes : room;
        if (bytes != 0) RtlCopyMemory(irp->AssociatedIrp.SystemBuffer, fault.data, bytes);
        returnedBytes = bytes;
    }
    // More than there is room for cannot be claimed: the system would copy what is not there.
    if ((fault.rule.flags & kSimFaultReplyBytes) != 0)
        returnedBytes = fault.rule.replyBytes < room ? fault.rule.replyBytes : room;
}

}  // namespace

NTSTATUS RunRequest(uint32_t code, RequestCall& call) {
    if (g_model.access.busAbsent != 0 || !IsBusStarted()) return STATUS_DEVICE_NOT_CONNECTED;
    for (const RequestRow& row : kRequests) {
        if (row.code != code) continue;
        const NTSTATUS status = CheckLengths(row, call);
        return NT_SUCCESS(status) ? row.run(call) : status;
    }
    return STATUS_INVALID_DEVICE_REQUEST;
}

NTSTATUS AnswerRequest(IRP* irp, uint64_t sequence, const MetFault& fault) {
    uint32_t returnedBytes = 0;
    NTSTATUS status;
    if ((fault.rule.flags & kSimFaultStatus) != 0) {
        status = fault.rule.ntStatus;
        if ((fault.rule.flags & (kSimFaultReplyData | kSimFaultReplyBytes)) != 0)
            ReplaceReply(irp, fault, returnedBytes);
    } else {
        status = RunFromIrp(irp, returnedBytes);
        if (NT_SUCCESS(status)) ReplaceReply(irp, fault, returnedBytes);
    }
    {
        ModelLock lock;
        LogAnswer(sequence, status, returnedBytes);
    }
    return CompleteIrp(irp, status, returnedBytes);
}

NTSTATUS HandleBusRequest(DEVICE_OBJECT*, IRP* irp) {
    const auto& parameters = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl;
    uint64_t sequence;
    MetFault fault;
    {
        ModelLock lock;
        sequence =
            LogRequest(parameters.IoControlCode, static_cast<const uint8_t*>(irp->AssociatedIrp.SystemBuffer),
                       parameters.InputBufferLength, parameters.OutputBufferLength);
        fault = TakeFault(parameters.IoControlCode);
        if ((fault.rule.flags & (kSimFaultDelay | kSimFaultHold)) != 0 && KeepWaiting(irp, sequence, fault))
            return STATUS_PENDING;
    }
    const NTSTATUS status = AnswerRequest(irp, sequence, fault);
    ReleaseFault(fault);
    return status;
}
