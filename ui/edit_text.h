// Replaces the text of an edit control while the user reads it.
#pragma once

#include <cstddef>
#include <string_view>

#include "base/windows_api.h"

// Replaces the text of a multi-line edit. When the new text continues the old one (begins with the old text
// or with its end), selection, caret and scroll position stay on the same characters; otherwise the new text
// is shown from its start.
void UpdateEditText(HWND edit, const wchar_t* text) noexcept;

inline constexpr size_t kNotContinued = static_cast<size_t>(-1);

// The number of characters missing from the old text's start in a text that continues it; kNotContinued when
// it does not.
size_t DroppedChars(std::wstring_view oldText, std::wstring_view newText) noexcept;
