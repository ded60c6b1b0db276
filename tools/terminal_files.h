// What the driver package places beside this library for the terminal program.
#pragma once

#include "base/windows_api.h"

// Both store the file's path. False when there is no such file, or its path does not fit and was cut.
bool FindTerminalProgram(wchar_t (&path)[MAX_PATH]) noexcept;
bool FindSessionTemplate(wchar_t (&path)[MAX_PATH]) noexcept;
