// Stands in for the system's devmgr.dll where it is missing: opens a device's properties in the viewer that
// lies beside it.
#include <string>

#include "base/windows_api.h"

namespace {

constexpr wchar_t kDeviceSwitch[] = L"/DeviceID ";
constexpr size_t kDeviceSwitchChars = sizeof(kDeviceSwitch) / sizeof(wchar_t) - 1;

std::wstring ViewerPath() {
    wchar_t path[MAX_PATH] = {};
    const UINT chars = GetSystemDirectoryW(path, MAX_PATH);
    return std::wstring(path, chars) + L"\\device_viewer.exe";
}

void StartViewer(std::wstring commandLine) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(ViewerPath().c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        nullptr, &startup, &process))
        return;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

}  // namespace

// Unlike the system's function it returns at once and leaves the sheet to the viewer's process.
extern "C" void WINAPI DeviceProperties_RunDLLW(HWND, HINSTANCE, const wchar_t* commandLine, int) {
    if (!commandLine || _wcsnicmp(commandLine, kDeviceSwitch, kDeviceSwitchChars) != 0) return;
    StartViewer(L"device_viewer.exe --device \"" + std::wstring(commandLine + kDeviceSwitchChars) + L"\"");
}
