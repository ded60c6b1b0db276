#include "tests/system/vbus_page_fixture.h"

#include "pages/vbus_page.h"
#include "resources/resource_ids.h"

namespace {

constexpr wchar_t kBusInstanceId[] = L"ROOT\\QRV_VBUS\\0000";

}  // namespace

void VbusPageTest::SetUp() {
    PageTest::SetUp();
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
    PageTest::TearDown();
}

void VbusPageTest::OpenPage() {
    page_ = OpenDialog(IDD_VBUS_PAGE, VbusProspageDlgProc, params_.get());
    ASSERT_NE(page_, nullptr);
    TakeRequests();
}

void VbusPageTest::ClosePage() {
    CloseDialog();
    page_ = nullptr;
}

INT_PTR VbusPageTest::Answer(UINT message, WPARAM wParam, LPARAM lParam) const {
    return VbusProspageDlgProc(page_, message, wParam, lParam);
}

void VbusPageTest::Choose(UINT command) {
    modal_.ExpectMenu().Choose(command);
    SendMessageW(page_, WM_COMMAND, MAKEWPARAM(IDC_VBUS_DEVELOPER_MENU, STN_DBLCLK), 0);
}

void VbusPageTest::MakeBusAbsent() {
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
}

std::wstring VbusPageTest::BoxText(size_t index) const {
    return index < modal_.boxes().size() ? modal_.boxes()[index].text : L"";
}
