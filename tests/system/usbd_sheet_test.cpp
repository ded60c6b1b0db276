// The USB device page in the device viewer, as its user meets it from outside that process.
#include <string>

#include "base/windows_api.h"

#include "resources/resource_ids.h"
#include "state/usberr_log.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"
#include "tests/system/viewer_sheet.h"

namespace {

// Also of a control in another process.
std::wstring TextOf(HWND control) {
    wchar_t text[200] = {};
    SendMessageW(control, WM_GETTEXT, 200, reinterpret_cast<LPARAM>(text));
    return text;
}

// The page of a sheet that has the control; null when it has none.
HWND PageWith(HWND sheet, int controlId) {
    for (HWND page = nullptr; (page = FindWindowExW(sheet, page, L"#32770", nullptr)) != nullptr;)
        if (GetDlgItem(page, controlId) != nullptr) return page;
    return nullptr;
}

// Of any process; null until there is one.
HWND SheetWith(int controlId) {
    for (HWND sheet = nullptr; (sheet = FindWindowExW(nullptr, sheet, L"#32770", nullptr)) != nullptr;)
        if (IsWindowVisible(sheet) && PageWith(sheet, controlId) != nullptr) return sheet;
    return nullptr;
}

class UsbdSheetTest : public PackageTest {
  protected:
    void SetUp() override {
        Plug(first);
        Plug(second);
        ASSERT_EQ(driver.WriteUsbErrorLog(second.InstanceId(), L"SET_ADDRESS failed\r\n"),
                  DWORD{ERROR_SUCCESS});
        viewer_ = StartViewer(L"--device \"" + second.InstanceId() + L"\"");
        sheet_ = WaitForSheet(L"Second scanner Properties");
        page_ = PageWith(sheet_, IDC_USBD_MAPPING);
        ASSERT_NE(page_, nullptr);
        ASSERT_TRUE(WaitUntil("the page to show its device",
                              [&] { return IsWindowEnabled(Control(IDC_USBD_OPEN_VCOM)); }));
    }
    void TearDown() override {
        if (IsWindow(sheet_)) CloseSheet(sheet_);
        if (viewer_ && WaitForSingleObject(viewer_.get(), 10000) != WAIT_OBJECT_0) {
            ADD_FAILURE() << "the viewer did not end";
            TerminateProcess(viewer_.get(), 1);
        }
        wchar_t log[kUsberrPathChars];
        UsberrRelativePath(second.InstanceId().c_str(), log);
        DeleteFileW((L"C:\\windows\\" + std::wstring(log)).c_str());
        PackageTest::TearDown();
    }
    HWND Control(int id) const { return GetDlgItem(page_, id); }
    // A key for the control that has the focus.
    static void PressEscape(HWND control) { PostMessageW(control, WM_KEYDOWN, VK_ESCAPE, 1); }
    std::wstring PortName() {
        return driver.FindDevice(second.InstanceId()).value_or(SimDeviceState_st{}).portName;
    }

    KernelHandle viewer_;
    HWND sheet_ = nullptr;
    HWND page_ = nullptr;
};

TEST_F(UsbdSheetTest, TheDotsOpenTheSheetOfTheDevicesOwnVcom) {
    PostMessageW(Control(IDC_USBD_OPEN_VCOM), BM_CLICK, 0, 0);
    HWND vcomSheet = nullptr;
    ASSERT_TRUE(WaitUntil("the sheet of the VCOM",
                          [&] { return (vcomSheet = SheetWith(IDC_VCOM_PORT_NAME)) != nullptr; }));
    const HWND portName = GetDlgItem(PageWith(vcomSheet, IDC_VCOM_PORT_NAME), IDC_VCOM_PORT_NAME);
    EXPECT_TRUE(WaitUntil("the device's own port to be selected",
                          [&] { return (TextOf(portName) + L" ").rfind(PortName() + L" ", 0) == 0; }));
    EXPECT_TRUE(IsWindowEnabled(sheet_)) << "the first sheet stays usable";
    SetWindowPos(sheet_, nullptr, 600, 40, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    SaveScreenshot(nullptr, L"usbd_page_second_sheet");
    PressEscape(portName);
    EXPECT_TRUE(WaitUntil("the second sheet to close", [&] { return !IsWindow(vcomSheet); }));
    EXPECT_TRUE(IsWindowVisible(sheet_));
}

class UsbdSheetEscapeTest : public UsbdSheetTest, public testing::WithParamInterface<int> {};

TEST_P(UsbdSheetEscapeTest, EscapeClosesTheSheetAndEndsItsViewer) {
    PressEscape(Control(GetParam()));
    EXPECT_TRUE(WaitUntil("the sheet to close", [&] { return !IsWindow(sheet_); }));
    EXPECT_EQ(WaitForSingleObject(viewer_.get(), kDefaultWaitMs), DWORD{WAIT_OBJECT_0});
    DWORD code = MAXDWORD;
    GetExitCodeProcess(viewer_.get(), &code);
    EXPECT_EQ(code, 0u);
}

// The edits of several lines take the key for themselves.
INSTANTIATE_TEST_SUITE_P(From, UsbdSheetEscapeTest,
                         testing::Values(IDC_USBD_OPEN_VCOM, IDC_USBD_STATUS, IDC_USBD_LOG_TEXT),
                         [](const auto& control) { return "Control" + std::to_string(control.param); });

}  // namespace
