// Random directives against the C library, wherever both follow the usual rules.
//
// Known differences, which the generator leaves out:
//   - 'h' does not narrow a number here; the C library prints 16 bits of it.
//   - The flag '0' pads %s and %c with zeros here; the C library leaves that open and pads with spaces.
//   - The flag ' ' means nothing to %u here; this C library prints a space.
//   - "%#.0o" of 0 prints the leading 0 here, nothing there.
//   - Wide text and characters are %s and %c here, %ls and %lc there.
//   - The digits of one number end at 80 here.
//   - A null text is empty here, "(null)" there.
//   - %p, %i and everything that is not a usual conversion.
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <random>

#include "tests/unit/base/xfmt/rows.h"

namespace {

constexpr int kRounds = 250000;
constexpr int32_t kChars = 600;

class DirectiveGenerator {
  public:
    explicit DirectiveGenerator(uint32_t seed) : random_(seed) {}

    void Next() {
        const wchar_t conversion = L"duxXocs"[Below(7)];
        const bool isText = conversion == L'c' || conversion == L's';
        format_ = L"<%";
        args_.clear();
        const std::wstring flags = isText ? L"-#" : conversion == L'u' ? L"-+#0" : L"-+ #0";
        for (int count = Below(4); count > 0; --count)
            format_ += flags[static_cast<size_t>(Below(static_cast<int>(flags.size())))];
        AddWidth();
        AddPrecision();
        const std::wstring end = std::wstring(AddArgument(conversion)) + conversion + L">%d";
        theirFormat_ = format_ + (isText ? L"l" : L"") + end;
        format_ += end;
        args_.push_back(4711);
    }

    const std::wstring& format() const { return format_; }
    const std::wstring& theirFormat() const { return theirFormat_; }
    const std::vector<XfmtArg>& args() const { return args_; }

  private:
    int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

    void AddWidth() {
        switch (Below(4)) {
            case 0:
                format_ += std::to_wstring(1 + Below(40));
                break;
            case 1:
                format_ += L'*';
                args_.push_back(Below(301) - 150);
                break;
        }
    }

    void AddPrecision() {
        switch (Below(4)) {
            case 0:
                format_ += L'.';
                if (Below(3) != 0) format_ += std::to_wstring(Below(81));
                break;
            case 1:
                format_ += L".*";
                args_.push_back(Below(101) - 20);
                break;
        }
    }

    uint64_t Number() {
        static constexpr uint64_t kExtremes[] = {
            0,          1,          9,         10,         99,         100,           INT32_MAX,
            0x80000000, UINT32_MAX, INT64_MAX, 1ull << 63, UINT64_MAX, UINT64_MAX - 1};
        if (Below(2) == 0) return kExtremes[Below(static_cast<int>(std::size(kExtremes)))];
        return std::uniform_int_distribution<uint64_t>()(random_) >> Below(64);
    }

    // Returns the length that belongs to the argument.
    const wchar_t* AddArgument(wchar_t conversion) {
        static constexpr const wchar_t* kTexts[] = {L"", L"x", L"text",
                                                    L"a text of some length, with % and \n"};
        static constexpr const wchar_t* kLengths[] = {L"", L"l", L"ll"};
        if (conversion == L's') {
            args_.push_back(kTexts[Below(4)]);
            return L"";
        }
        if (conversion == L'c') {
            args_.push_back(static_cast<wchar_t>(1 + Below(0xD7FE)));
            return L"";
        }
        const int length = Below(3);
        const uint64_t number = conversion == L'o' ? Number() | 1 : Number();
        args_.push_back(length == 2 ? XfmtArg(static_cast<unsigned long long>(number))
                                    : XfmtArg(static_cast<unsigned>(number)));
        return kLengths[length];
    }

    std::mt19937 random_;
    std::wstring format_;
    std::wstring theirFormat_;
    std::vector<XfmtArg> args_;
};

TEST(XfmtDifferentialTest, AgreesWithTheCLibrary) {
    DirectiveGenerator generator(20240305);
    int differences = 0;
    for (int round = 0; round < kRounds && differences < 20; ++round) {
        generator.Next();
        wchar_t ours[kChars], theirs[kChars] = {};
        const va_list args = XfmtArgList(generator.args());
        const int32_t count = xfmt_v(ours, kChars, generator.format().c_str(), args);
        const int expected = vswprintf(theirs, kChars, generator.theirFormat().c_str(), args);
        if (count == expected && wcscmp(ours, theirs) == 0) continue;
        ++differences;
        ADD_FAILURE() << "round " << round << ": " << PrintableText(generator.format()) << "\n ours   "
                      << count << ' ' << PrintableText(ours) << "\n theirs " << expected << ' '
                      << PrintableText(theirs);
    }
}

}  // namespace
