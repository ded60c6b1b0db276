// Calls the refresh callback and does what its result asks for.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

struct FlexiInfoState;

enum class RefreshText { kKeep, kShow };

// Runs the callback for `reason` (kReason...). With kShow a result other than FIR_NoChange also resizes the
// box and shows the new text. Returns the result, an unlisted one as FIR_Update. The callback may have closed
// or destroyed the box: look at state.hwnd and state.ended afterwards.
uint32_t DispatchRefresh(FlexiInfoState& state, uint32_t reason, RefreshText show, int32_t menuItemId = 0,
                         bool menuItemChecked = false) noexcept;

// Converts the caller's buffer into the display text. Without memory the buffer then says "No memory!" and
// the display text stays.
bool ConvertText(FlexiInfoState& state) noexcept;
// Shows the display text in the text control.
void ShowDisplayText(const FlexiInfoState& state) noexcept;

// The title, or the time of the last refresh.
void ShowCaption(const FlexiInfoState& state) noexcept;
// In the box and as the window's big and small icon, unless it is shown already.
void ShowIcon(FlexiInfoState& state, HICON icon) noexcept;

void StartAutoRefresh(FlexiInfoState& state) noexcept;
void StopAutoRefresh(FlexiInfoState& state) noexcept;
