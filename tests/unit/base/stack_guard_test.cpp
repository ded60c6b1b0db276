#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" uintptr_t __stack_chk_guard;

namespace {

std::string GuardText() {
    char text[32];
    std::snprintf(text, sizeof(text), "guard %016llx", static_cast<unsigned long long>(__stack_chk_guard));
    return text;
}

TEST(StackGuard, IsChosenBeforeTheProgramStarts) {
    EXPECT_NE(__stack_chk_guard, uintptr_t{0});
}

TEST(StackGuard, StartsWithATerminator) {
    EXPECT_EQ(__stack_chk_guard & 0xFFFF, uintptr_t{0});
}

// The statement runs in a second process of this program.
TEST(StackGuard, IsAnotherOneInEachProcess) {
    const auto tellGuard = [] {
        std::fputs(GuardText().c_str(), stderr);
        std::_Exit(0);
    };
    EXPECT_EXIT(tellGuard(), testing::ExitedWithCode(0),
                testing::AllOf(testing::HasSubstr("guard "), testing::Not(testing::HasSubstr(GuardText()))));
}

}  // namespace
