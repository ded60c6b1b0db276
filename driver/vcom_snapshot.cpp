#include "driver/vcom_snapshot.h"

#include "base/bounded_text.h"
#include "driver/vbus.h"
#include "driver/vcom_config.h"

namespace {

// Returns the error of opening the Vbus. A missing version is no reason to stop.
DWORD ReadVersion(VcomSnapshot& shown) noexcept {
    DWORD openError = ERROR_SUCCESS;
    CopyBounded(shown.version, kDriverVersionTextChars, kNoDriverVersionText);
    const FileHandle vbus = OpenVbus(&openError);
    if (!vbus) return openError;
    DriverVersion_st version = {};
    shown.versionError = VbusQuery(vbus.get(), IOCTL_TAVIX_GetDriverVersion, nullptr, 0, version);
    if (shown.versionError == ERROR_SUCCESS) FormatDriverVersion(version, shown.version);
    return ERROR_SUCCESS;
}

void ReadFileLogging(VcomSnapshot& shown) noexcept {
    LogCfg_st log = {};
    shown.loggingError = QueryLogCfg(log);
    shown.fileLogging = log.fileLogging != 0;
}

}  // namespace

VcomName ReadVcomName(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept {
    VcomName name = {};
    name.present = GetDevNodeStatus(*device);
    name.known = GetDeviceFriendlyName(deviceSet, device, name.text);
    return name;
}

VcomSnapshot ReadVcomSnapshot(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept {
    VcomSnapshot shown = {};
    shown.name = ReadVcomName(deviceSet, device);
    if (!shown.name.known) return shown;
    shown.openError = ReadVersion(shown);
    if (shown.openError != ERROR_SUCCESS) return shown;
    shown.configError = tavo_GetVcomCfg(deviceSet, device, shown.config, shown.global);
    shown.readOnly = IsVbusReadOnly();
    if (shown.configError == UfAppErr_Success) ReadFileLogging(shown);
    return shown;
}
