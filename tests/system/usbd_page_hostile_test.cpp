// The USB device page on what no well-behaved system gives it: it says so and stays usable.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "base/windows_api.h"

#include <setupapi.h>
#include <shellapi.h>

#include "state/device_values.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/usbd_page_fixture.h"

namespace {

constexpr wchar_t kRecentSummary[] = L"You have recent USB device startup errors.";
constexpr wchar_t kPastSummary[] = L"You have USB startup errors in the past.";
constexpr wchar_t kCannotTell[] = L"Error occurs while checking for USB error reason.";

class UsbdPageHostileTest : public UsbdPageTest {
  protected:
    std::wstring ReadError() const {
        return L"Unexpect! Error reading logfile: '" + std::wstring(logPath_) + L"'";
    }
    void ExpectUsable() {
        EXPECT_TRUE(page_.IsEnabled(IDC_FILE_LOGGING));
        SetPresence(false);
        Tick();
        EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is disconnected.");
    }
};

// ---- the log's path ----

TEST_F(UsbdPageHostileTest, ADirectoryInTheLogsPlaceIsNoLog) {
    ASSERT_TRUE(CreateDirectoryW(logPath_, nullptr));
    OpenPage();
    EXPECT_FALSE(page_.IsShown(IDC_USBD_LOG_TEXT));
    ExpectUsable();
    EXPECT_TRUE(RemoveDirectoryW(logPath_));
}

// A link of the host, which this platform follows. Its programs run here too, but cannot be waited for: the
// command makes a file last.
class HostLink {
  public:
    explicit HostLink(const wchar_t* path) : link_(UnixName(path)) {
        if (IsSupported()) Run(L"ln -s /nowhere/at/all '" + link_ + L"'");
    }
    ~HostLink() {
        if (IsSupported()) Run(L"rm -f '" + link_ + L"'");
    }
    bool IsSupported() const { return !link_.empty(); }

  private:
    static std::wstring UnixName(const wchar_t* path) {
        using Convert = char*(CDECL*)(LPCWSTR);
        const auto convert = reinterpret_cast<Convert>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
        char* const name = convert != nullptr ? convert(path) : nullptr;
        if (name == nullptr) return {};
        const std::wstring text = Wide(name);
        HeapFree(GetProcessHeap(), 0, name);
        return text;
    }
    static void Run(const std::wstring& what) {
        wchar_t folder[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, folder);
        const std::wstring done = std::wstring(folder) + L"usbd_page_host_link.txt";
        DeleteFileW(done.c_str());
        std::wstring command =
            L"Z:\\bin\\sh -c \"" + what + L"; echo done > '" + UnixName(done.c_str()) + L"'\"";
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &startup, &process))
            << GetLastError();
        const KernelHandle thread(process.hThread);
        const KernelHandle shell(process.hProcess);
        EXPECT_TRUE(WaitUntil("the host's command",
                              [&] { return GetFileAttributesW(done.c_str()) != INVALID_FILE_ATTRIBUTES; }));
        EXPECT_TRUE(WaitUntil("the marker to go", [&] { return DeleteFileW(done.c_str()) != FALSE; }));
    }

    std::wstring link_;
};

TEST_F(UsbdPageHostileTest, ALinkToNothingIsNoLog) {
    const HostLink link(logPath_);
    if (!link.IsSupported()) GTEST_SKIP() << "needs links of the host";
    EXPECT_FALSE(
        FileHandle(CreateFileW(logPath_, GENERIC_READ, FILE_SHARE_READ, nullptr, CREATE_NEW, 0, nullptr)));
    OpenPage();
    EXPECT_FALSE(page_.IsShown(IDC_USBD_LOG_TEXT));
    ExpectUsable();
}

TEST_F(UsbdPageHostileTest, ALogDeletedBetweenTwoCallsIsUnreadableForATick) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    {
        int openings = 0;
        ReplacedCall<CreateFileW> open(
            "CreateFileW", [&](LPCWSTR path, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES* security,
                               DWORD disposition, DWORD flags, HANDLE pattern) {
                if (std::wstring(path) == logPath_ && ++openings == 2) DeleteFileW(logPath_);
                return CreateFileW(path, access, sharing, security, disposition, flags, pattern);
            });
        Tick();
        EXPECT_EQ(openings, 2);
    }
    EXPECT_EQ(Log(), ReadError());
    Tick();
    EXPECT_FALSE(page_.IsShown(IDC_USBD_LOG_TEXT));
    ExpectUsable();
}

TEST_F(UsbdPageHostileTest, ALockedLogIsNamed) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    ReplacedCall<ReadFile> read("ReadFile", [](HANDLE, void*, DWORD, DWORD*, OVERLAPPED*) {
        SetLastError(ERROR_LOCK_VIOLATION);
        return FALSE;
    });
    Tick();
    EXPECT_EQ(Log(), ReadError());
    ExpectUsable();
}

// ---- instance IDs ----

class UsbdPageIdTest : public UsbdPageHostileTest {
  protected:
    // The platform's own limit is lower than what its interface allows.
    void UseInstanceId(const std::wstring& id) {
        id_.reset();
        id_ = std::make_unique<ReplacedCall<SetupDiGetDeviceInstanceIdW>>(
            "SetupDiGetDeviceInstanceIdW",
            [id](HDEVINFO, SP_DEVINFO_DATA*, WCHAR* buffer, DWORD chars, DWORD*) {
                if (id.size() >= chars) {
                    SetLastError(ERROR_INSUFFICIENT_BUFFER);
                    return FALSE;
                }
                std::copy(id.c_str(), id.c_str() + id.size() + 1, buffer);
                return TRUE;
            });
    }
    void TearDown() override {
        id_.reset();
        UsbdPageHostileTest::TearDown();
    }

  private:
    std::unique_ptr<ReplacedCall<SetupDiGetDeviceInstanceIdW>> id_;
};

TEST_F(UsbdPageIdTest, TheLongestIdThatFitsOpensThePage) {
    UseInstanceId(L"USB\\" + std::wstring(255, L'x'));
    OpenPage();
    EXPECT_TRUE(modal_.boxes().empty());
    EXPECT_FALSE(page_.IsShown(IDC_USBD_LOG_TEXT));
    EXPECT_TRUE(params_->timerRunning);
    ExpectUsable();
}

TEST_F(UsbdPageIdTest, ALongerIdIsReportedAndEndsTheRefresh) {
    for (const size_t chars : {size_t{260}, size_t{300}}) {
        UseInstanceId(L"USB\\" + std::wstring(chars - 4, L'x'));
        modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
            SaveScreenshot(nullptr, L"usbd_page_no_log_path");
            box.Press(IDOK);
        });
        OpenPage();
        ASSERT_FALSE(modal_.boxes().empty());
        EXPECT_EQ(modal_.boxes().back().text, kCannotTell);
        EXPECT_EQ(modal_.boxes().back().icon, UINT{MB_ICONERROR});
        EXPECT_FALSE(params_->timerRunning);
        EXPECT_EQ(Text(IDC_USBD_MAPPING),
                  L"This USB device maps to " + std::wstring(device_.portName) + L" .");
        EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
        EXPECT_TRUE(page_.IsEnabled(IDC_FILE_LOGGING));
        EXPECT_EQ(Text(IDC_USBD_STATUS), L"");
        EXPECT_EQ(TakeRequests(), (std::vector<std::wstring>{L"GetLogCfg", L"GetVcomCfg"}));
        ClosePage();
        MakeParams();
    }
}

TEST_F(UsbdPageIdTest, AnIdThatBecomesUnreadableLeavesWhatIsShown) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    const std::wstring status = Text(IDC_USBD_STATUS);
    UseInstanceId(std::wstring(300, L'x'));
    Tick();
    EXPECT_EQ(Text(IDC_USBD_STATUS), status);
    EXPECT_EQ(Log(), kNewText);
    EXPECT_FALSE(page_.IsEnabled(IDC_USBD_OPEN_VCOM));
    EXPECT_TRUE(modal_.boxes().empty());
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    page_.Click(IDC_USBD_SAVE_TO_FILE);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Unexpect! Error getting Usberr log filepath.");
}

TEST_F(UsbdPageIdTest, EveryCharacterOfAnIdStandsInTheFilesName) {
    // All that Windows allows in an instance ID; a file's name does not take each of them.
    std::wstring allowed;
    for (wchar_t character = L'!'; character < 0x7F; ++character)
        if (std::wstring(L",/:*?\"<>|").find(character) == std::wstring::npos) allowed += character;
    const std::wstring id = L"USB\\" + allowed.substr(0, 40) + L"\\" + allowed.substr(40);
    std::wstring name = id;
    std::replace(name.begin(), name.end(), L'\\', L'#');
    const std::wstring path = L"C:\\windows\\System32\\QrvTavix\\usberr\\usberr_" + name + L".log";
    {
        const FileHandle file(
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        ASSERT_TRUE(file) << GetLastError();
        DWORD written = 0;
        WriteFile(file.get(), kNewEpisode, sizeof(kNewEpisode) - 1, &written, nullptr);
    }
    UseInstanceId(id);
    OpenPage();
    EXPECT_EQ(Log(), kNewText);
    EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_F(UsbdPageIdTest, AnIdThatNoFileCanBeNamedAfterHasNoLog) {
    for (const wchar_t character : std::wstring(L",/:*?\"<>|%&")) {
        UseInstanceId(std::wstring(L"USB\\a") + character + L"b\\1");
        OpenPage();
        EXPECT_FALSE(page_.IsShown(IDC_USBD_LOG_TEXT)) << int{character};
        EXPECT_TRUE(params_->timerRunning);
        ClosePage();
        MakeParams();
    }
    EXPECT_TRUE(modal_.boxes().empty());
}

// ---- the stamp ----

struct StampRow {
    const char* name;
    DWORD type;
    std::vector<BYTE> bytes;
    const wchar_t* summary;

    friend void PrintTo(const StampRow& row, std::ostream* out) { *out << row.name; }
};

std::vector<BYTE> BytesOf(int64_t number) {
    const auto* bytes = reinterpret_cast<const BYTE*>(&number);
    return {bytes, bytes + sizeof(number)};
}

class UsbdPageStampTest : public UsbdPageHostileTest, public testing::WithParamInterface<StampRow> {};

TEST_P(UsbdPageStampTest, AnOddStampStillDecides) {
    const StampRow& row = GetParam();
    WriteLog(kTwoEpisodes);
    ASSERT_EQ(RegSetValueExW(HardwareKey().get(), kDevLastStartupSuccess, 0, row.type, row.bytes.data(),
                             static_cast<DWORD>(row.bytes.size())),
              ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_STARTUP_SUMMARY), row.summary);
    ExpectUsable();
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsbdPageStampTest,
    testing::Values(StampRow{"Text", REG_SZ, {'1', 0, 0, 0}, kRecentSummary},
                    StampRow{"Number32", REG_DWORD, {0xFF, 0xFF, 0xFF, 0xFF}, kRecentSummary},
                    StampRow{"Binary", REG_BINARY, BytesOf(kLogTime + 1), kRecentSummary},
                    StampRow{"Short", REG_QWORD, {0xFF, 0xFF, 0xFF, 0xFF}, kRecentSummary},
                    StampRow{"InTheFuture", REG_QWORD, BytesOf(4'102'444'800'000), kPastSummary},
                    StampRow{"EndOfTime", REG_QWORD, BytesOf(INT64_MAX), kPastSummary},
                    StampRow{"Before1970", REG_QWORD, BytesOf(-1), kRecentSummary}),
    [](const auto& row) { return std::string(row.param.name); });

// ---- what the driver says ----

TEST_F(UsbdPageHostileTest, RepliesOfOtherLengthsCountAsFarAsTheyCame) {
    for (const uint32_t bytes : {0u, 1u, 3u, 4u, 7u, 8u, 9u, 12u, 39u, 40u, 551u, 552u, 553u, 5000u}) {
        ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetVcomCfg, bytes), ERROR_SUCCESS);
        OpenPage();
        EXPECT_EQ(Text(IDC_USBD_MAPPING).rfind(L"This USB device maps to ", 0), 0u) << bytes;
        ClosePage();
        MakeParams();
    }
}

TEST_F(UsbdPageHostileTest, OnlyAWholeLoggingReplyIsLoggingOn) {
    LogCfg_st log = {};
    log.fileLogging = 1;
    ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
    for (uint32_t bytes = 0; bytes <= sizeof(log); ++bytes) {
        ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetLogCfg, bytes), ERROR_SUCCESS);
        OpenPage();
        EXPECT_EQ(page_.IsChecked(IDC_FILE_LOGGING), bytes == sizeof(log)) << bytes;
        EXPECT_EQ(Text(IDC_USBD_STATUS), L"USB device is connected and working. (High speed)") << bytes;
        ClosePage();
        MakeParams();
    }
}

TEST_F(UsbdPageHostileTest, ANameWithoutAnEndStaysInItsField) {
    VcomCfgReply_st reply = {};
    std::fill(std::begin(reply.portName), std::end(reply.portName), L'x');
    ASSERT_EQ(
        driver_.AnswerNext(IOCTL_TAVIX_GetVcomCfg, {reinterpret_cast<const uint8_t*>(&reply), sizeof(reply)}),
        ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"This USB device maps to " + std::wstring(15, L'x') + L" .");
}

TEST_F(UsbdPageHostileTest, AHuidOfAnyLengthIsSentCut) {
    ASSERT_EQ(RegSetValueExW(HardwareKey().get(), kDevNowHuid, 0, REG_SZ,
                             reinterpret_cast<const BYTE*>(std::wstring(400, L'h').c_str()), 802),
              ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(Text(IDC_USBD_MAPPING), L"Get PortName meets UfAppErr: 6 (UfAppErr_WrongHuid)");
    ExpectUsable();
}

// ---- a sheet that goes away during a question ----

HWND g_frameToDestroy = nullptr;
std::atomic<bool> g_boxWasRead = false;

// Expects the question and takes the page and its frame away once it has been read.
void DestroyWithTheQuestion(ModalDriver& modal, HWND frame) {
    g_frameToDestroy = frame;
    g_boxWasRead = false;
    modal.ExpectBox(L"TAVIX Message").DoAndLeaveOpen([](BoxView&) { g_boxWasRead = true; });
    SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR timer, DWORD) {
        if (!g_boxWasRead) return;
        KillTimer(nullptr, timer);
        DestroyWindow(g_frameToDestroy);
    });
}

TEST_F(UsbdPageHostileTest, ASheetDestroyedDuringTheQuestionClearsNothing) {
    WriteLog(kTwoEpisodes);
    OpenPage();
    DestroyWithTheQuestion(modal_, frame_.get());
    page_.Click(IDC_USBD_CLEAR);
    EXPECT_FALSE(IsWindow(frame_.release()));
    EXPECT_EQ(modal_.boxes().size(), 1u);
    EXPECT_NE(GetFileAttributesW(logPath_), INVALID_FILE_ATTRIBUTES);
}

TEST_F(UsbdPageHostileTest, ASheetDestroyedDuringTheQuestionOpensNoFolder) {
    WriteLog(kTwoEpisodes);
    std::wstring copy;
    ReplacedCall<CopyFileW> copying("CopyFileW", [&](LPCWSTR, LPCWSTR destination, BOOL) {
        copy = destination;
        return TRUE;
    });
    ReplacedCall<ShellExecuteExW> shell("ShellExecuteExW", [](SHELLEXECUTEINFOW*) { return TRUE; });
    OpenPage();
    DestroyWithTheQuestion(modal_, frame_.get());
    page_.Click(IDC_USBD_SAVE_TO_FILE);
    EXPECT_FALSE(IsWindow(frame_.release()));
    EXPECT_EQ(modal_.boxes().size(), 1u);
    EXPECT_NE(copy, L"");
    EXPECT_EQ(shell.calls(), 0);
}

TEST_F(UsbdPageHostileTest, ASheetDestroyedDuringTheQuestionSwitchesNoLogging) {
    OpenPage();
    DestroyWithTheQuestion(modal_, frame_.get());
    page_.Click(IDC_FILE_LOGGING);
    EXPECT_FALSE(IsWindow(frame_.release()));
    LogCfg_st log = {};
    ASSERT_EQ(driver_.QueryLogCfg(log), ERROR_SUCCESS);
    EXPECT_EQ(log.fileLogging, 0u);
}

}  // namespace
