// Presence and problem code of a device node, which Wine answers with "present, no problem" for everything.
#pragma once

#include "base/windows_api.h"

#include <cfgmgr32.h>

// As CM_Get_DevNode_Status. The simulator decides for its own devices; any other node is present as long as
// the registry knows it. CR_NO_SUCH_DEVNODE for an absent one; the outputs are then untouched.
CONFIGRET WINAPI GetDevNodeStatus(PULONG status, PULONG problem, DEVINST node, ULONG flags);
