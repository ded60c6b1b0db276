#include "sim/driver/bus.h"

#include "sim/driver/registry_state.h"
#include "sim/driver/text.h"

namespace {

DRIVER_OBJECT* g_driver;
DEVICE_OBJECT* g_bus;
DEVICE_OBJECT* g_children[kSimMaxDevices * 2];  // detached ones linger until the system removes them
uint32_t g_nextKernelNumber;

// The system comes back with a query for the children, not from within this call.
void ReportChildren() {
    if (g_bus != nullptr) IoInvalidateDeviceRelations(BusExtensionOf(g_bus).physical, BusRelations);
}

void AttachAllVcoms() {
    for (SimDevice& device : g_model.devices)
        if (device.known && device.plugged && !device.withoutVcom) CreateVcom(device);
}

void DetachAllVcoms() {
    for (SimDevice& device : g_model.devices)
        if (device.known) DetachVcom(device);
}

NTSTATUS StartBus(DEVICE_OBJECT* device) {
    {
        ModelLock lock;
        BusExtensionOf(device).started = true;
        StoreEarlierNodesAbsent();
        AttachAllVcoms();
    }
    ApplyBusInterface();
    ReportChildren();
    return STATUS_SUCCESS;
}

void StopBus(DEVICE_OBJECT* device) {
    {
        ModelLock lock;
        BusExtensionOf(device).started = false;
        DetachAllVcoms();
    }
    ApplyBusInterface();
}

NTSTATUS RemoveBus(DEVICE_OBJECT* device, IRP* irp) {
    StopBus(device);
    BusExtension& extension = BusExtensionOf(device);
    IoSkipCurrentIrpStackLocation(irp);
    const NTSTATUS status = IoCallDriver(extension.lower, irp);
    IoDetachDevice(extension.lower);
    RtlFreeUnicodeString(&extension.interfaceName);
    {
        ModelLock lock;
        if (g_bus == device) g_bus = nullptr;
    }
    IoDeleteDevice(device);
    return status;
}

// Reported children are referenced: the system drops the references.
NTSTATUS QueryChildren(IRP* irp) {
    ModelLock lock;
    const size_t bytes = sizeof(DEVICE_RELATIONS) + sizeof(g_children);
    auto* relations = static_cast<DEVICE_RELATIONS*>(AllocatePool(bytes));
    if (relations == nullptr) return STATUS_INSUFFICIENT_RESOURCES;
    for (DEVICE_OBJECT* child : g_children) {
        if (child == nullptr || VcomExtensionOf(child).detached) continue;
        VcomExtensionOf(child).reported = true;
        ObReferenceObject(child);
        relations->Objects[relations->Count++] = child;
    }
    irp->IoStatus.Information = reinterpret_cast<ULONG_PTR>(relations);
    return STATUS_SUCCESS;
}

NTSTATUS PassDown(DEVICE_OBJECT* device, IRP* irp) {
    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(BusExtensionOf(device).lower, irp);
}

DEVICE_OBJECT* CreateVcomObject(const SimDevice& device) {
    TextBuilder<kKernelNameChars> name;
    name.Add(L"\\Device\\QrvVcom").AddNumber(g_nextKernelNumber++);
    UNICODE_STRING kernelName = name.Unicode();
    DEVICE_OBJECT* vcom = nullptr;
    if (!NT_SUCCESS(IoCreateDevice(g_driver, sizeof(VcomExtension), &kernelName, FILE_DEVICE_SERIAL_PORT, 0,
                                   FALSE, &vcom)))
        return nullptr;
    VcomExtension& extension = VcomExtensionOf(vcom);
    RtlZeroMemory(&extension, sizeof(extension));
    extension.kind = ExtensionKind::kVcom;
    CopyText(extension.huid, kSimHuidChars, device.huid, kSimHuidChars);
    CopyText(extension.kernelName, kKernelNameChars, name.get(), name.capacity());
    vcom->Flags |= DO_BUFFERED_IO;
    vcom->Flags &= ~static_cast<ULONG>(DO_DEVICE_INITIALIZING);
    return vcom;
}

void RemoveLink(VcomExtension& extension) {
    if (extension.linkName[0] == 0) return;
    UNICODE_STRING link;
    RtlInitUnicodeString(&link, extension.linkName);
    IoDeleteSymbolicLink(&link);
    extension.linkName[0] = 0;
}

bool AddChild(DEVICE_OBJECT* vcom) {
    for (DEVICE_OBJECT*& slot : g_children) {
        if (slot != nullptr) continue;
        slot = vcom;
        return true;
    }
    return false;
}

}  // namespace

NTSTATUS AddBusDevice(DRIVER_OBJECT* driver, DEVICE_OBJECT* physical) {
    DEVICE_OBJECT* device = nullptr;
    NTSTATUS status =
        IoCreateDevice(driver, sizeof(BusExtension), nullptr, FILE_DEVICE_BUS_EXTENDER, 0, FALSE, &device);
    if (!NT_SUCCESS(status)) return status;
    BusExtension& extension = BusExtensionOf(device);
    RtlZeroMemory(&extension, sizeof(extension));
    extension.kind = ExtensionKind::kBus;
    extension.physical = physical;
    GUID interfaceClass;
    static_assert(sizeof(interfaceClass) == sizeof(kVbusInterfaceClass));
    RtlCopyMemory(&interfaceClass, &kVbusInterfaceClass, sizeof(interfaceClass));
    status = IoRegisterDeviceInterface(physical, &interfaceClass, nullptr, &extension.interfaceName);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(device);
        return status;
    }
    extension.lower = IoAttachDeviceToDeviceStack(device, physical);
    device->Flags &= ~static_cast<ULONG>(DO_DEVICE_INITIALIZING);
    ModelLock lock;
    g_driver = driver;
    g_bus = device;
    return STATUS_SUCCESS;
}

NTSTATUS HandleBusPnp(DEVICE_OBJECT* device, IRP* irp) {
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    switch (stack->MinorFunction) {
        case IRP_MN_START_DEVICE:
            irp->IoStatus.Status = StartBus(device);
            break;
        case IRP_MN_QUERY_DEVICE_RELATIONS:
            if (stack->Parameters.QueryDeviceRelations.Type == BusRelations)
                irp->IoStatus.Status = QueryChildren(irp);
            break;
        case IRP_MN_SURPRISE_REMOVAL:
            StopBus(device);
            irp->IoStatus.Status = STATUS_SUCCESS;
            break;
        case IRP_MN_REMOVE_DEVICE:
            irp->IoStatus.Status = STATUS_SUCCESS;
            return RemoveBus(device, irp);
        case IRP_MN_QUERY_REMOVE_DEVICE:
        case IRP_MN_CANCEL_REMOVE_DEVICE:
        case IRP_MN_QUERY_STOP_DEVICE:
        case IRP_MN_CANCEL_STOP_DEVICE:
            irp->IoStatus.Status = STATUS_SUCCESS;
            break;
        default:
            break;
    }
    return PassDown(device, irp);
}

bool IsBusStarted() {
    return g_bus != nullptr && BusExtensionOf(g_bus).started;
}

void CreateVcom(SimDevice& device) {
    if (device.vcom != nullptr || !IsBusStarted()) return;
    DEVICE_OBJECT* vcom = CreateVcomObject(device);
    if (vcom == nullptr) return;
    if (!AddChild(vcom)) {
        IoDeleteDevice(vcom);
        return;
    }
    device.vcom = vcom;
    UpdateVcomLink(device);
    StoreNowHuid(device, device.huid);
    ReportChildren();
}

void DetachVcom(SimDevice& device) {
    if (device.vcom == nullptr) return;
    StoreVcomPresence(device, false);
    VcomExtension& extension = VcomExtensionOf(device.vcom);
    extension.detached = true;
    RemoveLink(extension);
    DEVICE_OBJECT* vcom = device.vcom;
    device.vcom = nullptr;
    StoreNowHuid(device, L"");
    if (!extension.reported) {
        ForgetChild(vcom);
        IoDeleteDevice(vcom);
        return;
    }
    ReportChildren();
}

void UpdateVcomLink(SimDevice& device) {
    VcomExtension& extension = VcomExtensionOf(device.vcom);
    RemoveLink(extension);
    const uint32_t number = ComNumber(device.portName, kPortNameChars);
    if (number != 0) {
        TextBuilder<kKernelNameChars> link;
        link.Add(L"\\DosDevices\\COM").AddNumber(number);
        UNICODE_STRING linkName = link.Unicode();
        UNICODE_STRING target;
        RtlInitUnicodeString(&target, extension.kernelName);
        // A name that someone else holds stays theirs; the product's open check finds that out.
        if (NT_SUCCESS(IoCreateSymbolicLink(&linkName, &target)))
            CopyText(extension.linkName, kKernelNameChars, link.get(), link.capacity());
    }
    StoreVcomNames(device);
}

SimDevice* DeviceOfVcom(DEVICE_OBJECT* vcom) {
    for (SimDevice& device : g_model.devices)
        if (device.known && device.vcom == vcom) return &device;
    return nullptr;
}

void ForgetChild(DEVICE_OBJECT* vcom) {
    for (DEVICE_OBJECT*& slot : g_children)
        if (slot == vcom) slot = nullptr;
}

void ApplyBusInterface() {
    UNICODE_STRING name;
    bool enable;
    {
        ModelLock lock;
        if (g_bus == nullptr) return;
        BusExtension& extension = BusExtensionOf(g_bus);
        enable = extension.started && g_model.access.busAbsent == 0;
        if (enable == extension.interfaceEnabled) return;
        extension.interfaceEnabled = enable;
        name = extension.interfaceName;
    }
    IoSetDeviceInterfaceState(&name, enable ? TRUE : FALSE);
}
