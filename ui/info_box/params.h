// The defaults of the info box's parameters.
#pragma once

#include "ui/info_box.h"

// The caller's record with every null or zero field replaced by its default; `params` may be null. Without a
// text buffer the box supplies one of a single unit.
FlexiInfoParams WithInfoBoxDefaults(const FlexiInfoParams* params, bool hasTextBuffer) noexcept;

// The point size of the built-in template's font: below 1 means 9, and 6 is the smallest.
int32_t InfoBoxFontPointSize(int32_t requested) noexcept;
