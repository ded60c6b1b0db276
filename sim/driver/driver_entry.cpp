// Where the system enters the driver, and which device object serves which request.
#include "sim/driver/bus.h"
#include "sim/driver/control_device.h"
#include "sim/driver/faults.h"
#include "sim/driver/pending.h"
#include "sim/driver/request_log.h"
#include "sim/driver/requests.h"
#include "sim/driver/vcom_port.h"
#include "sim/driver/worker.h"

namespace {

constexpr ACCESS_MASK kWriting = FILE_WRITE_DATA | GENERIC_WRITE | GENERIC_ALL;

// What a file remembers of its opening. Some platforms give the opener its handle without waiting for the
// driver's answer; then whatever is sent through a refused file is refused as well.
struct Opening {
    NTSTATUS refusal;
    bool refusesWriting;  // the opener's access was not told: what needs write access is refused
};

Opening OpeningOf(const FILE_OBJECT* file) {
    if (file == nullptr) return {};
    return {static_cast<NTSTATUS>(reinterpret_cast<ULONG_PTR>(file->FsContext)), file->FsContext2 != nullptr};
}

void Remember(FILE_OBJECT* file, const Opening& opening) {
    if (file == nullptr) return;
    file->FsContext = reinterpret_cast<void*>(static_cast<ULONG_PTR>(static_cast<ULONG>(opening.refusal)));
    file->FsContext2 = reinterpret_cast<void*>(static_cast<ULONG_PTR>(opening.refusesWriting));
}

Opening OpenBus(const IO_SECURITY_CONTEXT* security) {
    ModelLock lock;
    if (g_model.access.openStatus != 0) return {g_model.access.openStatus, false};
    if (g_model.access.refuseWrite == 0) return {};
    if (security == nullptr) return {STATUS_SUCCESS, true};
    return {(security->DesiredAccess & kWriting) != 0 ? STATUS_ACCESS_DENIED : STATUS_SUCCESS, false};
}

// The file's answer to a request that it may not carry; success when it may.
NTSTATUS RefusalOf(IRP* irp) {
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    const Opening opening = OpeningOf(stack->FileObject);
    if (opening.refusal != STATUS_SUCCESS || !opening.refusesWriting) return opening.refusal;
    if (stack->MajorFunction != IRP_MJ_DEVICE_CONTROL) return STATUS_SUCCESS;
    const ULONG neededAccess = stack->Parameters.DeviceIoControl.IoControlCode >> 14 & 3;
    return (neededAccess & FILE_WRITE_ACCESS) != 0 ? STATUS_ACCESS_DENIED : STATUS_SUCCESS;
}

NTSTATUS FinishOpen(IRP* irp, const Opening& opening) {
    Remember(IoGetCurrentIrpStackLocation(irp)->FileObject, opening);
    return CompleteIrp(irp, opening.refusal);
}

NTSTATUS NTAPI DispatchCreate(DEVICE_OBJECT* device, IRP* irp) {
    switch (ExtensionOf(device).kind) {
        case ExtensionKind::kBus:
            return FinishOpen(irp,
                              OpenBus(IoGetCurrentIrpStackLocation(irp)->Parameters.Create.SecurityContext));
        case ExtensionKind::kVcom:
            return FinishOpen(irp, {OpenVcom(device), false});
        case ExtensionKind::kControl:
            break;
    }
    return CompleteIrp(irp, STATUS_SUCCESS);
}

NTSTATUS NTAPI DispatchClose(DEVICE_OBJECT* device, IRP* irp) {
    if (ExtensionOf(device).kind == ExtensionKind::kVcom && RefusalOf(irp) == STATUS_SUCCESS)
        CloseVcom(device);
    return CompleteIrp(irp, STATUS_SUCCESS);
}

NTSTATUS NTAPI DispatchRead(DEVICE_OBJECT* device, IRP* irp) {
    if (RefusalOf(irp) != STATUS_SUCCESS) return CompleteIrp(irp, RefusalOf(irp));
    if (ExtensionOf(device).kind == ExtensionKind::kVcom) return ReadVcom(device, irp);
    return CompleteIrp(irp, STATUS_INVALID_DEVICE_REQUEST);
}

NTSTATUS NTAPI DispatchWrite(DEVICE_OBJECT* device, IRP* irp) {
    if (RefusalOf(irp) != STATUS_SUCCESS) return CompleteIrp(irp, RefusalOf(irp));
    if (ExtensionOf(device).kind == ExtensionKind::kVcom) return WriteVcom(device, irp);
    return CompleteIrp(irp, STATUS_INVALID_DEVICE_REQUEST);
}

NTSTATUS NTAPI DispatchDeviceControl(DEVICE_OBJECT* device, IRP* irp) {
    if (RefusalOf(irp) != STATUS_SUCCESS) return CompleteIrp(irp, RefusalOf(irp));
    const ULONG code = IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl.IoControlCode;
    if (code == kSimQueryOpened || code == kSimQueryOpenedForWriting) return CompleteIrp(irp, STATUS_SUCCESS);
    switch (ExtensionOf(device).kind) {
        case ExtensionKind::kBus:
            return HandleBusRequest(device, irp);
        case ExtensionKind::kControl:
            return HandleControlRequest(irp);
        case ExtensionKind::kVcom:
            break;
    }
    return CompleteIrp(irp, STATUS_INVALID_DEVICE_REQUEST);
}

NTSTATUS NTAPI DispatchPnp(DEVICE_OBJECT* device, IRP* irp) {
    switch (ExtensionOf(device).kind) {
        case ExtensionKind::kBus:
            return HandleBusPnp(device, irp);
        case ExtensionKind::kVcom:
            return HandleVcomPnp(device, irp);
        case ExtensionKind::kControl:
            break;
    }
    return CompleteIrp(irp, STATUS_INVALID_DEVICE_REQUEST);
}

void NTAPI Unload(DRIVER_OBJECT*) {
    {
        ModelLock lock;
        ClearFaults();
    }
    ReleaseAllRequests(true);
    StopWorker();
    DeleteControlDevice();
    ModelLock lock;
    ClearRequestLog();
}

NTSTATUS NTAPI AddDeviceNode(DRIVER_OBJECT* driver, DEVICE_OBJECT* physical) {
    return AddBusDevice(driver, physical);
}

}  // namespace

extern "C" NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING*) {
    InitializeModelLock();
    ResetModel();
    driver->DriverUnload = Unload;
    driver->DriverExtension->AddDevice = AddDeviceNode;
    driver->MajorFunction[IRP_MJ_CREATE] = DispatchCreate;
    driver->MajorFunction[IRP_MJ_CLOSE] = DispatchClose;
    driver->MajorFunction[IRP_MJ_READ] = DispatchRead;
    driver->MajorFunction[IRP_MJ_WRITE] = DispatchWrite;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = DispatchDeviceControl;
    driver->MajorFunction[IRP_MJ_PNP] = DispatchPnp;
    NTSTATUS status = StartWorker();
    if (!NT_SUCCESS(status)) return status;
    status = CreateControlDevice(driver);
    if (!NT_SUCCESS(status)) StopWorker();
    return status;
}
