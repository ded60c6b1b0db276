// The driver as a whole: its version and its file logging.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

#include "driver/protocol.h"

inline constexpr int32_t kDriverVersionTextChars = 110;
// Shown in place of the version when there is none.
inline constexpr wchar_t kNoDriverVersionText[] = L"[TAVIX]";

// "TAVIX 1.7.11", followed by " (Debug)" for a debug build.
void FormatDriverVersion(const DriverVersion_st& version, wchar_t (&text)[kDriverVersionTextChars]) noexcept;

// The driver's version as that text. The packed version has one byte each for major, minor and build above a
// zero byte. False on failure, with text and version untouched; *error then holds the Windows error,
// ERROR_NOT_READY when there is no Vbus; it is 0 on success.
bool GetDriverVersionText(uint32_t* packedVersion, wchar_t (&text)[kDriverVersionTextChars],
                          DWORD* error = nullptr) noexcept;

// The packed version, 0 on failure. *error as above.
uint32_t GetDriverVersionNumber(DWORD* error = nullptr) noexcept;

// Reads the driver's logging record. Returns a Windows error, ERROR_NOT_READY when there is no Vbus.
DWORD QueryLogCfg(LogCfg_st& log) noexcept;

// False also when the driver cannot be asked.
bool IsFileLoggingOn() noexcept;

// Switches the driver's logging into a file: on with a level above 0. `fresh` makes the driver start a new
// file; `showStatistics` shows the log's statistics in a message box first. A Vbus that cannot be opened is
// reported in a box. Both boxes are owned by the thread's active window. False on failure, with the Windows
// error as last error.
bool tavo_EnableFileLogging(int32_t level, bool fresh, bool showStatistics) noexcept;

// The same on an open Vbus and without any box. Returns a Windows error.
DWORD ChangeFileLogging(HANDLE vbus, int32_t level, bool fresh) noexcept;

// Enough for the largest numbers.
inline constexpr int32_t kLogStatisticsChars = 300;
void FormatLogStatistics(const LogCfg_st& log, wchar_t (&text)[kLogStatisticsChars]) noexcept;
