// The property pages that a device's coinstallers add, which Wine cannot ask for.
#pragma once

#include "base/windows_api.h"

#include <prsht.h>
#include <setupapi.h>

// As SetupDiGetClassDevPropertySheetsW, for the coinstallers' pages only: sends DIF_ADDPROPERTYPAGE_ADVANCED
// (or _BASIC) and appends the pages to those that `header` lists, at most up to `pageListCapacity` pages in
// all. The caller owns the pages and releases them before it destroys the set.
BOOL WINAPI GetClassDevPropertySheets(HDEVINFO set, PSP_DEVINFO_DATA element, LPPROPSHEETHEADERW header,
                                      DWORD pageListCapacity, PDWORD requiredPages, DWORD sheetType);

// Unloads the coinstallers that were kept loaded for the set's pages.
void ReleaseCoinstallersOf(HDEVINFO set);
