// What the sheet's own buttons and its end do to the VCOM page, and the package's terminal.
#include "tests/system/vcom_sheet_fixture.h"

#include <atomic>

#include <commctrl.h>

#include "resources/resource_ids.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"

namespace {

constexpr wchar_t kConflict[] = L"Your selected PortName \"COM20 (!)\" may cause conflict";

TEST_F(VcomSheetTest, AConflictHoldsThePageUntilTheUserAgrees) {
    OpenSheet();
    Select(kTakenPort);
    modal_->ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(nullptr, L"vcom_page_conflict");
        box.Press(IDNO);
    });
    PropSheet_SetCurSel(sheet_.get(), nullptr, 1);
    EXPECT_EQ(CurrentPage(), page_);
    EXPECT_EQ(BoxText(0).rfind(kConflict, 0), 0u);

    modal_->ExpectBox(L"TAVIX Message").Press(IDYES);
    PropSheet_SetCurSel(sheet_.get(), nullptr, 1);
    EXPECT_NE(CurrentPage(), page_);
}

TEST_F(VcomSheetTest, WithoutAConflictThePageChangesSilently) {
    OpenSheet();
    Select(kOtherPort);
    PropSheet_SetCurSel(sheet_.get(), nullptr, 1);
    EXPECT_NE(CurrentPage(), page_);
    EXPECT_TRUE(modal_->boxes().empty());
}

TEST_F(VcomSheetTest, ApplySavesAndShowsTheNewPort) {
    OpenSheet();
    Select(kOtherPort);
    PropSheet_Changed(sheet_.get(), page_);
    modal_->ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(nullptr, L"vcom_page_applied");
        box.Press(IDOK);
    });
    PropSheet_Apply(sheet_.get());
    EXPECT_EQ(BoxText(0), L"TAVIX configuration save success.");
    EXPECT_EQ(PortName(), L"COM31");
    EXPECT_EQ(SendDlgItemMessageW(page_, IDC_VCOM_PORT_NAME, CB_GETCURSEL, 0, 0), kOtherPort - 1);
}

TEST_F(VcomSheetTest, OkAsksAboutAConflictOnceAndThenSaves) {
    OpenSheet();
    Select(kTakenPort);
    modal_->ExpectBox(L"TAVIX Message").Press(IDYES);
    modal_->ExpectBox(L"TAVIX Message").Press(IDOK);
    PropSheet_PressButton(sheet_.get(), PSBTN_OK);
    EXPECT_TRUE(PumpUntil("both boxes", [&] { return modal_->boxes().size() == 2; }));
    EXPECT_EQ(BoxText(0).rfind(kConflict, 0), 0u);
    EXPECT_EQ(BoxText(1), L"TAVIX configuration save success.");
    EXPECT_EQ(PortName(), L"COM20");
}

TEST_F(VcomSheetTest, OkWithASaveThatFailsLeavesTheSheetOpen) {
    OpenSheet();
    ASSERT_EQ(driver.SetNumber(DeviceHuid(), kSimFieldSetCfgResult, 5), static_cast<DWORD>(ERROR_SUCCESS));
    Select(kOtherPort);
    modal_->ExpectBox(L"TAVIX Message").Press(IDOK);
    PropSheet_PressButton(sheet_.get(), PSBTN_OK);
    EXPECT_TRUE(PumpUntil("the message", [&] { return modal_->boxes().size() == 1; }));
    PumpPendingMessages();
    EXPECT_EQ(BoxText(0), L"Error in tavo_SetVcomCfg(). UfAppErr=5(UfAppErr_Registry).");
    EXPECT_EQ(CurrentPage(), page_) << "a sheet that is done has no current page";
    EXPECT_EQ(SendDlgItemMessageW(page_, IDC_VCOM_PORT_NAME, CB_GETCURSEL, 0, 0), kOtherPort - 1);
}

TEST_F(VcomSheetTest, OkWithANoToTheConflictSavesNothing) {
    OpenSheet();
    const std::wstring before = PortName();
    Select(kTakenPort);
    modal_->ExpectBox(L"TAVIX Message").Press(IDNO);
    PropSheet_PressButton(sheet_.get(), PSBTN_OK);
    EXPECT_TRUE(PumpUntil("the question", [&] { return modal_->boxes().size() == 1; }));
    EXPECT_EQ(PortName(), before);
    EXPECT_EQ(CurrentPage(), page_);
}

// The device's removal takes the sheet away whatever box is open on it; the page's object goes with it.
HWND g_sheetToDestroy = nullptr;
std::atomic<bool> g_boxWasRead = false;

// Expects the box and takes the sheet away once the box has been read.
void DestroyWithTheFirstBox(ModalDriver& modal, HWND sheet) {
    g_sheetToDestroy = sheet;
    g_boxWasRead = false;
    modal.ExpectBox(L"TAVIX Message").DoAndLeaveOpen([](BoxView&) { g_boxWasRead = true; });
    SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR timer, DWORD) {
        if (!g_boxWasRead) return;
        KillTimer(nullptr, timer);
        DestroyWindow(g_sheetToDestroy);
    });
}

TEST_F(VcomSheetTest, ASheetDestroyedDuringTheConflictQuestionSavesNothing) {
    OpenSheet();
    const std::wstring before = PortName();
    Select(kTakenPort);
    DestroyWithTheFirstBox(*modal_, sheet_.get());
    SendDlgItemMessageW(page_, IDC_VCOM_SAVE, BM_CLICK, 0, 0);
    EXPECT_FALSE(IsWindow(sheet_.release()));
    EXPECT_EQ(modal_->boxes().size(), 1u);
    EXPECT_EQ(PortName(), before);
}

TEST_F(VcomSheetTest, ASheetDestroyedBehindTheSavesMessageIsNotTouchedAgain) {
    OpenSheet();
    Select(kOtherPort);
    DestroyWithTheFirstBox(*modal_, sheet_.get());
    SendDlgItemMessageW(page_, IDC_VCOM_SAVE, BM_CLICK, 0, 0);
    EXPECT_FALSE(IsWindow(sheet_.release()));
    EXPECT_EQ(modal_->boxes().size(), 1u);
    EXPECT_EQ(PortName(), L"COM31");
}

// ---- the terminal program of the driver package

HWND FindTerminal(const std::wstring& port) {
    const HWND terminal = FindWindowW(L"TavixSimTerminal", (L"PuTTY - TAVIX " + port).c_str());
    return terminal != nullptr && IsWindowVisible(terminal) ? terminal : nullptr;
}

TEST_F(VcomSheetTest, TheToolsMenuOpensThePortInThePackagesTerminalOnce) {
    OpenSheet();
    modal_->ExpectMenu().Do([](MenuView& menu) {
        EXPECT_NE(menu.Read().Item(IDM_TOOLS_TERMINAL)->bitmap, nullptr);
        SaveScreenshot(nullptr, L"terminal_menu");
        menu.Choose(IDM_TOOLS_TERMINAL);
    });
    SendDlgItemMessageW(page_, IDC_VCOM_TOOLS, BM_CLICK, 0, 0);
    HWND terminal = nullptr;
    ASSERT_TRUE(PumpUntil("the terminal", [&] { return (terminal = FindTerminal(PortName())) != nullptr; }));
    SaveScreenshot(terminal, L"terminal_from_the_sheet");

    ShowWindow(terminal, SW_MINIMIZE);
    modal_->ExpectMenu().Choose(IDM_TOOLS_TERMINAL);
    SendDlgItemMessageW(page_, IDC_VCOM_TOOLS, BM_CLICK, 0, 0);
    EXPECT_TRUE(PumpUntil("the same terminal again", [&] { return !IsIconic(terminal); }));
    EXPECT_TRUE(modal_->boxes().empty());

    PostMessageW(terminal, WM_CLOSE, 0, 0);
    EXPECT_TRUE(PumpUntil("the terminal to close", [&] { return !IsWindow(terminal); }));
    EXPECT_EQ(FindTerminal(PortName()), nullptr) << "a second one was started";
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\SimonTatham\\PuTTY\\Sessions\\TAVIX-VCOM");
}

// ---- the user guide of the driver package

TEST_F(VcomSheetTest, TheToolsMenuOpensThePackagesGuide) {
    OpenSheet();
    modal_->ExpectMenu().Choose(IDM_TOOLS_USER_GUIDE);
    SendDlgItemMessageW(page_, IDC_VCOM_TOOLS, BM_CLICK, 0, 0);
    HWND reader = nullptr;
    ASSERT_TRUE(PumpUntil("the reader of PDF files", [&] {
        reader = FindWindowW(L"#32770", L"PDF reader");
        return reader != nullptr && IsWindowVisible(reader);
    }));
    wchar_t text[MAX_PATH] = L"";
    GetDlgItemTextW(reader, 0xFFFF, text, MAX_PATH);
    EXPECT_STREQ(text, L"C:\\Program Files\\TAVIX\\tavix-inf-pkg\\TAVIX user guide - ENG.pdf");
    SaveScreenshot(reader, L"user_guide");
    PostMessageW(reader, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(PumpUntil("the reader to close", [&] { return !IsWindow(reader); }));
}

}  // namespace
