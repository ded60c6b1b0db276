// The saved session by which the terminal program opens a port.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

inline constexpr int32_t kTerminalTitleChars = 40;  // terminator included
inline constexpr int32_t kTemplateMaxChars = 31999;
inline constexpr int32_t kSessionValuesChars = 400;

// The background color, which differs between neighboring ports.
COLORREF TerminalColor(const wchar_t* portName) noexcept;

void FormatTerminalTitle(const wchar_t* portName, wchar_t (&title)[kTerminalTitleChars]) noexcept;

// The four values of the session as lines of a registry export. Returns their length.
int32_t FormatSessionValues(const wchar_t* portName, const wchar_t* title,
                            wchar_t (&values)[kSessionValuesChars]) noexcept;

// Puts the session for the port into the registry. Shows what fails, except that an empty template fails
// silently.
bool WriteTerminalSession(HWND page, const wchar_t* portName, const wchar_t* title) noexcept;
