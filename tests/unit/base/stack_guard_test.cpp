#include <gtest/gtest.h>

#include <cstdint>

extern "C" uintptr_t __stack_chk_guard;

namespace {

TEST(StackGuard, IsChosenBeforeTheProgramStarts) {
    EXPECT_NE(__stack_chk_guard, uintptr_t{0});
}

TEST(StackGuard, StartsWithATerminator) {
    EXPECT_EQ(__stack_chk_guard & 0xFFFF, uintptr_t{0});
}

}  // namespace
