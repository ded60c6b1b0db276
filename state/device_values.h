// Values in a device node's registry keys, where the driver keeps what it knows about one device.
//
// `keyType` is DIREG_DEV for the hardware key or DIREG_DRV for the software key; keys are opened for reading.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

#include <setupapi.h>

#include "state/reg_value.h"

// Values of a USB device's hardware key.
inline constexpr wchar_t kDevNowHuid[] = L"NowHuid";  // REG_SZ: the device's identity in the driver
// REG_QWORD: time of the last successful start, milliseconds since 1970-01-01 UTC.
inline constexpr wchar_t kDevLastStartupSuccess[] = L"UsbdLastStartupSuccessUemsec";
// Counters over the life of the device, read as 64-bit numbers.
inline constexpr wchar_t kDevHistOfflines[] = L"histUsbdOfflines";
inline constexpr wchar_t kDevHistUsbOutErrors[] = L"histUsbOUTerrors";
inline constexpr wchar_t kDevHistUsbInErrors[] = L"histUsbINerrors";
inline constexpr wchar_t kDevHistVcomWriteDiscards[] = L"histVcomWriteDiscards";
inline constexpr wchar_t kDevHistUsbWrittenBytes[] = L"histUsbWrittenBytes";
inline constexpr wchar_t kDevHistUsbReadDiscards[] = L"histUsbReadDiscards";
inline constexpr wchar_t kDevHistUsbReadBytes[] = L"histUsbReadBytes";

// Returns a Win32 or SetupAPI code, 0 for success; `value` is untouched on failure.
DWORD ReadDevRegValue(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType, const wchar_t* name,
                      RegValue& value) noexcept;

// These return the default for a missing key or value and for a value of another type.
DWORD ReadDevDword(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType, const wchar_t* name,
                   DWORD defaultNumber) noexcept;
uint64_t ReadDevQword(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType, const wchar_t* name,
                      uint64_t defaultNumber) noexcept;

// Copies a REG_SZ value, cut to `bufferChars` with its terminator, and returns the buffer. Null, with the
// buffer untouched, for a missing key or value and for a value of another type.
wchar_t* ReadDevString(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD keyType, const wchar_t* name,
                       wchar_t* buffer, DWORD bufferChars) noexcept;
