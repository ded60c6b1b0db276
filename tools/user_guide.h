// The user guide that the installer placed on this machine.
#pragma once

#include "base/windows_api.h"

// Opens the guide in the language of the system's code page. Reports what is missing: the installer's
// registry value, the file, or a program that shows it.
void OpenUserGuide(HWND owner) noexcept;
