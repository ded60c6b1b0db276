// Keeping the keyboard where it can act.
#pragma once

#include "base/windows_api.h"

// Before a control is hidden or disabled: when it has the focus, the focus goes to the fallback. A window
// that loses its focus to nowhere no longer answers the keyboard.
void LeaveControl(HWND dialog, int controlId, int fallbackId);
