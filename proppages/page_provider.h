// The module's one export: Device Manager calls it for each device whose "EnumPropPages32" value names it,
// when it makes the property sheet of that device.
#pragma once

#include "base/windows_api.h"

#include <prsht.h>

// `request` is the SP_PROPSHEETPAGE_REQUEST of a device's advanced properties. Gives the page of the
// package's device to `addPage`, once, and returns TRUE when that has taken it. FALSE, with nothing left
// allocated, for any other request, for a device that is not ours, and for one whose page the coinstaller
// adds.
extern "C" BOOL CALLBACK TavixEnumPropPages(void* request, LPFNADDPROPSHEETPAGE addPage,
                                            LPARAM sheet) noexcept;
