// Floating-point conversions: the digits are the C library's, sign, width and limits the engine's.
#include <cmath>
#include <limits>

#include "tests/unit/base/xfmt/rows.h"

namespace {

class XfmtFloatTest : public XfmtRowTest {};
TEST_P(XfmtFloatTest, PrintsAsExpected) {
    CheckRow();
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Forms, XfmtFloatTest,
    testing::Values(
        XfmtRow{"f", L"%f", {3.25}, L"3.250000"},                             //
        XfmtRow{"e", L"%e", {1234.5}, L"1.234500e+03"},                       //
        XfmtRow{"E", L"%E", {0.00012345}, L"1.234500E-04"},                   //
        XfmtRow{"g", L"%g %g", {100000.0, 0.00001}, L"100000 1e-05"},         //
        XfmtRow{"G", L"%G", {1e100}, L"1E+100"},                              //
        XfmtRow{"precision", L"%.2f", {2.625}, L"2.62"},                      //
        XfmtRow{"precision_zero", L"%.0f", {2.5}, L"2"},                      //
        XfmtRow{"precision_star", L"%.*f", {3, 1.0}, L"1.000"},               //
        XfmtRow{"negative_precision_is_6", L"%.*f", {-1, 1.0}, L"1.000000"},  //
        XfmtRow{"minus_zero", L"%f", {-0.0}, L"-0.000000"},                   //
        XfmtRow{"alternate_is_ignored", L"%#.0f", {3.0}, L"3"},               //
        XfmtRow{"h_and_l_are_ignored", L"%hf %lf %llf", {1.0, 1.0, 1.0}, L"1.000000 1.000000 1.000000"},
        XfmtRow{"infinity", L"%f %E", {kInfinity, -kInfinity}, L"inf -INF"},  //
        XfmtRow{"nan", L"%f", {kNan}, L"nan"}),
    XfmtRowName);

INSTANTIATE_TEST_SUITE_P(
    Fields, XfmtFloatTest,
    testing::Values(
        XfmtRow{"plus", L"%+.1f %+.1f", {1.5, -1.5}, L"+1.5 -1.5"},    //
        XfmtRow{"space", L"% .1f % .1f", {1.5, -1.5}, L" 1.5 -1.5"},   //
        XfmtRow{"plus_wins", L"% +.1f", {1.5}, L"+1.5"},               //
        XfmtRow{"right", L"[%8.2f]", {-1.5}, L"[   -1.50]"},           //
        XfmtRow{"left", L"[%-8.2f]", {-1.5}, L"[-1.50   ]"},           //
        XfmtRow{"zeros", L"%08.2f", {-1.5}, L"-0001.50"},              //
        XfmtRow{"zeros_with_plus", L"%+08.2f", {1.5}, L"+0001.50"},    //
        XfmtRow{"zeros_without_sign", L"%08.2f", {1.5}, L"00001.50"},  //
        XfmtRow{"no_zeros_before_infinity", L"%08f", {kInfinity}, L"     inf"},
        XfmtRow{"not_grouped", L"%t%.0f", {L",", 1234567.0}, L"1234567"},
        XfmtRow{"ends_at_128", L"%.200f", {1.0}, L"1." + std::wstring(126, L'0')},
        XfmtRow{"huge_precision", L"%.2147483647e", {1.0}, L"1." + std::wstring(126, L'0')},
        XfmtRow{"huge_number_ends_at_128",
                L"%f",
                {std::ldexp(1.0, 1023)},
                L"8988465674311579538646525953945123668089884894711532863671504057886633790275048156635"
                L"4238661203768010560056939935696678829394884"}),
    XfmtRowName);

}  // namespace
