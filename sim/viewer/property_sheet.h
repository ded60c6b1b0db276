// The property sheet of one device node, made the way Device Manager makes it: its own pages, then those that
// the device's installers add.
#pragma once

#include <optional>
#include <string>

#include "base/windows_api.h"

struct SheetRequest {
    std::wstring instanceId;
    HWND owner = nullptr;
    std::optional<int> page;          // 1 is the first page; absent: the first page that an installer added
    std::wstring picturePath;         // not empty: save a picture of the sheet and close it
    unsigned settleMilliseconds = 0;  // how long the page may work before the picture
    std::optional<unsigned> closeAfterSeconds;
};

enum class SheetResult { Shown, NoSuchDevice, NoSuchPage, NotShown, NoPicture };

// Returns when the sheet is closed.
SheetResult ShowDeviceSheet(const SheetRequest& request);
const wchar_t* SheetResultText(SheetResult result);
