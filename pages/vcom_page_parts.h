// Shared by the files of the VCOM page. The page's object is passed by reference; after a message loop (a
// box, a menu, a dialog) it is fetched again, because the sheet may have been closed meanwhile.
#pragma once

#include "base/windows_api.h"

#include "driver/vcom_snapshot.h"
#include "pages/prospage_params.h"
#include "resources/resource_ids.h"
#include "ui/dialog_controls.h"

inline constexpr UINT_PTR kVcomTimer = 51;
inline constexpr UINT kVcomTimerMs = 1000;

inline constexpr RadioGroup kLifemodeRadios = {IDC_VCOM_LIFEMODE_TEMPORAL, IDC_VCOM_LIFEMODE_PERSISTENT};
inline constexpr RadioGroup kBindModeRadios = {IDC_VCOM_BIND_SEQUENTIAL, IDC_VCOM_BIND_USB_PORT};

// Null when the window is gone or the page has no object.
inline VcomProspageParams_st* VcomState(HWND page) noexcept {
    return PageParams<VcomProspageParams_st>(page);
}

// vcom_page.cpp
void StartVcomTimer(HWND page, VcomProspageParams_st& state) noexcept;
void StopVcomTimer(HWND page, VcomProspageParams_st& state) noexcept;

// vcom_page_refresh.cpp: reads everything that the page shows, shows it, and reports failures. Returns the
// page's object, or null when the friendly name could not be read, which ends the page's regular updates, and
// when the page was closed during the report.
VcomProspageParams_st* RefreshVcomPage(HWND page, VcomProspageParams_st& state) noexcept;
// Only the friendly name. Without one, reports that and returns false; `state` may then be gone.
bool ShowVcomName(HWND page, VcomProspageParams_st& state, const VcomName& name) noexcept;

// vcom_page_save.cpp
void OnSaveClicked(HWND page, VcomProspageParams_st& state) noexcept;
void OnDefaultClicked(HWND page, VcomProspageParams_st& state) noexcept;
// PSN_APPLY and PSN_KILLACTIVE; these return the result of the notification.
LONG_PTR OnApply(HWND page, VcomProspageParams_st& state) noexcept;
LONG_PTR OnKillActive(HWND page) noexcept;

// vcom_page_usb_errors.cpp
void ShowUsbErrorStatus(HWND page, VcomProspageParams_st& state) noexcept;
void ShowUsbErrorDetailsButton(HWND page, VcomProspageParams_st& state, bool visible) noexcept;
void OnUsbErrorDetailsClicked(HWND page, VcomProspageParams_st& state) noexcept;

// vcom_page_diagnosis.cpp
void OnWhoOpenedClicked(HWND page, VcomProspageParams_st& state) noexcept;
void ShowUsbdInfo(HWND page, VcomProspageParams_st& state) noexcept;

// vcom_page_tools.cpp
void OnToolsClicked(HWND page, VcomProspageParams_st& state) noexcept;
