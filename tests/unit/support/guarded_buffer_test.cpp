#include "tests/support/guarded_buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

// Asks the system instead of touching the address: a fault would end the program.
bool IsAccessible(const void* address) {
    MEMORY_BASIC_INFORMATION info = {};
    if (VirtualQuery(address, &info, sizeof(info)) == 0) return false;
    return info.State == MEM_COMMIT && (info.Protect & PAGE_READWRITE) != 0;
}

class GuardedBufferTest : public testing::TestWithParam<size_t> {};

TEST_P(GuardedBufferTest, EndsAtAnInaccessiblePage) {
    GuardedBuffer<wchar_t> buffer(GetParam());
    EXPECT_FALSE(IsAccessible(buffer.data() + buffer.size()));
    EXPECT_TRUE(IsAccessible(reinterpret_cast<char*>(buffer.data() + buffer.size()) - 1));
}

TEST_P(GuardedBufferTest, StartsBehindAnInaccessiblePageWhenAsked) {
    GuardedBuffer<wchar_t> buffer(GetParam(), GuardSide::kInFront);
    EXPECT_FALSE(IsAccessible(reinterpret_cast<char*>(buffer.data()) - 1));
    EXPECT_TRUE(IsAccessible(buffer.data()));
}

TEST_P(GuardedBufferTest, IsFilledWithThePatternAndKnowsWhatWasWritten) {
    GuardedBuffer<wchar_t> buffer(GetParam());
    EXPECT_EQ(buffer.WrittenExtent(), 0u);
    if (buffer.size() < 2) return;
    buffer[1] = L'x';
    EXPECT_EQ(buffer.WrittenExtent(), 2u);
    EXPECT_EQ(buffer[0], wchar_t{0xA5A5});
    buffer.Refill();
    EXPECT_EQ(buffer.WrittenExtent(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Sizes, GuardedBufferTest, testing::Values(0, 1, 2, 5, 2047, 2048, 2049, 10000),
                         [](const auto& row) { return std::to_string(row.param); });

TEST(GuardedBufferOfBytesTest, TouchesThePageAtAnyLength) {
    for (size_t count = 1; count < 20; ++count) {
        GuardedBuffer<uint8_t> buffer(count);
        EXPECT_TRUE(IsAccessible(buffer.data() + count - 1));
        EXPECT_FALSE(IsAccessible(buffer.data() + count));
    }
}

}  // namespace
