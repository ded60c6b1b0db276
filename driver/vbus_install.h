// Install-time steps around the virtual bus. Failures are silent: no message, and the installation's result
// does not change.
#pragma once

#include "base/windows_api.h"

// Creates and installs the root-enumerated bus node when there is none; runs CopyWdfLoaderForLegacyOs first.
// True when the node is there or was installed. A registered node stays when a later step fails.
bool EnsureVbusDevice(HWND parentWindow) noexcept;

// On Windows major version 5 keeps a copy of the system's framework loader driver in the package folder. The
// copy is not installed anywhere. Does nothing on later systems.
void CopyWdfLoaderForLegacyOs() noexcept;
