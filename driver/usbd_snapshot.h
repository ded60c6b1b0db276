// What the system, the driver and the error log know about one USB device at one moment. Read without a
// window, so that showing it sends no request.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"
#include "state/usberr_log.h"

struct UsbdSnapshot {
    bool present = false;
    ULONG problem = 0;  // CM_PROB code, 0 for none

    // Why the device's VCOM could not be found; the port name is empty then, and may be empty on success.
    uint32_t mappingError = UfAppErr_VbusNotReady;
    wchar_t portName[kPortNameChars] = {};

    // Asked for only when the device works and is mapped; otherwise, and without an answer, kUsbSpeedUnknown.
    uint32_t speed = kUsbSpeedUnknown;

    UsberrLog log;

    bool IsWorking() const noexcept { return present && problem == 0; }
    bool IsMapped() const noexcept { return mappingError == UfAppErr_Success; }
};

// Sends at most two requests: one for the mapping, one for the speed. False when the path of the device's log
// is unknown; speed and log are then unread.
bool ReadUsbdSnapshot(HDEVINFO deviceSet, SP_DEVINFO_DATA* usbDevice, UsbdSnapshot& snapshot) noexcept;
