#include "state/device_values.h"

#include "base/bounded_text.h"
#include "base/last_error.h"
#include "base/win32_handle.h"
#include "state/registry.h"

namespace {

// SetupDiOpenDevRegKey fails with INVALID_HANDLE_VALUE where the registry's own functions fail with null.
RegistryKey OpenDeviceKey(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType) {
    const HKEY key = SetupDiOpenDevRegKey(deviceSet, device, DICS_FLAG_GLOBAL, 0, keyType, KEY_READ);
    return RegistryKey(key == INVALID_HANDLE_VALUE ? nullptr : key);
}

}  // namespace

DWORD ReadDevRegValue(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType, const wchar_t* name,
                      RegValue& value) noexcept {
    const RegistryKey key = OpenDeviceKey(deviceSet, device, keyType);
    if (!key) return FailureCode();
    return QueryValue(key.get(), name, value);
}

DWORD ReadDevDword(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType, const wchar_t* name,
                   DWORD defaultNumber) noexcept {
    RegValue value;
    if (ReadDevRegValue(deviceSet, device, keyType, name, value) != ERROR_SUCCESS) return defaultNumber;
    return value.type == REG_DWORD ? value.number32 : defaultNumber;
}

uint64_t ReadDevQword(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType, const wchar_t* name,
                      uint64_t defaultNumber) noexcept {
    RegValue value;
    if (ReadDevRegValue(deviceSet, device, keyType, name, value) != ERROR_SUCCESS) return defaultNumber;
    return value.type == REG_QWORD ? value.number64 : defaultNumber;
}

wchar_t* ReadDevString(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType, const wchar_t* name,
                       wchar_t* buffer, DWORD bufferChars) noexcept {
    RegValue value;
    if (ReadDevRegValue(deviceSet, device, keyType, name, value) != ERROR_SUCCESS) return nullptr;
    if (value.type != REG_SZ || bufferChars == 0) return nullptr;
    CopyBounded(buffer, bufferChars, value.text.view());
    return buffer;
}
