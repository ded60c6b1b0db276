#include "ui/info_box/text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"

namespace {

// Takes over the text while every allocation fails.
bool AssignWithoutMemory(DisplayText& display, const wchar_t* text) {
    CallFaults faults;
    WATCH_CALL(faults, malloc, nullptr, 0);
    faults.FailAt(1, true);
    bool assigned = false;
    faults.During([&] { assigned = display.Assign(text); });
    return assigned;
}

// The rule written the slow way.
std::wstring Model(const std::wstring& text) {
    std::wstring shown;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'\r' && text[i] != L'\n') {
            shown += text[i];
            continue;
        }
        shown += L"\r\n";
        if (text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n') ++i;
    }
    return shown;
}

std::wstring Shown(const std::wstring& text) {
    DisplayText display;
    EXPECT_TRUE(display.Assign(text.c_str()));
    EXPECT_EQ(display.Length(), wcslen(display.get()));
    return display.get();
}

struct LineEndRow {
    const char* name;
    const wchar_t* text;
    const wchar_t* shown;
};
void PrintTo(const LineEndRow& row, std::ostream* out) {
    *out << row.name;
}

class LineEnds : public testing::TestWithParam<LineEndRow> {};

TEST_P(LineEnds, BecomeCrLf) {
    EXPECT_EQ(Shown(GetParam().text), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    DisplayText, LineEnds,
    testing::Values(
        LineEndRow{"Nothing", L"", L""}, LineEndRow{"NoLineEnd", L"abc", L"abc"},
        LineEndRow{"Lf", L"a\nb", L"a\r\nb"}, LineEndRow{"Cr", L"a\rb", L"a\r\nb"},
        LineEndRow{"CrLf", L"a\r\nb", L"a\r\nb"}, LineEndRow{"LfCrIsTwo", L"a\n\rb", L"a\r\n\r\nb"},
        LineEndRow{"LfLf", L"a\n\nb", L"a\r\n\r\nb"}, LineEndRow{"CrCr", L"a\r\rb", L"a\r\n\r\nb"},
        LineEndRow{"CrCrLf", L"a\r\r\nb", L"a\r\n\r\nb"}, LineEndRow{"LfCrLf", L"a\n\r\nb", L"a\r\n\r\nb"},
        LineEndRow{"CrLfCr", L"a\r\n\rb", L"a\r\n\r\nb"}, LineEndRow{"AtTheStart", L"\nabc", L"\r\nabc"},
        LineEndRow{"AtTheEnd", L"abc\r", L"abc\r\n"},
        LineEndRow{"PairAcrossAnEightUnitBorder", L"1234567\r\n90", L"1234567\r\n90"},
        LineEndRow{"TwoAcrossAnEightUnitBorder", L"1234567\n\r90", L"1234567\r\n\r\n90"},
        LineEndRow{"OnlyPairs", L"\r\n\r\n\r\n\r\n\r\n\r\n", L"\r\n\r\n\r\n\r\n\r\n\r\n"}),
    [](const auto& row) { return row.param.name; });

TEST(DisplayText, AgreesWithTheModelOnRandomTexts) {
    std::mt19937 random(20240305);
    const wchar_t alphabet[] = {L'a', L'\r', L'\n', L'\u8000', L'\x0A0A', L'\x0D0D'};
    DisplayText display;
    for (int i = 0; i < 100000; ++i) {
        std::wstring text(random() % 40, L' ');
        const size_t choices = i % 2 == 0 ? std::size(alphabet) : 3;
        for (wchar_t& unit : text)
            unit = alphabet[random() % choices];
        ASSERT_TRUE(display.Assign(text.c_str()));
        ASSERT_EQ(display.get(), Model(text)) << "text number " << i;
    }
}

TEST(DisplayText, EveryAlignmentOfTheSourceGivesTheSame) {
    std::wstring padded(64, L'-');
    const std::wstring text = L"12\n34567\r\n8\r9012345\n\r67890";
    for (size_t shift = 0; shift < 16; ++shift) {
        std::wstring source = padded.substr(0, shift) + text;
        DisplayText display;
        ASSERT_TRUE(display.Assign(source.c_str() + shift));
        EXPECT_EQ(display.get(), Model(text)) << "shift " << shift;
    }
}

TEST(DisplayText, NothingBehindTheTerminatorIsReadBeyondItsPage) {
    for (size_t length = 0; length < 40; ++length) {
        GuardedBuffer<wchar_t> source(length + 1);
        std::fill_n(source.data(), length, L'\n');
        source[length] = L'\0';
        DisplayText display;
        ASSERT_TRUE(display.Assign(source.data()));
        EXPECT_EQ(display.Length(), 2 * length);
    }
}

TEST(DisplayText, ACapacityEndsATextWithoutTerminator) {
    for (size_t length = 0; length < 40; ++length) {
        GuardedBuffer<wchar_t> source(length);
        std::fill_n(source.data(), length, L'x');
        DisplayText display;
        ASSERT_TRUE(display.Assign(source.data(), length));
        EXPECT_EQ(display.get(), std::wstring(length, L'x'));
    }
}

TEST(DisplayText, ACrAtTheCapacityIsALineEndOfItsOwn) {
    DisplayText display;
    ASSERT_TRUE(display.Assign(L"ab\r\n", 3));
    EXPECT_STREQ(display.get(), L"ab\r\n");
}

struct SizeRow {
    const char* name;
    size_t plainUnits;
    size_t lineEnds;
    bool fits;
};
void PrintTo(const SizeRow& row, std::ostream* out) {
    *out << row.name;
}

class DisplayLimit : public testing::TestWithParam<SizeRow> {};

TEST_P(DisplayLimit, CountsTheConvertedTextAndItsTerminator) {
    const std::wstring text =
        std::wstring(GetParam().plainUnits, L'x') + std::wstring(GetParam().lineEnds, L'\n');
    DisplayText display;
    ASSERT_TRUE(display.Assign(L"before"));
    EXPECT_EQ(display.Assign(text.c_str()), GetParam().fits);
    EXPECT_EQ(display.Length(), GetParam().fits ? GetParam().plainUnits + 2 * GetParam().lineEnds : 6);
    if (!GetParam().fits) {
        EXPECT_STREQ(display.get(), L"before");
    }
}

INSTANTIATE_TEST_SUITE_P(DisplayText, DisplayLimit,
                         testing::Values(SizeRow{"Empty", 0, 0, true}, SizeRow{"OneUnit", 1, 0, true},
                                         SizeRow{"Largest", 1'023'999, 0, true},
                                         SizeRow{"OneTooMany", 1'024'000, 0, false},
                                         SizeRow{"TwoTooMany", 1'024'001, 0, false},
                                         SizeRow{"LargestByLineEnds", 1, 511'999, true},
                                         SizeRow{"TooManyByLineEnds", 0, 512'000, false}),
                         [](const auto& row) { return row.param.name; });

TEST(DisplayText, ATextShownAgainAndAgainNeedsNoMemoryAnyMore) {
    const std::wstring text(1000, L'\n');
    DisplayText display;
    ASSERT_TRUE(display.Assign(text.c_str()));
    ASSERT_TRUE(display.Assign(text.c_str()));
    for (const wchar_t* const next : {text.c_str(), L"shorter", text.c_str(), text.c_str() + 1})
        EXPECT_TRUE(AssignWithoutMemory(display, next));
    EXPECT_EQ(display.Length(), size_t{2 * 999});
}

TEST(DisplayText, ATextThatGrowsFindsRoomWithoutMemoryMostOfTheTime) {
    DisplayText display;
    for (size_t units = 600; units < 604; ++units)
        EXPECT_TRUE(display.Assign(std::wstring(units, L'x').c_str()));
    for (size_t units = 604; units < 800; ++units)
        EXPECT_TRUE(AssignWithoutMemory(display, std::wstring(units, L'x').c_str()));
}

TEST(DisplayText, GrowsUpToTheLimit) {
    DisplayText display;
    for (const size_t units : {size_t{600'000}, size_t{700'000}, size_t{800'000}, size_t{1'023'999}}) {
        ASSERT_TRUE(display.Assign(std::wstring(units, L'x').c_str()));
        EXPECT_EQ(display.Length(), units);
    }
}

TEST(DisplayText, WithoutMemoryTheTextStays) {
    const std::wstring larger(1000, L'x');
    DisplayText display;
    ASSERT_TRUE(display.Assign(L"before"));
    EXPECT_FALSE(AssignWithoutMemory(display, larger.c_str()));
    EXPECT_STREQ(display.get(), L"before");
}

TEST(DisplayText, IsEmptyBeforeTheFirstText) {
    EXPECT_STREQ(DisplayText().get(), L"");
    EXPECT_EQ(DisplayText().Length(), size_t{0});
}

}  // namespace
