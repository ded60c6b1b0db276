// USB error statistics of one VCOM's USB device: asking the driver for the record, judging it, and its text.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"

// How the USB device is doing, worst last.
enum UsbErrState : int32_t {
    kUsbErrNone = 0,
    kUsbErrPastRecovery = 1,  // nothing counted since last online, but recovery actions were taken before
    kUsbErrRecovered = 2,
    kUsbErrRecovering = 3,
};

// Asks the driver for the record of the VCOM (or USB device) that the element names. Returns a Windows error,
// 0 on success; 1167 when the driver side is gone. On failure the record holds no counters (all zero but the
// preset header word), on a short reply zeros after what came.
DWORD QueryUsbErrStat(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, UsbErrStat_st& record) noexcept;
// The same by the device's name, taken earlier.
DWORD QueryUsbErrStat(const DeviceName_st& name, UsbErrStat_st& record) noexcept;

// Sum of the error counters, modulo 2^32 as it is shown.
uint32_t SumUsbErrCounters(const UsbErrStat_st& record) noexcept;

UsbErrState JudgeUsbErrStat(const UsbErrStat_st& record) noexcept;

// Writes the report of at most 1999 characters (cut to the capacity, terminator included) with CR LF line
// ends and local times; stores the counters' sum in *total when asked. Returns the error state.
UsbErrState FormatUsbErrStat(const UsbErrStat_st& record, uint32_t* total, wchar_t* text,
                             int32_t textChars) noexcept;
