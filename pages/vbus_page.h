// The virtual bus settings page (template 202).
#pragma once

#include "base/windows_api.h"

INT_PTR CALLBACK VbusProspageDlgProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
