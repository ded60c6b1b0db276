// The errors that the driver logged, as the USB device page follows them while it is open.
#include <gtest/gtest.h>

#include "base/windows_api.h"

#include <commctrl.h>

#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/usbd_page_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr wchar_t kRecentSummary[] = L"You have recent USB device startup errors.";
constexpr wchar_t kPastSummary[] = L"You have USB startup errors in the past.";

std::string ManyLines(int count) {
    std::string lines = kOldEpisode;
    for (int line = 0; line < count; ++line)
        lines += "2026-03-16 14:06:40 line " + std::to_string(line) + " of a long episode\r\n";
    return lines;
}

class UsbdPageLogTest : public UsbdPageTest {
  protected:
    HWND Edit() const { return page_.Control(IDC_USBD_LOG_TEXT); }
    int FirstVisibleLine() const {
        return static_cast<int>(SendMessageW(Edit(), EM_GETFIRSTVISIBLELINE, 0, 0));
    }
    std::wstring FirstVisibleText(size_t chars) const {
        const auto start = static_cast<size_t>(
            SendMessageW(Edit(), EM_LINEINDEX, static_cast<WPARAM>(FirstVisibleLine()), 0));
        return Log().substr(start, chars);
    }
    std::wstring SelectedText() const {
        DWORD start = 0;
        DWORD end = 0;
        SendMessageW(Edit(), EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
        return Log().substr(start, end - start);
    }
    void SelectAndScroll(const std::wstring& text, int line) {
        const size_t start = Log().find(text);
        ASSERT_NE(start, std::wstring::npos);
        SendMessageW(Edit(), EM_SETSEL, start, static_cast<LPARAM>(start + text.size()));
        SendMessageW(Edit(), EM_LINESCROLL, 0, line - FirstVisibleLine());
        ASSERT_EQ(FirstVisibleLine(), line);
    }
    void ExpectLogShown(bool shown) {
        for (const int id : {1043, 1044, 1039, 1040, 1046})
            EXPECT_EQ(page_.IsShown(id), shown) << id;
    }
};

TEST_F(UsbdPageLogTest, WithoutALogTheControlsAreHidden) {
    OpenPage();
    ExpectLogShown(false);
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), L"");
}

TEST_F(UsbdPageLogTest, OpensOnTheRecentErrors) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kRecentSummary);
    EXPECT_TRUE(page_.IsChecked(IDC_USBD_SHOW_RECENT));
    EXPECT_EQ(Log(), kNewText);
    Tick();
    EXPECT_EQ(Log(), kNewText);
    SaveScreenshot(page_.window(), L"usbd_page_recent_errors");
}

TEST_F(UsbdPageLogTest, OpensOnThePastErrorsWhenTheDeviceHasStartedSince) {
    WriteLog(kTwoEpisodes);
    SetStartupStamp(kLogTime + 1);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kPastSummary);
    EXPECT_TRUE(page_.IsChecked(IDC_USBD_SHOW_PAST));
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_SHOW_RECENT));
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
    SaveScreenshot(page_.window(), L"usbd_page_past_errors");
}

TEST_F(UsbdPageLogTest, TheRadiosChooseTheView) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    ChooseView(IDC_USBD_SHOW_PAST);
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
    Tick();
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
    ChooseView(IDC_USBD_SHOW_RECENT);
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsbdPageLogTest, AClickOnARadioRefreshesThePage) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    KillTimer(page_.window(), 68);
    SetPresence(false);
    TakeRequests();
    page_.Click(IDC_USBD_SHOW_PAST);
    EXPECT_EQ(TakeRequests(), Names{L"GetVcomCfg"});
    EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is disconnected.");
}

TEST_F(UsbdPageLogTest, ErrorsOfTheDriverAppearAtTheNextTick) {
    OpenPage();
    ASSERT_EQ(driver_.WriteUsbErrorLog(device_.instanceId, L"SET_ADDRESS failed\r\n"), ERROR_SUCCESS);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kRecentSummary);
    EXPECT_EQ(Log(), L"*========================================*\r\nSET_ADDRESS failed\r\n");
    EXPECT_EQ(StateIcon(), LoadIconW(nullptr, IDI_WARNING));
    SaveScreenshot(page_.window(), L"usbd_page_errors_arrived");
}

TEST_F(UsbdPageLogTest, ANewEpisodeReplacesTheRecentOne) {
    WriteLog(kOldEpisode);
    OpenPage();
    EXPECT_EQ(Log(), L"2026-03-15 08:00:00 old episode\r\n");
    WriteLog(kTwoEpisodes, kLogTime + 1000);
    Tick();
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsbdPageLogTest, ASuccessfulStartTurnsRecentErrorsIntoPastOnes) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    SetFocus(page_.Control(IDC_USBD_SHOW_RECENT));
    SetStartupStamp(kLogTime);
    Tick();
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kPastSummary);
    EXPECT_TRUE(page_.IsChecked(IDC_USBD_SHOW_PAST));
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_SHOW_RECENT));
    EXPECT_EQ(GetFocus(), page_.Control(IDC_USBD_SHOW_PAST));
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
}

TEST_F(UsbdPageLogTest, ALogThatTheDriverDeletesTakesItsControlsAway) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    SetFocus(Edit());
    ASSERT_TRUE(DeleteFileW(logPath_));
    Tick();
    ExpectLogShown(false);
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), L"");
    EXPECT_EQ(GetFocus(), page_.Control(IDC_FILE_LOGGING));
    SaveScreenshot(page_.window(), L"usbd_page_log_deleted");
}

HWND g_focusCameFrom = nullptr;
LRESULT CALLBACK RememberFocus(HWND control, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                               DWORD_PTR) {
    if (message == WM_SETFOCUS) g_focusCameFrom = reinterpret_cast<HWND>(wParam);
    return DefSubclassProc(control, message, wParam, lParam);
}

TEST_F(UsbdPageLogTest, WithoutLogAndBusTheFocusGoesToTheStatus) {
    WriteLog(kTwoEpisodes);
    ASSERT_EQ(driver_.SetAccess({.busAbsent = 1}), ERROR_SUCCESS);
    OpenPage();
    SetFocus(Edit());
    SetWindowSubclass(page_.Control(IDC_USBD_STATUS), RememberFocus, 0, 0);
    ASSERT_TRUE(DeleteFileW(logPath_));
    Tick();
    EXPECT_EQ(GetFocus(), page_.Control(IDC_USBD_STATUS));
    // A platform that helps a hidden control's page out would take it there first.
    EXPECT_EQ(g_focusCameFrom, Edit());
}

TEST_F(UsbdPageLogTest, AMissingFolderIsNoLog) {
    constexpr wchar_t kFolder[] = L"C:\\windows\\System32\\QrvTavix\\usberr";
    constexpr wchar_t kAside[] = L"C:\\windows\\System32\\QrvTavix\\usberr_aside";
    ASSERT_TRUE(MoveFileW(kFolder, kAside));
    OpenPage();
    ExpectLogShown(false);
    EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is connected and working. (High speed)");
    SaveScreenshot(page_.window(), L"usbd_page_no_log_folder");
    EXPECT_TRUE(MoveFileW(kAside, kFolder));
}

TEST_F(UsbdPageLogTest, ALogThatItsDriverHoldsOpenIsReadCopiedAndCleared) {
    WriteLog(kTwoEpisodes);
    ASSERT_EQ(driver_.HoldUsbErrorLog(device_.instanceId, false), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Log(), kNewText);
    SaveScreenshot(page_.window(), L"usbd_page_log_held");
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    page_.Click(IDC_USBD_CLEAR);
    ASSERT_EQ(driver_.ReleaseUsbErrorLog(), ERROR_SUCCESS);
    Tick();
    ExpectLogShown(false);
}

TEST_F(UsbdPageLogTest, ALockedLogIsSaidToBeUnreadableUntilItIsFree) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    ASSERT_EQ(driver_.HoldUsbErrorLog(device_.instanceId, true), ERROR_SUCCESS);
    Tick();
    SaveScreenshot(page_.window(), L"usbd_page_log_locked");
    ASSERT_EQ(driver_.ReleaseUsbErrorLog(), ERROR_SUCCESS);
    Tick();
    ExpectLogShown(true);
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsbdPageLogTest, ChineseAndEmojiAreShownAsTheyWereWritten) {
    const std::wstring text = L"\u8BBE\u5907\u542F\u52A8\u5931\u8D25 \U0001F50C\U0001F4A5\r\n";
    ASSERT_EQ(driver_.WriteUsbErrorLog(device_.instanceId, text), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Log(), text);
    SaveScreenshot(page_.window(), L"usbd_page_chinese_log");
}

TEST_F(UsbdPageLogTest, OfAHugeLogOnlyTheEndIsReadAtEachTick) {
    {
        const FileHandle file(CreateFileW(logPath_, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        const std::string tail = std::string(64'000 - sizeof(kNewEpisode) + 1, 'a') + kNewEpisode;
        SetFilePointer(file.get(), 100 * 1024 * 1024, nullptr, FILE_BEGIN);
        DWORD written = 0;
        ASSERT_TRUE(WriteFile(file.get(), tail.data(), static_cast<DWORD>(tail.size()), &written, nullptr));
    }
    OpenPage();
    EXPECT_EQ(Log(), std::wstring(kNewText).substr(0, wcslen(kNewText) - 1));
    DWORD bytesRead = 0;
    {
        ReplacedCall<ReadFile> read(
            "ReadFile", [&](HANDLE handle, void* buffer, DWORD bytes, DWORD* done, OVERLAPPED* overlapped) {
                bytesRead += bytes;
                return ReadFile(handle, buffer, bytes, done, overlapped);
            });
        Tick();
    }
    EXPECT_EQ(bytesRead, 64'000u);
    SaveScreenshot(page_.window(), L"usbd_page_huge_log");
}

// ---- the reader's place ----

TEST_F(UsbdPageLogTest, AnIdleTickKeepsSelectionCaretAndScrollPosition) {
    WriteLog(ManyLines(300));
    OpenPage();
    SelectAndScroll(L"line 40 of", 30);
    Tick();
    EXPECT_EQ(FirstVisibleLine(), 30);
    EXPECT_EQ(SelectedText(), L"line 40 of");
}

TEST_F(UsbdPageLogTest, ALogThatGrowsKeepsThemToo) {
    WriteLog(ManyLines(300));
    OpenPage();
    ChooseView(IDC_USBD_SHOW_PAST);
    SelectAndScroll(L"line 40 of", 30);
    WriteLog(ManyLines(300) + kNewEpisode, kLogTime + 1000);
    Tick();
    EXPECT_EQ(Log(), Wide(ManyLines(300) + kNewEpisode));
    EXPECT_EQ(FirstVisibleLine(), 30);
    EXPECT_EQ(SelectedText(), L"line 40 of");
    EXPECT_TRUE(page_.IsShown(IDC_USBD_LOG_TEXT));
}

TEST_F(UsbdPageLogTest, ALogThatOutgrowsItsTailKeepsTheTextUnderTheReader) {
    const std::string lines = ManyLines(2000);
    ASSERT_GT(lines.size(), 64'000u);
    WriteLog(lines);
    OpenPage();
    ChooseView(IDC_USBD_SHOW_PAST);
    SelectAndScroll(L"line 1500 of", 700);
    const std::wstring top = FirstVisibleText(30);
    WriteLog(lines + kNewEpisode, kLogTime + 1000);
    Tick();
    EXPECT_EQ(Log().substr(Log().size() - 10), std::wstring(kNewText).substr(wcslen(kNewText) - 11, 10));
    EXPECT_EQ(FirstVisibleText(30), top);
    EXPECT_EQ(SelectedText(), L"line 1500 of");
}

TEST_F(UsbdPageLogTest, AnotherTextStartsAtItsTop) {
    WriteLog(ManyLines(300));
    OpenPage();
    SelectAndScroll(L"line 40 of", 30);
    WriteLog(ManyLines(300) + kNewEpisode, kLogTime + 1000);
    Tick();
    EXPECT_EQ(Log(), kNewText);
    EXPECT_EQ(FirstVisibleLine(), 0);
    EXPECT_EQ(SelectedText(), L"");
}

// ---- clearing and saving ----

TEST_F(UsbdPageLogTest, ClearDeletesTheLogAfterAQuestionAndShowsIt) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(nullptr, L"usbd_page_clear");
        box.Press(IDYES);
    });
    page_.Click(IDC_USBD_CLEAR);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Delete all USB error messages for this USB device?");
    EXPECT_EQ(GetFileAttributesW(logPath_), INVALID_FILE_ATTRIBUTES);
    ExpectLogShown(false);
    EXPECT_NE(StateIcon(), LoadIconW(nullptr, IDI_WARNING));
}

class UsbdPageSaveTest : public UsbdPageLogTest {
  protected:
    void SetUp() override {
        UsbdPageLogTest::SetUp();
        ASSERT_TRUE(UsberrSavePath(logPath_, kNow, destination_));
    }
    void TearDown() override {
        SetFileAttributesW(destination_, FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(destination_);
        RemoveDirectoryW(destination_);
        UsbdPageLogTest::TearDown();
    }
    std::wstring SavedText() const {
        HeapText text;
        EXPECT_TRUE(ReadUsberrTail(destination_, text));
        return text.c_str();
    }

    static constexpr SYSTEMTIME kNow = {2026, 3, 1, 16, 14, 25, 1, 0};
    ReplacedCall<GetLocalTime> time_{"GetLocalTime", [](SYSTEMTIME* now) { *now = kNow; }};
    wchar_t destination_[kUsberrPathChars] = {};
};

TEST_F(UsbdPageSaveTest, SaveRefreshesThePageOnTheWholeLogAndCopiesIt) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    KillTimer(page_.window(), 68);
    TakeRequests();
    std::wstring shown;
    modal_.ExpectBox(L"TAVIX Message").Do([&](BoxView& box) {
        shown = Log();
        SaveScreenshot(nullptr, L"usbd_page_saved");
        box.Press(IDNO);
    });
    page_.Click(IDC_USBD_SAVE_TO_FILE);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text,
              L"Logfile saved to:\n\n" + std::wstring(destination_) + L"\n\nOpen that folder?");
    EXPECT_EQ(shown, Wide(kTwoEpisodes));
    EXPECT_EQ(TakeRequests(), (Names{L"GetVcomCfg", L"GetUsbdInfo"}));
    EXPECT_EQ(SavedText(), Wide(kTwoEpisodes));
    EXPECT_TRUE(page_.IsChecked(IDC_USBD_SHOW_RECENT));
    Tick();
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsbdPageSaveTest, ASecondCopyTakesThePlaceOfTheFirst) {
    WriteLog(std::string(kOldEpisode) + "much longer than what follows it");
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    page_.Click(IDC_USBD_SAVE_TO_FILE);
    WriteLog(kOldEpisode, kLogTime + 1000);
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(nullptr, L"usbd_page_saved_again");
        box.Press(IDNO);
    });
    page_.Click(IDC_USBD_SAVE_TO_FILE);
    EXPECT_EQ(SavedText(), Wide(kOldEpisode));
}

TEST_F(UsbdPageSaveTest, ADestinationThatCannotBeWrittenIsNamedWithTheError) {
    WriteLog(kTwoEpisodes);
    ASSERT_TRUE(CreateDirectoryW(destination_, nullptr));
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(nullptr, L"usbd_page_save_failed");
        box.Press(IDOK);
    });
    page_.Click(IDC_USBD_SAVE_TO_FILE);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text,
              L"Fail to copy \n\n" + std::wstring(logPath_) + L"\n\nto\n\n" + destination_ + L"\n\nWinErr=5");
}

TEST_F(UsbdPageSaveTest, ALogThatVanishesBeforeItIsCopiedIsNamedWithTheError) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    KillTimer(page_.window(), 68);
    ASSERT_TRUE(DeleteFileW(logPath_));
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_USBD_SAVE_TO_FILE);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text,
              L"Fail to copy \n\n" + std::wstring(logPath_) + L"\n\nto\n\n" + destination_ + L"\n\nWinErr=2");
    ExpectLogShown(false);
}

}  // namespace
