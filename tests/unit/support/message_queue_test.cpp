#include "tests/support/message_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "base/win32_handle.h"

#include "tests/support/wait_until.h"

namespace {

// A thread with a window, which handles its messages only when it is let.
class WindowThread {
  public:
    WindowThread() : thread_([this] { Run(); }) {
        EXPECT_TRUE(WaitUntil("the window", [this] { return window_ != nullptr; }));
    }
    ~WindowThread() {
        mayPump_ = true;
        done_ = true;
    }
    HWND window() const { return window_; }
    void LetItPump() { mayPump_ = true; }
    void DestroyItsWindow() { destroy_ = true; }
    int taken() const { return taken_; }

  private:
    static LRESULT CALLBACK CountTaken(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_APP) ++*reinterpret_cast<std::atomic<int>*>(lParam);
        return DefWindowProcW(window, message, wParam, lParam);
    }
    void Run() {
        OwnedWindow window(
            CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr));
        SetWindowLongPtrW(window.get(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(CountTaken));
        PostMessageW(window.get(), WM_APP, 0, reinterpret_cast<LPARAM>(&taken_));
        window_ = window.get();
        while (!done_) {
            if (mayPump_) PumpPendingMessages();
            if (destroy_) window.reset();
            Sleep(1);
        }
    }

    std::atomic<HWND> window_ = nullptr;
    std::atomic<bool> mayPump_ = false;
    std::atomic<bool> destroy_ = false;
    std::atomic<bool> done_ = false;
    std::atomic<int> taken_ = 0;
    std::jthread thread_;
};

TEST(QueueMark, IsReachedOnceEverythingBeforeItHasBeenHandled) {
    WindowThread thread;
    const QueueMark mark(thread.window());
    EXPECT_FALSE(mark.Reached());
    thread.LetItPump();
    EXPECT_TRUE(WaitUntil("the mark", [&] { return mark.Reached(); }));
    EXPECT_EQ(thread.taken(), 1);
}

TEST(QueueMark, AnAnswerToASentMessageDoesNotReachIt) {
    WindowThread thread;
    const QueueMark mark(thread.window());
    std::jthread sender(
        [&] { SendMessageTimeoutW(thread.window(), WM_NULL, 0, 0, SMTO_NORMAL, 50, nullptr); });
    sender.join();
    EXPECT_FALSE(mark.Reached());
}

TEST(QueueMark, IsReachedWhenItsWindowIsGone) {
    WindowThread thread;
    const QueueMark mark(thread.window());
    thread.DestroyItsWindow();
    EXPECT_TRUE(WaitUntil("the mark", [&] { return mark.Reached(); }));
    EXPECT_EQ(thread.taken(), 0);
}

TEST(QueueMark, EachOfSeveralIsReachedForItself) {
    WindowThread held;
    WindowThread pumping;
    pumping.LetItPump();
    const QueueMark first(held.window());
    const QueueMark second(pumping.window());
    const QueueMark third(pumping.window());
    EXPECT_TRUE(WaitUntil("the marks", [&] { return second.Reached() && third.Reached(); }));
    EXPECT_FALSE(first.Reached());
}

TEST(WaitUntilSettled, HandlesTheMessagesOfItsOwnThread) {
    const OwnedWindow window(
        CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr));
    PostMessageW(window.get(), WM_CLOSE, 0, 0);
    EXPECT_TRUE(WaitUntilSettled(window.get()));
    EXPECT_FALSE(IsWindow(window.get()));
}

}  // namespace
