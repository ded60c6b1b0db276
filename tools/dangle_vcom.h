// Virtual ports without a USB device behind them.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// Has the driver create the VCOM "dangle" of that index, and shows what came of it. Asks nothing before.
void CreateDangleVcom(HWND owner, uint32_t index) noexcept;
