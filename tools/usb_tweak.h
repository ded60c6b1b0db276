// The dialog that resets the pipes or the port of a VCOM's USB device.
#pragma once

#include "tools/tool_host.h"

// Returns when the dialog is closed; `detached` opens it without an owner, so that the page stays usable.
void ShowUsbTweak(const ToolHost& host, bool detached) noexcept;
