// What the files of the VCOM page share. Every function takes the page's window and finds the page's object
// by it, so that a handler goes on safely after a message box during which the sheet was closed.
#pragma once

#include "base/windows_api.h"

#include "pages/prospage_params.h"

inline constexpr UINT_PTR kVcomTimer = 51;
inline constexpr UINT kVcomTimerMs = 1000;

// Null when the window is gone or the page has no object.
inline VcomProspageParams_st* VcomState(HWND page) noexcept {
    return PageParams<VcomProspageParams_st>(page);
}

// vcom_page.cpp
void StartVcomTimer(HWND page);
void StopVcomTimer(HWND page);

// vcom_page_refresh.cpp: everything the page shows, from the driver. False when the friendly name could not
// be read, which ends the page's regular updates.
bool RefreshVcomPage(HWND page);
// The friendly name alone. On failure the controls are disabled, the timer stops and an error is shown.
bool ShowVcomFriendlyName(HWND page);

// vcom_page_save.cpp
// False when the user does not want the selected name after all.
bool ConfirmPortName(HWND page);
void SaveVcomSettings(HWND page);
void OnSaveClicked(HWND page);
void OnDefaultClicked(HWND page);

// vcom_page_usb_errors.cpp
void ShowUsbErrorStatus(HWND page);
void ShowUsbErrorDetailsButton(HWND page, bool visible);
void OnUsbErrorDetailsClicked(HWND page);

// vcom_page_opener.cpp
void OnWhoOpenedClicked(HWND page);

// vcom_page_usbd_info.cpp
void ShowUsbdInfo(HWND page);
