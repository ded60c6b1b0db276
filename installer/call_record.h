// The four arguments of one call of the module's entry, for its handlers. All are borrowed for the call.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

struct CallRecord {
    DI_FUNCTION installFunction;
    HDEVINFO deviceSet;
    SP_DEVINFO_DATA* device;
    COINSTALLER_CONTEXT_DATA* context;
};
