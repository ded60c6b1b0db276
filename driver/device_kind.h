// Which of the package's device nodes an installer event is for.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

enum class DeviceKind {
    Unkn,  // not one of ours, or its instance ID cannot be read
    Usbd,  // the physical USB device
    Vcom,  // a virtual COM port that the bus creates for a USB device
    Vbus,  // the root-enumerated virtual bus
};

// Decides by the node's instance ID and, for a root-enumerated system device, its service name.
DeviceKind ClassifyDevice(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept;

// Four letters.
const wchar_t* DeviceKindLabel(DeviceKind kind) noexcept;
