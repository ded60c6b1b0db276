// Size and place of an info box, and when its text has a scroll bar.
#pragma once

#include "base/windows_api.h"

struct FlexiInfoState;

// The window size that shows a text of `text` pixels, from the present sizes of the window and its text
// control.
SIZE InfoBoxSizeForText(SIZE window, SIZE textControl, SIZE text, int scrollBarWidth) noexcept;
// True while the user has not shrunk the box by 15 pixels or more in either dimension.
bool IsNotShrunk(SIZE window, const RECT& target) noexcept;
// The stored target, made wider and taller where the fresh one is larger.
RECT GrownTarget(const RECT& stored, const RECT& fresh) noexcept;
bool IsSmallerThan(SIZE window, const RECT& target) noexcept;

SIZE SizeOf(const RECT& rect) noexcept;

// Computes and stores the target rectangle and moves the box there.
void PlaceInfoBox(FlexiInfoState& state) noexcept;
// After a change of the display text: grows the box unless the user has shrunk it, and gives the text a
// scroll bar where it still does not fit.
void GrowInfoBox(FlexiInfoState& state) noexcept;
void OnInfoBoxSize(FlexiInfoState& state, int clientWidth, int clientHeight) noexcept;
void LimitInfoBoxSize(const FlexiInfoState& state, MINMAXINFO& limits) noexcept;
