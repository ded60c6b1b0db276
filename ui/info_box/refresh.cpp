#include "ui/info_box/refresh.h"

#include "base/bounded_text.h"
#include "base/time_text.h"
#include "base/xfmt.h"
#include "ui/info_box/layout.h"
#include "ui/info_box/state.h"

namespace {

constexpr int32_t kCaptionChars = 64;

void FillEvent(FlexiInfoState& state, uint32_t reason, int32_t menuItemId, bool menuItemChecked) noexcept {
    FlexiInfoEvent& event = state.event;
    const bool fromMenu = reason == kReasonMenu;
    event.hwnd = state.hwnd;
    event.reason = reason;
    event.menuItemId = fromMenu ? menuItemId : 0;
    event.menuItemChecked = fromMenu && menuItemChecked ? 1 : 0;
    event.spare = 0;
    event.autoChecked = IsDlgButtonChecked(state.hwnd, kInfoBoxAutoId) == BST_CHECKED ? 1 : 0;
}

uint32_t KnownResult(uint32_t result) noexcept {
    return result <= FIR_CloseOk ? result : FIR_Update;
}

void ApplyResult(FlexiInfoState& state, uint32_t result) noexcept {
    if (result == FIR_NormalIcon) ShowIcon(state, state.params.normalIcon);
    if (result == FIR_AlertIcon || result == FIR_AlertStopAuto) ShowIcon(state, state.params.alertIcon);
    if (result == FIR_StopAuto || result == FIR_AlertStopAuto) {
        StopAutoRefresh(state);
        CheckDlgButton(state.hwnd, kInfoBoxAutoId, BST_UNCHECKED);
    }
}

// The control would bring its scroll bar back for the empty line after the last line end, which needs no
// room.
void SetTextOnly(HWND control, const wchar_t* text) noexcept {
    const bool hadScrollBar = (GetWindowLongPtrW(control, GWL_STYLE) & WS_VSCROLL) != 0;
    SendMessageW(control, WM_SETREDRAW, FALSE, 0);
    SetWindowTextW(control, text);
    if (!hadScrollBar) ShowScrollBar(control, SB_VERT, FALSE);
    SendMessageW(control, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(control, nullptr, TRUE);
}

// "2024-03-05 09:07:02", local time. False when there has been no refresh or the system cannot convert its
// time.
bool FormatRefreshTime(int64_t unixSeconds, wchar_t (&text)[kCaptionChars]) noexcept {
    TimeTm local = {};
    if (unixSeconds == 0 || time_unix_to_tm_local(unixSeconds, &local) == 0) return false;
    xfmt(text, kCaptionChars, L"%04d-%02d-%02d %02d:%02d:%02d", local.year + 1900, local.month + 1, local.day,
         local.hour, local.minute, local.second);
    return true;
}

}  // namespace

uint32_t DispatchRefresh(FlexiInfoState& state, uint32_t reason, RefreshText show, int32_t menuItemId,
                         bool menuItemChecked) noexcept {
    FillEvent(state, reason, menuItemId, menuItemChecked);
    const HWND hwnd = state.hwnd;
    const uint32_t result = KnownResult(state.params.refreshProc(state.params.refreshContext, &state.event,
                                                                 state.text, state.params.textBufferChars));
    if (result == FIR_NoChange || state.hwnd != hwnd) return result;
    ApplyResult(state, result);
    state.event.lastRefreshTime = time_now_unix_utc();
    ShowCaption(state);
    if (show == RefreshText::kShow && ConvertText(state)) {
        GrowInfoBox(state);
        ShowDisplayText(state);
    }
    if (result == FIR_CloseOk) EndInfoBox(state, kInfoBoxOk);
    return result;
}

bool ConvertText(FlexiInfoState& state) noexcept {
    // A plain message passes its text without a capacity.
    const uint32_t capacity = state.params.textBufferChars;
    if (state.display.Assign(state.text, capacity != 0 ? capacity : kUnboundedText)) return true;
    CopyBounded(state.text, capacity, L"No memory!");
    return false;
}

void ShowDisplayText(const FlexiInfoState& state) noexcept {
    const HWND control = GetDlgItem(state.hwnd, kInfoBoxTextId);
    SetTextOnly(control, state.display.get());
    if (state.params.scrollToEnd != 0)
        SendMessageW(control, EM_LINESCROLL, 0, SendMessageW(control, EM_GETLINECOUNT, 0, 0));
}

void ShowCaption(const FlexiInfoState& state) noexcept {
    wchar_t time[kCaptionChars];
    const bool showTime = state.showTime && FormatRefreshTime(state.event.lastRefreshTime, time);
    SetWindowTextW(state.hwnd, showTime ? time : state.params.title);
}

void ShowIcon(FlexiInfoState& state, HICON icon) noexcept {
    if (state.shownIcon == icon) return;
    state.shownIcon = icon;
    SendDlgItemMessageW(state.hwnd, kInfoBoxIconId, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
    SendMessageW(state.hwnd, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
    SendMessageW(state.hwnd, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
}

void StartAutoRefresh(FlexiInfoState& state) noexcept {
    if (state.timerRunning || state.ended) return;
    state.timerRunning =
        SetTimer(state.hwnd, kAutoRefreshTimer, static_cast<UINT>(state.params.autoRefreshMs), nullptr) != 0;
}

void StopAutoRefresh(FlexiInfoState& state) noexcept {
    if (state.timerRunning) KillTimer(state.hwnd, kAutoRefreshTimer);
    state.timerRunning = false;
}
