#include "pages/port_names.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/guarded_buffer.h"

namespace {

TEST(PortLegend, ExplainsEveryMark) {
    EXPECT_STREQ(kPortLegend,
                 L"VCOM PortName legend help:\r\n\r\n"
                 L"  (#) Currently used by this VCOM itself.\r\n"
                 L"  (!) Now being occupied by other COM port devices.\r\n"
                 L"  (+) Another unplugged TAVIX device is assigned this portname.\r\n"
                 L"  (-) Other provider's device is assigned this portname, marked by ComDB.\r\n\r\n"
                 L"How to release unused(but unplugged) COM ports?\r\n"
                 L"Step 1: Set environment variable DEVMGR_SHOW_NONPRESENT_DEVICES=1. (not required on "
                 L"Win8+)\r\n"
                 L"Step 2: Open Device Manager, View -> Show hidden devices, find those ghosted device "
                 L"nodes, Uninstall them.\r\n");
}

struct ParseRow {
    const char* name;
    const wchar_t* text;
    std::optional<int32_t> expected;

    friend void PrintTo(const ParseRow& row, std::ostream* out) { *out << row.name; }
};

class ParsePortNumberTest : public testing::TestWithParam<ParseRow> {};

TEST_P(ParsePortNumberTest, Parses) {
    EXPECT_EQ(ParsePortNumber(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ParsePortNumberTest,
    testing::Values(ParseRow{"First", L"COM1", 1}, ParseRow{"Last", L"COM128", 128},
                    ParseRow{"Zero", L"COM0", 0}, ParseRow{"BehindTheList", L"COM129", 129},
                    ParseRow{"WithMark", L"COM7 (#)", 7}, ParseRow{"WithBlank", L"COM7 ", 7},
                    ParseRow{"LeadingZero", L"COM07", 7}, ParseRow{"NoNumber", L"COM", std::nullopt},
                    ParseRow{"Letter", L"COMx", std::nullopt}, ParseRow{"LowerCase", L"com7", std::nullopt},
                    ParseRow{"Negative", L"COM-7", std::nullopt}, ParseRow{"Empty", L"", std::nullopt},
                    ParseRow{"OtherName", L"LPT1", std::nullopt},
                    ParseRow{"NineDigits", L"COM123456789", 123456789},
                    ParseRow{"TenDigits", L"COM1234567890", std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

struct StateRow {
    const char* name;
    uint32_t state;
    const wchar_t* entry;
    bool mayConflict;

    friend void PrintTo(const StateRow& row, std::ostream* out) { *out << row.name; }
};

class PortEntryTest : public testing::TestWithParam<StateRow> {};

TEST_P(PortEntryTest, CarriesTheMark) {
    GuardedBuffer<wchar_t> text(kPortEntryChars);
    FormatPortEntry(128, GetParam().state, reinterpret_cast<wchar_t(&)[kPortEntryChars]>(*text.data()));
    EXPECT_STREQ(text.data(), GetParam().entry);
}

TEST_P(PortEntryTest, AsksOnlyForNamesOfOthers) {
    EXPECT_EQ(MayConflict(GetParam().entry), GetParam().mayConflict);
}

INSTANTIATE_TEST_SUITE_P(Rows, PortEntryTest,
                         testing::Values(StateRow{"Free", 0, L"COM128 ", false},
                                         StateRow{"OtherProvider", 1, L"COM128 (-)", true},
                                         StateRow{"UnpluggedVcom", 2, L"COM128 (+)", true},
                                         StateRow{"PresentDevice", 3, L"COM128 (!)", true},
                                         StateRow{"ThisVcom", 4, L"COM128 (#)", false},
                                         StateRow{"Unknown", 5, L"COM128 (?)", false},
                                         StateRow{"UnknownHuge", 0xFFFFFFFF, L"COM128 (?)", false}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
