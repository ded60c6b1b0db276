// Whether a port can be opened, on the simulated driver.
#include "tools/open_check.h"

#include "tests/support/screenshot.h"
#include "tests/system/terminal_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr wchar_t kErrorTitle[] = L"VCOM open error";

class OpenCheckTest : public TerminalTest {
  protected:
    bool Check() {
        const ToolHost host = Host();
        return CheckPortOpens(host.page, host.deviceSet, host.device, host.portName);
    }
    // The box's text, which the one button closes.
    std::wstring FailureText(const wchar_t* picture) {
        modal_.ExpectBox(kErrorTitle).Do([picture](BoxView& box) {
            SaveScreenshot(box.window(), picture);
            EXPECT_EQ(box.Text(1), L"Got it");
            EXPECT_EQ(box.Read().Buttons(), std::vector<int>{1});
            EXPECT_EQ(reinterpret_cast<HICON>(SendMessageW(box.Control(101), STM_GETICON, 0, 0)),
                      LoadIconW(nullptr, IDI_ERROR));
            box.Press(IDOK);
        });
        EXPECT_FALSE(Check());
        return BoxText(0);
    }
    // "WinErr=5: ...", as the platform words it.
    static std::wstring Head(DWORD error) {
        wchar_t text[512] = {};
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, text,
                       512, nullptr);
        std::wstring message = text;
        while (!message.empty() && (message.back() == L'\r' || message.back() == L'\n'))
            message.pop_back();
        return L"WinErr=" + std::to_wstring(error) + L": " + message + L"\r\n";
    }
};

TEST_F(OpenCheckTest, PassesSilentlyAndAsksTheDriverNothing) {
    EXPECT_TRUE(Check());
    EXPECT_TRUE(modal_.boxes().empty());
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_EQ(driver_.FindDevice(device_.huid).value_or(SimDeviceState_st{}).openCount, 0u);
}

TEST_F(OpenCheckTest, APortThatDoesNotExistIsSaid) {
    ASSERT_EQ(driver_.SetDosLink(Port(), L""), ERROR_SUCCESS);
    EXPECT_EQ(FailureText(L"open_check_no_device"),
              Head(2) + L"The VCOM device \"" + Port() + L"\" does not exist yet.");
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(OpenCheckTest, TheProgramThatHoldsThePortIsNamed) {
    const FileHandle held(CreateFileW((L"\\\\.\\" + Port()).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
    ASSERT_TRUE(held);
    wchar_t path[MAX_PATH];
    ReplacedCall<GetModuleFileNameW>::Original(nullptr, path, MAX_PATH);
    EXPECT_EQ(FailureText(L"open_check_occupied"),
              Head(5) + L"Cannot open \"" + Port() +
                  L"\" because it is now occupied by another process:\r\n\r\n" + path + L"\r\n\r\n(pid=" +
                  std::to_wstring(GetCurrentProcessId()) + L")");
    EXPECT_EQ(TakeRequests(), Names{L"GetVcomOpenerPid"});
}

TEST_F(OpenCheckTest, AProgramThatHasJustEndedHasNoPath) {
    ASSERT_EQ(driver_.SetOpenerPid(device_.huid, 0x7FFFFFF0), ERROR_SUCCESS);
    EXPECT_EQ(FailureText(L"open_check_ended_program"),
              Head(5) + L"Cannot open \"" + Port() +
                  L"\" because it is now occupied by another process:\r\n\r\nUnknown process EXE "
                  L"path\r\n\r\n(pid=2147483632)");
}

TEST_F(OpenCheckTest, AProgramThatHidesItsPathHasNone) {
    ASSERT_EQ(driver_.SetOpenerPid(device_.huid, GetCurrentProcessId()), ERROR_SUCCESS);
    REPLACE_CALL(open, OpenProcess, [](DWORD, BOOL, DWORD) {
        SetLastError(ERROR_ACCESS_DENIED);
        return HANDLE{};
    });
    EXPECT_NE(FailureText(L"open_check_hidden_program").find(L"Unknown process EXE path"),
              std::wstring::npos);
}

TEST_F(OpenCheckTest, WithoutAKnownHolderTheDetailIsUnknown) {
    ASSERT_EQ(driver_.SetOpenerPid(device_.huid, 1), ERROR_SUCCESS);
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetVcomOpenerPid, static_cast<int32_t>(0xC000009D)),
              ERROR_SUCCESS);
    EXPECT_EQ(FailureText(L"open_check_unknown_detail"), Head(5) + L"Unknown detail !");
}

struct ErrorRow {
    const char* name;
    DWORD error;
    bool hasText;
};
void PrintTo(const ErrorRow& row, std::ostream* out) {
    *out << row.name;
}

class OpenErrorTest : public OpenCheckTest, public testing::WithParamInterface<ErrorRow> {};

TEST_P(OpenErrorTest, IsShownWithTheSystemsText) {
    REPLACE_CALL(open, CreateFileW, [](auto...) {
        SetLastError(GetParam().error);
        return INVALID_HANDLE_VALUE;
    });
    const std::wstring expected = GetParam().hasText
                                      ? Head(GetParam().error)
                                      : L"WinErr=" + std::to_wstring(GetParam().error) + L".\r\n";
    EXPECT_EQ(FailureText(L"open_check_other_error"), expected);
    EXPECT_TRUE(TakeRequests().empty());
}

INSTANTIATE_TEST_SUITE_P(Errors, OpenErrorTest,
                         testing::Values(ErrorRow{"Sharing", ERROR_SHARING_VIOLATION, true},
                                         ErrorRow{"NotReady", ERROR_NOT_READY, true},
                                         ErrorRow{"WithInserts", ERROR_BAD_EXE_FORMAT, true},
                                         ErrorRow{"WithoutText", 0x12345678, false},
                                         ErrorRow{"HighestNumber", 0xFFFFFFFF, false}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(OpenCheckTest, NoTerminalStartsOnAPortThatIsHeld) {
    InstallTerminal();
    InstallTemplate();
    ASSERT_EQ(driver_.SetOpenerPid(device_.huid, GetCurrentProcessId()), ERROR_SUCCESS);
    modal_.ExpectBox(kErrorTitle).Press(IDOK);
    Launch();
    EXPECT_TRUE(starts_.empty());
}

}  // namespace
