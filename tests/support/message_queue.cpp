#include "tests/support/message_queue.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "tests/support/wait_until.h"

namespace {

std::mutex g_marksMutex;
std::vector<WPARAM> g_waitingMarks;
WPARAM g_lastMark = 0;

UINT MarkMessage() {
    static const UINT message = RegisterWindowMessageW(L"tavix test queue mark");
    return message;
}

WPARAM AddMark() {
    const std::lock_guard lock(g_marksMutex);
    g_waitingMarks.push_back(++g_lastMark);
    return g_lastMark;
}

void RemoveMark(WPARAM number) {
    const std::lock_guard lock(g_marksMutex);
    std::erase(g_waitingMarks, number);
}

bool IsWaiting(WPARAM number) {
    const std::lock_guard lock(g_marksMutex);
    return std::find(g_waitingMarks.begin(), g_waitingMarks.end(), number) != g_waitingMarks.end();
}

LRESULT CALLBACK OnMessageTaken(int code, WPARAM removed, LPARAM message) {
    const auto& taken = *reinterpret_cast<const MSG*>(message);
    if (code == HC_ACTION && removed == PM_REMOVE && taken.message == MarkMessage()) RemoveMark(taken.wParam);
    return CallNextHookEx(nullptr, code, removed, message);
}

bool IsPointerMessage(UINT message) {
    return (message >= WM_MOUSEFIRST && message <= WM_MOUSELAST) ||
           (message >= WM_NCMOUSEMOVE && message <= WM_NCMBUTTONDBLCLK);
}

LRESULT CALLBACK OnMenuMessage(int code, WPARAM unused, LPARAM message) {
    if (code == MSGF_MENU && IsPointerMessage(reinterpret_cast<const MSG*>(message)->message)) return TRUE;
    return CallNextHookEx(nullptr, code, unused, message);
}

}  // namespace

QueueMark::QueueMark(HWND window)
    : window_(window),
      number_(AddMark()),
      hook_(SetWindowsHookExW(WH_GETMESSAGE, OnMessageTaken, nullptr,
                              GetWindowThreadProcessId(window, nullptr))) {
    PostMessageW(window, MarkMessage(), number_, 0);
}

QueueMark::~QueueMark() {
    UnhookWindowsHookEx(hook_);
    RemoveMark(number_);
}

bool QueueMark::Reached() const {
    return !IsWaiting(number_) || !IsWindow(window_);
}

testing::AssertionResult WaitUntilSettled(HWND window) {
    if (GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId()) {
        PumpPendingMessages();
        return testing::AssertionSuccess();
    }
    const QueueMark mark(window);
    return WaitUntil("the window's thread to handle its messages", [&] { return mark.Reached(); });
}

MenusWithoutPointer::MenusWithoutPointer()
    : hook_(SetWindowsHookExW(WH_MSGFILTER, OnMenuMessage, nullptr, GetCurrentThreadId())) {}

MenusWithoutPointer::~MenusWithoutPointer() {
    UnhookWindowsHookEx(hook_);
}
