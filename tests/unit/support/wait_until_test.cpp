#include "tests/support/wait_until.h"

#include <gtest/gtest.h>

namespace {

TEST(WaitUntil, ReturnsAsSoonAsTheConditionHolds) {
    int polls = 0;
    EXPECT_TRUE(WaitUntil("three polls", [&] { return ++polls == 3; }));
    EXPECT_EQ(polls, 3);
}

TEST(WaitUntil, SaysWhatItWaitedFor) {
    const testing::AssertionResult result = WaitUntil(
        "the moon", [] { return false; }, 10);
    EXPECT_FALSE(result);
    EXPECT_STREQ(result.message(), "waited 10 ms for the moon");
}

TEST(PumpUntil, HandlesThisThreadsMessages) {
    PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
    const UINT_PTR timer = SetTimer(nullptr, 0, 1, nullptr);
    MSG message;
    EXPECT_TRUE(PumpUntil("an empty queue",
                          [&] { return !PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_NOREMOVE); }));
    KillTimer(nullptr, timer);
}

}  // namespace
