// %F and %w: formatter objects and formats inside formats.
#include <cstdarg>
#include <cwchar>

#include "tests/support/guarded_buffer.h"
#include "tests/unit/base/xfmt/rows.h"

namespace {

// Formats through a list of its own, as callers of %w do.
int32_t Wrap(wchar_t* buf, int32_t cap, const wchar_t* outer, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const XfmtNested nested = {kXfmtNestedMagic, format, &args};
    const int32_t count = xfmt(buf, cap, outer, &nested, L"tail");
    va_end(args);
    return count;
}

int32_t WrapPair(wchar_t* buf, int32_t cap, const wchar_t* outer, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const int32_t count = xfmt(buf, cap, outer, format, &args, L"tail");
    va_end(args);
    return count;
}

int32_t WrapTwice(wchar_t* buf, int32_t cap, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const XfmtNested nested = {kXfmtNestedMagic, format, &args};
    const int32_t count = xfmt(buf, cap, L"%w|%w", &nested, &nested);
    va_end(args);
    return count;
}

TEST(XfmtNestedTest, ARecordPrintsItsFormat) {
    wchar_t text[64];
    EXPECT_EQ(Wrap(text, 64, L"<%w>\n\n%s", L"%d and %s", 5, L"x"), 15);
    EXPECT_STREQ(text, L"<5 and x>\n\ntail");
}

TEST(XfmtNestedTest, AFormatWithAListPrintsTheSame) {
    wchar_t text[64];
    EXPECT_EQ(WrapPair(text, 64, L"<%w>\n\n%s", L"%d and %s", 5, L"x"), 15);
    EXPECT_STREQ(text, L"<5 and x>\n\ntail");
}

TEST(XfmtNestedTest, TheListIsCopiedAndCanBeUsedAgain) {
    wchar_t text[64];
    EXPECT_EQ(WrapTwice(text, 64, L"%d-%d", 1, 2), 7);
    EXPECT_STREQ(text, L"1-2|1-2");
}

TEST(XfmtNestedTest, NullFormatsAndListsPrintNothing) {
    wchar_t text[64];
    std::vector<XfmtArg> none;
    va_list list = XfmtArgList(none);
    const XfmtNested noFormat = {kXfmtNestedMagic, nullptr, &list};
    const XfmtNested noList = {kXfmtNestedMagic, L"text", nullptr};
    EXPECT_EQ(xfmt(text, 64, L"[%w%w%w%s]", &noFormat, &noList, static_cast<void*>(nullptr), &list, L"next"),
              6);
    EXPECT_STREQ(text, L"[next]");
}

TEST(XfmtNestedTest, NothingIsReadBehindAnEmptyFormat) {
    GuardedBuffer<wchar_t> format(1);
    format[0] = 0;
    std::vector<XfmtArg> none;
    va_list list = XfmtArgList(none);
    EXPECT_EQ(xfmt(nullptr, 0, L"%w", format.data(), &list), 0);
}

TEST(XfmtNestedTest, WidthAndPrecisionDoNotTouchIt) {
    wchar_t text[64];
    EXPECT_EQ(Wrap(text, 64, L"[%20.1w]", L"%s", L"text"), 6);
    EXPECT_STREQ(text, L"[text]");
}

TEST(XfmtNestedTest, SettingsEndWithTheirCall) {
    wchar_t text[64];
    EXPECT_EQ(Wrap(text, 64, L"%w", L"%t%d", L",", 1234), 5);
    std::vector<XfmtArg> args = {1234567};
    va_list list = XfmtArgList(args);
    const XfmtNested nested = {kXfmtNestedMagic, L"%d", &list};
    EXPECT_EQ(xfmt(text, 64, L"%t%d %w %d", L",", 1234, &nested, 1234), 19);
    EXPECT_STREQ(text, L"1,234 1234567 1,234");
}

TEST(XfmtNestedTest, AnInnerSettingDoesNotReachTheOuterCall) {
    wchar_t text[64];
    std::vector<XfmtArg> args = {L",", 1234};
    va_list list = XfmtArgList(args);
    const XfmtNested nested = {kXfmtNestedMagic, L"%t%d", &list};
    xfmt(text, 64, L"%w %d", &nested, 1234);
    EXPECT_STREQ(text, L"1,234 1234");
}

// Each level's format is "(%w)" around the next.
struct Onion {
    struct Level {
        XfmtNested record;
        std::vector<XfmtArg> args;
        va_list list;
    };
    std::vector<Level> levels;

    explicit Onion(size_t depth) : levels(depth) {
        for (size_t i = 0; i < depth; ++i) {
            Level& level = levels[i];
            if (i + 1 < depth) level.args.push_back(&levels[i + 1].record);
            level.list = XfmtArgList(level.args);
            level.record = {kXfmtNestedMagic, i + 1 < depth ? L"(%w)" : L"core", &level.list};
        }
    }
    const XfmtNested* outermost() const { return &levels[0].record; }
};

TEST(XfmtNestedTest, NestsToAnyDepth) {
    for (const size_t depth : {1, 2, 3, 10, 1000}) {
        const Onion onion(depth);
        std::vector<wchar_t> text(3000);
        const std::wstring expected = std::wstring(depth - 1, L'(') + L"core" + std::wstring(depth - 1, L')');
        EXPECT_EQ(xfmt(text.data(), 3000, L"%w", onion.outermost()), static_cast<int32_t>(expected.size()));
        EXPECT_EQ(std::wstring(text.data()), expected);
    }
}

TEST(XfmtNestedTest, IsCutAtEveryCapacity) {
    const Onion onion(4);
    const std::wstring whole = L"(((core)))";
    for (int32_t cap = 1; cap <= 12; ++cap) {
        GuardedBuffer<wchar_t> text(static_cast<size_t>(cap));
        EXPECT_EQ(xfmt(text.data(), cap, L"%w", onion.outermost()), 10);
        EXPECT_EQ(std::wstring(text.data()), whole.substr(0, static_cast<size_t>(cap - 1)));
    }
}

TEST(XfmtNestedTest, TooMuchInsideIsTooMuchOutside) {
    wchar_t text[8];
    std::vector<XfmtArg> args = {1, 2};
    va_list list = XfmtArgList(args);
    const XfmtNested nested = {kXfmtNestedMagic, L"%2000000000d%2000000000d", &list};
    EXPECT_EQ(xfmt(text, 8, L"ab%wcd", &nested), -1);
    EXPECT_STREQ(text, L"ab     ");
}

// What a formatter function was given.
struct SeenByFormatter {
    XfmtOutput out = {};
    wchar_t conversion = 0;
    int32_t capacity = 0;
    std::wstring textSoFar;
    const wchar_t* start = nullptr;
    int32_t answer = 0;
};

int32_t Look(void* context, XfmtOutput* out, wchar_t conversion, int32_t capacity) {
    SeenByFormatter& seen = *static_cast<SeenByFormatter*>(context);
    seen.out = *out;
    seen.conversion = conversion;
    seen.capacity = capacity;
    if (seen.start != nullptr) seen.textSoFar = seen.start;
    return seen.answer;
}

int32_t PrintNumber(void* context, XfmtOutput* out, wchar_t, int32_t) {
    return xfmt_to_ctx(out, L"<%d>", *static_cast<const int32_t*>(context));
}

XfmtFormatter MakeFormatter(XfmtFormatterFn fn, void* context) {
    XfmtFormatter formatter = {};
    xfmt_formatter_init(&formatter, fn, context);
    return formatter;
}

TEST(XfmtFormatterTest, TheInitializerFillsAllFields) {
    int32_t number = 5;
    const XfmtFormatter formatter = MakeFormatter(PrintNumber, &number);
    EXPECT_EQ(formatter.magic, 0xEF170321u);
    EXPECT_EQ(formatter.fn, &PrintNumber);
    EXPECT_EQ(formatter.ctx, &number);
}

TEST(XfmtFormatterTest, PrintsThroughItsFunction) {
    int32_t number = 42;
    const XfmtFormatter formatter = MakeFormatter(PrintNumber, &number);
    wchar_t text[32];
    EXPECT_EQ(xfmt(text, 32, L"a%Fb%Fc", &formatter, &formatter), 11);
    EXPECT_STREQ(text, L"a<42>b<42>c");
}

TEST(XfmtFormatterTest, IsCutAtEveryCapacity) {
    int32_t number = 42;
    const XfmtFormatter formatter = MakeFormatter(PrintNumber, &number);
    const std::wstring whole = L"a<42>b";
    for (int32_t cap = 1; cap <= 8; ++cap) {
        GuardedBuffer<wchar_t> text(static_cast<size_t>(cap));
        EXPECT_EQ(xfmt(text.data(), cap, L"a%Fb", &formatter), 6);
        EXPECT_EQ(std::wstring(text.data()), whole.substr(0, static_cast<size_t>(cap - 1)));
    }
}

TEST(XfmtFormatterTest, GetsTheContextOfItsPlace) {
    SeenByFormatter seen;
    const XfmtFormatter formatter = MakeFormatter(Look, &seen);
    wchar_t text[32];
    wmemset(text, L'?', 32);
    seen.start = text;
    XfmtOutput out = {};
    out.buf = text;
    out.cap = 32;
    out.level = 4;
    out.pos = 1000;
    out.quiet = true;
    EXPECT_EQ(xfmt_to_ctx(&out, L"abc%Fd", &formatter), 4);
    EXPECT_EQ(seen.conversion, L'F');
    EXPECT_EQ(seen.capacity, 32);
    EXPECT_EQ(seen.textSoFar, L"abc");
    EXPECT_EQ(seen.out.buf, text + 3);
    EXPECT_EQ(seen.out.cap, 29);
    EXPECT_EQ(seen.out.level, 5u);
    EXPECT_EQ(seen.out.pos, 1003u);
    EXPECT_TRUE(seen.out.quiet);
    EXPECT_EQ(seen.out.sink, nullptr);
}

TEST(XfmtFormatterTest, BeyondTheEndItGetsAFullBuffer) {
    SeenByFormatter seen;
    const XfmtFormatter formatter = MakeFormatter(Look, &seen);
    wchar_t text[4];
    wmemset(text, L'?', 4);
    seen.start = text;
    EXPECT_EQ(xfmt(text, 4, L"abcdef%F", &formatter), 6);
    EXPECT_EQ(seen.textSoFar, L"abc");
    EXPECT_EQ(seen.out.cap, -2);
    EXPECT_EQ(seen.capacity, 4);
}

TEST(XfmtFormatterTest, GetsTheSinkOfTheCall) {
    SeenByFormatter seen;
    const XfmtFormatter formatter = MakeFormatter(Look, &seen);
    const XfmtSink sink = [](void*, const wchar_t*, int32_t, XfmtPieceInfo*) {};
    int place = 0;
    EXPECT_EQ(xfmt_to_sink(sink, &place, L"abc%F", &formatter), 3);
    EXPECT_EQ(seen.out.sink, sink);
    EXPECT_EQ(seen.out.sink_ctx, &place);
    EXPECT_EQ(seen.out.buf, nullptr);
    EXPECT_EQ(seen.out.cap, -3);
    EXPECT_FALSE(seen.out.quiet);
}

TEST(XfmtFormatterTest, ANegativeAnswerCountsAsNothing) {
    SeenByFormatter seen;
    seen.answer = -7;
    const XfmtFormatter formatter = MakeFormatter(Look, &seen);
    wchar_t text[32];
    EXPECT_EQ(xfmt(text, 32, L"ab%Fcd", &formatter), 4);
    EXPECT_STREQ(text, L"abcd");
}

TEST(XfmtFormatterTest, TheAnswerIsAddedAsItIs) {
    SeenByFormatter seen;
    seen.answer = 5;
    const XfmtFormatter formatter = MakeFormatter(Look, &seen);
    EXPECT_EQ(xfmt(nullptr, 0, L"ab%Fcd", &formatter), 9);
}

TEST(XfmtFormatterTest, AWrongRecordPrintsNothing) {
    int32_t number = 42;
    XfmtFormatter wrong = MakeFormatter(PrintNumber, &number);
    wrong.magic = kXfmtNestedMagic;
    const XfmtFormatter noFunction = MakeFormatter(nullptr, &number);
    wchar_t text[32];
    EXPECT_EQ(xfmt(text, 32, L"[%F%F%F]", &wrong, &noFunction, static_cast<void*>(nullptr)), 2);
    EXPECT_STREQ(text, L"[]");
}

}  // namespace
