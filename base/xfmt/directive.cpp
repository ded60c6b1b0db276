// Parses directives: '%', flags, width, precision, length, conversion.
#include "base/xfmt/internal.h"

namespace {

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// Most directives are "%s" or "%d": anything that can precede the conversion is 'h', 'l' or not a letter.
bool IsBareConversion(wchar_t c) {
    return c >= L'A' && c <= L'z' && c != L'h' && c != L'l';
}

const wchar_t* ParseFlags(XfmtFlags& flags, const wchar_t* at) {
    for (;; ++at) {
        switch (*at) {
            case L'-':
                flags.left = true;
                break;
            case L'+':
                flags.plus = true;
                break;
            case L' ':
                flags.space = true;
                break;
            case L'#':
                flags.alternate = true;
                break;
            case L'0':
                flags.zero = true;
                break;
            case L'\'':
                break;
            default:
                return at;
        }
    }
}

// A number too large for its type becomes the largest.
const wchar_t* ParseNumber(int32_t& number, const wchar_t* at) {
    int64_t value = 0;
    for (; IsDigit(*at); ++at) {
        value = value * 10 + (*at - L'0');
        if (value > INT32_MAX) value = INT32_MAX;
    }
    number = static_cast<int32_t>(value);
    return at;
}

int32_t TakeStar(XfmtCall& call) {
    return static_cast<int32_t>(static_cast<uint32_t>(XfmtTakeSlot(call)));
}

const wchar_t* ParseWidth(XfmtCall& call, const wchar_t* at) {
    XfmtPieceInfo& info = call.info;
    if (IsDigit(*at)) {
        info.width_given = true;
        return ParseNumber(info.width, at);
    }
    if (*at != L'*') return at;
    const int32_t width = TakeStar(call);
    if (width < 0) call.flags.left = true;
    info.width_given = true;
    info.width = width >= 0 ? width : width == INT32_MIN ? INT32_MAX : -width;
    return at + 1;
}

const wchar_t* ParsePrecision(XfmtCall& call, const wchar_t* at) {
    XfmtPieceInfo& info = call.info;
    if (*at != L'.') return at;
    ++at;
    if (*at != L'*') {
        info.precision_given = true;
        return ParseNumber(info.precision, at);
    }
    const int32_t precision = TakeStar(call);
    info.precision_given = precision >= 0;
    info.precision = precision >= 0 ? precision : 0;
    return at + 1;
}

const wchar_t* ParseLength(XfmtFlags& flags, const wchar_t* at) {
    if (*at == L'h') return at + 1;
    if (*at != L'l') return at;
    if (at[1] != L'l') return at + 1;
    flags.longLong = true;
    return at + 2;
}

}  // namespace

const wchar_t* XfmtParseDirective(XfmtCall& call, const wchar_t* percent) noexcept {
    XfmtPieceInfo& info = call.info;
    call.flags = {};
    info.width_given = info.precision_given = false;
    info.width = info.precision = 0;
    info.arg_bytes = 0;
    info.arg_raw = 0;

    const wchar_t* at = percent + 1;
    if (!IsBareConversion(*at)) {
        at = ParseFlags(call.flags, at);
        at = ParseWidth(call, at);
        at = ParsePrecision(call, at);
        at = ParseLength(call.flags, at);
    }
    call.conversion = *at;
    if (*at != 0) ++at;
    info.format_pos = static_cast<int32_t>(percent - info.format);
    info.format_len = static_cast<int32_t>(at - percent);
    return at;
}
