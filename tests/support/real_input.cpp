#include "tests/support/real_input.h"

#include <gtest/gtest.h>

namespace {

INPUT KeyInput(WORD key, bool down) {
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
    input.ki.dwFlags = down ? 0 : KEYEVENTF_KEYUP;
    return input;
}

// The system counts a place in parts of 65,536 and rounds down.
LONG InParts(LONG place, int metric) {
    const LONG size = GetSystemMetrics(metric);
    return (place * 65536 + size - 1) / size;
}

// The place comes with the click, because a move from before may still be under way.
INPUT ButtonInput(POINT place, DWORD button) {
    INPUT input = {};
    input.type = INPUT_MOUSE;
    input.mi.dx = InParts(place.x, SM_CXSCREEN);
    input.mi.dy = InParts(place.y, SM_CYSCREEN);
    input.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE | button;
    return input;
}

void Send(std::vector<INPUT> inputs) {
    const auto count = static_cast<UINT>(inputs.size());
    EXPECT_EQ(SendInput(count, inputs.data(), sizeof(INPUT)), count) << GetLastError();
}

void SendKeys(const std::vector<WORD>& keys, bool down) {
    std::vector<INPUT> inputs;
    for (const WORD key : keys)
        inputs.push_back(KeyInput(key, down));
    Send(std::move(inputs));
}

}  // namespace

KeysDown::KeysDown(std::initializer_list<WORD> keys) : keys_(keys) {
    SendKeys(keys_, true);
}

KeysDown::~KeysDown() {
    SendKeys(keys_, false);
}

void TypeKeys(std::initializer_list<WORD> keys) {
    std::vector<INPUT> inputs;
    for (const WORD key : keys) {
        inputs.push_back(KeyInput(key, true));
        inputs.push_back(KeyInput(key, false));
    }
    Send(std::move(inputs));
}

void ClickAt(POINT place, int clicks) {
    std::vector<INPUT> inputs;
    for (int click = 0; click < clicks; ++click) {
        inputs.push_back(ButtonInput(place, MOUSEEVENTF_LEFTDOWN));
        inputs.push_back(ButtonInput(place, MOUSEEVENTF_LEFTUP));
    }
    Send(std::move(inputs));
}

void ClickOn(HWND window, int clicks) {
    RECT area = {};
    GetWindowRect(window, &area);
    ClickAt({(area.left + area.right) / 2, (area.top + area.bottom) / 2}, clicks);
}
