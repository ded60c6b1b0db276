// The handle of the module that this code is linked into: the resource instance of every dialog, icon and
// page.
#pragma once

#include "base/windows_api.h"

// Set at process attach, cleared (null) at process detach. Null stands for the process's own executable.
void SetModuleInstance(HINSTANCE instance) noexcept;
HINSTANCE ModuleInstance() noexcept;
