#include "base/heap_array.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"

namespace {

TEST(HeapArray, HoldsItsElementsAndFreesThem) {
    ExpectNoLeaks([] {
        const HeapArray<int> array = AllocateArray<int>(1000);
        ASSERT_NE(array, nullptr);
        array[999] = 7;
        EXPECT_EQ(array[999], 7);
    });
}

TEST(HeapArray, IsNullForASizeThatOverflows) {
    EXPECT_EQ(AllocateArray<int64_t>(SIZE_MAX / 8 + 1), nullptr);
    EXPECT_EQ(AllocateArray<int64_t>(SIZE_MAX), nullptr);
}

// On a fresh thread, where the C++ runtime has nothing prepared for throwing.
TEST(HeapArray, IsNullWithoutMemoryOnAnyThread) {
    bool null = false;
    std::thread([&] {
        REPLACE_CALL(allocate, malloc, [](size_t) -> void* { return nullptr; });
        null = AllocateArray<int>(10) == nullptr;
    }).join();
    EXPECT_TRUE(null);
}

struct Quiet : QuietlyAllocated {
    int value = 7;
};

TEST(QuietlyAllocated, ObjectsLiveAndGoAsOthersDo) {
    ExpectNoLeaks([] {
        const std::unique_ptr<Quiet> quiet(new (std::nothrow) Quiet);
        const auto plain = std::make_unique<Quiet>();
        EXPECT_EQ(quiet->value + plain->value, 14);
    });
}

TEST(QuietlyAllocated, IsNullWithoutMemoryOnAnyThread) {
    bool null = false;
    std::thread([&] {
        REPLACE_CALL(allocate, malloc, [](size_t) -> void* { return nullptr; });
        const std::unique_ptr<Quiet> quiet(new (std::nothrow) Quiet);
        null = quiet == nullptr;
    }).join();
    EXPECT_TRUE(null);
}

}  // namespace
