// The module's one export: called by the device installer once per installation function and node.
#pragma once

#include "base/windows_api.h"

#include <setupapi.h>

// Returns NO_ERROR, or ERROR_DI_POSTPROCESSING_REQUIRED for the first pass of installing a VCOM: what fails
// inside must not keep the class installer from its own work.
extern "C" DWORD CALLBACK TavixCoInstaller(DI_FUNCTION installFunction, HDEVINFO deviceSet,
                                           SP_DEVINFO_DATA* device,
                                           COINSTALLER_CONTEXT_DATA* context) noexcept;
