// Opening the virtual bus (Vbus) and sending it requests.
//
// Every operation opens the Vbus, sends its one or two requests and closes it again: no handle outlives a
// call. Requests are synchronous, on the calling thread, without a time-out. Results are Windows error codes,
// 0 for success. ERROR_DEVICE_NOT_CONNECTED (1167) is the universal sign that the driver's side is gone.
#pragma once

#include <string_view>
#include <type_traits>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"

// Opens for reading and writing. When that is denied, opens for reading and remembers it: from then on every
// call in this process asks for reading only. On failure the handle is empty and the error, ERROR_NOT_READY
// when there is no Vbus, is in *status and is the last error. *status is 0 on success.
FileHandle OpenVbus(DWORD* status = nullptr) noexcept;

// True once write access has been denied. Write requests of this process then fail with ERROR_ACCESS_DENIED.
bool IsVbusReadOnly() noexcept;
// The product only sets it; tests clear it.
void SetVbusReadOnly(bool readOnly) noexcept;

// For diagnostics: asks for exactly the given access and ignores the remembered read-only state. On failure
// the error is the last error, ERROR_NOT_READY when there is no Vbus.
FileHandle OpenVbusForDiagnosis(bool forWriting = false) noexcept;

// Cuts the name to the field with its terminator.
DeviceName_st DeviceNameFromText(std::wstring_view name) noexcept;

// The device instance ID after its first backslash. False, with `name` untouched, when the instance ID cannot
// be read or has no backslash.
bool GetDeviceName(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DeviceName_st& name) noexcept;

// One request on an open Vbus. The count of bytes returned is the driver's claim: check it before use. It is
// 0 when the request was not sent.
DWORD VbusIoctl(HANDLE vbus, DWORD code, const void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                DWORD* bytesReturned = nullptr) noexcept;

// The error of a reply that had to come whole and did not.
inline constexpr DWORD kWrongReplyLength = ERROR_INVALID_DATA;

// A reply shorter than its record is used as far as it goes, the rest is zero. The USB information must come
// whole, and so must the records that are read, changed and sent back: zeros must not overwrite settings.
template <typename Record>
inline constexpr bool kMustComeWhole =
    std::is_same_v<Record, UsbdInfo_st> || std::is_same_v<Record, GlobalCfg_st> ||
    std::is_same_v<Record, LogCfg_st>;

// What the reply buffer holds before the request.
template <typename Record>
inline constexpr Record kBlankRecord = {};
template <>
inline constexpr UsbErrStat_st kBlankRecord<UsbErrStat_st> = {.headerWord = kUsbErrStatHeaderWord};

// A request whose reply is one record, on an open Vbus. On failure `record` stays untouched.
template <typename Record>
DWORD VbusQuery(HANDLE vbus, DWORD code, const void* input, DWORD inputBytes, Record& record) noexcept {
    static_assert(kIsWireRecord<Record>);
    Record reply = kBlankRecord<Record>;
    DWORD bytesReturned = 0;
    const DWORD error = VbusIoctl(vbus, code, input, inputBytes, &reply, sizeof(reply), &bytesReturned);
    if (error != ERROR_SUCCESS) return error;
    if (kMustComeWhole<Record> && bytesReturned != sizeof(reply)) return kWrongReplyLength;
    record = reply;
    return ERROR_SUCCESS;
}

// The same for one device, opening and closing the Vbus; the device's name is the input. The name may have
// been taken earlier (GetDeviceName), for a caller that outlives the device list.
// ERROR_DEVICE_NOT_CONNECTED when the Vbus cannot be opened, and before anything is opened when the name is
// empty or the device has no usable instance ID.
template <typename Record>
DWORD DeviceQuery(const DeviceName_st& name, DWORD code, Record& record) noexcept {
    if (name.chars[0] == L'\0') return ERROR_DEVICE_NOT_CONNECTED;
    const FileHandle vbus = OpenVbus();
    if (!vbus) return ERROR_DEVICE_NOT_CONNECTED;
    return VbusQuery(vbus.get(), code, &name, sizeof(name), record);
}

template <typename Record>
DWORD DeviceQuery(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD code, Record& record) noexcept {
    DeviceName_st name = {};
    if (!GetDeviceName(deviceSet, device, name)) return ERROR_DEVICE_NOT_CONNECTED;
    return DeviceQuery(name, code, record);
}

// Opens the Vbus, sends one request, closes. ERROR_DEVICE_NOT_CONNECTED when the Vbus cannot be opened.
DWORD cu_VbusDoSimpleIoctl(DWORD code, const void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                           DWORD* bytesReturned = nullptr) noexcept;

// The same with the device's name as input. ERROR_DEVICE_NOT_CONNECTED, before anything is opened, also when
// the device has no usable instance ID.
DWORD DoDeviceIoctl(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD code, void* output, DWORD outputBytes,
                    DWORD* bytesReturned = nullptr) noexcept;

// The same for a larger input record, whose first 256 bytes receive the device's name.
// ERROR_INVALID_PARAMETER when the record has no room for it.
DWORD DoDeviceIoctlEx(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD code, void* input, DWORD inputBytes,
                      void* output, DWORD outputBytes, DWORD* bytesReturned = nullptr) noexcept;

// DoDeviceIoctl that shows an error box on failure: the formatted title, an empty line, then "Flowpath is
// lost." or the error with its name.
DWORD DoDeviceIoctlReport(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD code, void* output,
                          DWORD outputBytes, DWORD* bytesReturned, HWND owner, const wchar_t* titleFormat,
                          ...) noexcept;
