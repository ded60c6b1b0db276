// Every conversion into every small buffer, the end of which touches an inaccessible page.
#include <algorithm>

#include "tests/support/guarded_buffer.h"
#include "tests/unit/base/xfmt/rows.h"

namespace {

const uint8_t kBytes[] = {1, 2, 3, 4, 5};

// The argument record of %w and %F lives as long as the program.
std::vector<XfmtArg> nestedArgs = {12, L"inner"};
va_list nestedList = XfmtArgList(nestedArgs);
const XfmtNested kNested = {kXfmtNestedMagic, L"<%d %s>", &nestedList};

int32_t PrintPair(void*, XfmtOutput* out, wchar_t, int32_t) {
    return xfmt_to_ctx(out, L"(%d,%5s)", 3, L"b");
}
const XfmtFormatter kFormatter = {kXfmtFormatterMagic, PrintPair, nullptr};

class XfmtTruncationTest : public testing::TestWithParam<XfmtRow> {
  protected:
    static void Collect(void* context, const wchar_t* text, int32_t count, XfmtPieceInfo*) {
        static_cast<std::wstring*>(context)->append(text, static_cast<size_t>(count));
    }

    void CheckBuffer(const GuardedBuffer<wchar_t>& buffer, int32_t cap) {
        const std::wstring& whole = GetParam().expected;
        if (cap < 1) {
            EXPECT_EQ(buffer.WrittenExtent(), 0u) << "capacity " << cap;
            return;
        }
        const size_t stored = std::min(whole.size(), static_cast<size_t>(cap - 1));
        ASSERT_EQ(buffer[stored], L'\0') << "capacity " << cap;
        EXPECT_EQ(std::wstring(buffer.data(), stored), whole.substr(0, stored)) << "capacity " << cap;
        EXPECT_EQ(buffer.WrittenExtent(), stored + 1) << "capacity " << cap;
    }

    template <typename Check>
    void AtEveryCapacity(Check check) {
        for (int32_t cap = -1; cap <= static_cast<int32_t>(GetParam().expected.size()) + 2; ++cap) {
            const size_t count = cap < 0 ? 0 : static_cast<size_t>(cap);
            GuardedBuffer<wchar_t> behind(count), inFront(count, GuardSide::kInFront);
            check(behind, cap);
            check(inFront, cap);
        }
    }
};

TEST_P(XfmtTruncationTest, StoresWhatFitsAndCountsAll) {
    const XfmtRow& row = GetParam();
    AtEveryCapacity([&](GuardedBuffer<wchar_t>& buffer, int32_t cap) {
        EXPECT_EQ(xfmt_v(buffer.data(), cap, row.format, XfmtArgList(row.args)),
                  static_cast<int32_t>(row.expected.size()));
        CheckBuffer(buffer, cap);
    });
}

TEST_P(XfmtTruncationTest, GivesAllToTheSink) {
    const XfmtRow& row = GetParam();
    AtEveryCapacity([&](GuardedBuffer<wchar_t>& buffer, int32_t cap) {
        std::wstring sunk;
        XfmtOutput out = {};
        out.sink = Collect;
        out.sink_ctx = &sunk;
        out.buf = buffer.data();
        out.cap = cap;
        EXPECT_EQ(xfmt_core(&out, row.format, XfmtArgList(row.args)),
                  static_cast<int32_t>(row.expected.size()));
        EXPECT_EQ(sunk, row.expected);
        CheckBuffer(buffer, cap);
    });
}

TEST_P(XfmtTruncationTest, ANullBufferIsOnlyCounted) {
    const XfmtRow& row = GetParam();
    for (const int32_t cap : {-1, 0, 1, 1000}) {
        EXPECT_EQ(xfmt_v(nullptr, cap, row.format, XfmtArgList(row.args)),
                  static_cast<int32_t>(row.expected.size()));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Conversions, XfmtTruncationTest,
    testing::Values(
        XfmtRow{"literal", L"literal text", {}, L"literal text"},      //
        XfmtRow{"percent", L"a%%b%%c", {}, L"a%b%c"},                  //
        XfmtRow{"c", L"%c%3c%-3c|", {L'x', L'y', L'z'}, L"x  yz  |"},  //
        XfmtRow{"s",
                L"%s%s",
                {L"first", L"second text of more than 16 characters"},
                L"firstsecond text of more than 16 characters"},                       //
        XfmtRow{"s_field", L"%8s|%-8.3s|", {L"ab", L"cdefg"}, L"      ab|cde     |"},  //
        XfmtRow{"d", L"%d %8d %-8d|%08d", {-12345, 12, 34, -56}, L"-12345       12 34      |-0000056"},
        XfmtRow{"groups_of", L"%t%_%d|%x", {L":", 4, 1234567, 0x12345u}, L"123:4567|1:2345"},  //
        XfmtRow{"D", L"%D %llD", {1234567, -1234567890123ll}, L"1 234 567 -1 234 567 890 123"},
        XfmtRow{"u", L"%t%u %12u", {L",", 4000000000u, 1234567u}, L"4,000,000,000    1,234,567"},
        XfmtRow{"U", L"%T%U", {L"_", 4000000000u}, L"4_000_000_000"},        //
        XfmtRow{"x", L"%#x %#010X", {0xabcu, 0xdefu}, L"0xabc 0X00000DEF"},  //
        XfmtRow{"o", L"%#o %8o", {8u, 64u}, L"010      100"},                //
        XfmtRow{"p", L"%p %#P", {0x1234ull, 0xABCDull}, L"0000000000001234 0X000000000000ABCD"},
        XfmtRow{"e", L"%e %+12.2E", {1.5, 22.5}, L"1.500000e+00    +2.25E+01"},          //
        XfmtRow{"f", L"%f %010.2f", {1.5, -2.25}, L"1.500000 -000002.25"},               //
        XfmtRow{"g", L"%g %-8G|", {0.5, 1e20}, L"0.5 1E+20   |"},                        //
        XfmtRow{"F", L"a%Fb%F", {&kFormatter, &kFormatter}, L"a(3,    b)b(3,    b)"},    //
        XfmtRow{"w", L"a%wb%w", {&kNested, L"[%d]", &nestedList}, L"a<12 inner>b[12]"},  //
        XfmtRow{"n", L"%*n%*n", {5, L"-", 3, L"ab"}, L"-----ababab"},                    //
        XfmtRow{"n_long", L"%*n|", {150, L"="}, std::wstring(150, L'=') + L"|"},         //
        XfmtRow{"m", L"%k%5m", {L" ", kBytes}, L"01 02 03 04 05"},                       //
        XfmtRow{"M_rows",
                L"%v%k%K%3.1R%5M",
                {0x11ull, L",", L"[]", 2, kBytes},
                L"   -----00---01-\n"
                L"   10:      [01]\n"
                L"   12: [02],[03]\n"
                L"   14: [04],[05]"},
        XfmtRow{"m_rows", L"%k%2.1r%5m", {L" ", 3, kBytes}, L"     01 02\n  03 04 05"},  //
        XfmtRow{"unknown", L"%-5i|%5\x4E2D", {}, L"%-5i|%5\x4E2D"}),
    XfmtRowName);

}  // namespace
