// What the viewer's menus do to devices: with the system's device installer where it can, and to the
// simulated hardware. Every function returns a Windows or SetupAPI error code, 0 for success.
#pragma once

#include <string>

#include "base/windows_api.h"

// Looks for devices that came or went.
DWORD ScanForHardwareChanges();
// Takes the device node out of the system; a device that is still plugged comes back with the next plugging.
DWORD UninstallDevice(const std::wstring& instanceId);

// Plugs the next simulated scanner: the first serial number, from SN01, whose device is not plugged.
DWORD PlugNextDevice();
// Unplugs the USB device of that instance ID or, for any other node, the one that was plugged last.
DWORD UnplugDevice(const std::wstring& instanceId);
// The driver fails the next request of the product, whichever it is.
DWORD FailNextRequest();
