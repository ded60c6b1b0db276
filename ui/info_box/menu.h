// The info box's context menu. The entries are the caller's own and are changed in place.
#pragma once

#include <cstdint>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include "ui/info_box.h"

struct FlexiInfoState;

// Sets the states of the three special entries when the box opens. Returns whether the time of the last
// refresh is shown from the start.
bool NormalizeMenu(FlexiInfoMenuItem* items, int32_t count, bool hasParent, bool attached) noexcept;

// Checks the entry that detaches.
void ShowDetached(FlexiInfoMenuItem* items, int32_t count) noexcept;

// Converts an entry's identifier to its command in the pop-up menu, and back. Menu code has its own meanings
// for small negative numbers (a menu may not even close on -2), so the special entries use large positive
// ones.
UINT MenuCommandOf(int32_t itemId) noexcept;
int32_t MenuItemIdOf(int32_t command) noexcept;

// Null when the menu cannot be made.
OwnedMenu BuildMenu(const FlexiInfoMenuItem* items, int32_t count) noexcept;

// Toggles the chosen entry and returns its new check state; an id of 0 means that nothing was chosen.
bool ToggleMenuItem(FlexiInfoMenuItem* items, int32_t count, int32_t chosenId) noexcept;

// Shows the menu at a point of the screen and carries out the choice.
void TrackInfoBoxMenu(FlexiInfoState& state, POINT screen) noexcept;

// Copies the shown text to the clipboard, at most kMaxCopyChars units of it.
inline constexpr int kMaxCopyChars = 63'999;
void CopyShownText(const FlexiInfoState& state) noexcept;
