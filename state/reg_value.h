// A registry value with its type, and its translation from and to the bytes that the registry keeps.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/windows_api.h"

// `type` tells which member holds the data.
struct RegValue {
    DWORD type = REG_NONE;
    uint32_t number32 = 0;           // REG_DWORD
    uint64_t number64 = 0;           // REG_QWORD
    std::wstring text;               // REG_SZ, REG_EXPAND_SZ
    std::vector<std::wstring> list;  // REG_MULTI_SZ
    std::vector<BYTE> bytes;         // REG_BINARY; after a read also the data of a type not named here

    static RegValue Dword(uint32_t number);
    static RegValue Qword(uint64_t number);
    static RegValue String(std::wstring text);
};

// Fills `value` from stored bytes. Any program may have stored them: texts end at their first NUL or at the
// end of the data, lists at their first empty string or at the end of the data, an odd last byte is ignored.
// False, with `value` untouched, when a number does not have the size of its type. Throws std::bad_alloc.
bool DecodeRegValue(DWORD type, const BYTE* data, size_t dataBytes, RegValue& value);

// What to store for a value. `data` points into the value or into `listText`: both must outlive its use.
struct EncodedRegValue {
    DWORD type = REG_NONE;
    const BYTE* data = nullptr;
    DWORD dataBytes = 0;
    std::vector<wchar_t> listText;
};

bool IsWritableRegType(DWORD type) noexcept;

// REG_EXPAND_SZ is stored as REG_SZ. Returns 0, ERROR_UNSUPPORTED_TYPE for a type that IsWritableRegType
// denies, or 0xC0000017 (STATUS_NO_MEMORY) when the data is larger than memory or than the registry can be
// asked to take.
DWORD EncodeRegValue(const RegValue& value, EncodedRegValue& encoded) noexcept;
