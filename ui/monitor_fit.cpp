#include "ui/monitor_fit.h"

#include <algorithm>
#include <cstdlib>

#include "base/heap_array.h"

namespace {

struct Listing {
    MonitorRecord* records;
    int32_t capacity;
    int32_t count;
};

BOOL CALLBACK AddMonitor(HMONITOR monitor, HDC, RECT*, LPARAM parameter) noexcept {
    auto& listing = *reinterpret_cast<Listing*>(parameter);
    if (listing.count < listing.capacity) {
        MONITORINFO information = {};
        information.cbSize = sizeof(information);
        if (!GetMonitorInfoW(monitor, &information)) return FALSE;
        listing.records[listing.count] = {information.rcMonitor, information.rcWork,
                                          (information.dwFlags & MONITORINFOF_PRIMARY) != 0};
    }
    ++listing.count;
    return TRUE;
}

// An edge may take the values from first to last.
int64_t ShiftIntoRange(int64_t first, int64_t last, int64_t value) noexcept {
    if (value < first) return first - value;
    if (value > last) return last - value;
    return 0;
}

int64_t LargerShift(int64_t nearEdge, int64_t farEdge) noexcept {
    return std::abs(farEdge) > std::abs(nearEdge) ? farEdge : nearEdge;
}

int64_t Distance(const RECT& area, POINT point) noexcept {
    const RectShift shift = ShiftIntoRect(area, point, false);
    return std::abs(shift.x) + std::abs(shift.y);
}

int32_t NearestMonitor(const MonitorRecord* records, int32_t count, POINT point) noexcept {
    for (int32_t i = 0; i < count; ++i)
        if (IsPointInRect(records[i].workArea, point, false)) return i;
    const MonitorRecord* const nearest =
        std::min_element(records, records + count, [point](const MonitorRecord& a, const MonitorRecord& b) {
            return Distance(a.workArea, point) < Distance(b.workArea, point);
        });
    return static_cast<int32_t>(nearest - records);
}

POINT CenterOf(const RECT& rect) noexcept {
    return {static_cast<LONG>((int64_t{rect.left} + rect.right) / 2),
            static_cast<LONG>((int64_t{rect.top} + rect.bottom) / 2)};
}

// The new start of `length` units at `start` after moving them into the range from `first` up to `end`.
LONG MoveInside(int64_t start, LONG length, LONG first, LONG end) noexcept {
    const int64_t nearShift = ShiftIntoRange(first, int64_t{end} - 1, start);
    const int64_t farShift = ShiftIntoRange(int64_t{first} + 1, end, start + length);
    return static_cast<LONG>(start + LargerShift(nearShift, farShift));
}

SIZE LimitedTo(const RECT& area, int32_t width, int32_t height) noexcept {
    return {std::min<LONG>(width, area.right - area.left), std::min<LONG>(height, area.bottom - area.top)};
}

// No larger than the area.
RECT RectInside(const RECT& area, int64_t left, int64_t top, SIZE size) noexcept {
    const LONG x = MoveInside(left, size.cx, area.left, area.right);
    const LONG y = MoveInside(top, size.cy, area.top, area.bottom);
    return {x, y, x + size.cx, y + size.cy};
}

// Lists all monitors. Returns their number, 0 when they cannot be listed.
int32_t ListAllMonitors(HeapArray<MonitorRecord>& records) noexcept {
    int32_t count = 4;
    for (;;) {
        const int32_t capacity = count;
        if (!records.Resize(static_cast<size_t>(capacity))) return 0;
        const DWORD error = monitor_list(records.data(), capacity, &count);
        if (error == ERROR_SUCCESS) return count;
        if (error != ERROR_MORE_DATA) return 0;
    }
}

}  // namespace

bool IsPointInRect(const RECT& rect, POINT point, bool inclusive) noexcept {
    const RectShift shift = ShiftIntoRect(rect, point, inclusive);
    return shift.x == 0 && shift.y == 0;
}

RectShift ShiftIntoRect(const RECT& rect, POINT point, bool inclusive) noexcept {
    const int64_t step = inclusive ? 1 : 0;
    return {ShiftIntoRange(rect.left + step, rect.right - 1 + step, point.x),
            ShiftIntoRange(rect.top + step, rect.bottom - 1 + step, point.y)};
}

FittedRect FitRectToMonitors(const MonitorRecord* records, int32_t count, const RECT& reference,
                             int32_t width, int32_t height) noexcept {
    const POINT center = CenterOf(reference);
    const int32_t index = NearestMonitor(records, count, center);
    const RECT& area = records[index].workArea;
    const SIZE size = LimitedTo(area, width, height);
    return {RectInside(area, int64_t{center.x} - size.cx / 2, int64_t{center.y} - size.cy / 2, size), index};
}

RECT KeepRectOnMonitors(const MonitorRecord* records, int32_t count, const RECT& rect) noexcept {
    const RECT& area = records[NearestMonitor(records, count, CenterOf(rect))].workArea;
    return RectInside(area, rect.left, rect.top,
                      LimitedTo(area, rect.right - rect.left, rect.bottom - rect.top));
}

DWORD monitor_list(MonitorRecord* records, int32_t capacity, int32_t* count) noexcept {
    Listing listing = {records, capacity, 0};
    SetLastError(ERROR_SUCCESS);
    if (!EnumDisplayMonitors(nullptr, nullptr, AddMonitor, reinterpret_cast<LPARAM>(&listing))) {
        const DWORD error = GetLastError();
        return error != ERROR_SUCCESS ? error : 1;
    }
    *count = listing.count;
    return listing.count <= capacity ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

void rect_fit_to_monitor(RECT* fitted, const RECT* reference, int32_t width, int32_t height,
                         int32_t* monitorIndex) noexcept {
    HeapArray<MonitorRecord> records;
    const int32_t count = ListAllMonitors(records);
    FittedRect result = {*reference, -1};
    if (count > 0) result = FitRectToMonitors(records.data(), count, *reference, width, height);
    *fitted = result.rect;
    if (monitorIndex != nullptr) *monitorIndex = result.monitorIndex;
}

void KeepRectOnMonitor(RECT& rect) noexcept {
    HeapArray<MonitorRecord> records;
    const int32_t count = ListAllMonitors(records);
    if (count > 0) rect = KeepRectOnMonitors(records.data(), count, rect);
}
