#include "ui/monitor_fit.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"

namespace {

bool Same(const RECT& a, const RECT& b) {
    return EqualRect(&a, &b) != FALSE;
}

std::string Text(const RECT& rect) {
    return std::to_string(rect.left) + "," + std::to_string(rect.top) + "," + std::to_string(rect.right) +
           "," + std::to_string(rect.bottom);
}

MonitorRecord Monitor(const RECT& area) {
    return {area, area, false};
}

// The main monitor with a task bar below, one to its left, one above it, and a small one far to the right.
const std::vector<MonitorRecord> kDesk = {
    {{0, 0, 1280, 1024}, {0, 0, 1280, 984}, true},
    {{-1024, 0, 0, 768}, {-1024, 40, 0, 768}, false},
    {{0, -800, 1280, 0}, {0, -800, 1280, 0}, false},
    {{3000, 0, 3200, 100}, {3000, 0, 3200, 100}, false},
};

struct FitRow {
    const char* name;
    std::vector<MonitorRecord> monitors;
    RECT reference;
    int32_t width;
    int32_t height;
    RECT fitted;
    int32_t index;
};
void PrintTo(const FitRow& row, std::ostream* out) {
    *out << row.name;
}

class Fit : public testing::TestWithParam<FitRow> {};

TEST_P(Fit, PlacesTheRectangle) {
    const FitRow& row = GetParam();
    const FittedRect result = FitRectToMonitors(
        row.monitors.data(), static_cast<int32_t>(row.monitors.size()), row.reference, row.width, row.height);
    EXPECT_TRUE(Same(result.rect, row.fitted)) << Text(result.rect) << " instead of " << Text(row.fitted);
    EXPECT_EQ(result.monitorIndex, row.index);
}

INSTANTIATE_TEST_SUITE_P(
    Desk, Fit,
    testing::Values(
        FitRow{"Centered", kDesk, {400, 400, 600, 500}, 100, 50, {450, 425, 550, 475}, 0},
        FitRow{"OddSizes", kDesk, {400, 400, 601, 501}, 101, 51, {450, 425, 551, 476}, 0},
        FitRow{"AnEmptyReference", kDesk, {500, 500, 500, 500}, 100, 100, {450, 450, 550, 550}, 0},
        FitRow{"PushedFromTheLeft", kDesk, {2, 500, 8, 500}, 100, 100, {0, 450, 100, 550}, 0},
        FitRow{"PushedFromTheRight", kDesk, {1270, 500, 1278, 500}, 100, 100, {1180, 450, 1280, 550}, 0},
        FitRow{"PushedFromTheTop", kDesk, {500, 2, 500, 8}, 100, 100, {450, 0, 550, 100}, 0},
        FitRow{"PushedOffTheTaskBar", kDesk, {500, 970, 500, 980}, 100, 100, {450, 884, 550, 984}, 0},
        FitRow{"PushedFromACorner", kDesk, {1279, 983, 1279, 983}, 100, 100, {1180, 884, 1280, 984}, 0},
        FitRow{"TouchingTheEdgesStays", kDesk, {50, 50, 50, 50}, 100, 100, {0, 0, 100, 100}, 0},
        FitRow{"ToTheLeft", kDesk, {-600, 300, -500, 400}, 100, 100, {-600, 300, -500, 400}, 1},
        FitRow{"Above", kDesk, {600, -400, 700, -300}, 100, 100, {600, -400, 700, -300}, 2},
        FitRow{"TheSharedEdgeBelongsToTheRight", kDesk, {0, 100, 0, 100}, 10, 10, {0, 95, 10, 105}, 0},
        FitRow{"OneLeftOfTheSharedEdge", kDesk, {-1, 100, -1, 100}, 10, 10, {-10, 95, 0, 105}, 1},
        // The sum -1 is divided toward zero.
        FitRow{"ACenterOfHalfAPixel", kDesk, {-1, 100, 0, 100}, 10, 10, {0, 95, 10, 105}, 0},
        FitRow{"OnTheTaskBar", kDesk, {600, 1000, 600, 1010}, 100, 100, {550, 884, 650, 984}, 0},
        FitRow{"OnTheBarOfTheLeftOne", kDesk, {-500, 10, -500, 20}, 100, 100, {-550, 40, -450, 140}, 1},
        FitRow{"FarOff", kDesk, {90000, 90000, 90010, 90010}, 100, 100, {3100, 0, 3200, 100}, 3},
        FitRow{"FarOffToTheLeft", kDesk, {-90000, 300, -90000, 300}, 100, 100, {-1024, 250, -924, 350}, 1},
        FitRow{"WiderThanTheWorkArea", kDesk, {3100, 50, 3100, 50}, 500, 80, {3000, 10, 3200, 90}, 3},
        FitRow{"HigherThanTheWorkArea", kDesk, {3100, 50, 3100, 50}, 80, 500, {3060, 0, 3140, 100}, 3},
        FitRow{"LargerThanEverything", kDesk, {0, 0, 1280, 984}, 9000, 9000, {0, 0, 1280, 984}, 0},
        FitRow{"ExactlyTheWorkArea", kDesk, {9, 9, 9, 9}, 1280, 984, {0, 0, 1280, 984}, 0}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(Ties, Fit,
                         testing::Values(
                             // The pixels next to the center 150 are 99 and 200: the second is nearer by one.
                             FitRow{"NearerByOnePixel",
                                    {Monitor({0, 0, 100, 100}), Monitor({200, 0, 300, 100})},
                                    {150, 50, 150, 50},
                                    10,
                                    10,
                                    {200, 45, 210, 55},
                                    1},
                             FitRow{"TheFirstOfTwoAtTheSameDistance",
                                    {Monitor({0, 0, 100, 100}), Monitor({199, 0, 300, 100})},
                                    {149, 50, 149, 50},
                                    10,
                                    10,
                                    {90, 45, 100, 55},
                                    0},
                             FitRow{"TheFirstInTheOtherOrderToo",
                                    {Monitor({199, 0, 300, 100}), Monitor({0, 0, 100, 100})},
                                    {149, 50, 149, 50},
                                    10,
                                    10,
                                    {199, 45, 209, 55},
                                    0},
                             // 40 + 40 across the corner is farther than 70 straight on.
                             FitRow{"BothAxesCount",
                                    {Monitor({0, 0, 100, 100}), Monitor({209, 139, 300, 300})},
                                    {139, 139, 139, 139},
                                    10,
                                    10,
                                    {209, 139, 219, 149},
                                    1},
                             FitRow{"TheFirstOfTwoThatOverlap",
                                    {Monitor({0, 0, 100, 100}), Monitor({0, 0, 100, 100})},
                                    {50, 50, 50, 50},
                                    10,
                                    10,
                                    {45, 45, 55, 55},
                                    0}),
                         [](const auto& row) { return std::string(row.param.name); });

struct KeepRow {
    const char* name;
    RECT rect;
    RECT kept;
};
void PrintTo(const KeepRow& row, std::ostream* out) {
    *out << row.name;
}

class Keep : public testing::TestWithParam<KeepRow> {};

TEST_P(Keep, MovesTheRectangleNoFurtherThanNeeded) {
    const RECT kept = KeepRectOnMonitors(kDesk.data(), 4, GetParam().rect);
    EXPECT_TRUE(Same(kept, GetParam().kept)) << Text(kept) << " instead of " << Text(GetParam().kept);
}

INSTANTIATE_TEST_SUITE_P(
    Rects, Keep,
    testing::Values(KeepRow{"InsideItStays", {400, 300, 601, 455}, {400, 300, 601, 455}},
                    KeepRow{"AlsoAtNegativeCoordinates", {-901, 301, -700, 446}, {-901, 301, -700, 446}},
                    KeepRow{"AtTheEdgesItStays", {0, 0, 1280, 984}, {0, 0, 1280, 984}},
                    KeepRow{"BeyondTheRight", {1200, 10, 1300, 20}, {1180, 10, 1280, 20}},
                    KeepRow{"BeyondTheBottom", {10, 900, 20, 1000}, {10, 884, 20, 984}},
                    KeepRow{"BeyondTheTop", {-500, 20, -400, 90}, {-500, 40, -400, 110}},
                    KeepRow{"ItsCenterChoosesTheMonitor", {-80, 100, 20, 200}, {-100, 100, 0, 200}},
                    KeepRow{"TooLarge", {3100, 20, 3900, 920}, {3000, 0, 3200, 100}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(MonitorFit, TheCenterOfExtremeRectanglesDoesNotOverflow) {
    const FittedRect result =
        FitRectToMonitors(kDesk.data(), 4, {2000000000, 2000000000, 2000000002, 2000000002}, 10, 10);
    EXPECT_TRUE(Same(result.rect, {3190, 90, 3200, 100})) << Text(result.rect);
}

TEST(MonitorFit, TheWayFromTheBordersOfTheCoordinatesDoesNotOverflow) {
    constexpr LONG kFar = std::numeric_limits<LONG>::max();
    const FittedRect right = FitRectToMonitors(kDesk.data(), 4, {kFar, kFar, kFar, kFar}, 100, 50);
    EXPECT_TRUE(Same(right.rect, {3100, 50, 3200, 100})) << Text(right.rect);
    EXPECT_EQ(right.monitorIndex, 3);
    const FittedRect left =
        FitRectToMonitors(kDesk.data(), 4, {-kFar - 1, -kFar - 1, -kFar - 1, -kFar - 1}, 100, 50);
    EXPECT_TRUE(Same(left.rect, {-1024, 40, -924, 90})) << Text(left.rect);
    EXPECT_EQ(left.monitorIndex, 1);
}

struct PointRow {
    LONG x;
    bool insideExclusive;
    LONG shiftExclusive;
    bool insideInclusive;
    LONG shiftInclusive;
};

TEST(MonitorFit, TheInclusiveFlagMovesTheBordersByOne) {
    const RECT rect = {10, -20, 20, -10};
    const PointRow rows[] = {
        {8, false, 2, false, 3}, {9, false, 1, false, 2},  {10, true, 0, false, 1},    {11, true, 0, true, 0},
        {19, true, 0, true, 0},  {20, false, -1, true, 0}, {21, false, -2, false, -1},
    };
    for (const PointRow& row : rows) {
        const POINT across = {row.x, -15};
        const POINT down = {15, row.x - 30};
        EXPECT_EQ(IsPointInRect(rect, across, false), row.insideExclusive) << row.x;
        EXPECT_EQ(IsPointInRect(rect, down, false), row.insideExclusive) << row.x;
        EXPECT_EQ(IsPointInRect(rect, across, true), row.insideInclusive) << row.x;
        EXPECT_EQ(IsPointInRect(rect, down, true), row.insideInclusive) << row.x;
        EXPECT_EQ(ShiftIntoRect(rect, across, false).x, row.shiftExclusive) << row.x;
        EXPECT_EQ(ShiftIntoRect(rect, down, false).y, row.shiftExclusive) << row.x;
        EXPECT_EQ(ShiftIntoRect(rect, across, true).x, row.shiftInclusive) << row.x;
        EXPECT_EQ(ShiftIntoRect(rect, down, true).y, row.shiftInclusive) << row.x;
        EXPECT_EQ(ShiftIntoRect(rect, across, true).y, 0);
        EXPECT_EQ(ShiftIntoRect(rect, down, false).x, 0);
    }
}

// A made-up desk behind the system's calls.
class FakeMonitors : public testing::Test {
  protected:
    std::vector<MonitorRecord> monitors_ = kDesk;
    int unreadable_ = -1;  // the monitor whose information fails
    DWORD error_ = ERROR_SUCCESS;
    bool enumerationFails_ = false;

    ReplacedCall<EnumDisplayMonitors> enumerate_{
        "EnumDisplayMonitors", [this](HDC, LPCRECT, MONITORENUMPROC add, LPARAM parameter) {
            SetLastError(error_);
            if (enumerationFails_) return FALSE;
            for (size_t i = 0; i < monitors_.size(); ++i)
                if (!add(reinterpret_cast<HMONITOR>(i + 1), nullptr, nullptr, parameter)) return FALSE;
            return TRUE;
        }};
    // The enumeration calls back from inside the replaced call, where the system would answer; so this one is
    // patched by hand.
    ImportRedirect information_{nullptr, nullptr, "GetMonitorInfoW", reinterpret_cast<void*>(&Information)};

    static BOOL WINAPI Information(HMONITOR monitor, LPMONITORINFO information) {
        const auto index = static_cast<size_t>(reinterpret_cast<ULONG_PTR>(monitor)) - 1;
        if (static_cast<int>(index) == self_->unreadable_) return FALSE;
        EXPECT_EQ(information->cbSize, sizeof(MONITORINFO));
        const MonitorRecord& record = self_->monitors_[index];
        information->rcMonitor = record.monitor;
        information->rcWork = record.workArea;
        information->dwFlags = record.primary ? MONITORINFOF_PRIMARY : 0;
        return TRUE;
    }
    FakeMonitors() { self_ = this; }
    inline static FakeMonitors* self_;
};

TEST_F(FakeMonitors, AllRecordsAreListedWhenTheyFit) {
    int32_t count = -1;
    GuardedBuffer<MonitorRecord> records(4);
    EXPECT_EQ(monitor_list(records.data(), 4, &count), 0u);
    ASSERT_EQ(count, 4);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(Same(records[i].monitor, kDesk[i].monitor));
        EXPECT_TRUE(Same(records[i].workArea, kDesk[i].workArea));
        EXPECT_EQ(records[i].primary, kDesk[i].primary);
    }
}

TEST_F(FakeMonitors, MoreThanTheCapacityIs234WithTheirNumber) {
    for (int32_t capacity = 0; capacity < 4; ++capacity) {
        int32_t count = -1;
        GuardedBuffer<MonitorRecord> records(static_cast<size_t>(capacity));
        EXPECT_EQ(monitor_list(records.data(), capacity, &count), 234u);
        EXPECT_EQ(count, 4);
        for (int32_t i = 0; i < capacity; ++i)
            EXPECT_TRUE(Same(records[static_cast<size_t>(i)].monitor, kDesk[static_cast<size_t>(i)].monitor));
    }
}

TEST_F(FakeMonitors, AFailureGivesTheLastError) {
    int32_t count = -1;
    MonitorRecord record;
    enumerationFails_ = true;
    error_ = ERROR_ACCESS_DENIED;
    EXPECT_EQ(monitor_list(&record, 1, &count), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(count, -1);
}

TEST_F(FakeMonitors, AFailureWithoutAnErrorGivesOne) {
    int32_t count = -1;
    MonitorRecord record;
    enumerationFails_ = true;
    EXPECT_EQ(monitor_list(&record, 1, &count), 1u);
}

TEST_F(FakeMonitors, AMonitorThatCannotBeReadFailsTheListing) {
    int32_t count = -1;
    MonitorRecord records[4];
    unreadable_ = 2;
    error_ = ERROR_INVALID_MONITOR_HANDLE;
    EXPECT_EQ(monitor_list(records, 4, &count), DWORD{ERROR_INVALID_MONITOR_HANDLE});
}

TEST_F(FakeMonitors, TheArrayGrowsUntilAllFit) {
    monitors_.assign(9, kDesk[0]);
    monitors_.push_back(Monitor({5000, 5000, 6000, 6000}));
    const RECT reference = {5500, 5500, 5500, 5500};
    RECT fitted = {};
    int32_t index = -2;
    rect_fit_to_monitor(&fitted, &reference, 100, 100, &index);
    EXPECT_TRUE(Same(fitted, {5450, 5450, 5550, 5550})) << Text(fitted);
    EXPECT_EQ(index, 9);
    EXPECT_EQ(enumerate_.calls(), 2);
}

TEST_F(FakeMonitors, WithoutAListingTheReferenceIsTheResult) {
    const RECT reference = {1, 2, 3, 4};
    RECT fitted = {};
    int32_t index = -2;
    enumerationFails_ = true;
    rect_fit_to_monitor(&fitted, &reference, 100, 100, &index);
    EXPECT_TRUE(Same(fitted, reference));
    EXPECT_EQ(index, -1);
}

TEST_F(FakeMonitors, WithoutAnyMonitorTheReferenceIsTheResult) {
    const RECT reference = {1, 2, 3, 4};
    RECT fitted = {};
    monitors_.clear();
    rect_fit_to_monitor(&fitted, &reference, 100, 100, nullptr);
    EXPECT_TRUE(Same(fitted, reference));
}

TEST_F(FakeMonitors, WithoutMemoryTheReferenceIsTheResult) {
    CallFaults faults;
    WATCH_CALL(faults, malloc, nullptr, 0);
    faults.FailAt(1, true);
    const RECT reference = {1, 2, 3, 4};
    RECT fitted = {};
    faults.During([&] { rect_fit_to_monitor(&fitted, &reference, 100, 100, nullptr); });
    EXPECT_TRUE(faults.CallFailed());
    EXPECT_TRUE(Same(fitted, reference));
}

TEST(MonitorList, ListsTheRealScreen) {
    MonitorRecord records[16];
    int32_t count = 0;
    ASSERT_EQ(monitor_list(records, 16, &count), 0u);
    ASSERT_GE(count, 1);
    int primaries = 0;
    for (int32_t i = 0; i < count; ++i)
        primaries += records[i].primary ? 1 : 0;
    EXPECT_EQ(primaries, 1);
}

TEST_F(FakeMonitors, ARectangleIsKeptOnItsMonitor) {
    RECT rect = {1200, 900, 1300, 1000};
    KeepRectOnMonitor(rect);
    EXPECT_TRUE(Same(rect, {1180, 884, 1280, 984})) << Text(rect);
}

TEST_F(FakeMonitors, WithoutAListOfMonitorsARectangleStaysWhereItIs) {
    enumerationFails_ = true;
    RECT rect = {90000, 90000, 90100, 90100};
    KeepRectOnMonitor(rect);
    EXPECT_TRUE(Same(rect, {90000, 90000, 90100, 90100})) << Text(rect);
}

}  // namespace
