// The deliberate crash of the system that tests the driver's way into a crash dump.
#pragma once

#include "base/windows_api.h"

// Asks first. Shows the driver's answer when the system still runs.
void CrashSystem(HWND owner) noexcept;
