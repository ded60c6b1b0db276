#include "base/stamp_text.h"

#include "base/xfmt.h"

void FormatStampCompact(const SYSTEMTIME& time, wchar_t* text, int32_t chars) noexcept {
    xfmt(text, chars, L"%04d%02d%02d_%02d%02d%02d", time.wYear, time.wMonth, time.wDay, time.wHour,
         time.wMinute, time.wSecond);
}

void FormatStampFine(const SYSTEMTIME* time, wchar_t* text, int32_t chars) noexcept {
    SYSTEMTIME now = {};
    if (time == nullptr) {
        GetLocalTime(&now);
        time = &now;
    }
    xfmt(text, chars, L"%04d%02d%02d.%02d%02d%02d.%03d", time->wYear, time->wMonth, time->wDay, time->wHour,
         time->wMinute, time->wSecond, time->wMilliseconds);
}

void FileTimeText(const uint64_t* fileTime, wchar_t* text, int32_t chars) noexcept {
    if (*fileTime == 0) {
        xfmt(text, chars, L"(none)");
        return;
    }
    const FILETIME utc = {static_cast<DWORD>(*fileTime), static_cast<DWORD>(*fileTime >> 32)};
    FILETIME local = {};
    SYSTEMTIME time = {};
    // A value that the system refuses is shown as zeros.
    if (FileTimeToLocalFileTime(&utc, &local)) FileTimeToSystemTime(&local, &time);
    xfmt(text, chars, L"%04d-%02d-%02d %02d:%02d:%02d.%03d", time.wYear, time.wMonth, time.wDay, time.wHour,
         time.wMinute, time.wSecond, time.wMilliseconds);
}

int32_t StampCompactFormatter(void* time, XfmtOutput* out, wchar_t, int32_t) noexcept {
    wchar_t text[kStampChars];
    FormatStampCompact(*static_cast<const SYSTEMTIME*>(time), text, kStampChars);
    return xfmt_to_ctx(out, L"%s", text);
}

int32_t FileTimeFormatter(void* fileTime, XfmtOutput* out, wchar_t, int32_t) noexcept {
    wchar_t text[kStampChars];
    FileTimeText(static_cast<const uint64_t*>(fileTime), text, kStampChars);
    return xfmt_to_ctx(out, L"%s", text);
}
