// The VCOM settings page (template 200).
#pragma once

#include "base/windows_api.h"

INT_PTR CALLBACK VcomProspageDlgProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
