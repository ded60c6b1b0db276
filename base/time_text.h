// Time in the units that the product stores and shows.
//
// "Uems" values are signed milliseconds since 1970-01-01 00:00:00, Unix seconds are signed seconds since
// then. A FILETIME is taken as a signed 64-bit count of 100-nanosecond units since 1601. Division truncates
// toward zero.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

// Calendar time, fields as in the standard tm.
struct TimeTm {
    int32_t second;
    int32_t minute;
    int32_t hour;
    int32_t day;       // of the month, from 1
    int32_t month;     // from 0
    int32_t year;      // minus 1900
    int32_t weekday;   // 0 is Sunday
    int32_t yearDay;   // from 0
    int32_t daylight;  // always 0
};

int64_t time_filetime_to_uems(const int64_t* filetime) noexcept;
int64_t time_now_uems_utc() noexcept;
// The wall clock's reading as if it were UTC.
int64_t time_now_uems_local() noexcept;
int64_t time_now_unix_utc() noexcept;
int64_t time_now_unix_local() noexcept;
// Minutes east of UTC, without daylight saving: 480 for UTC+8.
int32_t time_tz_offset_minutes() noexcept;

// `msec` may be null.
void time_tm_from_systemtime(const SYSTEMTIME* time, TimeTm* out, uint32_t* msec) noexcept;
// Both return 0 and leave *out alone when the system refuses the time, otherwise non-zero.
int32_t time_unix_to_tm_utc(int64_t seconds, TimeTm* out) noexcept;
int32_t time_unix_to_tm_local(int64_t seconds, TimeTm* out) noexcept;
// Always true; `msec` may be null.
bool time_now_tm_utc(TimeTm* out, uint32_t* msec) noexcept;
bool time_now_tm(TimeTm* out, uint32_t* msec) noexcept;
bool time_now_tm(TimeTm* out) noexcept;

bool time_sleep_ms(uint32_t ms) noexcept;  // always true
uint32_t time_tick_ms() noexcept;
int32_t time_tick_bits() noexcept;
// The ticks between two readings, correct across one wrap of the counter.
uint64_t time_tick_elapsed(uint64_t start, uint64_t now) noexcept;

// Style 1 writes "2024-03-05 09:07:02", style 2 "03-05 09:07:02", any other "09:07:02". Nothing is checked; a
// text that does not fit in `cap` characters, terminator included, is cut. All return buf.
wchar_t* time_text_from_systemtime(const SYSTEMTIME* time, int32_t style, wchar_t* buf, int32_t cap) noexcept;
// Shows UTC.
wchar_t* time_text_from_unix(int64_t seconds, int32_t style, wchar_t* buf, int32_t cap) noexcept;
wchar_t* time_text_now(int32_t local, int32_t style, wchar_t* buf, int32_t cap) noexcept;
