#include "tests/system/vcom_page_fixture.h"

#include "pages/vcom_page.h"
#include "resources/resource_ids.h"

namespace {

constexpr wchar_t kFriendlyName[] = L"TAVIX Scanner (COM5)";

}  // namespace

void VcomPageTest::SetUp() {
    PageTest::SetUp();
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
    PageTest::TearDown();
}

void VcomPageTest::OpenPage() {
    page_ = OpenDialog(IDD_VCOM_PAGE, VcomProspageDlgProc, params_.get());
    ASSERT_NE(page_, nullptr);
}

void VcomPageTest::ClosePage() {
    CloseDialog();
    page_ = nullptr;
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

LRESULT VcomPageTest::Answer(UINT message, WPARAM wParam, LPARAM lParam) const {
    return VcomProspageDlgProc(page_, message, wParam, lParam);
}

std::wstring VcomPageTest::DeviceTail() {
    wchar_t id[kSimIdChars] = {};
    SetupDiGetDeviceInstanceIdW(list_.get(), &element_, id, kSimIdChars, nullptr);
    return wcschr(id, L'\\') + 1;
}
