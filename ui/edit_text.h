// Replacing the text of an edit control while somebody reads it.
#pragma once

#include <cstddef>
#include <string_view>

#include "base/windows_api.h"

// Replaces the text of a multi-line edit. Where the new text continues the old one (the old one, or its end,
// is how the new one begins), selection, caret and scroll position stay on the characters that they were on;
// otherwise the new text is shown from its start.
void UpdateEditText(HWND edit, const wchar_t* text) noexcept;

inline constexpr size_t kNotContinued = static_cast<size_t>(-1);

// How many characters of the old text's start are gone in a text that continues it; kNotContinued for one
// that does not.
size_t DroppedChars(std::wstring_view oldText, std::wstring_view newText) noexcept;
