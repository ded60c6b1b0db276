#include "pages/usberr_log_area.h"

#include <string>

#include <shellapi.h>

#include "base/message_box.h"
#include "base/xfmt.h"
#include "pages/control_focus.h"
#include "pages/control_text.h"
#include "pages/prospage_params.h"
#include "resources/resource_ids.h"
#include "state/usberr_log.h"

namespace {

// What the text control shows, as remembered in the page's object; 0 before the first update.
enum View : int32_t { kViewNone = 0, kViewRecent = 1, kViewPast = 2 };

constexpr int kLogControls[] = {
    IDC_USBD_SHOW_RECENT, IDC_USBD_SHOW_PAST, IDC_USBD_LOG_TEXT, IDC_USBD_CLEAR, IDC_USBD_SAVE_TO_FILE,
};

UsbdProspageParams_st* State(HWND page) {
    return PageParams<UsbdProspageParams_st>(page);
}

bool LogPathOf(HWND page, wchar_t* path) {
    const UsbdProspageParams_st* const state = State(page);
    return state != nullptr && UsberrLogPath(state->deviceInfoSet, state->deviceInfoData, path);
}

void ShowLogControls(HWND page, bool show) {
    for (const int id : kLogControls) {
        const HWND control = GetDlgItem(page, id);
        const bool shown = (GetWindowLongPtrW(control, GWL_STYLE) & WS_VISIBLE) != 0;
        if (shown == show) continue;
        if (!show) LeaveControl(page, id, IDC_FILE_LOGGING);
        ShowWindow(control, show ? SW_SHOWNA : SW_HIDE);
    }
}

void CheckView(HWND page, View view) {
    CheckRadioButton(page, IDC_USBD_SHOW_RECENT, IDC_USBD_SHOW_PAST,
                     view == kViewRecent ? IDC_USBD_SHOW_RECENT : IDC_USBD_SHOW_PAST);
}

void ShowSummary(HWND page, bool recent) {
    SetControlText(
        page, IDC_USBD_STARTUP_SUMMARY,
        recent ? L"You have recent USB device startup errors." : L"You have USB startup errors in the past.");
    if (!recent) {
        LeaveControl(page, IDC_USBD_SHOW_RECENT, IDC_USBD_SHOW_PAST);
        CheckView(page, kViewPast);
    }
    const HWND recentButton = GetDlgItem(page, IDC_USBD_SHOW_RECENT);
    if ((IsWindowEnabled(recentButton) != FALSE) != recent) EnableWindow(recentButton, recent);
}

bool IsChecked(HWND page, int radioId) {
    return IsDlgButtonChecked(page, radioId) == BST_CHECKED;
}

View ChooseView(HWND page, UsberrRefreshMode mode, bool recent) {
    switch (mode) {
        case kUsberrPageOpened:
            return recent ? kViewRecent : kViewPast;
        case kUsberrShowRecent:
            return kViewRecent;
        case kUsberrBeforeSaving:
            return kViewPast;
        case kUsberrUpdate:
            break;
    }
    return IsChecked(page, IDC_USBD_SHOW_RECENT) ? kViewRecent : kViewPast;
}

void ShowReadError(HWND page, UsbdProspageParams_st& state, const wchar_t* path) {
    wchar_t text[kUsberrPathChars + 64];
    xfmt(text, static_cast<int32_t>(std::size(text)), L"Unexpect! Error reading logfile: '%s'", path);
    SetControlText(page, IDC_USBD_LOG_TEXT, text);
    state.shownView = kViewNone;
}

void ShowView(HWND page, UsbdProspageParams_st& state, View view, int64_t logTime, const std::wstring& tail) {
    if (state.shownView == view && state.shownLogTime == logTime) return;
    SetDlgItemTextW(page, IDC_USBD_LOG_TEXT, view == kViewRecent ? UsberrRecentText(tail) : tail.c_str());
    state.shownView = view;
    state.shownLogTime = logTime;
}

void OpenFolderOf(HWND page, const wchar_t* file) {
    wchar_t parameters[kUsberrPathChars + 16];
    xfmt(parameters, static_cast<int32_t>(std::size(parameters)), L"/select,%s", file);
    SHELLEXECUTEINFOW explorer = {};
    explorer.cbSize = sizeof(explorer);
    explorer.hwnd = page;
    explorer.lpFile = L"Explorer.exe";
    explorer.lpParameters = parameters;
    explorer.nShow = SW_SHOW;
    ShellExecuteExW(&explorer);
}

}  // namespace

bool ReadUsberrLog(HWND page, UsberrRefreshMode mode) {
    wchar_t path[kUsberrPathChars];
    if (!LogPathOf(page, path)) return false;
    UsbdProspageParams_st& state = *State(page);

    const UsberrTimes times = ReadUsberrTimes(state.deviceInfoSet, state.deviceInfoData, path);
    ShowLogControls(page, times.HasLog());
    if (!times.HasLog()) {
        SetControlText(page, IDC_USBD_STARTUP_SUMMARY, L"");
        state.shownView = kViewNone;
        return true;
    }
    std::wstring tail;
    if (!ReadUsberrTail(path, &tail)) {
        ShowReadError(page, state, path);
        return true;
    }
    const bool recent = times.AreErrorsRecent();
    ShowSummary(page, recent);
    const View view = ChooseView(page, mode, recent);
    // On opening, and when the first log appears later, no radio button tells the view yet; the next update
    // keeps what this one chose.
    const bool noneChecked = !IsChecked(page, IDC_USBD_SHOW_RECENT) && !IsChecked(page, IDC_USBD_SHOW_PAST);
    if (mode == kUsberrPageOpened || noneChecked) CheckView(page, view);
    ShowView(page, state, view, times.logWritten, tail);
    return true;
}

void ClearUsberrLog(HWND page) {
    if (AskYesNo(page, L"Delete all USB error messages for this USB device?") != IDYES) return;
    if (State(page) == nullptr) return;  // the sheet was closed meanwhile
    wchar_t path[kUsberrPathChars];
    if (!LogPathOf(page, path)) {
        MsgBoxKind(nullptr, kMessageError, page, L"Unexpect! Error getting Usberr log filepath.");
        return;
    }
    DeleteUsberrLog(path);
    ReadUsberrLog(page, kUsberrUpdate);
}

void SaveUsberrLog(HWND page) {
    if (State(page) == nullptr) return;
    ReadUsberrLog(page, kUsberrBeforeSaving);
    wchar_t source[kUsberrPathChars];
    wchar_t destination[kUsberrPathChars];
    SYSTEMTIME now;
    GetLocalTime(&now);
    if (!LogPathOf(page, source) || !UsberrSavePath(source, now, destination)) {
        MsgBoxKind(nullptr, kMessageError, page, L"Unexpect! Error getting Usberr log filepath.");
        return;
    }
    const DWORD error = CopyUsberrLog(source, destination);
    if (error != ERROR_SUCCESS) {
        MsgBoxKind(nullptr, kMessageError, page, L"Fail to copy \n\n%s\n\nto\n\n%s\n\nWinErr=%d", source,
                   destination, error);
        return;
    }
    if (AskYesNo(page, L"Logfile saved to:\n\n%s\n\nOpen that folder?", destination) == IDYES)
        OpenFolderOf(page, destination);
}
