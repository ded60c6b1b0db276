// The log of USB startup errors that the driver writes for each USB device: where it is, what its tail
// says, whether its errors are recent. The library never writes into it; on request it is deleted or copied.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/heap_text.h"
#include "base/windows_api.h"

#include <setupapi.h>

inline constexpr int32_t kUsberrPathChars = 260;         // of every path here, terminator included
inline constexpr int32_t kUsberrTailBytes = 64000;       // how much of the file's end is read
inline constexpr int32_t kUsberrTailMaxChars = 63999;    // how much of it is shown, terminator not included
inline constexpr int32_t kUsberrRelativeNameIndex = 25;  // length of "System32\QrvTavix\usberr\"

// Full path of the device's log (cut to kUsberrPathChars). False when the instance ID cannot be read or the
// Windows directory is unknown; `path` is then empty.
bool UsberrLogPath(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, wchar_t (&path)[kUsberrPathChars]) noexcept;

// The path below the Windows directory for an instance ID,
// "System32\QrvTavix\usberr\usberr_USB#VID...#SN.log" (cut to kUsberrPathChars). Returns where its file name
// starts: kUsberrRelativeNameIndex.
int32_t UsberrRelativePath(const wchar_t* instanceId, wchar_t (&path)[kUsberrPathChars]) noexcept;

// The file name within a path that UsberrLogPath built.
const wchar_t* UsberrLogName(const wchar_t* path) noexcept;

// The times that decide between recent and past errors, in milliseconds since 1970-01-01 UTC.
struct UsberrTimes {
    int64_t logWritten;      // 0: there is no log
    int64_t startupSuccess;  // last successful start of the device, 0 when never recorded

    bool HasLog() const noexcept { return logWritten != 0; }
    bool AreErrorsRecent() const noexcept { return logWritten != 0 && logWritten > startupSuccess; }
};
UsberrTimes ReadUsberrTimes(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const wchar_t* path) noexcept;

// Reads and decodes at most the last kUsberrTailBytes of the file. The text ends at the first NUL byte, as
// the driver's text does; bytes that are not UTF-8 become replacement characters. False when the file cannot
// be read or memory runs out; the text is then empty.
bool ReadUsberrTail(const wchar_t* path, HeapText& text) noexcept;

// Decodes at most kUsberrTailBytes bytes for ReadUsberrTail. False, with the text as it was, when there is no
// memory.
bool DecodeUsberrTail(std::string_view bytes, HeapText& text) noexcept;

// The part of a tail after its last separator line, or the whole tail when it has none. Points into `tail`.
const wchar_t* UsberrRecentText(const wchar_t* tail) noexcept;

// The log as it was at one moment.
struct UsberrLog {
    wchar_t path[kUsberrPathChars] = {};
    UsberrTimes times = {};
    bool isReadable = false;  // there is a log, and `tail` holds its text
    HeapText tail;
};

// False when the path is unknown.
bool ReadUsberrLog(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, UsberrLog& log) noexcept;

// The path for a copy: the user's profile folder, the time and the log's own name. False when the folder is
// unknown.
bool UsberrSavePath(const wchar_t* logPath, const SYSTEMTIME& now,
                    wchar_t (&savePath)[kUsberrPathChars]) noexcept;

// Copies the log over whatever is at `savePath`. Returns a Windows error, 0 on success.
DWORD CopyUsberrLog(const wchar_t* logPath, const wchar_t* savePath) noexcept;

// Deletes the log. Returns a Windows error, 0 on success.
DWORD DeleteUsberrLog(const wchar_t* logPath) noexcept;
