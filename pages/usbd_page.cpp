#include "pages/usbd_page.h"

#include <cstdint>

#include <prsht.h>

#include "base/message_box.h"
#include "base/module.h"
#include "base/properties_launcher.h"
#include "base/xfmt.h"
#include "driver/error_names.h"
#include "driver/mapping.h"
#include "driver/usbd_snapshot.h"
#include "pages/prospage_params.h"
#include "pages/usberr_log_area.h"
#include "resources/resource_ids.h"
#include "tools/file_logging.h"
#include "ui/dialog_commands.h"
#include "ui/dialog_controls.h"

namespace {

constexpr UINT_PTR kTimer = 68;
constexpr UINT kTimerMs = 1000;
constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr int32_t kLineChars = 200;
constexpr int32_t kVcomInstanceIdChars = 260;

void FormatMapping(const UsbdSnapshot& snapshot, wchar_t (&text)[kLineChars]) noexcept {
    switch (snapshot.mappingError) {
        case UfAppErr_Success:
            xfmt(text, kLineChars, L"This USB device maps to %s .",
                 snapshot.portName[0] != L'\0' ? snapshot.portName : L"?");
            break;
        case UfAppErr_VbusNotReady:
            xfmt(text, kLineChars, L"TAVIX Vbus is not ready, so VCOMs will not appear on your system.");
            break;
        case UfAppErr_NoVcomYet:
            xfmt(text, kLineChars, L"This USB device has not mapped to a VCOM.");
            break;
        default:
            xfmt(text, kLineChars, L"Get PortName meets UfAppErr: %d (%s)", snapshot.mappingError,
                 UfAppErrName(snapshot.mappingError));
            break;
    }
}

void ShowMapping(HWND page, UsbdProspageParams_st& state, const UsbdSnapshot& snapshot) noexcept {
    wchar_t text[kLineChars];
    FormatMapping(snapshot, text);
    state.mappingFailed = !snapshot.IsMapped();  // before the text, which is painted in its color
    SetControlText(page, IDC_USBD_MAPPING, text);
}

// All are shared icons, which are never destroyed; the same icon always has the same handle.
HICON StateIcon(const UsbdSnapshot& snapshot) noexcept {
    if (!snapshot.IsWorking()) return LoadIconW(ModuleInstance(), MAKEINTRESOURCEW(IDI_DEVICE_FAILED));
    if (snapshot.log.times.AreErrorsRecent()) return LoadIconW(nullptr, IDI_WARNING);
    if (snapshot.log.times.HasLog()) return LoadIconW(nullptr, IDI_INFORMATION);
    return LoadIconW(ModuleInstance(), MAKEINTRESOURCEW(IDI_DEVICE_WORKS));
}

void ShowStateIcon(HWND page, const UsbdSnapshot& snapshot) noexcept {
    const HWND control = GetDlgItem(page, IDC_USBD_STATE_ICON);
    const HICON icon = StateIcon(snapshot);
    if (reinterpret_cast<HICON>(SendMessageW(control, STM_GETICON, 0, 0)) == icon) return;
    SendMessageW(control, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
}

const wchar_t* SpeedName(uint32_t speed) noexcept {
    switch (speed) {
        case kUsbFullSpeed:
            return L"Full speed";
        case kUsbHighSpeed:
            return L"High speed";
        case kUsbSuperSpeed:
            return L"Super speed";
        default:
            return L"Speed unknown";
    }
}

void ShowStatus(HWND page, const UsbdSnapshot& snapshot) noexcept {
    wchar_t text[kLineChars];
    if (!snapshot.present) {
        xfmt(text, kLineChars, L"USB device is disconnected.");
    } else if (snapshot.problem != 0) {
        xfmt(text, kLineChars, L"USB device connected but driver not working. Problem Code=%d (%s)",
             snapshot.problem, CmProbName(snapshot.problem));
    } else {
        xfmt(text, kLineChars, L"USB device is connected and working. (%s)", SpeedName(snapshot.speed));
    }
    SetControlText(page, IDC_USBD_STATUS, text);
}

// The dialog manager selects the whole text of an edit control that it gives the focus to.
void UnselectStatus(HWND page) noexcept {
    PostMessageW(GetDlgItem(page, IDC_USBD_STATUS), EM_SETSEL, 0, 0);
}

// The focus leaves disabled controls for the status, which is always enabled.
void EnableWhatWorks(HWND page, bool vcom, bool logging) noexcept {
    const HWND focusBefore = GetFocus();
    EnableControl(page, IDC_USBD_OPEN_VCOM, vcom, IDC_USBD_STATUS);
    EnableControl(page, IDC_FILE_LOGGING, logging, IDC_USBD_STATUS);
    if (GetFocus() != focusBefore) UnselectStatus(page);
}

// False when the log's path is unknown; the page then shows the mapping only.
bool RefreshPage(HWND page, UsbdProspageParams_st& state, UsberrRefreshMode mode) noexcept {
    UsbdSnapshot snapshot;
    const bool complete = ReadUsbdSnapshot(state.deviceInfoSet, state.deviceInfoData, snapshot);
    ShowMapping(page, state, snapshot);
    if (complete) {
        ShowStateIcon(page, snapshot);
        ShowStatus(page, snapshot);
        ShowUsberrLog(page, state, snapshot.log, mode);
    }
    EnableWhatWorks(page, complete && snapshot.IsWorking() && snapshot.IsMapped(),
                    snapshot.mappingError != UfAppErr_VbusNotReady);
    return complete;
}

void OnInit(HWND page, LPARAM initParam) noexcept {
    auto* const state = InitPage<UsbdProspageParams_st>(page, initParam);
    if (state == nullptr) return;
    state->page = page;
    UnselectStatus(page);
    if (RefreshPage(page, *state, kUsberrPageOpened))
        state->timerRunning = SetTimer(page, kTimer, kTimerMs, nullptr) != 0;
    else
        ErrorBox(page, L"Error occurs while checking for USB error reason.");
}

void OnOpenVcomClicked(HWND page, UsbdProspageParams_st& state) noexcept {
    wchar_t huid[kDeviceNameChars];
    const uint32_t error =
        tavo_QueryVComFromUsbd(state.deviceInfoSet, state.deviceInfoData, huid, kDeviceNameChars, nullptr, 0);
    if (error != UfAppErr_Success) {
        ErrorBox(page, L"tavo_QueryVComFromUsbd() fail. UfAppErr=%d(%s)", error, UfAppErrName(error));
        return;
    }
    wchar_t instanceId[kVcomInstanceIdChars];
    xfmt(instanceId, kVcomInstanceIdChars, L"%s\\%s", kVcomInstanceIdStem, huid);
    if (ShowDeviceManagerProperties(page, instanceId)) return;
    const DWORD launchError = GetLastError();
    ErrorBox(page, L"WinErr=%d(%s)", launchError, WinErrName(launchError));
}

void OnViewClicked(HWND page, UsbdProspageParams_st& state) noexcept {
    RefreshPage(page, state, kUsberrUpdate);
}

void OnClearClicked(HWND page, UsbdProspageParams_st&) noexcept {
    if (!ClearUsberrLog(page)) return;
    if (auto* const state = PageParams<UsbdProspageParams_st>(page)) RefreshPage(page, *state, kUsberrUpdate);
}

void OnSaveClicked(HWND page, UsbdProspageParams_st& state) noexcept {
    RefreshPage(page, state, kUsberrBeforeSaving);
    SaveUsberrLog(page, state);
}

void OnFileLogging(HWND page, UsbdProspageParams_st&) noexcept {
    OnFileLoggingClicked(page, IDC_FILE_LOGGING);
}

// Escape in the log text arrives here. It closes the sheet, because closing the page alone would leave an
// empty frame.
void OnCancel(HWND page, UsbdProspageParams_st&) noexcept {
    EndDialog(page, IDCANCEL);
    PropSheet_PressButton(GetParent(page), PSBTN_CANCEL);
}

constexpr CommandRow<UsbdProspageParams_st> kCommands[] = {
    {IDC_USBD_OPEN_VCOM, BN_CLICKED, OnOpenVcomClicked},
    {IDC_USBD_SHOW_RECENT, BN_CLICKED, OnViewClicked},
    {IDC_USBD_SHOW_PAST, BN_CLICKED, OnViewClicked},
    {IDC_USBD_CLEAR, BN_CLICKED, OnClearClicked},
    {IDC_USBD_SAVE_TO_FILE, BN_CLICKED, OnSaveClicked},
    {IDC_FILE_LOGGING, BN_CLICKED, OnFileLogging},
    {IDCANCEL, BN_CLICKED, OnCancel},
};

INT_PTR OnMessage(HWND page, UsbdProspageParams_st& state, UINT message, WPARAM wParam,
                  LPARAM lParam) noexcept {
    switch (message) {
        case WM_COMMAND:
            return RunCommand(kCommands, page, state, wParam);
        case WM_TIMER:
            if (wParam == kTimer) RefreshPage(page, state, kUsberrUpdate);
            return TRUE;
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORSTATIC:
            if (!state.mappingFailed || GetDlgCtrlID(reinterpret_cast<HWND>(lParam)) != IDC_USBD_MAPPING)
                return FALSE;
            return ColorTextOnly(page, {message, wParam, lParam}, kRed, state.askingDefaultColor);
        default:
            return FALSE;
    }
}

}  // namespace

INT_PTR CALLBACK UsbdProspageDlgProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    switch (message) {
        case WM_INITDIALOG:
            OnInit(page, lParam);
            return TRUE;
        case WM_NOTIFY:
        case WM_HELP:
        case WM_CONTEXTMENU:
            return TRUE;
        case WM_DESTROY:
            TracePageDestroyed(page);
            return TRUE;
        default: {
            auto* const state = PageParams<UsbdProspageParams_st>(page);
            return state != nullptr ? OnMessage(page, *state, message, wParam, lParam) : FALSE;
        }
    }
}
