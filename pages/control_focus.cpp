#include "pages/control_focus.h"

void LeaveControl(HWND dialog, int controlId, int fallbackId) {
    const HWND control = GetDlgItem(dialog, controlId);
    if (control == nullptr || GetFocus() != control) return;
    // By the dialog manager, which also moves the mark of the default button.
    SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(dialog, fallbackId)), TRUE);
}
