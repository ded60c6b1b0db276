// The error log of the USB device page: its real dialog on a device node whose log and stamp the tests write.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/windows_api.h"

#include <prsht.h>
#include <setupapi.h>
#include <shellapi.h>

#include "base/module.h"
#include "base/win32_handle.h"
#include "pages/prospage_params.h"
#include "pages/usberr_log_area.h"
#include "resources/resource_ids.h"
#include "state/usberr_log.h"
#include "tests/support/heap_texts.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/modal_driver.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"

namespace {

constexpr GUID kUsbClass = {0x36FC9E60, 0xC465, 0x11CF, {0x80, 0x56, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
constexpr int kLogControls[] = {1043, 1044, 1039, 1040, 1046};
constexpr wchar_t kRecentSummary[] = L"You have recent USB device startup errors.";
constexpr wchar_t kPastSummary[] = L"You have USB startup errors in the past.";
constexpr int64_t kLogTime = 1'773'670'000'000;  // March 2026

const std::string kOldEpisode =
    "*========================================*\r\n2026-03-15 08:00:00 old episode\r\n";
const std::string kNewEpisode =
    "*========================================*\r\n2026-03-16 14:06:40 new episode\r\nSET_ADDRESS failed\r\n";
const std::string kTwoEpisodes = kOldEpisode + kNewEpisode;
constexpr wchar_t kNewText[] = L"2026-03-16 14:06:40 new episode\r\nSET_ADDRESS failed\r\n";

std::wstring Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

INT_PTR CALLBACK StoringDialogProc(HWND dialog, UINT message, WPARAM, LPARAM lParam) {
    if (message != WM_INITDIALOG) return FALSE;
    StorePageParams(dialog, lParam);
    return TRUE;
}

class UsberrLogAreaTest : public testing::Test {
  protected:
    void SetUp() override {
        SetModuleInstance(GetModuleHandleW(nullptr));
        list_.reset(SetupDiCreateDeviceInfoList(&kUsbClass, nullptr));
        element_.cbSize = sizeof(element_);
        ASSERT_TRUE(SetupDiCreateDeviceInfoW(list_.get(), L"USB\\VID_1234&PID_5678\\LOGAREA", &kUsbClass,
                                             nullptr, nullptr, 0, &element_))
            << GetLastError();
        ASSERT_TRUE(SetupDiRegisterDeviceInfo(list_.get(), &element_, 0, nullptr, nullptr, nullptr))
            << GetLastError();
        ASSERT_TRUE(UsberrLogPath(list_.get(), &element_, path_));
        CreateDirectoryW(L"C:\\windows\\System32\\QrvTavix", nullptr);
        CreateDirectoryW(L"C:\\windows\\System32\\QrvTavix\\usberr", nullptr);
        DeleteFileW(path_);
        OpenDialog();
    }
    void TearDown() override {
        page_.reset();
        DeleteFileW(path_);
        SetupDiRemoveDevice(list_.get(), &element_);
        SetModuleInstance(nullptr);
    }

    void OpenDialog() {
        params_ = std::make_unique<UsbdProspageParams_st>();
        params_->deviceInfoSet = list_.get();
        params_->deviceInfoData = &element_;
        frame_.reset(CreateWindowExW(0, L"STATIC", L"Frame",
                                     WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN | WS_VISIBLE, 20, 20, 520, 480,
                                     nullptr, nullptr, nullptr, nullptr));
        PROPSHEETPAGEW description = {};
        description.lParam = reinterpret_cast<LPARAM>(static_cast<TavixProspageParam_base*>(params_.get()));
        page_.reset(CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_USBD_PAGE),
                                       frame_.get(), StoringDialogProc,
                                       reinterpret_cast<LPARAM>(&description)));
        ASSERT_TRUE(page_);
        EnableWindow(page_.get(), TRUE);
        ShowWindow(page_.get(), SW_SHOW);
    }

    // Milliseconds since 1970 of the log's last writing.
    void WriteLog(const std::string& bytes, int64_t time = kLogTime) {
        const FileHandle file(
            CreateFileW(path_, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD written = 0;
        ASSERT_TRUE(WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
        SetTime(file.get(), time);
    }
    // Nobody else may open the log while it is held like this.
    FileHandle LockLog() const {
        return FileHandle(CreateFileW(path_, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    }
    static void SetTime(HANDLE file, int64_t time) {
        const uint64_t units = static_cast<uint64_t>(time + 11644473600000) * 10000;
        const FILETIME stamp = {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
        ASSERT_TRUE(SetFileTime(file, nullptr, nullptr, &stamp));
    }
    void SetStartupStamp(int64_t time) {
        const RegistryKey key(SetupDiCreateDevRegKeyW(list_.get(), &element_, DICS_FLAG_GLOBAL, 0, DIREG_DEV,
                                                      nullptr, nullptr));
        ASSERT_EQ(RegSetValueExW(key.get(), L"UsbdLastStartupSuccessUemsec", 0, REG_QWORD,
                                 reinterpret_cast<const BYTE*>(&time), sizeof(time)),
                  ERROR_SUCCESS);
    }
    HWND Control(int id) const { return GetDlgItem(page_.get(), id); }
    std::wstring Text(int id) const {
        std::wstring text(static_cast<size_t>(GetWindowTextLengthW(Control(id))) + 1, L'\0');
        GetWindowTextW(Control(id), text.data(), static_cast<int>(text.size()));
        text.pop_back();
        return text;
    }
    std::wstring Log() const { return Text(IDC_USBD_LOG_TEXT); }
    bool IsChecked(int id) const { return IsDlgButtonChecked(page_.get(), id) == BST_CHECKED; }
    bool IsEnabled(int id) const { return IsWindowEnabled(Control(id)) != FALSE; }
    bool IsShown(int id) const { return (GetWindowLongPtrW(Control(id), GWL_STYLE) & WS_VISIBLE) != 0; }
    void Check(int id) { CheckRadioButton(page_.get(), IDC_USBD_SHOW_RECENT, IDC_USBD_SHOW_PAST, id); }
    bool Read(UsberrRefreshMode mode) {
        UsberrLog log;
        if (!ReadUsberrLog(list_.get(), &element_, log)) return false;
        ShowUsberrLog(page_.get(), *params_, log, mode);
        return true;
    }
    void ExpectShown(bool shown) {
        for (const int id : kLogControls)
            EXPECT_EQ(IsShown(id), shown) << id;
    }

    ModalDriver modal_;
    std::unique_ptr<UsbdProspageParams_st> params_;
    OwnedWindow frame_;
    OwnedWindow page_;
    wchar_t path_[kUsberrPathChars] = {};

  private:
    DeviceInfoList list_;
    SP_DEVINFO_DATA element_ = {};
};

TEST_F(UsberrLogAreaTest, WithoutALogTheControlsAreHiddenAndTheSummaryIsEmpty) {
    SetWindowTextW(Control(IDC_USBD_STARTUP_SUMMARY), L"left over");
    EXPECT_TRUE(Read(kUsberrPageOpened));
    ExpectShown(false);
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), L"");
    SaveScreenshot(page_.get(), L"usberr_log_area_no_log");
}

TEST_F(UsberrLogAreaTest, ANewLogShowsTheControlsTogether) {
    Read(kUsberrPageOpened);
    WriteLog(kTwoEpisodes);
    EXPECT_TRUE(Read(kUsberrUpdate));
    ExpectShown(true);
}

TEST_F(UsberrLogAreaTest, OpeningShowsRecentErrorsAndChecksTheirButton) {
    WriteLog(kTwoEpisodes);
    SetStartupStamp(kLogTime - 1);
    EXPECT_TRUE(Read(kUsberrPageOpened));
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kRecentSummary);
    EXPECT_TRUE(IsEnabled(IDC_USBD_SHOW_RECENT));
    EXPECT_TRUE(IsChecked(IDC_USBD_SHOW_RECENT));
    EXPECT_FALSE(IsChecked(IDC_USBD_SHOW_PAST));
    EXPECT_EQ(Log(), kNewText);
    SaveScreenshot(page_.get(), L"usberr_log_area_recent");
}

TEST_F(UsberrLogAreaTest, OpeningShowsPastErrorsWhole) {
    WriteLog(kTwoEpisodes);
    SetStartupStamp(kLogTime + 1);
    EXPECT_TRUE(Read(kUsberrPageOpened));
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kPastSummary);
    EXPECT_FALSE(IsEnabled(IDC_USBD_SHOW_RECENT));
    EXPECT_TRUE(IsChecked(IDC_USBD_SHOW_PAST));
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
    SaveScreenshot(page_.get(), L"usberr_log_area_past");
}

struct BorderRow {
    const char* name;
    int64_t stampDistance;  // from the log's time
    bool recent;

    friend void PrintTo(const BorderRow& row, std::ostream* out) { *out << row.name; }
};

class UsberrLogBorderTest : public UsberrLogAreaTest, public testing::WithParamInterface<BorderRow> {};

TEST_P(UsberrLogBorderTest, TheStampDecidesBetweenRecentAndPast) {
    WriteLog(kTwoEpisodes);
    SetStartupStamp(kLogTime + GetParam().stampDistance);
    Read(kUsberrPageOpened);
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), GetParam().recent ? kRecentSummary : kPastSummary);
    EXPECT_EQ(Log(), GetParam().recent ? kNewText : Wide(kTwoEpisodes));
}

INSTANTIATE_TEST_SUITE_P(Rows, UsberrLogBorderTest,
                         testing::Values(BorderRow{"NeverStarted", -kLogTime, true},
                                         BorderRow{"OneEarlier", -1, true},
                                         BorderRow{"AtTheSameTime", 0, false},
                                         BorderRow{"OneLater", 1, false},
                                         BorderRow{"LaterTheSameDay", 3'600'000, false}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsberrLogAreaTest, WithoutAStampErrorsAreRecent) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kRecentSummary);
}

// ---- the choice of the view ----

TEST_F(UsberrLogAreaTest, AnUpdateFollowsTheCheckedButton) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    Check(IDC_USBD_SHOW_PAST);
    Read(kUsberrUpdate);
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
    EXPECT_TRUE(IsEnabled(IDC_USBD_SHOW_RECENT));
    Check(IDC_USBD_SHOW_RECENT);
    Read(kUsberrUpdate);
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsberrLogAreaTest, RecentCanBeForced) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    Check(IDC_USBD_SHOW_PAST);
    Read(kUsberrShowRecent);
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsberrLogAreaTest, SavingForcesTheWholeLog) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    Read(kUsberrBeforeSaving);
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
}

TEST_F(UsberrLogAreaTest, AStartThatSucceedsTurnsRecentErrorsIntoPastOnes) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    SetFocus(Control(IDC_USBD_SHOW_RECENT));
    SetStartupStamp(kLogTime);
    Read(kUsberrUpdate);
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kPastSummary);
    EXPECT_TRUE(IsChecked(IDC_USBD_SHOW_PAST));
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
    EXPECT_EQ(GetFocus(), Control(IDC_USBD_SHOW_PAST));
}

TEST_F(UsberrLogAreaTest, TheFirstLogOfAnOpenPageLeavesAButtonChecked) {
    Read(kUsberrPageOpened);
    WriteLog(kTwoEpisodes);
    Read(kUsberrUpdate);
    EXPECT_TRUE(IsChecked(IDC_USBD_SHOW_PAST));
    EXPECT_EQ(Log(), Wide(kTwoEpisodes));
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), kRecentSummary);
}

TEST_F(UsberrLogAreaTest, WithoutASeparatorBothViewsShowTheWholeLog) {
    WriteLog("no episode at all\r\n");
    Read(kUsberrPageOpened);
    EXPECT_EQ(Log(), L"no episode at all\r\n");
    Check(IDC_USBD_SHOW_PAST);
    Read(kUsberrUpdate);
    EXPECT_EQ(Log(), L"no episode at all\r\n");
}

// ---- what happens between two ticks ----

TEST_F(UsberrLogAreaTest, AnUpdateWithoutNewsKeepsTheScrollPositionAndRepaintsNothing) {
    std::string lines = kOldEpisode;
    for (int line = 0; line < 500; ++line)
        lines += "line\r\n";
    WriteLog(lines);
    Read(kUsberrPageOpened);
    SendMessageW(Control(IDC_USBD_LOG_TEXT), EM_LINESCROLL, 0, 200);
    const LRESULT first = SendMessageW(Control(IDC_USBD_LOG_TEXT), EM_GETFIRSTVISIBLELINE, 0, 0);
    ASSERT_EQ(first, 200);
    PumpPendingMessages();
    UpdateWindow(page_.get());
    Read(kUsberrUpdate);
    EXPECT_EQ(SendMessageW(Control(IDC_USBD_LOG_TEXT), EM_GETFIRSTVISIBLELINE, 0, 0), first);
    for (const int id : {1043, 1044, 1039, 1040, 1046, 1042})
        EXPECT_FALSE(GetUpdateRect(Control(id), nullptr, FALSE)) << id;
}

TEST_F(UsberrLogAreaTest, ARewrittenLogIsShownAnew) {
    WriteLog(kOldEpisode);
    Read(kUsberrPageOpened);
    WriteLog(kTwoEpisodes, kLogTime + 1000);
    Read(kUsberrUpdate);
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsberrLogAreaTest, ADeletedLogHidesTheControlsAndItsReturnShowsTheNewText) {
    WriteLog(kOldEpisode);
    Read(kUsberrPageOpened);
    SetFocus(Control(IDC_USBD_LOG_TEXT));
    DeleteFileW(path_);
    EXPECT_TRUE(Read(kUsberrUpdate));
    ExpectShown(false);
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), L"");
    EXPECT_EQ(GetFocus(), Control(IDC_FILE_LOGGING));
    WriteLog(kTwoEpisodes);  // of the same time as the old one
    Read(kUsberrUpdate);
    ExpectShown(true);
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsberrLogAreaTest, ALockedLogIsSaidToBeUnreadableUntilItIsFree) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    {
        const FileHandle lock = LockLog();
        ASSERT_TRUE(lock);
        REPLACE_CALL(size, GetFileSizeEx, [](HANDLE file, LARGE_INTEGER* bytes) {
            EXPECT_TRUE(file != nullptr && file != INVALID_HANDLE_VALUE);
            return GetFileSizeEx(file, bytes);
        });
        EXPECT_TRUE(Read(kUsberrUpdate));
        EXPECT_EQ(Log(), L"Unexpect! Error reading logfile: '" + std::wstring(path_) + L"'");
        ExpectShown(true);
        SaveScreenshot(page_.get(), L"usberr_log_area_unreadable");
    }
    Read(kUsberrUpdate);
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsberrLogAreaTest, ALogThatItsWriterHoldsOpenIsShown) {
    WriteLog(kTwoEpisodes);
    const FileHandle writer(CreateFileW(path_, GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(writer);
    Read(kUsberrPageOpened);
    EXPECT_EQ(Log(), kNewText);
}

TEST_F(UsberrLogAreaTest, AnUnreadableLogOnOpeningLeavesTheSummaryAsItWas) {
    WriteLog(kTwoEpisodes);
    const FileHandle lock = LockLog();
    EXPECT_TRUE(Read(kUsberrPageOpened));
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), L"");
    EXPECT_FALSE(IsChecked(IDC_USBD_SHOW_RECENT) || IsChecked(IDC_USBD_SHOW_PAST));
}

TEST_F(UsberrLogAreaTest, WithoutAnInstanceIdTheUpdateFailsAndTouchesNothing) {
    WriteLog(kTwoEpisodes);
    ReplacedCall<SetupDiGetDeviceInstanceIdW> id("SetupDiGetDeviceInstanceIdW",
                                                 [](HDEVINFO, SP_DEVINFO_DATA*, WCHAR*, DWORD, DWORD*) {
                                                     SetLastError(ERROR_INVALID_DATA);
                                                     return FALSE;
                                                 });
    EXPECT_FALSE(Read(kUsberrPageOpened));
    EXPECT_EQ(Log(), L"");
}

// ---- sizes ----

struct SizeRow {
    const char* name;
    size_t bytes;
    size_t shownChars;

    friend void PrintTo(const SizeRow& row, std::ostream* out) { *out << row.name; }
};

class UsberrLogSizeTest : public UsberrLogAreaTest, public testing::WithParamInterface<SizeRow> {};

// One endless line would cost the control a minute to break.
std::string LinesOf(size_t bytes) {
    std::string text;
    while (text.size() < bytes)
        text += "2026-03-16 14:06:40 a line of the log\r\n";
    text.resize(bytes);
    return text;
}

TEST_P(UsberrLogSizeTest, ShowsTheTail) {
    WriteLog(LinesOf(GetParam().bytes));
    Read(kUsberrPageOpened);
    EXPECT_EQ(Log().size(), GetParam().shownChars);
    ExpectShown(true);
}

INSTANTIATE_TEST_SUITE_P(Rows, UsberrLogSizeTest,
                         testing::Values(SizeRow{"Empty", 0, 0}, SizeRow{"Whole63999", 63'999, 63'999},
                                         SizeRow{"Of64000", 64'000, 63'999},
                                         SizeRow{"Of64001", 64'001, 63'999}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsberrLogAreaTest, OfAHugeLogTheLastEpisodeIsShownWithoutReadingTheRest) {
    {
        const FileHandle file(CreateFileW(path_, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        DWORD written = 0;
        SetFilePointer(file.get(), 100'000'000, nullptr, FILE_BEGIN);
        // NUL bytes end the text, so the tail is filled.
        const std::string tail = std::string(64'000 - kNewEpisode.size(), 'a') + kNewEpisode;
        WriteFile(file.get(), tail.data(), static_cast<DWORD>(tail.size()), &written, nullptr);
        SetTime(file.get(), kLogTime);
    }
    DWORD bytesRead = 0;
    ReplacedCall<ReadFile> read(
        "ReadFile", [&](HANDLE handle, void* buffer, DWORD bytes, DWORD* done, OVERLAPPED* overlapped) {
            bytesRead += bytes;
            return ReadFile(handle, buffer, bytes, done, overlapped);
        });
    Read(kUsberrPageOpened);
    EXPECT_EQ(Log(), std::wstring(kNewText).substr(0, wcslen(kNewText) - 1));  // 63,999 characters of 64,000
    EXPECT_EQ(bytesRead, 64'000u);
}

// ---- clearing ----

TEST_F(UsberrLogAreaTest, ClearingDeletesTheLogAfterYes) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    EXPECT_TRUE(ClearUsberrLog(page_.get()));
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Delete all USB error messages for this USB device?");
    EXPECT_EQ(modal_.boxes()[0].Buttons().size(), 2u);
    EXPECT_EQ(GetFileAttributesW(path_), INVALID_FILE_ATTRIBUTES);
}

TEST_F(UsberrLogAreaTest, AClearThatFailsSaysSo) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    REPLACE_CALL(deleteFile, DeleteFileW, [](const wchar_t*) {
        SetLastError(ERROR_SHARING_VIOLATION);
        return FALSE;
    });
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_FALSE(ClearUsberrLog(page_.get()));
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(modal_.boxes()[1].text, L"Fail to delete \n\n" + std::wstring(path_) + L"\n\nWinErr=32");
    EXPECT_EQ(modal_.boxes()[1].icon, UINT{MB_ICONERROR});
    EXPECT_EQ(modal_.boxes()[1].owner, frame_.get());
    ExpectShown(true);
}

TEST_F(UsberrLogAreaTest, ClearingALogThatIsGoneSaysNothing) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    DeleteFileW(path_);
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    EXPECT_TRUE(ClearUsberrLog(page_.get()));
    EXPECT_EQ(modal_.boxes().size(), 1u);
}

TEST_F(UsberrLogAreaTest, ClearingLeavesTheLogAfterNo) {
    WriteLog(kTwoEpisodes);
    Read(kUsberrPageOpened);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    EXPECT_FALSE(ClearUsberrLog(page_.get()));
    EXPECT_NE(GetFileAttributesW(path_), INVALID_FILE_ATTRIBUTES);
}

TEST_F(UsberrLogAreaTest, ClearingWithoutAPathSaysSo) {
    WriteLog(kTwoEpisodes);
    ReplacedCall<SetupDiGetDeviceInstanceIdW> id(
        "SetupDiGetDeviceInstanceIdW",
        [](HDEVINFO, SP_DEVINFO_DATA*, WCHAR*, DWORD, DWORD*) { return FALSE; });
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    ClearUsberrLog(page_.get());
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(modal_.boxes()[1].text, L"Unexpect! Error getting Usberr log filepath.");
    EXPECT_NE(GetFileAttributesW(path_), INVALID_FILE_ATTRIBUTES);
}

TEST_F(UsberrLogAreaTest, APageThatClosesDuringTheQuestionDeletesNothing) {
    WriteLog(kTwoEpisodes);
    const HWND page = page_.get();
    modal_.ExpectBox(L"TAVIX Message").Do([&](BoxView& box) {
        SetWindowLongPtrW(page, DWLP_USER, 0);  // as after the page's release
        box.Press(IDYES);
    });
    EXPECT_FALSE(ClearUsberrLog(page));
    EXPECT_EQ(modal_.boxes().size(), 1u);
    EXPECT_NE(GetFileAttributesW(path_), INVALID_FILE_ATTRIBUTES);
}

// ---- saving ----

class UsberrLogSaveTest : public UsberrLogAreaTest {
  protected:
    void SetUp() override {
        UsberrLogAreaTest::SetUp();
        WriteLog(kTwoEpisodes);
        Read(kUsberrPageOpened);
    }
    void TearDown() override {
        DeleteFileW(destination_);
        UsberrLogAreaTest::TearDown();
    }
    void UseFixedTime() {
        time_ = std::make_unique<ReplacedCall<GetLocalTime>>(
            "GetLocalTime", [](SYSTEMTIME* now) { *now = {2026, 3, 1, 16, 14, 25, 1, 0}; });
        ASSERT_TRUE(UsberrSavePath(path_, {2026, 3, 1, 16, 14, 25, 1, 0}, destination_));
    }
    std::wstring SavedText() const {
        HeapText text;
        EXPECT_TRUE(ReadUsberrTail(destination_, text));
        return TextOf(text);
    }
    std::wstring SavedQuestion() const {
        return L"Logfile saved to:\n\n" + std::wstring(destination_) + L"\n\nOpen that folder?";
    }

    wchar_t destination_[kUsberrPathChars] = {};

  private:
    std::unique_ptr<ReplacedCall<GetLocalTime>> time_;
};

TEST_F(UsberrLogSaveTest, CopiesToTheProfileFolderAndAsks) {
    UseFixedTime();
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    SaveUsberrLog(page_.get(), *params_);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, SavedQuestion());
    wchar_t profile[MAX_PATH];
    GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH);
    EXPECT_EQ(std::wstring(destination_),
              std::wstring(profile) + L"\\20260316_142501-usberr_USB#VID_1234&PID_5678#LOGAREA.log");
    EXPECT_EQ(SavedText(), Wide(kTwoEpisodes));
}

TEST_F(UsberrLogSaveTest, OverwritesAnOlderCopy) {
    UseFixedTime();
    ASSERT_TRUE(CopyFileW(L"C:\\windows\\system.ini", destination_, FALSE) ||
                CopyFileW(L"C:\\windows\\win.ini", destination_, FALSE));
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    SaveUsberrLog(page_.get(), *params_);
    EXPECT_EQ(SavedText(), Wide(kTwoEpisodes));
}

TEST_F(UsberrLogSaveTest, YesShowsTheCopyInTheExplorer) {
    UseFixedTime();
    std::wstring file;
    std::wstring parameters;
    SHELLEXECUTEINFOW asked = {};
    ReplacedCall<ShellExecuteExW> shell("ShellExecuteExW", [&](SHELLEXECUTEINFOW* info) {
        asked = *info;
        file = info->lpFile;
        parameters = info->lpParameters;
        return TRUE;
    });
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    SaveUsberrLog(page_.get(), *params_);
    ASSERT_EQ(shell.calls(), 1);
    EXPECT_EQ(file, L"Explorer.exe");
    EXPECT_EQ(parameters, L"/select," + std::wstring(destination_));
    EXPECT_EQ(asked.nShow, SW_SHOW);
    EXPECT_EQ(asked.hwnd, page_.get());
    EXPECT_EQ(asked.cbSize, sizeof(SHELLEXECUTEINFOW));
}

TEST_F(UsberrLogSaveTest, NoStartsNoExplorer) {
    UseFixedTime();
    ReplacedCall<ShellExecuteExW> shell("ShellExecuteExW", [](SHELLEXECUTEINFOW*) { return TRUE; });
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    SaveUsberrLog(page_.get(), *params_);
    EXPECT_EQ(shell.calls(), 0);
}

TEST_F(UsberrLogSaveTest, AFailedCopyNamesBothPathsAndTheError) {
    UseFixedTime();
    DeleteFileW(path_);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    SaveUsberrLog(page_.get(), *params_);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text,
              L"Fail to copy \n\n" + std::wstring(path_) + L"\n\nto\n\n" + destination_ + L"\n\nWinErr=2");
    EXPECT_EQ(modal_.boxes()[0].icon, UINT{MB_ICONERROR});
}

TEST_F(UsberrLogSaveTest, WithoutAPathNothingIsCopied) {
    ReplacedCall<SetupDiGetDeviceInstanceIdW> id(
        "SetupDiGetDeviceInstanceIdW",
        [](HDEVINFO, SP_DEVINFO_DATA*, WCHAR*, DWORD, DWORD*) { return FALSE; });
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    SaveUsberrLog(page_.get(), *params_);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Unexpect! Error getting Usberr log filepath.");
}

TEST_F(UsberrLogAreaTest, LeavesNothingBehindOverManyUpdates) {
    WriteLog(kTwoEpisodes);
    ExpectNoLeaks(
        [&] {
            Check(IDC_USBD_SHOW_RECENT);
            Read(kUsberrUpdate);
            Check(IDC_USBD_SHOW_PAST);
            Read(kUsberrUpdate);
        },
        40);
}

}  // namespace
