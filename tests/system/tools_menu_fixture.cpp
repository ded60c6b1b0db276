#include "tests/system/tools_menu_fixture.h"

#include "resources/resource_ids.h"
#include "tests/support/temporary_file.h"
#include "tests/support/wait_until.h"
#include "ui/custom_resource.h"

void ToolsMenuTest::TearDown() {
    FreeCustomResourceLibrary();
    VcomPageTest::TearDown();
}

void ToolsMenuTest::UseCustomer(const ResourceLibrary& library) {
    FreeCustomResourceLibrary();
    system_.reset();
    system_.emplace();
    Bytes image = library.Build();
    StampImage(&image);
    WriteWholeFile(system_->CustomLibraryPath(), image);
    LoadCustomResourceLibrary();
    ASSERT_TRUE(IsCustomResourceActive());
}

void ToolsMenuTest::OpenIdlePage() {
    OpenPage();
    KillTimer(page_, 51);
    PumpPendingMessages();
    TakeRequests();
}

void ToolsMenuTest::WithMenu(std::function<void(MenuView&)> script) {
    modal_.ExpectMenu().Do(std::move(script));
    Click(IDC_VCOM_TOOLS);
}

void ToolsMenuTest::Choose(UINT command) {
    modal_.ExpectMenu().Choose(command);
    Click(IDC_VCOM_TOOLS);
}

void ToolsMenuTest::Dismiss() {
    modal_.ExpectMenu().Dismiss();
    Click(IDC_VCOM_TOOLS);
}

MenuRecord ToolsMenuTest::LastMenu() const {
    const std::vector<MenuRecord> menus = modal_.menus();
    return menus.empty() ? MenuRecord() : menus.back();
}

std::wstring ToolsMenuTest::BoxText(size_t index) const {
    const std::vector<BoxRecord> boxes = modal_.boxes();
    return index < boxes.size() ? boxes[index].text : L"";
}

ToolHost ToolsMenuTest::Host() {
    ToolHost host = {};
    host.page = page_;
    host.deviceSet = params_->deviceInfoSet;
    host.device = params_->deviceInfoData;
    host.portName = params_->portName;
    host.hint = params_->hint.get();
    host.timerRunning = params_->timerRunning;
    host.runTimer = [](HWND, bool) noexcept {};
    return host;
}
