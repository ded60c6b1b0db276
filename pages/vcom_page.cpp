#include "pages/vcom_page.h"

#include <commctrl.h>
#include <prsht.h>

#include "driver/usb_err_stat.h"
#include "pages/vcom_page_parts.h"
#include "tools/file_logging.h"
#include "tools/global_settings.h"
#include "tools/open_check.h"
#include "tools/tools_menu.h"
#include "ui/custom_resource.h"
#include "ui/dialog_commands.h"
#include "ui/dialog_controls.h"

namespace {

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr COLORREF kBlack = RGB(0, 0, 0);
constexpr COLORREF kLightRed = RGB(255, 192, 192);
constexpr COLORREF kLightYellow = RGB(255, 255, 192);
constexpr COLORREF kNotEvaluatedText = RGB(192, 128, 96);

void CreateDrawingObjects(HWND page, VcomProspageParams_st& state) noexcept {
    const HWND name = GetDlgItem(page, IDC_VCOM_FRIENDLY_NAME);
    LOGFONTW font = {};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(name, WM_GETFONT, 0, 0)), sizeof(font), &font);
    font.lfWeight = FW_BOLD;
    state.boldFont.reset(CreateFontIndirectW(&font));
    state.lightRedBrush.reset(CreateSolidBrush(kLightRed));
    state.lightYellowBrush.reset(CreateSolidBrush(kLightYellow));
    SendMessageW(name, WM_SETFONT, reinterpret_cast<WPARAM>(state.boldFont.get()), FALSE);
}

// The whole button opens the menu.
void MakeToolsButtonWhole(HWND page) noexcept {
    BUTTON_SPLITINFO split = {};
    split.mask = BCSIF_STYLE;
    split.uSplitStyle = BCSS_NOSPLIT;
    SendDlgItemMessageW(page, IDC_VCOM_TOOLS, BCM_SETSPLITINFO, 0, reinterpret_cast<LPARAM>(&split));
}

// The name comes last, because a failure to read it shows a box.
void OnTick(HWND page, VcomProspageParams_st& state) noexcept {
    ShowUsbErrorStatus(page, state);
    ShowVcomName(page, state, ReadVcomName(state.deviceInfoSet, state.deviceInfoData));
}

void OnTimer(HWND page, VcomProspageParams_st& state, WPARAM timer) noexcept {
    if (timer == kVcomTimer) OnTick(page, state);
    if (timer == kToolsHintTimer) EndToolsHint(page, state.hint.get());
}

void CreateHint(HWND page, VcomProspageParams_st& state) noexcept {
    uint32_t error = 0;  // the page works without a hint
    state.hint = HintBalloon::Create(page, true, error);
}

void OnInit(HWND page, LPARAM initParam) noexcept {
    auto* const state = InitPage<VcomProspageParams_st>(page, initParam);
    if (state == nullptr) return;
    CreateDrawingObjects(page, *state);
    MakeToolsButtonWhole(page);
    if (VcomProspageParams_st* const shown = RefreshVcomPage(page, *state)) {
        StartVcomTimer(page, *shown);
        OnTick(page, *shown);
    }
    // A box may have been shown.
    if (VcomProspageParams_st* const shown = VcomState(page)) CreateHint(page, *shown);
    SetCustomControlIcon(page, IDC_VCOM_ICON);
}

void OnRefreshClicked(HWND page, VcomProspageParams_st& state) noexcept {
    if (VcomProspageParams_st* const shown = RefreshVcomPage(page, state)) StartVcomTimer(page, *shown);
}

void OnFileLogging(HWND page, VcomProspageParams_st&) noexcept {
    OnFileLoggingClicked(page, IDC_FILE_LOGGING);
}

// The page shows some of the dialog's settings too.
void OnMoreGlobalsClicked(HWND page, VcomProspageParams_st&) noexcept {
    ShowGlobalSettings(page);
    if (VcomProspageParams_st* const shown = VcomState(page)) RefreshVcomPage(page, *shown);
}

constexpr CommandRow<VcomProspageParams_st> kCommands[] = {
    {IDC_VCOM_WHO_OPENED, BN_CLICKED, OnWhoOpenedClicked},
    {IDC_VCOM_DEFAULT, BN_CLICKED, OnDefaultClicked},
    {IDC_VCOM_REFRESH, BN_CLICKED, OnRefreshClicked},
    {IDC_VCOM_SAVE, BN_CLICKED, OnSaveClicked},
    {IDC_VCOM_MORE_GLOBALS, BN_CLICKED, OnMoreGlobalsClicked},
    {IDC_VCOM_USB_ERROR_DETAILS, BN_CLICKED, OnUsbErrorDetailsClicked},
    {IDC_FILE_LOGGING, BN_CLICKED, OnFileLogging},
    {IDC_VCOM_TOOLS, BN_CLICKED, OnToolsClicked},
};

void OnNotify(HWND page, VcomProspageParams_st& state, const NMHDR& header) noexcept {
    LONG_PTR result = 0;
    if (header.code == static_cast<UINT>(PSN_APPLY)) result = OnApply(page, state);
    if (header.code == static_cast<UINT>(PSN_KILLACTIVE)) result = OnKillActive(page);
    // Some systems report every click on a split button this way.
    if (header.code == BCN_DROPDOWN && header.idFrom == IDC_VCOM_TOOLS) OnToolsClicked(page, state);
    SetWindowLongPtrW(page, DWLP_MSGRESULT, result);
}

void OnDoubleClick(HWND page, VcomProspageParams_st& state) noexcept {
    ShowUsbErrorDetailsButton(page, state, true);
    if (IsKeyHeld(VK_SHIFT))
        CheckPortOpens(page, state.deviceInfoSet, state.deviceInfoData, state.portName);
    else
        ShowUsbdInfo(page, state);
}

void OnDestroy(HWND page, VcomProspageParams_st& state) noexcept {
    StopVcomTimer(page, state);
    TracePageDestroyed(page);
}

INT_PTR AsResult(HBRUSH brush) noexcept {
    return reinterpret_cast<INT_PTR>(brush);
}

// These return the brush, or FALSE for the default look. Being unplugged takes precedence.
INT_PTR ColorFriendlyName(HWND page, VcomProspageParams_st& state, const ControlColor& color) noexcept {
    if (state.notPlugged != 0) {
        SetTextColor(color.Dc(), kRed);
        SetBkColor(color.Dc(), kLightRed);
        return AsResult(state.lightRedBrush.get());
    }
    if (state.usbErrStat.evaluate != 0) return FALSE;
    return ColorTextOnly(page, color, kNotEvaluatedText, state.askingDefaultColor);
}

INT_PTR ColorUsbErrorLine(const VcomProspageParams_st& state, HDC dc) noexcept {
    if (state.usbErrState != kUsbErrRecovered && state.usbErrState != kUsbErrRecovering) return FALSE;
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kBlack);
    const bool recovering = state.usbErrState == kUsbErrRecovering;
    return AsResult(recovering ? state.lightRedBrush.get() : state.lightYellowBrush.get());
}

INT_PTR OnControlColor(HWND page, VcomProspageParams_st& state, const ControlColor& color) noexcept {
    switch (GetDlgCtrlID(reinterpret_cast<HWND>(color.control))) {
        case IDC_VCOM_FRIENDLY_NAME:
            return ColorFriendlyName(page, state, color);
        case IDC_VCOM_USB_ERROR_LINE:
            return ColorUsbErrorLine(state, color.Dc());
        default:
            return FALSE;
    }
}

INT_PTR OnMessage(HWND page, VcomProspageParams_st& state, UINT message, WPARAM wParam,
                  LPARAM lParam) noexcept {
    switch (message) {
        case WM_DESTROY:
            OnDestroy(page, state);
            return TRUE;
        case WM_NOTIFY:
            OnNotify(page, state, *reinterpret_cast<const NMHDR*>(lParam));
            return TRUE;
        case WM_COMMAND:
            return RunCommand(kCommands, page, state, wParam);
        case WM_TIMER:
            OnTimer(page, state, wParam);
            return TRUE;
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORSTATIC:
            return OnControlColor(page, state, {message, wParam, lParam});
        case WM_LBUTTONDBLCLK:
            OnDoubleClick(page, state);
            return TRUE;
        default:
            return FALSE;
    }
}

}  // namespace

void StartVcomTimer(HWND page, VcomProspageParams_st& state) noexcept {
    if (state.timerRunning) return;
    state.timerRunning = SetTimer(page, kVcomTimer, kVcomTimerMs, nullptr) != 0;
}

void StopVcomTimer(HWND page, VcomProspageParams_st& state) noexcept {
    if (!state.timerRunning) return;
    KillTimer(page, kVcomTimer);
    state.timerRunning = false;
}

INT_PTR CALLBACK VcomProspageDlgProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    switch (message) {
        case WM_INITDIALOG:
            OnInit(page, lParam);
            return TRUE;
        case WM_HELP:
        case WM_CONTEXTMENU:
        case WM_CHAR:
            return TRUE;
        default: {
            VcomProspageParams_st* const state = VcomState(page);
            return state != nullptr ? OnMessage(page, *state, message, wParam, lParam) : FALSE;
        }
    }
}
