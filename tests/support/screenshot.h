// Pictures of what the tests show, so that people can look at them: build/screenshots/<name>.png.
#pragma once

#include <string>

#include "base/windows_api.h"

// Saves the part of the screen that the window covers (null: the whole screen). Pending paint messages of the
// window, or of all that are on the screen, are handled first. Returns the file's path, or an empty text when
// nothing could be saved.
std::wstring SaveScreenshot(HWND window, const std::wstring& name);

// The folder, made when missing.
std::wstring ScreenshotFolder();
