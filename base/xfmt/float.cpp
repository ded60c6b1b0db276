// Floating-point conversions: the standard library makes the digits, the engine the sign and the padding.
#include <bit>
#include <cmath>
#include <cwchar>

#include "base/xfmt/internal.h"

namespace {

constexpr int32_t kDefaultPrecision = 6;
// A field has room for no more digits; a larger precision would only cost time.
constexpr int32_t kMaxPrecision = kXfmtFieldChars;
// The longest result: 309 digits before the point and the precision after it.
constexpr int32_t kResultChars = 320 + kMaxPrecision;

}  // namespace

void XfmtPrintFloat(XfmtCall& call) noexcept {
    const double value = std::bit_cast<double>(XfmtTakeArgument(call, 8));
    const XfmtPieceInfo& info = call.info;
    int32_t precision = info.precision_given ? info.precision : kDefaultPrecision;
    if (precision > kMaxPrecision) precision = kMaxPrecision;

    // One extra character in front for the sign of a number that is not negative.
    wchar_t field[1 + kResultChars];
    const wchar_t format[] = {L'%', L'.', L'*', call.conversion, 0};
    const int written = swprintf(field + 1, kResultChars, format, static_cast<int>(precision), value);
    if (written < 1) return;

    wchar_t* start = field + 1;
    int32_t count = written;
    int32_t signChars = 1;
    if (*start != L'-') {
        if (call.flags.plus || call.flags.space) {
            *--start = call.flags.plus ? L'+' : L' ';
            ++count;
        } else {
            signChars = 0;
        }
    }
    if (count > kXfmtFieldChars) count = kXfmtFieldChars;
    XfmtEmitField(call, start, count, signChars, call.flags.zero && std::isfinite(value));
}
