#include "sim/viewer/device_actions.h"

#include <optional>
#include <string>
#include <vector>

#include <cfgmgr32.h>

#include "sim/client/plugging.h"

namespace {

constexpr int kMostSerials = 99;
constexpr DWORD kConnectMs = 2000;
constexpr int32_t kUnsuccessful = static_cast<int32_t>(0xC0000001);

bool IsSameId(const std::wstring& left, const wchar_t* right) {
    return _wcsicmp(left.c_str(), right) == 0;
}

// Empty also when no driver runs yet: nothing is plugged then.
std::vector<SimDeviceState_st> PluggedDevices() {
    SimulatedDriver driver;
    std::vector<SimDeviceState_st> devices;
    if (driver.Connect() == ERROR_SUCCESS) driver.ListDevices(devices);
    std::erase_if(devices, [](const SimDeviceState_st& device) { return device.plugged == 0; });
    return devices;
}

std::optional<UsbIdentity> NextIdentity() {
    const std::vector<SimDeviceState_st> plugged = PluggedDevices();
    for (int serial = 1; serial <= kMostSerials; ++serial) {
        UsbIdentity identity;
        identity.serial = (serial < 10 ? L"SN0" : L"SN") + std::to_wstring(serial);
        const std::wstring id = identity.InstanceId();
        bool taken = false;
        for (const SimDeviceState_st& device : plugged)
            taken = taken || IsSameId(id, device.instanceId);
        if (!taken) return identity;
    }
    return std::nullopt;
}

}  // namespace

DWORD ScanForHardwareChanges() {
    DEVINST root = 0;
    const CONFIGRET located = CM_Locate_DevNodeW(&root, nullptr, CM_LOCATE_DEVNODE_NORMAL);
    if (located != CR_SUCCESS) return ERROR_CALL_NOT_IMPLEMENTED;
    return CM_Reenumerate_DevNode(root, 0) == CR_SUCCESS ? ERROR_SUCCESS : ERROR_CALL_NOT_IMPLEMENTED;
}

DWORD UninstallDevice(const std::wstring& instanceId) {
    return RemoveNode(instanceId);
}

DWORD PlugNextDevice() {
    const std::optional<UsbIdentity> identity = NextIdentity();
    return identity ? PlugUsbDevice(*identity) : ERROR_NO_MORE_ITEMS;
}

DWORD UnplugDevice(const std::wstring& instanceId) {
    const std::vector<SimDeviceState_st> plugged = PluggedDevices();
    if (plugged.empty()) return ERROR_DEVICE_NOT_CONNECTED;
    for (const SimDeviceState_st& device : plugged)
        if (IsSameId(instanceId, device.instanceId) || IsSameId(instanceId, device.vcomInstanceId))
            return UnplugUsbDevice(device.instanceId);
    return UnplugUsbDevice(plugged.back().instanceId);
}

DWORD FailNextRequest() {
    SimulatedDriver driver;
    const DWORD error = driver.Connect(kConnectMs);
    return error == ERROR_SUCCESS ? driver.FailNext(0, kUnsuccessful) : error;
}
