// The device viewer and its sheets as they are seen from outside its process.
#pragma once

#include <string>

#include "base/win32_handle.h"
#include "base/windows_api.h"
#include "tests/support/wait_until.h"

inline std::wstring ViewerFolder() {
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    return folder;
}

// Starts the viewer; a null handle and a failed test when it does not start.
inline KernelHandle StartViewer(const std::wstring& arguments) {
    const std::wstring program = ViewerFolder() + L"\\device_viewer.exe";
    std::wstring commandLine = L"device_viewer.exe " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started)) {
        ADD_FAILURE() << "the viewer did not start, error " << GetLastError();
        return KernelHandle();
    }
    CloseHandle(started.hThread);
    return KernelHandle(started.hProcess);
}

inline HWND WaitForSheet(const std::wstring& title) {
    HWND sheet = nullptr;
    EXPECT_TRUE(WaitUntil("the sheet to open", [&] {
        sheet = FindWindowW(L"#32770", title.c_str());
        return sheet != nullptr && IsWindowVisible(sheet);
    }));
    return sheet;
}

inline void CloseSheet(HWND sheet) {
    PostMessageW(sheet, WM_COMMAND, IDCANCEL, 0);
    EXPECT_TRUE(WaitUntil("the sheet to close", [&] { return !IsWindow(sheet); }));
}
