// The names of the installer functions (DIF codes), for trace lines.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

// "DIF_INSTALLDEVICE" and so on; "?????" for a code without a name.
const wchar_t* DifName(DI_FUNCTION installFunction) noexcept;
