// The dialog that resets a USB device's pipes and port.
#include "tools/usb_tweak.h"

#include <gtest/gtest.h>

#include "driver/device_info.h"
#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "tests/support/real_input.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/tools_menu_fixture.h"
#include "ui/custom_resource.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr wchar_t kCaption[] = L"<TAVIX Scanner (COM5)> USB device tweak";
constexpr wchar_t kDisconnected[] = L"Operation result: USB device is disconnected.";
constexpr int kInfoText = 100;

class UsbTweakTest : public ToolsMenuTest {
  protected:
    void SetUp() override {
        ToolsMenuTest::SetUp();
        OpenIdlePage();
    }
    // Has the open dialog press the buttons, one after the other, and close.
    void PressAndClose(std::vector<int> buttons) {
        for (size_t press = 0; press < buttons.size(); ++press)
            modal_.ExpectBox(L"Result").Press(IDOK);
        modal_.ExpectBox(kCaption).Do([this, buttons](BoxView& dialog) {
            for (size_t press = 0; press < buttons.size(); ++press) {
                dialog.Press(buttons[press]);
                dialog.WaitFor("the result", [&] { return modal_.boxes().size() >= press + 2; });
                dialog.WaitFor("the dialog to be back",
                               [&] { return IsWindowEnabled(dialog.window()) != 0; });
            }
            dialog.Post(WM_COMMAND, IDCANCEL);
        });
    }
    std::vector<std::wstring> ResultTexts() const {
        std::vector<std::wstring> texts;
        for (const BoxRecord& box : modal_.boxes())
            if (box.title == L"Result") texts.push_back(box.ControlText(kInfoText));
        return texts;
    }
};

TEST_F(UsbTweakTest, TheMenuOpensItOwnedByThePage) {
    modal_.ExpectBox(kCaption).Do([](BoxView& dialog) {
        SaveScreenshot(dialog.window(), L"usb_tweak");
        dialog.Post(WM_COMMAND, IDCANCEL);
    });
    const HeldKeys keys({VK_SHIFT});
    Choose(1046);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
    EXPECT_FALSE(modal_.boxes()[0].ownerEnabled);
    EXPECT_EQ(modal_.boxes()[0].Buttons(), (std::vector<int>{1100, 1101, 1102, 1103}));
}

TEST_F(UsbTweakTest, WithCtrlItHasNoOwnerAndThePageStaysUsable) {
    bool pageUsable = false;
    modal_.ExpectBox(kCaption).Do([&](BoxView& dialog) {
        pageUsable = IsWindowEnabled(frame_.get()) && IsWindowEnabled(GetDlgItem(page_, IDC_VCOM_REFRESH));
        dialog.Post(WM_COMMAND, IDCANCEL);
    });
    const HeldKeys keys({VK_SHIFT, VK_CONTROL});
    Choose(1046);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].owner, nullptr);
    EXPECT_TRUE(pageUsable);
}

TEST_F(UsbTweakTest, EachButtonSendsItsRequestWithTheDevicesNameAlone) {
    PressAndClose({1100, 1101, 1102, 1103});
    ShowUsbTweak(Host(), false);
    EXPECT_EQ(TakeRequests(), (Names{L"UsbTweak0", L"UsbTweak1", L"UsbTweak2", L"UsbTweak3"}));
    for (const LoggedRequest& request : taken()) {
        EXPECT_EQ(request.input.size(), sizeof(DeviceName_st));
        EXPECT_EQ(request.DeviceName(), DeviceTail());
        EXPECT_EQ(request.record.outputBytes, 0u);
    }
    EXPECT_EQ(ResultTexts(), Names(4, L"Operation success."));
}

struct ResultRow {
    const char* name;
    int32_t status;
    const wchar_t* text;
    LPCWSTR icon;

    friend void PrintTo(const ResultRow& row, std::ostream* out) { *out << row.name; }
};

class UsbTweakResultTest : public UsbTweakTest, public testing::WithParamInterface<ResultRow> {};

TEST_P(UsbTweakResultTest, IsShownWithItsIcon) {
    if (GetParam().status != 0) {
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_UsbTweak2, GetParam().status), ERROR_SUCCESS);
    }
    modal_.ExpectBox(L"Result").Do([](BoxView& box) {
        const HICON icon =
            reinterpret_cast<HICON>(SendMessageW(GetDlgItem(box.window(), 101), STM_GETICON, 0, 0));
        EXPECT_EQ(icon, LoadIconW(nullptr, GetParam().icon));
        EXPECT_EQ(box.Text(1), L"OK");
        SaveScreenshot(box.window(),
                       std::wstring(L"usb_tweak_result_") + (GetParam().status != 0 ? L"bad" : L"good"));
        box.Press(IDOK);
    });
    modal_.ExpectBox(kCaption).Do([this](BoxView& dialog) {
        dialog.Press(1102);
        dialog.WaitFor("the result", [&] { return modal_.boxes().size() == 2; });
        dialog.WaitFor("the dialog to be back", [&] { return IsWindowEnabled(dialog.window()) != 0; });
        dialog.Post(WM_COMMAND, IDCANCEL);
    });
    ShowUsbTweak(Host(), false);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(ResultTexts(), Names{GetParam().text});
    EXPECT_EQ(modal_.boxes()[1].owner, modal_.boxes()[0].window);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsbTweakResultTest,
    testing::Values(ResultRow{"Success", 0, L"Operation success.", IDI_ASTERISK},
                    ResultRow{"Disconnected", static_cast<int32_t>(0xC0000034), kDisconnected,
                              IDI_EXCLAMATION},
                    ResultRow{"Denied", static_cast<int32_t>(0xC0000022),
                              L"Operation result: WinErr=5(ERROR_ACCESS_DENIED)", IDI_EXCLAMATION},
                    ResultRow{"Lost", static_cast<int32_t>(0xC000009D),
                              L"Operation result: WinErr=1167(ERROR_DEVICE_NOT_CONNECTED)", IDI_EXCLAMATION},
                    ResultRow{"UnknownCode", static_cast<int32_t>(0xC000009A),
                              L"Operation result: WinErr=1450(UnknownWinErrCode)", IDI_EXCLAMATION}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(UsbTweakTest, AnUnpluggedDeviceIsSaidToBeDisconnectedByEveryButton) {
    ASSERT_EQ(driver_.SetOnline(device_.huid, false), ERROR_SUCCESS);
    PressAndClose({1100, 1101, 1102, 1103});
    ShowUsbTweak(Host(), false);
    EXPECT_EQ(ResultTexts(), Names(4, kDisconnected));
}

TEST_F(UsbTweakTest, WithoutABusEveryButtonReportsIt) {
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    PressAndClose({1100});
    ShowUsbTweak(Host(), false);
    EXPECT_EQ(ResultTexts(), Names{L"Operation result: WinErr=1167(ERROR_DEVICE_NOT_CONNECTED)"});
}

TEST_F(UsbTweakTest, ADeviceWithoutAnIdentitySendsNothing) {
    ReplacedCall<SetupDiGetDeviceInstanceIdW> identity(
        "SetupDiGetDeviceInstanceIdW",
        [](HDEVINFO, SP_DEVINFO_DATA*, wchar_t*, DWORD, DWORD*) { return FALSE; });
    PressAndClose({1103});
    ShowUsbTweak(Host(), false);
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_EQ(ResultTexts(), Names{L"Operation result: WinErr=1167(ERROR_DEVICE_NOT_CONNECTED)"});
}

TEST_F(UsbTweakTest, EscapeAndTheCloseBoxCloseItWithTwo) {
    std::vector<INT_PTR> results;
    REPLACE_CALL(end, EndDialog, [&](HWND dialog, INT_PTR result) {
        results.push_back(result);
        return EndDialog(dialog, result);
    });
    modal_.ExpectBox(kCaption).Do([](BoxView& dialog) { dialog.Post(WM_KEYDOWN, VK_ESCAPE); });
    ShowUsbTweak(Host(), false);
    modal_.ExpectBox(kCaption).Do([](BoxView& dialog) { dialog.Close(); });
    ShowUsbTweak(Host(), false);
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_EQ(results, (std::vector<INT_PTR>{2, 2}));
}

// With the real keyboard alone: Space for the button with the focus, the mnemonics for the others.
TEST_F(UsbTweakTest, TheKeyboardReachesEveryButtonAndLeaves) {
    modal_.ExpectBox(kCaption).Do([this](BoxView& dialog) {
        SetForegroundWindow(dialog.window());
        dialog.Settle();
        size_t results = 0;
        for (const WORD key : {WORD{VK_SPACE}, WORD{'I'}, WORD{'R'}, WORD{'C'}, WORD{'O'}}) {
            modal_.ExpectBox(L"Result").Do([](BoxView&) { TypeKeys({VK_RETURN}); });
            TypeKeys({key});
            ++results;
            dialog.WaitFor("the result", [&] { return modal_.boxes().size() == 1 + results; });
            dialog.WaitFor("the dialog to be back", [&] { return GetForegroundWindow() == dialog.window(); });
            dialog.Settle();
        }
        TypeKeys({VK_ESCAPE});
    });
    ShowUsbTweak(Host(), false);
    EXPECT_EQ(TakeRequests(), (Names{L"UsbTweak0", L"UsbTweak1", L"UsbTweak2", L"UsbTweak3", L"UsbTweak0"}));
}

TEST_F(UsbTweakTest, ACustomersIconIsTheDialogs) {
    UseCustomer(CustomerLibrary());
    LRESULT icon = 0;
    modal_.ExpectBox(kCaption).Do([&](BoxView& dialog) {
        icon = dialog.Send(WM_GETICON, ICON_SMALL);
        SaveScreenshot(dialog.window(), L"usb_tweak_customer");
        dialog.Close();
    });
    ShowUsbTweak(Host(), false);
    EXPECT_EQ(reinterpret_cast<HICON>(icon), CustomSmallIcon());
    EXPECT_NE(CustomSmallIcon(), LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_TAVIX_SMALL)));
}

TEST_F(UsbTweakTest, ALongNameIsWholeInTheCaption) {
    const std::wstring name(kFriendlyNameChars - 1, L'n');
    REPLACE_CALL(
        property, SetupDiGetDeviceRegistryPropertyW,
        [&](HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD* type, BYTE* buffer, DWORD bytes, DWORD* needed) {
            const auto size = static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t));
            if (needed != nullptr) *needed = size;
            if (type != nullptr) *type = REG_SZ;
            if (bytes < size) {
                SetLastError(ERROR_INSUFFICIENT_BUFFER);
                return FALSE;
            }
            memcpy(buffer, name.c_str(), size);
            return TRUE;
        });
    std::wstring caption;
    modal_.ExpectBox().Do([&](BoxView& dialog) {
        caption = dialog.Title();
        dialog.Close();
    });
    ShowUsbTweak(Host(), false);
    EXPECT_EQ(caption, L"<" + name + L"> USB device tweak");
}

TEST_F(UsbTweakTest, HasTheSmallIcon) {
    LRESULT bigIcon = 0;
    LRESULT smallIcon = 0;
    modal_.ExpectBox(kCaption).Do([&](BoxView& dialog) {
        bigIcon = dialog.Send(WM_GETICON, ICON_BIG);
        smallIcon = dialog.Send(WM_GETICON, ICON_SMALL);
        dialog.Close();
    });
    ShowUsbTweak(Host(), false);
    EXPECT_EQ(reinterpret_cast<HICON>(bigIcon), CustomSmallIcon());
    EXPECT_EQ(reinterpret_cast<HICON>(smallIcon), CustomSmallIcon());
}

TEST_F(UsbTweakTest, OpensInTheActivationContextAndNotAtAllWithoutIt) {
    int active = 0;
    ReplacedCall<ActivateActCtx> activate("ActivateActCtx", [&](HANDLE context, ULONG_PTR* cookie) {
        ++active;
        return ActivateActCtx(context, cookie);
    });
    ReplacedCall<DeactivateActCtx> deactivate("DeactivateActCtx", [&](DWORD flags, ULONG_PTR cookie) {
        --active;
        return DeactivateActCtx(flags, cookie);
    });
    int activeInside = 0;
    ReplacedCall<DialogBoxParamW> dialogBox("DialogBoxParamW",
                                            [&](HINSTANCE, LPCWSTR, HWND, DLGPROC, LPARAM) -> INT_PTR {
                                                activeInside = active;
                                                return IDCANCEL;
                                            });
    ShowUsbTweak(Host(), false);
    EXPECT_EQ(activeInside, 1);
    EXPECT_EQ(active, 0);
    {
        ReplacedCall<ActivateActCtx> fails("ActivateActCtx", [](HANDLE, ULONG_PTR*) { return FALSE; });
        ShowUsbTweak(Host(), false);
    }
    EXPECT_EQ(dialogBox.calls(), 1);
}

TEST_F(UsbTweakTest, ADetachedDialogOutlivesThePage) {
    modal_.ExpectBox(L"Result").Press(IDOK);
    modal_.ExpectBox(kCaption).Do([this](BoxView& dialog) {
        // To the page's own thread, where the dialog's loop runs.
        SendMessageW(frame_.get(), WM_CLOSE, 0, 0);
        EXPECT_TRUE(WaitUntil("the page to be gone", [&] { return !IsWindow(page_); }));
        dialog.Press(1100);
        dialog.WaitFor("the result", [&] { return modal_.boxes().size() == 2; });
        dialog.WaitFor("the dialog to be back", [&] { return IsWindowEnabled(dialog.window()) != 0; });
        dialog.Close();
    });
    const std::wstring tail = DeviceTail();
    ShowUsbTweak(Host(), true);
    EXPECT_EQ(TakeRequests(), Names{L"UsbTweak0"});
    EXPECT_EQ(taken()[0].DeviceName(), tail);
    page_ = nullptr;
}

// Everything that lies upon the sheet goes with it.
TEST_F(UsbTweakTest, ASheetClosedBehindAResultTakesBothAlong) {
    modal_.ExpectBox(L"Result").DoAndLeaveOpen([this](BoxView&) {
        SendMessageW(frame_.get(), WM_CLOSE, 0, 0);
        EXPECT_TRUE(WaitUntil("the page to be gone", [&] { return !IsWindow(page_); }));
    });
    modal_.ExpectBox(kCaption).DoAndLeaveOpen([](BoxView& dialog) { dialog.Press(1100); });
    ShowUsbTweak(Host(), false);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    for (const BoxRecord& box : modal_.boxes())
        EXPECT_FALSE(IsWindow(box.window));
    page_ = nullptr;
}

}  // namespace
