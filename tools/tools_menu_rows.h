// What the tools menu offers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "ui/button_menu.h"

// What decides which entries there are and how they look.
struct ToolsMenuLook {
    bool developer;  // the entries below the second separator
    bool terminalInstalled;
    bool guideOffered;
    bool aboutHasIcon;
    bool timerRunning;
    bool blindRunActive;
};

inline constexpr size_t kToolsMenuRows = 14;

// The rows of the menu, in `storage`.
std::span<const MenuRow> FillToolsMenu(const ToolsMenuLook& look,
                                       MenuRow (&storage)[kToolsMenuRows]) noexcept;

// What a command of the device-state submenu asks of the driver. False for the two entries that ask nothing
// and for every other command; the outputs are then untouched.
bool DeviceStateOf(UINT command, uint32_t& stateIndex, uint32_t& value) noexcept;
