// Whether a VCOM's port can be opened.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

// Opens the port and closes it at once. When that fails, shows why, with the program that holds the port, and
// returns false.
bool CheckPortOpens(HWND page, HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const wchar_t* portName) noexcept;
