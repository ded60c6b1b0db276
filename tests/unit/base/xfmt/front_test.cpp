// Front ends: buffers, contexts, appending, allocating, and counts beyond all bounds.
#include <cstdarg>
#include <cstdlib>
#include <memory>

#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"
#include "tests/unit/base/xfmt/rows.h"

namespace {

constexpr int32_t kHuge = 2000000000;

struct FreeText {
    void operator()(wchar_t* text) const { free(text); }
};
using HeapText = std::unique_ptr<wchar_t, FreeText>;

TEST(XfmtTest, CutsAndTellsTheFullLength) {
    GuardedBuffer<wchar_t> buffer(5);
    EXPECT_EQ(xfmt(buffer.data(), 5, L"%s", L"12345678"), 8);
    EXPECT_STREQ(buffer.data(), L"1234");
}

TEST(XfmtTest, StoresNothingWithoutCapacity) {
    GuardedBuffer<wchar_t> buffer(1);
    EXPECT_EQ(xfmt(buffer.data(), 0, L"%s", L"abc"), 3);
    EXPECT_EQ(xfmt(buffer.data(), -1, L"%s", L"abc"), 3);
    EXPECT_EQ(xfmt(buffer.data(), INT32_MIN, L"%s", L"abc"), 3);
    EXPECT_EQ(buffer.WrittenExtent(), 0u);
}

TEST(XfmtTest, FormatsABufferOntoItself) {
    wchar_t text[32] = L"abc";
    EXPECT_EQ(xfmt(text, 32, L"%s-%d", text, 5), 5);
    EXPECT_STREQ(text, L"abc-5");
    EXPECT_EQ(xfmt(text, 4, L"%s-%d", text, 5), 7);
    EXPECT_STREQ(text, L"abc");
}

TEST(XfmtTest, FormatsALongBufferOntoItself) {
    std::vector<wchar_t> text(10001, L'x');
    text[9000] = 0;
    EXPECT_EQ(xfmt(text.data(), 10000, L"%s-%d", text.data(), 5), 9002);
    EXPECT_EQ(std::wstring(text.data()), std::wstring(9000, L'x') + L"-5");
}

TEST(XfmtTest, ALongTextIsCopiedWhole) {
    for (const size_t length : {2047, 2048, 2049, 4096, 64000}) {
        const std::wstring source(length, L'y');
        GuardedBuffer<wchar_t> text(length + 1);
        EXPECT_EQ(xfmt(text.data(), static_cast<int32_t>(length + 1), L"%s", source.c_str()),
                  static_cast<int32_t>(length));
        EXPECT_EQ(std::wstring(text.data()), source);
    }
}

// The source ends at an inaccessible page, too.
TEST(XfmtTest, ReadsNoTextBehindItsEnd) {
    for (size_t length = 0; length < 40; ++length) {
        GuardedBuffer<wchar_t> source(length + 1);
        std::fill_n(source.data(), length, L'z');
        source[length] = 0;
        wchar_t text[64];
        EXPECT_EQ(xfmt(text, 64, L"%s", source.data()), static_cast<int32_t>(length));
        GuardedBuffer<wchar_t> open(length);
        std::fill_n(open.data(), length, L'z');
        EXPECT_EQ(xfmt(text, 64, L"%.*s", static_cast<int32_t>(length), open.data()),
                  static_cast<int32_t>(length));
    }
}

TEST(XfmtTest, TheVersionIsFixed) {
    EXPECT_EQ(xfmt_version(), 1793);
}

TEST(XfmtQuietTest, FormatsLikeXfmt) {
    wchar_t text[8];
    EXPECT_EQ(xfmt_quiet(text, 8, L"%d-%s", 5, L"abcdefgh"), 10);
    EXPECT_STREQ(text, L"5-abcde");
}

TEST(XfmtCoreTest, AdvancesItsContext) {
    wchar_t text[32];
    XfmtOutput out = {};
    out.buf = text;
    out.cap = 32;
    out.pos = 7;
    EXPECT_EQ(xfmt_to_ctx(&out, L"%s", L"abc"), 3);
    EXPECT_EQ(out.buf, text + 3);
    EXPECT_EQ(out.cap, 29);
    EXPECT_EQ(out.pos, 10u);
    EXPECT_EQ(out.level, 0u);
    EXPECT_EQ(xfmt_to_ctx(&out, L"%s", L"de"), 2);
    EXPECT_STREQ(text, L"abcde");
}

TEST(XfmtCoreTest, TheCapacityBecomesNegativeAndNothingIsStoredAnyMore) {
    GuardedBuffer<wchar_t> text(4);
    XfmtOutput out = {};
    out.buf = text.data();
    out.cap = 4;
    EXPECT_EQ(xfmt_to_ctx(&out, L"abcdef"), 6);
    EXPECT_EQ(out.buf, text.data() + 6);
    EXPECT_EQ(out.cap, -2);
    EXPECT_EQ(xfmt_to_ctx(&out, L"gh"), 2);
    EXPECT_EQ(out.cap, -4);
    EXPECT_EQ(out.pos, 8u);
    EXPECT_STREQ(text.data(), L"abc");
}

TEST(XfmtCoreTest, ACapacityFarBelowZeroStaysThere) {
    wchar_t text[4] = L"";
    XfmtOutput out = {};
    out.buf = text;
    out.cap = 0;
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(xfmt_to_ctx(&out, L"%*d", kHuge, 1), kHuge);
        EXPECT_LT(out.cap, 0);
    }
    EXPECT_EQ(out.cap, INT32_MIN);
    EXPECT_STREQ(text, L"");
}

TEST(XfmtCoreTest, ANullBufferStaysNull) {
    XfmtOutput out = {};
    out.cap = 10;
    EXPECT_EQ(xfmt_to_ctx(&out, L"abc"), 3);
    EXPECT_EQ(out.buf, nullptr);
    EXPECT_EQ(out.cap, 7);
}

TEST(XfmtCountTest, HugeWidthsAreCountedAtOnce) {
    GuardedBuffer<wchar_t> text(8);
    EXPECT_EQ(xfmt(text.data(), 8, L"%2000000000d", 5), kHuge);
    EXPECT_STREQ(text.data(), L"       ");
    EXPECT_EQ(xfmt(text.data(), 8, L"%-2000000000s|", L"ab"), kHuge + 1);
    EXPECT_STREQ(text.data(), L"ab     ");
    EXPECT_EQ(xfmt(text.data(), 8, L"%02000000000d", -5), kHuge);
    EXPECT_STREQ(text.data(), L"-000000");
    EXPECT_EQ(xfmt(text.data(), 8, L"%1000000000n", L"ab"), kHuge);
    EXPECT_STREQ(text.data(), L"abababa");
    EXPECT_EQ(xfmt(text.data(), 8, L"%2000000000n", L"-"), kHuge);
    EXPECT_STREQ(text.data(), L"-------");
}

TEST(XfmtCountTest, NumbersInTheFormatStopAtTheLimit) {
    EXPECT_EQ(xfmt(nullptr, 0, L"%99999999999999999999d", 5), INT32_MAX);
    EXPECT_EQ(xfmt(nullptr, 0, L"%*d", INT32_MIN, 5), INT32_MAX);
    wchar_t text[8];
    EXPECT_EQ(xfmt(text, 8, L"%.99999999999999999999s", L"abc"), 3);
    EXPECT_EQ(xfmt(nullptr, 0, L"%.99999999999999999999d", 5), 80);
}

TEST(XfmtCountTest, MoreThanACountCanTellIsMinusOne) {
    GuardedBuffer<wchar_t> text(4);
    EXPECT_EQ(xfmt(text.data(), 4, L"%2000000000d%2000000000d%d", 1, 2, 3), -1);
    EXPECT_STREQ(text.data(), L"   ");
    EXPECT_EQ(xfmt(nullptr, 0, L"%2147483647d", 1), INT32_MAX);
    EXPECT_EQ(xfmt(nullptr, 0, L"%2147483647dx", 1), -1);
    EXPECT_EQ(xfmt(nullptr, 0, L"%2000000000n", L"abc"), -1);
}

TEST(XfmtAdvanceTest, BuildsATextFromPieces) {
    wchar_t text[32];
    wchar_t* at = text;
    uint32_t left = 32;
    EXPECT_EQ(xfmt_advance(&at, &left, L"%s:", L"abc"), 4);
    EXPECT_EQ(at, text + 4);
    EXPECT_EQ(left, 28u);
    EXPECT_EQ(xfmt_advance(&at, &left, L"%d", 12), 2);
    EXPECT_EQ(at, text + 6);
    EXPECT_EQ(left, 26u);
    EXPECT_STREQ(text, L"abc:12");
}

TEST(XfmtAdvanceTest, GoesOnCountingBehindTheEnd) {
    GuardedBuffer<wchar_t> text(4);
    wchar_t* at = text.data();
    uint32_t left = 4;
    EXPECT_EQ(xfmt_advance(&at, &left, L"abcdef"), 6);
    EXPECT_EQ(at, text.data() + 6);
    EXPECT_EQ(static_cast<int32_t>(left), -2);
    EXPECT_EQ(xfmt_advance(&at, &left, L"gh"), 2);
    EXPECT_EQ(static_cast<int32_t>(left), -4);
    EXPECT_STREQ(text.data(), L"abc");
}

TEST(XfmtAdvanceTest, AFullBufferIsZeroLeft) {
    GuardedBuffer<wchar_t> text(3);
    wchar_t* at = text.data();
    uint32_t left = 3;
    EXPECT_EQ(xfmt_advance(&at, &left, L"abc"), 3);
    EXPECT_EQ(left, 0u);
    EXPECT_EQ(xfmt_advance(&at, &left, L"d"), 1);
    EXPECT_STREQ(text.data(), L"ab");
}

TEST(XfmtAdvanceTest, NeverComesBackFromBelowZero) {
    GuardedBuffer<wchar_t> text(4);
    wchar_t* at = text.data();
    uint32_t left = 4;
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(xfmt_advance(&at, &left, L"%*d", kHuge, 1), kHuge);
    EXPECT_LT(static_cast<int32_t>(left), 0);
    EXPECT_EQ(xfmt_advance(&at, &left, L"%*d%*d", kHuge, 1, kHuge, 1), -1);
    EXPECT_LT(static_cast<int32_t>(left), 0);
}

TEST(XfmtAppendTest, AddsToTheText) {
    wchar_t text[16] = L"abc";
    EXPECT_EQ(xfmt_append(text, 16, L"%d", 5), 4);
    EXPECT_STREQ(text, L"abc5");
    EXPECT_EQ(xfmt_append(text, 16, L"-%s", L"x"), 6);
    EXPECT_STREQ(text, L"abc5-x");
}

TEST(XfmtAppendTest, IsCutAtTheEnd) {
    GuardedBuffer<wchar_t> text(6);
    wcscpy(text.data(), L"abc");
    EXPECT_EQ(xfmt_append(text.data(), 6, L"%s", L"defgh"), 8);
    EXPECT_STREQ(text.data(), L"abcde");
    EXPECT_EQ(xfmt_append(text.data(), 6, L"%s", L"x"), 6);
    EXPECT_STREQ(text.data(), L"abcde");
}

TEST(XfmtAllocTest, AllocatesWhatTheTextNeeds) {
    wchar_t* text = nullptr;
    EXPECT_EQ(xfmt_alloc(&text, L"%s-%d", L"abc", 5), 5);
    const HeapText owner(text);
    EXPECT_STREQ(text, L"abc-5");
}

TEST(XfmtAllocTest, AnEmptyTextIsAllocatedToo) {
    wchar_t* text = nullptr;
    EXPECT_EQ(xfmt_alloc(&text, L""), 0);
    const HeapText owner(text);
    EXPECT_STREQ(text, L"");
}

TEST(XfmtAllocTest, TakesAList) {
    const std::vector<XfmtArg> args = {L"abc", 5};
    wchar_t* text = nullptr;
    EXPECT_EQ(xfmt_valloc(&text, L"%s-%d", XfmtArgList(args)), 5);
    const HeapText owner(text);
    EXPECT_STREQ(text, L"abc-5");
}

TEST(XfmtAllocTest, ATextThatCannotBeMeasuredFails) {
    wchar_t place;
    wchar_t* text = &place;
    EXPECT_EQ(xfmt_alloc(&text, L"%2000000000d%2000000000d", 1, 2), -2);
    EXPECT_EQ(text, nullptr);
    text = &place;
    EXPECT_EQ(xfmt_alloc_max(&text, 10, L"%2000000000d%2000000000d", 1, 2), -2);
    EXPECT_EQ(text, nullptr);
}

void* FailingMalloc(size_t) {
    return nullptr;
}

// Nothing but the call stands here, because everything else in the program allocates, too.
int32_t AllocWithoutMemory(wchar_t** text, bool withLimit) {
    const ImportRedirect memory(nullptr, nullptr, "malloc", reinterpret_cast<void*>(&FailingMalloc));
    return withLimit ? xfmt_alloc_max(text, 10, L"%s", L"abc") : xfmt_alloc(text, L"%s", L"abc");
}

TEST(XfmtAllocTest, WithoutMemoryItFails) {
    for (const bool withLimit : {false, true}) {
        wchar_t place;
        wchar_t* text = &place;
        EXPECT_EQ(AllocWithoutMemory(&text, withLimit), -1);
        EXPECT_EQ(text, nullptr);
    }
}

struct MaxRow {
    int32_t max;
    const wchar_t* text;  // null: nothing is allocated
};

class XfmtAllocMaxTest : public testing::TestWithParam<MaxRow> {};

TEST_P(XfmtAllocMaxTest, StopsAtTheLimit) {
    wchar_t place;
    wchar_t* text = &place;
    EXPECT_EQ(xfmt_alloc_max(&text, GetParam().max, L"%s-%d", L"abc", 5), 5);
    HeapText owner(text);
    if (GetParam().text == nullptr) {
        EXPECT_EQ(text, nullptr);
    } else {
        EXPECT_STREQ(text, GetParam().text);
    }
    const std::vector<XfmtArg> args = {L"abc", 5};
    EXPECT_EQ(xfmt_valloc_max(&text, GetParam().max, L"%s-%d", XfmtArgList(args)), 5);
    owner.reset(text);
    EXPECT_EQ(text == nullptr, GetParam().text == nullptr);
    EXPECT_STREQ(text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Limits, XfmtAllocMaxTest,
                         testing::Values(MaxRow{0, nullptr}, MaxRow{-1, nullptr}, MaxRow{1, L""},
                                         MaxRow{5, L"abc-"}, MaxRow{6, L"abc-5"}, MaxRow{1000, L"abc-5"},
                                         MaxRow{INT32_MAX, L"abc-5"}));

}  // namespace
