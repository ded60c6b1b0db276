// Typed reading and writing of registry values, for every file that needs the registry.
//
// All functions return a Win32 code, 0 for success, and leave their outputs untouched on failure.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

#include "state/reg_value.h"

// ERROR_INVALID_DATA when a stored number does not have the size of its type.
DWORD QueryValue(HKEY key, const wchar_t* name, RegValue& value) noexcept;

// Opens the key for reading, queries and closes.
DWORD ReadRegValue(HKEY root, const wchar_t* subkey, const wchar_t* name, RegValue& value) noexcept;

// Stores the value in one step, so that a reader at the same time sees the old or the new one. A key that
// cannot be opened is created when `createIfMissing` is set, otherwise the result is 3
// (ERROR_PATH_NOT_FOUND). A type that cannot be written gives ERROR_UNSUPPORTED_TYPE, a list too large for
// memory 0xC0000017; then nothing is written. *wasNew becomes 1 when the opened key had no such value before,
// otherwise 0.
DWORD WriteRegValue(HKEY root, const wchar_t* subkey, const wchar_t* name, const RegValue& value,
                    bool createIfMissing, uint8_t* wasNew = nullptr) noexcept;
