// Whether a port's name leads to the driver's VCOM, and what the user decides, on the simulated driver.
#include "tools/symlink_check.h"

#include "tests/support/held_keys.h"
#include "tests/support/screenshot.h"
#include "tests/system/terminal_fixture.h"

namespace {

class SymlinkCheckTest : public TerminalTest {
  protected:
    void SetUp() override {
        TerminalTest::SetUp();
        InstallTerminal();
        InstallTemplate();
    }
};

TEST_F(SymlinkCheckTest, AnOldDriverIsSaid) {
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

class SymlinkQueryFailureTest : public SymlinkCheckTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(SymlinkQueryFailureTest, OfTheDriverStopsIt) {
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
    Rows, SymlinkQueryFailureTest,
    testing::Values(FailureRow{"Denied", static_cast<int32_t>(0xC0000022), L"5(ERROR_ACCESS_DENIED)"},
                    FailureRow{"Lost", static_cast<int32_t>(0xC000009D), L"1167(ERROR_DEVICE_NOT_CONNECTED)"},
                    FailureRow{"Unknown", static_cast<int32_t>(0xC0000035), L"183(UnknownWinErrCode)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(SymlinkCheckTest, CtrlIgnoresAFailedCheckButShowsIt) {
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

const std::wstring kLongTarget = L"\\Device\\" + std::wstring(990, L'x');

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

class WrongLinkTest : public SymlinkCheckTest, public testing::WithParamInterface<LinkRow> {
  protected:
    ReplacedCall<QueryDosDeviceW> link_{"QueryDosDeviceW", [](LPCWSTR, LPWSTR target, DWORD chars) -> DWORD {
                                            const std::vector<wchar_t>& answer = GetParam().answer;
                                            wcscpy(target, L"undefined");
                                            EXPECT_LE(answer.size(), chars);
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
    modal_.ExpectBox(kProblemTitle).Press(IDOK);
    Launch();
    EXPECT_EQ(starts_.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Targets, WrongLinkTest,
    testing::Values(LinkRow{"None", {}, L"", false}, LinkRow{"Empty", Strings(L"\0"), L"", false},
                    LinkRow{"Long",
                            {kLongTarget.c_str(), kLongTarget.c_str() + kLongTarget.size() + 1},
                            kLongTarget.c_str(),
                            false},
                    LinkRow{"Other", Strings(L"\\Device\\Serial0\0"), L"\\Device\\Serial0", false},
                    LinkRow{"Several", Strings(L"\\Device\\A\0\\Device\\B\0"), L"\\Device\\A", false},
                    LinkRow{"Redirected", Strings(L"\\Device\\RdpDr\\;COM5:1\\tsclient\\COM5\0"),
                            L"\\Device\\RdpDr\\;COM5:1\\tsclient\\COM5", true},
                    LinkRow{"RedirectedInCapitals", Strings(L"\\Device\\RdpDr\\;COM5:1\\TSCLIENT\\COM5\0"),
                            L"\\Device\\RdpDr\\;COM5:1\\TSCLIENT\\COM5", true},
                    LinkRow{"OnlyNamedAlike", Strings(L"\\Device\\tsclient\0"), L"\\Device\\tsclient",
                            false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(SymlinkCheckTest, TheTargetsAreComparedWithTheirLetterCase) {
    std::wstring otherCase = device_.kernelName;
    otherCase[1] ^= 0x20;
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldReportedKernelName, otherCase), ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    Launch();
    EXPECT_EQ(BoxText(0), Question(Port(), L"", device_.kernelName, otherCase, kRebootMayHelp));
}

TEST_F(SymlinkCheckTest, ALinkThatReallyLeadsElsewhereIsFound) {
    ASSERT_EQ(driver_.SetDosLink(Port(), L"\\Device\\Null"), ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    Launch();
    EXPECT_EQ(BoxText(0), Question(Port(), L"", L"\\Device\\Null", device_.kernelName, kRebootMayHelp));
}

TEST_F(SymlinkCheckTest, OnlyContinueGoesOn) {
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldReportedKernelName, L"\\Device\\other"), ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Close();
    Launch();
    EXPECT_TRUE(starts_.empty()) << "after a question that was closed";

    REPLACE_CALL(dialog, DialogBoxIndirectParamW,
                 [](HINSTANCE, LPCDLGTEMPLATEW, HWND, DLGPROC, LPARAM) { return INT_PTR{-1}; });
    Launch();
    EXPECT_EQ(modal_.boxes().size(), 1u);
    EXPECT_TRUE(starts_.empty()) << "after a question that could not be shown";
}

// The field of the reply is full, so that nothing ends the name.
TEST_F(SymlinkCheckTest, ACorrectTargetOfFullWidthIsShownWhole) {
    VcomFdoPdo_st reply = {};
    std::fill(std::begin(reply.kernelName), std::end(reply.kernelName), L'k');
    ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_QueryVcomFdoPdo,
                                 {reinterpret_cast<const uint8_t*>(&reply), sizeof(reply)}),
              ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    Launch();
    EXPECT_EQ(BoxText(0), Question(Port(), L"", device_.kernelName, std::wstring(kKernelNameChars, L'k'),
                                   kRebootMayHelp));
}

TEST_F(SymlinkCheckTest, AMissingLinkIsNotRightEvenWhereTheDriverNamesNone) {
    const VcomFdoPdo_st unnamed = {};
    ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_QueryVcomFdoPdo,
                                 {reinterpret_cast<const uint8_t*>(&unnamed), sizeof(unnamed)}),
              ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetDosLink(Port(), L""), ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    Launch();
    EXPECT_EQ(BoxText(0), Question(Port(), L"", L"", L"", kRebootMayHelp));
    EXPECT_TRUE(starts_.empty());
}

// What is held when the entry is chosen counts, not what is held at the answer.
struct KeyRow {
    const char* name;
    bool atTheStart;
    bool atTheAnswer;
    size_t starts;
};
void PrintTo(const KeyRow& row, std::ostream* out) {
    *out << row.name;
}

class ForcedLaunchTest : public SymlinkCheckTest, public testing::WithParamInterface<KeyRow> {};

TEST_P(ForcedLaunchTest, IsDecidedAtTheStart) {
    REPLACE_CALL(link, QueryDosDeviceW, [](LPCWSTR, LPWSTR, DWORD) {
        BYTE keys[256] = {};
        keys[VK_CONTROL] = GetParam().atTheAnswer ? 0x80 : 0;
        SetKeyboardState(keys);
        return DWORD{0};
    });
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    const HeldKeys keys(GetParam().atTheStart ? std::initializer_list<int>{VK_CONTROL}
                                              : std::initializer_list<int>{});
    Launch();
    EXPECT_EQ(starts_.size(), GetParam().starts);
}

INSTANTIATE_TEST_SUITE_P(Keys, ForcedLaunchTest,
                         testing::Values(KeyRow{"PressedLater", false, true, 0},
                                         KeyRow{"ReleasedLater", true, false, 1}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(SymlinkCheckTest, CtrlAsksAboutAWrongLinkAndIgnoresTheAnswer) {
    ASSERT_EQ(driver_.SetText(device_.huid, kSimFieldReportedKernelName, L"\\Device\\other"), ERROR_SUCCESS);
    modal_.ExpectBox(kProblemTitle).Press(IDCANCEL);
    const HeldKeys keys({VK_CONTROL});
    Launch();
    EXPECT_EQ(starts_.size(), 1u);
}

TEST_F(SymlinkCheckTest, APageThatGoesWithItsQuestionStartsNothing) {
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

}  // namespace
