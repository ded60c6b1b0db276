// The saved sessions of the stand-in terminal.
#pragma once

#include <optional>
#include <string>

#include "base/windows_api.h"

struct SavedSession {
    std::wstring hostName;
    std::wstring serialLine;
    std::wstring windowTitle;
    COLORREF background = RGB(0, 0, 0);
};

// Under the user's terminal settings; nothing when there is no session of that name.
std::optional<SavedSession> ReadSavedSession(const std::wstring& name);

// The argument after "-load", empty when there is none.
std::wstring SessionNameOf(const wchar_t* commandLine);
