// Where windows may be: the monitors, and placing a rectangle inside the work area of the right one.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

struct MonitorRecord {
    RECT monitor;
    RECT workArea;
    bool primary;
};

// Stores up to `capacity` records. 0 when all fitted; ERROR_MORE_DATA when there are more, with their number
// in *count; otherwise the last error, 1 when that is 0, and *count stays untouched.
DWORD monitor_list(MonitorRecord* records, int32_t capacity, int32_t* count) noexcept;

// Places a rectangle of the given size, limited to the work area, centered on the reference rectangle, inside
// the work area of the monitor that holds that center, otherwise of the nearest. When the monitors cannot be
// listed the result is the reference rectangle and the index -1. `monitorIndex` may be null.
void rect_fit_to_monitor(RECT* fitted, const RECT* reference, int32_t width, int32_t height,
                         int32_t* monitorIndex) noexcept;

// Moves a rectangle no further than needed into the work area of the monitor that holds its center, otherwise
// of the nearest, and shrinks one that is larger. Unchanged when the monitors cannot be listed.
void KeepRectOnMonitor(RECT& rect) noexcept;

// The decisions themselves, over any records.
struct FittedRect {
    RECT rect;
    int32_t monitorIndex;
};

// `count` is at least 1.
FittedRect FitRectToMonitors(const MonitorRecord* records, int32_t count, const RECT& reference,
                             int32_t width, int32_t height) noexcept;
RECT KeepRectOnMonitors(const MonitorRecord* records, int32_t count, const RECT& rect) noexcept;

// Inclusive: left < x <= right, as for the far edge of a rectangle. Exclusive: left <= x < right, as for a
// pixel or a near edge. The same for y.
bool IsPointInRect(const RECT& rect, POINT point, bool inclusive) noexcept;
// How far the point is from the rectangle on each axis; 0 when it is inside.
struct RectShift {
    int64_t x;
    int64_t y;
};
RectShift ShiftIntoRect(const RECT& rect, POINT point, bool inclusive) noexcept;
