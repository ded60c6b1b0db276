// The info box: a resizable dialog that shows a block of text, with up to four buttons, an optional context
// menu and a callback that rewrites the text on demand or periodically.
//
// Every entry point runs a modal loop on the calling thread and returns when the box is closed. So does a
// "detached" box, which has no owner, so that the parent window stays usable. Capacities count UTF-16 units,
// the terminator included.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// What FlexiInfoBox and its kin return.
inline constexpr uint32_t kInfoBoxOk = 1;  // OK, or closed by FIR_CloseOk
inline constexpr uint32_t kInfoBoxCancel = 2;
inline constexpr uint32_t kInfoBoxCreateFailed = 5;
inline constexpr uint32_t kInfoBoxNoTemplate = 6;

// Control identifiers of the built-in template, required of every custom template too.
inline constexpr int kInfoBoxOkId = 1;
inline constexpr int kInfoBoxCancelId = 2;
inline constexpr int kInfoBoxTextId = 100;  // read-only multi-line edit
inline constexpr int kInfoBoxIconId = 101;  // static icon that reports clicks
inline constexpr int kInfoBoxAutoId = 102;  // check box
inline constexpr int kInfoBoxRefreshId = 103;

// Menu identifiers that the box handles itself before it calls the callback.
inline constexpr int32_t FIMI_CopyToClipboard = -2;
inline constexpr int32_t FIMI_ShowRefreshTime = -3;
inline constexpr int32_t FIMI_Detach = -4;

// States of a menu entry.
inline constexpr uint32_t kMenuItemPlain = 0;
inline constexpr uint32_t kMenuItemChecked = 1;
inline constexpr uint32_t kMenuItemUnchecked = 2;
inline constexpr uint32_t kMenuItemHidden = 0xFFFFFFFF;

// One entry of the context menu. The box writes toggled states back into the caller's array, so the array
// must live as long as the box; the callback may read and change it.
struct FlexiInfoMenuItem {
    int32_t id;      // 0 makes a separator
    uint32_t state;  // kMenuItem...
    const wchar_t* text;
};

// Why the callback runs.
inline constexpr uint32_t kReasonRefresh =
    0;  // before the first showing, by the timer or by checking the Auto box
inline constexpr uint32_t kReasonOk = 1;
inline constexpr uint32_t kReasonCancel = 2;
inline constexpr uint32_t kReasonRefreshButton = 3;
inline constexpr uint32_t kReasonMenu = 4;

// What the callback is given. The box owns it; it lives as long as the box.
struct FlexiInfoEvent {
    HWND hwnd;           // the info box
    uint32_t reason;     // kReason...
    int32_t menuItemId;  // kReasonMenu: the chosen identifier, 0 when the menu was dismissed; otherwise 0
    uint8_t menuItemChecked;  // kReasonMenu: 1 when the chosen entry is now checked
    uint8_t autoChecked;      // whether the Auto box is checked at the time of the call
    uint8_t okPressed;        // set once OK has been pressed, never cleared
    uint32_t okPressTick;     // millisecond tick count of the last OK press
    uint8_t cancelPressed;    // the same for Cancel
    uint32_t cancelPressTick;
    uint32_t spare;           // 0 before every call
    uint32_t okDelayMs;       // copy of the parameter
    uint32_t openTick;        // tick count when the box opened with an OK delay
    int64_t lastRefreshTime;  // seconds since 1970 (UTC) of the last callback that returned nonzero
};

// Results of the callback. Any other value is treated like FIR_Update.
inline constexpr uint32_t FIR_NoChange = 0;
inline constexpr uint32_t FIR_NormalIcon = 1;  // show the normal icon, update
inline constexpr uint32_t FIR_Update = 2;
inline constexpr uint32_t FIR_AlertIcon = 3;      // show the alert icon, update
inline constexpr uint32_t FIR_StopAuto = 4;       // stop the auto-refresh, update
inline constexpr uint32_t FIR_AlertStopAuto = 5;  // both of the above, update
inline constexpr uint32_t FIR_CloseOk = 6;        // update, then close the box with kInfoBoxOk

// Writes the complete new text, terminated, into `text`; lines may end in CR, LF or CR LF. `text` and
// `textChars` are the buffer given to the entry point and textBufferChars. For kReasonOk and kReasonCancel
// the results 2 to 5 keep the box open.
using FlexiInfoRefreshProc = uint32_t (*)(void* refreshContext, FlexiInfoEvent* event, wchar_t* text,
                                          uint32_t textChars) noexcept;

// The caller's wishes. Zero-fill it, then set cbSize and whatever else is needed; a null or zero field takes
// its default. The box copies the record at entry; only what it points to must live as long as the box.
struct FlexiInfoParams {
    uint32_t cbSize;                   // not checked
    const wchar_t* title;              // "FlexiInfo"
    uint8_t fixedPitch;                // show the text in a fixed-pitch font
    HICON normalIcon;                  // the system information icon
    HICON alertIcon;                   // the system warning icon
    FlexiInfoRefreshProc refreshProc;  // null: nothing is ever refreshed, autoRefreshAtStart counts as 0
    void* refreshContext;
    uint32_t textBufferChars;      // capacity of the text buffer; 1 when there is no buffer
    uint8_t showRefreshButton;     // show Refresh even when there is no auto-refresh interval
    uint8_t autoRefreshAtStart;    // call refreshProc before the first showing, start with Auto checked
    int32_t autoRefreshMs;         // below 1: no auto-refresh, no Auto box
    uint8_t startDetached;         // open without an owner
    int32_t fontPointSize;         // of the built-in template: below 1 means 9, at least 6
    uint32_t okDelayMs;            // OK and Cancel stay disabled this long; closing beeps
    const wchar_t* okText;         // null: no OK button
    const wchar_t* cancelText;     // null: no Cancel button
    const wchar_t* refreshText;    // "&Refresh"
    const wchar_t* autoText;       // "&Auto"
    uint32_t defaultButtonId;      // gets the focus; 0: OK if it has a text, else Cancel if it has one
    uint8_t toolWindow;            // tool-window frame without system menu
    uint8_t scrollToEnd;           // scroll to the last line after each change of the text
    uint8_t hideRefreshControls;   // hide Refresh and Auto
    int32_t hintSeconds;           // how long the menu hint stays; 0 means 2, negative means no hint
    const wchar_t* hintText;       // "Right-click blank area to get context menu."
    FlexiInfoMenuItem* menuItems;  // null: no context menu, no hint
    int32_t menuItemCount;         // below 1: no context menu
};

// Opens the box from a template built in memory. `params` and `text` may be null. `text` is written only by
// the callback, and by the box when the text cannot be shown ("No memory!", within textBufferChars).
uint32_t FlexiInfoBox(HWND parent, const FlexiInfoParams* params, wchar_t* text) noexcept;

// The same from a dialog resource of `instance`, or from an in-memory template when `resource` is null.
// kInfoBoxNoTemplate when both are null.
uint32_t FlexiInfoBoxFromTemplate(HINSTANCE instance, const wchar_t* resource,
                                  const DLGTEMPLATE* dialogTemplate, HWND parent,
                                  const FlexiInfoParams* params, wchar_t* text) noexcept;

// Formats the text with the format engine into a buffer of exactly the needed length, which is then what the
// callback gets. kInfoBoxCreateFailed when the text cannot be allocated.
uint32_t FlexiInfoBoxF(HWND parent, const FlexiInfoParams* params, const wchar_t* format, ...) noexcept;

// A box with an "OK" button and nothing else.
uint32_t FlexiInfoMessage(HWND parent, const wchar_t* format, ...) noexcept;
uint32_t FlexiInfoShowText(HWND parent, const wchar_t* text) noexcept;
