#include "base/stamp_text.h"

#include <gtest/gtest.h>

#include <string>

#include "base/xfmt.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"

namespace {

constexpr SYSTEMTIME kTime = {2026, 3, 1, 16, 14, 25, 1, 7};
constexpr SYSTEMTIME kEarly = {7, 1, 1, 2, 3, 4, 5, 0};

std::wstring Compact(const SYSTEMTIME& time) {
    wchar_t text[kStampChars];
    FormatStampCompact(time, text, kStampChars);
    return text;
}

std::wstring Fine(const SYSTEMTIME* time) {
    wchar_t text[kStampChars];
    FormatStampFine(time, text, kStampChars);
    return text;
}

uint64_t AsNumber(const SYSTEMTIME& time) {
    FILETIME fileTime;
    SystemTimeToFileTime(&time, &fileTime);
    return static_cast<uint64_t>(fileTime.dwHighDateTime) << 32 | fileTime.dwLowDateTime;
}

std::wstring FileTime(uint64_t value) {
    wchar_t text[kStampChars];
    FileTimeText(&value, text, kStampChars);
    return text;
}

TEST(FormatStampCompact, WritesEveryFieldWithItsWidth) {
    EXPECT_EQ(Compact(kTime), L"20260316_142501");
    EXPECT_EQ(Compact(kEarly), L"00070102_030405");
}

TEST(FormatStampFine, AddsTheMilliseconds) {
    EXPECT_EQ(Fine(&kTime), L"20260316.142501.007");
    EXPECT_EQ(Fine(&kEarly), L"00070102.030405.000");
}

TEST(FormatStampFine, ANullTimeIsTheLocalTimeNow) {
    REPLACE_CALL(now, GetLocalTime, [](SYSTEMTIME* time) { *time = kTime; });
    EXPECT_EQ(Fine(nullptr), L"20260316.142501.007");
}

TEST(FileTimeText, ZeroIsNone) {
    EXPECT_EQ(FileTime(0), L"(none)");
}

TEST(FileTimeText, IsLocalTime) {
    REPLACE_CALL(local, FileTimeToLocalFileTime, [](const FILETIME* utc, FILETIME* out) {
        uint64_t units = static_cast<uint64_t>(utc->dwHighDateTime) << 32 | utc->dwLowDateTime;
        units += 90 * 60 * uint64_t{10000000};
        *out = {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
        return TRUE;
    });
    EXPECT_EQ(FileTime(AsNumber(kTime)), L"2026-03-16 15:55:01.007");
}

TEST(FileTimeText, AValueOutsideTheCalendarIsAllZeros) {
    EXPECT_EQ(FileTime(UINT64_MAX), L"0000-00-00 00:00:00.000");
    REPLACE_CALL(local, FileTimeToLocalFileTime, [](const FILETIME*, FILETIME*) { return FALSE; });
    EXPECT_EQ(FileTime(AsNumber(kTime)), L"0000-00-00 00:00:00.000");
}

TEST(Stamps, AreCutToEveryCapacity) {
    const uint64_t fileTime = AsNumber(kTime);
    const std::wstring whole = FileTime(fileTime);
    for (int32_t chars = 0; chars <= kStampChars; ++chars) {
        const auto count = static_cast<size_t>(chars);
        GuardedBuffer<wchar_t> compact(count);
        GuardedBuffer<wchar_t> fine(count);
        GuardedBuffer<wchar_t> file(count);
        GuardedBuffer<wchar_t> none(count);
        const uint64_t zero = 0;
        FormatStampCompact(kTime, compact.data(), chars);
        FormatStampFine(&kTime, fine.data(), chars);
        FileTimeText(&fileTime, file.data(), chars);
        FileTimeText(&zero, none.data(), chars);
        if (chars == 0) continue;
        EXPECT_EQ(std::wstring(compact.data()), Compact(kTime).substr(0, count - 1));
        EXPECT_EQ(std::wstring(fine.data()), Fine(&kTime).substr(0, count - 1));
        EXPECT_EQ(std::wstring(file.data()), whole.substr(0, count - 1));
        EXPECT_EQ(std::wstring(none.data()), std::wstring(L"(none)").substr(0, count - 1));
    }
}

TEST(Stamps, PrintThemselvesInAFormat) {
    SYSTEMTIME time = kTime;
    uint64_t none = 0;
    XfmtFormatter compact;
    XfmtFormatter fileTime;
    xfmt_formatter_init(&compact, StampCompactFormatter, &time);
    xfmt_formatter_init(&fileTime, FileTimeFormatter, &none);
    wchar_t text[64];
    EXPECT_EQ(xfmt(text, 64, L"%F-%s %F", &compact, L"log", &fileTime), 26);
    EXPECT_STREQ(text, L"20260316_142501-log (none)");
}

}  // namespace
