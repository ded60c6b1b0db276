// Which of the package's device nodes an installer event is for, and the words of the trace lines.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

enum class DeviceKind {
    Unkn,  // none of ours, or its instance ID cannot be read
    Usbd,  // the physical USB device
    Vcom,  // a virtual COM port that the bus creates for a USB device
    Vbus,  // the root-enumerated virtual bus
};

// Decides by the node's instance ID and, for a root-enumerated system device, its service name.
DeviceKind ClassifyDevice(HDEVINFO deviceInfoSet, SP_DEVINFO_DATA* deviceInfoData) noexcept;

// Four letters.
const wchar_t* DeviceKindLabel(DeviceKind kind) noexcept;

// "DIF_INSTALLDEVICE" and so on; "?????" for a code without a name.
const wchar_t* DifName(DI_FUNCTION installFunction) noexcept;
