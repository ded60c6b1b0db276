#include "pages/vbus_page.h"

#include <commctrl.h>

#include "base/message_box.h"
#include "pages/prospage_params.h"
#include "resources/resource_ids.h"
#include "tools/dangle_vcom.h"
#include "tools/file_logging.h"
#include "tools/irp_state.h"
#include "tools/system_crash.h"
#include "ui/button_menu.h"
#include "ui/dialog_commands.h"

namespace {

constexpr AnchorRow kAnchors[] = {
    {IDC_VBUS_DEVELOPER_MENU, {100, 100, 100, 100}},
};

constexpr MenuRow kDeveloperMenu[] = {
    {IDM_VBUS_IRP_STATES, L"Examine IRP states", IDI_IRP_STATES},
    {IDM_VBUS_DANGLE_VCOM_0, L"Create a dangle VCOM 0"},
    {IDM_VBUS_DANGLE_VCOM_1, L"Create a dangle VCOM 1"},
    {IDM_VBUS_CRASH, L"Generate BSOD (Blue-screen system crash)"},
};

void AskForDangleVcom(HWND page, uint32_t index) noexcept {
    if (AskYesNo(page, L"Create Dangle VCOM %u ?", index) == IDYES) CreateDangleVcom(page, index);
}

// The page may be gone after the menu; then no box opens, and a question that cannot be shown is not a yes.
void OnDeveloperMenu(HWND page, VbusProspageParams_st&) noexcept {
    const UINT command = TrackMenuUnder(GetDlgItem(page, IDC_VBUS_DEVELOPER_MENU), kDeveloperMenu);
    switch (command) {
        case IDM_VBUS_IRP_STATES:
            ShowIrpState(page, false);
            break;
        case IDM_VBUS_DANGLE_VCOM_0:
        case IDM_VBUS_DANGLE_VCOM_1:
            AskForDangleVcom(page, command - IDM_VBUS_DANGLE_VCOM_0);
            break;
        case IDM_VBUS_CRASH:
            CrashSystem(page);
            break;
        default:
            break;
    }
}

void OnFileLogging(HWND page, VbusProspageParams_st&) noexcept {
    OnFileLoggingClicked(page, IDC_FILE_LOGGING);
}

void OnCancel(HWND page, VbusProspageParams_st&) noexcept {
    EndDialog(page, IDCANCEL);
}

constexpr CommandRow<VbusProspageParams_st> kCommands[] = {
    {IDCANCEL, BN_CLICKED, OnCancel},
    {IDC_FILE_LOGGING, BN_CLICKED, OnFileLogging},
    {IDC_VBUS_DEVELOPER_MENU, STN_DBLCLK, OnDeveloperMenu},
};

void OnInit(HWND page, LPARAM initParam) noexcept {
    auto* const state = InitPage<VbusProspageParams_st>(page, initParam);
    if (state == nullptr) return;
    state->layout.Init(page);
    state->layout.Add(kAnchors);
}

void OnGetMinMaxInfo(const VbusProspageParams_st& state, MINMAXINFO& limits) noexcept {
    const SIZE smallest = state.layout.ReferenceSize();
    limits.ptMinTrackSize = {smallest.cx, smallest.cy};
}

bool OnMessage(HWND page, VbusProspageParams_st& state, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    switch (message) {
        case WM_SIZE:
            state.layout.Reflow(LOWORD(lParam), HIWORD(lParam));
            return true;
        case WM_GETMINMAXINFO:
            OnGetMinMaxInfo(state, *reinterpret_cast<MINMAXINFO*>(lParam));
            return true;
        case WM_COMMAND:
            return RunCommand(kCommands, page, state, wParam);
        default:
            return false;
    }
}

bool Handle(HWND page, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    switch (message) {
        case WM_NOTIFY:
        case WM_HELP:
        case WM_CONTEXTMENU:
            return true;
        case WM_DESTROY:
            TracePageDestroyed(page);
            return true;
        default: {
            auto* const state = PageParams<VbusProspageParams_st>(page);
            return state != nullptr && OnMessage(page, *state, message, wParam, lParam);
        }
    }
}

}  // namespace

INT_PTR CALLBACK VbusProspageDlgProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_INITDIALOG) {
        OnInit(page, lParam);
        return TRUE;
    }
    if (!Handle(page, message, wParam, lParam)) return FALSE;
    SetWindowLongPtrW(page, DWLP_MSGRESULT, 0);
    return TRUE;
}
