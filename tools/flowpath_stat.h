// The window that watches one Flowpath: its counters and rates, twice a second.
#pragma once

#include "tools/tool_host.h"

// Returns when the window is closed. A detached window has no owner and may outlast the page.
void ShowFlowpathStat(const ToolHost& host, bool detached) noexcept;
