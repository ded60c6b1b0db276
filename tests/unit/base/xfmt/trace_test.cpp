// The engine's account of its own work, letter for letter.
#include "tests/unit/base/xfmt/rows.h"

namespace {

using Lines = std::vector<std::wstring>;

class XfmtTraceTest : public testing::Test {
  protected:
    XfmtTraceTest() { xfmt_set_trace_hook(Receive, &lines_); }
    ~XfmtTraceTest() override {
        xfmt_set_trace_hook(nullptr, nullptr);
        xfmt_set_newline(0);
    }
    static void Receive(void* context, const wchar_t* line) { static_cast<Lines*>(context)->push_back(line); }

    Lines lines_;
    wchar_t text_[1000] = {};
};

TEST_F(XfmtTraceTest, TellsFormatAndPieces) {
    EXPECT_EQ(xfmt(text_, 1000, L"COM%d", 12), 5);
    EXPECT_EQ(lines_, (Lines{
                          L"  <<fmtstring>>(@lv1): COM%d\n",
                          L"  <COM> fmtpos:0+3 width:false preci:false stock:0(@lv1) outpos:0+3 (~0+3)\n",
                          L"  <%d> fmtpos:3+2 width:false preci:false stock:0(@lv1) outpos:3+2 (~3+2)\n",
                      }));
    EXPECT_STREQ(text_, L"COM12");
}

TEST_F(XfmtTraceTest, TellsWidthAndPrecisionAndEachPaddingPiece) {
    xfmt(text_, 1000, L"%8.3d", 7);
    EXPECT_EQ(lines_, (Lines{
                          L"  <<fmtstring>>(@lv1): %8.3d\n",
                          L"  <%8.3d> fmtpos:0+5 width:true,8 preci:true,3 stock:0(@lv1) outpos:0+5 (~0+5)\n",
                          L"  <%8.3d> fmtpos:0+5 width:true,8 preci:true,3 stock:0(@lv1) outpos:5+3 (~5+3)\n",
                      }));
}

TEST_F(XfmtTraceTest, TellsWhatPrintsNothing) {
    xfmt(text_, 1000, L"%t%s", L",", L"");
    EXPECT_EQ(lines_, (Lines{
                          L"  <<fmtstring>>(@lv1): %t%s\n",
                          L"  <%t> fmtpos:0+2 width:false preci:false stock:0(@lv1) outpos:0+0 (~0+0)\n",
                          L"  <%s> fmtpos:2+2 width:false preci:false stock:0(@lv1) outpos:0+0 (~0+0)\n",
                      }));
}

TEST_F(XfmtTraceTest, NestedCallsTellTheirLevelAndStock) {
    std::vector<XfmtArg> innerArgs = {9};
    va_list innerList = XfmtArgList(innerArgs);
    const XfmtNested inner = {kXfmtNestedMagic, L"[%d]", &innerList};
    std::vector<XfmtArg> middleArgs = {&inner};
    va_list middleList = XfmtArgList(middleArgs);
    const XfmtNested middle = {kXfmtNestedMagic, L"x%w", &middleList};
    EXPECT_EQ(xfmt(text_, 1000, L"ab%w.", &middle), 7);
    EXPECT_STREQ(text_, L"abx[9].");
    EXPECT_EQ(lines_, (Lines{
                          L"  <<fmtstring>>(@lv1): ab%w.\n",
                          L"  <ab> fmtpos:0+2 width:false preci:false stock:0(@lv1) outpos:0+2 (~0+2)\n",
                          L"    <<fmtstring>>(@lv2): x%w\n",
                          L"    <x> fmtpos:0+1 width:false preci:false stock:2(@lv2) outpos:0+1 (~2+1)\n",
                          L"      <<fmtstring>>(@lv3): [%d]\n",
                          L"      <[> fmtpos:0+1 width:false preci:false stock:3(@lv3) outpos:0+1 (~3+1)\n",
                          L"      <%d> fmtpos:1+2 width:false preci:false stock:3(@lv3) outpos:1+1 (~4+1)\n",
                          L"      <]> fmtpos:3+1 width:false preci:false stock:3(@lv3) outpos:2+1 (~5+1)\n",
                          L"  <.> fmtpos:4+1 width:false preci:false stock:0(@lv1) outpos:6+1 (~6+1)\n",
                      }));
}

int32_t PrintStar(void*, XfmtOutput* out, wchar_t, int32_t) {
    return xfmt_to_ctx(out, L"*");
}

TEST_F(XfmtTraceTest, FormattersTellTheirOwnPieces) {
    XfmtFormatter formatter;
    xfmt_formatter_init(&formatter, PrintStar, nullptr);
    XfmtFormatter wrong = formatter;
    wrong.magic = 0;
    xfmt(text_, 1000, L"%F%F", &formatter, &wrong);
    EXPECT_EQ(lines_, (Lines{
                          L"  <<fmtstring>>(@lv1): %F%F\n",
                          L"    <<fmtstring>>(@lv2): *\n",
                          L"    <*> fmtpos:0+1 width:false preci:false stock:0(@lv2) outpos:0+1 (~0+1)\n",
                          L"  <%F> fmtpos:2+2 width:false preci:false stock:0(@lv1) outpos:1+0 (~1+0)\n",
                      }));
}

TEST_F(XfmtTraceTest, ACallThatOnlyNestsTellsItsFormatFirst) {
    std::vector<XfmtArg> none;
    va_list list = XfmtArgList(none);
    const XfmtNested inner = {kXfmtNestedMagic, L"x", &list};
    const XfmtNested empty = {kXfmtNestedMagic, L"", &list};
    xfmt(text_, 1000, L"%w%w", &inner, &empty);
    EXPECT_EQ(lines_, (Lines{
                          L"  <<fmtstring>>(@lv1): %w%w\n",
                          L"    <<fmtstring>>(@lv2): x\n",
                          L"    <x> fmtpos:0+1 width:false preci:false stock:0(@lv2) outpos:0+1 (~0+1)\n",
                          L"  <%w> fmtpos:2+2 width:false preci:false stock:0(@lv1) outpos:1+0 (~1+0)\n",
                      }));
}

// Hears one line and leaves.
void ReceiveOnce(void* context, const wchar_t* line) {
    static_cast<Lines*>(context)->push_back(line);
    xfmt_set_trace_hook(nullptr, nullptr);
}

TEST_F(XfmtTraceTest, AHookMayRemoveItself) {
    xfmt_set_trace_hook(ReceiveOnce, &lines_);
    EXPECT_EQ(xfmt(text_, 1000, L"a%d", 1), 2);
    EXPECT_EQ(lines_, Lines{L"  <<fmtstring>>(@lv1): a%d\n"});
    EXPECT_STREQ(text_, L"a1");
}

TEST_F(XfmtTraceTest, RulerAddressAndBlankCellsAreTold) {
    const uint8_t byte = 7;
    EXPECT_EQ(xfmt(text_, 1000, L"%v%1.1R%1m", 0x11ull, 2, &byte), 19);
    const std::wstring piece = L"  <%1m> fmtpos:7+3 width:true,1 preci:false stock:0(@lv1) outpos:";
    EXPECT_EQ(lines_, (Lines{
                          L"  <<fmtstring>>(@lv1): %v%1.1R%1m\n",
                          L"  <%v> fmtpos:0+2 width:false preci:false stock:0(@lv1) outpos:0+0 (~0+0)\n",
                          L"  <%1.1R> fmtpos:2+5 width:true,1 preci:true,1 stock:0(@lv1) outpos:0+0 (~0+0)\n",
                          piece + L"0+1 (~0+1)\n",    // the ruler's indentation
                          piece + L"1+4 (~1+4)\n",    // dashes above the address
                          piece + L"5+2 (~5+2)\n",    // column numbers
                          piece + L"7+2 (~7+2)\n",    //
                          piece + L"9+1 (~9+1)\n",    // newline
                          piece + L"10+1 (~10+1)\n",  // the row's indentation
                          piece + L"11+4 (~11+4)\n",  // address
                          piece + L"15+2 (~15+2)\n",  // blank cell
                          piece + L"17+2 (~17+2)\n",  // byte
                      }));
    EXPECT_STREQ(text_, L" ----0001\n 10:   07");
}

TEST_F(XfmtTraceTest, DumpCellsAreTold) {
    const uint8_t bytes[] = {1, 2};
    xfmt(text_, 1000, L"%2m", bytes);
    EXPECT_EQ(lines_, (Lines{
                          L"  <<fmtstring>>(@lv1): %2m\n",
                          L"  <%2m> fmtpos:0+3 width:true,2 preci:false stock:0(@lv1) outpos:0+2 (~0+2)\n",
                          L"  <%2m> fmtpos:0+3 width:true,2 preci:false stock:0(@lv1) outpos:2+2 (~2+2)\n",
                      }));
}

TEST_F(XfmtTraceTest, CountsGoOnBehindAFullBuffer) {
    xfmt(text_, 3, L"abcd%s", L"ef");
    EXPECT_STREQ(text_, L"ab");
    ASSERT_EQ(lines_.size(), 3u);
    EXPECT_EQ(lines_[2], L"  <%s> fmtpos:4+2 width:false preci:false stock:0(@lv1) outpos:4+2 (~4+2)\n");
}

TEST_F(XfmtTraceTest, AnEmptyFormatTellsNothing) {
    xfmt(text_, 1000, L"");
    EXPECT_TRUE(lines_.empty());
}

TEST_F(XfmtTraceTest, LinesAreCutAt199Characters) {
    const std::wstring format(300, L'x');
    xfmt(text_, 1000, format.c_str());
    ASSERT_EQ(lines_.size(), 2u);
    EXPECT_EQ(lines_[0], (L"  <<fmtstring>>(@lv1): " + format).substr(0, 199));
    EXPECT_EQ(lines_[1], (L"  <" + format).substr(0, 199));
}

TEST_F(XfmtTraceTest, LinesEndWithTheNewlineThatWasSet) {
    xfmt_set_newline(1);
    xfmt(text_, 1000, L"a");
    ASSERT_EQ(lines_.size(), 2u);
    EXPECT_EQ(lines_[0], L"  <<fmtstring>>(@lv1): a\r\n");
    EXPECT_EQ(lines_[1], L"  <a> fmtpos:0+1 width:false preci:false stock:0(@lv1) outpos:0+1 (~0+1)\r\n");
}

TEST_F(XfmtTraceTest, QuietCallsTellNothing) {
    xfmt_quiet(text_, 1000, L"a%d", 1);
    XfmtOutput out = {};
    out.quiet = true;
    std::vector<XfmtArg> args = {1};
    va_list list = XfmtArgList(args);
    const XfmtNested nested = {kXfmtNestedMagic, L"[%d]", &list};
    xfmt_to_ctx(&out, L"a%w", &nested);
    EXPECT_TRUE(lines_.empty());
}

TEST_F(XfmtTraceTest, ARemovedHookHearsNothing) {
    xfmt_set_trace_hook(nullptr, nullptr);
    xfmt(text_, 1000, L"a%d", 1);
    EXPECT_TRUE(lines_.empty());
}

TEST_F(XfmtTraceTest, TheOutputIsTheSameWithAndWithoutHook) {
    const uint8_t bytes[] = {1, 2, 3, 4, 5};
    const wchar_t* const format = L"%-8s|%08d|%*n|%k%2R%5m|%llD|%250d";
    const std::vector<XfmtArg> args = {L"text", -42, 120, L"=", L" ", 2, bytes, 1234567890123ll, 5};
    wchar_t traced[1000];
    const int32_t tracedCount = xfmt_v(traced, 1000, format, XfmtArgList(args));
    xfmt_set_trace_hook(nullptr, nullptr);
    EXPECT_EQ(xfmt_v(text_, 1000, format, XfmtArgList(args)), tracedCount);
    EXPECT_STREQ(text_, traced);
}

}  // namespace
