#include "tests/support/timer_record.h"

#include <gtest/gtest.h>

#include "base/win32_handle.h"

namespace {

TEST(TimerRecord, KnowsEachStartAndWhatStillRuns) {
    const TimerRecord timers;
    const OwnedWindow window(
        CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr));
    SetTimer(window.get(), 3, 60000, nullptr);
    SetTimer(window.get(), 4, 70000, nullptr);
    SetTimer(window.get(), 3, 50000, nullptr);
    EXPECT_EQ(timers.IntervalsOf(3), (std::vector<UINT>{60000, 50000}));
    EXPECT_TRUE(timers.IsRunning(3));
    KillTimer(window.get(), 3);
    EXPECT_FALSE(timers.IsRunning(3));
    EXPECT_TRUE(timers.IsRunning(4));
    EXPECT_FALSE(timers.IsRunning(5));
}

TEST(TimerRecord, HeldTimersDoNotTick) {
    const TimerRecord timers(TimerRecord::Timers::kHeld);
    const OwnedWindow window(
        CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr));
    EXPECT_EQ(SetTimer(window.get(), 3, 1, nullptr), UINT_PTR{3});
    EXPECT_TRUE(timers.IsRunning(3));
    // A timer of the system's own would come back from the first kill as one that existed.
    EXPECT_FALSE(ReplacedCall<KillTimer>::Original(window.get(), 3));
    EXPECT_TRUE(KillTimer(window.get(), 3));
    EXPECT_FALSE(timers.IsRunning(3));
}

}  // namespace
