// Reading and setting the controls of a dialog or page.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/windows_api.h"

// Sets the text only when it differs, so that a regular update neither flickers nor loses a selection or the
// scroll position. True when it did.
bool SetControlText(HWND dialog, int controlId, const wchar_t* text) noexcept;

// Before a control is hidden or disabled: when it has the focus, the focus goes to the fallback. A window
// that loses its focus to nowhere no longer answers the keyboard.
void LeaveControl(HWND dialog, int controlId, int fallbackId) noexcept;

// These leave a control before they disable or hide it. A control that is as wanted is not touched.
void EnableControl(HWND dialog, int controlId, bool enabled, int fallbackId) noexcept;
void EnableControls(HWND dialog, std::span<const int> controlIds, bool enabled, int fallbackId) noexcept;
void ShowControl(HWND dialog, int controlId, bool shown, int fallbackId) noexcept;

bool IsBoxChecked(HWND dialog, int controlId) noexcept;
void CheckBox(HWND dialog, int controlId, bool checked) noexcept;

// Radio buttons with consecutive identifiers; they are named by their position, from 0.
struct RadioGroup {
    int firstId;
    int lastId;
};

// Nothing when none is checked.
std::optional<uint32_t> CheckedRadio(HWND dialog, RadioGroup group) noexcept;

// A position outside the group leaves all of them unchecked; the first can then still be reached with Tab.
void CheckRadio(HWND dialog, RadioGroup group, uint32_t position) noexcept;

// A control of a dialog that is about to be painted: its WM_CTLCOLOR message.
struct ControlColor {
    UINT message;
    WPARAM dc;
    LPARAM control;

    HDC Dc() const noexcept { return reinterpret_cast<HDC>(dc); }
};

// Gives the control another text color on the background that the dialog's theme gives. That one is known to
// the default procedure, which asks the dialog's own first: `asking`, false at first and kept by the dialog,
// keeps the question from going round. Returns what the dialog procedure is to return.
INT_PTR ColorTextOnly(HWND dialog, const ControlColor& color, COLORREF text, bool& asking) noexcept;

// Whether the key was down when the message that is being handled came about.
bool IsKeyHeld(int virtualKey) noexcept;
