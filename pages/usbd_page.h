// The USB device settings page (template 201): whether the device is connected and works, its VCOM, and the
// startup errors that the driver has logged for it.
#pragma once

#include "base/windows_api.h"

INT_PTR CALLBACK UsbdProspageDlgProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
