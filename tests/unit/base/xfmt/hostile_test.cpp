// Formats that nobody would write: no crash, nothing outside the buffer, no endless work, whatever the
// format.
//
// Every slot of the argument list is good for every conversion: as a number it is big, as a text it ends
// after a few characters, and as a record of %F, a record of %w or a list of arguments it is one or clearly
// not one.
#include <algorithm>
#include <cwchar>
#include <memory>
#include <random>

#include "tests/support/guarded_buffer.h"
#include "tests/unit/base/xfmt/rows.h"

namespace {

constexpr int kRounds = 500000;
constexpr int32_t kMaxCap = 64;
constexpr size_t kSlots = 64;
constexpr size_t kNestings = 5;

// As text these records end within their first eight characters, because user addresses have zeros on top.
struct Universe {
    // First a list of arguments when read as one; enough bytes for a dump that fills the largest buffer.
    struct Block {
        const XfmtArg* asList;
        uint8_t rest[256];
    };
    struct Level {
        std::wstring format;
        std::vector<XfmtArg> slots;
        va_list list;
        XfmtNested record;
        uint8_t rest[256];
    };
    Block block = {};
    XfmtFormatter formatter = {};
    uint8_t behindFormatter[256] = {};
    Level levels[kNestings];
};

int32_t PrintSomething(void*, XfmtOutput* out, wchar_t, int32_t) {
    return xfmt_to_ctx(out, L"%*d%s", 7, 5, L"formatter");
}

class HostileFormats {
  public:
    explicit HostileFormats(uint32_t seed) : random_(seed), universe_(std::make_unique<Universe>()) {
        universe_->formatter = {kXfmtFormatterMagic, PrintSomething, nullptr};
        for (Universe::Level& level : universe_->levels) {
            level.slots.assign(kSlots, XfmtArg(0));
            level.list = XfmtArgList(level.slots);
            level.record = {kXfmtNestedMagic, nullptr, &level.list};
        }
        universe_->block.asList = universe_->levels[0].slots.data();
    }

    // The outermost format; its arguments are those of level 0.
    const wchar_t* Next() {
        for (size_t i = 0; i < kNestings; ++i) {
            Universe::Level& level = universe_->levels[i];
            level.format = MakeFormat();
            level.record.format = level.format.c_str();
            if (round_ % kRoundsPerSlots != 0) continue;
            for (XfmtArg& slot : level.slots)
                slot = MakeSlot(i);
        }
        ++round_;
        return universe_->levels[0].format.c_str();
    }
    va_list Args() { return universe_->levels[0].list; }
    int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

  private:
    // Drawing hundreds of arguments costs far more than drawing the formats that take them.
    static constexpr int kRoundsPerSlots = 16;

    // Records of deeper levels only: a format that contained itself would be the caller's endless loop.
    XfmtArg MakeSlot(size_t level) {
        const int kind = Below(8);
        if (kind == 0) return &universe_->formatter;
        if (kind <= 2 && level + 1 < kNestings) return &universe_->levels[level + 1].record;
        return &universe_->block;
    }

    std::wstring MakeNumber() {
        static constexpr const wchar_t* kNumbers[] = {
            L"",    L"0",    L"1",   L"2",          L"7",          L"16",         L"64",
            L"65",  L"80",   L"81",  L"100",        L"101",        L"128",        L"129",
            L"200", L"4000", L"256", L"2147483646", L"2147483647", L"2147483648", L"99999999999999999999999"};
        return Below(8) == 0 ? L"*" : kNumbers[Below(static_cast<int>(std::size(kNumbers)))];
    }

    std::wstring MakeDirective() {
        static constexpr wchar_t kConversions[] = L"csdDuUxXopPeEfgGFwntT_kKRrvmM%icSaqzyL!\x4E2D";
        std::wstring directive = L"%";
        for (int flags = Below(5); flags > 0; --flags)
            directive += L"-+ #0'"[Below(6)];
        if (Below(2) == 0) directive += MakeNumber();
        if (Below(2) == 0) directive += L"." + MakeNumber();
        static constexpr const wchar_t* kLengths[] = {L"", L"", L"h", L"l", L"ll", L"lll", L"hh"};
        directive += kLengths[Below(7)];
        if (Below(30) != 0) directive += kConversions[Below(static_cast<int>(std::size(kConversions)) - 1)];
        return directive;
    }

    std::wstring MakeFormat() {
        std::wstring format;
        for (int parts = Below(6); parts >= 0; --parts) {
            switch (Below(8)) {
                case 0:
                    format += L"text";
                    break;
                case 1:
                    for (int count = Below(10); count > 0; --count)
                        format += L"%-+0.*123lhwFmRvtkKs \n"[Below(22)];
                    break;
                case 2:
                    format += static_cast<wchar_t>(1 + Below(0xFFFF));
                    break;
                default:
                    format += MakeDirective();
            }
        }
        return format;
    }

    std::mt19937 random_;
    std::unique_ptr<Universe> universe_;
    int round_ = 0;
};

// What is observed is produced in full, so the longest texts are left out.
constexpr int32_t kMaxObservedChars = 500;

class XfmtHostileTest : public testing::Test {
  protected:
    ~XfmtHostileTest() override { xfmt_set_trace_hook(nullptr, nullptr); }

    // Returns what a sink received while the text went to the buffer as well.
    static std::wstring SinkText(wchar_t* buf, int32_t cap, const wchar_t* format, va_list args) {
        std::wstring text;
        XfmtOutput out = {};
        out.sink = [](void* context, const wchar_t* piece, int32_t count, XfmtPieceInfo*) {
            static_cast<std::wstring*>(context)->append(piece, static_cast<size_t>(count));
        };
        out.sink_ctx = &text;
        out.buf = buf;
        out.cap = cap;
        xfmt_core(&out, format, args);
        return text;
    }

    static size_t LongestTraceLine(const wchar_t* format, va_list args) {
        size_t longest = 0;
        xfmt_set_trace_hook(
            [](void* context, const wchar_t* line) {
                size_t& chars = *static_cast<size_t*>(context);
                chars = std::max(chars, wcslen(line));
            },
            &longest);
        xfmt_v(nullptr, 0, format, args);
        xfmt_set_trace_hook(nullptr, nullptr);
        return longest;
    }
};

TEST_F(XfmtHostileTest, StaysInsideItsBufferAndEnds) {
    HostileFormats formats(20240306);
    GuardedBuffer<wchar_t> buffer(kMaxCap);
    GuardedBuffer<wchar_t> inFront(kMaxCap, GuardSide::kInFront);
    for (int round = 0; round < kRounds; ++round) {
        const wchar_t* const format = formats.Next();
        const int32_t cap = formats.Below(kMaxCap + 1);
        wchar_t* const start = round % 2 == 0 ? buffer.data() + (kMaxCap - cap) : inFront.data();
        const int32_t measured = xfmt_v(nullptr, 0, format, formats.Args());
        const int32_t count = xfmt_v(start, cap, format, formats.Args());
        ASSERT_EQ(count, measured) << "round " << round << ": " << PrintableText(format);
        ASSERT_GE(count, -1);
        if (cap > 0) {
            ASSERT_NE(std::find(start, start + cap, L'\0'), start + cap) << PrintableText(format);
        }
    }
}

TEST_F(XfmtHostileTest, SinkAndTraceSeeTheSameText) {
    HostileFormats formats(20240307);
    GuardedBuffer<wchar_t> alone(kMaxCap), sunk(kMaxCap);
    int observed = 0;
    for (int round = 0; round < kRounds / 10; ++round) {
        const wchar_t* const format = formats.Next();
        const int32_t count = xfmt_v(alone.data(), kMaxCap, format, formats.Args());
        if (count < 0 || count > kMaxObservedChars) continue;
        ++observed;
        const std::wstring text = SinkText(sunk.data(), kMaxCap, format, formats.Args());
        ASSERT_EQ(static_cast<int32_t>(text.size()), count) << PrintableText(format);
        const size_t stored = std::min<size_t>(text.size(), kMaxCap - 1);
        ASSERT_EQ(text.substr(0, stored), std::wstring(sunk.data(), stored)) << PrintableText(format);
        ASSERT_EQ(text.substr(0, stored), std::wstring(alone.data(), stored)) << PrintableText(format);
        ASSERT_EQ(sunk[stored], L'\0');
        ASSERT_LT(LongestTraceLine(format, formats.Args()), 200u) << PrintableText(format);
    }
    EXPECT_GT(observed, kRounds / 50);
}

}  // namespace
