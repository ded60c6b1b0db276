#include "tools/tools_menu.h"

#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "tools/about.h"
#include "tools/dangle_vcom.h"
#include "tools/flowpath_stat.h"
#include "tools/irp_state.h"
#include "tools/terminal.h"
#include "tools/tools_menu_rows.h"
#include "tools/usb_device_property.h"
#include "tools/usb_tweak.h"
#include "tools/user_guide.h"
#include "ui/custom_resource.h"
#include "ui/dialog_controls.h"

namespace {

constexpr UINT kHintMs = 3000;
constexpr POINT kHintPosition = {2, -20};  // from the left, from the bottom

struct ToolKeys {
    bool shift;  // at the opening
    bool ctrl;   // at the opening or at the choice
};

void ShowHint(const ToolHost& host) {
    if (host.hint == nullptr) return;
    host.hint->Show(true, kHintPosition, L"Ctrl+click menu item to make new dialog-box detached.");
    SetTimer(host.page, kToolsHintTimer, kHintMs, nullptr);
}

// A driver that does not answer is offered the start.
bool IsBlindRunActive(const ToolHost& host) {
    FlowpathStat_st stat = {};
    const DWORD error = DeviceQuery(host.deviceSet, host.device, IOCTL_TAVIX_GetFlowpathStat, stat);
    return error == ERROR_SUCCESS && stat.blindRun != 0;
}

ToolsMenuLook LookOf(const ToolHost& host, bool developer) {
    ToolsMenuLook look = {};
    look.developer = developer;
    look.terminalInstalled = IsTerminalInstalled();
    look.guideOffered = !CustomHidesUserGuide();
    look.aboutHasIcon = !IsCustomResourceActive();
    look.timerRunning = host.timerRunning;
    look.blindRunActive = developer && IsBlindRunActive(host);
    return look;
}

void OnTerminal(const ToolHost& host, const ToolKeys&) noexcept {
    OpenVcomInTerminal(host);
}

void OnFlowpathStat(const ToolHost& host, const ToolKeys& keys) noexcept {
    ShowFlowpathStat(host, keys.ctrl);
}

void OnUsbDeviceProperty(const ToolHost& host, const ToolKeys& keys) noexcept {
    ShowUsbDeviceProperty(host, keys.ctrl);
}

void OnUserGuide(const ToolHost& host, const ToolKeys&) noexcept {
    OpenUserGuide(host.page);
}

void OnAbout(const ToolHost& host, const ToolKeys&) noexcept {
    ShowAbout(host.page);
}

void OnUsbTweak(const ToolHost& host, const ToolKeys& keys) noexcept {
    ShowUsbTweak(host, keys.ctrl);
}

void OnIrpStates(const ToolHost& host, const ToolKeys& keys) noexcept {
    ShowIrpState(host.page, keys.ctrl);
}

void OnStopTimer(const ToolHost& host, const ToolKeys&) noexcept {
    host.runTimer(host.page, false);
}

void OnStartTimer(const ToolHost& host, const ToolKeys&) noexcept {
    host.runTimer(host.page, true);
}

// Nothing to report: a lost Flowpath has no history.
void OnDestroyHistory(const ToolHost& host, const ToolKeys&) noexcept {
    DoDeviceIoctl(host.deviceSet, host.device, IOCTL_TAVIX_DestroyFlowpathStatHistory, nullptr, 0);
}

void OnDangleVcom(const ToolHost& host, const ToolKeys& keys) noexcept {
    CreateDangleVcom(host.page, DangleIndex(keys.shift, keys.ctrl));
}

void SwitchBlindRun(const ToolHost& host, DWORD request, const wchar_t* name) {
    DoDeviceIoctlReport(host.deviceSet, host.device, request, nullptr, 0, nullptr, host.page,
                        L"%s execution error.", name);
}

void OnStartBlindRun(const ToolHost& host, const ToolKeys&) noexcept {
    SwitchBlindRun(host, IOCTL_TAVIX_StartBlindRun, L"IOCTL_TAVIX_StartBlindRun");
}

void OnStopBlindRun(const ToolHost& host, const ToolKeys&) noexcept {
    SwitchBlindRun(host, IOCTL_TAVIX_StopBlindRun, L"IOCTL_TAVIX_StopBlindRun");
}

struct ToolRow {
    UINT command;
    void (*run)(const ToolHost& host, const ToolKeys& keys) noexcept;
};

constexpr ToolRow kTools[] = {
    {IDM_TOOLS_TERMINAL, OnTerminal},
    {IDM_TOOLS_FLOWPATH_STAT, OnFlowpathStat},
    {IDM_TOOLS_USB_PROPERTY, OnUsbDeviceProperty},
    {IDM_TOOLS_USER_GUIDE, OnUserGuide},
    {IDM_TOOLS_ABOUT, OnAbout},
    {IDM_TOOLS_USB_TWEAK, OnUsbTweak},
    {IDM_TOOLS_IRP_STATES, OnIrpStates},
    {IDM_TOOLS_STOP_TIMER, OnStopTimer},
    {IDM_TOOLS_START_TIMER, OnStartTimer},
    {IDM_TOOLS_DESTROY_HISTORY, OnDestroyHistory},
    {IDM_TOOLS_DANGLE_VCOM, OnDangleVcom},
    {IDM_TOOLS_START_BLIND_RUN, OnStartBlindRun},
    {IDM_TOOLS_STOP_BLIND_RUN, OnStopBlindRun},
};

void SetDeviceState(const ToolHost& host, UINT command) {
    WdfDeviceStateRequest_st request = {};
    if (!DeviceStateOf(command, request.stateIndex, request.value)) return;
    DoDeviceIoctlEx(host.deviceSet, host.device, IOCTL_TAVIX_SetWdfDeviceState, &request, sizeof(request),
                    nullptr, 0);
}

void RunTool(const ToolHost& host, UINT command, const ToolKeys& keys) {
    for (const ToolRow& tool : kTools)
        if (tool.command == command) return tool.run(host, keys);
    SetDeviceState(host, command);
}

}  // namespace

void RunToolsMenu(const ToolHost& host, HWND button) noexcept {
    const bool shift = IsKeyHeld(VK_SHIFT);
    const bool ctrl = IsKeyHeld(VK_CONTROL);
    if (shift) ShowHint(host);
    MenuRow rows[kToolsMenuRows];
    const UINT command = TrackMenuUnder(button, FillToolsMenu(LookOf(host, shift), rows));
    if (!IsPageOpen(host)) return;
    EndToolsHint(host.page, host.hint);
    RunTool(host, command, {shift, ctrl || IsKeyHeld(VK_CONTROL)});
}

void EndToolsHint(HWND page, HintBalloon* hint) noexcept {
    KillTimer(page, kToolsHintTimer);
    if (hint != nullptr) hint->Hide();
}
