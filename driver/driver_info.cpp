#include "driver/driver_info.h"

#include "base/last_error.h"
#include "base/message_box.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"
#include "driver/messages.h"
#include "driver/vbus.h"

namespace {

uint32_t PackVersion(const DriverVersion_st& version) {
    return ((version.major << 8 | version.minor) << 8 | version.build) << 8;
}

void StoreError(DWORD* place, DWORD error) {
    if (place != nullptr) *place = error;
}

DWORD QueryVersion(const FileHandle& vbus, DriverVersion_st& version) {
    if (!vbus) return FailureCode();
    return VbusQuery(vbus.get(), IOCTL_TAVIX_GetDriverVersion, nullptr, 0, version);
}

void ShowOpenFailure(DWORD error) {
    const bool denied = error == ERROR_ACCESS_DENIED;
    ErrorBox(GetActiveWindow(), L"%s", denied ? kNotAdministratorText : L"TAVIX Vbus is not ready yet.");
}

void ShowLogStatistics(const LogCfg_st& log) {
    wchar_t text[kLogStatisticsChars];
    FormatLogStatistics(log, text);
    MsgBoxKind(nullptr, kMessageInformation, GetActiveWindow(), L"%s", text);
}

void SetLogLevel(LogCfg_st& log, int32_t level, bool fresh) {
    const uint32_t enabled = level > 0 ? 1 : 0;
    log.fileLogging = (log.fileLogging & ~uint32_t{0xFF}) | enabled;  // the upper bytes are the driver's
    for (int32_t& each : log.levels)
        each = level;
    log.freshLog = fresh ? 1 : 0;
}

DWORD ChangeLogging(HANDLE vbus, int32_t level, bool fresh, bool showStatistics) {
    LogCfg_st log = {};
    const DWORD error = VbusQuery(vbus, IOCTL_TAVIX_GetLogCfg, nullptr, 0, log);
    if (error != ERROR_SUCCESS) return error;
    if (showStatistics) ShowLogStatistics(log);
    SetLogLevel(log, level, fresh);
    return VbusIoctl(vbus, IOCTL_TAVIX_SetLogCfg, &log, sizeof(log), nullptr, 0);
}

}  // namespace

void FormatDriverVersion(const DriverVersion_st& version, wchar_t (&text)[kDriverVersionTextChars]) noexcept {
    xfmt(text, kDriverVersionTextChars, L"TAVIX %d.%d.%d%s", version.major, version.minor, version.build,
         version.debugBuild != 0 ? L" (Debug)" : L"");
}

bool GetDriverVersionText(uint32_t* packedVersion, wchar_t (&text)[kDriverVersionTextChars],
                          DWORD* error) noexcept {
    DriverVersion_st version = {};
    const DWORD result = QueryVersion(OpenVbus(), version);
    StoreError(error, result);
    if (result != ERROR_SUCCESS) return false;
    if (packedVersion != nullptr) *packedVersion = PackVersion(version);
    FormatDriverVersion(version, text);
    return true;
}

uint32_t GetDriverVersionNumber(DWORD* error) noexcept {
    DriverVersion_st version = {};
    const DWORD result = QueryVersion(OpenVbusForDiagnosis(), version);
    StoreError(error, result);
    return result == ERROR_SUCCESS ? PackVersion(version) : 0;
}

DWORD QueryLogCfg(LogCfg_st& log) noexcept {
    DWORD error = ERROR_SUCCESS;
    const FileHandle vbus = OpenVbus(&error);
    return vbus ? VbusQuery(vbus.get(), IOCTL_TAVIX_GetLogCfg, nullptr, 0, log) : error;
}

bool IsFileLoggingOn() noexcept {
    LogCfg_st log = {};
    return QueryLogCfg(log) == ERROR_SUCCESS && log.fileLogging != 0;
}

bool tavo_EnableFileLogging(int32_t level, bool fresh, bool showStatistics) noexcept {
    DWORD error = ERROR_SUCCESS;
    const FileHandle vbus = OpenVbus(&error);
    if (vbus) {
        error = ChangeLogging(vbus.get(), level, fresh, showStatistics);
    } else {
        ShowOpenFailure(error);
    }
    if (error != ERROR_SUCCESS) SetLastError(error);
    return error == ERROR_SUCCESS;
}

DWORD ChangeFileLogging(HANDLE vbus, int32_t level, bool fresh) noexcept {
    return ChangeLogging(vbus, level, fresh, false);
}

void FormatLogStatistics(const LogCfg_st& log, wchar_t (&text)[kLogStatisticsChars]) noexcept {
    // Multiplied as unsigned, so that a large watermark wraps around instead of overflowing.
    const int32_t hundredfold = static_cast<int32_t>(log.watermarkMaxReached * 100);
    const int32_t percent = log.logbufSize > 0 ? hundredfold / log.logbufSize : 0;
    xfmt(text, kLogStatisticsChars,
         L"logbuf_size=%d\nwatermark_max_reached=%d (%d%%)\n\n"
         L"bytes_append=%lld\ncount_appends=%lld\ncount_filesysop=%lld\n\n"
         L"bytes_overrun=%lld\ncount_overrun=%lld\n",
         log.logbufSize, log.watermarkMaxReached, percent, log.bytesAppend, log.countAppends,
         log.countFilesysop, log.bytesOverrun, log.countOverrun);
}
