// What a window's thread has done with its messages, seen from another thread.
//
// A window is visible, and answers what is sent to it, while it is still being opened; only its message loop
// takes what is posted. So a mark that was posted and has been taken proves that the loop is running and that
// everything posted before the mark has been handled.
#pragma once

#include <gtest/gtest.h>

#include "base/windows_api.h"

// A mark at the end of the message queue of a window's thread.
class QueueMark {
  public:
    explicit QueueMark(HWND window);
    ~QueueMark();
    QueueMark(const QueueMark&) = delete;
    QueueMark& operator=(const QueueMark&) = delete;

    // Also true once the window is gone.
    bool Reached() const;

  private:
    HWND window_;
    WPARAM number_;
    HHOOK hook_;
};

// Waits until the mark set now is reached; messages of the calling thread's own windows are handled at once.
testing::AssertionResult WaitUntilSettled(HWND window);

// While it lives, the menus of the thread that made it do not follow the pointer, wherever it rests or goes.
class MenusWithoutPointer {
  public:
    MenusWithoutPointer();
    ~MenusWithoutPointer();
    MenusWithoutPointer(const MenusWithoutPointer&) = delete;
    MenusWithoutPointer& operator=(const MenusWithoutPointer&) = delete;

  private:
    HHOOK hook_;
};
