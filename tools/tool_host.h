// What a page lends a tool for the length of one call; the tools know nothing else of the page.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

#include "ui/hint_balloon.h"

// All of it is borrowed. A sheet can be closed while a menu, a box or a dialog of the tool is open; after one
// of these has run, only IsPageOpen may be asked, and only a page still open is touched again.
struct ToolHost {
    HWND page;
    HDEVINFO deviceSet;  // the VCOM's
    SP_DEVINFO_DATA* device;
    const wchar_t* portName;  // as the page last heard it from the driver; never null
    HintBalloon* hint;        // null when the page has none
    bool timerRunning;        // the page's regular updates
    void (*runTimer)(HWND page, bool run) noexcept;
};

inline bool IsPageOpen(const ToolHost& host) noexcept {
    return IsWindow(host.page) != FALSE;
}
