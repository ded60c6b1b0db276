// The property pages that a device's coinstallers and page providers add, which Wine cannot ask for.
#pragma once

#include "base/windows_api.h"

#include <prsht.h>
#include <setupapi.h>

// As SetupDiGetClassDevPropertySheetsW, without class installers: sends DIF_ADDPROPERTYPAGE_ADVANCED (or
// _BASIC), asks the page providers for an advanced sheet, and appends the pages to those that `header` lists,
// at most up to `pageListCapacity` pages in all. The caller owns the pages and releases them before it
// destroys the set.
BOOL WINAPI GetClassDevPropertySheets(HDEVINFO set, PSP_DEVINFO_DATA element, LPPROPSHEETHEADERW header,
                                      DWORD pageListCapacity, PDWORD requiredPages, DWORD sheetType);

// Unloads the libraries that were kept loaded for the set's pages.
void ReleaseLibrariesOf(HDEVINFO set);
