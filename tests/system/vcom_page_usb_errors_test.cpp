// The USB error line of the VCOM page and the details behind it.
#include <gtest/gtest.h>

#include <algorithm>

#include "driver/usb_err_stat.h"
#include "resources/resource_ids.h"
#include "tests/support/screenshot.h"
#include "tests/support/timer_record.h"
#include "tests/support/wait_until.h"
#include "tests/system/vcom_page_fixture.h"

namespace {

constexpr COLORREF kLightRed = RGB(255, 192, 192);
constexpr COLORREF kLightYellow = RGB(255, 255, 192);

COLORREF BrushColor(HBRUSH brush) {
    LOGBRUSH description = {};
    GetObjectW(brush, sizeof(description), &description);
    return description.lbColor;
}

UsbErrStat_st Stat(uint32_t count, uint64_t detected, uint64_t recovered) {
    UsbErrStat_st stat = {};
    stat.headerWord = kUsbErrStatHeaderWord;
    stat.evaluate = 1;
    stat.bucketCounts[5] = count;
    stat.lastInErrorTime = detected;
    stat.lastInRecoveredTime = recovered;
    return stat;
}

class VcomPageUsbErrorTest : public VcomPageTest {
  protected:
    void Show(const UsbErrStat_st& stat) {
        ASSERT_EQ(driver_.SetUsbErrStat(device_.huid, stat), ERROR_SUCCESS);
        if (page_ == nullptr) OpenPage();
        Tick();
    }
};

TEST_F(VcomPageUsbErrorTest, WithoutErrorsLineAndButtonAreEmptyAndHidden) {
    Show(Stat(0, 0, 0));
    EXPECT_EQ(Text(IDC_VCOM_USB_ERROR_LINE), L"");
    EXPECT_FALSE(IsShown(IDC_VCOM_USB_ERROR_DETAILS));
    EXPECT_EQ(LookOf(IDC_VCOM_USB_ERROR_LINE).brush, nullptr);
}

TEST_F(VcomPageUsbErrorTest, ACountOfOfflinesIsShownWithoutAButton) {
    UsbErrStat_st stat = Stat(0, 0, 0);
    stat.offlineCount = 5'000'000'000;
    Show(stat);
    EXPECT_EQ(Text(IDC_VCOM_USB_ERROR_LINE), L"USB device offline count: 5000000000");
    EXPECT_FALSE(IsShown(IDC_VCOM_USB_ERROR_DETAILS));
}

TEST_F(VcomPageUsbErrorTest, EarlierRecoveriesShowTheButton) {
    UsbErrStat_st stat = Stat(0, 0, 0);
    stat.totals.usbPortCycles = 1;
    Show(stat);
    EXPECT_EQ(Text(IDC_VCOM_USB_ERROR_LINE), L"");
    EXPECT_TRUE(IsShown(IDC_VCOM_USB_ERROR_DETAILS));
}

TEST_F(VcomPageUsbErrorTest, RecoveredErrorsAreYellow) {
    Show(Stat(12, 8, 9));
    EXPECT_EQ(Text(IDC_VCOM_USB_ERROR_LINE), L"USB error recovered. (count=12)");
    EXPECT_TRUE(IsShown(IDC_VCOM_USB_ERROR_DETAILS));
    const Look look = LookOf(IDC_VCOM_USB_ERROR_LINE);
    EXPECT_EQ(BrushColor(look.brush), kLightYellow);
    EXPECT_EQ(look.brush, params_->lightYellowBrush.get());
    EXPECT_EQ(look.mode, TRANSPARENT);
    EXPECT_EQ(look.text, RGB(0, 0, 0));
    EXPECT_EQ(LookOf(IDC_VCOM_USB_ERROR_LINE, WM_CTLCOLOREDIT).brush, look.brush);
    SaveScreenshot(page_, L"vcom_page_usb_error_recovered");
}

TEST_F(VcomPageUsbErrorTest, UnrecoveredErrorsAreRed) {
    Show(Stat(3, 9, 9));
    EXPECT_EQ(Text(IDC_VCOM_USB_ERROR_LINE), L"USB error detected, recovering... (count=3)");
    EXPECT_EQ(BrushColor(LookOf(IDC_VCOM_USB_ERROR_LINE).brush), kLightRed);
    SaveScreenshot(page_, L"vcom_page_usb_error_recovering");
}

TEST_F(VcomPageUsbErrorTest, ErrorsComeAndRecoverWithTheTicks) {
    Show(Stat(1, 9, 0));
    Show(Stat(1, 9, 10));
    EXPECT_EQ(BrushColor(LookOf(IDC_VCOM_USB_ERROR_LINE).brush), kLightYellow);
    Show(Stat(0, 0, 0));
    EXPECT_EQ(LookOf(IDC_VCOM_USB_ERROR_LINE).brush, nullptr);
    EXPECT_FALSE(IsShown(IDC_VCOM_USB_ERROR_DETAILS));
}

TEST_F(VcomPageUsbErrorTest, CountersThatAreNotEvaluatedColorTheName) {
    UsbErrStat_st stat = Stat(3, 9, 0);
    stat.evaluate = 0;
    Show(stat);
    EXPECT_EQ(LookOf(IDC_VCOM_FRIENDLY_NAME).text, RGB(192, 128, 96));
    EXPECT_EQ(Text(IDC_VCOM_USB_ERROR_LINE), L"");
    SaveScreenshot(page_, L"vcom_page_not_evaluated");
    stat.evaluate = 1;
    Show(stat);
    EXPECT_EQ(LookOf(IDC_VCOM_FRIENDLY_NAME).brush, nullptr);
}

// The theme paints pages with a texture of its own, through the default procedure.
TEST_F(VcomPageUsbErrorTest, CountersThatAreNotEvaluatedLeaveTheBackgroundToTheTheme) {
    UsbErrStat_st stat = Stat(3, 9, 0);
    stat.evaluate = 0;
    Show(stat);
    const OwnedBrush texture(CreateSolidBrush(RGB(1, 2, 3)));
    REPLACE_CALL(themed, DefDlgProcW, [&](HWND page, UINT message, WPARAM dc, LPARAM control) -> LRESULT {
        EXPECT_FALSE(Answer(message, dc, control)) << "the page has no wish of its own";
        SetBkMode(reinterpret_cast<HDC>(dc), TRANSPARENT);
        SetTextColor(reinterpret_cast<HDC>(dc), RGB(4, 5, 6));
        EXPECT_EQ(page, page_);
        return reinterpret_cast<LRESULT>(texture.get());
    });
    for (const UINT message : {WM_CTLCOLORSTATIC, WM_CTLCOLOREDIT}) {
        const Look look = LookOf(IDC_VCOM_FRIENDLY_NAME, message);
        EXPECT_EQ(look.brush, texture.get());
        EXPECT_EQ(look.mode, TRANSPARENT);
        EXPECT_EQ(look.text, RGB(192, 128, 96));
    }
}

TEST_F(VcomPageUsbErrorTest, WithoutAThemeOnlyTheTextDiffers) {
    UsbErrStat_st stat = Stat(3, 9, 0);
    stat.evaluate = 0;
    Show(stat);
    const HWND name = GetDlgItem(page_, IDC_VCOM_FRIENDLY_NAME);
    const HDC dc = GetDC(name);
    const auto usual = reinterpret_cast<HBRUSH>(DefWindowProcW(
        page_, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(name)));
    const COLORREF background = GetBkColor(dc);
    ReleaseDC(name, dc);
    EXPECT_EQ(LookOf(IDC_VCOM_FRIENDLY_NAME).brush, usual);
    EXPECT_EQ(LookOf(IDC_VCOM_FRIENDLY_NAME).background, background);
}

TEST_F(VcomPageUsbErrorTest, AFailedRequestIsNamedAndHidesTheButton) {
    Show(Stat(3, 9, 0));
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetUsbErrStat, static_cast<int32_t>(0xC000009D)), ERROR_SUCCESS);
    Tick();
    EXPECT_EQ(Text(IDC_VCOM_USB_ERROR_LINE), L"ERROR_DEVICE_NOT_CONNECTED(1167)");
    EXPECT_FALSE(IsShown(IDC_VCOM_USB_ERROR_DETAILS));
    EXPECT_EQ(LookOf(IDC_VCOM_USB_ERROR_LINE).brush, nullptr);
}

TEST_F(VcomPageUsbErrorTest, AHiddenButtonPassesTheFocusOn) {
    Show(Stat(3, 9, 0));
    EnableWindow(page_, TRUE);
    SetFocus(GetDlgItem(page_, IDC_VCOM_USB_ERROR_DETAILS));
    Show(Stat(0, 0, 0));
    EXPECT_EQ(GetFocus(), GetDlgItem(page_, IDC_VCOM_REFRESH));
}

TEST_F(VcomPageUsbErrorTest, DetailsWithAltAreAPlainMessageBox) {
    Show(Stat(3, 9, 0));
    modal_.ExpectBox(L"USB error details").Press(IDOK);
    const HeldKeys keys({VK_MENU});
    Click(IDC_VCOM_USB_ERROR_DETAILS);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, params_->usbErrText);
    EXPECT_EQ(modal_.boxes()[0].icon, 0u);
}

TEST_F(VcomPageUsbErrorTest, DetailsAreAnInfoBoxThatRefreshesItself) {
    Show(Stat(3, 9, 0));
    const TimerRecord ticking;  // the box refreshes by its own timer; the page's stays held
    modal_.ExpectBox(L"USB error details").Do([&](BoxView& box) {
        EXPECT_EQ(box.Text(1), L"Close");
        EXPECT_TRUE(box.IsChecked(102));
        EXPECT_EQ(box.Text(100), params_->usbErrText);
        SaveScreenshot(box.window(), L"vcom_page_usb_error_details");
        driver_.FailNext(IOCTL_TAVIX_GetUsbErrStat, static_cast<int32_t>(0xC000009D), 1000);
        box.WaitFor("the text of a lost flowpath", [&] { return box.Text(100) == L"Flowpath is lost."; });
        driver_.ClearFaults();
        driver_.FailNext(IOCTL_TAVIX_GetUsbErrStat, static_cast<int32_t>(0xC000009A), 1000);
        box.WaitFor("the text of an error", [&] {
            return box.Text(100) == L"IOCTL_TAVIX_GetUsbErrStat fail: WinErr=1450(UnknownWinErrCode)";
        });
        driver_.ClearFaults();
        box.Press(1);
    });
    Click(IDC_VCOM_USB_ERROR_DETAILS);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].owner, frame_.get());
    EXPECT_EQ(modal_.boxes()[0].Control(2)->visible, false);
}

TEST_F(VcomPageUsbErrorTest, DetailsAreReadAgainEveryTwoSeconds) {
    Show(Stat(3, 9, 0));
    std::vector<UINT> intervals;
    REPLACE_CALL(set, SetTimer, [&](HWND window, UINT_PTR id, UINT interval, TIMERPROC procedure) {
        intervals.push_back(interval);
        return SetTimer(window, id, interval, procedure);
    });
    modal_.ExpectBox(L"USB error details").Press(1);
    Click(IDC_VCOM_USB_ERROR_DETAILS);
    EXPECT_EQ(std::count(intervals.begin(), intervals.end(), 2000u), 1);
}

TEST_F(VcomPageUsbErrorTest, DetailsWithCtrlHaveNoOwner) {
    Show(Stat(3, 9, 0));
    modal_.ExpectBox(L"USB error details").Press(1);
    const HeldKeys keys({VK_CONTROL});
    Click(IDC_VCOM_USB_ERROR_DETAILS);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].owner, nullptr);
}

TEST_F(VcomPageUsbErrorTest, AClosedPageDoesNotHurtTheDetailsThatOutliveIt) {
    Show(Stat(3, 9, 0));
    const TimerRecord ticking;  // the box refreshes by its own timer; the page's stays held
    modal_.ExpectBox(L"USB error details").Do([&](BoxView& box) {
        PostMessageW(frame_.get(), WM_CLOSE, 0, 0);
        box.WaitFor("the page to be gone", [&] { return !IsWindow(page_); });
        DestroyDeviceList();
        driver_.SetUsbErrStat(device_.huid, Stat(77, 9, 0));
        box.WaitFor("the counters of the device",
                    [&] { return box.Text(100).find(L"  77  ") != std::wstring::npos; });
        box.Press(1);
    });
    const HeldKeys keys({VK_CONTROL});
    Click(IDC_VCOM_USB_ERROR_DETAILS);
    page_ = nullptr;
    EXPECT_FALSE(IsWindow(frame_.release()));
}

}  // namespace
