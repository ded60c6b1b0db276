#include "tests/system/vcom_sheet_fixture.h"

#include <commctrl.h>

#include "resources/resource_ids.h"
#include "tests/support/wait_until.h"

namespace {

INT_PTR CALLBACK EmptyPageProc(HWND, UINT message, WPARAM, LPARAM) {
    return message == WM_INITDIALOG;
}

}  // namespace

void VcomSheetTest::OpenSheet() {
    Plug(first);
    ASSERT_EQ(driver.SetPortState(kTakenPort, kPortOfPresentDevice), static_cast<DWORD>(ERROR_SUCCESS));
    node_ = std::make_unique<OpenedNode>(VcomInstanceId(first));
    ASSERT_TRUE(*node_);
    header_.dwSize = sizeof(header_);
    header_.phpage = pages_.data();
    ASSERT_TRUE(SetupDiGetClassDevPropertySheetsW(node_->set(), node_->element(), &header_,
                                                  static_cast<DWORD>(pages_.size()), nullptr,
                                                  DIGCDP_FLAG_ADVANCED));
    ASSERT_EQ(header_.nPages, 1u);
    PROPSHEETPAGEW empty = {};
    empty.dwSize = sizeof(empty);
    empty.dwFlags = PSP_DLGINDIRECT | PSP_USETITLE;
    empty.pResource = &template_.head;
    empty.pszTitle = L"Empty";
    empty.pfnDlgProc = EmptyPageProc;
    pages_[header_.nPages++] = CreatePropertySheetPageW(&empty);
    header_.dwFlags = PSH_MODELESS;
    header_.pszCaption = L"VCOM sheet test";
    sheet_.reset(reinterpret_cast<HWND>(PropertySheetW(&header_)));
    ASSERT_TRUE(sheet_);
    SetForegroundWindow(sheet_.get());
    PumpPendingMessages();
    page_ = PropSheet_GetCurrentPageHwnd(sheet_.get());
    ASSERT_NE(GetDlgItem(page_, IDC_VCOM_PORT_NAME), nullptr);
    modal_ = std::make_unique<ModalDriver>();
}

void VcomSheetTest::TearDown() {
    modal_.reset();
    sheet_.reset();
    node_.reset();
    PackageTest::TearDown();
}

void VcomSheetTest::Select(int portNumber) {
    SendDlgItemMessageW(page_, IDC_VCOM_PORT_NAME, CB_SETCURSEL, static_cast<WPARAM>(portNumber - 1), 0);
}

std::wstring VcomSheetTest::DeviceHuid() {
    return driver.FindDevice(first.InstanceId()).value_or(SimDeviceState_st{}).huid;
}

std::wstring VcomSheetTest::PortName() {
    return driver.FindDevice(first.InstanceId()).value_or(SimDeviceState_st{}).portName;
}

std::wstring VcomSheetTest::BoxText(size_t index) const {
    return index < modal_->boxes().size() ? modal_->boxes()[index].text : L"";
}
