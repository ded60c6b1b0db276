#include "state/registry.h"

#include "base/heap_array.h"
#include "base/win32_handle.h"

namespace {

// Nearly every value fits, and is then read with one call and without allocating.
constexpr DWORD kFirstTryBytes = 512;
// Another program may enlarge the value between the calls.
constexpr int kMaxTries = 8;

DWORD QueryLargeValue(HKEY key, const wchar_t* name, DWORD dataBytes, RegValue& value) {
    HeapArray<BYTE> data;
    for (int i = 0; i < kMaxTries; ++i) {
        if (!data.Resize(dataBytes)) return ERROR_NOT_ENOUGH_MEMORY;
        DWORD type = REG_NONE;
        const LSTATUS status = RegQueryValueExW(key, name, nullptr, &type, data.data(), &dataBytes);
        if (status == ERROR_SUCCESS) return DecodeRegValue(type, data.data(), dataBytes, value);
        if (status != ERROR_MORE_DATA) return static_cast<DWORD>(status);
    }
    return ERROR_MORE_DATA;
}

DWORD OpenForWriting(HKEY root, const wchar_t* subkey, bool createIfMissing, RegistryKey& key) {
    if (RegOpenKeyExW(root, subkey, 0, KEY_ALL_ACCESS, key.put()) == ERROR_SUCCESS) return ERROR_SUCCESS;
    if (!createIfMissing) return ERROR_PATH_NOT_FOUND;
    return static_cast<DWORD>(RegCreateKeyW(root, subkey, key.put()));
}

bool ValueExists(HKEY key, const wchar_t* name) {
    return RegQueryValueExW(key, name, nullptr, nullptr, nullptr, nullptr) != ERROR_FILE_NOT_FOUND;
}

}  // namespace

DWORD QueryValue(HKEY key, const wchar_t* name, RegValue& value) noexcept {
    BYTE data[kFirstTryBytes];
    DWORD dataBytes = sizeof(data);
    DWORD type = REG_NONE;
    const LSTATUS status = RegQueryValueExW(key, name, nullptr, &type, data, &dataBytes);
    if (status == ERROR_SUCCESS) return DecodeRegValue(type, data, dataBytes, value);
    if (status == ERROR_MORE_DATA) return QueryLargeValue(key, name, dataBytes, value);
    return static_cast<DWORD>(status);
}

DWORD ReadRegValue(HKEY root, const wchar_t* subkey, const wchar_t* name, RegValue& value) noexcept {
    RegistryKey key;
    const LSTATUS status = RegOpenKeyExW(root, subkey, 0, KEY_READ, key.put());
    if (status != ERROR_SUCCESS) return static_cast<DWORD>(status);
    return QueryValue(key.get(), name, value);
}

DWORD WriteRegValue(HKEY root, const wchar_t* subkey, const wchar_t* name, const RegValue& value,
                    bool createIfMissing, uint8_t* wasNew) noexcept {
    RegistryKey key;
    // A value that cannot be written must not leave a new, empty key.
    const bool mayCreate = createIfMissing && IsWritableRegType(value.type);
    DWORD error = OpenForWriting(root, subkey, mayCreate, key);
    if (error != ERROR_SUCCESS) return error;

    if (wasNew != nullptr) *wasNew = ValueExists(key.get(), name) ? 0 : 1;

    EncodedRegValue encoded;
    error = EncodeRegValue(value, encoded);
    if (error != ERROR_SUCCESS) return error;
    return static_cast<DWORD>(
        RegSetValueExW(key.get(), name, 0, encoded.type, encoded.data, encoded.dataBytes));
}
