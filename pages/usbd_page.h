// The USB device settings page (template 201).
#pragma once

#include "base/windows_api.h"

INT_PTR CALLBACK UsbdProspageDlgProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
