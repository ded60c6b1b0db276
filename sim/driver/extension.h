// What stands behind each device object of the driver.
#pragma once

#include "driver/protocol.h"
#include "sim/control/control_protocol.h"
#include "sim/driver/kernel.h"

enum class ExtensionKind : uint32_t { kControl, kBus, kVcom };

struct DeviceExtension {
    ExtensionKind kind;
};

struct BusExtension : DeviceExtension {
    DEVICE_OBJECT* physical;
    DEVICE_OBJECT* lower;
    UNICODE_STRING interfaceName;  // from the system, freed with the device
    bool started;
    bool interfaceEnabled;
};

struct VcomExtension : DeviceExtension {
    wchar_t huid[kSimHuidChars];
    wchar_t kernelName[kKernelNameChars];
    wchar_t linkName[kKernelNameChars];  // "\DosDevices\COM7", empty: none
    bool started;
    bool detached;  // no longer reported to the system, goes away with its removal request
    bool reported;  // the system knows it
    uint32_t openCount;
    uint32_t openerPid;
};

inline DeviceExtension& ExtensionOf(DEVICE_OBJECT* device) {
    return *static_cast<DeviceExtension*>(device->DeviceExtension);
}
inline BusExtension& BusExtensionOf(DEVICE_OBJECT* device) {
    return *static_cast<BusExtension*>(device->DeviceExtension);
}
inline VcomExtension& VcomExtensionOf(DEVICE_OBJECT* device) {
    return *static_cast<VcomExtension*>(device->DeviceExtension);
}

// Completes the IRP and returns the status, as a dispatch routine does.
inline NTSTATUS CompleteIrp(IRP* irp, NTSTATUS status, ULONG_PTR information = 0) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = information;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}
