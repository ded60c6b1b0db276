// The Parameters key of the driver's service. The driver's installation creates the key; nothing here does.
#pragma once

#include <cstdint>

#include "base/heap_text.h"
#include "base/windows_api.h"

// Under HKEY_LOCAL_MACHINE.
inline constexpr wchar_t kDriverParametersKey[] =
    L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters";

// Every value of the key that this module reads or writes.
inline constexpr wchar_t kParamVmDetectDone[] = L"InitVMDetectDone";                          // REG_DWORD
inline constexpr wchar_t kParamVmwareProcesses[] = L"ListVMwareProcessNames";                 // REG_MULTI_SZ
inline constexpr wchar_t kParamVirtualboxProcesses[] = L"ListVirtualboxProcessNames";         // REG_MULTI_SZ
inline constexpr wchar_t kParamDropPartialBytes[] = L"isDropPartialBytesOnUsbError";          // REG_DWORD
inline constexpr wchar_t kParamClearInputDelayMinimum[] = L"ClearInputDelayMillisecMinimum";  // REG_DWORD, ms
inline constexpr wchar_t kParamVcomLifemode[] = L"GPV_VcomLifemode";                          // REG_DWORD
inline constexpr wchar_t kParamPersistentLogFile[] = L"UsePersistentLogFile";                 // REG_DWORD
inline constexpr wchar_t kParamExportVersion[] = L"ExportVersion";                            // REG_SZ
inline constexpr wchar_t kParamExportUnixEpoch[] = L"ExportUnixEpoch";                        // REG_QWORD, s

inline constexpr DWORD kVcomLifemodeDefault = 1;

// Returns the default also for a value of another type, so that a stray string never becomes a setting.
DWORD ReadParamDword(const wchar_t* name, DWORD defaultNumber) noexcept;

// Return the code of WriteRegValue: 3 (ERROR_PATH_NOT_FOUND) when the key is missing or may not be written, 8
// (ERROR_NOT_ENOUGH_MEMORY) for a text that needs more memory than there is.
DWORD WriteParamDword(const wchar_t* name, DWORD number) noexcept;
DWORD WriteParamQword(const wchar_t* name, uint64_t number) noexcept;
DWORD WriteParamText(const wchar_t* name, const wchar_t* text) noexcept;

// Reads a list as one block for MultiString to walk. False, with `list` untouched, when the value is missing
// or not REG_MULTI_SZ.
bool ReadParamStringList(const wchar_t* name, HeapText& list) noexcept;
