#include "base/trace.h"

#include <cstdarg>

#include "base/time_text.h"

namespace {

const wchar_t kLineFormat[] = L"%F%w\n";

}  // namespace

int32_t trace_stamp_formatter(void* mode, XfmtOutput* out, wchar_t, int32_t) noexcept {
    const uint32_t stampMode = *static_cast<const uint32_t*>(mode);
    if (stampMode == kTraceStampNone) return 0;

    TimeTm now;
    uint32_t msec = 0;
    wchar_t msecText[8] = L"";
    if (stampMode == kTraceStampMilliseconds) {
        time_now_tm(&now, &msec);
        xfmt(msecText, 8, L".%03d", msec);
    } else {
        time_now_tm(&now);
    }
    return xfmt_to_ctx(out, L"[%d-%02d-%02d_%02d:%02d:%02d%s]", now.year + 1900, now.month + 1, now.day,
                       now.hour, now.minute, now.second, msecText);
}

int32_t trace_print_stdout(uint32_t mode, const wchar_t* format, ...) noexcept {
    XfmtFormatter stamp;
    xfmt_formatter_init(&stamp, trace_stamp_formatter, &mode);
    va_list args;
    va_start(args, format);
    const XfmtNested text = {kXfmtNestedMagic, format, &args};
    const int32_t count = xfmt_print_stdout(kLineFormat, &stamp, &text);
    va_end(args);
    return count;
}

int32_t trace_print_stderr(uint32_t mode, const wchar_t* format, ...) noexcept {
    XfmtFormatter stamp;
    xfmt_formatter_init(&stamp, trace_stamp_formatter, &mode);
    va_list args;
    va_start(args, format);
    const XfmtNested text = {kXfmtNestedMagic, format, &args};
    const int32_t count = xfmt_print_stderr(kLineFormat, &stamp, &text);
    va_end(args);
    return count;
}
