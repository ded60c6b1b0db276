// The two pages of a sheet that the viewer itself brings: what the device is, and what the registry says of
// it.
#pragma once

#include "base/windows_api.h"

#include <prsht.h>
#include <setupapi.h>

// The borrowed element of the sheet; it outlives the pages.
struct SheetDevice {
    HDEVINFO set;
    SP_DEVINFO_DATA* element;
};

// Null on want of memory. `device` must outlive the page.
HPROPSHEETPAGE CreateGeneralPage(const SheetDevice& device);
HPROPSHEETPAGE CreateDetailsPage(const SheetDevice& device);
