// The log area of the USB device page: summary line, the two views of the USB error log, clearing and saving
// it.
#pragma once

#include "base/windows_api.h"

// Why the area is brought up to date.
enum UsberrRefreshMode : int {
    kUsberrPageOpened = 0,  // shows the recent errors when there are any
    kUsberrShowRecent = 1,
    kUsberrBeforeSaving = 2,  // shows the whole log
    kUsberrUpdate = 3,        // by the timer or a radio button: the view that is checked
};

// Brings the area up to date; the text stays untouched, and so does its scroll position, while neither the
// view nor the log has changed. False when the log's path is unknown.
bool ReadUsberrLog(HWND page, UsberrRefreshMode mode);

// Deletes the log after a question.
void ClearUsberrLog(HWND page);

// Copies the log to the user's profile folder and offers to open that folder.
void SaveUsberrLog(HWND page);
