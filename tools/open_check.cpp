#include "tools/open_check.h"

#include "base/last_error.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"
#include "driver/device_info.h"
#include "driver/process_search.h"
#include "ui/info_box.h"

namespace {

constexpr int32_t kPortPathChars = 64;
constexpr DWORD kSystemTextChars = 512;
constexpr int32_t kExplanationChars = 2000;

DWORD OpenPortOnce(const wchar_t* portName) noexcept {
    wchar_t path[kPortPathChars];
    xfmt(path, kPortPathChars, L"\\\\.\\%s", portName);
    const FileHandle port(CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_OVERLAPPED, nullptr));
    return port ? ERROR_SUCCESS : FailureCode();
}

// Without the line break that ends the system's texts; false when it has none for the error.
bool GetSystemText(DWORD error, wchar_t (&text)[kSystemTextChars]) noexcept {
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                  0, text, kSystemTextChars, nullptr);
    while (length != 0 && (text[length - 1] == L'\r' || text[length - 1] == L'\n'))
        --length;
    text[length] = L'\0';
    return length != 0;
}

void AppendOccupant(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const wchar_t* portName,
                    wchar_t (&text)[kExplanationChars]) noexcept {
    const DWORD processId = GetVcomOpenerPid(deviceSet, device);
    if (processId == 0) {
        xfmt_append(text, kExplanationChars, L"Unknown detail !");
        return;
    }
    wchar_t path[MAX_PATH];
    DescribeProcessExePath(processId, path);
    xfmt_append(text, kExplanationChars,
                L"Cannot open \"%s\" because it is now occupied by another process:\n\n%s\n\n(pid=%d)",
                portName, path, processId);
}

void ExplainFailure(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, const wchar_t* portName, DWORD error,
                    wchar_t (&text)[kExplanationChars]) noexcept {
    wchar_t systemText[kSystemTextChars];
    if (GetSystemText(error, systemText))
        xfmt(text, kExplanationChars, L"WinErr=%u: %s\n", error, systemText);
    else
        xfmt(text, kExplanationChars, L"WinErr=%u.\n", error);
    if (error == ERROR_FILE_NOT_FOUND)
        xfmt_append(text, kExplanationChars, L"The VCOM device \"%s\" does not exist yet.", portName);
    if (error == ERROR_ACCESS_DENIED) AppendOccupant(deviceSet, device, portName, text);
}

}  // namespace

bool CheckPortOpens(HWND page, HDEVINFO deviceSet, SP_DEVINFO_DATA* device,
                    const wchar_t* portName) noexcept {
    const DWORD error = OpenPortOnce(portName);
    if (error == ERROR_SUCCESS) return true;
    wchar_t text[kExplanationChars];
    ExplainFailure(deviceSet, device, portName, error, text);
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = L"VCOM open error";
    params.normalIcon = LoadIconW(nullptr, IDI_ERROR);
    params.okText = L"Got it";
    FlexiInfoBoxF(page, &params, L"%s", text);
    return false;
}
