// What the benchmarks of the property pages share: sheets with one page, and the requests that something
// costs.
#pragma once

#include "base/windows_api.h"

#include <prsht.h>

#include "sim/client/simulated_driver.h"

// A modeless sheet with a page of this program.
HWND OpenSheetWith(const PROPSHEETPAGEW& page);
PROPSHEETPAGEW PageOf(DLGPROC procedure, WORD templateId, const void* params);
// A page of the same size without controls.
HWND OpenEmptySheet();

// Prints the requests since the last call, under a name; forgets them.
void PrintRequests(SimulatedDriver& driver, const char* what);
