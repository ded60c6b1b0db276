// The page's side of the tools menu.
#include "pages/vcom_page_parts.h"
#include "tools/tools_menu.h"

namespace {

void RunVcomTimer(HWND page, bool run) noexcept {
    VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return;
    if (run)
        StartVcomTimer(page, *state);
    else
        StopVcomTimer(page, *state);
}

}  // namespace

void OnToolsClicked(HWND page, VcomProspageParams_st& state) noexcept {
    const ToolHost host = {
        .page = page,
        .deviceSet = state.deviceInfoSet,
        .device = state.deviceInfoData,
        .portName = state.portName,
        .hint = state.hint.get(),
        .timerRunning = state.timerRunning,
        .runTimer = RunVcomTimer,
    };
    RunToolsMenu(host, GetDlgItem(page, IDC_VCOM_TOOLS));
}
