// %F and %w: output written by other code in the middle of a call.
#include <cstring>

#include "base/xfmt/emit.h"

namespace {

// The nested context continues where the outer text ends. The terminator lets the nested writer read that
// text.
XfmtOutput OpenNested(XfmtCall& call) {
    XfmtTerminate(call);
    if (call.traced) XfmtTraceStart(call);
    const int32_t position = call.info.out_pos;
    const int64_t cap = int64_t{call.target.cap} - position;
    XfmtOutput nested = call.target;
    if (nested.buf != nullptr) nested.buf += position;
    nested.cap = cap < INT32_MIN ? INT32_MIN : static_cast<int32_t>(cap);
    nested.level = call.info.trace_level;
    nested.pos = call.info.stock + static_cast<uint32_t>(position);
    return nested;
}

// The nested writer has traced its own pieces.
void CloseNested(XfmtCall& call, int32_t count) {
    if (count < 1) return;
    XfmtCount(call, count);
    call.pieceSeen = true;
}

// A format may be shorter than the magic number and is aligned to two bytes only.
bool IsNestedRecord(const wchar_t* argument) {
    wchar_t half;
    memcpy(&half, argument, sizeof(half));
    if (half != (kXfmtNestedMagic & 0xFFFF)) return false;
    memcpy(&half, argument + 1, sizeof(half));
    return half == kXfmtNestedMagic >> 16;
}

}  // namespace

void XfmtPrintFormatter(XfmtCall& call) noexcept {
    const XfmtFormatter* const formatter = XfmtTakePointer<const XfmtFormatter>(call);
    if (formatter == nullptr || formatter->magic != kXfmtFormatterMagic || formatter->fn == nullptr) return;
    XfmtOutput nested = OpenNested(call);
    CloseNested(call, formatter->fn(formatter->ctx, &nested, L'F', call.target.cap));
}

void XfmtPrintNested(XfmtCall& call) noexcept {
    const wchar_t* format = XfmtTakeText(call);
    va_list* args;
    if (format != nullptr && IsNestedRecord(format)) {
        const XfmtNested* const record = reinterpret_cast<const XfmtNested*>(format);
        format = record->format;
        args = record->args;
    } else {
        args = XfmtTakePointer<va_list>(call);
    }
    if (args == nullptr) return;

    XfmtOutput nested = OpenNested(call);
    va_list copy;
    va_copy(copy, *args);
    const int32_t count = xfmt_core(&nested, format, copy);
    va_end(copy);
    if (count < 0) call.overflowed = true;
    CloseNested(call, count < 0 ? INT32_MAX : count);
}
