// The VCOM settings page (template 200).
#pragma once

#include "base/windows_api.h"

INT_PTR CALLBACK VcomProspageDlgProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
