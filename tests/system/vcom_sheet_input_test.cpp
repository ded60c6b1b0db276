// The tools menu of the VCOM page as a person uses it: with the real keyboard alone, or with the real mouse,
// with and without Shift and Ctrl.
#include "tests/system/vcom_sheet_fixture.h"

#include <algorithm>

#include <commctrl.h>
#include <shellapi.h>

#include "driver/protocol.h"
#include "resources/resource_ids.h"
#include "tests/support/import_redirect.h"
#include "tests/support/real_input.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"

namespace {

constexpr int32_t kDenied = static_cast<int32_t>(0xC0000022);
constexpr wchar_t kFlowpathTitle[] = L"Flowpath Statistics";
constexpr wchar_t kIrpTitle[] = L"TAVIX internal IRP state";
constexpr wchar_t kTweakTitle[] = L"USB device tweak";
constexpr int kInfoText = 100;

HWND g_closingSheet = nullptr;

bool Contains(const std::wstring& text, const wchar_t* part) {
    return text.find(part) != std::wstring::npos;
}

class VcomSheetInputTest : public VcomSheetTest {
  protected:
    // At the screen's corner, away from boxes in its middle; the focus is where the sheet puts it. No program
    // shows the user guide.
    void SetUp() override {
        OpenSheet();
        shell_ = std::make_unique<ReplacedCall<ShellExecuteExW>>(
            "ShellExecuteExW",
            [](SHELLEXECUTEINFOW*) {
                SetLastError(ERROR_NO_ASSOCIATION);
                return FALSE;
            },
            GetModuleHandleW(L"tavix_coinstaller.dll"));
        SetWindowPos(sheet_.get(), nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        NewRequests();
    }
    void TearDown() override {
        shell_.reset();
        VcomSheetTest::TearDown();
    }
    HWND ToolsButton() const { return GetDlgItem(page_, IDC_VCOM_TOOLS); }

    // As the loop of a property sheet does. What a message brings about, its menu and boxes included, is done
    // when the condition is asked.
    template <typename Condition>
    void RunSheetUntil(const std::string& what, Condition condition) {
        EXPECT_TRUE(WaitUntil(what, [&] {
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
                if (PropSheet_IsDialogMessage(sheet_.get(), &message)) continue;
                TranslateMessage(&message);
                DispatchMessageW(&message);
            }
            return condition();
        }));
    }
    void RunSheetUntilMenuIsDone() {
        RunSheetUntil("the menu", [this] { return !modal_->menus().empty(); });
    }
    static void TypeAltT() {
        const KeysDown alt({VK_MENU});
        TypeKeys({'T'});
    }
    // The menu by Alt and T, and in it the keys.
    void TypeInMenu(const std::vector<WORD>& keys) {
        modal_->ExpectMenu().Do([keys](MenuView&) {
            for (const WORD key : keys)
                TypeKeys({key});
        });
        TypeAltT();
        RunSheetUntilMenuIsDone();
    }
    void ChooseByMouse(UINT command) {
        modal_->LetMenusHeedPointer();
        modal_->ExpectMenu().Do([command](MenuView& menu) { menu.ChooseByMouse(command); });
        ClickOn(ToolsButton());
        RunSheetUntilMenuIsDone();
    }
    void ExpectBoxThatEscapeCloses() {
        modal_->ExpectBox().Do([](BoxView&) { TypeKeys({VK_ESCAPE}); });
    }
    // Those of the page's regular updates left out.
    std::vector<std::wstring> RequestNames() {
        std::vector<std::wstring> names;
        requests_ = NewRequests();
        std::erase_if(requests_, [](const LoggedRequest& request) {
            return request.record.code == IOCTL_TAVIX_GetUsbErrStat;
        });
        for (const LoggedRequest& request : requests_)
            names.emplace_back(RequestName(request.record.code));
        return names;
    }

    std::vector<LoggedRequest> requests_;

  private:
    std::unique_ptr<ReplacedCall<ShellExecuteExW>> shell_;
};

struct MnemonicRow {
    const char* name;
    WORD key;
    const wchar_t* title;  // a part of it
    const wchar_t* text;   // how a message begins

    friend void PrintTo(const MnemonicRow& row, std::ostream* out) { *out << row.name; }
};

class VcomSheetMnemonicTest : public VcomSheetInputTest, public testing::WithParamInterface<MnemonicRow> {};

TEST_P(VcomSheetMnemonicTest, ReachesItsEntryAndEscapeLeadsBackToTheButton) {
    for (const uint32_t request : {IOCTL_TAVIX_GetUsbdInfo, IOCTL_TAVIX_QueryVcomFdoPdo})
        ASSERT_EQ(driver.FailNext(request, kDenied), static_cast<DWORD>(ERROR_SUCCESS));
    ExpectBoxThatEscapeCloses();
    TypeInMenu({GetParam().key});
    ASSERT_EQ(modal_->boxes().size(), 1u);
    const BoxRecord box = modal_->boxes()[0];
    EXPECT_TRUE(Contains(box.title, GetParam().title)) << NarrowText(box.title);
    EXPECT_EQ(box.text.rfind(GetParam().text, 0), 0u) << NarrowText(box.text);
    EXPECT_EQ(box.owner, sheet_.get());
    EXPECT_EQ(GetFocus(), ToolsButton());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VcomSheetMnemonicTest,
    testing::Values(MnemonicRow{"Terminal", 'T', L"TAVIX Message",
                                L"IOCTL_TAVIX_QueryVcomFdoPdo meets WinErr=5(ERROR_ACCESS_DENIED)"},
                    MnemonicRow{"Flowpath", 'F', kFlowpathTitle, L""},
                    MnemonicRow{"UsbDevice", 'U', L"TAVIX Message",
                                L"Error in GetUsbdPathOfVcom(). UfAppErr=2(UfAppErr_Unknown)."},
                    MnemonicRow{"Guide", 'G', L"FlexiInfo", L""},
                    MnemonicRow{"About", 'A', L"About TAVIX", L""}),
    [](const auto& row) { return std::string(row.param.name); });

struct ArrowRow {
    const char* name;
    std::vector<WORD> keys;
    const wchar_t* title;  // a part of it; null for no box

    friend void PrintTo(const ArrowRow& row, std::ostream* out) { *out << row.name; }
};

class VcomSheetArrowTest : public VcomSheetInputTest, public testing::WithParamInterface<ArrowRow> {};

TEST_P(VcomSheetArrowTest, ChooseWithEnter) {
    if (GetParam().title != nullptr) ExpectBoxThatEscapeCloses();
    TypeInMenu(GetParam().keys);
    ASSERT_EQ(modal_->boxes().size(), GetParam().title != nullptr ? 1u : 0u);
    if (GetParam().title != nullptr) {
        EXPECT_TRUE(Contains(modal_->boxes()[0].title, GetParam().title));
    }
    EXPECT_EQ(GetFocus(), ToolsButton());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VcomSheetArrowTest,
    testing::Values(ArrowRow{"DownSkipsNothing", {VK_DOWN, VK_DOWN, VK_RETURN}, kFlowpathTitle},
                    ArrowRow{"DownSkipsTheSeparator",
                             {VK_DOWN, VK_DOWN, VK_DOWN, VK_DOWN, VK_DOWN, VK_RETURN},
                             L"About TAVIX"},
                    ArrowRow{"UpFromTheTop", {VK_UP, VK_RETURN}, L"About TAVIX"},
                    ArrowRow{"EscapeLeaves", {VK_DOWN, VK_ESCAPE}, nullptr},
                    ArrowRow{"AltLeaves", {VK_DOWN, VK_MENU}, nullptr}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(VcomSheetInputTest, TheArrowsReachTheSubmenuWithShift) {
    const KeysDown shift({VK_SHIFT});
    TypeInMenu({VK_UP, VK_RIGHT, VK_DOWN, VK_RETURN});
    ASSERT_EQ(RequestNames(), (std::vector<std::wstring>{L"GetFlowpathStat", L"SetWdfDeviceState"}));
    WdfDeviceStateRequest_st sent = {};
    ASSERT_EQ(requests_[1].input.size(), sizeof(sent));
    std::copy(requests_[1].input.begin(), requests_[1].input.end(), reinterpret_cast<uint8_t*>(&sent));
    EXPECT_EQ(sent.stateIndex, kWdfStateDisabled);
    EXPECT_EQ(sent.value, 1u);
}

// Ctrl makes other characters of letters, so that it is let go before one is typed.
TEST_F(VcomSheetInputTest, CtrlAtTheOpeningDetachesByKeyboard) {
    SetFocus(ToolsButton());
    modal_->ExpectMenu().Do([](MenuView&) { TypeKeys({'F'}); });
    ExpectBoxThatEscapeCloses();
    {
        const KeysDown ctrl({VK_CONTROL});
        TypeKeys({VK_SPACE});
    }
    RunSheetUntilMenuIsDone();
    ASSERT_EQ(modal_->boxes().size(), 1u);
    EXPECT_TRUE(Contains(modal_->boxes()[0].title, kFlowpathTitle));
    EXPECT_EQ(modal_->boxes()[0].owner, nullptr);
}

struct MouseRow {
    const char* name;
    UINT command;
    bool shift;
    const wchar_t* title;  // a part of it
    bool canDetach;

    friend void PrintTo(const MouseRow& row, std::ostream* out) { *out << row.name; }
};

class VcomSheetMouseTest : public VcomSheetInputTest, public testing::WithParamInterface<MouseRow> {
  protected:
    void ExpectOwned(bool owned) {
        ASSERT_EQ(modal_->boxes().size(), 1u);
        EXPECT_TRUE(Contains(modal_->boxes()[0].title, GetParam().title));
        EXPECT_EQ(modal_->boxes()[0].owner, owned ? sheet_.get() : nullptr);
    }
};

TEST_P(VcomSheetMouseTest, OpensItsDialogOwnedByTheSheet) {
    ExpectBoxThatEscapeCloses();
    std::unique_ptr<KeysDown> shift;
    if (GetParam().shift) shift = std::make_unique<KeysDown>(std::initializer_list<WORD>{VK_SHIFT});
    ChooseByMouse(GetParam().command);
    ExpectOwned(true);
}

// As the hint says. Escape would be another command with Ctrl.
TEST_P(VcomSheetMouseTest, WithCtrlDetachesWhereThereIsSomethingToDetach) {
    modal_->ExpectBox().Close();
    std::unique_ptr<KeysDown> shift;
    if (GetParam().shift) shift = std::make_unique<KeysDown>(std::initializer_list<WORD>{VK_SHIFT});
    const KeysDown ctrl({VK_CONTROL});
    ChooseByMouse(GetParam().command);
    ExpectOwned(!GetParam().canDetach);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, VcomSheetMouseTest,
    testing::Values(MouseRow{"Flowpath", IDM_TOOLS_FLOWPATH_STAT, false, kFlowpathTitle, true},
                    MouseRow{"Guide", IDM_TOOLS_USER_GUIDE, false, L"FlexiInfo", false},
                    MouseRow{"About", IDM_TOOLS_ABOUT, false, L"About TAVIX", false},
                    MouseRow{"FlowpathWithShift", IDM_TOOLS_FLOWPATH_STAT, true, kFlowpathTitle, true},
                    MouseRow{"UsbTweak", IDM_TOOLS_USB_TWEAK, true, kTweakTitle, true},
                    MouseRow{"IrpStates", IDM_TOOLS_IRP_STATES, true, kIrpTitle, true},
                    MouseRow{"DangleVcom", IDM_TOOLS_DANGLE_VCOM, true, L"TAVIX Message", false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(VcomSheetInputTest, TheMouseReachesTheSubmenu) {
    const KeysDown shift({VK_SHIFT});
    ChooseByMouse(IDM_DEVICE_STATE_YES + kWdfStateRemoved);
    EXPECT_EQ(RequestNames(), (std::vector<std::wstring>{L"GetFlowpathStat", L"SetWdfDeviceState"}));
}

TEST_F(VcomSheetInputTest, AClickBesideTheMenuLeavesIt) {
    modal_->LetMenusHeedPointer();
    modal_->ExpectMenu().Do([this](MenuView&) { ClickOn(GetDlgItem(page_, IDC_VCOM_FRIENDLY_NAME)); });
    ClickOn(ToolsButton());
    RunSheetUntilMenuIsDone();
    EXPECT_TRUE(modal_->boxes().empty());
    EXPECT_TRUE(RequestNames().empty());
}

struct DetachedRow {
    const char* name;
    UINT command;
    const wchar_t* title;

    friend void PrintTo(const DetachedRow& row, std::ostream* out) { *out << row.name; }
};

class VcomSheetDetachedTest : public VcomSheetInputTest, public testing::WithParamInterface<DetachedRow> {
  protected:
    // The owner of a modeless sheet destroys it as soon as its button has closed it.
    void SetUp() override {
        VcomSheetInputTest::SetUp();
        g_closingSheet = sheet_.get();
        timer_ = SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR, DWORD) {
            if (IsWindow(g_closingSheet) && PropSheet_GetCurrentPageHwnd(g_closingSheet) == nullptr)
                DestroyWindow(g_closingSheet);
        });
    }
    void TearDown() override {
        KillTimer(nullptr, timer_);
        static_cast<void>(sheet_.release());
        VcomSheetInputTest::TearDown();
    }
    // What only the open dialog sends.
    bool SendsStill(BoxView& dialog) {
        NewRequests();
        if (GetParam().command == IDM_TOOLS_USB_TWEAK) {
            modal_->ExpectBox(L"Result").Press(IDOK);
            dialog.Press(IDC_TWEAK_CYCLE_PORT);
        }
        return static_cast<bool>(
            WaitUntil("a request of the dialog", [this] { return !NewRequests().empty(); }));
    }

  private:
    UINT_PTR timer_ = 0;
};

TEST_P(VcomSheetDetachedTest, StaysBesideTheUsableSheetAndOutlivesIt) {
    bool refreshed = false;
    bool sheetClosed = false;
    bool alive = false;
    auto keys = std::make_unique<KeysDown>(std::initializer_list<WORD>{VK_SHIFT, VK_CONTROL});
    modal_->ExpectBox().Do([&](BoxView& dialog) {
        keys.reset();
        EXPECT_TRUE(Contains(dialog.Title(), GetParam().title));
        SetWindowPos(dialog.window(), nullptr, 700, 10, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        NewRequests();
        ClickOn(GetDlgItem(page_, IDC_VCOM_REFRESH));
        refreshed = dialog.WaitFor("the page's refresh", [this] {
            const std::vector<std::wstring> names = RequestNames();
            return std::find(names.begin(), names.end(), L"GetVcomCfg") != names.end();
        });
        SaveScreenshot(nullptr, L"detached_" + std::to_wstring(GetParam().command));
        ClickOn(GetDlgItem(sheet_.get(), IDCANCEL));
        sheetClosed = dialog.WaitFor("the sheet to close", [this] { return !IsWindow(sheet_.get()); });
        alive = SendsStill(dialog);
        dialog.Close();
    });
    ChooseByMouse(GetParam().command);
    EXPECT_TRUE(refreshed);
    EXPECT_TRUE(sheetClosed);
    EXPECT_TRUE(alive);
}

INSTANTIATE_TEST_SUITE_P(Rows, VcomSheetDetachedTest,
                         testing::Values(DetachedRow{"Flowpath", IDM_TOOLS_FLOWPATH_STAT, kFlowpathTitle},
                                         DetachedRow{"UsbTweak", IDM_TOOLS_USB_TWEAK, kTweakTitle},
                                         DetachedRow{"IrpStates", IDM_TOOLS_IRP_STATES, kIrpTitle}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
