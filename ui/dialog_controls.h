// Reading and setting the controls of a dialog or page.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "base/windows_api.h"

// Sets the text only when it differs, so that a regular update neither flickers nor loses a selection or the
// scroll position. True when it was set.
bool SetControlText(HWND dialog, int controlId, const wchar_t* text) noexcept;

// Called before a control is hidden or disabled: moves the focus from it to the fallback. A dialog in which
// no control has the focus no longer answers the keyboard.
void LeaveControl(HWND dialog, int controlId, int fallbackId) noexcept;

// These move the focus on before they disable or hide a control. A control that is already as wanted is not
// touched.
void EnableControl(HWND dialog, int controlId, bool enabled, int fallbackId) noexcept;
void EnableControls(HWND dialog, std::span<const int> controlIds, bool enabled, int fallbackId) noexcept;
void ShowControl(HWND dialog, int controlId, bool shown, int fallbackId) noexcept;

bool IsBoxChecked(HWND dialog, int controlId) noexcept;
void CheckBox(HWND dialog, int controlId, bool checked) noexcept;

// Radio buttons with consecutive identifiers, known by their position from 0.
struct RadioGroup {
    int firstId;
    int lastId;
};

// Empty when none is checked.
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

// Changes the control's text color and keeps the background that the dialog's theme gives. Only the default
// procedure knows that background, and it asks the dialog procedure first: `asking`, false at first and kept
// by the dialog, prevents the recursion. Returns what the dialog procedure must return.
INT_PTR ColorTextOnly(HWND dialog, const ControlColor& color, COLORREF text, bool& asking) noexcept;

// True when the key was down at the time of the message that is being handled.
bool IsKeyHeld(int virtualKey) noexcept;
