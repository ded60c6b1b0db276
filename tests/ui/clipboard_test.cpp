#include "ui/clipboard.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"

namespace {

std::wstring ClipboardText() {
    std::wstring text = L"(no text)";
    if (clip_open_wait(2000, nullptr) == 0) return L"(clipboard busy)";
    if (const HANDLE block = GetClipboardData(CF_UNICODETEXT)) {
        text = static_cast<const wchar_t*>(GlobalLock(block));
        GlobalUnlock(block);
    }
    CloseClipboard();
    return text;
}

TEST(CopyTextToClipboard, ANegativeLengthCopiesTheWholeText) {
    ASSERT_TRUE(CopyTextToClipboard(L"two\r\nlines", -1, nullptr));
    EXPECT_EQ(ClipboardText(), L"two\r\nlines");
}

TEST(CopyTextToClipboard, ALengthCopiesThatManyUnits) {
    ASSERT_TRUE(CopyTextToClipboard(L"abcdef", 3, nullptr));
    EXPECT_EQ(ClipboardText(), L"abc");
}

TEST(CopyTextToClipboard, AnEmptyTextReplacesTheOldOne) {
    ASSERT_TRUE(CopyTextToClipboard(L"old", -1, nullptr));
    ASSERT_TRUE(CopyTextToClipboard(L"", -1, nullptr));
    EXPECT_EQ(ClipboardText(), L"");
}

TEST(CopyTextToClipboard, TheBlockIsMovableShareableAndHoldsTheTerminator) {
    UINT flags = 0;
    SIZE_T bytes = 0;
    REPLACE_CALL(alloc, GlobalAlloc, [&](UINT wantedFlags, SIZE_T wantedBytes) {
        flags = wantedFlags;
        bytes = wantedBytes;
        return GlobalAlloc(wantedFlags, wantedBytes);
    });
    ASSERT_TRUE(CopyTextToClipboard(L"four", -1, nullptr));
    EXPECT_EQ(flags, UINT{GMEM_MOVEABLE | GMEM_SHARE | GMEM_ZEROINIT});
    EXPECT_EQ(bytes, SIZE_T{10});
}

TEST(CopyTextToClipboard, EveryFailingCallIsReportedAndFreesTheBlock) {
    CallFaults faults;
    WATCH_CALL(faults, GlobalAlloc, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, GlobalLock, nullptr, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, EmptyClipboard, FALSE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, SetClipboardData, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    int freed = 0;
    REPLACE_CALL(release, GlobalFree, [&](HGLOBAL block) {
        ++freed;
        return GlobalFree(block);
    });
    const int calls = ForEachFailingCall(faults, [&] {
        bool copied = false;
        freed = 0;
        faults.During([&] { copied = CopyTextToClipboard(L"text", -1, nullptr); });
        EXPECT_EQ(copied, !faults.CallFailed());
        const bool blockMade = faults.calls().size() > 1;
        EXPECT_EQ(freed, faults.CallFailed() && blockMade ? 1 : 0);
    });
    EXPECT_EQ(calls, 4);
}

TEST(CopyTextToClipboard, GivesUpAfterTwoSecondsWhenTheClipboardIsBusy) {
    int freed = 0;
    REPLACE_CALL(open, OpenClipboard, [](HWND) { return FALSE; });
    REPLACE_CALL(release, GlobalFree, [&](HGLOBAL block) {
        ++freed;
        return GlobalFree(block);
    });
    const DWORD start = GetTickCount();
    EXPECT_FALSE(CopyTextToClipboard(L"text", -1, nullptr));
    EXPECT_GE(GetTickCount() - start, kClipboardWaitMs);
    EXPECT_LT(GetTickCount() - start, kClipboardWaitMs + 1000);
    EXPECT_EQ(freed, 1);
}

}  // namespace
