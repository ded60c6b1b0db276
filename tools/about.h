// The About box.
#pragma once

#include "base/windows_api.h"

// Shows the driver's version and the customer's or our own paragraph. Alt, Ctrl and Shift held together at
// the call add a line.
void ShowAbout(HWND owner) noexcept;
