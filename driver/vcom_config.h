// Reading and writing a VCOM's configuration together with the global settings that its page shows.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"

// What the VCOM page lets the user choose.
struct VcomCfg {
    wchar_t portName[kPortNameChars];
    uint32_t lifemode;  // VcomLifemode
    uint32_t bindMode;  // VcomBindMode
    bool serialNumberOnNames;
};

// The device is a VCOM or its USB device. Returns UfAppErr_VbusNotReady when the device has no usable
// instance ID or the Vbus cannot be opened, UfAppErr_BadParam when the request fails, the reply's own result,
// or UfAppErr_Unknown when the global settings cannot be read. The first two are also stored in reply.result.
// Otherwise a record is stored only when it was read whole.
UfAppErr tavo_GetVcomCfg(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, VcomCfgReply_st& reply,
                         GlobalCfg_st& global) noexcept;

// Reads as above (and returns its failure), then writes the VCOM and the two global settings, keeping all
// others. UfAppErr_AccessDenied when the VCOM may not be written, UfAppErr_Unknown when a write fails for
// another reason, otherwise the driver's result.
UfAppErr tavo_SetVcomCfg(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const VcomCfg& cfg) noexcept;

// Writes these two alone, without reading before. Results as above.
UfAppErr SetVcomPortAndLifemode(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const wchar_t* portName,
                                uint32_t lifemode) noexcept;
