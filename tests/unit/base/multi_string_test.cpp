#include "base/multi_string.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"

namespace {

using std::string_view_literals::operator""sv;

struct Row {
    const char* name;
    std::wstring_view block;
    std::vector<std::wstring> items;
};

class MultiStringTest : public testing::TestWithParam<Row> {};

// The block ends at a page that faults.
TEST_P(MultiStringTest, WalksUpToTheFirstEmptyItemOrTheEndOfTheBlock) {
    GuardedBuffer<wchar_t> block(GetParam().block.size());
    std::copy(GetParam().block.begin(), GetParam().block.end(), block.data());
    std::vector<std::wstring> items;
    for (const std::wstring_view item : MultiString({block.data(), GetParam().block.size()}))
        items.emplace_back(item);
    EXPECT_EQ(items, GetParam().items);
}

INSTANTIATE_TEST_SUITE_P(Blocks, MultiStringTest,
                         testing::Values(Row{"NoBlock", L""sv, {}}, Row{"OnlyItsEnd", L"\0"sv, {}},
                                         Row{"TwoItems", L"a.exe\0b\0\0"sv, {L"a.exe", L"b"}},
                                         Row{"WithoutItsEnd", L"a\0b\0"sv, {L"a", L"b"}},
                                         Row{"LastItemWithoutNul", L"a\0b"sv, {L"a", L"b"}},
                                         Row{"OneItemWithoutNul", L"a"sv, {L"a"}},
                                         Row{"AnEmptyItemEndsIt", L"a\0\0b\0\0"sv, {L"a"}},
                                         Row{"AnEmptyItemFirst", L"\0a\0\0"sv, {}}),
                         [](const auto& row) { return row.param.name; });

TEST(MultiString, LooksAtNothingByDefault) {
    for (const std::wstring_view item : MultiString({}))
        ADD_FAILURE() << item.size();
}

}  // namespace
