#include "ui/newlines.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/guarded_buffer.h"

namespace {

std::wstring Convert(const std::wstring& source, const wchar_t* newline) {
    const int32_t chars = text_convert_newlines(source.c_str(), nullptr, 0, newline);
    std::wstring result(static_cast<size_t>(chars) + 1, L'?');
    EXPECT_EQ(text_convert_newlines(source.c_str(), result.data(), chars + 1, newline), chars);
    EXPECT_EQ(result[static_cast<size_t>(chars)], L'\0');
    result.resize(static_cast<size_t>(chars));
    return result;
}

struct NewlineRow {
    const char* name;
    const wchar_t* source;
    const wchar_t* result;  // with "|" as the newline
};
void PrintTo(const NewlineRow& row, std::ostream* out) {
    *out << row.name;
}

class Newlines : public testing::TestWithParam<NewlineRow> {};

TEST_P(Newlines, BecomeTheGivenText) {
    EXPECT_EQ(Convert(GetParam().source, L"|"), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Mixes, Newlines,
    testing::Values(NewlineRow{"Empty", L"", L""}, NewlineRow{"None", L"abc", L"abc"},
                    NewlineRow{"Lf", L"\n", L"|"}, NewlineRow{"Cr", L"\r", L"|"},
                    NewlineRow{"CrLf", L"\r\n", L"|"}, NewlineRow{"LfCr", L"\n\r", L"||"},
                    NewlineRow{"LfLf", L"\n\n", L"||"}, NewlineRow{"CrCr", L"\r\r", L"||"},
                    NewlineRow{"CrCrLf", L"\r\r\n", L"||"}, NewlineRow{"CrLfLf", L"\r\n\n", L"||"},
                    NewlineRow{"LfCrLf", L"\n\r\n", L"||"}, NewlineRow{"CrLfCr", L"\r\n\r", L"||"},
                    NewlineRow{"CrLfCrLf", L"\r\n\r\n", L"||"}, NewlineRow{"LfCrCrLf", L"\n\r\r\n", L"|||"},
                    NewlineRow{"LfBetween", L"a\nb", L"a|b"}, NewlineRow{"CrBetween", L"a\rb", L"a|b"},
                    NewlineRow{"CrLfBetween", L"a\r\nb", L"a|b"},
                    NewlineRow{"LfCrBetween", L"a\n\rb", L"a||b"}, NewlineRow{"AtBothEnds", L"\na\r", L"|a|"},
                    NewlineRow{"NeighborsOfTheControls", L"\t\v\f\x000E\x0001", L"\t\v\f\x000E\x0001"},
                    NewlineRow{"HighCharacters", L"\xFFFF\n\xD83D\xDE00", L"\xFFFF|\xD83D\xDE00"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(TextConvertNewlines, TakesAnyNewline) {
    const std::wstring source = L"a\nb\r\n";
    EXPECT_EQ(Convert(source, L"\r\n"), L"a\r\nb\r\n");
    EXPECT_EQ(Convert(source, L"\n"), L"a\nb\n");
    EXPECT_EQ(Convert(source, L""), L"ab");
    EXPECT_EQ(Convert(source, nullptr), L"ab");
    EXPECT_EQ(Convert(source, L"1234567"), L"a1234567b1234567");
    EXPECT_EQ(Convert(source, L"12345678"), L"a12345678b12345678");
    EXPECT_EQ(Convert(source, L"%s and more"), L"a%s and moreb%s and more");
}

class Capacity : public testing::TestWithParam<const wchar_t*> {};

TEST_P(Capacity, CutsTheResultAndNeverWritesBeyond) {
    const std::wstring source = L"ab\ncd\r\nef\r";
    const std::wstring whole = Convert(source, GetParam());
    for (int32_t capacity = 0; capacity <= static_cast<int32_t>(whole.size()) + 2; ++capacity) {
        GuardedBuffer<wchar_t> buffer(static_cast<size_t>(capacity));
        EXPECT_EQ(text_convert_newlines(source.c_str(), buffer.data(), capacity, GetParam()),
                  static_cast<int32_t>(whole.size()));
        if (capacity == 0) continue;
        EXPECT_EQ(std::wstring(buffer.data()), whole.substr(0, static_cast<size_t>(capacity) - 1))
            << capacity;
    }
}

INSTANTIATE_TEST_SUITE_P(ShortAndLongNewlines, Capacity, testing::Values(L"\r\n", L"-- line --"));

TEST(TextConvertNewlines, NeverReadsAPageThatTheTextDoesNotTouch) {
    for (size_t chars = 0; chars < 40; ++chars) {
        GuardedBuffer<wchar_t> source(chars + 1);
        std::fill_n(source.data(), chars, L'a');
        source[chars] = L'\0';
        EXPECT_EQ(text_convert_newlines(source.data(), nullptr, 0, L"|"), static_cast<int32_t>(chars));
        GuardedBuffer<wchar_t> atTheStart(chars + 1, GuardSide::kInFront);
        std::copy_n(source.data(), chars + 1, atTheStart.data());
        EXPECT_EQ(text_convert_newlines(atTheStart.data(), nullptr, 0, L"|"), static_cast<int32_t>(chars));
    }
}

TEST(TextConvertNewlines, StopsAtTheGivenNumberOfCharacters) {
    const std::wstring text = L"ab\r\ncdefghijklmnopqrstuvwxyz0123456789\r";
    for (size_t chars = 0; chars <= text.size(); ++chars) {
        GuardedBuffer<wchar_t> source(chars);  // without a terminator
        std::copy_n(text.data(), chars, source.data());
        wchar_t result[80];
        const int32_t length = text_convert_newlines_of(source.data(), chars, result, 80, L"|");
        EXPECT_EQ(static_cast<size_t>(length), wcslen(result));
        EXPECT_EQ(std::wstring(result), Convert(text.substr(0, chars), L"|")) << chars;
    }
    wchar_t result[80];
    EXPECT_EQ(text_convert_newlines_of(text.c_str(), 1000, result, 80, L"|"), 38);
}

// The same one character at a time.
std::wstring PlainModel(const std::wstring& source, const std::wstring& newline) {
    std::wstring result;
    for (size_t i = 0; i < source.size(); ++i) {
        if (source[i] == L'\n' && i > 0 && source[i - 1] == L'\r') continue;  // the second half of a pair
        const bool lineEnd = source[i] == L'\r' || source[i] == L'\n';
        result += lineEnd ? newline : std::wstring(1, source[i]);
    }
    return result;
}

TEST(TextConvertNewlines, AgreesWithAPlainModelOn100000Texts) {
    std::mt19937 random(20161207);
    const wchar_t alphabet[] = L"\r\n\r\n\r\nab\t\x000E\xFFFF";
    const std::wstring newlines[] = {L"\r\n", L"\n", L"", L"<newline>"};
    wchar_t result[512];
    for (int i = 0; i < 100000; ++i) {
        // Every second text has few line ends, so that whole blocks without one occur.
        const size_t choices = i % 2 == 0 ? std::size(alphabet) - 1 : 200;
        const size_t before = random() % 8;
        std::wstring source(before + random() % 40, L' ');
        for (wchar_t& c : source) {
            const size_t choice = random() % choices;
            c = choice < std::size(alphabet) - 1 ? alphabet[choice] : L'x';
        }
        const std::wstring& newline = newlines[random() % 4];
        const auto capacity = static_cast<int32_t>(random() % 400 + 1);
        const std::wstring expected = PlainModel(source.substr(before), newline);
        ASSERT_EQ(text_convert_newlines(source.c_str() + before, result, capacity, newline.c_str()),
                  static_cast<int32_t>(expected.size()));
        ASSERT_EQ(std::wstring(result), expected.substr(0, static_cast<size_t>(capacity) - 1));
    }
}

}  // namespace
