// Setting a control's text without disturbing it.
#pragma once

#include "base/windows_api.h"

// Sets the text only when it differs, so that a regular update neither flickers nor loses a selection or the
// scroll position. True when it did.
bool SetControlText(HWND dialog, int controlId, const wchar_t* text);
