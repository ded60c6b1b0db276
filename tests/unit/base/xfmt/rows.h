// One line per case of the format engine: a name, a format, its arguments, the text that must come out. The
// expected count is the length of that text.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "base/xfmt.h"

// One eight-byte slot of an argument list. The half that a 32-bit argument leaves undefined holds garbage,
// and so do the bits above a character.
struct XfmtArg {
    uint64_t slot;

    XfmtArg(int value) : slot(kGarbage | static_cast<uint32_t>(value)) {}
    XfmtArg(unsigned value) : slot(kGarbage | value) {}
    XfmtArg(long long value) : slot(static_cast<uint64_t>(value)) {}
    XfmtArg(unsigned long long value) : slot(value) {}
    XfmtArg(wchar_t value) : slot(kGarbage | 0x5A5A0000u | value) {}
    XfmtArg(double value) : slot(std::bit_cast<uint64_t>(value)) {}
    XfmtArg(const void* value) : slot(reinterpret_cast<uint64_t>(value)) {}
    XfmtArg(std::nullptr_t) : slot(0) {}

    static constexpr uint64_t kGarbage = 0xDEADBEEF00000000u;
};

// An argument list made of slots; the vector must outlive it.
inline va_list XfmtArgList(const std::vector<XfmtArg>& args) {
    static_assert(sizeof(XfmtArg) == 8);
    return reinterpret_cast<va_list>(const_cast<XfmtArg*>(args.data()));
}

struct XfmtRow {
    const char* name;
    const wchar_t* format;
    std::vector<XfmtArg> args;
    std::wstring expected;
};

inline std::string PrintableText(const std::wstring& text) {
    std::string result;
    for (const wchar_t c : text) {
        if (c >= 32 && c < 127) {
            result += static_cast<char>(c);
        } else {
            char escape[8];
            snprintf(escape, sizeof(escape), "\\x%04X", static_cast<unsigned>(c));
            result += escape;
        }
    }
    return result;
}

inline void PrintTo(const XfmtRow& row, std::ostream* out) {
    *out << PrintableText(row.format);
}

inline std::string XfmtRowName(const testing::TestParamInfo<XfmtRow>& info) {
    return info.param.name;
}

class XfmtRowTest : public testing::TestWithParam<XfmtRow> {
  protected:
    void CheckRow() {
        const XfmtRow& row = GetParam();
        std::vector<wchar_t> buffer(row.expected.size() + 2000, L'\x7E7E');
        const int32_t count =
            xfmt_v(buffer.data(), static_cast<int32_t>(buffer.size()), row.format, XfmtArgList(row.args));
        EXPECT_EQ(count, static_cast<int32_t>(row.expected.size()));
        ASSERT_LT(count, static_cast<int32_t>(buffer.size()));
        ASSERT_GE(count, 0);
        EXPECT_EQ(PrintableText(std::wstring(buffer.data(), static_cast<size_t>(count))),
                  PrintableText(row.expected));
        EXPECT_EQ(buffer[static_cast<size_t>(count)], L'\0') << "not terminated";
        EXPECT_EQ(buffer[static_cast<size_t>(count) + 1], L'\x7E7E') << "written behind the terminator";
    }
};
