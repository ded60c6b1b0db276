// Showing a file in its folder.
#pragma once

#include "base/windows_api.h"

// Opens the system's file manager on the file's folder, with the file selected. Whether it opens is left to
// the system, which reports a failure to the user by itself.
void OpenFolderOf(HWND owner, const wchar_t* filePath) noexcept;
