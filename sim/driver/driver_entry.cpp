// Where the system enters the driver, and which device object serves which request.
#include "sim/driver/bus.h"
#include "sim/driver/control.h"
#include "sim/driver/faults.h"
#include "sim/driver/pending.h"
#include "sim/driver/request_log.h"
#include "sim/driver/requests.h"
#include "sim/driver/vcom_port.h"
#include "sim/driver/worker.h"

namespace {

// FILE_WRITE_DATA, or the generic right that has not been mapped to it.
bool AsksForWriting(IRP* irp) {
    const IO_SECURITY_CONTEXT* security =
        IoGetCurrentIrpStackLocation(irp)->Parameters.Create.SecurityContext;
    return security != nullptr &&
           (security->DesiredAccess & (FILE_WRITE_DATA | GENERIC_WRITE | GENERIC_ALL)) != 0;
}

NTSTATUS OpenBus(IRP* irp) {
    NTSTATUS status = STATUS_SUCCESS;
    {
        ModelLock lock;
        if (g_model.access.openStatus != 0)
            status = g_model.access.openStatus;
        else if (g_model.access.refuseWrite != 0 && AsksForWriting(irp))
            status = STATUS_ACCESS_DENIED;
    }
    return CompleteIrp(irp, status);
}

NTSTATUS NTAPI DispatchCreate(DEVICE_OBJECT* device, IRP* irp) {
    switch (ExtensionOf(device).kind) {
        case DeviceKind::kBus:
            return OpenBus(irp);
        case DeviceKind::kVcom:
            return OpenVcom(device, irp);
        case DeviceKind::kControl:
            break;
    }
    return CompleteIrp(irp, STATUS_SUCCESS);
}

NTSTATUS NTAPI DispatchClose(DEVICE_OBJECT* device, IRP* irp) {
    if (ExtensionOf(device).kind == DeviceKind::kVcom) return CloseVcom(device, irp);
    return CompleteIrp(irp, STATUS_SUCCESS);
}

NTSTATUS NTAPI DispatchRead(DEVICE_OBJECT* device, IRP* irp) {
    if (ExtensionOf(device).kind == DeviceKind::kVcom) return ReadVcom(device, irp);
    return CompleteIrp(irp, STATUS_INVALID_DEVICE_REQUEST);
}

NTSTATUS NTAPI DispatchWrite(DEVICE_OBJECT* device, IRP* irp) {
    if (ExtensionOf(device).kind == DeviceKind::kVcom) return WriteVcom(device, irp);
    return CompleteIrp(irp, STATUS_INVALID_DEVICE_REQUEST);
}

NTSTATUS NTAPI DispatchDeviceControl(DEVICE_OBJECT* device, IRP* irp) {
    switch (ExtensionOf(device).kind) {
        case DeviceKind::kBus:
            return HandleBusRequest(device, irp);
        case DeviceKind::kControl:
            return HandleControlRequest(irp);
        case DeviceKind::kVcom:
            break;
    }
    return CompleteIrp(irp, STATUS_INVALID_DEVICE_REQUEST);
}

NTSTATUS NTAPI DispatchPnp(DEVICE_OBJECT* device, IRP* irp) {
    switch (ExtensionOf(device).kind) {
        case DeviceKind::kBus:
            return HandleBusPnp(device, irp);
        case DeviceKind::kVcom:
            return HandleVcomPnp(device, irp);
        case DeviceKind::kControl:
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
