// Console output that begins with a time stamp: debugging aids that the installer itself does not call.
#pragma once

#include <cstdint>

#include "base/xfmt.h"

enum TraceStampMode : uint32_t {
    kTraceStampNone = 0,
    kTraceStampSeconds = 1,  // and any other number that is not named here
    kTraceStampMilliseconds = 2,
};

// The %F function of the stamp "[2024-03-05_09:07:02.045]" in local time; `mode` points to a uint32_t.
int32_t trace_stamp_formatter(void* mode, XfmtOutput* out, wchar_t conversion, int32_t capacity) noexcept;

// One line each: stamp, text, line feed. Text beyond the console buffer is cut; the full count is returned.
int32_t trace_print_stdout(uint32_t mode, const wchar_t* format, ...) noexcept;
int32_t trace_print_stderr(uint32_t mode, const wchar_t* format, ...) noexcept;
