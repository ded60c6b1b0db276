// Running processes by their ID and by the name of their program.
#pragma once

#include "base/multi_string.h"
#include "base/windows_api.h"

// Stores the path of the process's program, cut to the buffer. When only the kernel's name for the program
// can be read, stores that as a drive-letter path, or unchanged when it is on no drive. False when neither
// can be read.
bool GetProcessExePath(DWORD processId, wchar_t* buffer, DWORD bufferChars) noexcept;

// The same path for a reader: "Unknown process EXE path" when it cannot be read.
void DescribeProcessExePath(DWORD processId, wchar_t (&text)[MAX_PATH]) noexcept;

// True when the program path of a running process contains a backslash followed by one of the names, whatever
// the case. Processes that deny even limited access are skipped.
bool FindProcessByNames(const MultiString& names) noexcept;
