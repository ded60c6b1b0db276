#include "sim/driver/vcom_port.h"

#include "sim/driver/bus.h"
#include "sim/driver/registry_state.h"
#include "sim/driver/text.h"

namespace {

constexpr wchar_t kVcomDeviceId[] = L"QRV_VBUS\\Qrv_vcom";

// A text in memory that the system frees, with the second terminator that ends a list of texts.
NTSTATUS AnswerText(IRP* irp, const wchar_t* text, size_t textChars) {
    const size_t length = TextLength(text, textChars);
    auto* copy = static_cast<wchar_t*>(AllocatePool((length + 2) * sizeof(wchar_t)));
    if (copy == nullptr) return STATUS_INSUFFICIENT_RESOURCES;
    RtlCopyMemory(copy, text, length * sizeof(wchar_t));
    irp->IoStatus.Information = reinterpret_cast<ULONG_PTR>(copy);
    return STATUS_SUCCESS;
}

NTSTATUS AnswerId(const VcomExtension& vcom, IRP* irp) {
    switch (IoGetCurrentIrpStackLocation(irp)->Parameters.QueryId.IdType) {
        case BusQueryDeviceID:
        case BusQueryHardwareIDs:
            return AnswerText(irp, kVcomDeviceId, sizeof(kVcomDeviceId) / sizeof(wchar_t));
        case BusQueryInstanceID:
            return AnswerText(irp, vcom.huid, kSimHuidChars);
        case BusQueryCompatibleIDs:
            // None, but a system that asks will not install the node without an answer.
            return AnswerText(irp, L"", 1);
        default:
            return irp->IoStatus.Status;
    }
}

NTSTATUS AnswerCapabilities(IRP* irp) {
    DEVICE_CAPABILITIES* caps = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceCapabilities.Capabilities;
    caps->UniqueID = TRUE;
    caps->RawDeviceOK = TRUE;
    caps->SurpriseRemovalOK = TRUE;
    return STATUS_SUCCESS;
}

NTSTATUS StartVcom(DEVICE_OBJECT* device) {
    ModelLock lock;
    VcomExtensionOf(device).started = true;
    if (const SimDevice* owner = DeviceOfVcom(device)) {
        // The device node's registry key exists from now on.
        StoreVcomNames(*owner);
        StoreHistory(*owner);
        StoreVcomPresence(*owner, true);
    }
    return STATUS_SUCCESS;
}

// The device object goes only when the VCOM really went; a stack that is merely torn down keeps it.
NTSTATUS RemoveVcom(DEVICE_OBJECT* device, IRP* irp) {
    bool isGone;
    {
        ModelLock lock;
        VcomExtension& extension = VcomExtensionOf(device);
        extension.started = false;
        isGone = extension.detached;
        if (isGone) ForgetChild(device);
    }
    CompleteIrp(irp, STATUS_SUCCESS);
    if (isGone) IoDeleteDevice(device);
    return STATUS_SUCCESS;
}

}  // namespace

NTSTATUS HandleVcomPnp(DEVICE_OBJECT* device, IRP* irp) {
    NTSTATUS status = irp->IoStatus.Status;
    switch (IoGetCurrentIrpStackLocation(irp)->MinorFunction) {
        case IRP_MN_START_DEVICE:
            status = StartVcom(device);
            break;
        case IRP_MN_REMOVE_DEVICE:
            return RemoveVcom(device, irp);
        case IRP_MN_QUERY_ID:
            status = AnswerId(VcomExtensionOf(device), irp);
            break;
        case IRP_MN_QUERY_CAPABILITIES:
            status = AnswerCapabilities(irp);
            break;
        case IRP_MN_SURPRISE_REMOVAL:
        case IRP_MN_STOP_DEVICE:
        case IRP_MN_QUERY_REMOVE_DEVICE:
        case IRP_MN_CANCEL_REMOVE_DEVICE:
        case IRP_MN_QUERY_STOP_DEVICE:
        case IRP_MN_CANCEL_STOP_DEVICE:
            status = STATUS_SUCCESS;
            break;
        default:
            break;
    }
    return CompleteIrp(irp, status, irp->IoStatus.Information);
}

NTSTATUS OpenVcom(DEVICE_OBJECT* device) {
    ModelLock lock;
    VcomExtension& extension = VcomExtensionOf(device);
    const SimDevice* owner = DeviceOfVcom(device);
    if (owner == nullptr) return STATUS_DEVICE_NOT_CONNECTED;
    if (extension.openCount != 0 || owner->declaredOpenerPid != 0) return STATUS_ACCESS_DENIED;
    ++extension.openCount;
    extension.openerPid = static_cast<uint32_t>(reinterpret_cast<ULONG_PTR>(PsGetCurrentProcessId()));
    return STATUS_SUCCESS;
}

void CloseVcom(DEVICE_OBJECT* device) {
    ModelLock lock;
    VcomExtension& extension = VcomExtensionOf(device);
    if (extension.openCount != 0) --extension.openCount;
    if (extension.openCount == 0) extension.openerPid = 0;
}

NTSTATUS ReadVcom(DEVICE_OBJECT*, IRP* irp) {
    return CompleteIrp(irp, STATUS_SUCCESS);
}

NTSTATUS WriteVcom(DEVICE_OBJECT* device, IRP* irp) {
    const ULONG bytes = IoGetCurrentIrpStackLocation(irp)->Parameters.Write.Length;
    {
        ModelLock lock;
        SimDevice* owner = DeviceOfVcom(device);
        if (owner != nullptr) {
            owner->flowpath.vcomWrittenBytes += bytes;
            if (owner->online) {
                owner->flowpath.usbSentBytes += bytes;
                owner->flowpath.histUsbWrittenBytes += bytes;
            } else {
                owner->flowpath.writeDiscardBytes += bytes;
                owner->flowpath.histWriteDiscardBytes += bytes;
            }
        }
    }
    return CompleteIrp(irp, STATUS_SUCCESS, bytes);
}
