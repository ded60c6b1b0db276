// The dialog "TAVIX Global Settings": the driver's settings that apply to all devices.
#pragma once

#include "base/windows_api.h"

// Modal to `owner`, which may be null. 0 when the user has closed it, with or without saving; 255 when the
// settings could not be read; -1 when the dialog could not be shown. What went wrong has been shown.
INT_PTR ShowGlobalSettings(HWND owner) noexcept;
