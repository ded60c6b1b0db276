// The clipboard as plain Unicode text. Lengths are in UTF-16 units without the terminator.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// How long the functions below keep trying to open a clipboard that another program holds.
inline constexpr uint32_t kClipboardWaitMs = 2000;

// Tries to open the clipboard until it succeeds or `timeoutMs` have passed. 1 or 0.
int32_t clip_open_wait(uint32_t timeoutMs, HWND owner) noexcept;

// Puts the first `length` units of `text` (-1: all of it) on the clipboard, in a movable, shareable block.
// False when the clipboard stays busy or there is no memory.
bool CopyTextToClipboard(const wchar_t* text, int32_t length, HWND owner) noexcept;

// The same in a fixed block: true when the clipboard has taken the text.
bool clip_set_text(const wchar_t* text, int32_t length, HWND owner) noexcept;

// A copy of the clipboard's text, which the caller frees with clip_free_text; null when the clipboard stays
// busy, holds no text, or there is no memory. *length (may be null) gets the characters of the text block
// without the terminator, 0 with a null result.
wchar_t* clip_get_text(uint32_t* length, HWND owner) noexcept;
bool clip_free_text(wchar_t* text) noexcept;
