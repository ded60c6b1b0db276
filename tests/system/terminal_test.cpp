// Opening a VCOM in the terminal program, step by step on the simulated driver.
#include "tools/terminal.h"

#include <thread>

#include "tests/support/held_keys.h"
#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/support/screenshot.h"
#include "tests/support/temporary_file.h"
#include "tests/support/wait_until.h"
#include "tests/system/terminal_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

const int kLaunches = RunsOf(15, 1000);

TEST_F(TerminalTest, IsNotInstalledWithoutItsProgram) {
    EXPECT_FALSE(IsTerminalInstalled());
    ASSERT_TRUE(CreateDirectoryW(package_.File(L"putty-x64.exe").c_str(), nullptr));
    EXPECT_FALSE(IsTerminalInstalled()) << "a folder is no program";
    RemoveDirectoryW(package_.File(L"putty-x64.exe").c_str());
    InstallTerminal();
    EXPECT_TRUE(IsTerminalInstalled());
}

TEST_F(TerminalTest, HasAnotherNameOnA32BitSystem) {
    InstallTerminal();
    REPLACE_CALL(system, GetNativeSystemInfo, [](SYSTEM_INFO* info) {
        *info = {};
        info->wProcessorArchitecture = PROCESSOR_ARCHITECTURE_INTEL;
    });
    EXPECT_FALSE(IsTerminalInstalled());
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Launch();
    EXPECT_EQ(BoxText(0), L"Putty EXE can not be found at: " + package_.File(L"putty.exe"));

    ASSERT_TRUE(CopyFileW(TAVIX_SIM_TERMINAL, package_.File(L"putty.exe").c_str(), FALSE));
    EXPECT_TRUE(IsTerminalInstalled());
    InstallTemplate();
    Launch();
    ASSERT_EQ(starts_.size(), 1u);
    EXPECT_EQ(starts_[0].file, package_.File(L"putty.exe"));
}

TEST_F(TerminalTest, AMissingProgramIsSaidBeforeAnythingIsAsked) {
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"terminal_missing");
        box.Press(IDOK);
    });
    Launch();
    EXPECT_EQ(BoxText(0), L"Putty EXE can not be found at: " + package_.File(L"putty-x64.exe"));
    EXPECT_EQ(modal_.boxes().at(0).icon, static_cast<UINT>(MB_ICONERROR));
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(TerminalTest, AFolderTooLongForTheProgramHasNone) {
    const std::wstring folder = L"C:\\" + std::wstring(247, L'f');
    REPLACE_CALL(name, GetModuleFileNameW, [&](HMODULE, LPWSTR path, DWORD chars) {
        wmemcpy(path, folder.c_str(), folder.size() + 1);
        wcscat(path, L"\\x.dll");
        return static_cast<DWORD>(std::min<size_t>(wcslen(path), chars));
    });
    REPLACE_CALL(attributes, GetFileAttributesW, [](LPCWSTR) { return DWORD{FILE_ATTRIBUTE_NORMAL}; });
    EXPECT_FALSE(IsTerminalInstalled()) << "the cut path may be that of another file";
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Launch();
    EXPECT_EQ(BoxText(0), L"Putty EXE can not be found at: " + (folder + L"\\putty-x64.exe").substr(0, 259));
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(TerminalTest, StartsWithTheSessionOfThePort) {
    InstallTerminal();
    InstallTemplate();
    Launch();
    EXPECT_EQ(SessionValue(L"HostName"), Port());
    EXPECT_EQ(SessionValue(L"SerialLine"), Port());
    EXPECT_EQ(SessionValue(L"WinTitle"), Title());
    EXPECT_EQ(Port(), L"COM5");
    EXPECT_EQ(SessionValue(L"Colour2"), L"80,80,0");
    ASSERT_EQ(starts_.size(), 1u);
    EXPECT_EQ(starts_[0].owner, page_.get());
    EXPECT_EQ(starts_[0].file, package_.File(L"putty-x64.exe"));
    EXPECT_EQ(starts_[0].parameters, L"-load TAVIX-VCOM");
    EXPECT_EQ(starts_[0].show, SW_SHOWNORMAL);
    EXPECT_EQ(starts_[0].mask, ULONG{SEE_MASK_FLAG_NO_UI}) << "a failure is said once, by us";
    EXPECT_EQ(TakeRequests(), Names{L"QueryVcomFdoPdo"});
    EXPECT_TRUE(modal_.boxes().empty());
}

TEST_F(TerminalTest, TakesItsStepsInOrder) {
    InstallTerminal();
    InstallTemplate();
    std::vector<std::string> steps;
    REPLACE_CALL(driver, DeviceIoControl,
                 [&](HANDLE device, DWORD code, LPVOID input, DWORD inputBytes, LPVOID output,
                     DWORD outputBytes, LPDWORD returned, LPOVERLAPPED overlapped) {
                     if (code == IOCTL_TAVIX_QueryVcomFdoPdo) steps.push_back("driver");
                     return DeviceIoControl(device, code, input, inputBytes, output, outputBytes, returned,
                                            overlapped);
                 });
    REPLACE_CALL(link, QueryDosDeviceW, [&](LPCWSTR name, LPWSTR target, DWORD chars) {
        EXPECT_EQ(name, Port());
        steps.push_back("link");
        return QueryDosDeviceW(name, target, chars);
    });
    REPLACE_CALL(name, GetTempFileNameW, [&](LPCWSTR folder, LPCWSTR prefix, UINT number, LPWSTR path) {
        steps.push_back("name");
        EXPECT_EQ(prefix, std::wstring(L"Tavix"));
        return GetTempFileNameW(folder, prefix, number, path);
    });
    REPLACE_CALL(read, ReadFile,
                 [&](HANDLE file, LPVOID bytes, DWORD count, LPDWORD done, LPOVERLAPPED overlapped) {
                     steps.push_back("read");
                     return ReadFile(file, bytes, count, done, overlapped);
                 });
    REPLACE_CALL(write, WriteFile,
                 [&](HANDLE file, LPCVOID bytes, DWORD count, LPDWORD done, LPOVERLAPPED overlapped) {
                     steps.push_back("write");
                     return WriteFile(file, bytes, count, done, overlapped);
                 });
    REPLACE_CALL(create, CreateProcessW,
                 [&](LPCWSTR application, LPWSTR line, LPSECURITY_ATTRIBUTES process,
                     LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment,
                     LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION started) {
                     steps.push_back("import");
                     EXPECT_NE(flags & CREATE_NO_WINDOW, 0u);
                     return CreateProcessW(application, line, process, thread, inherit, flags, environment,
                                           folder, startup, started);
                 });
    REPLACE_CALL(wait, WaitForSingleObject, [&](HANDLE handle, DWORD ms) {
        steps.push_back("wait");
        return WaitForSingleObject(handle, ms);
    });
    REPLACE_CALL(ended, GetExitCodeProcess, [&](HANDLE process, LPDWORD code) {
        steps.push_back("exit code");
        return GetExitCodeProcess(process, code);
    });
    REPLACE_CALL(remove, DeleteFileW, [&](LPCWSTR path) {
        steps.push_back("delete");
        return DeleteFileW(path);
    });
    REPLACE_CALL(find, FindWindowW, [&](LPCWSTR className, LPCWSTR title) {
        EXPECT_EQ(className, nullptr);
        EXPECT_EQ(title, Title());
        steps.push_back("find");
        return HWND{};
    });
    REPLACE_CALL(open, CreateFileW,
                 [&](LPCWSTR path, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES security,
                     DWORD disposition, DWORD flags, HANDLE file) {
                     if (path == L"\\\\.\\" + Port()) {
                         steps.push_back("open");
                         EXPECT_EQ(access, DWORD{GENERIC_READ | GENERIC_WRITE});
                         EXPECT_EQ(sharing, 0u);
                         EXPECT_EQ(disposition, DWORD{OPEN_EXISTING});
                         EXPECT_EQ(flags, DWORD{FILE_FLAG_OVERLAPPED});
                     }
                     return CreateFileHearingRefusal(path, access, sharing, security, disposition, flags,
                                                     file);
                 });
    REPLACE_CALL(start, ShellExecuteExW, [&](SHELLEXECUTEINFOW*) {
        steps.push_back("start");
        return TRUE;
    });
    Launch();
    EXPECT_EQ(steps, (std::vector<std::string>{"driver", "link", "read", "name", "write", "import", "wait",
                                               "exit code", "delete", "find", "open", "start"}));
}

TEST_F(TerminalTest, ThePortIsClosedAgainBeforeTheTerminalStarts) {
    InstallTerminal();
    InstallTemplate();
    uint32_t openHandles = 1;
    REPLACE_CALL(shell, ShellExecuteExW, [&](SHELLEXECUTEINFOW*) {
        openHandles = driver_.FindDevice(device_.huid).value_or(SimDeviceState_st{}).openCount;
        return TRUE;
    });
    Launch();
    EXPECT_EQ(openHandles, 0u);
}

TEST_F(TerminalTest, AStartThatFailsIsSaid) {
    InstallTerminal();
    InstallTemplate();
    startError_ = ERROR_ACCESS_DENIED;
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"terminal_not_started");
        box.Press(IDOK);
    });
    Launch();
    EXPECT_EQ(BoxText(0),
              L"Cannot start " + package_.File(L"putty-x64.exe") + L"\n\nWinErr=5(ERROR_ACCESS_DENIED)");
}

TEST_F(TerminalTest, WithoutATemplateNothingStarts) {
    InstallTerminal();
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"terminal_no_template");
        box.Press(IDOK);
    });
    Launch();
    EXPECT_EQ(BoxText(0), L"Cannot read file " + package_.File(L"putty-session.reg.template"));
    EXPECT_TRUE(starts_.empty());
}

// What reg.exe refuses is reported with its result; what it would import without the values is not given to
// it.
TEST_F(TerminalTest, ATemplateThatIsNoExportStartsNothing) {
    InstallTerminal();
    const std::wstring path = package_.File(L"putty-session.reg.template");
    const std::wstring refused = L"Cannot import the terminal session from " + path + L"\n\nreg.exe result=1";
    const std::wstring unread = L"Cannot read file " + path;
    const std::string ansiExport =
        "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\SimonTatham\\PuTTY\\Sessions\\TAVIX-VCOM]\r\n";
    const std::string withoutMark("n\0o\0 \0m\0a\0r\0k\0\r\0\n\0", 18);
    const std::pair<std::string, std::wstring> rows[] = {{withoutMark, refused}, {ansiExport, unread}};
    for (const auto& [content, message] : rows) {
        WriteWholeFile(path, {content.begin(), content.end()});
        modal_.ExpectBox(L"TAVIX Message").Do([&](BoxView& box) {
            SaveScreenshot(box.window(),
                           message == refused ? L"terminal_bad_template" : L"terminal_ansi_template");
            box.Press(IDOK);
        });
        Launch();
        EXPECT_EQ(BoxText(modal_.boxes().size() - 1), message);
        EXPECT_TRUE(starts_.empty());
        EXPECT_EQ(SessionValue(L"HostName"), L"");
    }
}

TEST_F(TerminalTest, WithoutATemporaryFolderNothingStarts) {
    InstallTerminal();
    InstallTemplate();
    const std::wstring missing = package_.File(L"missing\\");
    REPLACE_CALL(path, GetTempPathW, [&](DWORD, LPWSTR out) {
        wmemcpy(out, missing.c_str(), missing.size() + 1);
        return static_cast<DWORD>(missing.size());
    });
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"terminal_no_temporary_file");
        box.Press(IDOK);
    });
    Launch();
    EXPECT_EQ(BoxText(0), L"Error writing file " + missing);
    EXPECT_TRUE(starts_.empty());
}

// ---- the window that is open already

// A window of the title, with a thread of its own as another program's would be.
class OtherTerminal {
  public:
    OtherTerminal(const std::wstring& title, const std::vector<int>& shows)
        : thread_([&] { Run(title, shows); }) {
        WaitForSingleObject(shown_.get(), INFINITE);
    }
    ~OtherTerminal() {
        PostMessageW(window_, WM_CLOSE, 0, 0);
        thread_.join();
    }
    HWND window() const { return window_; }

  private:
    void Run(const std::wstring& title, const std::vector<int>& shows) {
        window_ = CreateWindowExW(0, L"STATIC", title.c_str(), WS_OVERLAPPEDWINDOW, 100, 100, 300, 200,
                                  nullptr, nullptr, nullptr, nullptr);
        for (const int show : shows)
            ShowWindow(window_, show);
        SetEvent(shown_.get());
        MSG message;
        while (IsWindow(window_) && GetMessageW(&message, nullptr, 0, 0) > 0)
            DispatchMessageW(&message);
    }

    KernelHandle shown_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    HWND window_ = nullptr;
    std::thread thread_;
};

constexpr char kShow[] = "show 5";
constexpr char kFront[] = "front";
constexpr char kRestore[] = "show 9";

struct WindowRow {
    const char* name;
    std::vector<int> shows;
    bool zoomedAfterwards;
    std::vector<std::string> steps;
};
void PrintTo(const WindowRow& row, std::ostream* out) {
    *out << row.name;
}

class RunningTerminalTest : public TerminalTest, public testing::WithParamInterface<WindowRow> {
  protected:
    void SetUp() override {
        TerminalTest::SetUp();
        InstallTerminal();
        InstallTemplate();
    }
};

TEST_P(RunningTerminalTest, IsBroughtToTheFront) {
    const OtherTerminal running(Title(), GetParam().shows);
    SetForegroundWindow(page_.get());
    Launch();
    EXPECT_TRUE(PumpUntil("the terminal to be in front", [&] {
        return GetForegroundWindow() == running.window() && IsWindowVisible(running.window()) &&
               !IsIconic(running.window()) &&
               (IsZoomed(running.window()) != FALSE) == GetParam().zoomedAfterwards;
    }));
    EXPECT_TRUE(starts_.empty());
    EXPECT_EQ(SessionValue(L"WinTitle"), Title()) << "the session is written before";
}

TEST_P(RunningTerminalTest, IsRestoredUnlessItIsMaximized) {
    const OtherTerminal running(Title(), GetParam().shows);
    std::vector<std::string> steps;
    REPLACE_CALL(show, ShowWindowAsync, [&](HWND window, int how) {
        EXPECT_EQ(window, running.window());
        steps.push_back("show " + std::to_string(how));
        return TRUE;
    });
    REPLACE_CALL(front, SetForegroundWindow, [&](HWND window) {
        EXPECT_EQ(window, running.window());
        steps.push_back(kFront);
        return TRUE;
    });
    Launch();
    EXPECT_EQ(steps, GetParam().steps);
}

INSTANTIATE_TEST_SUITE_P(
    States, RunningTerminalTest,
    testing::Values(WindowRow{"Normal", {SW_SHOWNORMAL}, false, {kShow, kFront, kRestore}},
                    WindowRow{"Hidden", {SW_HIDE}, false, {kShow, kFront, kRestore}},
                    WindowRow{"Minimized", {SW_SHOWMINIMIZED}, false, {kShow, kFront, kRestore}},
                    WindowRow{"Maximized", {SW_SHOWMAXIMIZED}, true, {kShow, kFront}},
                    WindowRow{"MinimizedFromMaximized",
                              {SW_SHOWMAXIMIZED, SW_SHOWMINIMIZED},
                              true,
                              {kShow, kFront, kRestore}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(TerminalTest, CtrlStartsASecondOne) {
    InstallTerminal();
    InstallTemplate();
    const OtherTerminal running(Title(), {SW_SHOWNORMAL});
    const HeldKeys keys({VK_CONTROL});
    Launch();
    EXPECT_EQ(starts_.size(), 1u);
}

TEST_F(TerminalTest, CtrlForcesNeitherASessionNorAPort) {
    InstallTerminal();
    const HeldKeys keys({VK_CONTROL});
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Launch();
    EXPECT_TRUE(starts_.empty()) << "without a template";

    InstallTemplate();
    ASSERT_EQ(driver_.SetOpenerPid(device_.huid, GetCurrentProcessId()), ERROR_SUCCESS);
    modal_.ExpectBox(L"VCOM open error").Press(IDOK);
    Launch();
    EXPECT_TRUE(starts_.empty()) << "on a port that is held";
}

TEST_F(TerminalTest, APortNameOfFullWidthWithQuotesIsWrittenWhole) {
    InstallTerminal();
    InstallTemplate();
    const std::wstring port = L"COM\"\\56789012345";
    ASSERT_EQ(port.size(), 16u);
    ToolHost host = Host();
    host.portName = port.c_str();
    modal_.ExpectBox(L"TAVIX problem detected").Press(IDOK);
    modal_.ExpectBox(L"VCOM open error").Press(IDOK);
    OpenVcomInTerminal(host);
    EXPECT_EQ(SessionValue(L"HostName"), port);
    EXPECT_EQ(SessionValue(L"WinTitle"), L"PuTTY - TAVIX " + port);
    EXPECT_TRUE(starts_.empty());
}

// A thousand launches, run by TAVIX_LONG_TESTS.
TEST_F(TerminalTest, LaunchesLeaveNothingInTheTemporaryFolder) {
    InstallTerminal();
    InstallTemplate();
    ScratchFolder temporary(L"temporary");
    REPLACE_CALL(path, GetTempPathW, [&](DWORD, LPWSTR out) {
        wmemcpy(out, temporary.path().c_str(), temporary.path().size() + 1);
        return static_cast<DWORD>(temporary.path().size());
    });
    int started = 0;
    REPLACE_CALL(shell, ShellExecuteExW, [&](SHELLEXECUTEINFOW*) {
        ++started;
        return TRUE;
    });
    ExpectNoLeaks([&] { Launch(); }, kLaunches);
    EXPECT_EQ(started, kLaunches + 1);
    EXPECT_TRUE(temporary.Entries().empty());
}

// The whole way with the program that the package brings along.
TEST_F(TerminalTest, TheTerminalShowsThePortItWasGiven) {
    InstallTerminal();
    InstallTemplate();
    HANDLE process = nullptr;
    REPLACE_CALL(shell, ShellExecuteExW, [&](SHELLEXECUTEINFOW* start) {
        start->fMask |= SEE_MASK_NOCLOSEPROCESS;
        const BOOL done = ReplacedCall<ShellExecuteExW>::Original(start);
        process = start->hProcess;
        return done;
    });
    Launch();
    const KernelHandle terminalProcess(process);
    HWND terminal = nullptr;
    ASSERT_TRUE(PumpUntil("the terminal", [&] {
        terminal = FindWindowW(L"TavixSimTerminal", Title().c_str());
        return terminal != nullptr && IsWindowVisible(terminal);
    }));
    SaveScreenshot(terminal, L"terminal");
    ShowWindow(terminal, SW_MINIMIZE);
    Launch();
    EXPECT_TRUE(PumpUntil("the terminal again", [&] { return !IsIconic(terminal); }));
    PostMessageW(terminal, WM_CLOSE, 0, 0);
    EXPECT_EQ(WaitForSingleObject(terminalProcess.get(), 10000), DWORD{WAIT_OBJECT_0});
}

}  // namespace
