#include "tests/system/terminal_fixture.h"

#include "base/module.h"
#include "driver/vbus.h"
#include "sim/shim/platform_shim.h"
#include "tools/terminal.h"

namespace {

constexpr wchar_t kSessionsKey[] = L"Software\\SimonTatham\\PuTTY\\Sessions";
constexpr wchar_t kSessionKey[] = L"Software\\SimonTatham\\PuTTY\\Sessions\\TAVIX-VCOM";

}  // namespace

void TerminalTest::SetUp() {
    SimulatedBusTest::SetUp();
    ASSERT_TRUE(InstallPlatformShim());
    SetVbusReadOnly(false);
    device_ = Plug();
    list_.reset(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    element_.cbSize = sizeof(element_);
    ASSERT_TRUE(SetupDiOpenDeviceInfoW(list_.get(), device_.vcomInstanceId, nullptr, 0, &element_))
        << GetLastError();
    page_.reset(CreateWindowExW(0, L"STATIC", L"Page", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 200, 150, 500, 350,
                                nullptr, nullptr, nullptr, nullptr));
    SetForegroundWindow(page_.get());
    modal_.Ignore(page_.get());
    ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
}

void TerminalTest::TearDown() {
    RegDeleteKeyW(HKEY_CURRENT_USER, kSessionKey);
    RegDeleteKeyW(HKEY_CURRENT_USER, kSessionsKey);
    SimulatedBusTest::TearDown();
}

void TerminalTest::InstallTerminal() {
    ASSERT_TRUE(CopyFileW(TAVIX_SIM_TERMINAL, package_.File(L"putty-x64.exe").c_str(), FALSE))
        << GetLastError();
}

void TerminalTest::InstallTemplate() {
    const std::wstring path = package_.File(L"putty-session.reg.template");
    ASSERT_TRUE(CopyFileW(TAVIX_PACKAGE_DIR L"/putty-session.reg.template", path.c_str(), FALSE))
        << GetLastError();
}

ToolHost TerminalTest::Host() {
    ToolHost host = {};
    host.page = page_.get();
    host.deviceSet = list_.get();
    host.device = &element_;
    host.portName = device_.portName;
    return host;
}

void TerminalTest::Launch() {
    OpenVcomInTerminal(Host());
}

std::vector<std::wstring> TerminalTest::TakeRequests() {
    std::vector<LoggedRequest> requests;
    EXPECT_EQ(driver_.ReadRequests(requests), ERROR_SUCCESS);
    EXPECT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    std::vector<std::wstring> names;
    for (const LoggedRequest& request : requests)
        names.emplace_back(RequestName(request.record.code));
    return names;
}

std::wstring TerminalTest::BoxText(size_t index) const {
    if (index >= modal_.boxes().size()) return L"";
    const BoxRecord box = modal_.boxes()[index];
    EXPECT_EQ(box.owner, page_.get());
    const ControlRecord* const text = box.Control(100);
    return text != nullptr ? text->text : box.text;
}

std::wstring TerminalTest::SessionValue(const wchar_t* name) {
    wchar_t text[200] = {};
    DWORD bytes = sizeof(text);
    RegGetValueW(HKEY_CURRENT_USER, kSessionKey, name, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return text;
}
