#include "base/trace_line.h"

#include <cstdarg>

#include "base/xfmt.h"

namespace {

constexpr int kLineCapacity = 2000;

TraceLineHook g_traceHook = nullptr;

}  // namespace

void TraceLine(const wchar_t* format, ...) noexcept {
    if (g_traceHook == nullptr) return;
    wchar_t line[kLineCapacity];
    va_list args;
    va_start(args, format);
    xfmt_v(line, kLineCapacity, format, args);
    va_end(args);
    g_traceHook(line);
}

void SetTraceLineHook(TraceLineHook hook) noexcept {
    g_traceHook = hook;
}
