#include "ui/info_box/layout.h"

#include <algorithm>

#include "ui/info_box/state.h"
#include "ui/monitor_fit.h"

namespace {

// The text control's margins, which it needs in addition to its text and scroll bar.
constexpr int kTextMargins = 16;
constexpr int kShrunkPixels = 15;

// A window's placement is in workspace coordinates, in which the work area of its monitor begins where the
// monitor itself does on the screen. A tool window's placement is in screen coordinates.
POINT WorkspaceOffset(HWND window) noexcept {
    if ((GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOOLWINDOW) != 0) return {};
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof(monitor);
    if (!GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor)) return {};
    return {monitor.rcWork.left - monitor.rcMonitor.left, monitor.rcWork.top - monitor.rcMonitor.top};
}

// In screen coordinates. For a minimized window, the place that it will return to.
RECT PresentRect(HWND window) noexcept {
    RECT rect = {};
    GetWindowRect(window, &rect);
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof(placement);
    if (IsIconic(window) && GetWindowPlacement(window, &placement)) {
        const POINT offset = WorkspaceOffset(window);
        rect = placement.rcNormalPosition;
        OffsetRect(&rect, offset.x, offset.y);
    }
    return rect;
}

SIZE WindowSize(HWND window) noexcept {
    return SizeOf(PresentRect(window));
}

HWND TextControl(const FlexiInfoState& state) noexcept {
    return GetDlgItem(state.hwnd, kInfoBoxTextId);
}

void SetScrollBar(const FlexiInfoState& state, bool show) noexcept {
    ShowScrollBar(TextControl(state), SB_VERT, show ? TRUE : FALSE);
}

// The width of the longest line and the height of all lines. Tabs and ampersands measure as the text control
// shows them.
SIZE MeasureText(const FlexiInfoState& state) noexcept {
    RECT rect{0, 0, 1, 1};
    const HWND control = TextControl(state);
    const HDC dc = GetDC(control);
    if (dc == nullptr) return SizeOf(rect);
    const auto font = reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0));
    const HGDIOBJ previous = font != nullptr ? SelectObject(dc, font) : nullptr;
    DrawTextW(dc, state.display.get(), static_cast<int>(state.display.Length()), &rect,
              DT_CALCRECT | DT_NOPREFIX | DT_EXPANDTABS);
    if (previous != nullptr) SelectObject(dc, previous);
    ReleaseDC(control, dc);
    return SizeOf(rect);
}

// The owner's rectangle, or an empty one at the mouse cursor.
RECT ReferenceRect(const FlexiInfoState& state) noexcept {
    RECT reference = {};
    if (state.owner != nullptr && GetWindowRect(state.owner, &reference)) return reference;
    POINT cursor = {};
    GetCursorPos(&cursor);
    return {cursor.x, cursor.y, cursor.x, cursor.y};
}

RECT RectAt(const RECT& place, SIZE size) noexcept {
    return {place.left, place.top, place.left + size.cx, place.top + size.cy};
}

// Also notes whether the box has outgrown its monitor.
RECT ComputeTarget(FlexiInfoState& state, SIZE text) noexcept {
    SIZE wanted = InfoBoxSizeForText(WindowSize(state.hwnd), WindowSize(TextControl(state)), text,
                                     GetSystemMetrics(SM_CXVSCROLL));
    // The window never gets smaller than its template; placed by a smaller size it could leave the work area.
    wanted.cx = std::max(wanted.cx, state.anchors.ReferenceSize().cx);
    wanted.cy = std::max(wanted.cy, state.anchors.ReferenceSize().cy);
    const RECT reference = ReferenceRect(state);
    RECT target = {};
    int32_t monitor = -1;
    rect_fit_to_monitor(&target, &reference, wanted.cx, wanted.cy, &monitor);
    if (monitor < 0) target = RectAt(target, wanted);
    const SIZE fitted = SizeOf(target);
    if (fitted.cx < wanted.cx || fitted.cy < wanted.cy) state.oversize = true;
    return target;
}

void MoveBox(const FlexiInfoState& state, const RECT& rect) noexcept {
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof(placement);
    if (IsIconic(state.hwnd) && GetWindowPlacement(state.hwnd, &placement)) {
        const POINT offset = WorkspaceOffset(state.hwnd);
        placement.showCmd = SW_SHOWMINNOACTIVE;
        placement.rcNormalPosition = rect;
        OffsetRect(&placement.rcNormalPosition, -offset.x, -offset.y);
        SetWindowPlacement(state.hwnd, &placement);
        return;
    }
    const SIZE size = SizeOf(rect);
    MoveWindow(state.hwnd, rect.left, rect.top, size.cx, size.cy, TRUE);
}

}  // namespace

SIZE SizeOf(const RECT& rect) noexcept {
    return {rect.right - rect.left, rect.bottom - rect.top};
}

SIZE InfoBoxSizeForText(SIZE window, SIZE textControl, SIZE text, int scrollBarWidth) noexcept {
    return {window.cx - textControl.cx + text.cx + scrollBarWidth + kTextMargins,
            window.cy - textControl.cy + text.cy};
}

bool IsNotShrunk(SIZE window, const RECT& target) noexcept {
    const SIZE full = SizeOf(target);
    return full.cx - window.cx < kShrunkPixels && full.cy - window.cy < kShrunkPixels;
}

RECT GrownTarget(const RECT& stored, const RECT& fresh) noexcept {
    RECT grown = stored;
    if (SizeOf(fresh).cx > SizeOf(stored).cx) {
        grown.left = fresh.left;
        grown.right = fresh.right;
    }
    if (SizeOf(fresh).cy > SizeOf(stored).cy) {
        grown.top = fresh.top;
        grown.bottom = fresh.bottom;
    }
    return grown;
}

bool IsSmallerThan(SIZE window, const RECT& target) noexcept {
    const SIZE full = SizeOf(target);
    return window.cx < full.cx || window.cy < full.cy;
}

void PlaceInfoBox(FlexiInfoState& state) noexcept {
    state.target = ComputeTarget(state, MeasureText(state));
    MoveBox(state, state.target);
    SetScrollBar(state, state.oversize);
}

void GrowInfoBox(FlexiInfoState& state) noexcept {
    const SIZE text = MeasureText(state);
    const RECT present = PresentRect(state.hwnd);
    const bool mayGrow = IsNotShrunk(SizeOf(present), state.target);
    const RECT grown = GrownTarget(state.target, ComputeTarget(state, text));
    const bool grew = !EqualRect(&grown, &state.target);
    state.target = grown;
    if (grew && mayGrow) {
        RECT place = RectAt(present, SizeOf(grown));
        KeepRectOnMonitor(place);
        MoveBox(state, place);
    }
    const SIZE control = WindowSize(TextControl(state));
    if (text.cx > control.cx || text.cy > control.cy) SetScrollBar(state, true);
}

void OnInfoBoxSize(FlexiInfoState& state, int clientWidth, int clientHeight) noexcept {
    state.anchors.Reflow(clientWidth, clientHeight);
    if (!state.oversize) SetScrollBar(state, IsSmallerThan(WindowSize(state.hwnd), state.target));
}

void LimitInfoBoxSize(const FlexiInfoState& state, MINMAXINFO& limits) noexcept {
    const SIZE smallest = state.anchors.ReferenceSize();
    const SIZE largest = SizeOf(state.target);
    limits.ptMinTrackSize = {smallest.cx, smallest.cy};
    limits.ptMaxTrackSize = {largest.cx, largest.cy};
}
