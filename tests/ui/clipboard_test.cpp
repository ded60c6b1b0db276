#include "ui/clipboard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <thread>

#include "base/process.h"
#include "base/win32_handle.h"
#include "tests/support/clipboard_text.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"
#include "tests/support/wait_until.h"

namespace {

class CopyText : public testing::Test {
  protected:
    PatientClipboard clipboard_;
};

// The clock that clip_open_wait reads: only its sleeping makes it go on.
class StoppedClock {
  public:
    DWORD elapsed() const { return elapsed_; }

  private:
    DWORD elapsed_ = 0;
    ReplacedCall<GetTickCount> ticks_{"GetTickCount", [this] { return 0xFFFFFFF0 + elapsed_; }};
    ReplacedCall<Sleep> sleep_{"Sleep", [this](DWORD ms) { elapsed_ += ms; }};
};

TEST_F(CopyText, ANegativeLengthCopiesTheWholeText) {
    ASSERT_TRUE(CopyTextToClipboard(L"two\r\nlines", -1, nullptr));
    EXPECT_EQ(ClipboardText(), L"two\r\nlines");
}

TEST_F(CopyText, ALengthCopiesThatManyUnits) {
    ASSERT_TRUE(CopyTextToClipboard(L"abcdef", 3, nullptr));
    EXPECT_EQ(ClipboardText(), L"abc");
}

TEST_F(CopyText, AnEmptyTextReplacesTheOldOne) {
    ASSERT_TRUE(CopyTextToClipboard(L"old", -1, nullptr));
    ASSERT_TRUE(CopyTextToClipboard(L"", -1, nullptr));
    EXPECT_EQ(ClipboardText(), L"");
}

TEST_F(CopyText, TheBlockIsMovableShareableAndHoldsTheTerminator) {
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

TEST_F(CopyText, EveryFailingCallIsReportedAndFreesTheBlock) {
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

TEST(BusyClipboard, GivesUpAfterTwoSecondsWhenTheClipboardIsBusy) {
    int freed = 0;
    REPLACE_CALL(open, OpenClipboard, [](HWND) { return FALSE; });
    REPLACE_CALL(release, GlobalFree, [&](HGLOBAL block) {
        ++freed;
        return GlobalFree(block);
    });
    const StoppedClock clock;
    EXPECT_FALSE(CopyTextToClipboard(L"text", -1, nullptr));
    EXPECT_GE(clock.elapsed(), kClipboardWaitMs);
    EXPECT_LT(clock.elapsed(), kClipboardWaitMs + 100);
    EXPECT_EQ(freed, 1);
}

class ClipText : public testing::Test {
  protected:
    ~ClipText() override { clip_free_text(text_); }

    std::wstring Get() {
        clip_free_text(text_);
        text_ = clip_get_text(&length_, nullptr);
        return text_ != nullptr ? text_ : L"(no text)";
    }

    PatientClipboard clipboard_;
    wchar_t* text_ = nullptr;
    uint32_t length_ = 99;
};

TEST_F(ClipText, TextsGoToTheClipboardAndComeBack) {
    ASSERT_TRUE(clip_set_text(L"two\r\nlines", -1, nullptr));
    EXPECT_EQ(Get(), L"two\r\nlines");
    EXPECT_EQ(length_, 10u);
}

TEST_F(ClipText, ALengthCopiesThatManyUnits) {
    ASSERT_TRUE(clip_set_text(L"abcdef", 3, nullptr));
    EXPECT_EQ(Get(), L"abc");
    EXPECT_EQ(length_, 3u);
    ASSERT_TRUE(clip_set_text(L"abcdef", 0, nullptr));
    EXPECT_EQ(Get(), L"");
    EXPECT_EQ(length_, 0u);
}

TEST_F(ClipText, TheBlockIsFixedAndZeroInitialized) {
    UINT flags = 0;
    SIZE_T bytes = 0;
    REPLACE_CALL(alloc, GlobalAlloc, [&](UINT wantedFlags, SIZE_T wantedBytes) {
        flags = wantedFlags;
        bytes = wantedBytes;
        return GlobalAlloc(wantedFlags, wantedBytes);
    });
    ASSERT_TRUE(clip_set_text(L"four", -1, nullptr));
    EXPECT_EQ(flags, UINT{GMEM_ZEROINIT});
    EXPECT_EQ(bytes, SIZE_T{10});
}

TEST_F(ClipText, TheLengthMayBeLeftOut) {
    ASSERT_TRUE(clip_set_text(L"x", -1, nullptr));
    wchar_t* const text = clip_get_text(nullptr, nullptr);
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(clip_free_text(text));
}

TEST_F(ClipText, AClipboardWithoutTextGivesNull) {
    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    CloseClipboard();
    EXPECT_EQ(Get(), L"(no text)");
    EXPECT_EQ(length_, 0u);
}

TEST_F(ClipText, ABlockWithoutATerminatorIsTerminatedWithinItsSize) {
    wchar_t block[] = {L'a', L'b', L'c'};
    REPLACE_CALL(data, GetClipboardData, [&](UINT format) {
        EXPECT_EQ(format, UINT{CF_UNICODETEXT});
        return static_cast<HANDLE>(block);
    });
    REPLACE_CALL(size, GlobalSize, [&](HGLOBAL) { return SIZE_T{sizeof(block)}; });
    REPLACE_CALL(lock, GlobalLock, [&](HGLOBAL) { return static_cast<void*>(block); });
    REPLACE_CALL(unlock, GlobalUnlock, [](HGLOBAL) { return FALSE; });
    EXPECT_EQ(Get(), L"ab");
    EXPECT_EQ(length_, 2u);
}

TEST_F(ClipText, TheCopyHasTheSizeOfTheBlockAndEndsWithinIt) {
    const struct {
        size_t bytes;
        const wchar_t* text;
    } rows[] = {{2, L""}, {3, L""}, {4, L"a"}, {5, L"a"}, {7, L"ab"}, {8, L"abc"}};
    for (const auto& row : rows) {
        GuardedBuffer<char> block(row.bytes);
        memcpy(block.data(), L"abcd", row.bytes);
        GuardedBuffer<char> copy(row.bytes);
        SIZE_T copyBytes = 0;
        REPLACE_CALL(data, GetClipboardData, [&](UINT) { return static_cast<HANDLE>(block.data()); });
        REPLACE_CALL(size, GlobalSize, [&](HGLOBAL) { return SIZE_T{row.bytes}; });
        REPLACE_CALL(lock, GlobalLock, [](HGLOBAL locked) { return static_cast<void*>(locked); });
        REPLACE_CALL(unlock, GlobalUnlock, [](HGLOBAL) { return FALSE; });
        REPLACE_CALL(alloc, GlobalAlloc, [&](UINT, SIZE_T bytes) {
            copyBytes = bytes;
            return static_cast<HGLOBAL>(copy.data());
        });
        uint32_t length = 99;
        EXPECT_STREQ(clip_get_text(&length, nullptr), row.text) << row.bytes;
        EXPECT_EQ(length, row.bytes / 2 - 1);
        EXPECT_EQ(copyBytes, row.bytes);
    }
}

TEST_F(ClipText, OfATextWithinATextOnlyItsLengthIsRead) {
    GuardedBuffer<wchar_t> unterminated(3);
    std::copy_n(L"abc", 3, unterminated.data());
    ASSERT_TRUE(clip_set_text(unterminated.data(), 3, nullptr));
    EXPECT_EQ(Get(), L"abc");
}

TEST_F(ClipText, ALargeTextComesBackWhole) {
    const std::wstring large(1'000'000, L'x');
    ASSERT_TRUE(clip_set_text(large.c_str(), -1, nullptr));
    EXPECT_EQ(Get(), large);
    EXPECT_EQ(length_, large.size());
}

TEST_F(ClipText, ABlockTooSmallForATerminatorIsNoText) {
    ASSERT_TRUE(clip_set_text(L"x", -1, nullptr));
    REPLACE_CALL(size, GlobalSize, [](HGLOBAL) { return SIZE_T{1}; });
    EXPECT_EQ(Get(), L"(no text)");
    EXPECT_EQ(length_, 0u);
}

TEST_F(ClipText, EveryFailingCallOfSettingIsReportedAndLeavesNothing) {
    CallFaults faults;
    WATCH_CALL(faults, GlobalAlloc, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, GlobalLock, nullptr, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, EmptyClipboard, FALSE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, SetClipboardData, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    int held = 0;  // blocks made and neither freed nor handed over
    REPLACE_CALL(release, GlobalFree, [&](HGLOBAL block) {
        --held;
        return GlobalFree(block);
    });
    const int calls = ForEachFailingCall(faults, [&] {
        bool copied = false;
        held = 0;
        faults.During([&] { copied = clip_set_text(L"text", -1, nullptr); });
        EXPECT_EQ(copied, !faults.CallFailed());
        const bool blockMade = faults.calls().size() > 1;
        EXPECT_EQ(held, faults.CallFailed() && blockMade ? -1 : 0);
        EXPECT_FALSE(clipboard_.IsOpen());
    });
    EXPECT_EQ(calls, 4);
}

TEST_F(ClipText, EveryFailingCallOfGettingGivesNullAndLeavesNothing) {
    ASSERT_TRUE(clip_set_text(L"text", -1, nullptr));
    CallFaults faults;
    WATCH_CALL(faults, GetClipboardData, nullptr, ERROR_NOT_FOUND);
    WATCH_CALL(faults, GlobalSize, 0, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, GlobalAlloc, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, GlobalLock, nullptr, ERROR_INVALID_HANDLE);
    int freed = 0;
    REPLACE_CALL(release, GlobalFree, [&](HGLOBAL block) {
        ++freed;
        return GlobalFree(block);
    });
    const int calls = ForEachFailingCall(faults, [&] {
        wchar_t* text = nullptr;
        uint32_t length = 99;
        freed = 0;
        faults.During([&] { text = clip_get_text(&length, nullptr); });
        EXPECT_EQ(text == nullptr, faults.CallFailed());
        EXPECT_EQ(length, faults.CallFailed() ? 0u : 4u);
        EXPECT_EQ(freed, faults.CallFailed() && faults.calls().size() == 4 ? 1 : 0);
        EXPECT_FALSE(clipboard_.IsOpen());
        clip_free_text(text);
    });
    EXPECT_EQ(calls, 4);
}

TEST_F(ClipText, FreeingReportsTheSystemsAnswer) {
    REPLACE_CALL(release, GlobalFree, [](HGLOBAL block) { return block; });
    wchar_t block[1];
    EXPECT_FALSE(clip_free_text(block));
}

OwnedWindow HolderWindow() {
    return OwnedWindow(
        CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr));
}

// Holds the clipboard until it is told to let go.
class ClipboardHolder {
  public:
    ClipboardHolder() : thread_([this] { Hold(); }) { WaitForSingleObject(held_.get(), kDefaultWaitMs); }
    ~ClipboardHolder() {
        SetEvent(release_.get());
        thread_.join();
    }
    void ReleaseAfter(DWORD ms) {
        timer_ = std::jthread([this, ms] {
            Sleep(ms);
            SetEvent(release_.get());
        });
    }

  private:
    void Hold() {
        // Two openers without a window count as one.
        const OwnedWindow owner = HolderWindow();
        EXPECT_TRUE(WaitUntil("the clipboard", [&] { return OpenClipboard(owner.get()) != FALSE; }));
        SetEvent(held_.get());
        WaitForSingleObject(release_.get(), kDefaultWaitMs);
        CloseClipboard();
    }

    KernelHandle held_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    KernelHandle release_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    std::thread thread_;
    std::jthread timer_;
};

TEST(ClipOpenWait, GivesUpWhenAnotherThreadHoldsTheClipboardForTheWholeTime) {
    const ClipboardHolder holder;
    const StoppedClock clock;
    EXPECT_EQ(clip_open_wait(300, nullptr), 0);
    EXPECT_GE(clock.elapsed(), 300u);
    EXPECT_LT(clock.elapsed(), 400u);
}

TEST(ClipOpenWait, TriesOnceWithoutTime) {
    const ClipboardHolder holder;
    REPLACE_CALL(open, OpenClipboard, [](HWND) { return FALSE; });
    EXPECT_EQ(clip_open_wait(0, nullptr), 0);
    EXPECT_EQ(open.calls(), 1);
}

TEST(ClipOpenWait, SucceedsAsSoonAsTheClipboardIsFree) {
    ClipboardHolder holder;
    holder.ReleaseAfter(200);
    EXPECT_EQ(clip_open_wait(kDefaultWaitMs, nullptr), 1);
    CloseClipboard();
}

TEST(ClipOpenWait, HandsOnTheOwner) {
    const HWND owner = reinterpret_cast<HWND>(ULONG_PTR{0x1234});
    HWND given = nullptr;
    REPLACE_CALL(open, OpenClipboard, [&](HWND window) {
        given = window;
        return TRUE;
    });
    EXPECT_EQ(clip_open_wait(0, owner), 1);
    EXPECT_EQ(given, owner);
}

TEST(ClipOpenWait, SurvivesTheWrapOfTheTickCount) {
    DWORD now = 0xFFFFFF00;
    REPLACE_CALL(ticks, GetTickCount, [&] { return now += 0x80; });
    REPLACE_CALL(open, OpenClipboard, [](HWND) { return FALSE; });
    EXPECT_EQ(clip_open_wait(0x200, nullptr), 0);
    EXPECT_EQ(open.calls(), 4);
}

constexpr const wchar_t* kHeldEvent = L"tavix-clipboard-held";
constexpr const wchar_t* kReleaseEvent = L"tavix-clipboard-release";

// Runs only in the child process of the test below.
TEST(ClipboardChild, DISABLED_HoldsTheClipboard) {
    const KernelHandle held(CreateEventW(nullptr, TRUE, FALSE, kHeldEvent));
    const KernelHandle release(CreateEventW(nullptr, TRUE, FALSE, kReleaseEvent));
    const OwnedWindow owner = HolderWindow();
    ASSERT_EQ(clip_open_wait(kDefaultWaitMs, owner.get()), 1);
    SetEvent(held.get());
    WaitForSingleObject(release.get(), kDefaultWaitMs);
    CloseClipboard();
}

TEST(BusyClipboard, AnotherProcessThatHoldsTheClipboardIsWaitedForTwoSeconds) {
    const KernelHandle held(CreateEventW(nullptr, TRUE, FALSE, kHeldEvent));
    const KernelHandle release(CreateEventW(nullptr, TRUE, FALSE, kReleaseEvent));
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring line =
        L"\"" + std::wstring(path) + L"\" --gtest_also_run_disabled_tests --gtest_filter=ClipboardChild.*";
    DWORD childResult = 99;
    std::jthread child([&] { childResult = RunProcess(line.c_str(), false, true); });
    ASSERT_EQ(WaitForSingleObject(held.get(), kDefaultWaitMs), DWORD{WAIT_OBJECT_0});
    {
        const StoppedClock clock;
        EXPECT_FALSE(clip_set_text(L"text", -1, nullptr));
        EXPECT_GE(clock.elapsed(), 2000u);
        uint32_t length = 99;
        EXPECT_EQ(clip_get_text(&length, nullptr), nullptr);
        EXPECT_GE(clock.elapsed(), 4000u);
        EXPECT_EQ(length, 0u);
    }
    SetEvent(release.get());
    child.join();
    EXPECT_EQ(childResult, 0u);
    const PatientClipboard clipboard;
    EXPECT_TRUE(clip_set_text(L"free again", -1, nullptr));
}

}  // namespace
