#include "base/trace_line.h"

#include <cstdarg>

#include "base/xfmt.h"

namespace {

constexpr int kLineCapacity = 2000;

TraceLineHook traceHook = nullptr;

}  // namespace

void TraceLine(const wchar_t* format, ...) noexcept {
    if (traceHook == nullptr) return;
    wchar_t line[kLineCapacity];
    va_list args;
    va_start(args, format);
    xfmt_v(line, kLineCapacity, format, args);
    va_end(args);
    traceHook(line);
}

void SetTraceLineHook(TraceLineHook hook) noexcept {
    traceHook = hook;
}
