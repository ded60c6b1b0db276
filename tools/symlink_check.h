// Whether a port's DOS device name leads to the driver's VCOM.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

// True when it does, or when the user goes on in spite of where it leads. Shows an error when the driver does
// not know where it should lead. A page that goes away while the question is open counts as a refusal.
bool CheckPortSymlink(HWND page, HDEVINFO deviceSet, SP_DEVINFO_DATA* device,
                      const wchar_t* portName) noexcept;
