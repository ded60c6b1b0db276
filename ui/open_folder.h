// Shows a file in its folder.
#pragma once

#include "base/windows_api.h"

// Opens the system's file manager on the file's folder, with the file selected. The system itself reports a
// failure to the user.
void OpenFolderOf(HWND owner, const wchar_t* filePath) noexcept;
