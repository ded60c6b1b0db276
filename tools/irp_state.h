// What the driver says of its pending requests.
#pragma once

#include "base/windows_api.h"

// Shows the driver's text in an info box that asks again every 500 ms, without an owner when `detached`. With
// Alt held, asks once and shows the answer in a plain message box.
void ShowIrpState(HWND owner, bool detached) noexcept;
