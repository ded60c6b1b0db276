// Polls instead of sleeping: every wait has a limit and says what it waited for.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "base/windows_api.h"

// Long, because only a test that fails anyway waits for its end, however busy the machine is.
constexpr DWORD kDefaultWaitMs = 30000;

// EXPECT_TRUE(WaitUntil("the box to close", [&] { return !IsWindow(box); }));
template <typename Condition>
testing::AssertionResult WaitUntil(const std::string& what, Condition condition,
                                   DWORD limitMs = kDefaultWaitMs) {
    const DWORD start = GetTickCount();
    while (!condition()) {
        if (GetTickCount() - start >= limitMs)
            return testing::AssertionFailure() << "waited " << limitMs << " ms for " << what;
        Sleep(2);
    }
    return testing::AssertionSuccess();
}

inline void PumpPendingMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

// The same for a condition that this thread's own windows must bring about.
template <typename Condition>
testing::AssertionResult PumpUntil(const std::string& what, Condition condition,
                                   DWORD limitMs = kDefaultWaitMs) {
    return WaitUntil(
        what,
        [&] {
            PumpPendingMessages();
            return condition();
        },
        limitMs);
}
