// Messages and questions shown by the info box under the title "TAVIX".
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// Shows the formatted text with an "OK" button and a system icon: kind 2 warning, kind 3 error, any other
// information. `owner` may be null. Returns the info box's result.
uint32_t InfoBoxKind(int32_t kind, HWND owner, const wchar_t* format, ...) noexcept;

// Asks with "&Yes" and "&No"; `firstIsDefault` chooses which of them Enter presses. Returns 1 for "&Yes", 2
// for "&No"; a question that cannot be shown is answered 2.
uint32_t InfoBoxAskYes(HWND owner, bool firstIsDefault, const wchar_t* format, ...) noexcept;
