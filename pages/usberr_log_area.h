// The log area of the USB device page: summary line, the two views of the USB error log, clearing and saving
// it.
#pragma once

#include "base/windows_api.h"

#include "pages/prospage_params.h"
#include "state/usberr_log.h"

// Why the area is updated.
enum UsberrRefreshMode : int {
    kUsberrPageOpened = 0,  // shows the recent errors when there are any
    kUsberrShowRecent = 1,
    kUsberrBeforeSaving = 2,  // shows the whole log
    kUsberrUpdate = 3,        // by the timer or a radio button: shows the checked view
};

// Updates the area with what was read from the log. The text stays untouched while neither the view nor the
// log's file time has changed; a text that continues the shown one leaves the reader's place alone.
void ShowUsberrLog(HWND page, UsbdProspageParams_st& state, const UsberrLog& log,
                   UsberrRefreshMode mode) noexcept;

// Deletes the log after asking. True when it was deleted; otherwise the page may be gone.
bool ClearUsberrLog(HWND page) noexcept;

// Copies the log to the user's profile folder and offers to open that folder; the page may then be gone.
void SaveUsberrLog(HWND page, const UsbdProspageParams_st& state) noexcept;
