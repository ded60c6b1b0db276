// Whether the coinstaller of the same package serves a device, too.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

// True when the device's driver key names the coinstaller's export, whatever its library is called: the
// system then asks that one for the same page.
bool HasCoinstaller(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept;
