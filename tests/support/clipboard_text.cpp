#include "tests/support/clipboard_text.h"

#include <gtest/gtest.h>

#include "base/windows_api.h"

#include "tests/support/wait_until.h"

namespace {

BOOL OpenOnceFree(HWND owner) {
    const testing::AssertionResult opened =
        WaitUntil("the clipboard to be free", [owner] { return OpenClipboard(owner) != FALSE; });
    EXPECT_TRUE(opened);
    return opened ? TRUE : FALSE;
}

}  // namespace

std::wstring ClipboardText() {
    if (!OpenOnceFree(nullptr)) return L"(clipboard busy)";
    std::wstring text = L"(no text)";
    const HANDLE block = GetClipboardData(CF_UNICODETEXT);
    const auto* const chars = block != nullptr ? static_cast<const wchar_t*>(GlobalLock(block)) : nullptr;
    if (chars != nullptr) {
        text = chars;
        GlobalUnlock(block);
    }
    CloseClipboard();
    return text;
}

PatientClipboard::PatientClipboard()
    : opening_("OpenClipboard",
               [this](HWND owner) {
                   open_ = OpenOnceFree(owner) != FALSE;
                   return open_ ? TRUE : FALSE;
               }),
      closing_("CloseClipboard", [this] {
          open_ = false;
          return CloseClipboard();
      }) {}
