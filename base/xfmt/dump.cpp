// Hex dumps: %m and %M with the settings of %k, %K, %R, %r and %v.
#include <algorithm>
#include <bit>
#include <cstring>

#include "base/xfmt/emit.h"

namespace {

constexpr int32_t kCellChars = 2 + 2 * kXfmtDumpFrameChars + kXfmtDumpSeparatorChars;

// What stays the same through all rows of one dump.
struct DumpPlan {
    const uint8_t* bytes;
    int64_t count;
    bool upper;
    int32_t cellChars;       // one byte with its frame and separator
    int32_t separatorChars;  // of these, the separator
    int32_t addressDigits;
    int32_t addressChars;  // the address and what follows it; 0 without a ruler
};

struct AddressText {
    wchar_t text[kXfmtFieldChars + 2];
    int32_t count;
};

AddressText MakeAddress(const XfmtCall& call, int32_t digits, uint64_t address) {
    AddressText result;
    const wchar_t* const separator = call.separator != nullptr ? call.separator : L"";
    result.count = xfmt_quiet(result.text, kXfmtFieldChars + 1, L"%_%t%0.*llX", call.dump.addressGroup,
                              separator, digits, address);
    result.text[result.count++] = L':';
    result.text[result.count++] = L' ';
    return result;
}

int32_t HexDigitsOf(uint64_t value) {
    return value == 0 ? 1 : (static_cast<int32_t>(std::bit_width(value)) + 3) / 4;
}

// The last byte has the longest address.
uint64_t LastAddress(uint64_t first, int64_t count) {
    const uint64_t last = first + static_cast<uint64_t>(count) - 1;
    return last < first ? UINT64_MAX : last;
}

int32_t AddressDigits(const XfmtDumpSettings& dump, int64_t count) {
    const int32_t needed = HexDigitsOf(LastAddress(dump.address, count));
    if (dump.addressMinDigits > 0) return needed > dump.addressMinDigits ? needed : dump.addressMinDigits;
    const int32_t group = dump.addressGroup;
    if (group < 1) return needed;
    return group >= kXfmtDigitChars ? kXfmtDigitChars : (needed + group - 1) / group * group;
}

DumpPlan MakePlan(const XfmtCall& call, const uint8_t* bytes, int64_t count) {
    const XfmtDumpSettings& dump = call.dump;
    DumpPlan plan = {};
    plan.bytes = bytes;
    plan.count = count;
    plan.upper = call.conversion == L'M';
    plan.cellChars = 2 + dump.frameBeforeChars + dump.frameAfterChars + dump.separatorChars;
    plan.separatorChars = dump.separatorChars;
    if (dump.ruler) {
        plan.addressDigits = AddressDigits(dump, count);
        plan.addressChars = MakeAddress(call, plan.addressDigits, LastAddress(dump.address, count)).count;
    }
    return plan;
}

void EmitNewline(XfmtCall& call) {
    XfmtEmit(call, xfmt_newline(), XfmtTextLength(xfmt_newline()));
}

void PutHexByte(wchar_t* out, unsigned value, bool upper) {
    const char* const digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    out[0] = static_cast<wchar_t>(digits[value >> 4]);
    out[1] = static_cast<wchar_t>(digits[value & 15]);
}

// Column numbers go above the digits of their cells, dashes above everything else.
void EmitRuler(XfmtCall& call, const DumpPlan& plan) {
    const XfmtDumpSettings& dump = call.dump;
    XfmtEmitRun(call, L' ', dump.indent);
    XfmtEmitRun(call, L'-', plan.addressChars);
    for (int32_t column = 0; column < dump.bytesPerRow; ++column) {
        const bool last = column == dump.bytesPerRow - 1;
        wchar_t index[2];
        PutHexByte(index, static_cast<unsigned>(column), true);
        XfmtEmitRun(call, L'-', dump.frameBeforeChars);
        XfmtEmit(call, index, 2);
        XfmtEmitRun(call, L'-', dump.frameAfterChars + (last ? 0 : dump.separatorChars));
    }
    EmitNewline(call);
}

// One byte with its frame and the separator after it.
void PutCell(wchar_t* out, const XfmtDumpSettings& dump, uint8_t byte, bool upper) {
    const auto put = [&out](const wchar_t* text, int32_t count) {
        for (int32_t i = 0; i < count; ++i)
            *out++ = text[i];
    };
    put(dump.frameBefore, dump.frameBeforeChars);
    PutHexByte(out, byte, upper);
    out += 2;
    put(dump.frameAfter, dump.frameAfterChars);
    put(dump.separator, dump.separatorChars);
}

void EmitCells(XfmtCall& call, const DumpPlan& plan, const uint8_t* bytes, int64_t count) {
    for (; count > 0; --count) {
        if (XfmtOnlyCounts(call)) return XfmtCount(call, count * plan.cellChars - plan.separatorChars);
        if (wchar_t* const place = XfmtPlaceFor(call, plan.cellChars); place != nullptr && count > 1) {
            PutCell(place, call.dump, *bytes++, plan.upper);
            XfmtCount(call, plan.cellChars);
        } else {
            wchar_t cell[kCellChars];
            PutCell(cell, call.dump, *bytes++, plan.upper);
            XfmtEmit(call, cell, plan.cellChars - (count > 1 ? 0 : plan.separatorChars));
        }
    }
}

void EmitRowHead(XfmtCall& call, const DumpPlan& plan, uint64_t address, int32_t blankCells) {
    XfmtEmitRun(call, L' ', call.dump.indent);
    if (call.dump.ruler) {
        const AddressText text = MakeAddress(call, plan.addressDigits, address);
        XfmtEmit(call, text.text, text.count);
    }
    XfmtEmitRun(call, L' ', blankCells * plan.cellChars);
}

// The length of the rows that show the last `left` bytes, without writing or reading them.
int64_t LengthOfRows(const XfmtDumpSettings& dump, const DumpPlan& plan, int64_t left) {
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): an unbroken dump has one row only
    const int64_t rows = (left + dump.bytesPerRow - 1) / dump.bytesPerRow;
    const int64_t perRow = dump.indent + plan.addressChars - plan.separatorChars;
    return rows * perRow + left * plan.cellChars + (rows - 1) * XfmtTextLength(xfmt_newline());
}

void EmitRows(XfmtCall& call, const DumpPlan& plan) {
    const XfmtDumpSettings& dump = call.dump;
    int32_t blank = dump.startColumn;
    for (int64_t done = 0; done < plan.count; blank = 0) {
        if (done > 0) {
            EmitNewline(call);
            if (XfmtOnlyCounts(call)) return XfmtCount(call, LengthOfRows(dump, plan, plan.count - done));
        }
        const uint64_t address = dump.address + static_cast<uint64_t>(done) - static_cast<uint64_t>(blank);
        EmitRowHead(call, plan, address, blank);
        const int64_t left = plan.count - done;
        const int64_t place = dump.bytesPerRow == 0 ? left : dump.bytesPerRow - blank;
        const int64_t cells = left < place ? left : place;
        EmitCells(call, plan, plan.bytes + done, cells);
        done += cells;
    }
}

int32_t KeepText(wchar_t* out, const wchar_t* text, int32_t length, int32_t maxChars) {
    const int32_t kept = std::min(length, maxChars);
    std::copy_n(text, kept, out);
    return kept;
}

}  // namespace

void XfmtSetDumpSeparator(XfmtCall& call) noexcept {
    XfmtDumpSettings& dump = call.dump;
    const wchar_t* text = XfmtTakeText(call);
    if (text == nullptr) text = L"";
    dump.separatorChars = KeepText(dump.separator, text, XfmtTextLength(text, kXfmtDumpSeparatorChars),
                                   kXfmtDumpSeparatorChars);
}

void XfmtSetDumpFrame(XfmtCall& call) noexcept {
    XfmtDumpSettings& dump = call.dump;
    const wchar_t* text = XfmtTakeText(call);
    if (text == nullptr) text = L"";
    const int32_t length = XfmtTextLength(text);
    const int32_t middle = length / 2;
    dump.frameBeforeChars = KeepText(dump.frameBefore, text, middle, kXfmtDumpFrameChars);
    dump.frameAfterChars = KeepText(dump.frameAfter, text + middle, length - middle, kXfmtDumpFrameChars);
}

void XfmtSetDumpRows(XfmtCall& call) noexcept {
    XfmtDumpSettings& dump = call.dump;
    dump.bytesPerRow = std::clamp(XfmtTakeInt(call), 0, kXfmtDumpMaxBytesPerRow);
    dump.indent = std::clamp(call.info.width, 0, kXfmtDumpMaxIndent);
    dump.startColumn = dump.bytesPerRow == 0 ? 0 : std::clamp(call.info.precision, 0, dump.bytesPerRow - 1);
    dump.ruler = call.conversion == L'R' && dump.bytesPerRow != 0;
}

void XfmtSetDumpAddress(XfmtCall& call) noexcept {
    XfmtDumpSettings& dump = call.dump;
    dump.address = XfmtTakeArgument(call, 8);
    dump.addressGroup = call.info.width;
    dump.addressMinDigits = call.info.precision_given ? call.info.precision : 1;
}

void XfmtPrintDump(XfmtCall& call) noexcept {
    const uint8_t* const bytes = XfmtTakePointer<const uint8_t>(call);
    if (bytes != nullptr) {
        const int64_t count = call.info.width_given
                                  ? call.info.width
                                  : int64_t{XfmtTextLength(reinterpret_cast<const wchar_t*>(bytes))} * 2;
        if (count > 0) {
            const DumpPlan plan = MakePlan(call, bytes, count);
            if (call.dump.ruler) EmitRuler(call, plan);
            EmitRows(call, plan);
        }
    }
    call.dump.address = 0;
    call.dump.addressGroup = 0;
    call.dump.addressMinDigits = 1;
}
