#include "base/win32_handle.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<int> closed;

// Counts closings instead of closing anything; SetLastError stands for a closing function that spoils the
// code.
struct RecordingTraits {
    using Handle = int;
    static Handle Invalid() { return -1; }
    static void Close(Handle handle) {
        closed.push_back(handle);
        SetLastError(12345);
    }
};
using Recording = OwnedHandle<RecordingTraits>;

class OwnedHandleTest : public testing::Test {
  protected:
    OwnedHandleTest() { closed.clear(); }
};

TEST_F(OwnedHandleTest, ClosesOnceAtTheEndOfItsScope) {
    { Recording handle(7); }
    EXPECT_EQ(closed, std::vector<int>{7});
}

TEST_F(OwnedHandleTest, AnInvalidHandleIsNotClosed) {
    { Recording handle; }
    EXPECT_TRUE(closed.empty());
}

TEST_F(OwnedHandleTest, MovingOntoAFullOneClosesWhatItHeld) {
    Recording first(1);
    Recording second(2);
    first = std::move(second);
    EXPECT_EQ(closed, std::vector<int>{1});
    EXPECT_EQ(first.get(), 2);
    EXPECT_FALSE(second);
}

TEST_F(OwnedHandleTest, SelfMoveKeepsTheHandle) {
    Recording handle(3);
    Recording& alias = handle;
    handle = std::move(alias);
    EXPECT_EQ(handle.get(), 3);
    EXPECT_TRUE(closed.empty());
}

TEST_F(OwnedHandleTest, ResettingToTheSameHandleKeepsItOpen) {
    Recording handle(4);
    handle.reset(4);
    EXPECT_TRUE(closed.empty());
}

TEST_F(OwnedHandleTest, AReleasedHandleIsTheCallersToClose) {
    {
        Recording handle(5);
        EXPECT_EQ(handle.release(), 5);
    }
    EXPECT_TRUE(closed.empty());
}

TEST_F(OwnedHandleTest, PutClosesBeforeItLendsThePlace) {
    Recording handle(6);
    *handle.put() = 8;
    EXPECT_EQ(closed, std::vector<int>{6});
    EXPECT_EQ(handle.get(), 8);
}

TEST_F(OwnedHandleTest, ClosingLeavesTheLastErrorAlone) {
    SetLastError(ERROR_ACCESS_DENIED);
    { Recording handle(9); }
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

}  // namespace
