#include "driver/vbus.h"

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>

#include "base/bounded_text.h"
#include "base/last_error.h"

namespace {

constexpr GUID kVbusInterfaceGuid = std::bit_cast<GUID>(kVbusInterfaceClass);
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr size_t kDetailBytes = 1000;
constexpr size_t kDiagnosisDetailBytes = 260;
constexpr size_t kInstanceIdChars = 1000;

std::atomic<bool> g_readOnly = false;

// Storage for a SP_DEVICE_INTERFACE_DETAIL_DATA_W, which ends in a text of variable length.
template <size_t bytes>
union InterfaceDetail {
    SP_DEVICE_INTERFACE_DETAIL_DATA_W head;
    BYTE storage[bytes];

    static constexpr size_t kPathChars =
        (bytes - offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath)) / sizeof(wchar_t);
};

// Stores the path of the first Vbus, cut to `path`. Returns 0, ERROR_NOT_READY when there is none, or the
// error of the step that failed.
template <size_t detailBytes>
DWORD FindVbusPath(wchar_t (&path)[MAX_PATH]) {
    const DeviceInfoList interfaces(
        SetupDiGetClassDevsW(&kVbusInterfaceGuid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE));
    if (!interfaces) return FailureCode();

    SP_DEVICE_INTERFACE_DATA found = {};
    found.cbSize = sizeof(found);
    if (!SetupDiEnumDeviceInterfaces(interfaces.get(), nullptr, &kVbusInterfaceGuid, 0, &found)) {
        return ERROR_NOT_READY;
    }
    InterfaceDetail<detailBytes> detail = {.storage = {}};
    detail.head.cbSize = sizeof(detail.head);
    if (!SetupDiGetDeviceInterfaceDetailW(interfaces.get(), &found, &detail.head, detailBytes, nullptr,
                                          nullptr)) {
        return FailureCode();
    }
    wchar_t characters[InterfaceDetail<detailBytes>::kPathChars];
    std::memcpy(characters, detail.storage + offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath),
                sizeof(characters));
    CopyBounded(path, MAX_PATH, BoundedText(characters));
    return ERROR_SUCCESS;
}

FileHandle OpenPath(const wchar_t* path, DWORD access) {
    return FileHandle(CreateFileW(path, access, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
}

FileHandle OpenPathWithFallback(const wchar_t* path) {
    if (IsVbusReadOnly()) return OpenPath(path, GENERIC_READ);
    FileHandle vbus = OpenPath(path, GENERIC_READ | GENERIC_WRITE);
    if (vbus || GetLastError() != ERROR_ACCESS_DENIED) return vbus;
    vbus = OpenPath(path, GENERIC_READ);
    if (vbus) SetVbusReadOnly(true);
    return vbus;
}

}  // namespace

bool IsVbusReadOnly() noexcept {
    return g_readOnly.load(std::memory_order_relaxed);
}

void SetVbusReadOnly(bool readOnly) noexcept {
    g_readOnly.store(readOnly, std::memory_order_relaxed);
}

FileHandle OpenVbus(DWORD* status) noexcept {
    wchar_t path[MAX_PATH];
    DWORD error = FindVbusPath<kDetailBytes>(path);
    FileHandle vbus;
    if (error == ERROR_SUCCESS) {
        vbus = OpenPathWithFallback(path);
        if (!vbus) error = FailureCode();
    }
    if (status != nullptr) *status = error;
    if (!vbus) SetLastError(error);
    return vbus;
}

FileHandle OpenVbusForDiagnosis(bool forWriting) noexcept {
    wchar_t path[MAX_PATH];
    const DWORD error = FindVbusPath<kDiagnosisDetailBytes>(path);
    if (error != ERROR_SUCCESS) {
        SetLastError(error);
        return {};
    }
    return OpenPath(path, forWriting ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ);
}

DeviceName_st DeviceNameFromText(std::wstring_view name) noexcept {
    DeviceName_st field = {};
    CopyBounded(field.chars, kDeviceNameChars, name);
    return field;
}

bool GetDeviceName(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DeviceName_st& name) noexcept {
    wchar_t instanceId[kInstanceIdChars];
    if (!SetupDiGetDeviceInstanceIdW(deviceSet, device, instanceId, kInstanceIdChars, nullptr)) return false;
    const std::wstring_view id = BoundedText(instanceId);
    const size_t backslash = id.find(L'\\');
    if (backslash == std::wstring_view::npos) return false;
    std::wstring_view tail = id;
    tail.remove_prefix(backslash + 1);
    name = DeviceNameFromText(tail);
    return true;
}

DWORD VbusIoctl(HANDLE vbus, DWORD code, const void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                DWORD* bytesReturned) noexcept {
    DWORD count = 0;
    // The platform takes the input as non-const but only reads it.
    const BOOL done = DeviceIoControl(vbus, code, const_cast<void*>(input), inputBytes, output, outputBytes,
                                      &count, nullptr);
    const DWORD error = done ? ERROR_SUCCESS : FailureCode();
    if (bytesReturned != nullptr) *bytesReturned = count;
    return error;
}

DWORD cu_VbusDoSimpleIoctl(DWORD code, const void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                           DWORD* bytesReturned) noexcept {
    if (bytesReturned != nullptr) *bytesReturned = 0;
    const FileHandle vbus = OpenVbus();
    if (!vbus) return ERROR_DEVICE_NOT_CONNECTED;
    return VbusIoctl(vbus.get(), code, input, inputBytes, output, outputBytes, bytesReturned);
}

DWORD DoDeviceIoctl(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD code, void* output, DWORD outputBytes,
                    DWORD* bytesReturned) noexcept {
    DeviceName_st name = {};
    return DoDeviceIoctlEx(deviceSet, device, code, &name, sizeof(name), output, outputBytes, bytesReturned);
}

DWORD DoDeviceIoctlEx(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD code, void* input, DWORD inputBytes,
                      void* output, DWORD outputBytes, DWORD* bytesReturned) noexcept {
    if (bytesReturned != nullptr) *bytesReturned = 0;
    DeviceName_st name;
    if (input == nullptr || inputBytes < sizeof(name)) return ERROR_INVALID_PARAMETER;
    if (!GetDeviceName(deviceSet, device, name)) return ERROR_DEVICE_NOT_CONNECTED;
    std::memcpy(input, &name, sizeof(name));
    return cu_VbusDoSimpleIoctl(code, input, inputBytes, output, outputBytes, bytesReturned);
}
