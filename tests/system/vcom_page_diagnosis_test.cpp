// Who has the port open, the USB device's information, and the self test behind it.
#include <gtest/gtest.h>

#include <algorithm>

#include "driver/device_info.h"
#include "pages/port_names.h"
#include "resources/resource_ids.h"
#include "tests/support/screenshot.h"
#include "tests/system/vcom_page_fixture.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr wchar_t kInfoBoxTitle[] = L"FlexiInfo";

class VcomPageDiagnosisTest : public VcomPageTest {
  protected:
    void OpenIdlePage() {
        OpenPage();
        KillTimer(page_, 51);
        TakeRequests();
    }
    // The text of the one info box that the action opens.
    std::wstring InfoTextOf(const std::function<void()>& action, const wchar_t* picture) {
        modal_.ExpectBox(kInfoBoxTitle).Do([&](BoxView& box) {
            SaveScreenshot(box.window(), picture);
            box.Press(1);
        });
        action();
        return modal_.boxes().empty() ? L"" : modal_.boxes()[0].ControlText(100);
    }
    void DoubleClick() { SendMessageW(page_, WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(3, 3)); }
};

TEST_F(VcomPageDiagnosisTest, AnUnopenedPortIsSaidToBeFree) {
    OpenIdlePage();
    EXPECT_EQ(InfoTextOf([&] { Click(IDC_VCOM_WHO_OPENED); }, L"vcom_page_not_opened"),
              std::wstring(device_.portName) + L" is not opened by any process yet.\r\n\r\n" + kPortLegend);
    EXPECT_EQ(TakeRequests(), Names{L"GetVcomOpenerPid"});
}

TEST_F(VcomPageDiagnosisTest, TheOpenersPathIsShown) {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    ASSERT_EQ(driver_.SetOpenerPid(device_.huid, GetCurrentProcessId()), ERROR_SUCCESS);
    OpenIdlePage();
    EXPECT_EQ(InfoTextOf([&] { Click(IDC_VCOM_WHO_OPENED); }, L"vcom_page_opened"),
              std::wstring(device_.portName) + L" is opened by program (pid=" +
                  std::to_wstring(GetCurrentProcessId()) + L"):\r\n\r\n  " + path + L"\r\n\r\n" +
                  kPortLegend);
}

TEST_F(VcomPageDiagnosisTest, AnOpenerThatCannotBeFoundHasNoPath) {
    ASSERT_EQ(driver_.SetOpenerPid(device_.huid, 0x7FFFFFF0), ERROR_SUCCESS);
    OpenIdlePage();
    const std::wstring text = InfoTextOf([&] { Click(IDC_VCOM_WHO_OPENED); }, L"vcom_page_opener_unknown");
    EXPECT_NE(text.find(L"(pid=2147483632):\r\n\r\n  Unknown process EXE path\r\n\r\n"), std::wstring::npos);
}

TEST_F(VcomPageDiagnosisTest, ADoubleClickShowsTheUsbDeviceAndTestsTheMapping) {
    OpenIdlePage();
    modal_.ExpectBox(kInfoBoxTitle).Do([&](BoxView& box) {
        SaveScreenshot(box.window(), L"vcom_page_usb_device");
        box.Press(1);
    });
    modal_.ExpectBox(L"TAVIX Self test").Press(IDOK);
    DoubleClick();
    ASSERT_EQ(modal_.boxes().size(), 2u);
    const std::wstring text = modal_.boxes()[0].ControlText(100);
    EXPECT_EQ(text.rfind(L"TAVIX CoInstaller version: 1.7.11\r\n\r\nUsb device info :\r\n", 0), 0u)
        << text.c_str();
    EXPECT_EQ(modal_.boxes()[1].text, L"testapi_UsbdDevinstPath() test ok.");
    EXPECT_EQ(TakeRequests(), (Names{L"GetUsbdInfo", L"QueryUsbdDevinstPath"}));
    EXPECT_TRUE(IsShown(IDC_VCOM_USB_ERROR_DETAILS));
}

TEST_F(VcomPageDiagnosisTest, WithoutAVcomInTheReplyThereIsNoSelfTest) {
    OpenIdlePage();
    UsbdInfo_st info = {};
    info.online = 1;
    ASSERT_EQ(
        driver_.AnswerNext(IOCTL_TAVIX_GetUsbdInfo, {reinterpret_cast<const uint8_t*>(&info), sizeof(info)}),
        ERROR_SUCCESS);
    InfoTextOf([&] { DoubleClick(); }, L"vcom_page_usb_device_without_vcom");
    EXPECT_EQ(TakeRequests(), Names{L"GetUsbdInfo"});
}

TEST_F(VcomPageDiagnosisTest, AReplyOfAnotherLengthIsSaidToBeUnexpected) {
    OpenIdlePage();
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetUsbdInfo, 1295), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    DoubleClick();
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Unexpected output from TAVIX driver for IOCTL_TAVIX_GetUsbdInfo!");
}

TEST_F(VcomPageDiagnosisTest, ALostFlowpathIsSaid) {
    OpenIdlePage();
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetUsbdInfo, static_cast<int32_t>(0xC000009D)), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    DoubleClick();
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"Flowpath is lost.");
}

TEST_F(VcomPageDiagnosisTest, AnyOtherFailureIsNamed) {
    OpenIdlePage();
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetUsbdInfo, static_cast<int32_t>(0xC0000022)), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    DoubleClick();
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, L"WinErr=5(ERROR_ACCESS_DENIED)");
    EXPECT_EQ(modal_.boxes()[0].icon, UINT{MB_ICONERROR});
}

TEST_F(VcomPageDiagnosisTest, ADoubleClickWithShiftOnlyTriesToOpenThePort) {
    OpenIdlePage();
    const HeldKeys keys({VK_SHIFT});
    DoubleClick();
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_TRUE(modal_.boxes().empty());
    EXPECT_TRUE(IsShown(IDC_VCOM_USB_ERROR_DETAILS));
}

TEST_F(VcomPageDiagnosisTest, ADoubleClickWithShiftShowsWhoHoldsThePort) {
    ASSERT_EQ(driver_.SetOpenerPid(device_.huid, GetCurrentProcessId()), ERROR_SUCCESS);
    OpenIdlePage();
    modal_.ExpectBox(L"VCOM open error").Press(1);
    const HeldKeys keys({VK_SHIFT});
    DoubleClick();
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_NE(
        modal_.boxes()[0].ControlText(100).find(L"(pid=" + std::to_wstring(GetCurrentProcessId()) + L")"),
        std::wstring::npos);
    EXPECT_EQ(TakeRequests(), Names{L"GetVcomOpenerPid"});
}

}  // namespace
