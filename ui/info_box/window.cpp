// The info box's dialog procedure: initialization, commands, timers.
#include <algorithm>

#include "base/time_text.h"
#include "ui/info_box/layout.h"
#include "ui/info_box/menu.h"
#include "ui/info_box/refresh.h"
#include "ui/info_box/state.h"

namespace {

constexpr DWORD kBeepHertz = 500;
constexpr DWORD kBeepMs = 500;
// The hint points at the lower left corner of the client area, this far from its edges.
constexpr POINT kHintPosition{4, -4};

HWND Control(const FlexiInfoState& state, int id) noexcept {
    return GetDlgItem(state.hwnd, id);
}

void Hide(const FlexiInfoState& state, int id) noexcept {
    ShowWindow(Control(state, id), SW_HIDE);
}

void Enable(const FlexiInfoState& state, int id, bool enabled) noexcept {
    EnableWindow(Control(state, id), enabled ? TRUE : FALSE);
}

void SetTextOrHide(const FlexiInfoState& state, int id, const wchar_t* text) noexcept {
    if (text != nullptr) {
        SetDlgItemTextW(state.hwnd, id, text);
    } else {
        Hide(state, id);
    }
}

RECT ControlRect(const FlexiInfoState& state, int id) noexcept {
    RECT rect = {};
    GetWindowRect(Control(state, id), &rect);
    MapWindowPoints(nullptr, state.hwnd, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

// With a single button it is the OK control that moves to the middle, at the height of the button that is
// shown, even when that button is Cancel: Cancel alone stays where the template has it.
void CenterOkControl(const FlexiInfoState& state, int shownId) noexcept {
    RECT client = {};
    GetClientRect(state.hwnd, &client);
    const RECT button = ControlRect(state, kInfoBoxOkId);
    const int x = (client.right - SizeOf(button).cx) / 2;
    SetWindowPos(Control(state, kInfoBoxOkId), nullptr, x, ControlRect(state, shownId).top, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void TakeFocusOff(FlexiInfoState& state) noexcept {
    SetFocus(nullptr);
    state.focusOff = true;
}

void InitButtons(FlexiInfoState& state) noexcept {
    SetTextOrHide(state, kInfoBoxOkId, state.params.okText);
    SetTextOrHide(state, kInfoBoxCancelId, state.params.cancelText);
    if (state.params.okText == nullptr && state.params.cancelText == nullptr) TakeFocusOff(state);
}

void AnchorControls(FlexiInfoState& state) noexcept {
    const bool hasOk = state.params.okText != nullptr;
    const bool hasCancel = state.params.cancelText != nullptr;
    state.anchors.Init(state.hwnd);
    state.anchors.Add(0, 0, 100, 100, kInfoBoxTextId);
    if (hasOk && hasCancel) {
        static constexpr int kBoth[] = {kInfoBoxOkId, kInfoBoxCancelId, -1};
        state.anchors.AddMany(100, 100, 100, 100, false, kBoth);
    } else if (hasOk || hasCancel) {
        CenterOkControl(state, hasOk ? kInfoBoxOkId : kInfoBoxCancelId);
        state.anchors.Add(50, 100, 50, 100, kInfoBoxOkId);
    }
}

// A fixed pitch without a face name lets the system choose the face.
void SetTextFont(FlexiInfoState& state) noexcept {
    const HWND text = Control(state, kInfoBoxTextId);
    auto current = reinterpret_cast<HFONT>(SendMessageW(text, WM_GETFONT, 0, 0));
    if (current == nullptr) current = static_cast<HFONT>(GetStockObject(SYSTEM_FONT));
    LOGFONTW font = {};
    if (GetObjectW(current, sizeof(font), &font) == 0) return;
    constexpr BYTE kPitchBits = 0x03;
    const bool fixedPitch = state.params.fixedPitch != 0;
    font.lfPitchAndFamily = static_cast<BYTE>((font.lfPitchAndFamily & ~kPitchBits) |
                                              (fixedPitch ? FIXED_PITCH : VARIABLE_PITCH));
    if (fixedPitch) font.lfFaceName[0] = L'\0';
    state.font.reset(CreateFontIndirectW(&font));
    if (state.font) SendMessageW(text, WM_SETFONT, reinterpret_cast<WPARAM>(state.font.get()), TRUE);
}

void InitRefreshControls(FlexiInfoState& state) noexcept {
    const FlexiInfoParams& params = state.params;
    const bool hasInterval = params.autoRefreshMs >= 1;
    SetDlgItemTextW(state.hwnd, kInfoBoxRefreshId, params.refreshText);
    SetDlgItemTextW(state.hwnd, kInfoBoxAutoId, params.autoText);
    if (params.showRefreshButton == 0 && !hasInterval) Hide(state, kInfoBoxRefreshId);
    if (!hasInterval) Hide(state, kInfoBoxAutoId);
    if (params.autoRefreshAtStart != 0 && hasInterval) {
        CheckDlgButton(state.hwnd, kInfoBoxAutoId, BST_CHECKED);
        StartAutoRefresh(state);
    }
}

void ApplyDefaultButton(FlexiInfoState& state) noexcept {
    const auto id = static_cast<int>(state.params.defaultButtonId);
    if (id == 0) return;
    state.focusOff = false;
    SetFocus(Control(state, id));
    if (id != kInfoBoxOkId && id != kInfoBoxCancelId) return;
    SendMessageW(state.hwnd, DM_SETDEFID, static_cast<WPARAM>(id), 0);
    SendMessageW(Control(state, id), BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
}

void BeginOkDelay(FlexiInfoState& state) noexcept {
    state.event.openTick = time_tick_ms();
    Enable(state, kInfoBoxOkId, false);
    Enable(state, kInfoBoxCancelId, false);
    SetTimer(state.hwnd, kOkDelayTimer, state.params.okDelayMs, nullptr);
}

void ApplyToolWindow(const FlexiInfoState& state) noexcept {
    if (state.params.toolWindow == 0) return;
    const HWND hwnd = state.hwnd;
    SetWindowLongPtrW(hwnd, GWL_EXSTYLE, GetWindowLongPtrW(hwnd, GWL_EXSTYLE) | WS_EX_TOOLWINDOW);
    SetWindowLongPtrW(hwnd, GWL_STYLE, GetWindowLongPtrW(hwnd, GWL_STYLE) & ~LONG_PTR{WS_SYSMENU});
    SetWindowPos(hwnd, nullptr, 0, 0, 0, 0,
                 SWP_FRAMECHANGED | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void ShowHint(FlexiInfoState& state) noexcept {
    if (state.params.menuItemCount < 1 || state.params.hintSeconds < 0) return;
    uint32_t error = 0;
    state.hint = HintBalloon::Create(state.hwnd, true, error);
    if (!state.hint || state.hint->Show(true, kHintPosition, L"%s", state.params.hintText) != 0) return;
    state.hintShown = true;
    const UINT seconds = static_cast<UINT>(std::min(state.params.hintSeconds, USER_TIMER_MAXIMUM / 1000));
    SetTimer(state.hwnd, kHintTimer, seconds * 1000, nullptr);
}

void HideHint(FlexiInfoState& state) noexcept {
    if (!state.hintShown) return;
    state.hintShown = false;
    KillTimer(state.hwnd, kHintTimer);
    state.hint->Hide();
}

void OnInit(FlexiInfoState& state, HWND hwnd) noexcept {
    SetWindowLongPtrW(hwnd, DWLP_USER, reinterpret_cast<LONG_PTR>(&state));
    state.hwnd = hwnd;
    state.opened = true;
    InitButtons(state);
    AnchorControls(state);
    ShowIcon(state, state.params.normalIcon);
    SetWindowTextW(hwnd, state.params.title);  // also when the box is reopened with the time as its caption
    if (state.params.autoRefreshAtStart != 0) DispatchRefresh(state, kReasonRefresh, RefreshText::kKeep);
    if (state.hwnd != hwnd || state.ended) return;
    ConvertText(state);
    ShowDisplayText(state);
    SetTextFont(state);
    PlaceInfoBox(state);
    InitRefreshControls(state);
    TakeFocusOff(state);
    if (state.params.okDelayMs != 0) {
        BeginOkDelay(state);
    } else {
        ApplyDefaultButton(state);
    }
    ApplyToolWindow(state);
    if (state.params.hideRefreshControls != 0) {
        Hide(state, kInfoBoxRefreshId);
        Hide(state, kInfoBoxAutoId);
    }
    ShowHint(state);
}

bool IsInOkDelay(const FlexiInfoState& state) noexcept {
    return state.params.okDelayMs != 0 &&
           time_tick_elapsed(state.event.openTick, time_tick_ms()) < state.params.okDelayMs;
}

void RecordPress(FlexiInfoEvent& event, bool ok) noexcept {
    (ok ? event.okPressed : event.cancelPressed) = 1;
    (ok ? event.okPressTick : event.cancelPressTick) = time_tick_ms();
}

// OK, Cancel, Escape and the close box.
void OnCloseRequest(FlexiInfoState& state, bool ok) noexcept {
    if (state.ended) return;
    const HWND hwnd = state.hwnd;
    RecordPress(state.event, ok);
    const uint32_t result = DispatchRefresh(state, ok ? kReasonOk : kReasonCancel, RefreshText::kShow);
    if (state.hwnd != hwnd || state.ended) return;
    if (result >= FIR_Update && result <= FIR_AlertStopAuto) return;
    if (IsInOkDelay(state)) {
        Beep(kBeepHertz, kBeepMs);
        return;
    }
    EndInfoBox(state, ok ? kInfoBoxOk : kInfoBoxCancel);
}

void OnAutoBox(FlexiInfoState& state) noexcept {
    if (IsDlgButtonChecked(state.hwnd, kInfoBoxAutoId) != BST_CHECKED) {
        StopAutoRefresh(state);
        return;
    }
    const HWND hwnd = state.hwnd;
    DispatchRefresh(state, kReasonRefresh, RefreshText::kShow);
    // The callback may have closed the box, or stopped the auto-refresh and so unchecked the Auto box again.
    if (state.hwnd == hwnd && IsDlgButtonChecked(hwnd, kInfoBoxAutoId) == BST_CHECKED)
        StartAutoRefresh(state);
}

bool OnCommand(FlexiInfoState& state, int id, int notification) noexcept {
    static_assert(BN_CLICKED == 0 && STN_CLICKED == 0);
    if (notification != BN_CLICKED) return false;
    switch (id) {
        case kInfoBoxOkId:
        case kInfoBoxCancelId:
            OnCloseRequest(state, id == kInfoBoxOkId);
            return true;
        case kInfoBoxRefreshId:
            DispatchRefresh(state, kReasonRefreshButton, RefreshText::kShow);
            return true;
        case kInfoBoxAutoId:
            OnAutoBox(state);
            return true;
        case kInfoBoxIconId:
            CopyShownText(state);
            return true;
        default:
            return false;
    }
}

void OnTimer(FlexiInfoState& state, UINT_PTR timer) noexcept {
    if (timer == kAutoRefreshTimer && state.timerRunning)
        DispatchRefresh(state, kReasonRefresh, RefreshText::kShow);
    if (timer == kOkDelayTimer) {
        Enable(state, kInfoBoxOkId, true);
        Enable(state, kInfoBoxCancelId, true);
        KillTimer(state.hwnd, kOkDelayTimer);
        ApplyDefaultButton(state);
    }
    if (timer == kHintTimer) HideHint(state);
}

void OnContextMenu(FlexiInfoState& state, POINT client) noexcept {
    HideHint(state);
    if (state.params.menuItemCount < 1) return;
    ClientToScreen(state.hwnd, &client);
    TrackInfoBoxMenu(state, client);
}

// Left alone, the dialog manager would put the focus on the first control and select the whole text. With the
// focus on the dialog itself Escape, Tab and the mnemonics work.
bool OnActivate(FlexiInfoState& state, bool active) noexcept {
    if (!active) {
        if (IsChild(state.hwnd, GetFocus())) state.focusOff = false;
        return false;
    }
    if (state.focusOff) SetFocus(state.hwnd);
    return state.focusOff;
}

void OnMoved(FlexiInfoState& state) noexcept {
    if (state.hintShown) state.hint->Show(true, kHintPosition, nullptr);
}

void OnDestroy(FlexiInfoState& state) noexcept {
    state.hintShown = false;
    state.hint.reset();
    StopAutoRefresh(state);
    state.font.reset();
    // A window destroyed from outside leaves its owner disabled and the modal loop waiting; any message makes
    // the loop check again.
    if (!state.ended) {
        EndDialog(state.hwnd, IDCANCEL);
        PostMessageW(nullptr, WM_NULL, 0, 0);
    }
    state.hwnd = nullptr;
}

POINT PointFrom(LPARAM lParam) noexcept {
    return {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
}

bool OnMessage(FlexiInfoState& state, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    switch (message) {
        case WM_COMMAND:
            return OnCommand(state, LOWORD(wParam), HIWORD(wParam));
        case WM_CLOSE:
            // The system's own handling would refuse without asking us while Cancel is disabled.
            OnCloseRequest(state, false);
            return true;
        case WM_TIMER:
            OnTimer(state, wParam);
            return true;
        case WM_ACTIVATE:
            return OnActivate(state, LOWORD(wParam) != WA_INACTIVE);
        case WM_SETFOCUS:
            return state.focusOff;
        case WM_SIZE:
            if (wParam != SIZE_MINIMIZED) OnInfoBoxSize(state, LOWORD(lParam), HIWORD(lParam));
            return true;
        case WM_GETMINMAXINFO:
            LimitInfoBoxSize(state, *reinterpret_cast<MINMAXINFO*>(lParam));
            return true;
        case WM_MOVE:
            OnMoved(state);
            return true;
        case WM_LBUTTONDOWN:
            HideHint(state);
            return true;
        case WM_RBUTTONDOWN:
            OnContextMenu(state, PointFrom(lParam));
            return true;
        case WM_CONTEXTMENU:
            // From the context-menu key; the mouse was handled at button-down.
            if (lParam != -1) return false;
            OnContextMenu(state, POINT{});
            return true;
        case WM_DESTROY:
            OnDestroy(state);
            return true;
        default:
            return false;
    }
}

}  // namespace

INT_PTR CALLBACK InfoBoxProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_INITDIALOG) {
        OnInit(*reinterpret_cast<FlexiInfoState*>(lParam), hwnd);
        return FALSE;  // OnInit has set the focus
    }
    auto* const state = reinterpret_cast<FlexiInfoState*>(GetWindowLongPtrW(hwnd, DWLP_USER));
    if (state == nullptr || state->hwnd != hwnd) return FALSE;
    return OnMessage(*state, message, wParam, lParam) ? TRUE : FALSE;
}

void EndInfoBox(FlexiInfoState& state, INT_PTR result) noexcept {
    StopAutoRefresh(state);
    state.ended = true;
    if (state.menuOpen) EndMenu();
    EndDialog(state.hwnd, result);
}
