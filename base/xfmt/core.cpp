// The engine's walk through a format: literal text, directives, the end of a call.
#include <array>

#include "base/xfmt/emit.h"

namespace {

const wchar_t kDefaultDecimalSeparator[] = L" ";
constexpr int32_t kDefaultGroupSize = 3;

void BeginCall(XfmtCall& call, const XfmtOutput& context, const wchar_t* format) {
    call.target = context;
    call.info = {};
    call.info.format = format != nullptr ? format : L"";
    call.info.trace_level = context.level + 1;
    call.info.stock = context.pos;
    call.room = context.buf != nullptr && context.cap > 0 ? context.cap : 0;
    call.overflowed = false;
    call.traced = !context.quiet && g_xfmtTraceHook != nullptr;
    call.observed = call.traced || context.sink != nullptr;
    call.traceStarted = false;
    call.separator = nullptr;
    call.groupSize = kDefaultGroupSize;
    call.decimalSeparator = kDefaultDecimalSeparator;
}

// Advances the context. Its capacity stops at the lowest number instead of wrapping around to a high one.
void AdvanceContext(XfmtOutput& context, int32_t count) {
    const int64_t cap = int64_t{context.cap} - count;
    if (context.buf != nullptr) context.buf += count;
    context.cap = cap < INT32_MIN ? INT32_MIN : static_cast<int32_t>(cap);
    context.pos += static_cast<uint32_t>(count);
}

int32_t EndCall(XfmtCall& call, XfmtOutput& context) {
    XfmtTerminate(call);
    AdvanceContext(context, call.info.out_pos);
    return call.overflowed ? -1 : call.info.out_pos;
}

const wchar_t* PrintLiteral(XfmtCall& call, const wchar_t* at) {
    const wchar_t* end = at + 1;
    while (*end != 0 && *end != L'%')
        ++end;
    XfmtPieceInfo& info = call.info;
    info.format_pos = static_cast<int32_t>(at - info.format);
    info.format_len = static_cast<int32_t>(end - at);
    info.width_given = info.precision_given = false;
    info.width = info.precision = 0;
    info.arg_bytes = 0;
    info.arg_raw = 0;
    XfmtEmit(call, at, info.format_len);
    return end;
}

void PrintCharacter(XfmtCall& call) {
    const wchar_t character = static_cast<wchar_t>(XfmtTakeArgument(call, 2));
    XfmtEmitField(call, &character, 1, 0, call.flags.zero);
}

void PrintText(XfmtCall& call) {
    const wchar_t* text = XfmtTakeText(call);
    if (text == nullptr) text = L"";
    const int32_t maxChars = call.info.precision_given ? call.info.precision : INT32_MAX;
    XfmtEmitField(call, text, XfmtTextLength(text, maxChars), 0, call.flags.zero);
}

void PrintRepeated(XfmtCall& call) {
    const wchar_t* const text = XfmtTakeText(call);
    if (text == nullptr || text[0] == 0) return;
    const int32_t length = XfmtTextLength(text);
    if (length == 1) {
        XfmtEmitRun(call, text[0], call.info.width);
        return;
    }
    for (int32_t left = call.info.width; left > 0; --left) {
        if (XfmtOnlyCounts(call)) {
            XfmtCount(call, int64_t{left} * length);
            return;
        }
        XfmtEmit(call, text, length);
    }
}

void PrintUnknown(XfmtCall& call) {
    XfmtEmit(call, call.info.format + call.info.format_pos, call.info.format_len);
}

void PrintPercent(XfmtCall& call) {
    XfmtEmit(call, L"%", 1);
}

void SetSeparator(XfmtCall& call) {
    call.separator = XfmtTakeText(call);
}

void SetGroupSize(XfmtCall& call) {
    call.groupSize = XfmtTakeInt(call);
}

void SetDecimalSeparator(XfmtCall& call) {
    call.decimalSeparator = XfmtTakeText(call);
}

using Conversion = void (*)(XfmtCall&);

struct ConversionRow {
    const char* letters;
    Conversion print;
};

constexpr ConversionRow kConversions[] = {
    {"s", PrintText},
    {"c", PrintCharacter},
    {"%", PrintPercent},
    {"duxXoDU", XfmtPrintInteger},
    {"pP", XfmtPrintPointer},
    {"eEfgG", XfmtPrintFloat},
    {"F", XfmtPrintFormatter},
    {"w", XfmtPrintNested},
    {"n", PrintRepeated},
    {"mM", XfmtPrintDump},
    // These print nothing but set what later conversions of the call do.
    {"t", SetSeparator},
    {"_", SetGroupSize},
    {"T", SetDecimalSeparator},
    {"k", XfmtSetDumpSeparator},
    {"K", XfmtSetDumpFrame},
    {"Rr", XfmtSetDumpRows},
    {"v", XfmtSetDumpAddress},
};

constexpr auto kConversionOfLetter = [] {
    std::array<Conversion, 128> table = {};
    table.fill(PrintUnknown);
    for (const ConversionRow& row : kConversions)
        for (const char* letter = row.letters; *letter != 0; ++letter)
            table[static_cast<unsigned char>(*letter)] = row.print;
    return table;
}();

void PrintConversion(XfmtCall& call) {
    const size_t letter = call.conversion;
    const Conversion print = letter < kConversionOfLetter.size() ? kConversionOfLetter[letter] : PrintUnknown;
    print(call);
}

const wchar_t* PrintDirective(XfmtCall& call, const wchar_t* percent) {
    const wchar_t* const next = XfmtParseDirective(call, percent);
    call.pieceSeen = false;
    PrintConversion(call);
    // A conversion without output still shows in the trace.
    if (call.traced && !call.pieceSeen) XfmtTracePiece(call, 0);
    return next;
}

}  // namespace

int32_t xfmt_core(XfmtOutput* ctx, const wchar_t* format, va_list args) noexcept {
    XfmtCall call;
    BeginCall(call, *ctx, format);
    va_copy(call.args, args);
    for (const wchar_t* at = call.info.format; *at != 0;)
        at = *at == L'%' ? PrintDirective(call, at) : PrintLiteral(call, at);
    va_end(call.args);
    return EndCall(call, *ctx);
}
