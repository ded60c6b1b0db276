// Child processes and debugger output.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// Characters of a command line that RunProcess starts; the rest is cut.
inline constexpr int32_t kCommandLineChars = 259;

// Starts the command line, with a window or hidden and without a console. With `wait` it waits without limit
// and returns the child's exit code, or the error when that cannot be had; without, it returns 0. The error
// when the process cannot be started; it looks like an exit code to the caller.
DWORD RunProcess(const wchar_t* commandLine, bool show, bool wait) noexcept;

// One line to the debugger: the formatted text, cut to fit 2000 characters, and a line feed.
void DebugOutFmt(const wchar_t* format, ...) noexcept;
