// How tests speak of a dialog: what its controls show, and what a user does to them. Messages are sent, so a
// click that opens a modal loop returns when the loop has ended.
#pragma once

#include <string>

#include "base/windows_api.h"

class DialogUnderTest {
  public:
    DialogUnderTest() = default;
    explicit DialogUnderTest(HWND dialog) : dialog_(dialog) {}

    HWND window() const { return dialog_; }
    HWND Control(int controlId) const { return GetDlgItem(dialog_, controlId); }

    std::wstring Text(int controlId) const {
        std::wstring text(static_cast<size_t>(GetWindowTextLengthW(Control(controlId))) + 1, L'\0');
        GetWindowTextW(Control(controlId), text.data(), static_cast<int>(text.size()));
        text.pop_back();
        return text;
    }
    // Of the control itself: its dialog need not be on the screen.
    bool IsShown(int controlId) const { return HasStyle(controlId, WS_VISIBLE); }
    bool IsEnabled(int controlId) const {
        return Control(controlId) != nullptr && !HasStyle(controlId, WS_DISABLED);
    }
    bool IsChecked(int controlId) const { return IsDlgButtonChecked(dialog_, controlId) == BST_CHECKED; }
    // Of a box or list; -1 for none.
    int Selection(int comboId) const {
        return static_cast<int>(SendMessageW(Control(comboId), CB_GETCURSEL, 0, 0));
    }

    void Click(int controlId) const { SendMessageW(Control(controlId), BM_CLICK, 0, 0); }
    void SetText(int controlId, const wchar_t* text) const { SetDlgItemTextW(dialog_, controlId, text); }
    // As a user's choice does, which the dialog hears of.
    void Select(int comboId, int index) const {
        SendMessageW(Control(comboId), CB_SETCURSEL, static_cast<WPARAM>(index), 0);
        Notify(comboId, CBN_SELCHANGE);
    }
    // One of the radio buttons with these consecutive identifiers; the dialog does not hear of it.
    void CheckRadio(int firstId, int lastId, int checkedId) const {
        CheckRadioButton(dialog_, firstId, lastId, checkedId);
    }
    void Notify(int controlId, int notification) const {
        SendMessageW(dialog_, WM_COMMAND, MAKEWPARAM(controlId, notification),
                     reinterpret_cast<LPARAM>(Control(controlId)));
    }

  private:
    bool HasStyle(int controlId, LONG_PTR style) const {
        return (GetWindowLongPtrW(Control(controlId), GWL_STYLE) & style) != 0;
    }

    HWND dialog_ = nullptr;
};
