// The driver's Parameters key as a registry file: the steps of its export, without a window.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

inline constexpr int32_t kExportPathChars = MAX_PATH + 20;  // the longest folder and the file
inline constexpr int32_t kExportCommandChars = 520;         // the longest path and what stands around it

// Whoever imports the file later can see what it is from. A key that is not ours to write is exported as it
// is.
void MarkParametersExport(const wchar_t* driverVersion) noexcept;

// The command line that writes `file`.
void FormatParametersExport(const wchar_t* file, wchar_t (&command)[kExportCommandChars]) noexcept;

// False when the command fails, and, without running it, when its line is too long to be run whole: a cut one
// names another file.
bool RunParametersExport(const wchar_t* command) noexcept;
