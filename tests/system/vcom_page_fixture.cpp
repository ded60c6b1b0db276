#include "tests/system/vcom_page_fixture.h"

#include <commctrl.h>
#include <prsht.h>

#include "base/module.h"
#include "driver/vbus.h"
#include "pages/vcom_page.h"
#include "resources/resource_ids.h"
#include "sim/shim/platform_shim.h"

namespace {

constexpr wchar_t kFriendlyName[] = L"TAVIX Scanner (COM5)";

}  // namespace

void VcomPageTest::SetUp() {
    SimulatedBusTest::SetUp();
    ASSERT_TRUE(InstallPlatformShim());
    SetModuleInstance(GetModuleHandleW(nullptr));
    InitCommonControls();
    SetVbusReadOnly(false);
    device_ = Plug();
    list_.reset(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    element_.cbSize = sizeof(element_);
    ASSERT_TRUE(SetupDiOpenDeviceInfoW(list_.get(), device_.vcomInstanceId, nullptr, 0, &element_))
        << GetLastError();
    ASSERT_TRUE(SetupDiSetDeviceRegistryPropertyW(list_.get(), &element_, SPDRP_FRIENDLYNAME,
                                                  reinterpret_cast<const BYTE*>(kFriendlyName),
                                                  sizeof(kFriendlyName)));
    MakeParams();
    ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
}

void VcomPageTest::TearDown() {
    ClosePage();
    params_.reset();
    SetVbusReadOnly(false);
    SetModuleInstance(nullptr);
    SimulatedBusTest::TearDown();
}

void VcomPageTest::OpenPage() {
    frame_.reset(CreateWindowExW(0, L"STATIC", L"Frame", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 20, 20, 520, 480,
                                 nullptr, nullptr, nullptr, nullptr));
    PROPSHEETPAGEW description = {};
    description.lParam = reinterpret_cast<LPARAM>(static_cast<TavixProspageParam_base*>(params_.get()));
    page_ = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_VCOM_PAGE), frame_.get(),
                               VcomProspageDlgProc, reinterpret_cast<LPARAM>(&description));
    ASSERT_NE(page_, nullptr) << GetLastError();
    RECT area;
    GetWindowRect(page_, &area);
    AdjustWindowRect(&area, WS_OVERLAPPEDWINDOW, FALSE);
    SetWindowPos(frame_.get(), nullptr, 0, 0, area.right - area.left, area.bottom - area.top,
                 SWP_NOMOVE | SWP_NOZORDER);
    ShowWindow(page_, SW_SHOW);
}

void VcomPageTest::ClosePage() {
    if (page_ != nullptr) DestroyWindow(page_);
    page_ = nullptr;
    frame_.reset();
}

void VcomPageTest::MakeParams() {
    params_ = std::make_unique<VcomProspageParams_st>();
    params_->deviceInfoSet = list_.get();
    params_->deviceInfoData = &element_;
}

void VcomPageTest::Tick() {
    SendMessageW(page_, WM_TIMER, 51, 0);
}

VcomPageTest::Look VcomPageTest::LookOf(int controlId, UINT message) const {
    const HWND control = GetDlgItem(page_, controlId);
    const HDC dc = GetDC(control);
    Look look = {};
    look.brush = reinterpret_cast<HBRUSH>(
        Answer(message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(control)));
    look.text = GetTextColor(dc);
    look.background = GetBkColor(dc);
    look.mode = GetBkMode(dc);
    ReleaseDC(control, dc);
    return look;
}

std::vector<std::wstring> VcomPageTest::TakeRequests() {
    taken_.clear();
    EXPECT_EQ(driver_.ReadRequests(taken_), ERROR_SUCCESS);
    EXPECT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    std::vector<std::wstring> names;
    for (const LoggedRequest& request : taken_)
        names.emplace_back(RequestName(request.record.code));
    return names;
}

LRESULT VcomPageTest::Answer(UINT message, WPARAM wParam, LPARAM lParam) const {
    return VcomProspageDlgProc(page_, message, wParam, lParam);
}

std::wstring VcomPageTest::DeviceTail() {
    wchar_t id[kSimIdChars] = {};
    SetupDiGetDeviceInstanceIdW(list_.get(), &element_, id, kSimIdChars, nullptr);
    return wcschr(id, L'\\') + 1;
}
