// The page of the virtual bus and its developer menu.
#include "tests/system/vbus_page_fixture.h"

#include <commctrl.h>
#include <prsht.h>

#include "resources/resource_ids.h"
#include "tests/support/held_keys.h"
#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/support/real_input.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"

namespace {

using Names = std::vector<std::wstring>;

const int kLeakRuns = RunsOf(10, 250);
constexpr wchar_t kIrpTitle[] = L"TAVIX internal IRP state";

RECT PlaceOf(HWND page, int controlId) {
    RECT area;
    GetWindowRect(GetDlgItem(page, controlId), &area);
    MapWindowPoints(nullptr, page, reinterpret_cast<POINT*>(&area), 2);
    return area;
}

TEST_F(VbusPageTest, OpensWithTheDriversLoggingState) {
    LogCfg_st log = {};
    log.fileLogging = 1;
    ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
    OpenPage();
    EXPECT_EQ(IsDlgButtonChecked(page_, IDC_FILE_LOGGING), static_cast<UINT>(BST_CHECKED));
    SaveScreenshot(frame_.get(), L"vbus_page");
}

TEST_F(VbusPageTest, TheLoggingBoxSwitchesTheDriver) {
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    SendDlgItemMessageW(page_, IDC_FILE_LOGGING, BM_CLICK, 0, 0);
    EXPECT_EQ(TakeRequests(), (Names{L"GetLogCfg", L"SetLogCfg", L"GetLogCfg"}));
    EXPECT_EQ(IsDlgButtonChecked(page_, IDC_FILE_LOGGING), static_cast<UINT>(BST_CHECKED));
}

TEST_F(VbusPageTest, TheNameStaysAtTheBottomRightCorner) {
    OpenPage();
    RECT client;
    GetClientRect(page_, &client);
    const RECT before = PlaceOf(page_, IDC_VBUS_DEVELOPER_MENU);
    const RECT logging = PlaceOf(page_, IDC_FILE_LOGGING);
    SetWindowPos(page_, nullptr, 0, 0, client.right + 70, client.bottom + 30, SWP_NOMOVE | SWP_NOZORDER);
    const RECT after = PlaceOf(page_, IDC_VBUS_DEVELOPER_MENU);
    EXPECT_EQ(after.left, before.left + 70);
    EXPECT_EQ(after.right, before.right + 70);
    EXPECT_EQ(after.top, before.top + 30);
    EXPECT_EQ(after.bottom, before.bottom + 30);
    const RECT loggingAfter = PlaceOf(page_, IDC_FILE_LOGGING);
    EXPECT_TRUE(EqualRect(&loggingAfter, &logging));
}

TEST_F(VbusPageTest, CannotBeMadeSmallerThanItOpened) {
    OpenPage();
    RECT opened;
    GetWindowRect(page_, &opened);
    MINMAXINFO limits = {};
    EXPECT_TRUE(Answer(WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits)));
    EXPECT_EQ(limits.ptMinTrackSize.x, opened.right - opened.left);
    EXPECT_EQ(limits.ptMinTrackSize.y, opened.bottom - opened.top);
}

struct MessageRow {
    const char* name;
    UINT message;
    WPARAM wParam;
    INT_PTR answer;
};
void PrintTo(const MessageRow& row, std::ostream* out) {
    *out << row.name;
}

class VbusPageMessageTest : public VbusPageTest, public testing::WithParamInterface<MessageRow> {};

TEST_P(VbusPageMessageTest, IsAnsweredWithResultZero) {
    OpenPage();
    NMHDR notification = {};
    notification.code = static_cast<UINT>(PSN_KILLACTIVE);
    SetWindowLongPtrW(page_, DWLP_MSGRESULT, 5);
    EXPECT_EQ(Answer(GetParam().message, GetParam().wParam, reinterpret_cast<LPARAM>(&notification)),
              GetParam().answer);
    EXPECT_EQ(Result(), GetParam().answer != FALSE ? 0 : 5);
    EXPECT_TRUE(TakeRequests().empty());
}

INSTANTIATE_TEST_SUITE_P(Rows, VbusPageMessageTest,
                         testing::Values(MessageRow{"Help", WM_HELP, 0, TRUE},
                                         MessageRow{"ContextMenu", WM_CONTEXTMENU, 0, TRUE},
                                         MessageRow{"Notification", WM_NOTIFY, 0, TRUE},
                                         MessageRow{"Destruction", WM_DESTROY, 0, TRUE},
                                         MessageRow{"OneClick", WM_COMMAND,
                                                    MAKEWPARAM(IDC_VBUS_DEVELOPER_MENU, STN_CLICKED), FALSE},
                                         MessageRow{"OtherCommand", WM_COMMAND, 4711, FALSE},
                                         MessageRow{"OtherMessage", WM_SETTINGCHANGE, 0, FALSE}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(VbusPageTest, CancelClosesItWithTwo) {
    OpenPage();
    INT_PTR closedWith = -1;
    REPLACE_CALL(end, EndDialog, [&](HWND window, INT_PTR result) {
        EXPECT_EQ(window, page_);
        closedWith = result;
        return TRUE;
    });
    SendMessageW(page_, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(closedWith, 2);
}

TEST_F(VbusPageTest, OnlyADoubleClickOnTheNameOpensTheMenu) {
    OpenPage();
    const HWND name = GetDlgItem(page_, IDC_VBUS_DEVELOPER_MENU);
    SendMessageW(name, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(3, 3));
    SendMessageW(name, WM_LBUTTONUP, 0, MAKELPARAM(3, 3));
    EXPECT_TRUE(modal_.menus().empty());

    modal_.ExpectMenu().Dismiss();
    SendMessageW(name, WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(3, 3));
    EXPECT_EQ(modal_.menus().size(), 1u);
    EXPECT_TRUE(modal_.boxes().empty());
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(VbusPageTest, TheMenuHasItsEntriesAndStandsAtTheNamesCorner) {
    OpenPage();
    modal_.ExpectMenu().Do([](MenuView& menu) {
        SaveScreenshot(nullptr, L"vbus_page_developer_menu");
        menu.Dismiss();
    });
    SendMessageW(page_, WM_COMMAND, MAKEWPARAM(IDC_VBUS_DEVELOPER_MENU, STN_DBLCLK), 0);
    ASSERT_EQ(modal_.menus().size(), 1u);
    const MenuRecord menu = modal_.menus()[0];
    EXPECT_EQ(menu.Texts(),
              L"Examine IRP states\nCreate a dangle VCOM 0\nCreate a dangle VCOM 1\n"
              L"Generate BSOD (Blue-screen system crash)\n");
    ASSERT_EQ(menu.items.size(), 4u);
    EXPECT_EQ(menu.items[0].id, 1047u);
    EXPECT_EQ(menu.items[1].id, 1060u);
    EXPECT_EQ(menu.items[2].id, 1061u);
    EXPECT_EQ(menu.items[3].id, 1054u);
    EXPECT_NE(menu.items[0].bitmap, nullptr);
    for (size_t i = 1; i < menu.items.size(); ++i)
        EXPECT_EQ(menu.items[i].bitmap, nullptr);
    RECT name;
    GetWindowRect(GetDlgItem(page_, IDC_VBUS_DEVELOPER_MENU), &name);
    EXPECT_NEAR(menu.area.right, name.right, 2);
    EXPECT_NEAR(menu.area.top, name.bottom, 2);
}

TEST_F(VbusPageTest, TheMenuOpensTheIrpStates) {
    OpenPage();
    modal_.ExpectBox(kIrpTitle).Press(IDOK);
    Choose(1047);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
}

// Only the tools menu knows of detached boxes.
TEST_F(VbusPageTest, TheIrpStatesAreAttachedWithCtrlToo) {
    OpenPage();
    modal_.ExpectBox(kIrpTitle).Press(IDOK);
    const HeldKeys keys({VK_CONTROL});
    Choose(1047);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
}

// ---- with the real mouse and keyboard

class VbusPageInputTest : public VbusPageTest {
  protected:
    void OpenPage() {
        VbusPageTest::OpenPage();
        EnableWindow(page_, TRUE);  // as the sheet does
        SetForegroundWindow(frame_.get());
        modal_.LetMenusHeedPointer();
    }
    // On the name, with the left button. Returns when what it brought about is done.
    void DoubleClick() {
        ClickOn(GetDlgItem(page_, IDC_VBUS_DEVELOPER_MENU), 2);
        EXPECT_TRUE(PumpUntil("the menu", [this] { return !modal_.menus().empty(); }));
    }
};

TEST_F(VbusPageInputTest, ADoubleClickAndAClickOnAnEntryChoose) {
    OpenPage();
    modal_.ExpectMenu().Do([](MenuView& menu) { menu.ChooseByMouse(1061); });
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView&) { TypeKeys({'N'}); });
    DoubleClick();
    EXPECT_EQ(BoxText(0), L"Create Dangle VCOM 1 ?");
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(VbusPageInputTest, TheArrowsAndEnterChooseAndAnswer) {
    OpenPage();
    modal_.ExpectMenu().Do([](MenuView&) {
        for (const WORD key : {WORD{VK_DOWN}, WORD{VK_DOWN}, WORD{VK_RETURN}})
            TypeKeys({key});
    });
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView&) { TypeKeys({VK_RETURN}); });
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView&) { TypeKeys({VK_ESCAPE}); });
    DoubleClick();
    EXPECT_EQ(BoxText(1), L"Creating dangle VCOM Success (dangle.0).");
}

TEST_F(VbusPageInputTest, EscapeLeavesTheMenu) {
    OpenPage();
    modal_.ExpectMenu().Do([](MenuView&) { TypeKeys({VK_ESCAPE}); });
    DoubleClick();
    EXPECT_TRUE(modal_.boxes().empty());
    EXPECT_TRUE(TakeRequests().empty());
}

struct DangleRow {
    const char* name;
    UINT command;
    uint32_t index;
};
void PrintTo(const DangleRow& row, std::ostream* out) {
    *out << row.name;
}

class VbusPageDangleTest : public VbusPageTest, public testing::WithParamInterface<DangleRow> {
  protected:
    std::wstring Index() const { return std::to_wstring(GetParam().index); }
};

TEST_P(VbusPageDangleTest, IsCreatedAfterAYes) {
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Do([&](BoxView& box) {
        SaveScreenshot(box.window(), L"vbus_page_dangle_question");
        box.Press(IDYES);
    });
    modal_.ExpectBox(L"TAVIX Message").Do([&](BoxView& box) {
        SaveScreenshot(box.window(), L"vbus_page_dangle_created");
        box.Press(IDOK);
    });
    Choose(GetParam().command);
    EXPECT_EQ(BoxText(0), L"Create Dangle VCOM " + Index() + L" ?");
    EXPECT_EQ(BoxText(1), L"Creating dangle VCOM Success (dangle." + Index() + L").");
    EXPECT_EQ(modal_.boxes().at(0).icon, static_cast<UINT>(MB_ICONQUESTION));
    EXPECT_EQ(modal_.boxes().at(1).icon, static_cast<UINT>(MB_ICONINFORMATION));
    ASSERT_EQ(TakeRequests(), Names{L"CreateDangleVcom"});
    const std::vector<uint8_t> expected = {static_cast<uint8_t>(GetParam().index), 0, 0, 0};
    EXPECT_EQ(taken()[0].input, expected);
}

TEST_P(VbusPageDangleTest, IsNotCreatedAfterANo) {
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    Choose(GetParam().command);
    EXPECT_EQ(modal_.boxes().size(), 1u);
    EXPECT_TRUE(TakeRequests().empty());
}

INSTANTIATE_TEST_SUITE_P(Rows, VbusPageDangleTest,
                         testing::Values(DangleRow{"Zero", 1060, 0}, DangleRow{"One", 1061, 1}),
                         [](const auto& row) { return std::string(row.param.name); });

struct FailureRow {
    const char* name;
    int32_t status;
    const wchar_t* text;  // number and name
};
void PrintTo(const FailureRow& row, std::ostream* out) {
    *out << row.name;
}

class VbusPageFailureTest : public VbusPageTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(VbusPageFailureTest, OfADangleVcomIsShown) {
    OpenPage();
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_CreateDangleVcom, GetParam().status), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"vbus_page_dangle_failed");
        box.Press(IDOK);
    });
    Choose(1061);
    EXPECT_EQ(BoxText(1),
              std::wstring(L"Create dangle VCOM fail (dangle.1). WinErr=") + GetParam().text + L".");
    EXPECT_EQ(modal_.boxes().at(1).icon, static_cast<UINT>(MB_ICONERROR));
}

TEST_P(VbusPageFailureTest, OfACrashIsShown) {
    OpenPage();
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_BSOD, GetParam().status), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Choose(1054);
    EXPECT_EQ(BoxText(1), std::wstring(L"IOCTL_TAVIX_BSOD returns ") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VbusPageFailureTest,
    testing::Values(FailureRow{"Denied", static_cast<int32_t>(0xC0000022), L"5(ERROR_ACCESS_DENIED)"},
                    FailureRow{"Gone", static_cast<int32_t>(0xC000009D), L"1167(ERROR_DEVICE_NOT_CONNECTED)"},
                    FailureRow{"Unknown", static_cast<int32_t>(0xC0000035), L"183(UnknownWinErrCode)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(VbusPageTest, WithoutABusTheFlowpathIsGone) {
    OpenPage();
    MakeBusAbsent();
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Choose(1060);
    EXPECT_EQ(BoxText(1), L"Create dangle VCOM fail (dangle.0). WinErr=1167(ERROR_DEVICE_NOT_CONNECTED).");
}

TEST_F(VbusPageTest, TheCrashIsAskedForAndRecordedByTheSimulation) {
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"vbus_page_crash_question");
        box.Press(IDYES);
    });
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"vbus_page_crash_refused");
        box.Press(IDOK);
    });
    Choose(1054);
    EXPECT_EQ(
        BoxText(0),
        L"Do you want to generate a BSOD now ?\?!! \n\nRemember to enable kernel memory dump so that you can "
        L"check it back later.");
    EXPECT_EQ(BoxText(1), L"IOCTL_TAVIX_BSOD returns 50(UnknownWinErrCode)");
    EXPECT_EQ(modal_.boxes()[0].icon, static_cast<UINT>(MB_ICONQUESTION));
    EXPECT_EQ(modal_.boxes()[0].Buttons(), (std::vector<int>{IDYES, IDNO}));
    EXPECT_EQ(modal_.boxes()[1].icon, static_cast<UINT>(MB_ICONINFORMATION));
    for (const BoxRecord& box : modal_.boxes())
        EXPECT_EQ(box.owner, frame_.get());
    ASSERT_EQ(TakeRequests(), Names{L"BSOD"});
    EXPECT_EQ(taken()[0].input, (std::vector<uint8_t>{'B', 'S', 'O', 'D'}));
    SimInfo_st info = {};
    ASSERT_EQ(driver_.QueryInfo(info), ERROR_SUCCESS);
    EXPECT_EQ(info.bsodRequests, 1u);
}

TEST_F(VbusPageTest, EnterAtTheCrashsQuestionIsANo) {
    OpenPage();
    modal_.ExpectBox(L"TAVIX Message");  // answered with the default button
    Choose(1054);
    EXPECT_EQ(modal_.boxes().size(), 1u);
    EXPECT_TRUE(TakeRequests().empty());
}

TEST_F(VbusPageTest, APageWithoutAnObjectShowsItsControlsAndDoesNothing) {
    params_.reset();
    OpenPage();
    SetWindowPos(page_, nullptr, 0, 0, 600, 500, SWP_NOMOVE | SWP_NOZORDER);
    SendMessageW(page_, WM_COMMAND, MAKEWPARAM(IDC_VBUS_DEVELOPER_MENU, STN_DBLCLK), 0);
    EXPECT_TRUE(modal_.menus().empty());
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_TRUE(Answer(WM_HELP));
    EXPECT_TRUE(Answer(WM_INITDIALOG));
}

// ---- the page goes away meanwhile

TEST_F(VbusPageTest, APageThatGoesWithItsMenuDoesNothing) {
    OpenPage();
    const DWORD thread = GetCurrentThreadId();
    modal_.ExpectMenu().Do([&](MenuView&) {
        SendMessageW(frame_.get(), WM_CLOSE, 0, 0);
        // Wine's menu loop outlives its owner; a message makes it look.
        EndMenu();
        PostThreadMessageW(thread, WM_NULL, 0, 0);
    });
    SendMessageW(page_, WM_COMMAND, MAKEWPARAM(IDC_VBUS_DEVELOPER_MENU, STN_DBLCLK), 0);
    EXPECT_TRUE(modal_.boxes().empty());
    EXPECT_TRUE(TakeRequests().empty());
    page_ = nullptr;
}

TEST_F(VbusPageTest, AChoiceThatOutlivesThePageDoesNothing) {
    for (const UINT command : {1047u, 1060u, 1061u, 1054u}) {
        OpenPage();
        REPLACE_CALL(track, TrackPopupMenuEx, [&](HMENU, UINT, int, int, HWND, LPTPMPARAMS) {
            frame_.reset();
            return command;
        });
        SendMessageW(page_, WM_COMMAND, MAKEWPARAM(IDC_VBUS_DEVELOPER_MENU, STN_DBLCLK), 0);
        EXPECT_TRUE(modal_.boxes().empty());
        EXPECT_TRUE(TakeRequests().empty());
        page_ = nullptr;
    }
}

TEST_F(VbusPageTest, APageThatGoesWithItsQuestionSendsNothing) {
    for (const UINT command : {1060u, 1054u}) {
        OpenPage();
        modal_.ExpectBox(L"TAVIX Message").DoAndLeaveOpen([&](BoxView&) {
            PostMessageW(frame_.get(), WM_CLOSE, 0, 0);
        });
        Choose(command);
        EXPECT_TRUE(TakeRequests().empty()) << command;
        page_ = nullptr;
    }
}

struct OpenBoxRow {
    const char* name;
    UINT command;
    const wchar_t* title;
    bool questionFirst;
};
void PrintTo(const OpenBoxRow& row, std::ostream* out) {
    *out << row.name;
}

class VbusPageOpenBoxTest : public VbusPageTest, public testing::WithParamInterface<OpenBoxRow> {};

TEST_P(VbusPageOpenBoxTest, APageClosedBehindItTakesItAlong) {
    OpenPage();
    if (GetParam().questionFirst) modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    modal_.ExpectBox(GetParam().title).DoAndLeaveOpen([&](BoxView&) {
        PostMessageW(frame_.get(), WM_CLOSE, 0, 0);
    });
    Choose(GetParam().command);
    ASSERT_EQ(modal_.boxes().size(), GetParam().questionFirst ? 2u : 1u);
    EXPECT_FALSE(IsWindow(modal_.boxes().back().window));
    page_ = nullptr;
}

INSTANTIATE_TEST_SUITE_P(Rows, VbusPageOpenBoxTest,
                         testing::Values(OpenBoxRow{"IrpStates", 1047, kIrpTitle, false},
                                         OpenBoxRow{"DangleVcom", 1060, L"TAVIX Message", true},
                                         OpenBoxRow{"Crash", 1054, L"TAVIX Message", true}),
                         [](const auto& row) { return std::string(row.param.name); });

// A thousand menus, run by TAVIX_LONG_TESTS, leave as little behind.
TEST_F(VbusPageTest, NothingRemainsOfTheMenu) {
    OpenPage();
    UINT command = 0;
    REPLACE_CALL(track, TrackPopupMenuEx, [&](HMENU, UINT, int, int, HWND, LPTPMPARAMS) { return command; });
    REPLACE_CALL(box, MessageBoxW, [](HWND, LPCWSTR, LPCWSTR, UINT) { return IDYES; });
    ExpectNoLeaks(
        [&] {
            for (const UINT each : {0u, 1060u, 1061u, 1054u}) {
                command = each;
                SendMessageW(page_, WM_COMMAND, MAKEWPARAM(IDC_VBUS_DEVELOPER_MENU, STN_DBLCLK), 0);
            }
        },
        kLeakRuns);
}

}  // namespace
