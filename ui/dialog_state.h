// The object that belongs to a dialog, kept as the dialog's user data.
//
// A dialog procedure fetches it once and hands a reference to its handlers. A handler in which a message loop
// ran (a box, a menu, another dialog) fetches it again, because the window may be gone by then.
#pragma once

#include "base/windows_api.h"

// The dialog borrows the object; `state` may be null.
template <typename State>
void SetDialogState(HWND dialog, State* state) noexcept {
    SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(state));
}

// Null before SetDialogState and when the window is gone.
template <typename State>
State* DialogState(HWND dialog) noexcept {
    return reinterpret_cast<State*>(GetWindowLongPtrW(dialog, DWLP_USER));
}
