// "&More Globals ..." of the VCOM page.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "resources/resource_ids.h"
#include "tests/system/vcom_page_fixture.h"

namespace {

constexpr wchar_t kTitle[] = L"TAVIX Global Settings";

class VcomPageGlobals : public VcomPageTest {
  protected:
    void SetUp() override {
        VcomPageTest::SetUp();
        OpenPage();
        KillTimer(page_, 51);
        TakeRequests();
    }
};

TEST_F(VcomPageGlobals, OpenTheirDialogAndRefreshThePage) {
    ASSERT_NE(IsDlgButtonChecked(page_, IDC_VCOM_SERIAL_IN_NAMES), UINT{BST_CHECKED});
    modal_.ExpectBox(kTitle).Do([this](BoxView& box) {
        EXPECT_EQ(GetWindow(box.window(), GW_OWNER), GetAncestor(page_, GA_ROOT));
        box.Press(IDC_GLOBAL_SERIAL_IN_NAMES);
        box.WaitFor("the check mark", [&] { return box.IsChecked(IDC_GLOBAL_SERIAL_IN_NAMES); });
        box.Press(IDOK);
    });
    SendDlgItemMessageW(page_, IDC_VCOM_MORE_GLOBALS, BM_CLICK, 0, 0);
    EXPECT_EQ(IsDlgButtonChecked(page_, IDC_VCOM_SERIAL_IN_NAMES), UINT{BST_CHECKED});
}

TEST_F(VcomPageGlobals, CanceledSaveNothingAndThePageIsReadAnew) {
    modal_.ExpectBox(kTitle).Press(IDCANCEL);
    SendDlgItemMessageW(page_, IDC_VCOM_MORE_GLOBALS, BM_CLICK, 0, 0);
    const std::vector<std::wstring> requests = TakeRequests();
    ASSERT_GE(requests.size(), 4u);
    EXPECT_EQ(requests[0], L"GetGlobalCfg");
    EXPECT_EQ(requests[1], L"GetDriverVersion");
    EXPECT_EQ(requests[2], L"GetDriverVersion") << "the page's own refresh";
    for (const std::wstring& request : requests)
        EXPECT_NE(request, L"SetGlobalCfg");
}

TEST_F(VcomPageGlobals, AreOutOfReachWithoutADriver) {
    ASSERT_EQ(driver_.SetAccess({.openStatus = static_cast<int32_t>(0xC0000022)}), ERROR_SUCCESS);
    modal_.ExpectBox().Press(IDOK);
    SendDlgItemMessageW(page_, IDC_VCOM_REFRESH, BM_CLICK, 0, 0);
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(page_, IDC_VCOM_MORE_GLOBALS)));
}

}  // namespace
