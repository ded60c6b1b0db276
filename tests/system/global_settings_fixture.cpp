#include "tests/system/global_settings_fixture.h"

#include <cstring>
#include <utility>

#include <commctrl.h>

#include "base/module.h"
#include "driver/vbus.h"
#include "tools/global_settings.h"
#include "tools/registry_export.h"

namespace {

constexpr wchar_t kTitle[] = L"TAVIX Global Settings";
constexpr wchar_t kOwnerClass[] = L"GlobalSettingsTestOwner";

}  // namespace

void GlobalSettingsTest::SetUp() {
    SimulatedBusTest::SetUp();
    SetModuleInstance(GetModuleHandleW(nullptr));
    InitCommonControls();
    SetVbusReadOnly(false);
    WNDCLASSW description = {};
    description.lpfnWndProc = OnOwnerMessage;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    description.lpszClassName = kOwnerClass;
    RegisterClassW(&description);
    owner_.reset(CreateWindowExW(0, kOwnerClass, L"Owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 40, 40, 300, 200,
                                 nullptr, nullptr, nullptr, nullptr));
    ASSERT_TRUE(owner_);
    SetForegroundWindow(owner_.get());
    current_ = this;
    hook_ = SetWindowsHookExW(WH_CBT, OnWindowCreation, nullptr, GetCurrentThreadId());
    ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
}

void GlobalSettingsTest::TearDown() {
    UnhookWindowsHookEx(hook_);
    current_ = nullptr;
    owner_.reset();
    UnregisterClassW(kOwnerClass, GetModuleHandleW(nullptr));
    SetExportAfterFailedSave(false);
    SetVbusReadOnly(false);
    SetModuleInstance(nullptr);
    SimulatedBusTest::TearDown();
}

INT_PTR GlobalSettingsTest::Open(const std::function<void()>& steps) {
    steps_ = steps;
    const INT_PTR result = ShowGlobalSettings(owner_.get());
    dialog_ = {};
    return result;
}

GlobalCfg_st GlobalSettingsTest::OpenAndSave(const std::function<void()>& steps) {
    TakeRequests();
    const INT_PTR result = Open([&] {
        steps();
        // The driver takes any record, also one that it would refuse.
        const uint8_t success[4] = {};
        EXPECT_EQ(driver_.AnswerNext(IOCTL_TAVIX_SetGlobalCfg, success), ERROR_SUCCESS);
        dialog_.Click(IDOK);
        EXPECT_FALSE(IsOpen());
    });
    EXPECT_EQ(result, 0);
    return SentRecord();
}

// The modal driver leaves the dialog itself to the test.
LRESULT CALLBACK GlobalSettingsTest::OnWindowCreation(int code, WPARAM wParam, LPARAM lParam) {
    if (code == HCBT_CREATEWND && current_ != nullptr) {
        const CREATESTRUCTW& creation = *reinterpret_cast<const CBT_CREATEWNDW*>(lParam)->lpcs;
        if (creation.lpszName != nullptr && std::wstring_view(creation.lpszName) == kTitle)
            current_->modal_.Ignore(reinterpret_cast<HWND>(wParam));
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK GlobalSettingsTest::OnOwnerMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_ENTERIDLE && wParam == MSGF_DIALOGBOX && current_ != nullptr && current_->steps_)
        current_->RunSteps(reinterpret_cast<HWND>(lParam));
    return DefWindowProcW(window, message, wParam, lParam);
}

void GlobalSettingsTest::RunSteps(HWND dialog) {
    dialog_ = DialogUnderTest(dialog);
    std::exchange(steps_, nullptr)();
    if (IsOpen()) dialog_.Click(IDCANCEL);
    // Wakes the dialog's loop, whose own wake-up the steps may have pumped. The dialog may be gone already.
    PostMessageW(nullptr, WM_NULL, 0, 0);
}

void GlobalSettingsTest::Type(int id, const std::wstring& text) const {
    SendMessageW(dialog_.Control(id), EM_SETSEL, 0, -1);
    SendMessageW(dialog_.Control(id), EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(L""));
    for (const wchar_t character : text)
        SendMessageW(dialog_.Control(id), WM_CHAR, character, 1);
}

RECT GlobalSettingsTest::AreaOf(int id) const {
    RECT area = {};
    GetWindowRect(dialog_.Control(id), &area);
    MapWindowPoints(nullptr, dialog_.window(), reinterpret_cast<POINT*>(&area), 2);
    return area;
}

std::vector<std::wstring> GlobalSettingsTest::TakeRequests() {
    std::vector<LoggedRequest> requests;
    EXPECT_EQ(driver_.ReadRequests(requests), ERROR_SUCCESS);
    EXPECT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    std::vector<std::wstring> names;
    for (const LoggedRequest& request : requests)
        names.emplace_back(RequestName(request.record.code));
    return names;
}

GlobalCfg_st GlobalSettingsTest::SentRecord() {
    std::vector<LoggedRequest> requests;
    EXPECT_EQ(driver_.ReadRequests(requests), ERROR_SUCCESS);
    GlobalCfg_st sent = {};
    bool found = false;
    for (const LoggedRequest& request : requests) {
        if (request.record.code != IOCTL_TAVIX_SetGlobalCfg || request.input.size() != sizeof(sent)) continue;
        std::memcpy(&sent, request.input.data(), sizeof(sent));
        found = true;
    }
    EXPECT_TRUE(found) << "nothing was saved";
    return sent;
}

std::wstring GlobalSettingsTest::LastBoxText() const {
    return modal_.boxes().empty() ? std::wstring() : modal_.boxes().back().text;
}
