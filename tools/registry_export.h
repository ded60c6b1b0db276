// "Export .reg": the driver's Parameters key as a registry file in the user's profile folder.
#pragma once

#include "base/windows_api.h"

// For every export of the process: go on although the settings could not be saved before. Off at first, and
// no part of the dialog switches it on.
void SetExportAfterFailedSave(bool goOn) noexcept;

// Marks the key with the driver's version and the time, exports it with reg.exe and offers to open the
// folder. `settingsSaved` is how the save went that has to come first. Every failure is shown.
void ExportDriverParameters(HWND owner, bool settingsSaved) noexcept;
