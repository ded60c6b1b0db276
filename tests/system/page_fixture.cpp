#include "tests/system/page_fixture.h"

#include <commctrl.h>
#include <prsht.h>

#include "base/module.h"
#include "driver/vbus.h"
#include "sim/shim/platform_shim.h"

void PageTest::SetUp() {
    SimulatedBusTest::SetUp();
    ASSERT_TRUE(InstallPlatformShim());
    SetModuleInstance(GetModuleHandleW(nullptr));
    InitCommonControls();
    SetVbusReadOnly(false);
}

void PageTest::TearDown() {
    CloseDialog();
    SetVbusReadOnly(false);
    SetModuleInstance(nullptr);
    SimulatedBusTest::TearDown();
}

HWND PageTest::OpenDialog(WORD templateId, DLGPROC procedure, TavixProspageParam_base* params) {
    frame_.reset(CreateWindowExW(0, L"STATIC", L"Frame", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN | WS_VISIBLE,
                                 20, 20, 520, 480, nullptr, nullptr, nullptr, nullptr));
    PROPSHEETPAGEW description = {};
    description.lParam = reinterpret_cast<LPARAM>(params);
    dialog_ = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(templateId), frame_.get(),
                                 procedure, reinterpret_cast<LPARAM>(&description));
    EXPECT_NE(dialog_, nullptr) << GetLastError();
    if (dialog_ == nullptr) return nullptr;
    RECT area = {};
    GetWindowRect(dialog_, &area);
    AdjustWindowRect(&area, WS_OVERLAPPEDWINDOW, FALSE);
    SetWindowPos(frame_.get(), nullptr, 0, 0, area.right - area.left, area.bottom - area.top,
                 SWP_NOMOVE | SWP_NOZORDER);
    EnableWindow(dialog_, TRUE);
    ShowWindow(dialog_, SW_SHOW);
    return dialog_;
}

void PageTest::CloseDialog() {
    if (dialog_ != nullptr) DestroyWindow(dialog_);
    dialog_ = nullptr;
    frame_.reset();
}

std::vector<std::wstring> PageTest::TakeRequests() {
    taken_.clear();
    EXPECT_EQ(driver_.ReadRequests(taken_), ERROR_SUCCESS);
    EXPECT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    std::vector<std::wstring> names;
    for (const LoggedRequest& request : taken_)
        names.emplace_back(RequestName(request.record.code));
    return names;
}
