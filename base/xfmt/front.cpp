// The front ends that write into a caller's buffer, sink or context.
#include <cstdarg>

#include "base/xfmt.h"

namespace {

constexpr int32_t kVersion = 0x0701;

int32_t FormatInto(wchar_t* buf, int32_t cap, bool quiet, const wchar_t* format, va_list args) {
    XfmtOutput out = {};
    out.buf = buf;
    out.cap = cap;
    out.quiet = quiet;
    return xfmt_core(&out, format, args);
}

}  // namespace

int32_t xfmt_version() noexcept {
    return kVersion;
}

void xfmt_formatter_init(XfmtFormatter* formatter, XfmtFormatterFn fn, void* ctx) noexcept {
    *formatter = {kXfmtFormatterMagic, fn, ctx};
}

int32_t xfmt_v(wchar_t* buf, int32_t cap, const wchar_t* format, va_list args) noexcept {
    return FormatInto(buf, cap, false, format, args);
}

int32_t xfmt(wchar_t* buf, int32_t cap, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int32_t count = FormatInto(buf, cap, false, format, args);
    va_end(args);
    return count;
}

int32_t xfmt_quiet(wchar_t* buf, int32_t cap, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int32_t count = FormatInto(buf, cap, true, format, args);
    va_end(args);
    return count;
}

int32_t xfmt_to_sink(XfmtSink sink, void* sink_ctx, const wchar_t* format, ...) noexcept {
    XfmtOutput out = {};
    out.sink = sink;
    out.sink_ctx = sink_ctx;
    va_list args;
    va_start(args, format);
    const int32_t count = xfmt_core(&out, format, args);
    va_end(args);
    return count;
}

int32_t xfmt_to_ctx(XfmtOutput* ctx, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int32_t count = xfmt_core(ctx, format, args);
    va_end(args);
    return count;
}

// The capacity goes through the caller's unsigned counter: one that has fallen below zero is negative again
// when it is read back.
int32_t xfmt_advance(wchar_t** pbuf, uint32_t* pleft, const wchar_t* format, ...) noexcept {
    XfmtOutput out = {};
    out.buf = *pbuf;
    out.cap = static_cast<int32_t>(*pleft);
    va_list args;
    va_start(args, format);
    const int32_t count = xfmt_core(&out, format, args);
    va_end(args);
    *pbuf = out.buf;
    *pleft = static_cast<uint32_t>(out.cap);
    return count;
}

int32_t xfmt_append(wchar_t* buf, int32_t cap, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const XfmtNested added = {kXfmtNestedMagic, format, &args};
    const int32_t count = xfmt(buf, cap, L"%s%w", buf, &added);
    va_end(args);
    return count;
}
