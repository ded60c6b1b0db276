// Supplies to this process the few SetupAPI and configuration-manager functions that Wine lacks or answers
// wrongly. On Windows itself it does nothing.
#pragma once

#include "base/windows_api.h"

// Replaces the functions in the loaded setupapi.dll, for every module of the process. Calling it again is
// harmless. False when a function could not be replaced; what was replaced before it then stays.
bool InstallPlatformShim();
