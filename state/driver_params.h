// The Parameters key of the driver's service. The driver's installation makes the key; nothing here creates
// it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/windows_api.h"

// Below HKEY_LOCAL_MACHINE.
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

// The default also answers for a value of another type, so that a stray string never becomes a setting.
DWORD ReadParamDword(const wchar_t* name, DWORD defaultNumber) noexcept;

// Returns the code of WriteRegValue: 3 (ERROR_PATH_NOT_FOUND) when the key is missing or not ours to write.
DWORD WriteParamDword(const wchar_t* name, DWORD number) noexcept;

// Nothing when the value is missing or not REG_MULTI_SZ.
std::optional<std::vector<std::wstring>> ReadParamStringList(const wchar_t* name) noexcept;
