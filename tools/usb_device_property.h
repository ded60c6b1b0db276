// The property sheet of the USB device behind a VCOM.
#pragma once

#include "tools/tool_host.h"

// Shows the sheet that the system has for the USB device, without an owner when `detached`. Reports a device
// that the driver cannot name and a system without such sheets.
void ShowUsbDeviceProperty(const ToolHost& host, bool detached) noexcept;
