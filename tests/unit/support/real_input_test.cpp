#include "tests/support/real_input.h"

#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "tests/support/wait_until.h"

namespace {

std::vector<std::wstring> g_heard;

LRESULT CALLBACK Listen(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const std::wstring shift = GetKeyState(VK_SHIFT) < 0 ? L"Shift+" : L"";
    if (message == WM_KEYDOWN && wParam != VK_SHIFT) g_heard.push_back(shift + static_cast<wchar_t>(wParam));
    if (message == WM_LBUTTONDOWN)
        g_heard.push_back(shift + L"click " + std::to_wstring(LOWORD(lParam)) + L"," +
                          std::to_wstring(HIWORD(lParam)));
    if (message == WM_LBUTTONDBLCLK) g_heard.push_back(shift + L"double click");
    return DefWindowProcW(window, message, wParam, lParam);
}

class RealInput : public testing::Test {
  protected:
    RealInput() {
        WNDCLASSW listener = {};
        listener.style = CS_DBLCLKS;
        listener.lpfnWndProc = Listen;
        listener.lpszClassName = L"TavixListener";
        RegisterClassW(&listener);
        window_.reset(CreateWindowExW(WS_EX_TOPMOST, L"TavixListener", L"Listener", WS_POPUP | WS_VISIBLE, 60,
                                      60, 80, 60, nullptr, nullptr, nullptr, nullptr));
        SetForegroundWindow(window_.get());
        g_heard.clear();
    }
    ~RealInput() override {
        window_.reset();
        UnregisterClassW(L"TavixListener", nullptr);
    }
    static void Expect(const std::vector<std::wstring>& wanted) {
        EXPECT_TRUE(PumpUntil("the input", [&] { return g_heard.size() >= wanted.size(); }));
        EXPECT_EQ(g_heard, wanted);
    }

    OwnedWindow window_;
};

TEST_F(RealInput, KeysComeInOrder) {
    TypeKeys({'A', 'B', 'A'});
    Expect({L"A", L"B", L"A"});
}

TEST_F(RealInput, KeysThatAreDownGoWithWhatFollows) {
    {
        const KeysDown shift({VK_SHIFT});
        TypeKeys({'A'});
        ClickOn(window_.get());
    }
    TypeKeys({'B'});
    Expect({L"Shift+A", L"Shift+click 40,30", L"B"});
}

TEST_F(RealInput, TwoClicksAreADoubleClick) {
    ClickAt({70, 71}, 2);
    Expect({L"click 10,11", L"double click"});
}

}  // namespace
