// The info box's context menu. The entries are the caller's own and are changed in place.
#pragma once

#include <cstdint>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include "ui/info_box.h"

struct FlexiInfoState;

// Gives the three special entries their states at the opening of the box. Returns whether the time of the
// last refresh is shown from the start.
bool NormalizeMenu(FlexiInfoMenuItem* items, int32_t count, bool hasParent, bool attached) noexcept;

// Checks the entry that detaches.
void ShowDetached(FlexiInfoMenuItem* items, int32_t count) noexcept;

// The command that an entry has in the pop-up menu, and the way back. Menu code uses small negative numbers
// for states of its own (a menu may not even close on -2), so the special entries go by large positive ones.
UINT MenuCommandOf(int32_t itemId) noexcept;
int32_t MenuItemIdOf(int32_t command) noexcept;

// Null when the menu cannot be made.
OwnedMenu BuildMenu(const FlexiInfoMenuItem* items, int32_t count) noexcept;

// Toggles the chosen entry and returns its new check state; an id of 0 stands for "nothing chosen".
bool ToggleMenuItem(FlexiInfoMenuItem* items, int32_t count, int32_t chosenId) noexcept;

// Shows the menu at a point of the screen and carries out the choice.
void TrackInfoBoxMenu(FlexiInfoState& state, POINT screen) noexcept;

// Copies the shown text to the clipboard, at most kMaxCopyChars units of it.
inline constexpr int kMaxCopyChars = 63'999;
void CopyShownText(const FlexiInfoState& state) noexcept;
