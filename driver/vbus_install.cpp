#include "driver/vbus_install.h"

#include <setupapi.h>

#include "base/files.h"
#include "base/os_version.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"
#include "state/registry.h"

namespace {

constexpr wchar_t kFrameworkLoader[] = L"WDFLDR.SYS";

// Only the first instance of the node is looked at.
constexpr wchar_t kVbusProbeKey[] = L"SYSTEM\\CurrentControlSet\\Enum\\Root\\QRV_VBUS\\0000";
constexpr wchar_t kVbusProbeValue[] = L"ConfigFlags";

constexpr wchar_t kVbusName[] = L"QRV_VBUS";
constexpr wchar_t kVbusDescription[] = L"<Holmark TAVIX VBus>";
// The System device setup class.
constexpr GUID kVbusClass = {0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr wchar_t kVbusHardwareId[] = L"qrvtek_tavix_vbus";
// One NUL, not the two of a multi-string: deliberate, installed systems have it this way.
constexpr DWORD kVbusHardwareIdBytes = sizeof(kVbusHardwareId);
static_assert(kVbusHardwareIdBytes == 36);

bool VbusNodeExists() noexcept {
    RegValue flags;
    const DWORD error = ReadRegValue(HKEY_LOCAL_MACHINE, kVbusProbeKey, kVbusProbeValue, flags);
    // A number of the wrong size still counts as present.
    return error == ERROR_SUCCESS || error == ERROR_INVALID_DATA;
}

bool CreateVbusElement(HDEVINFO list, HWND parentWindow, SP_DEVINFO_DATA& vbus) noexcept {
    return SetupDiCreateDeviceInfoW(list, kVbusName, &kVbusClass, kVbusDescription, parentWindow,
                                    DICD_GENERATE_ID, &vbus) &&
           SetupDiSetDeviceRegistryPropertyW(list, &vbus, SPDRP_HARDWAREID,
                                             reinterpret_cast<const BYTE*>(kVbusHardwareId),
                                             kVbusHardwareIdBytes);
}

bool InstallVbusElement(HDEVINFO list, SP_DEVINFO_DATA& vbus) noexcept {
    if (!SetupDiCallClassInstaller(DIF_REGISTERDEVICE, list, &vbus)) return false;
    if (!SetupDiBuildDriverInfoList(list, &vbus, SPDIT_COMPATDRIVER)) return false;
    // A failure of these two shows in the installation itself.
    SetupDiCallClassInstaller(DIF_SELECTBESTCOMPATDRV, list, &vbus);
    SetupDiCallClassInstaller(DIF_REGISTER_COINSTALLERS, list, &vbus);
    if (!SetupDiCallClassInstaller(DIF_INSTALLDEVICE, list, &vbus)) return false;
    SP_DEVINSTALL_PARAMS_W parameters = {};
    parameters.cbSize = sizeof(parameters);
    SetupDiGetDeviceInstallParamsW(list, &vbus, &parameters);  // the answer is not used
    return true;
}

}  // namespace

void CopyWdfLoaderForLegacyOs() noexcept {
    if (!IsWinXpFamily()) return;
    wchar_t system[MAX_PATH];
    const UINT systemChars = GetSystemDirectoryW(system, MAX_PATH);
    wchar_t package[MAX_PATH];
    if (systemChars == 0 || systemChars >= MAX_PATH || GetPackageFolder(package, MAX_PATH) == nullptr) return;
    wchar_t source[MAX_PATH];
    xfmt(source, MAX_PATH, L"%s\\drivers\\%s", system, kFrameworkLoader);
    wchar_t destination[MAX_PATH];
    xfmt(destination, MAX_PATH, L"%s\\%s", package, kFrameworkLoader);
    CopyFileW(source, destination, FALSE);
}

bool EnsureVbusDevice(HWND parentWindow) noexcept {
    CopyWdfLoaderForLegacyOs();
    if (VbusNodeExists()) return true;
    const DeviceInfoList list(SetupDiCreateDeviceInfoList(&kVbusClass, nullptr));
    if (!list) return false;
    SP_DEVINFO_DATA vbus = {};
    vbus.cbSize = sizeof(vbus);
    return CreateVbusElement(list.get(), parentWindow, vbus) && InstallVbusElement(list.get(), vbus);
}
