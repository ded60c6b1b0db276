#include "pages/usberr_log_area.h"

#include <iterator>

#include "base/message_box.h"
#include "base/xfmt.h"
#include "resources/resource_ids.h"
#include "ui/dialog_controls.h"
#include "ui/edit_text.h"
#include "ui/open_folder.h"

namespace {

// What the text control shows, as remembered in the page's object; 0 before the first update.
enum View : int32_t { kViewNone = 0, kViewRecent = 1, kViewPast = 2 };

constexpr int kLogControls[] = {
    IDC_USBD_SHOW_RECENT, IDC_USBD_SHOW_PAST, IDC_USBD_LOG_TEXT, IDC_USBD_CLEAR, IDC_USBD_SAVE_TO_FILE,
};
constexpr RadioGroup kViews = {IDC_USBD_SHOW_RECENT, IDC_USBD_SHOW_PAST};
constexpr wchar_t kNoPathText[] = L"Unexpect! Error getting Usberr log filepath.";

void ShowLogControls(HWND page, bool shown) noexcept {
    const bool boxUsable = IsWindowEnabled(GetDlgItem(page, IDC_FILE_LOGGING)) != FALSE;
    for (const int id : kLogControls)
        ShowControl(page, id, shown, boxUsable ? IDC_FILE_LOGGING : IDC_USBD_STATUS);
}

void CheckView(HWND page, View view) noexcept {
    CheckRadio(page, kViews, view == kViewRecent ? 0 : 1);
}

void ShowSummary(HWND page, bool recent) noexcept {
    SetControlText(
        page, IDC_USBD_STARTUP_SUMMARY,
        recent ? L"You have recent USB device startup errors." : L"You have USB startup errors in the past.");
    // Checked before it gets the focus: an unchecked radio button that gets it counts as clicked.
    if (!recent && !IsBoxChecked(page, IDC_USBD_SHOW_PAST)) CheckView(page, kViewPast);
    EnableControl(page, IDC_USBD_SHOW_RECENT, recent, IDC_USBD_SHOW_PAST);
}

View ChooseView(HWND page, UsberrRefreshMode mode, bool recent) noexcept {
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
    return IsBoxChecked(page, IDC_USBD_SHOW_RECENT) ? kViewRecent : kViewPast;
}

void ShowReadError(HWND page, UsbdProspageParams_st& state, const wchar_t* path) noexcept {
    wchar_t text[kUsberrPathChars + 64];
    xfmt(text, static_cast<int32_t>(std::size(text)), L"Unexpect! Error reading logfile: '%s'", path);
    SetControlText(page, IDC_USBD_LOG_TEXT, text);
    state.shownView = kViewNone;
}

void ShowView(HWND page, UsbdProspageParams_st& state, View view, const UsberrLog& log) noexcept {
    if (state.shownView == view && state.shownLogTime == log.times.logWritten) return;
    const wchar_t* const tail = log.tail.c_str();
    UpdateEditText(GetDlgItem(page, IDC_USBD_LOG_TEXT), view == kViewRecent ? UsberrRecentText(tail) : tail);
    state.shownView = view;
    state.shownLogTime = log.times.logWritten;
}

}  // namespace

void ShowUsberrLog(HWND page, UsbdProspageParams_st& state, const UsberrLog& log,
                   UsberrRefreshMode mode) noexcept {
    ShowLogControls(page, log.times.HasLog());
    if (!log.times.HasLog()) {
        SetControlText(page, IDC_USBD_STARTUP_SUMMARY, L"");
        state.shownView = kViewNone;
        return;
    }
    if (!log.isReadable) {
        ShowReadError(page, state, log.path);
        return;
    }
    const bool recent = log.times.AreErrorsRecent();
    ShowSummary(page, recent);
    const View view = ChooseView(page, mode, recent);
    // On opening, and when the first log appears later, no radio button is checked yet; the next update keeps
    // this choice.
    if (!CheckedRadio(page, kViews).has_value()) CheckView(page, view);
    ShowView(page, state, view, log);
}

bool ClearUsberrLog(HWND page) noexcept {
    if (AskYesNo(page, L"Delete all USB error messages for this USB device?") != IDYES) return false;
    const auto* const state = PageParams<UsbdProspageParams_st>(page);
    if (state == nullptr) return false;  // the sheet was closed meanwhile
    wchar_t path[kUsberrPathChars];
    if (!UsberrLogPath(state->deviceInfoSet, state->deviceInfoData, path)) {
        ErrorBox(page, L"%s", kNoPathText);
        return false;
    }
    const DWORD error = DeleteUsberrLog(path);
    if (error == ERROR_SUCCESS || error == ERROR_FILE_NOT_FOUND) return true;
    ErrorBox(page, L"Fail to delete \n\n%s\n\nWinErr=%d", path, error);
    return false;
}

void SaveUsberrLog(HWND page, const UsbdProspageParams_st& state) noexcept {
    wchar_t source[kUsberrPathChars];
    wchar_t destination[kUsberrPathChars];
    SYSTEMTIME now;
    GetLocalTime(&now);
    if (!UsberrLogPath(state.deviceInfoSet, state.deviceInfoData, source) ||
        !UsberrSavePath(source, now, destination)) {
        ErrorBox(page, L"%s", kNoPathText);
        return;
    }
    const DWORD error = CopyUsberrLog(source, destination);
    if (error != ERROR_SUCCESS) {
        ErrorBox(page, L"Fail to copy \n\n%s\n\nto\n\n%s\n\nWinErr=%d", source, destination, error);
        return;
    }
    if (AskYesNo(page, L"Logfile saved to:\n\n%s\n\nOpen that folder?", destination) == IDYES)
        OpenFolderOf(page, destination);
}
