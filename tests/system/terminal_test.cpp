// Opening a VCOM in the terminal program, step by step on the simulated driver.
#include "tools/terminal.h"

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
    ASSERT_TRUE(CopyFileW(TAVIX_SIM_TERMINAL, package_.File(L"putty.exe").c_str(), FALSE));
    EXPECT_TRUE(IsTerminalInstalled());
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
    REPLACE_CALL(link, QueryDosDeviceW, [&](LPCWSTR name, LPWSTR target, DWORD chars) {
        EXPECT_EQ(name, Port());
        steps.push_back("link");
        return QueryDosDeviceW(name, target, chars);
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
    Launch();
    EXPECT_EQ(steps, (std::vector<std::string>{"link", "import", "wait", "delete", "find", "open"}));
    EXPECT_EQ(starts_.size(), 1u);
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

// An ANSI export has another head; reg.exe refuses what is neither.
TEST_F(TerminalTest, ATemplateThatIsNotAnExportStartsNothing) {
    InstallTerminal();
    WriteWholeFile(package_.File(L"putty-session.reg.template"),
                   {'n', 'o', ' ', 'e', 'x', 'p', 'o', 'r', 't', '\n'});
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"terminal_bad_template");
        box.Press(IDOK);
    });
    Launch();
    EXPECT_EQ(BoxText(0), L"Cannot import the terminal session from " +
                              package_.File(L"putty-session.reg.template") + L"\n\nreg.exe result=1");
    EXPECT_TRUE(starts_.empty());
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

// A window of the title, in a thread of its own as another program's would be.
class OtherTerminal {
  public:
    explicit OtherTerminal(const std::wstring& title, int show)
        : window_(CreateWindowExW(0, L"STATIC", title.c_str(), WS_OVERLAPPEDWINDOW, 100, 100, 300, 200,
                                  nullptr, nullptr, nullptr, nullptr)) {
        ShowWindow(window_.get(), show);
    }
    HWND window() const { return window_.get(); }

  private:
    OwnedWindow window_;
};

struct WindowRow {
    const char* name;
    int show;
    bool zoomedAfterwards;
};
void PrintTo(const WindowRow& row, std::ostream* out) {
    *out << row.name;
}

class RunningTerminalTest : public TerminalTest, public testing::WithParamInterface<WindowRow> {};

TEST_P(RunningTerminalTest, IsBroughtToTheFront) {
    InstallTerminal();
    InstallTemplate();
    const OtherTerminal running(Title(), GetParam().show);
    SetForegroundWindow(page_.get());
    Launch();
    EXPECT_TRUE(PumpUntil("the terminal to be in front", [&] {
        return GetForegroundWindow() == running.window() && IsWindowVisible(running.window()) &&
               !IsIconic(running.window());
    }));
    EXPECT_EQ(IsZoomed(running.window()) != FALSE, GetParam().zoomedAfterwards);
    EXPECT_TRUE(starts_.empty());
    EXPECT_EQ(SessionValue(L"WinTitle"), Title()) << "the session is written before";
}

INSTANTIATE_TEST_SUITE_P(States, RunningTerminalTest,
                         testing::Values(WindowRow{"Normal", SW_SHOWNORMAL, false},
                                         WindowRow{"Hidden", SW_HIDE, false},
                                         WindowRow{"Minimized", SW_SHOWMINIMIZED, false},
                                         WindowRow{"Maximized", SW_SHOWMAXIMIZED, true}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(TerminalTest, CtrlStartsASecondOne) {
    InstallTerminal();
    InstallTemplate();
    const OtherTerminal running(Title(), SW_SHOWNORMAL);
    const HeldKeys keys({VK_CONTROL});
    Launch();
    EXPECT_EQ(starts_.size(), 1u);
}

// ---- the link

TEST_F(TerminalTest, AnOldDriverIsSaid) {
    InstallTerminal();
    InstallTemplate();
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_QueryVcomFdoPdo, static_cast<int32_t>(0xC0000010)), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"terminal_old_driver");
        box.Press(IDOK);
    });
    Launch();
    EXPECT_EQ(BoxText(0),
              L"TAVIX kernel does not support IOCTL_TAVIX_QueryVcomFdoPdo, kernel version too old.");
    EXPECT_TRUE(starts_.empty());
    EXPECT_EQ(SessionValue(L"HostName"), L"");
}

struct FailureRow {
    const char* name;
    int32_t status;
    const wchar_t* text;
};
void PrintTo(const FailureRow& row, std::ostream* out) {
    *out << row.name;
}

class TerminalFailureTest : public TerminalTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(TerminalFailureTest, OfTheDriverStopsIt) {
    InstallTerminal();
    InstallTemplate();
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_QueryVcomFdoPdo, GetParam().status), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"terminal_driver_error");
        box.Press(IDOK);
    });
    Launch();
    EXPECT_EQ(BoxText(0), std::wstring(L"IOCTL_TAVIX_QueryVcomFdoPdo meets WinErr=") + GetParam().text);
    EXPECT_EQ(modal_.boxes().at(0).icon, static_cast<UINT>(MB_ICONERROR));
    EXPECT_TRUE(starts_.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, TerminalFailureTest,
    testing::Values(FailureRow{"Denied", static_cast<int32_t>(0xC0000022), L"5(ERROR_ACCESS_DENIED)"},
                    FailureRow{"Lost", static_cast<int32_t>(0xC000009D), L"1167(ERROR_DEVICE_NOT_CONNECTED)"},
                    FailureRow{"Unknown", static_cast<int32_t>(0xC0000035), L"183(UnknownWinErrCode)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(TerminalTest, CtrlIgnoresAFailedCheckButShowsIt) {
    InstallTerminal();
    InstallTemplate();
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_QueryVcomFdoPdo, static_cast<int32_t>(0xC0000010)), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    const HeldKeys keys({VK_CONTROL});
    Launch();
    EXPECT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(starts_.size(), 1u);
}

constexpr wchar_t kProblemTitle[] = L"TAVIX problem detected";

std::wstring Question(const std::wstring& port, const std::wstring& serverSide, const std::wstring& present,
                      const std::wstring& correct, const std::wstring& explanation) {
    return L"The '" + port + L"' symlink currently does not point to a " + serverSide +
           L"TAVIX VCOM device.\r\n\r\n  Current symlink target: " + present +
           L"\r\n  Correct symlink target: " + correct + L"\r\n\r\n" + explanation +
           L"\r\n\r\nDo you still want to open current target?";
}

constexpr wchar_t kRebootMayHelp[] =
    L"If this is not desired, rebooting Windows may help solve this problem.";
constexpr wchar_t kRemoteDesktop[] =
    L"This is probably because you are running inside a remote-desktop session('tsclient' in target string).";

// The link as the system would tell it; the port itself stays as it is.
struct LinkRow {
    const char* name;
    std::vector<wchar_t> answer;  // of QueryDosDeviceW, with its terminators; empty: fails
    const wchar_t* shown;
    bool redirected;
};
void PrintTo(const LinkRow& row, std::ostream* out) {
    *out << row.name;
}
template <size_t chars>
std::vector<wchar_t> Strings(const wchar_t (&text)[chars]) {
    return {text, text + chars};
}

class WrongLinkTest : public TerminalTest, public testing::WithParamInterface<LinkRow> {
  protected:
    ReplacedCall<QueryDosDeviceW> link_{"QueryDosDeviceW", [](LPCWSTR, LPWSTR target, DWORD) -> DWORD {
                                            const std::vector<wchar_t>& answer = GetParam().answer;
                                            std::copy(answer.begin(), answer.end(), target);
                                            if (answer.empty()) SetLastError(ERROR_FILE_NOT_FOUND);
                                            return static_cast<DWORD>(answer.size());
                                        }};
    std::wstring Expected() const {
        return Question(Port(), GetParam().redirected ? L"server-side " : L"", GetParam().shown,
                        device_.kernelName, GetParam().redirected ? kRemoteDesktop : kRebootMayHelp);
    }
};

TEST_P(WrongLinkTest, IsAskedAboutAndStopsOnCancel) {
    InstallTerminal();
    InstallTemplate();
    modal_.ExpectBox(kProblemTitle).Do([](BoxView& box) {
        SaveScreenshot(box.window(),
                       GetParam().redirected ? L"terminal_redirected_port" : L"terminal_wrong_symlink");
        EXPECT_EQ(reinterpret_cast<HICON>(SendMessageW(box.Control(101), STM_GETICON, 0, 0)),
                  LoadIconW(nullptr, IDI_WARNING));
        EXPECT_EQ(box.Text(1), L"&Continue");
        EXPECT_EQ(box.Text(2), L"Canc&el");
        box.Press(IDCANCEL);
    });
    Launch();
    EXPECT_EQ(BoxText(0), Expected());
    EXPECT_TRUE(starts_.empty());
    EXPECT_EQ(SessionValue(L"HostName"), L"");
}

TEST_P(WrongLinkTest, GoesOnAfterContinue) {
    InstallTerminal();
    InstallTemplate();
    modal_.ExpectBox(kProblemTitle).Press(IDOK);
    Launch();
    EXPECT_EQ(starts_.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Targets, WrongLinkTest,
    testing::Values(LinkRow{"None", {}, L"", false}, LinkRow{"Empty", Strings(L"\0"), L"", false},
                    LinkRow{"Other", Strings(L"\\Device\\Serial0\0"), L"\\Device\\Serial0", false},
                    LinkRow{"Several", Strings(L"\\Device\\A\0\\Device\\B\0"), L"\\Device\\A", false},
                    LinkRow{"Redirected", Strings(L"\\Device\\RdpDr\\;COM5:1\\tsclient\\COM5\0"),
                            L"\\Device\\RdpDr\\;COM5:1\\tsclient\\COM5", true},
                    LinkRow{"RedirectedInCapitals", Strings(L"\\Device\\RdpDr\\;COM5:1\\TSCLIENT\\COM5\0"),
                            L"\\Device\\RdpDr\\;COM5:1\\TSCLIENT\\COM5", true},
                    LinkRow{"OnlyNamedAlike", Strings(L"\\Device\\tsclient\0"), L"\\Device\\tsclient",
                            false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(TerminalTest, TheTargetsAreComparedWithTheirLetterCase) {
    InstallTerminal();
    InstallTemplate();
    std::wstring otherCase = device_.kernelName;
    otherCase[1] ^= 0x20;
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldReportedKernelName, otherCase), ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    Launch();
    EXPECT_EQ(BoxText(0), Question(Port(), L"", device_.kernelName, otherCase, kRebootMayHelp));
}

TEST_F(TerminalTest, ALinkThatReallyLeadsElsewhereIsFound) {
    InstallTerminal();
    InstallTemplate();
    ASSERT_EQ(driver_.SetDosLink(Port(), L"\\Device\\Null"), ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    Launch();
    EXPECT_EQ(BoxText(0), Question(Port(), L"", L"\\Device\\Null", device_.kernelName, kRebootMayHelp));
}

TEST_F(TerminalTest, CtrlAsksAboutAWrongLinkAndIgnoresTheAnswer) {
    InstallTerminal();
    InstallTemplate();
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldReportedKernelName, L"\\Device\\other"), ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    const HeldKeys keys({VK_CONTROL});
    Launch();
    EXPECT_EQ(starts_.size(), 1u);
}

TEST_F(TerminalTest, APageThatGoesWithItsQuestionStartsNothing) {
    InstallTerminal();
    InstallTemplate();
    for (const bool ctrl : {false, true}) {
        if (!page_)
            page_.reset(CreateWindowExW(0, L"STATIC", L"Page", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 200, 150,
                                        500, 350, nullptr, nullptr, nullptr, nullptr));
        ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldReportedKernelName, L"\\Device\\other"),
                  ERROR_SUCCESS);
        modal_.ExpectBox(kProblemTitle).DoAndLeaveOpen([&](BoxView&) {
            PostMessageW(page_.get(), WM_CLOSE, 0, 0);
        });
        const HeldKeys keys(ctrl ? std::initializer_list<int>{VK_CONTROL} : std::initializer_list<int>{});
        Launch();
        EXPECT_FALSE(IsWindow(page_.release()));
        EXPECT_TRUE(starts_.empty());
        EXPECT_EQ(SessionValue(L"HostName"), L"");
    }
}

TEST_F(TerminalTest, APortNameOfFullWidthWithQuotesIsWrittenWhole) {
    InstallTerminal();
    InstallTemplate();
    const std::wstring port = L"COM\"\\56789012345";
    ASSERT_EQ(port.size(), 16u);
    ToolHost host = Host();
    host.portName = port.c_str();
    modal_.ExpectBox(kProblemTitle).Press(IDOK);
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
