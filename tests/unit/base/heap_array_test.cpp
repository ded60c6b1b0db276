#include "base/heap_array.h"

#include <gtest/gtest.h>

#include <numeric>

#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"

namespace {

void Count(HeapArray<int>& array) {
    std::iota(array.begin(), array.end(), 0);
}

TEST(HeapArray, StartsEmpty) {
    const HeapArray<int> array;
    EXPECT_EQ(array.size(), 0u);
    EXPECT_EQ(array.begin(), array.end());
}

TEST(HeapArray, KeepsItsElementsWhileItGrowsAndShrinks) {
    HeapArray<int> array;
    ASSERT_TRUE(array.Resize(10));
    Count(array);
    ASSERT_TRUE(array.Resize(1000));
    EXPECT_EQ(array.size(), 1000u);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(array[static_cast<size_t>(i)], i);
    ASSERT_TRUE(array.Resize(3));
    EXPECT_EQ(array.size(), 3u);
    EXPECT_EQ(array[2], 2);
}

TEST(HeapArray, FreesWhatItHolds) {
    ExpectNoLeaks([] {
        HeapArray<int> array;
        ASSERT_TRUE(array.Resize(10));
        ASSERT_TRUE(array.Resize(1000));
        HeapArray<int> other;
        ASSERT_TRUE(other.Resize(5));
        other = std::move(array);
        other = HeapArray<int>();
        HeapArray<int> last(std::move(other));
    });
}

TEST(HeapArray, MovesItsElements) {
    HeapArray<int> array;
    ASSERT_TRUE(array.Resize(10));
    Count(array);
    HeapArray<int> other(std::move(array));
    EXPECT_EQ(other.size(), 10u);
    EXPECT_EQ(other[9], 9);
    HeapArray<int> third;
    ASSERT_TRUE(third.Resize(1));
    third = std::move(other);
    EXPECT_EQ(third.size(), 10u);
    EXPECT_EQ(third[9], 9);
    HeapArray<int>& same = third;
    third = std::move(same);
    EXPECT_EQ(third.size(), 10u);
}

TEST(HeapArray, RefusesASizeThatOverflows) {
    HeapArray<int64_t> array;
    EXPECT_FALSE(array.Resize(SIZE_MAX / 8 + 1));
    EXPECT_FALSE(array.Resize(SIZE_MAX));
    EXPECT_EQ(array.size(), 0u);
}

TEST(HeapArray, StaysAsItIsWithoutMemory) {
    HeapArray<int> array;
    ASSERT_TRUE(array.Resize(10));
    Count(array);
    REPLACE_CALL(allocate, malloc, [](size_t) -> void* { return nullptr; });
    EXPECT_FALSE(array.Resize(11));
    EXPECT_EQ(array.size(), 10u);
    EXPECT_EQ(array[9], 9);
    EXPECT_TRUE(array.Resize(5)) << "shrinking takes no memory";
    EXPECT_TRUE(array.Resize(10)) << "nor does growing into what is there";
}

}  // namespace
