// The driver's log file as the check box "tavix.log" of every page switches it.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

struct LoggingModifiers {
    bool shift;
    bool ctrl;
};

// 0 for an unchecked box; 2 when checked, 3 with Shift, 4 with Shift and Ctrl.
int32_t ChosenLoggingLevel(bool checked, LoggingModifiers modifiers) noexcept;

// Sets the box from the driver's logging state.
void ShowFileLoggingState(HWND page, int boxId) noexcept;

// The box was clicked: asks, switches the driver, reports failures, and shows the driver's state again. The
// keys Shift, Ctrl and Alt count as they are now. Without an answer, because the page was closed or the
// question could not be shown, nothing is switched.
void OnFileLoggingClicked(HWND page, int boxId) noexcept;
