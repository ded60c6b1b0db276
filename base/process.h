// Child processes, the paths that the kernel reports for processes, and debugger output.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// Characters of a command line that RunProcess starts; the rest is cut.
constexpr int32_t kCommandLineChars = 259;

// Starts the command line, with a window or hidden and without a console. With `wait` it waits without limit
// and returns the child's exit code, or the error when that cannot be had; without, it returns 0. The error
// when the process cannot be started; the caller cannot tell it from an exit code.
DWORD RunProcess(const wchar_t* commandLine, bool show, bool wait) noexcept;

// Converts "\Device\HarddiskVolume3\dir\file" to "c:\dir\file", cut to `chars` characters, terminator
// included. False, and the buffer untouched, when the path is not of that form or no drive letter leads to
// its volume.
bool NtPathToDosPath(const wchar_t* kernelPath, wchar_t* buffer, int32_t chars) noexcept;

// One line to the debugger: the formatted text, cut to fit 2000 characters, and a line feed.
void DebugOutFmt(const wchar_t* format, ...) noexcept;
