// Times as fixed-width texts: stamps for file names and logs, and file times for reports. Every function cuts
// to `chars` characters, terminator included; kStampChars is enough for all.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

struct XfmtOutput;

inline constexpr int32_t kStampChars = 32;

// "20260316_142501".
void FormatStampCompact(const SYSTEMTIME& time, wchar_t* text, int32_t chars) noexcept;

// "20260316.142501.007"; null: the current local time.
void FormatStampFine(const SYSTEMTIME* time, wchar_t* text, int32_t chars) noexcept;

// "2026-03-16 14:25:01.007" in local time of a FILETIME taken as one number; "(none)" for 0.
void FileTimeText(const uint64_t* fileTime, wchar_t* text, int32_t chars) noexcept;

// The same for "%F": formatter functions whose context is the SYSTEMTIME or the 64-bit FILETIME.
int32_t StampCompactFormatter(void* time, XfmtOutput* out, wchar_t conversion, int32_t capacity) noexcept;
int32_t FileTimeFormatter(void* fileTime, XfmtOutput* out, wchar_t conversion, int32_t capacity) noexcept;
