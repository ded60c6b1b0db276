// Hex dumps and their settings.
#include "tests/unit/base/xfmt/rows.h"

namespace {

const uint8_t kBytes[] = {0x00, 0x1F, 0xA0, 0xFF, 0x41, 0x42, 0x43, 0x7E};
const uint8_t kZeros[300] = {};

class XfmtDumpTest : public XfmtRowTest {};
TEST_P(XfmtDumpTest, PrintsAsExpected) {
    CheckRow();
}

INSTANTIATE_TEST_SUITE_P(Bytes, XfmtDumpTest,
                         testing::Values(XfmtRow{"lower", L"%4m", {kBytes}, L"001fa0ff"},             //
                                         XfmtRow{"upper", L"%4M", {kBytes}, L"001FA0FF"},             //
                                         XfmtRow{"star", L"%*m", {2, kBytes}, L"001f"},               //
                                         XfmtRow{"no_bytes", L"[%*m]", {0, kBytes}, L"[]"},           //
                                         XfmtRow{"text_without_width", L"%m", {L"AB"}, L"41004200"},  //
                                         XfmtRow{"empty_text", L"[%m]", {L""}, L"[]"},                //
                                         XfmtRow{"null", L"[%m]", {nullptr}, L"[]"},                  //
                                         XfmtRow{"null_with_width", L"[%8m]", {nullptr}, L"[]"}),
                         XfmtRowName);

INSTANTIATE_TEST_SUITE_P(
    Cells, XfmtDumpTest,
    testing::Values(XfmtRow{"separator", L"%k%4m", {L" ", kBytes}, L"00 1f a0 ff"},                      //
                    XfmtRow{"separator_keeps_8", L"%k%2m", {L"123456789", kBytes}, L"00123456781f"},     //
                    XfmtRow{"separator_null", L"%k%k%2m", {L" ", nullptr, kBytes}, L"001f"},             //
                    XfmtRow{"frame", L"%K%3m", {L"[]", kBytes}, L"[00][1f][a0]"},                        //
                    XfmtRow{"frame_and_separator", L"%k%K%2m", {L",", L"<>", kBytes}, L"<00>,<1f>"},     //
                    XfmtRow{"odd_frame", L"%K%2m", {L"a()", kBytes}, L"a00()a1f()"},                     //
                    XfmtRow{"frame_of_one", L"%K%2m", {L"!", kBytes}, L"00!1f!"},                        //
                    XfmtRow{"frame_keeps_4_and_4", L"%K%1m", {L"abcdefghijkl", kBytes}, L"abcd00ghij"},  //
                    XfmtRow{"frame_null", L"%K%K%1m", {L"[]", nullptr, kBytes}, L"00"},                  //
                    XfmtRow{"settings_print_nothing", L"[%k%K%R%r%v]", {L"", L"", 1, 2, 3ull}, L"[]"},
                    XfmtRow{"settings_last_through_the_call",
                            L"%k%r%2m|%2m",
                            {L" ", 1, kBytes, kBytes},
                            L"00\n1f|00\n1f"}),
    XfmtRowName);

INSTANTIATE_TEST_SUITE_P(
    Rows, XfmtDumpTest,
    testing::Values(
        XfmtRow{"rows", L"%k%r%8m", {L" ", 3, kBytes}, L"00 1f a0\nff 41 42\n43 7e"},  //
        XfmtRow{"whole_rows", L"%k%r%4m", {L" ", 2, kBytes}, L"00 1f\na0 ff"},         //
        XfmtRow{"one_row", L"%k%r%2m", {L" ", 2, kBytes}, L"00 1f"},                   //
        XfmtRow{"negative_is_unbroken", L"%r%4m", {-5, kBytes}, L"001fa0ff"},          //
        XfmtRow{"indent", L"%k%2r%4m", {L" ", 2, kBytes}, L"  00 1f\n  a0 ff"},        //
        XfmtRow{"indent_of_an_unbroken_row", L"%3r%2m", {0, kBytes}, L"   001f"},      //
        XfmtRow{"indent_ends_at_64", L"%100r%1m", {1, kBytes}, std::wstring(64, L' ') + L"00"},
        XfmtRow{"start_column", L"%k%.2r%4m", {L" ", 3, kBytes}, L"      00\n1f a0 ff"},
        XfmtRow{"start_column_with_frame", L"%k%K%.1r%2m", {L" ", L"[]", 2, kBytes}, L"     [00]\n[1f]"},
        XfmtRow{"start_column_ends_with_the_row", L"%k%.9r%3m", {L" ", 2, kBytes}, L"   00\n1f a0"},
        XfmtRow{"start_column_without_rows", L"%.3r%2m", {0, kBytes}, L"001f"},
        XfmtRow{"a_new_row_length_resets_the_rest", L"%2.1r%r%3m", {2, 2, kBytes}, L"001f\na0"},
        XfmtRow{"no_address_without_ruler", L"%v%r%3m", {0x1000ull, 2, kBytes}, L"001f\na0"},
        XfmtRow{"no_ruler_without_rows", L"%v%R%3m", {0x1000ull, 0, kBytes}, L"001fa0"}),
    XfmtRowName);

INSTANTIATE_TEST_SUITE_P(Rulers, XfmtDumpTest,
                         testing::Values(XfmtRow{"plain",
                                                 L"%k%R%8m",
                                                 {L" ", 4, kBytes},
                                                 L"---00-01-02-03\n"
                                                 L"0: 00 1f a0 ff\n"
                                                 L"4: 41 42 43 7e"},
                                         XfmtRow{"without_separator",
                                                 L"%R%3M",
                                                 {2, kBytes},
                                                 L"---0001\n"
                                                 L"0: 001F\n"
                                                 L"2: A0"},
                                         XfmtRow{"frames",
                                                 L"%k%K%R%3m",
                                                 {L" ", L"[]", 2, kBytes},
                                                 L"----00---01-\n"
                                                 L"0: [00] [1f]\n"
                                                 L"2: [a0]"},
                                         XfmtRow{"indent",
                                                 L"%k%4R%4m",
                                                 {L" ", 2, kBytes},
                                                 L"    ---00-01\n"
                                                 L"    0: 00 1f\n"
                                                 L"    2: a0 ff"},
                                         XfmtRow{"start_column_moves_the_first_address",
                                                 L"%v%k%.3R%5m",
                                                 {0x103ull, L" ", 4, kBytes},
                                                 L"-----00-01-02-03\n"
                                                 L"100:          00\n"
                                                 L"104: 1f a0 ff 41"},
                                         XfmtRow{"the_first_address_may_lie_below_zero",
                                                 L"%.1R%2m",
                                                 {2, kBytes},
                                                 L"---0001\n"
                                                 L"FFFFFFFFFFFFFFFF:   00\n"
                                                 L"1: 1f"},
                                         XfmtRow{"no_ruler_over_nothing", L"[%R%*m]", {4, 0, kBytes}, L"[]"},
                                         XfmtRow{"no_ruler_over_null", L"[%R%4m]", {4, nullptr}, L"[]"}),
                         XfmtRowName);

INSTANTIATE_TEST_SUITE_P(Addresses, XfmtDumpTest,
                         testing::Values(XfmtRow{"as_wide_as_the_last",
                                                 L"%v%R%4m",
                                                 {0xEull, 2, kBytes},
                                                 L"----0001\n"
                                                 L"0E: 001f\n"
                                                 L"10: a0ff"},
                                         XfmtRow{"minimum_digits",
                                                 L"%.8v%R%2m",
                                                 {0xABCull, 2, kBytes},
                                                 L"----------0001\n"
                                                 L"00000ABC: 001f"},
                                         XfmtRow{"minimum_below_the_need",
                                                 L"%.2v%R%2m",
                                                 {0xABCDEull, 2, kBytes},
                                                 L"-------0001\n"
                                                 L"ABCDE: 001f"},
                                         XfmtRow{"grouped",
                                                 L"%t%4.8v%R%2m",
                                                 {L":", 0x12345ull, 2, kBytes},
                                                 L"-----------0001\n"
                                                 L"0001:2345: 001f"},
                                         XfmtRow{"group_without_separator",
                                                 L"%4.8v%R%2m",
                                                 {0x12345ull, 2, kBytes},
                                                 L"----------0001\n"
                                                 L"00012345: 001f"},
                                         XfmtRow{"whole_groups",
                                                 L"%t%4.0v%R%2m",
                                                 {L":", 0x12345ull, 2, kBytes},
                                                 L"-----------0001\n"
                                                 L"0001:2345: 001f"},
                                         XfmtRow{"whole_groups_already",
                                                 L"%t%4.0v%R%2m",
                                                 {L":", 0x1234ull, 2, kBytes},
                                                 L"------0001\n"
                                                 L"1234: 001f"},
                                         XfmtRow{"whole_groups_without_size",
                                                 L"%.0v%R%2m",
                                                 {0x123ull, 2, kBytes},
                                                 L"-----0001\n"
                                                 L"123: 001f"},
                                         XfmtRow{"all_ones_when_the_end_overflows",
                                                 L"%v%R%4m",
                                                 {0xFFFFFFFFFFFFFFFEull, 2, kBytes},
                                                 L"------------------0001\n"
                                                 L"FFFFFFFFFFFFFFFE: 001f\n"
                                                 L"0000000000000000: a0ff"},
                                         XfmtRow{"gone_after_the_dump",
                                                 L"%t%4.8v%R%2m|%2m",
                                                 {L":", 0x12345ull, 2, kBytes, kBytes},
                                                 L"-----------0001\n"
                                                 L"0001:2345: 001f|---0001\n"
                                                 L"0: 001f"},
                                         XfmtRow{"group_gone_after_the_dump",
                                                 L"%t%1v%R%1m|%17m",
                                                 {L":", 0ull, 9, kZeros, kZeros},
                                                 L"---000102030405060708\n"
                                                 L"0: 00|----000102030405060708\n"
                                                 L"00: 000000000000000000\n"
                                                 L"09: 0000000000000000"}),
                         XfmtRowName);

INSTANTIATE_TEST_SUITE_P(Limits, XfmtDumpTest,
                         testing::Values(XfmtRow{"rows_end_at_256_bytes",
                                                 L"%r%300m",
                                                 {1000, kZeros},
                                                 std::wstring(512, L'0') + L"\n" + std::wstring(88, L'0')}),
                         XfmtRowName);

class XfmtDumpNewlineTest : public testing::TestWithParam<std::pair<int32_t, const wchar_t*>> {
  protected:
    ~XfmtDumpNewlineTest() override { xfmt_set_newline(0); }
};

TEST_P(XfmtDumpNewlineTest, EndsRulerAndRows) {
    xfmt_set_newline(GetParam().first);
    const std::wstring newline = GetParam().second;
    wchar_t text[64];
    const int32_t count = xfmt(text, 64, L"%R%4m", 2, kBytes);
    const std::wstring expected = L"---0001" + newline + L"0: 001f" + newline + L"2: a0ff";
    EXPECT_EQ(std::wstring(text), expected);
    EXPECT_EQ(count, static_cast<int32_t>(expected.size()));
    EXPECT_EQ(std::wstring(xfmt_newline()), newline);
    EXPECT_EQ(std::string(xfmt_newline_narrow()), std::string(newline.begin(), newline.end()));
}

INSTANTIATE_TEST_SUITE_P(Modes, XfmtDumpNewlineTest,
                         testing::Values(std::pair(1, L"\r\n"), std::pair(2, L"\r"), std::pair(0, L"\n"),
                                         std::pair(3, L"\n"), std::pair(-1, L"\n")));

// What is not stored is only counted; the bytes behind the buffer's end are not even read.
TEST(XfmtDumpCountTest, CountsRowsWithoutReadingThem) {
    wchar_t stored[9];
    EXPECT_EQ(xfmt(stored, 9, L"%k%16r%100000000m", L" ", 16, kBytes), 400000000 - 1);
    EXPECT_STREQ(stored, L"        ");
}

TEST(XfmtDumpCountTest, TheCountIsTheLengthOfTheWholeText) {
    std::vector<uint8_t> bytes(1000);
    std::vector<wchar_t> text(20000);
    const wchar_t* const formats[] = {L"%k%K%7.3R%*m", L"%k%K%7.3r%*m", L"%k%K%R%*m", L"%k%K%.15r%*m"};
    for (const wchar_t* format : formats) {
        for (const int32_t rowBytes : {0, 1, 3, 16, 256, 1000}) {
            for (const int32_t count : {0, 1, 2, 15, 16, 17, 31, 255, 256, 257, 1000}) {
                const std::vector<XfmtArg> args = {L" ", L"<>", rowBytes, count, bytes.data()};
                const int32_t full = xfmt_v(text.data(), 20000, format, XfmtArgList(args));
                ASSERT_LT(full, 20000);
                EXPECT_EQ(full, static_cast<int32_t>(wcslen(text.data())));
                for (const int32_t cap : {0, 1, 5, 20, full / 2, full})
                    EXPECT_EQ(xfmt_v(std::vector<wchar_t>(20000).data(), cap, format, XfmtArgList(args)),
                              full);
            }
        }
    }
}

}  // namespace
