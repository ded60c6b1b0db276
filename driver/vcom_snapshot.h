// Everything that is shown of a VCOM, read in one go and without a window.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/device_info.h"
#include "driver/driver_info.h"
#include "driver/error_names.h"
#include "driver/protocol.h"

struct VcomName {
    bool present;  // plugged in, says the system
    bool known;    // otherwise the text is empty
    wchar_t text[kFriendlyNameChars];
};

VcomName ReadVcomName(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept;

// Read in this order. Without a name the driver is not asked; without a bus or a configuration reading ends
// there. What was not read is zero.
struct VcomSnapshot {
    VcomName name;
    DWORD openError;                           // of opening the Vbus, ERROR_NOT_READY when there is none
    DWORD versionError;                        // of the version request
    wchar_t version[kDriverVersionTextChars];  // kNoDriverVersionText when there is no version
    bool readOnly;                             // the Vbus does not take changes from this process
    UfAppErr configError;
    VcomCfgReply_st config;
    GlobalCfg_st global;
    DWORD loggingError;
    bool fileLogging;
};

VcomSnapshot ReadVcomSnapshot(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept;
