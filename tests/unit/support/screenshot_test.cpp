#include "tests/support/screenshot.h"

#include <gtest/gtest.h>

#include "base/win32_handle.h"
#include "base/windows_api.h"

namespace {

TEST(Screenshot, AWindowBecomesAPngFile) {
    const OwnedWindow window(CreateWindowExW(0, L"STATIC", L"Screenshot", WS_POPUP | WS_VISIBLE | WS_CAPTION,
                                             50, 50, 200, 100, nullptr, nullptr, nullptr, nullptr));
    const std::wstring path = SaveScreenshot(window.get(), L"support-screenshot");
    ASSERT_FALSE(path.empty());
    const FileHandle file(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    unsigned char head[24] = {};
    DWORD read = 0;
    ASSERT_TRUE(ReadFile(file.get(), head, sizeof(head), &read, nullptr));
    ASSERT_EQ(read, sizeof(head));
    EXPECT_EQ(head[1], 'P');
    // Width and height, big-endian, stand at fixed places of every PNG file.
    EXPECT_EQ(head[19], 200);
    EXPECT_EQ(head[23], 100);
}

TEST(Screenshot, OfTheWholeScreenEachWindowIsPaintedFirst) {
    const OwnedWindow window(CreateWindowExW(0, L"STATIC", L"Screenshot", WS_POPUP | WS_VISIBLE, 50, 50, 200,
                                             100, nullptr, nullptr, nullptr, nullptr));
    InvalidateRect(window.get(), nullptr, TRUE);
    EXPECT_NE(SaveScreenshot(nullptr, L"support-whole-screen"), L"");
    EXPECT_FALSE(GetUpdateRect(window.get(), nullptr, FALSE));
}

TEST(Screenshot, AWindowThatIsNotThereGivesNothing) {
    EXPECT_EQ(SaveScreenshot(reinterpret_cast<HWND>(ULONG_PTR{0x7777}), L"support-missing"), L"");
}

}  // namespace
