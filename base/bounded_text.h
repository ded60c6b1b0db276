// Texts in fixed fields: cutting a text to a buffer, reading a field that may lack its terminator, and
// comparing.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

// Copies as much as fits and always terminates. `chars` counts the terminator; 0 stores nothing.
inline void CopyBounded(wchar_t* buffer, size_t chars, std::wstring_view text) noexcept {
    if (chars == 0) return;
    const size_t length = std::min(text.size(), chars - 1);
    std::copy_n(text.data(), length, buffer);
    buffer[length] = L'\0';
}

// The text of a field of `chars` characters: up to its first NUL, or all of it when there is none.
inline std::wstring_view BoundedText(const wchar_t* field, size_t chars) noexcept {
    return {field, static_cast<size_t>(std::find(field, field + chars, L'\0') - field)};
}

template <size_t chars>
std::wstring_view BoundedText(const wchar_t (&field)[chars]) noexcept {
    return BoundedText(field, chars);
}

constexpr wchar_t AsciiLower(wchar_t c) noexcept {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

// For names of the system's own making, whose letters are ASCII whatever the language.
constexpr bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](wchar_t a, wchar_t b) { return AsciiLower(a) == AsciiLower(b); });
}

constexpr bool BeginsIgnoringCase(std::wstring_view text, std::wstring_view start) noexcept {
    return text.size() >= start.size() && EqualsIgnoringCase({text.data(), start.size()}, start);
}
