#include "ui/dialog_controls.h"

#include <cwchar>

namespace {

// The control's own style: its dialog may be hidden or disabled.
bool HasStyle(HWND control, LONG_PTR style) noexcept {
    return (GetWindowLongPtrW(control, GWL_STYLE) & style) != 0;
}

void GiveTabStop(HWND control) noexcept {
    SetWindowLongPtrW(control, GWL_STYLE, GetWindowLongPtrW(control, GWL_STYLE) | WS_TABSTOP);
}

}  // namespace

bool SetControlText(HWND dialog, int controlId, const wchar_t* text) noexcept {
    constexpr int kComparedChars = 512;
    wchar_t shown[kComparedChars] = L"";
    const int shownChars = static_cast<int>(GetDlgItemTextW(dialog, controlId, shown, kComparedChars));
    // A text that may have been cut on reading cannot be compared.
    if (shownChars < kComparedChars - 1 && wcscmp(shown, text) == 0) return false;
    SetDlgItemTextW(dialog, controlId, text);
    return true;
}

void LeaveControl(HWND dialog, int controlId, int fallbackId) noexcept {
    const HWND control = GetDlgItem(dialog, controlId);
    if (control == nullptr || GetFocus() != control) return;
    // Through the dialog manager, which also updates the default button.
    SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(dialog, fallbackId)), TRUE);
}

void EnableControl(HWND dialog, int controlId, bool enabled, int fallbackId) noexcept {
    const HWND control = GetDlgItem(dialog, controlId);
    if (HasStyle(control, WS_DISABLED) != enabled) return;
    if (!enabled) LeaveControl(dialog, controlId, fallbackId);
    EnableWindow(control, enabled);
}

void EnableControls(HWND dialog, std::span<const int> controlIds, bool enabled, int fallbackId) noexcept {
    for (const int id : controlIds)
        EnableControl(dialog, id, enabled, fallbackId);
}

void ShowControl(HWND dialog, int controlId, bool shown, int fallbackId) noexcept {
    const HWND control = GetDlgItem(dialog, controlId);
    if (HasStyle(control, WS_VISIBLE) == shown) return;
    if (!shown) LeaveControl(dialog, controlId, fallbackId);
    ShowWindow(control, shown ? SW_SHOWNA : SW_HIDE);
}

bool IsBoxChecked(HWND dialog, int controlId) noexcept {
    return IsDlgButtonChecked(dialog, controlId) == BST_CHECKED;
}

void CheckBox(HWND dialog, int controlId, bool checked) noexcept {
    CheckDlgButton(dialog, controlId, checked ? BST_CHECKED : BST_UNCHECKED);
}

std::optional<uint32_t> CheckedRadio(HWND dialog, RadioGroup group) noexcept {
    for (int id = group.firstId; id <= group.lastId; ++id)
        if (IsBoxChecked(dialog, id)) return static_cast<uint32_t>(id - group.firstId);
    return std::nullopt;
}

void CheckRadio(HWND dialog, RadioGroup group, uint32_t position) noexcept {
    for (int id = group.firstId; id <= group.lastId; ++id)
        CheckBox(dialog, id, static_cast<uint32_t>(id - group.firstId) == position);
    // Only a checked radio button keeps its tab stop.
    if (!CheckedRadio(dialog, group).has_value()) GiveTabStop(GetDlgItem(dialog, group.firstId));
}

INT_PTR ColorTextOnly(HWND dialog, const ControlColor& color, COLORREF text, bool& asking) noexcept {
    if (asking) return FALSE;
    asking = true;
    const LRESULT brush = DefDlgProcW(dialog, color.message, color.dc, color.control);
    asking = false;
    SetTextColor(color.Dc(), text);
    return brush;
}

bool IsKeyHeld(int virtualKey) noexcept {
    return GetKeyState(virtualKey) < 0;
}
