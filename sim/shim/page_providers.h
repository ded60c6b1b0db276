// The property pages that a device's page providers add: the DLLs that the value "EnumPropPages32" names in
// the key of its class and in its driver key.
#pragma once

#include <vector>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <prsht.h>
#include <setupapi.h>

// Asks each provider for the pages of an advanced property sheet. The caller owns the pages; `libraries` must
// stay loaded as long as one of them lives.
std::vector<HPROPSHEETPAGE> CollectProvidersPages(HDEVINFO set, PSP_DEVINFO_DATA element,
                                                  std::vector<LoadedLibrary>& libraries);
