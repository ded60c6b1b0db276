#include "tests/system/vbus_page_fixture.h"

#include <commctrl.h>
#include <prsht.h>

#include "base/module.h"
#include "driver/vbus.h"
#include "pages/vbus_page.h"
#include "resources/resource_ids.h"
#include "sim/shim/platform_shim.h"

namespace {

constexpr wchar_t kBusInstanceId[] = L"ROOT\\QRV_VBUS\\0000";

}  // namespace

void VbusPageTest::SetUp() {
    SimulatedBusTest::SetUp();
    ASSERT_TRUE(InstallPlatformShim());
    SetModuleInstance(GetModuleHandleW(nullptr));
    InitCommonControls();
    SetVbusReadOnly(false);
    list_.reset(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    element_.cbSize = sizeof(element_);
    ASSERT_TRUE(SetupDiOpenDeviceInfoW(list_.get(), kBusInstanceId, nullptr, 0, &element_)) << GetLastError();
    params_ = std::make_unique<VbusProspageParams_st>();
    params_->deviceInfoSet = list_.get();
    params_->deviceInfoData = &element_;
    ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
}

void VbusPageTest::TearDown() {
    ClosePage();
    params_.reset();
    SetVbusReadOnly(false);
    SetModuleInstance(nullptr);
    SimulatedBusTest::TearDown();
}

void VbusPageTest::OpenPage() {
    frame_.reset(CreateWindowExW(0, L"STATIC", L"Virtual bus", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 20, 20, 520,
                                 480, nullptr, nullptr, nullptr, nullptr));
    PROPSHEETPAGEW description = {};
    description.lParam = reinterpret_cast<LPARAM>(static_cast<TavixProspageParam_base*>(params_.get()));
    page_ = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_VBUS_PAGE), frame_.get(),
                               VbusProspageDlgProc, reinterpret_cast<LPARAM>(&description));
    ASSERT_NE(page_, nullptr) << GetLastError();
    RECT area;
    GetWindowRect(page_, &area);
    AdjustWindowRect(&area, WS_OVERLAPPEDWINDOW, FALSE);
    SetWindowPos(frame_.get(), nullptr, 0, 0, area.right - area.left, area.bottom - area.top,
                 SWP_NOMOVE | SWP_NOZORDER);
    ShowWindow(page_, SW_SHOW);
    TakeRequests();
}

void VbusPageTest::ClosePage() {
    if (page_ != nullptr) DestroyWindow(page_);
    page_ = nullptr;
    frame_.reset();
}

INT_PTR VbusPageTest::Answer(UINT message, WPARAM wParam, LPARAM lParam) const {
    return VbusProspageDlgProc(page_, message, wParam, lParam);
}

void VbusPageTest::Choose(UINT command) {
    modal_.ExpectMenu().Choose(command);
    SendMessageW(page_, WM_COMMAND, MAKEWPARAM(IDC_VBUS_DEVELOPER_MENU, STN_DBLCLK), 0);
}

std::vector<std::wstring> VbusPageTest::TakeRequests() {
    taken_.clear();
    EXPECT_EQ(driver_.ReadRequests(taken_), ERROR_SUCCESS);
    EXPECT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    std::vector<std::wstring> names;
    for (const LoggedRequest& request : taken_)
        names.emplace_back(RequestName(request.record.code));
    return names;
}

void VbusPageTest::MakeBusAbsent() {
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
}

std::wstring VbusPageTest::BoxText(size_t index) const {
    return index < modal_.boxes().size() ? modal_.boxes()[index].text : L"";
}
