// The terminal program that the driver package brings along, opened on a VCOM.
#pragma once

#include "tools/tool_host.h"

bool IsTerminalInstalled() noexcept;

// Shows the terminal that is open on the port already, or checks the port and starts one. With Ctrl held,
// starts another one, also when the port's name leads elsewhere.
void OpenVcomInTerminal(const ToolHost& host) noexcept;
