// The USB error line of the VCOM page and its details box.
#include "base/message_box.h"
#include "base/xfmt.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "driver/usb_err_stat.h"
#include "driver/vbus.h"
#include "pages/vcom_page_parts.h"
#include "ui/info_box.h"

namespace {

constexpr wchar_t kDetailsTitle[] = L"USB error details";
constexpr int32_t kLineChars = 80;
constexpr int32_t kReportChars = 2000;
constexpr int32_t kDetailsRefreshMs = 2000;

// The line's background shows the state, so a new state repaints the line.
void SetErrorState(HWND page, VcomProspageParams_st& state, int32_t errorState) {
    if (state.usbErrState == errorState) return;
    state.usbErrState = errorState;
    InvalidateRect(GetDlgItem(page, IDC_VCOM_USB_ERROR_LINE), nullptr, TRUE);
}

// The evaluation flag colors the friendly name.
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

// The box knows its device by name, because a detached one may outlive the page and its device list.
uint32_t RefreshDetails(void* context, FlexiInfoEvent* event, wchar_t* text, uint32_t textChars) noexcept {
    if (event->reason == kReasonOk || event->reason == kReasonCancel) return FIR_NoChange;
    const auto& device = *static_cast<const DeviceName_st*>(context);
    const int32_t chars = static_cast<int32_t>(textChars);
    UsbErrStat_st record;
    const DWORD error = QueryUsbErrStat(device, record);
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

void ShowDetailsBox(HWND page, const VcomProspageParams_st& state, bool detached) noexcept {
    DeviceName_st device = {};  // stays empty without a device: its Flowpath is lost
    GetDeviceName(state.deviceInfoSet, state.deviceInfoData, device);
    wchar_t text[kReportChars] = {};
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = kDetailsTitle;
    params.okText = L"Close";
    params.refreshProc = RefreshDetails;
    params.refreshContext = &device;
    params.textBufferChars = kReportChars;
    params.autoRefreshAtStart = 1;
    params.autoRefreshMs = kDetailsRefreshMs;
    params.startDetached = detached;
    FlexiInfoBox(page, &params, text);
}

}  // namespace

void ShowUsbErrorStatus(HWND page, VcomProspageParams_st& state) noexcept {
    UsbErrStat_st record;
    wchar_t line[kLineChars];
    const DWORD error = QueryUsbErrStat(state.deviceInfoSet, state.deviceInfoData, record);
    StoreRecord(page, state, record);
    if (error != ERROR_SUCCESS) {
        xfmt(line, kLineChars, L"%s(%d)", WinErrName(error), error);
        SetErrorState(page, state, kUsbErrNone);
        ShowUsbErrorDetailsButton(page, state, false);
    } else {
        uint32_t total = 0;
        const UsbErrState errorState = FormatUsbErrStat(record, &total, state.usbErrText, kReportChars);
        FormatLine(record, errorState, total, line);
        SetErrorState(page, state, errorState);
        ShowUsbErrorDetailsButton(page, state, errorState != kUsbErrNone);
    }
    SetControlText(page, IDC_VCOM_USB_ERROR_LINE, line);
}

void ShowUsbErrorDetailsButton(HWND page, VcomProspageParams_st& state, bool visible) noexcept {
    state.detailsVisible = visible;
    ShowControl(page, IDC_VCOM_USB_ERROR_DETAILS, visible, IDC_VCOM_REFRESH);
}

void OnUsbErrorDetailsClicked(HWND page, VcomProspageParams_st& state) noexcept {
    if (IsKeyHeld(VK_MENU))
        MsgBoxFmt(kDetailsTitle, MB_OK, page, L"%s", state.usbErrText);
    else
        ShowDetailsBox(page, state, IsKeyHeld(VK_CONTROL));
}
