// Pictures of windows as PNG files.
#pragma once

#include <string>

#include "base/windows_api.h"

// Saves what the screen shows at the window's place. The window must be in front, painted and on the screen.
bool SaveWindowPicture(HWND window, const std::wstring& path);
