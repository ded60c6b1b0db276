// A registry value with its type, and its conversion from and to the bytes that the registry stores.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/heap_array.h"
#include "base/heap_text.h"
#include "base/windows_api.h"

// `type` says which member holds the data.
struct RegValue {
    DWORD type = REG_NONE;
    uint32_t number32 = 0;  // REG_DWORD
    uint64_t number64 = 0;  // REG_QWORD
    HeapText text;          // REG_SZ, REG_EXPAND_SZ
    HeapText list;          // REG_MULTI_SZ: the items, each with its NUL, as a MultiString walks them
    HeapArray<BYTE> bytes;  // REG_BINARY; after a read also the data of a type not named here

    static RegValue Dword(uint32_t number) noexcept;
    static RegValue Qword(uint64_t number) noexcept;
    // Makes the value a REG_SZ. False, with the value as it was, when there is no memory.
    [[nodiscard]] bool SetString(std::wstring_view newText) noexcept;
};

// Fills `value` from stored bytes. Any program may have stored them: texts end at their first NUL or at the
// end of the data, lists at their first empty string or at the end of the data, an odd last byte is ignored.
// Returns 0, ERROR_INVALID_DATA when a number does not have the size of its type, or ERROR_NOT_ENOUGH_MEMORY;
// then `value` is untouched.
DWORD DecodeRegValue(DWORD type, const BYTE* data, size_t dataBytes, RegValue& value) noexcept;

// What to store for a value. `data` points into the value or into `listText`: both must outlive its use.
struct EncodedRegValue {
    DWORD type = REG_NONE;
    const BYTE* data = nullptr;
    DWORD dataBytes = 0;
    HeapArray<wchar_t> listText;
};

bool IsWritableRegType(DWORD type) noexcept;

// REG_EXPAND_SZ is stored as REG_SZ. Returns 0, ERROR_UNSUPPORTED_TYPE for a type that IsWritableRegType
// rejects, or 0xC0000017 (STATUS_NO_MEMORY) when memory runs out or the data is larger than the registry can
// take.
DWORD EncodeRegValue(const RegValue& value, EncodedRegValue& encoded) noexcept;
