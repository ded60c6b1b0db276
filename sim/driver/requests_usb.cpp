// Requests about one USB device or its VCOM: who it is, who uses it, how it fares, and what is done to it.
#include "sim/driver/bus.h"
#include "sim/driver/requests.h"
#include "sim/driver/text.h"

namespace {

void CopyReported(wchar_t* out, size_t outChars, const wchar_t* reported, const wchar_t* real) {
    CopyText(out, outChars, reported[0] != 0 ? reported : real, kSimIdChars);
}

// Each of the four recovery actions counts where the error statistics show it. Unlike other requests these
// need the USB device itself, and say so when it is offline.
NTSTATUS Tweak(RequestCall& call, uint32_t index, uint32_t RecoverActions_st::*action) {
    SimDevice* device = FindByName(call.Input<DeviceName_st>());
    if (device == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    if (!device->online) return STATUS_OBJECT_NAME_NOT_FOUND;
    ++device->tweakCounts[index];
    ++(device->errors.sinceOnline.*action);
    ++(device->errors.totals.*action);
    return STATUS_SUCCESS;
}

}  // namespace

NTSTATUS GetVcomOpenerPid(RequestCall& call) {
    const SimDevice* device = FindByName(call.Input<DeviceName_st>());
    if (device == nullptr || device->vcom == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    call.Output<uint32_t>() =
        device->declaredOpenerPid != 0 ? device->declaredOpenerPid : VcomExtensionOf(device->vcom).openerPid;
    return STATUS_SUCCESS;
}

// The installer is about to remove a device node. Without the USB device's node or its own, the VCOM goes.
// The node that an unplugged device has left goes with its port.
NTSTATUS RemoveDevice(RequestCall& call) {
    ++g_model.removeRequests;
    const auto& name = call.Input<DeviceName_st>();
    if (SimDevice* device = FindByName(name)) {
        DetachVcom(*device);
    } else if (SimDevice* unplugged = FindByLostVcom(name)) {
        RtlZeroMemory(unplugged, sizeof(*unplugged));
    }
    return STATUS_SUCCESS;
}

NTSTATUS GetUsbdInfo(RequestCall& call) {
    const SimDevice* device = FindByName(call.Input<DeviceName_st>());
    if (device == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    UsbdInfo_st& info = call.Output<UsbdInfo_st>();
    info = device->identity;
    info.online = device->online ? 1 : 0;
    CopyReported(info.usbdInstancePath, kUsbStringChars, device->reportedUsbdPath,
                 device->online ? device->instanceId : L"");
    wchar_t vcomId[kSimIdChars];
    VcomInstanceId(*device, vcomId);
    CopyReported(info.vcomInstancePath, kVcomPathChars, device->reportedVcomPath, vcomId);
    return STATUS_SUCCESS;
}

NTSTATUS QueryUsbdDevinstPath(RequestCall& call) {
    const auto* text = reinterpret_cast<const wchar_t*>(call.input);
    const uint32_t textChars = call.inputBytes / sizeof(wchar_t);
    if (textChars == 0 || call.inputBytes % sizeof(wchar_t) != 0 || text[textChars - 1] != 0)
        return STATUS_INVALID_PARAMETER;
    const SimDevice* device = FindByVcomInstanceId(text, textChars);
    if (device == nullptr) return STATUS_OBJECT_NAME_NOT_FOUND;
    if (!device->online) return STATUS_DEVICE_NOT_CONNECTED;
    const wchar_t* answer =
        device->devinstPathAnswer[0] != 0 ? device->devinstPathAnswer : device->instanceId;
    const uint32_t answerBytes =
        static_cast<uint32_t>((TextLength(answer, kSimIdChars) + 1) * sizeof(wchar_t));
    if (call.outputBytes < answerBytes) return STATUS_BUFFER_TOO_SMALL;
    RtlCopyMemory(call.output, answer, answerBytes);
    call.returnedBytes = answerBytes;
    return STATUS_SUCCESS;
}

NTSTATUS GetUsbErrStat(RequestCall& call) {
    const SimDevice* device = FindByName(call.Input<DeviceName_st>());
    if (device == nullptr || device->vcom == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    call.Output<UsbErrStat_st>() = device->errors;
    return STATUS_SUCCESS;
}

NTSTATUS QueryVcomFdoPdo(RequestCall& call) {
    const SimDevice* device = FindByName(call.Input<DeviceName_st>());
    if (device == nullptr || device->vcom == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    VcomFdoPdo_st& reply = call.Output<VcomFdoPdo_st>();
    if (device->reportedKernelName[0] != 0)
        CopyText(reply.kernelName, kKernelNameChars, device->reportedKernelName, kSimIdChars);
    else
        CopyText(reply.kernelName, kKernelNameChars, VcomExtensionOf(device->vcom).kernelName,
                 kKernelNameChars);
    return STATUS_SUCCESS;
}

NTSTATUS UsbTweak0(RequestCall& call) {
    return Tweak(call, 0, &RecoverActions_st::outPipeResets);
}

NTSTATUS UsbTweak1(RequestCall& call) {
    return Tweak(call, 1, &RecoverActions_st::inPipeResets);
}

NTSTATUS UsbTweak2(RequestCall& call) {
    return Tweak(call, 2, &RecoverActions_st::usbPortResets);
}

NTSTATUS UsbTweak3(RequestCall& call) {
    return Tweak(call, 3, &RecoverActions_st::usbPortCycles);
}
