// The USB error line of the VCOM page and the details behind it.
#include "base/message_box.h"
#include "base/xfmt.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "driver/usb_err_stat.h"
#include "pages/control_focus.h"
#include "pages/control_text.h"
#include "pages/vcom_page_parts.h"
#include "resources/resource_ids.h"
#include "ui/info_box.h"

namespace {

constexpr wchar_t kDetailsTitle[] = L"USB error details";
constexpr int32_t kLineChars = 80;
constexpr int32_t kReportChars = 2000;
constexpr int32_t kDetailsRefreshMs = 2000;

void ShowLine(HWND page, const wchar_t* text) {
    SetControlText(page, IDC_VCOM_USB_ERROR_LINE, text);
}

// The line's background follows the state, so a change of it has to be painted.
void SetErrorState(HWND page, VcomProspageParams_st& state, int32_t errorState) {
    if (state.usbErrState == errorState) return;
    state.usbErrState = errorState;
    InvalidateRect(GetDlgItem(page, IDC_VCOM_USB_ERROR_LINE), nullptr, TRUE);
}

// The friendly name is colored by the evaluation flag.
void StoreRecord(HWND page, VcomProspageParams_st& state, const UsbErrStat_st& record) {
    const bool recolor = (state.usbErrStat.evaluate != 0) != (record.evaluate != 0);
    state.usbErrStat = record;
    if (recolor) InvalidateRect(GetDlgItem(page, IDC_VCOM_FRIENDLY_NAME), nullptr, TRUE);
}

void FormatLine(const UsbErrStat_st& record, UsbErrState errorState, uint32_t total, wchar_t* line) {
    line[0] = L'\0';
    switch (errorState) {
        case kUsbErrNone:
        case kUsbErrPastRecovery:
            if (record.offlineCount != 0)
                xfmt(line, kLineChars, L"USB device offline count: %lld", record.offlineCount);
            break;
        case kUsbErrRecovered:
            xfmt(line, kLineChars, L"USB error recovered. (count=%d)", total);
            break;
        case kUsbErrRecovering:
            xfmt(line, kLineChars, L"USB error detected, recovering... (count=%d)", total);
            break;
    }
}

// What the details box queries; a copy, because a detached box may outlive the page.
struct DetailsSource {
    HDEVINFO deviceInfoSet;
    SP_DEVINFO_DATA deviceInfoData;
};

uint32_t RefreshDetails(void* context, FlexiInfoEvent* event, wchar_t* text, uint32_t textChars) noexcept {
    if (event->reason == kReasonOk || event->reason == kReasonCancel) return FIR_NoChange;
    auto* const source = static_cast<DetailsSource*>(context);
    const int32_t chars = static_cast<int32_t>(textChars);
    UsbErrStat_st record;
    const DWORD error = QueryUsbErrStat(source->deviceInfoSet, &source->deviceInfoData, &record);
    if (error == ERROR_SUCCESS) {
        FormatUsbErrStat(record, nullptr, text, chars);
        return FIR_NormalIcon;
    }
    if (error == ERROR_DEVICE_NOT_CONNECTED)
        xfmt(text, chars, L"%s", kFlowpathLostText);
    else
        xfmt(text, chars, L"IOCTL_TAVIX_GetUsbErrStat fail: WinErr=%d(%s)", error, WinErrName(error));
    return FIR_AlertIcon;
}

void ShowDetailsBox(HWND page, const VcomProspageParams_st& state, bool detached) {
    DetailsSource source = {state.deviceInfoSet, *state.deviceInfoData};
    wchar_t text[kReportChars] = {};
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = kDetailsTitle;
    params.okText = L"Close";
    params.refreshProc = RefreshDetails;
    params.refreshContext = &source;
    params.textBufferChars = kReportChars;
    params.autoRefreshAtStart = 1;
    params.autoRefreshMs = kDetailsRefreshMs;
    params.startDetached = detached;
    FlexiInfoBox(page, &params, text);
}

}  // namespace

void ShowUsbErrorStatus(HWND page) {
    VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return;
    UsbErrStat_st record;
    wchar_t line[kLineChars];
    const DWORD error = QueryUsbErrStat(state->deviceInfoSet, state->deviceInfoData, &record);
    StoreRecord(page, *state, record);
    if (error != ERROR_SUCCESS) {
        xfmt(line, kLineChars, L"%s(%d)", WinErrName(error), error);
        SetErrorState(page, *state, kUsbErrNone);
        ShowUsbErrorDetailsButton(page, false);
    } else {
        uint32_t total = 0;
        const UsbErrState errorState = FormatUsbErrStat(record, &total, state->usbErrText, kReportChars);
        FormatLine(record, errorState, total, line);
        SetErrorState(page, *state, errorState);
        ShowUsbErrorDetailsButton(page, errorState != kUsbErrNone);
    }
    ShowLine(page, line);
}

void ShowUsbErrorDetailsButton(HWND page, bool visible) {
    VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr || state->detailsVisible == visible) return;
    state->detailsVisible = visible;
    if (!visible) LeaveControl(page, IDC_VCOM_USB_ERROR_DETAILS, IDC_VCOM_REFRESH);
    ShowWindow(GetDlgItem(page, IDC_VCOM_USB_ERROR_DETAILS), visible ? SW_SHOWNA : SW_HIDE);
}

void OnUsbErrorDetailsClicked(HWND page) {
    const VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return;
    if (GetKeyState(VK_MENU) < 0)
        MsgBoxFmt(kDetailsTitle, MB_OK, page, L"%s", state->usbErrText);
    else
        ShowDetailsBox(page, *state, GetKeyState(VK_CONTROL) < 0);
}
