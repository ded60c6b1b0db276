// Linked into a program, installs the platform shim before it starts.
#include "sim/shim/platform_shim.h"

static const bool g_isShimInstalled = InstallPlatformShim();
