#include "base/time_text.h"

#include <bit>

#include "base/xfmt.h"

namespace {

constexpr int64_t kUnitsPerMs = 10'000;  // 100-nanosecond units of a FILETIME
constexpr int64_t kUnitsPerSecond = 10'000'000;
constexpr int64_t kMsPerSecond = 1000;
constexpr int64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr int64_t kMsFrom1601To1970 = kSecondsFrom1601To1970 * kMsPerSecond;

constexpr int32_t kTickBits = 32;
constexpr uint64_t kTickMask = (uint64_t{1} << kTickBits) - 1;

enum TextStyle { kYearAndDate = 1, kDate = 2 };

int64_t UemsFromFiletime(const FILETIME& filetime) {
    const int64_t units = std::bit_cast<int64_t>(filetime);
    return time_filetime_to_uems(&units);
}

bool FiletimeFromUnix(int64_t seconds, FILETIME& filetime) {
    int64_t units;
    if (__builtin_add_overflow(seconds, kSecondsFrom1601To1970, &units)) return false;
    if (__builtin_mul_overflow(units, kUnitsPerSecond, &units)) return false;
    // The system refuses such a time, but converting it to local time east of UTC could lift it above zero.
    if (units < 0) return false;
    filetime = std::bit_cast<FILETIME>(units);
    return true;
}

bool IsLeapYear(int32_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int32_t YearDay(const SYSTEMTIME& time) {
    static constexpr int32_t kDaysBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    if (time.wMonth < 1 || time.wMonth > 12) return 0;
    const int32_t yearDay = kDaysBefore[time.wMonth - 1] + time.wDay - 1;
    return IsLeapYear(time.wYear) && yearDay >= 59 ? yearDay + 1 : yearDay;
}

SYSTEMTIME Now(bool local) {
    SYSTEMTIME time;
    if (local) {
        GetLocalTime(&time);
    } else {
        GetSystemTime(&time);
    }
    return time;
}

}  // namespace

int64_t time_filetime_to_uems(const int64_t* filetime) noexcept {
    return *filetime / kUnitsPerMs - kMsFrom1601To1970;
}

int64_t time_now_uems_utc() noexcept {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return UemsFromFiletime(now);
}

int64_t time_now_uems_local() noexcept {
    const SYSTEMTIME now = Now(true);
    FILETIME filetime = {};
    SystemTimeToFileTime(&now, &filetime);
    return UemsFromFiletime(filetime);
}

int64_t time_now_unix_utc() noexcept {
    return time_now_uems_utc() / kMsPerSecond;
}

int64_t time_now_unix_local() noexcept {
    return time_now_uems_local() / kMsPerSecond;
}

int32_t time_tz_offset_minutes() noexcept {
    TIME_ZONE_INFORMATION zone = {};
    GetTimeZoneInformation(&zone);
    return -static_cast<int32_t>(zone.Bias);
}

void time_tm_from_systemtime(const SYSTEMTIME* time, TimeTm* out, uint32_t* msec) noexcept {
    out->second = time->wSecond;
    out->minute = time->wMinute;
    out->hour = time->wHour;
    out->day = time->wDay;
    out->month = time->wMonth - 1;
    out->year = time->wYear - 1900;
    out->weekday = time->wDayOfWeek;
    out->yearDay = YearDay(*time);
    out->daylight = 0;
    if (msec != nullptr) *msec = time->wMilliseconds;
}

int32_t time_unix_to_tm_utc(int64_t seconds, TimeTm* out) noexcept {
    FILETIME utc;
    SYSTEMTIME time;
    if (!FiletimeFromUnix(seconds, utc) || !FileTimeToSystemTime(&utc, &time)) return 0;
    time_tm_from_systemtime(&time, out, nullptr);
    return 1;
}

int32_t time_unix_to_tm_local(int64_t seconds, TimeTm* out) noexcept {
    FILETIME utc, local;
    SYSTEMTIME time;
    if (!FiletimeFromUnix(seconds, utc) || !FileTimeToLocalFileTime(&utc, &local)) return 0;
    if (!FileTimeToSystemTime(&local, &time)) return 0;
    time_tm_from_systemtime(&time, out, nullptr);
    return 1;
}

bool time_now_tm_utc(TimeTm* out, uint32_t* msec) noexcept {
    const SYSTEMTIME now = Now(false);
    time_tm_from_systemtime(&now, out, msec);
    return true;
}

bool time_now_tm(TimeTm* out, uint32_t* msec) noexcept {
    const SYSTEMTIME now = Now(true);
    time_tm_from_systemtime(&now, out, msec);
    return true;
}

bool time_now_tm(TimeTm* out) noexcept {
    return time_now_tm(out, nullptr);
}

bool time_sleep_ms(uint32_t ms) noexcept {
    Sleep(ms);
    return true;
}

uint32_t time_tick_ms() noexcept {
    return GetTickCount();
}

int32_t time_tick_bits() noexcept {
    return kTickBits;
}

uint64_t time_tick_elapsed(uint64_t start, uint64_t now) noexcept {
    return (now - start) & kTickMask;
}

wchar_t* time_text_from_systemtime(const SYSTEMTIME* time, int32_t style, wchar_t* buf,
                                   int32_t cap) noexcept {
    if (cap < 1) return buf;
    buf[0] = 0;
    if (style == kYearAndDate) xfmt(buf, cap, L"%s%04d-", buf, time->wYear);
    if (style == kYearAndDate || style == kDate) {
        xfmt(buf, cap, L"%s%02d-%02d ", buf, time->wMonth, time->wDay);
    }
    xfmt(buf, cap, L"%s%02d:%02d:%02d", buf, time->wHour, time->wMinute, time->wSecond);
    return buf;
}

wchar_t* time_text_from_unix(int64_t seconds, int32_t style, wchar_t* buf, int32_t cap) noexcept {
    FILETIME utc;
    SYSTEMTIME time = {};
    if (FiletimeFromUnix(seconds, utc)) FileTimeToSystemTime(&utc, &time);
    return time_text_from_systemtime(&time, style, buf, cap);
}

wchar_t* time_text_now(int32_t local, int32_t style, wchar_t* buf, int32_t cap) noexcept {
    const SYSTEMTIME now = Now(local != 0);
    return time_text_from_systemtime(&now, style, buf, cap);
}
