// Integer conversions: digits, precision, prefix, digit groups.
#include <cstring>

#include "base/xfmt/emit.h"

namespace {

constexpr int32_t kPrefixChars = 2;  // "0x"; a sign takes one
constexpr int32_t kPointerDigits = 16;

// Digits are written backwards from the end of the buffer, then the prefix right before them.
struct DigitText {
    wchar_t place[kPrefixChars + kXfmtDigitChars];
    int32_t count = 0;
    int32_t prefixCount = 0;

    wchar_t* end() { return place + kPrefixChars + kXfmtDigitChars; }
    wchar_t* digits() { return end() - count; }
    wchar_t* start() { return digits() - prefixCount; }

    void Push(wchar_t digit) {
        ++count;
        *digits() = digit;
    }
};

struct DigitPairs {
    wchar_t text[200];
};

constexpr DigitPairs MakeDigitPairs() {
    DigitPairs pairs = {};
    for (int i = 0; i < 100; ++i) {
        pairs.text[2 * i] = static_cast<wchar_t>(L'0' + i / 10);
        pairs.text[2 * i + 1] = static_cast<wchar_t>(L'0' + i % 10);
    }
    return pairs;
}

// Two decimal digits per division.
constexpr DigitPairs kDigitPairs = MakeDigitPairs();

// Writes the digits in front of `end`; returns where they start.
template <typename T>
wchar_t* PutDecimalBefore(wchar_t* end, T value) {
    wchar_t* at = end;
    while (value >= 100) {
        at -= 2;
        memcpy(at, &kDigitPairs.text[value % 100 * 2], 2 * sizeof(wchar_t));
        value /= 100;
    }
    if (value >= 10) {
        at -= 2;
        memcpy(at, &kDigitPairs.text[value * 2], 2 * sizeof(wchar_t));
    } else {
        *--at = static_cast<wchar_t>(L'0' + value);
    }
    return at;
}

// Dividing 32-bit numbers is several times faster.
wchar_t* PutDecimalBefore(wchar_t* end, uint64_t value, bool isSmall) {
    return isSmall ? PutDecimalBefore(end, static_cast<uint32_t>(value)) : PutDecimalBefore(end, value);
}

int32_t DecimalDigits(uint64_t value) {
    int32_t digits = 1;
    for (; value >= 10000; value /= 10000)
        digits += 4;
    return digits + (value >= 10) + (value >= 100) + (value >= 1000);
}

void PutPowerOfTwo(DigitText& text, uint64_t value, int bitsPerDigit, const char* digits) {
    const uint64_t mask = (uint64_t{1} << bitsPerDigit) - 1;
    do {
        text.Push(static_cast<wchar_t>(digits[value & mask]));
        value >>= bitsPerDigit;
    } while (value != 0);
}

const char* HexDigits(bool upper) {
    return upper ? "0123456789ABCDEF" : "0123456789abcdef";
}

void PutDigits(DigitText& text, uint64_t value, wchar_t conversion) {
    switch (conversion) {
        case L'x':
        case L'X':
            return PutPowerOfTwo(text, value, 4, HexDigits(conversion == L'X'));
        case L'o':
            return PutPowerOfTwo(text, value, 3, HexDigits(false));
        default:
            text.count =
                static_cast<int32_t>(text.end() - PutDecimalBefore(text.end(), value, value <= UINT32_MAX));
    }
}

void ApplyPrecision(DigitText& text, int32_t precision) {
    if (precision > kXfmtDigitChars) precision = kXfmtDigitChars;
    while (text.count < precision)
        text.Push(L'0');
}

void PutSign(DigitText& text, bool negative, const XfmtFlags& flags) {
    if (!negative && !flags.plus && !flags.space) return;
    text.prefixCount = 1;
    *text.start() = negative ? L'-' : flags.plus ? L'+' : L' ';
}

void PutHexPrefix(DigitText& text, bool upper) {
    text.prefixCount = 2;
    text.start()[0] = L'0';
    text.start()[1] = upper ? L'X' : L'x';
}

struct Grouping {
    const wchar_t* separator;  // null: none
    int32_t size;
};

// What does not fit in a field is cut at its end.
struct FieldText {
    wchar_t text[kXfmtFieldChars];
    int32_t count = 0;

    void Append(const wchar_t* source, int32_t chars) {
        for (int32_t i = 0; i < chars && count < kXfmtFieldChars; ++i)
            text[count++] = source[i];
    }
};

void AppendGrouped(FieldText& field, const wchar_t* digits, int32_t count, const Grouping& grouping) {
    const int32_t separatorChars = XfmtTextLength(grouping.separator, kXfmtFieldChars);
    const int32_t rest = count % grouping.size;
    int32_t chunk = rest != 0 ? rest : grouping.size;
    while (true) {
        field.Append(digits, chunk);
        digits += chunk;
        count -= chunk;
        if (count == 0) return;
        field.Append(grouping.separator, separatorChars);
        chunk = grouping.size;
    }
}

void EmitDigits(XfmtCall& call, DigitText& text, const Grouping& grouping, bool zeroPadded) {
    if (grouping.separator == nullptr || grouping.size < 1 || text.count <= grouping.size) {
        XfmtEmitField(call, text.start(), text.prefixCount + text.count, text.prefixCount, zeroPadded);
        return;
    }
    FieldText field;
    field.Append(text.start(), text.prefixCount);
    AppendGrouped(field, text.digits(), text.count, grouping);
    XfmtEmitField(call, field.text, field.count, text.prefixCount, zeroPadded);
}

Grouping GroupingOf(const XfmtCall& call) {
    switch (call.conversion) {
        case L'D':
        case L'U':
            return {call.decimalSeparator, 3};
        case L'o':
            return {nullptr, 0};
        default:
            return {call.separator, call.groupSize};
    }
}

// A 32-bit argument leaves the upper half of its slot undefined.
uint64_t TakeUnsigned(XfmtCall& call) {
    if (call.flags.longLong) return XfmtTakeArgument(call, 8);
    return static_cast<uint32_t>(XfmtTakeArgument(call, 4));
}

int64_t TakeSigned(XfmtCall& call) {
    if (call.flags.longLong) return static_cast<int64_t>(XfmtTakeArgument(call, 8));
    return XfmtTakeInt(call);
}

void PutPrefix(DigitText& text, const XfmtCall& call, uint64_t value) {
    if (!call.flags.alternate) return;
    if (call.conversion == L'o') {
        const bool leadingZero = text.count > 0 && text.digits()[0] == L'0';
        if (!leadingZero && text.count < kXfmtDigitChars) text.Push(L'0');
    } else if (value != 0 && (call.conversion == L'x' || call.conversion == L'X')) {
        PutHexPrefix(text, call.conversion == L'X');
    }
}

constexpr int32_t kLongestInPlace = 20;

// Most numbers have no precision, no groups and no forced sign: they are written straight into the output.
// This halves the time of a time stamp, which has six padded numbers.
bool PrintInPlace(XfmtCall& call, bool negative, uint64_t value) {
    const XfmtFlags& flags = call.flags;
    if (call.info.precision_given || call.separator != nullptr || flags.left || flags.plus || flags.space)
        return false;
    if (call.conversion != L'd' && call.conversion != L'u') return false;
    const int32_t needed = DecimalDigits(value) + (negative ? 1 : 0);
    const int32_t count = needed < call.info.width ? call.info.width : needed;
    wchar_t* const place = count <= kLongestInPlace ? XfmtPlaceFor(call, count) : nullptr;
    if (place == nullptr) return false;

    wchar_t* at = PutDecimalBefore(place + count, value, value <= UINT32_MAX);
    while (at != place)
        *--at = flags.zero ? L'0' : L' ';
    if (negative) place[flags.zero ? 0 : count - needed] = L'-';
    XfmtCount(call, count);
    return true;
}

}  // namespace

void XfmtPrintInteger(XfmtCall& call) noexcept {
    const bool isSigned = call.conversion == L'd' || call.conversion == L'D';
    bool negative = false;
    uint64_t value;
    if (isSigned) {
        const int64_t number = TakeSigned(call);
        negative = number < 0;
        value = negative ? 0 - static_cast<uint64_t>(number) : static_cast<uint64_t>(number);
    } else {
        value = TakeUnsigned(call);
    }

    if (PrintInPlace(call, negative, value)) return;

    const XfmtPieceInfo& info = call.info;
    DigitText text;
    if (value != 0 || !info.precision_given || info.precision != 0) PutDigits(text, value, call.conversion);
    if (info.precision_given) ApplyPrecision(text, info.precision);
    if (isSigned) {
        PutSign(text, negative, call.flags);
    } else {
        PutPrefix(text, call, value);
    }
    EmitDigits(call, text, GroupingOf(call), call.flags.zero && !info.precision_given);
}

void XfmtPrintPointer(XfmtCall& call) noexcept {
    const uint64_t value = XfmtTakeArgument(call, 8);
    const bool upper = call.conversion == L'P';
    DigitText text;
    PutPowerOfTwo(text, value, 4, HexDigits(upper));
    ApplyPrecision(text, kPointerDigits);
    if (call.flags.alternate && value != 0) PutHexPrefix(text, upper);
    EmitDigits(call, text, GroupingOf(call), false);
}
