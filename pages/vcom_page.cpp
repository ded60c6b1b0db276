#include "pages/vcom_page.h"

#include <commctrl.h>
#include <prsht.h>

#include "driver/usb_err_stat.h"
#include "pages/vcom_page_parts.h"
#include "resources/resource_ids.h"
#include "tools/file_logging.h"
#include "ui/custom_resource.h"

namespace {

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr COLORREF kBlack = RGB(0, 0, 0);
constexpr COLORREF kLightRed = RGB(255, 192, 192);
constexpr COLORREF kLightYellow = RGB(255, 255, 192);
constexpr COLORREF kNotEvaluatedText = RGB(192, 128, 96);

void CreateDrawingObjects(HWND page, VcomProspageParams_st& state) {
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
void MakeToolsButtonWhole(HWND page) {
    BUTTON_SPLITINFO split = {};
    split.mask = BCSIF_STYLE;
    split.uSplitStyle = BCSS_NOSPLIT;
    SendDlgItemMessageW(page, IDC_VCOM_TOOLS, BCM_SETSPLITINFO, 0, reinterpret_cast<LPARAM>(&split));
}

void OnTimer(HWND page) {
    ShowUsbErrorStatus(page);
    ShowVcomFriendlyName(page);
}

void UpdateRegularly(HWND page) {
    if (!RefreshVcomPage(page)) return;
    StartVcomTimer(page);
    OnTimer(page);
}

void CreateHint(HWND page) {
    VcomProspageParams_st* const state = VcomState(page);
    uint32_t error = 0;  // the page works without a hint
    if (state != nullptr) state->hint = HintBalloon::Create(page, true, &error);
}

void OnInit(HWND page, LPARAM initParam) {
    StorePageParams(page, initParam);
    VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return;
    CreateDrawingObjects(page, *state);
    MakeToolsButtonWhole(page);
    UpdateRegularly(page);
    CreateHint(page);
    SetCustomControlIcon(page, IDC_VCOM_ICON);
}

void OnRefreshClicked(HWND page) {
    if (RefreshVcomPage(page)) StartVcomTimer(page);
}

void OnFileLogging(HWND page) {
    OnFileLoggingClicked(page, IDC_FILE_LOGGING);
}

struct ButtonHandler {
    WORD controlId;
    void (*onClicked)(HWND page);
};

constexpr ButtonHandler kButtons[] = {
    {IDC_VCOM_WHO_OPENED, OnWhoOpenedClicked},
    {IDC_VCOM_DEFAULT, OnDefaultClicked},
    {IDC_VCOM_REFRESH, OnRefreshClicked},
    {IDC_VCOM_SAVE, OnSaveClicked},
    {IDC_VCOM_USB_ERROR_DETAILS, OnUsbErrorDetailsClicked},
    {IDC_FILE_LOGGING, OnFileLogging},
};

INT_PTR OnCommand(HWND page, WORD controlId, WORD notification) {
    if (notification != BN_CLICKED || VcomState(page) == nullptr) return FALSE;
    for (const ButtonHandler& button : kButtons) {
        if (button.controlId != controlId) continue;
        button.onClicked(page);
        return TRUE;
    }
    return FALSE;
}

INT_PTR OnNotify(HWND page, const NMHDR& header) {
    LONG_PTR result = 0;
    if (header.code == static_cast<UINT>(PSN_APPLY)) SaveVcomSettings(page);
    if (header.code == static_cast<UINT>(PSN_KILLACTIVE)) result = ConfirmPortName(page) ? FALSE : TRUE;
    SetWindowLongPtrW(page, DWLP_MSGRESULT, result);
    return TRUE;
}

// Both color functions return the brush, or FALSE for the usual look. Being unplugged shows before the rest.
INT_PTR ColorFriendlyName(HDC dc, const VcomProspageParams_st& state) {
    if (state.notPlugged != 0) {
        SetTextColor(dc, kRed);
        SetBkColor(dc, kLightRed);
        return reinterpret_cast<INT_PTR>(state.lightRedBrush.get());
    }
    if (state.usbErrStat.evaluate != 0) return FALSE;
    SetTextColor(dc, kNotEvaluatedText);
    SetBkColor(dc, GetSysColor(COLOR_BTNFACE));
    return reinterpret_cast<INT_PTR>(GetSysColorBrush(COLOR_BTNFACE));
}

INT_PTR ColorUsbErrorLine(HDC dc, const VcomProspageParams_st& state) {
    if (state.usbErrState != kUsbErrRecovered && state.usbErrState != kUsbErrRecovering) return FALSE;
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kBlack);
    const OwnedBrush& brush =
        state.usbErrState == kUsbErrRecovering ? state.lightRedBrush : state.lightYellowBrush;
    return reinterpret_cast<INT_PTR>(brush.get());
}

INT_PTR OnControlColor(HWND page, HDC dc, HWND control) {
    const VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return FALSE;
    switch (GetDlgCtrlID(control)) {
        case IDC_VCOM_FRIENDLY_NAME:
            return ColorFriendlyName(dc, *state);
        case IDC_VCOM_USB_ERROR_LINE:
            return ColorUsbErrorLine(dc, *state);
        default:
            return FALSE;
    }
}

void OnDoubleClick(HWND page) {
    if (VcomState(page) == nullptr) return;
    ShowUsbErrorDetailsButton(page, true);
    if (GetKeyState(VK_SHIFT) >= 0) ShowUsbdInfo(page);
}

}  // namespace

void StartVcomTimer(HWND page) {
    VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr || state->timerRunning) return;
    state->timerRunning = SetTimer(page, kVcomTimer, kVcomTimerMs, nullptr) != 0;
}

void StopVcomTimer(HWND page) {
    VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr || !state->timerRunning) return;
    KillTimer(page, kVcomTimer);
    state->timerRunning = false;
}

INT_PTR CALLBACK VcomProspageDlgProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    switch (message) {
        case WM_INITDIALOG:
            OnInit(page, lParam);
            return TRUE;
        case WM_DESTROY:
            StopVcomTimer(page);
            return TRUE;
        case WM_NOTIFY:
            return OnNotify(page, *reinterpret_cast<const NMHDR*>(lParam));
        case WM_COMMAND:
            return OnCommand(page, LOWORD(wParam), HIWORD(wParam));
        case WM_TIMER:
            if (wParam == kVcomTimer) OnTimer(page);
            return TRUE;
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORSTATIC:
            return OnControlColor(page, reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
        case WM_LBUTTONDBLCLK:
            OnDoubleClick(page);
            return TRUE;
        case WM_HELP:
        case WM_CONTEXTMENU:
        case WM_CHAR:
            return TRUE;
        default:
            return FALSE;
    }
}
