// The engine's trace of its own work: one line for the format of a call, one for each piece of output.
#include "base/xfmt/internal.h"

namespace {

struct Newline {
    wchar_t wide[3];
    char narrow[3];
};

constexpr Newline kLineFeed = {L"\n", "\n"};
constexpr Newline kBoth = {L"\r\n", "\r\n"};
constexpr Newline kCarriageReturn = {L"\r", "\r"};

void* g_traceHookContext = nullptr;
const Newline* g_newline = &kLineFeed;

struct OptionalNumberText {
    const wchar_t* given;
    wchar_t value[16];

    OptionalNumberText(bool isGiven, int32_t number) : given(isGiven ? L"true" : L"false"), value{} {
        if (isGiven) xfmt_quiet(value, 16, L",%d", number);
    }
};

int32_t PrintWidthAndPrecision(void* context, XfmtOutput* out, wchar_t, int32_t) {
    const XfmtPieceInfo& info = *static_cast<const XfmtPieceInfo*>(context);
    const OptionalNumberText width(info.width_given, info.width);
    const OptionalNumberText precision(info.precision_given, info.precision);
    return xfmt_to_ctx(out, L"width:%s%s preci:%s%s", width.given, width.value, precision.given,
                       precision.value);
}

int32_t IndentOf(const XfmtPieceInfo& info) {
    return static_cast<int32_t>(info.trace_level * 2);
}

void TraceFormat(const XfmtPieceInfo& info) {
    wchar_t line[kXfmtTraceLineChars];
    xfmt_quiet(line, kXfmtTraceLineChars, L"%*n<<fmtstring>>(@lv%d): %s%s", IndentOf(info), L" ",
               info.trace_level, info.format, g_newline->wide);
    g_xfmtTraceHook(g_traceHookContext, line);
}

}  // namespace

XfmtTraceHook g_xfmtTraceHook = nullptr;

void XfmtTraceStart(XfmtCall& call) noexcept {
    if (call.traceStarted || g_xfmtTraceHook == nullptr) return;
    call.traceStarted = true;
    TraceFormat(call.info);
}

void XfmtTracePiece(XfmtCall& call, int32_t count) noexcept {
    XfmtTraceStart(call);
    if (g_xfmtTraceHook == nullptr) return;
    XfmtPieceInfo& info = call.info;
    XfmtFormatter widthAndPrecision;
    xfmt_formatter_init(&widthAndPrecision, PrintWidthAndPrecision, &info);
    wchar_t line[kXfmtTraceLineChars];
    xfmt_quiet(line, kXfmtTraceLineChars,
               L"%*n<%.*s> fmtpos:%d+%d %F stock:%d(@lv%d) outpos:%d+%d (~%d+%d)%s", IndentOf(info), L" ",
               info.format_len, info.format + info.format_pos, info.format_pos, info.format_len,
               &widthAndPrecision, info.stock, info.trace_level, info.out_pos, count,
               info.stock + static_cast<uint32_t>(info.out_pos), count, g_newline->wide);
    g_xfmtTraceHook(g_traceHookContext, line);
}

void xfmt_set_trace_hook(XfmtTraceHook hook, void* hook_ctx) noexcept {
    g_xfmtTraceHook = hook;
    g_traceHookContext = hook_ctx;
}

void xfmt_set_newline(int32_t mode) noexcept {
    g_newline = mode == 1 ? &kBoth : mode == 2 ? &kCarriageReturn : &kLineFeed;
}

const wchar_t* xfmt_newline() noexcept {
    return g_newline->wide;
}

const char* xfmt_newline_narrow() noexcept {
    return g_newline->narrow;
}
