// From a USB device to its VCOM and back.
#pragma once

#include <cstdint>

#include "base/heap_text.h"
#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"

// A VCOM's device instance ID is this, a backslash and the Huid of its USB device.
inline constexpr wchar_t kVcomInstanceIdStem[] = L"QRV_VBUS\\Qrv_vcom";

// Reads the USB device's Huid, cut to the buffer. False, with an empty text, when the driver has not mapped
// the device.
bool GetHuid(HDEVINFO deviceSet, SP_DEVINFO_DATA* usbDevice, wchar_t (&huid)[kDeviceNameChars]) noexcept;

// Finds the VCOM of a USB device. Both buffers are optional; texts are cut to them, terminator included.
// Without a port-name buffer the driver is only opened, not asked. Returns UfAppErr_VbusNotReady when the
// Vbus cannot be opened, UfAppErr_NoVcomYet when there is no Huid, UfAppErr_BadParam when the request fails,
// or the reply's own result. The Huid is stored as soon as it is known, the port name only on success.
UfAppErr tavo_QueryVComFromUsbd(HDEVINFO deviceSet, SP_DEVINFO_DATA* usbDevice, wchar_t* huidBuffer,
                                DWORD huidChars, wchar_t* portNameBuffer, DWORD portNameChars) noexcept;

// Finds the device instance path of a VCOM's USB device. Returns UfAppErr_NoVcomYet when the VCOM's instance
// ID cannot be read, UfAppErr_VbusNotReady when the Vbus cannot be opened, UfAppErr_Unknown when the request
// fails or the record has another size, UfAppErr_UsbDeviceOffline when the path is empty, UfAppErr_NoMem when
// it cannot be stored.
UfAppErr GetUsbdPathOfVcom(HDEVINFO deviceSet, SP_DEVINFO_DATA* vcom, HeapText& usbdPath) noexcept;

// Results of QueryUsbdDevinstPath beside UfAppErr codes.
inline constexpr int kDevinstPathBufferTooSmall = 20;
// What it reports as characters returned when the request fails.
inline constexpr DWORD kDevinstPathUnknownChars = 1000;

// Asks the driver which USB device instance belongs to a VCOM instance path. The buffer's text is terminated,
// cut when the driver filled it completely. *charsReturned (optional) counts what the driver returned, at
// most bufferChars, or is kDevinstPathUnknownChars when the request fails. Returns 0, 7 when the Vbus cannot
// be opened, 9 when the USB device is offline, 20 when the buffer is too small, 2 for any other failure.
int QueryUsbdDevinstPath(const wchar_t* vcomInstancePath, wchar_t* buffer, DWORD bufferChars,
                         DWORD* charsReturned = nullptr) noexcept;

// The same with texts of the system code page; *charsReturned still counts the driver's characters. A reply
// that does not fit after its conversion gives 20 as well.
int QueryUsbdDevinstPathA(const char* vcomInstancePath, char* buffer, DWORD bufferBytes,
                          DWORD* charsReturned = nullptr) noexcept;
