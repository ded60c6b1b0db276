// A pop-up menu at a button, its items with icons of the module.
#pragma once

#include <span>

#include "base/windows_api.h"

struct MenuRow {
    UINT id;              // the command
    const wchar_t* text;  // null for a separator
    WORD icon = 0;        // icon resource, 0 for none
    std::span<const MenuRow> submenu = {};
};

// Shows the menu right-aligned at the button's bottom-right corner. Returns the chosen command, 0 when the
// menu was dismissed or could not be made. The owner is the button's dialog, which may be gone afterwards.
UINT TrackMenuUnder(HWND button, std::span<const MenuRow> rows) noexcept;
