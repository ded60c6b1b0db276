// Literal text, %c, %s, %%, %n and what is not a conversion.
#include "tests/unit/base/xfmt/rows.h"

namespace {

const wchar_t kUnterminated[] = {L'a', L'b', L'c'};

class XfmtTextTest : public XfmtRowTest {};
TEST_P(XfmtTextTest, PrintsAsExpected) {
    CheckRow();
}

INSTANTIATE_TEST_SUITE_P(
    Literals, XfmtTextTest,
    testing::Values(XfmtRow{"empty", L"", {}, L""},  //
                    XfmtRow{"plain", L"COM port", {}, L"COM port"}, XfmtRow{"percent", L"100%%", {}, L"100%"},
                    XfmtRow{"percent_only", L"%%", {}, L"%"},
                    XfmtRow{"percent_ignores_width", L"[%5%]", {}, L"[%]"},
                    XfmtRow{"not_ascii", L"\x4E2D\xD83D\xDE00", {}, L"\x4E2D\xD83D\xDE00"}),
    XfmtRowName);

INSTANTIATE_TEST_SUITE_P(Characters, XfmtTextTest,
                         testing::Values(XfmtRow{"one", L"%c", {L'x'}, L"x"},  //
                                         XfmtRow{"low_16_bits_of_an_int", L"%c", {0x10041}, L"A"},
                                         XfmtRow{"right", L"[%3c]", {L'x'}, L"[  x]"},  //
                                         XfmtRow{"left", L"[%-3c]", {L'x'}, L"[x  ]"},
                                         XfmtRow{
                                             "nul_is_a_character", L"a%cb", {0}, std::wstring(L"a\0b", 3)},
                                         XfmtRow{"precision_is_ignored", L"%.0c", {L'x'}, L"x"}),
                         XfmtRowName);

INSTANTIATE_TEST_SUITE_P(
    Strings, XfmtTextTest,
    testing::Values(XfmtRow{"plain", L"<%s>", {L"text"}, L"<text>"}, XfmtRow{"empty", L"<%s>", {L""}, L"<>"},
                    XfmtRow{"null_prints_nothing", L"<%s>", {nullptr}, L"<>"},
                    XfmtRow{"null_fills_its_column", L"<%3s>", {nullptr}, L"<   >"},
                    XfmtRow{"right", L"%6s", {L"text"}, L"  text"},
                    XfmtRow{"left", L"%-6s|", {L"text"}, L"text  |"},
                    XfmtRow{"width_does_not_cut", L"%2s", {L"text"}, L"text"},
                    XfmtRow{"precision_cuts", L"%.2s", {L"text"}, L"te"},
                    XfmtRow{"precision_zero", L"<%.0s>", {L"text"}, L"<>"},
                    XfmtRow{"precision_beyond_the_end", L"%.9s", {L"text"}, L"text"},
                    XfmtRow{"precision_without_terminator", L"%.3s", {kUnterminated}, L"abc"},
                    XfmtRow{"width_and_precision", L"%5.2s", {L"text"}, L"   te"},
                    XfmtRow{"star_width", L"%*s", {6, L"text"}, L"  text"},
                    XfmtRow{"negative_star_width_is_left", L"%*s|", {-6, L"text"}, L"text  |"},
                    XfmtRow{"negative_star_precision_is_none", L"%.*s", {-2, L"text"}, L"text"},
                    XfmtRow{"star_both", L"%*.*s", {5, 2, L"text"}, L"   te"},
                    XfmtRow{"zero_flag_pads_with_zeros", L"%06s", {L"text"}, L"00text"},
                    XfmtRow{"length_h", L"%hs", {L"text"}, L"text"},
                    XfmtRow{"length_ll", L"%lls", {L"text"}, L"text"}),
    XfmtRowName);

INSTANTIATE_TEST_SUITE_P(
    Repetitions, XfmtTextTest,
    testing::Values(
        XfmtRow{"none", L"[%*n]", {0, L"x"}, L"[]"},  //
        XfmtRow{"without_width", L"[%n]", {L"x"}, L"[]"}, XfmtRow{"text", L"%*n", {3, L"ab"}, L"ababab"},
        XfmtRow{"spaces", L"[%*n]", {4, L" "}, L"[    ]"}, XfmtRow{"written_width", L"%3n", {L"-"}, L"---"},
        XfmtRow{"empty_text", L"[%*n]", {3, L""}, L"[]"}, XfmtRow{"null", L"[%*n]", {3, nullptr}, L"[]"},
        XfmtRow{"negative_star_repeats_its_absolute", L"%*n", {-2, L"ab"}, L"abab"},
        XfmtRow{"longer_than_one_piece", L"%*n", {250, L"="}, std::wstring(250, L'=')}),
    XfmtRowName);

INSTANTIATE_TEST_SUITE_P(Unknown, XfmtTextTest,
                         testing::Values(XfmtRow{"i", L"%i", {1}, L"%i"},  //
                                         XfmtRow{"with_flags", L"<%-+ #0'12.5llC>", {}, L"<%-+ #0'12.5llC>"},
                                         XfmtRow{"S", L"%S", {L"x"}, L"%S"},     //
                                         XfmtRow{"a", L"%.3a", {1.0}, L"%.3a"},  //
                                         XfmtRow{"below_percent", L"%!|", {}, L"%!|"},
                                         XfmtRow{"above_x", L"%y%z%~", {}, L"%y%z%~"},
                                         XfmtRow{"not_ascii", L"%5\x4E2D.", {}, L"%5\x4E2D."},
                                         XfmtRow{"hh_is_not_a_length", L"%hhd", {}, L"%hhd"},
                                         XfmtRow{"lll_is_not_a_length", L"%llld", {}, L"%llld"},
                                         XfmtRow{"L_is_not_a_length", L"%Lf", {}, L"%Lf"},
                                         XfmtRow{"takes_nothing", L"%i %s", {L"next"}, L"%i next"},
                                         XfmtRow{
                                             "star_takes_its_width", L"%*i %s", {7, L"next"}, L"%*i next"},
                                         XfmtRow{"percent_at_the_end", L"50%", {}, L"50%"},
                                         XfmtRow{"unfinished", L"x%-08.3ll", {}, L"x%-08.3ll"},
                                         XfmtRow{"minus_behind_the_point", L"%.-3d", {}, L"%.-3d"}),
                         XfmtRowName);

TEST(XfmtTest, ANullFormatIsEmpty) {
    wchar_t buffer[4] = L"abc";
    EXPECT_EQ(xfmt(buffer, 4, nullptr), 0);
    EXPECT_STREQ(buffer, L"");
}

}  // namespace
