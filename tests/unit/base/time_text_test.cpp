#include "base/time_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <string>

#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"

namespace {

constexpr int64_t kFiletimeOf1970 = 116444736000000000;

SYSTEMTIME MakeTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                    int msec = 0) {
    SYSTEMTIME time = {};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    time.wHour = static_cast<WORD>(hour);
    time.wMinute = static_cast<WORD>(minute);
    time.wSecond = static_cast<WORD>(second);
    time.wMilliseconds = static_cast<WORD>(msec);
    return time;
}

int64_t UemsOf(const SYSTEMTIME& time) {
    FILETIME filetime = {};
    SystemTimeToFileTime(&time, &filetime);
    const int64_t units = std::bit_cast<int64_t>(filetime);
    return time_filetime_to_uems(&units);
}

int32_t YearDayOf(int year, int month, int day) {
    const SYSTEMTIME time = MakeTime(year, month, day);
    TimeTm tm = {};
    time_tm_from_systemtime(&time, &tm, nullptr);
    return tm.yearDay;
}

struct FiletimeRow {
    const char* name;
    int64_t filetime;
    int64_t uems;
};

class FiletimeToUemsTest : public testing::TestWithParam<FiletimeRow> {};

TEST_P(FiletimeToUemsTest, Converts) {
    EXPECT_EQ(time_filetime_to_uems(&GetParam().filetime), GetParam().uems);
}

INSTANTIATE_TEST_SUITE_P(Values, FiletimeToUemsTest,
                         testing::Values(FiletimeRow{"start_of_1970", kFiletimeOf1970, 0},
                                         FiletimeRow{"one_ms_later", kFiletimeOf1970 + 10000, 1},
                                         FiletimeRow{"a_part_of_a_ms_is_dropped", kFiletimeOf1970 + 19999, 1},
                                         FiletimeRow{"one_ms_earlier", kFiletimeOf1970 - 10000, -1},
                                         FiletimeRow{"start_of_1601", 0, -11644473600000},
                                         FiletimeRow{"negative_filetime_truncates_toward_zero", -19999,
                                                     -11644473600001}),
                         [](const auto& row) { return row.param.name; });

TEST(TimeNowTest, UtcInAllUnitsIsTheSystemTime) {
    SYSTEMTIME before, after;
    GetSystemTime(&before);
    const int64_t uems = time_now_uems_utc();
    const int64_t seconds = time_now_unix_utc();
    GetSystemTime(&after);
    EXPECT_GE(uems, UemsOf(before));
    EXPECT_LE(uems, UemsOf(after) + 1);
    EXPECT_GE(seconds, UemsOf(before) / 1000);
    EXPECT_LE(seconds, UemsOf(after) / 1000);
}

TEST(TimeNowTest, LocalIsTheWallClockReadAsUtc) {
    SYSTEMTIME before, after;
    GetLocalTime(&before);
    const int64_t uems = time_now_uems_local();
    const int64_t seconds = time_now_unix_local();
    GetLocalTime(&after);
    EXPECT_GE(uems, UemsOf(before));
    EXPECT_LE(uems, UemsOf(after) + 1);
    EXPECT_GE(seconds, UemsOf(before) / 1000);
    EXPECT_LE(seconds, UemsOf(after) / 1000);
}

// A system eight hours east of UTC whose clocks stand still.
class ReplacedClockTest : public testing::Test {
  protected:
    static constexpr int64_t kUtcSeconds = 1709590022;
    static constexpr int64_t kEightHours = 8 * 60 * 60;

    ReplacedCall<GetSystemTime> systemTime_{
        "GetSystemTime", [](SYSTEMTIME* time) { *time = MakeTime(2024, 3, 4, 22, 7, 2, 45); }};
    ReplacedCall<GetLocalTime> localTime_{
        "GetLocalTime", [](SYSTEMTIME* time) { *time = MakeTime(2024, 3, 5, 6, 7, 2, 45); }};
};

TEST_F(ReplacedClockTest, LocalTimeIsTheWallClocks) {
    EXPECT_EQ(time_now_uems_local(), (kUtcSeconds + kEightHours) * 1000 + 45);
    EXPECT_EQ(time_now_unix_local(), kUtcSeconds + kEightHours);
}

TEST_F(ReplacedClockTest, BrokenDownTimesComeFromTheirOwnClock) {
    TimeTm utc{}, local{}, localOnly{};
    uint32_t utcMsec = 0, localMsec = 0;
    EXPECT_TRUE(time_now_tm_utc(&utc, &utcMsec));
    EXPECT_TRUE(time_now_tm(&local, &localMsec));
    EXPECT_TRUE(time_now_tm(&localOnly));
    EXPECT_TRUE(time_now_tm_utc(&utc, nullptr));
    EXPECT_TRUE(time_now_tm(&local, nullptr));
    EXPECT_EQ(utc.day, 4);
    EXPECT_EQ(utc.hour, 22);
    EXPECT_EQ(local.day, 5);
    EXPECT_EQ(local.hour, 6);
    EXPECT_EQ(localOnly.hour, 6);
    EXPECT_EQ(utcMsec, 45u);
    EXPECT_EQ(localMsec, 45u);
}

TEST_F(ReplacedClockTest, TextsOfNowAreUtcOrLocalAsAsked) {
    wchar_t text[32];
    EXPECT_EQ(time_text_now(0, 1, text, 32), text);
    EXPECT_STREQ(text, L"2024-03-04 22:07:02");
    EXPECT_STREQ(time_text_now(1, 2, text, 32), L"03-05 06:07:02");
    EXPECT_STREQ(time_text_now(-1, 0, text, 32), L"06:07:02");
}

// One and a half seconds before 1970.
TEST(TimeBefore1970Test, SecondsOfUtcTruncateTowardZero) {
    REPLACE_CALL(clock, GetSystemTimeAsFileTime,
                 [](FILETIME* time) { *time = std::bit_cast<FILETIME>(kFiletimeOf1970 - 15'000'000); });
    EXPECT_EQ(time_now_uems_utc(), -1500);
    EXPECT_EQ(time_now_unix_utc(), -1);
}

TEST(TimeBefore1970Test, SecondsOfTheWallClockTruncateTowardZero) {
    REPLACE_CALL(clock, GetLocalTime,
                 [](SYSTEMTIME* time) { *time = MakeTime(1969, 12, 31, 23, 59, 58, 500); });
    EXPECT_EQ(time_now_uems_local(), -1500);
    EXPECT_EQ(time_now_unix_local(), -1);
}

TEST(TimeZoneTest, TheOffsetIsTheNegatedBias) {
    for (const LONG bias : {-480L, 0L, 300L}) {
        REPLACE_CALL(zone, GetTimeZoneInformation, [bias](TIME_ZONE_INFORMATION* information) -> DWORD {
            *information = {};
            information->Bias = bias;
            information->StandardBias = -10;
            information->DaylightBias = -60;
            return TIME_ZONE_ID_DAYLIGHT;
        });
        EXPECT_EQ(time_tz_offset_minutes(), -bias);
    }
}

TEST(TimeTmTest, TakesEveryFieldOfTheSystemTime) {
    SYSTEMTIME time = MakeTime(2024, 3, 5, 9, 7, 2, 45);
    time.wDayOfWeek = 2;
    TimeTm tm;
    memset(&tm, 0x5A, sizeof(tm));
    uint32_t msec = 0;
    time_tm_from_systemtime(&time, &tm, &msec);
    const int32_t expected[] = {2, 7, 9, 5, 2, 124, 2, 64, 0};
    static_assert(sizeof(tm) == sizeof(expected));
    EXPECT_EQ(memcmp(&tm, expected, sizeof(tm)), 0);
    EXPECT_EQ(msec, 45u);
}

TEST(TimeTmTest, CountsTheDaysOfACommonYear) {
    EXPECT_EQ(YearDayOf(2023, 1, 1), 0);
    EXPECT_EQ(YearDayOf(2023, 2, 28), 58);
    EXPECT_EQ(YearDayOf(2023, 3, 1), 59);
    EXPECT_EQ(YearDayOf(2023, 12, 31), 364);
}

TEST(TimeTmTest, CountsTheDaysOfALeapYear) {
    EXPECT_EQ(YearDayOf(2024, 2, 28), 58);
    EXPECT_EQ(YearDayOf(2024, 3, 1), 60);
    EXPECT_EQ(YearDayOf(2024, 12, 31), 365);
    // The correction begins with day 59, so the last day of February shares its number with the next.
    EXPECT_EQ(YearDayOf(2024, 2, 29), 60);
}

TEST(TimeTmTest, KnowsTheLeapYearsOfCenturies) {
    EXPECT_EQ(YearDayOf(2000, 3, 1), 60);
    EXPECT_EQ(YearDayOf(1900, 3, 1), 59);
    EXPECT_EQ(YearDayOf(2100, 3, 1), 59);
}

TEST(TimeTmTest, AMonthOutsideTheCalendarHasNoYearDay) {
    EXPECT_EQ(YearDayOf(0, 0, 0), 0);
    EXPECT_EQ(YearDayOf(2024, 13, 1), 0);
}

TEST(UnixToTmTest, ConvertsToUtc) {
    TimeTm tm = {};
    EXPECT_NE(time_unix_to_tm_utc(1709629622, &tm), 0);
    EXPECT_EQ(tm.year, 124);
    EXPECT_EQ(tm.month, 2);
    EXPECT_EQ(tm.day, 5);
    EXPECT_EQ(tm.hour, 9);
    EXPECT_EQ(tm.minute, 7);
    EXPECT_EQ(tm.second, 2);
    EXPECT_EQ(tm.weekday, 2);
    EXPECT_EQ(tm.yearDay, 64);
}

TEST(UnixToTmTest, ConvertsTimesBefore1970) {
    TimeTm tm = {};
    EXPECT_NE(time_unix_to_tm_utc(-1, &tm), 0);
    EXPECT_EQ(tm.year, 69);
    EXPECT_EQ(tm.yearDay, 364);
    EXPECT_EQ(tm.second, 59);
}

int32_t LocalTmThreeHoursEast(int64_t seconds, TimeTm* tm) {
    REPLACE_CALL(toLocal, FileTimeToLocalFileTime, [](const FILETIME* utc, FILETIME* local) -> BOOL {
        *local = std::bit_cast<FILETIME>(std::bit_cast<int64_t>(*utc) + int64_t{3} * 3600 * 10000000);
        return TRUE;
    });
    return time_unix_to_tm_local(seconds, tm);
}

TEST(UnixToTmTest, LocalIsWhatTheSystemMakesOfIt) {
    TimeTm tm = {};
    EXPECT_NE(LocalTmThreeHoursEast(1709629622, &tm), 0);
    EXPECT_EQ(tm.day, 5);
    EXPECT_EQ(tm.hour, 12);
    EXPECT_EQ(tm.minute, 7);
}

TEST(UnixToTmTest, LocalTimeDoesNotLiftATimeBefore1601) {
    TimeTm tm = {};
    EXPECT_EQ(LocalTmThreeHoursEast(-11644473601, &tm), 0);
    EXPECT_EQ(tm.day, 0);
    EXPECT_NE(LocalTmThreeHoursEast(-11644473600, &tm), 0);
    EXPECT_EQ(tm.year, 1601 - 1900);
    EXPECT_EQ(tm.hour, 3);
}

TEST(UnixToTmTest, UtcAsksNoTimeZone) {
    REPLACE_CALL(toLocal, FileTimeToLocalFileTime, [](const FILETIME*, FILETIME*) -> BOOL { return FALSE; });
    TimeTm tm = {};
    EXPECT_NE(time_unix_to_tm_utc(1709629622, &tm), 0);
    EXPECT_EQ(tm.hour, 9);
    TimeTm untouched = {};
    EXPECT_EQ(time_unix_to_tm_local(1709629622, &untouched), 0);
    EXPECT_EQ(untouched.day, 0);
}

class UnixToTmFailureTest : public testing::TestWithParam<int64_t> {};

TEST_P(UnixToTmFailureTest, LeavesTheResultUntouched) {
    TimeTm tm, untouched;
    memset(&tm, 0x5A, sizeof(tm));
    memset(&untouched, 0x5A, sizeof(untouched));
    EXPECT_EQ(time_unix_to_tm_utc(GetParam(), &tm), 0);
    EXPECT_EQ(time_unix_to_tm_local(GetParam(), &tm), 0);
    EXPECT_EQ(memcmp(&tm, &untouched, sizeof(tm)), 0);
}

INSTANTIATE_TEST_SUITE_P(OutOfRange, UnixToTmFailureTest,
                         testing::Values(INT64_MIN, -11644473601, INT64_MAX / 10000000, INT64_MAX - 1,
                                         INT64_MAX));

TEST(TimeTickTest, IsTheSystemsCounter) {
    const DWORD before = GetTickCount();
    const uint32_t ticks = time_tick_ms();
    EXPECT_LE(ticks - before, 1000u);
    EXPECT_EQ(time_tick_bits(), 32);
}

TEST(TimeTickTest, ElapsedTicksSurviveAWrap) {
    EXPECT_EQ(time_tick_elapsed(100, 350), 250u);
    EXPECT_EQ(time_tick_elapsed(0xFFFFFF00u, 0x100), 0x200u);
    EXPECT_EQ(time_tick_elapsed(5, 5), 0u);
    EXPECT_EQ(time_tick_elapsed(6, 5), 0xFFFFFFFFu);
    EXPECT_EQ(time_tick_elapsed(0, 0x100000007u), 7u);
}

TEST(TimeSleepTest, WaitsAtLeastThatLong) {
    LARGE_INTEGER frequency, start, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&start);
    EXPECT_TRUE(time_sleep_ms(30));
    QueryPerformanceCounter(&end);
    EXPECT_GE((end.QuadPart - start.QuadPart) * 1000 / frequency.QuadPart, 29);
}

struct StyleRow {
    const char* name;
    int32_t style;
    const wchar_t* text;
};

class TimeTextTest : public testing::TestWithParam<StyleRow> {
  protected:
    const SYSTEMTIME time_ = MakeTime(2024, 3, 5, 9, 7, 2, 45);
    static constexpr int64_t kSeconds = 1709629622;
};

TEST_P(TimeTextTest, OfASystemTime) {
    wchar_t text[32] = L"old";
    EXPECT_EQ(time_text_from_systemtime(&time_, GetParam().style, text, 32), text);
    EXPECT_STREQ(text, GetParam().text);
}

TEST_P(TimeTextTest, OfUnixSecondsIsInUtc) {
    wchar_t text[32] = L"old";
    EXPECT_EQ(time_text_from_unix(kSeconds, GetParam().style, text, 32), text);
    EXPECT_STREQ(text, GetParam().text);
}

TEST_P(TimeTextTest, IsCutAtEveryCapacity) {
    const std::wstring whole = GetParam().text;
    for (int32_t cap = 1; cap <= static_cast<int32_t>(whole.size()) + 2; ++cap) {
        GuardedBuffer<wchar_t> text(static_cast<size_t>(cap));
        time_text_from_systemtime(&time_, GetParam().style, text.data(), cap);
        EXPECT_EQ(std::wstring(text.data()), whole.substr(0, static_cast<size_t>(cap - 1))) << cap;
    }
}

INSTANTIATE_TEST_SUITE_P(Styles, TimeTextTest,
                         testing::Values(StyleRow{"year", 1, L"2024-03-05 09:07:02"},
                                         StyleRow{"date", 2, L"03-05 09:07:02"},
                                         StyleRow{"time", 0, L"09:07:02"}, StyleRow{"other", 3, L"09:07:02"},
                                         StyleRow{"negative", -1, L"09:07:02"}),
                         [](const auto& row) { return row.param.name; });

TEST(TimeTextLimitsTest, WritesNothingWithoutRoom) {
    const SYSTEMTIME time = MakeTime(2024, 3, 5);
    GuardedBuffer<wchar_t> text(0);
    EXPECT_EQ(time_text_from_systemtime(&time, 1, text.data(), 0), text.data());
    EXPECT_EQ(time_text_from_systemtime(&time, 1, text.data(), -1), text.data());
}

TEST(TimeTextLimitsTest, ATimeThatTheSystemRefusesPrintsZeros) {
    wchar_t text[32];
    EXPECT_STREQ(time_text_from_unix(INT64_MAX, 1, text, 32), L"0000-00-00 00:00:00");
}

}  // namespace
