#include "bench/raw_request.h"

#include "driver/protocol.h"

namespace {

constexpr GUID kVbusGuid = {0x20161207, 0x6A0C, 0x11D2, {0xB8, 0x41, 0x00, 0xC0, 0x4F, 0xAD, 0x51, 0x71}};

}  // namespace

DWORD RawNamedRequest(const wchar_t* deviceName, uint32_t code, void* reply, DWORD replyBytes) {
    const HDEVINFO set =
        SetupDiGetClassDevsW(&kVbusGuid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    SP_DEVICE_INTERFACE_DATA found = {};
    found.cbSize = sizeof(found);
    alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_W) BYTE storage[1000];
    auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(storage);
    detail->cbSize = sizeof(*detail);
    SetupDiEnumDeviceInterfaces(set, nullptr, &kVbusGuid, 0, &found);
    SetupDiGetDeviceInterfaceDetailW(set, &found, detail, sizeof(storage), nullptr, nullptr);
    SetupDiDestroyDeviceInfoList(set);
    wchar_t name[kDeviceNameChars] = {};
    lstrcpynW(name, deviceName, kDeviceNameChars);
    DWORD bytesReturned = 0;
    const HANDLE vbus = CreateFileW(detail->DevicePath, GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    DeviceIoControl(vbus, code, name, sizeof(name), reply, replyBytes, &bytesReturned, nullptr);
    CloseHandle(vbus);
    return bytesReturned;
}

DWORD RawDeviceRequest(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, uint32_t code, void* reply,
                       DWORD replyBytes) {
    wchar_t instanceId[1000];
    SetupDiGetDeviceInstanceIdW(deviceSet, device, instanceId, 1000, nullptr);
    return RawNamedRequest(wcschr(instanceId, L'\\') + 1, code, reply, replyBytes);
}
