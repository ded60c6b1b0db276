// Device Manager's own properties dialog of one device.
#pragma once

#include "base/windows_api.h"

// Shows the dialog and returns when it is closed. False, with kErrorFunctionMissing as the last error and
// nothing shown, when the system lacks Device Manager's library or function.
bool ShowDeviceManagerProperties(HWND owner, const wchar_t* deviceInstanceId) noexcept;

// Forgets the cached look-up, for tests.
void ResetDeviceManagerLookup() noexcept;
