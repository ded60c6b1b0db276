// Integer conversions and digit groups.
#include "tests/unit/base/xfmt/rows.h"

namespace {

class XfmtNumberTest : public XfmtRowTest {};
TEST_P(XfmtNumberTest, PrintsAsExpected) {
    CheckRow();
}

INSTANTIATE_TEST_SUITE_P(
    Signed, XfmtNumberTest,
    testing::Values(XfmtRow{"zero", L"%d", {0}, L"0"},                                            //
                    XfmtRow{"one_digit", L"%d", {7}, L"7"},                                       //
                    XfmtRow{"two_digits", L"%d", {42}, L"42"},                                    //
                    XfmtRow{"three_digits", L"%d", {100}, L"100"},                                //
                    XfmtRow{"minus", L"%d", {-42}, L"-42"},                                       //
                    XfmtRow{"int_max", L"%d", {INT32_MAX}, L"2147483647"},                        //
                    XfmtRow{"int_min", L"%d", {INT32_MIN}, L"-2147483648"},                       //
                    XfmtRow{"h_does_not_narrow", L"%hd", {70000}, L"70000"},                      //
                    XfmtRow{"l_is_32_bits", L"%ld", {-5}, L"-5"},                                 //
                    XfmtRow{"ll_max", L"%lld", {9223372036854775807LL}, L"9223372036854775807"},  //
                    XfmtRow{"ll_min", L"%lld", {INT64_MIN}, L"-9223372036854775808"},             //
                    XfmtRow{"ll_above_32_bits", L"%lld", {4294967296LL}, L"4294967296"},          //
                    XfmtRow{"plus", L"%+d %+d %+d", {5, 0, -5}, L"+5 +0 -5"},                     //
                    XfmtRow{"space", L"% d % d", {5, -5}, L" 5 -5"},                              //
                    XfmtRow{"plus_wins_over_space", L"% +d", {5}, L"+5"},                         //
                    XfmtRow{"apostrophe_is_ignored", L"%'d", {1234567}, L"1234567"},              //
                    XfmtRow{"right", L"[%6d]", {-42}, L"[   -42]"},                               //
                    XfmtRow{"left", L"[%-6d]", {-42}, L"[-42   ]"},                               //
                    XfmtRow{"zeros", L"%06d", {-42}, L"-00042"},                                  //
                    XfmtRow{"zeros_with_plus", L"%+06d", {42}, L"+00042"},                        //
                    XfmtRow{"left_wins_over_zeros", L"[%-06d]", {42}, L"[42    ]"},               //
                    XfmtRow{"precision", L"%.5d", {-42}, L"-00042"},                              //
                    XfmtRow{"precision_switches_zeros_off", L"[%08.5d]", {-42}, L"[  -00042]"},   //
                    XfmtRow{"negative_precision_keeps_zeros", L"%06.*d", {-1, 42}, L"000042"},    //
                    XfmtRow{"no_digits", L"[%.0d]", {0}, L"[]"},                                  //
                    XfmtRow{"no_digits_without_number", L"[%.d]", {0}, L"[]"},                    //
                    XfmtRow{"no_digits_with_width", L"[%3.0d]", {0}, L"[   ]"},                   //
                    XfmtRow{"no_digits_with_plus", L"[%+.0d]", {0}, L"[+]"},                      //
                    XfmtRow{"precision_zero_of_a_number", L"%.0d", {7}, L"7"},                    //
                    XfmtRow{"repeated_flags", L"%++--++5d|", {7}, L"+7   |"},                     //
                    XfmtRow{"negative_star_width", L"[%*d]", {-5, 42}, L"[42   ]"},               //
                    XfmtRow{"digits_end_at_80", L"%.100d", {5}, std::wstring(79, L'0') + L"5"},   //
                    XfmtRow{"sign_beside_80_digits", L"%.80d", {-5}, L"-" + std::wstring(79, L'0') + L"5"},
                    XfmtRow{"width_goes_on_behind_80", L"%150d", {5}, std::wstring(149, L' ') + L"5"},
                    XfmtRow{"zeros_go_on_behind_80", L"%0150d", {-5}, L"-" + std::wstring(148, L'0') + L"5"}),
    XfmtRowName);

INSTANTIATE_TEST_SUITE_P(Unsigned, XfmtNumberTest,
                         testing::Values(XfmtRow{"u", L"%u", {UINT32_MAX}, L"4294967295"},                //
                                         XfmtRow{"u_of_minus_one", L"%u", {-1}, L"4294967295"},           //
                                         XfmtRow{"llu", L"%llu", {UINT64_MAX}, L"18446744073709551615"},  //
                                         XfmtRow{"u_has_no_sign", L"%+u% u", {1u, 2u}, L"12"},            //
                                         XfmtRow{"x", L"%x", {0xBEEFu}, L"beef"},                         //
                                         XfmtRow{"X", L"%X", {0xBEEFu}, L"BEEF"},                         //
                                         XfmtRow{"x_zero", L"%x", {0}, L"0"},                             //
                                         XfmtRow{
                                             "llx", L"%llx", {0xFEDCBA9876543210u}, L"fedcba9876543210"},   //
                                         XfmtRow{"x_takes_32_bits", L"%x", {-1}, L"ffffffff"},              //
                                         XfmtRow{"prefix", L"%#x %#X", {255, 255}, L"0xff 0XFF"},           //
                                         XfmtRow{"no_prefix_of_zero", L"%#x", {0}, L"0"},                   //
                                         XfmtRow{"prefix_before_zeros", L"%#08x", {255}, L"0x0000ff"},      //
                                         XfmtRow{"prefix_in_a_field", L"[%#8x]", {255}, L"[    0xff]"},     //
                                         XfmtRow{"prefix_before_precision", L"%#.4x", {255}, L"0x00ff"},    //
                                         XfmtRow{"x_no_digits", L"[%#.0x]", {0}, L"[]"},                    //
                                         XfmtRow{"o", L"%o", {8u}, L"10"},                                  //
                                         XfmtRow{"llo", L"%llo", {UINT64_MAX}, L"1777777777777777777777"},  //
                                         XfmtRow{"o_forced_zero", L"%#o", {8}, L"010"},                     //
                                         XfmtRow{"o_forced_zero_of_zero", L"%#o", {0}, L"0"},               //
                                         XfmtRow{"o_forced_zero_without_digits", L"%#.0o", {0}, L"0"},      //
                                         XfmtRow{"o_precision_has_it_already", L"%#.4o", {8}, L"0010"}),
                         XfmtRowName);

INSTANTIATE_TEST_SUITE_P(
    Pointers, XfmtNumberTest,
    testing::Values(XfmtRow{"p", L"%p", {0x1234ull}, L"0000000000001234"},                //
                    XfmtRow{"P", L"%P", {0xABCDull}, L"000000000000ABCD"},                //
                    XfmtRow{"p_lower", L"%p", {0xABCDull}, L"000000000000abcd"},          //
                    XfmtRow{"all_64_bits", L"%p", {UINT64_MAX}, L"ffffffffffffffff"},     //
                    XfmtRow{"zero", L"%#p", {0ull}, L"0000000000000000"},                 //
                    XfmtRow{"prefix", L"%#p", {0x1234ull}, L"0x0000000000001234"},        //
                    XfmtRow{"upper_prefix", L"%#P", {0x1234ull}, L"0X0000000000001234"},  //
                    XfmtRow{"always_16", L"[%020.3p]", {0x1ull}, L"[    0000000000000001]"},
                    XfmtRow{"grouped", L"%t%_%p", {L":", 4, 0x123456789ull}, L"0000:0001:2345:6789"}),
    XfmtRowName);

INSTANTIATE_TEST_SUITE_P(
    Groups, XfmtNumberTest,
    testing::Values(XfmtRow{"d", L"%t%d", {L",", 1234567}, L"1,234,567"},                           //
                    XfmtRow{"d_minus", L"%t%d", {L",", -123456}, L"-123,456"},                      //
                    XfmtRow{"short_numbers_stay", L"%t%d", {L",", 123}, L"123"},                    //
                    XfmtRow{"u", L"%t%llu", {L".", UINT64_MAX}, L"18.446.744.073.709.551.615"},     //
                    XfmtRow{"x_by_four", L"%t%_%x", {L":", 4, 0x12345678}, L"1234:5678"},           //
                    XfmtRow{"x_prefix", L"%t%_%#x", {L":", 4, 0x12345678}, L"0x1234:5678"},         //
                    XfmtRow{"o_is_not_grouped", L"%t%o", {L",", 8u * 8 * 8 * 8}, L"10000"},         //
                    XfmtRow{"long_separator", L"%t%d", {L" and ", 1234567}, L"1 and 234 and 567"},  //
                    XfmtRow{"empty_separator", L"%t%d", {L"", 1234567}, L"1234567"},                //
                    XfmtRow{"null_switches_off", L"%t%d %t%d", {L",", 1234, nullptr, 1234}, L"1,234 1234"},
                    XfmtRow{"size_alone_does_nothing", L"%_%d", {2, 1234}, L"1234"},                  //
                    XfmtRow{"size_zero", L"%t%_%d", {L",", 0, 1234567}, L"1234567"},                  //
                    XfmtRow{"size_negative", L"%t%_%d", {L",", -3, 1234567}, L"1234567"},             //
                    XfmtRow{"size_one", L"%t%_%d", {L",", 1, 1234}, L"1,2,3,4"},                      //
                    XfmtRow{"in_a_field", L"%t[%12d]", {L",", 1234567}, L"[   1,234,567]"},           //
                    XfmtRow{"zeros_are_not_grouped", L"%t%012d", {L",", -1234567}, L"-001,234,567"},  //
                    XfmtRow{"precision_is_grouped", L"%t%.9d", {L",", 1234}, L"000,001,234"},         //
                    XfmtRow{"D", L"%D", {1234567}, L"1 234 567"},                                     //
                    XfmtRow{"D_minus", L"%D", {-1234567}, L"-1 234 567"},                             //
                    XfmtRow{"D_small", L"%D", {999}, L"999"},                                         //
                    XfmtRow{"lld_D", L"%llD", {INT64_MIN}, L"-9 223 372 036 854 775 808"},            //
                    XfmtRow{"U", L"%U", {-1}, L"4 294 967 295"},                                      //
                    XfmtRow{"T", L"%T%D", {L",", 1234567}, L"1,234,567"},                             //
                    XfmtRow{"T_null_joins", L"%T%D", {nullptr, 1234567}, L"1234567"},                 //
                    XfmtRow{"T_is_not_t", L"%T%d", {L",", 1234567}, L"1234567"},                      //
                    XfmtRow{"t_is_not_T", L"%t%_%D", {L",", 2, 1234567}, L"1 234 567"},               //
                    XfmtRow{"field_ends_at_128",
                            L"%t%_%.80d",
                            {L"--", 1, 5},
                            [] {
                                std::wstring text;
                                while (text.size() < 128)
                                    text += L"0--";
                                return text.substr(0, 128);
                            }()},
                    XfmtRow{"settings_print_nothing", L"[%t%_%T]", {L",", 2, L";"}, L"[]"}),
    XfmtRowName);

}  // namespace
