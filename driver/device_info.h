// What is known about one device: its properties and presence, and the driver's information.
#pragma once

#include <cstdint>

#include "base/heap_text.h"
#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"

// A SPDRP_ property as text: REG_SZ as it is, REG_DWORD as "0x%X". False on failure, with `text` untouched;
// *error then holds the code, ERROR_NO_DATA for a property of another type; it is 0 on success.
bool GetDeviceRegistryText(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD property, HeapText& text,
                           DWORD* error = nullptr) noexcept;

inline constexpr size_t kFriendlyNameChars = 100;

// SPDRP_FRIENDLYNAME, cut to the buffer. False, with the buffer untouched, when it cannot be read.
bool GetDeviceFriendlyName(HDEVINFO deviceSet, SP_DEVINFO_DATA* device,
                           wchar_t (&name)[kFriendlyNameChars]) noexcept;

// True when the device is present. *problem then holds its CM_PROB code, 0 for none.
bool GetDevNodeStatus(const SP_DEVINFO_DATA& device, ULONG* problem = nullptr) noexcept;

// Asks the driver about a USB device, named by itself or by its VCOM. Every text of the record is terminated.
// Returns a Windows error, 0 for success, ERROR_DEVICE_NOT_CONNECTED when the driver's side is gone,
// kWrongReplyLength (driver/vbus.h) when the driver returned another number of bytes; then `info` is
// untouched.
DWORD GetUsbdInfo(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, UsbdInfo_st& info) noexcept;

// The longest text of such a record: five texts of up to 128 characters and their labels.
inline constexpr int32_t kUsbdInfoTextChars = 1200;
void FormatUsbdInfo(const UsbdInfo_st& info, wchar_t (&text)[kUsbdInfoTextChars]) noexcept;

// UsbSpeed of a USB device; 0 when it is not mapped to a VCOM or the driver does not answer.
uint32_t GetUsbSpeed(HDEVINFO deviceSet, SP_DEVINFO_DATA* usbDevice) noexcept;

// ID of the process that has opened the VCOM; 0 for none and on any failure.
DWORD GetVcomOpenerPid(HDEVINFO deviceSet, SP_DEVINFO_DATA* vcom) noexcept;
