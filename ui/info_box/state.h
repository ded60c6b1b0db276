// The info box's own record, shared by its sources. It is built once per entry call on the caller's stack and
// outlives the dialog windows that detaching and attaching create one after the other.
#pragma once

#include <cstdint>
#include <memory>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include "ui/anchor_layout.h"
#include "ui/hint_balloon.h"
#include "ui/info_box.h"
#include "ui/info_box/text.h"

// Dialog results that reopen the box.
inline constexpr INT_PTR kReopenAttached = 7;
inline constexpr INT_PTR kReopenDetached = 8;

inline constexpr UINT_PTR kAutoRefreshTimer = 1;
inline constexpr UINT_PTR kOkDelayTimer = 2;
inline constexpr UINT_PTR kHintTimer = 3;

struct FlexiInfoState {
    FlexiInfoParams params = {};  // with the defaults applied
    FlexiInfoEvent event = {};
    wchar_t* text = nullptr;  // the caller's buffer, or emptyText
    wchar_t emptyText[1] = {};
    HWND parent = nullptr;  // given by the caller
    HWND owner = nullptr;   // in use: null when detached

    HWND hwnd = nullptr;  // null unless the dialog window is alive; a callback may have destroyed it
    bool opened = false;  // whether a dialog window has opened since the modal loop started
    bool ended = false;   // EndDialog has been called for this window
    bool menuOpen = false;
    bool focusOff = false;  // no control has the focus, and activating the box must not change that
    OwnedFont font;
    HICON shownIcon = nullptr;
    RECT target = {};       // the window rectangle that shows the whole text
    bool oversize = false;  // the whole text does not fit on the monitor: the scroll bar stays
    bool timerRunning = false;
    bool showTime = false;  // the time of the last refresh is the caption
    bool hintShown = false;
    std::unique_ptr<HintBalloon> hint;
    AnchorLayout anchors;
    DisplayText display;
};

// window.cpp. The dialog procedure; the creation parameter is the state.
INT_PTR CALLBACK InfoBoxProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
// Ends the dialog loop and stops the timer. A later call replaces the result.
void EndInfoBox(FlexiInfoState& state, INT_PTR result) noexcept;
