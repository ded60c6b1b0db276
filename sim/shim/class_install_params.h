// Class-install parameters, which Wine neither stores nor returns: kept here per device information set and
// element.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

// As SetupDiSetClassInstallParamsW: null parameters with size 0 remove what is stored. `element` null stands
// for the set itself. Sizes in bytes.
BOOL WINAPI SetClassInstallParams(HDEVINFO set, PSP_DEVINFO_DATA element, PSP_CLASSINSTALL_HEADER params,
                                  DWORD paramsBytes);

// As SetupDiGetClassInstallParamsW: ERROR_NO_CLASSINSTALL_PARAMS when none are stored,
// ERROR_INVALID_USER_BUFFER when the caller's header has another size, ERROR_INSUFFICIENT_BUFFER with the
// required size when the buffer is too small.
BOOL WINAPI GetClassInstallParams(HDEVINFO set, PSP_DEVINFO_DATA element, PSP_CLASSINSTALL_HEADER params,
                                  DWORD paramsBytes, PDWORD requiredBytes);

// Drops what is stored for the set and all its elements.
void ForgetClassInstallParams(HDEVINFO set);
