// The menu behind the "&Tools" button of a page.
#pragma once

#include <cstdint>

#include "tools/tool_host.h"

// The page's timer of this number ends the menu's hint: the page answers it with EndToolsHint.
inline constexpr UINT_PTR kToolsHintTimer = 52;

// Shows the menu at the button, runs what is chosen and returns when that is done. Shift held at the call
// adds the developer's entries; Ctrl held at the call or at the choice detaches the dialog that is chosen.
// The page may be gone afterwards.
void RunToolsMenu(const ToolHost& host, HWND button) noexcept;

// Hides the hint (which may be null) and stops its timer.
void EndToolsHint(HWND page, HintBalloon* hint) noexcept;

// The VCOM that "Create a dangle VCOM" makes.
inline uint32_t DangleIndex(bool shift, bool ctrl) noexcept {
    return (shift ? 2u : 0u) + (ctrl ? 1u : 0u);
}
