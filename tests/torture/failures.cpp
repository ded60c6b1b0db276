#include "tests/torture/failures.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

#include <cfgmgr32.h>
#include <setupapi.h>

namespace {

using enum FailedResult;

constexpr DWORD kDenied = ERROR_ACCESS_DENIED;
constexpr DWORD kMissing = ERROR_FILE_NOT_FOUND;
constexpr DWORD kNoMemory = ERROR_NOT_ENOUGH_MEMORY;
constexpr DWORD kNoHandle = ERROR_INVALID_HANDLE;
constexpr DWORD kNoWindow = ERROR_INVALID_WINDOW_HANDLE;
constexpr DWORD kNoResource = ERROR_RESOURCE_NAME_NOT_FOUND;
constexpr DWORD kNoDevice = ERROR_NO_SUCH_DEVINST;
constexpr DWORD kResultNoMemory = static_cast<DWORD>(E_OUTOFMEMORY);
constexpr DWORD kResultFailed = static_cast<DWORD>(E_FAIL);

const FallibleFunction kFallible[] = {
    // memory
    {"malloc", kZero, {0}},
    {"calloc", kZero, {0}},
    {"realloc", kZero, {0}},
    {"GlobalAlloc", kZero, {kNoMemory}},
    {"GlobalLock", kZero, {kNoHandle}},
    {"GlobalSize", kZero, {kNoHandle}},
    // registry
    {"RegCreateKeyW", kCode, {kDenied, kNoMemory}},
    {"RegOpenKeyExW", kCode, {kMissing, kDenied}},
    {"RegQueryValueExW", kCode, {kMissing, ERROR_MORE_DATA, kDenied}},
    {"RegSetValueExW", kCode, {kDenied, kNoMemory}},
    // devices
    {"CM_Get_DevNode_Status", kCode, {CR_NO_SUCH_DEVNODE, CR_FAILURE}},
    {"SetupDiBuildDriverInfoList", kZero, {kNoDevice}},
    {"SetupDiCallClassInstaller", kZero, {kDenied, ERROR_DI_DO_DEFAULT}},
    {"SetupDiCreateDeviceInfoList", kMinusOne, {kNoMemory}},
    {"SetupDiCreateDeviceInfoW", kZero, {kDenied, ERROR_DEVINST_ALREADY_EXISTS}},
    {"SetupDiEnumDeviceInterfaces", kZero, {ERROR_NO_MORE_ITEMS, kNoMemory}},
    {"SetupDiGetClassDevsW", kMinusOne, {kNoMemory}},
    {"SetupDiGetClassInstallParamsW", kZero, {ERROR_NO_CLASSINSTALL_PARAMS, kNoDevice}},
    {"SetupDiGetDeviceInstallParamsW", kZero, {kNoDevice}},
    {"SetupDiGetDeviceInstanceIdW", kZero, {kNoDevice, ERROR_INSUFFICIENT_BUFFER}},
    {"SetupDiGetDeviceInterfaceDetailW", kZero, {ERROR_INSUFFICIENT_BUFFER, kNoDevice}},
    {"SetupDiGetDeviceRegistryPropertyW", kZero, {ERROR_INVALID_DATA, ERROR_INSUFFICIENT_BUFFER, kNoDevice}},
    {"SetupDiOpenDevRegKey", kMinusOne, {kMissing, kDenied}},
    {"SetupDiOpenDeviceInfoW", kZero, {kNoDevice}},
    {"SetupDiSetDeviceInstallParamsW", kZero, {kNoDevice}},
    {"SetupDiSetDeviceRegistryPropertyW", kZero, {kDenied}},
    // files and the driver
    {"CopyFileW", kZero, {kDenied, kMissing}},
    {"CreateFileW", kMinusOne, {kDenied, kMissing, ERROR_SHARING_VIOLATION}},
    {"DeleteFileW", kZero, {kDenied, kMissing}},
    {"DeviceIoControl",
     kZero,
     {ERROR_DEVICE_NOT_CONNECTED, kDenied, ERROR_INVALID_FUNCTION, ERROR_MORE_DATA}},
    {"GetFileAttributesW", kMinusOne, {kMissing, kDenied}},
    {"GetFileSizeEx", kZero, {kNoHandle}},
    {"GetFileTime", kZero, {kNoHandle}},
    {"GetTempFileNameW", kZero, {kDenied}},
    {"GetTempPathW", kZero, {kNoMemory}},
    {"QueryDosDeviceW", kZero, {kMissing, ERROR_INSUFFICIENT_BUFFER}},
    {"ReadFile", kZero, {ERROR_LOCK_VIOLATION}},
    {"SetFilePointerEx", kZero, {kNoHandle}},
    {"SHGetFolderPathW", kCode, {kResultFailed}},
    {"WriteFile", kZero, {ERROR_DISK_FULL}},
    // processes and modules
    {"CreateProcessW", kZero, {kMissing, kNoMemory}},
    {"EnumProcesses", kZero, {kDenied}},
    {"FormatMessageW", kZero, {ERROR_MR_MID_NOT_FOUND}},
    {"FindResourceW", kZero, {kNoResource}},
    {"GetExitCodeProcess", kZero, {kDenied}},
    {"GetLocaleInfoW", kZero, {ERROR_INVALID_PARAMETER}},
    {"GetModuleFileNameExW", kZero, {ERROR_PARTIAL_COPY}},
    {"GetModuleFileNameW", kZero, {kNoMemory}},
    {"GetModuleHandleW", kZero, {ERROR_MOD_NOT_FOUND}},
    {"GetProcAddress", kZero, {ERROR_PROC_NOT_FOUND}},
    {"GetProcessImageFileNameW", kZero, {kDenied}},
    {"GetSystemDirectoryW", kZero, {kNoMemory}},
    {"GetVersionExW", kZero, {ERROR_INVALID_PARAMETER}},
    {"GetWindowsDirectoryW", kZero, {kNoMemory}},
    {"LoadLibraryW", kZero, {ERROR_MOD_NOT_FOUND, kNoMemory}},
    {"LoadResource", kZero, {kNoResource}},
    {"LoadStringW", kZero, {kNoResource}},
    {"LockResource", kZero, {kNoResource}},
    {"OpenProcess", kZero, {kDenied, ERROR_INVALID_PARAMETER}},
    {"ShellExecuteExW", kZero, {ERROR_NO_ASSOCIATION, kMissing}},
    {"SizeofResource", kZero, {kNoResource}},
    {"WaitForSingleObject", kMinusOne, {kNoHandle}},
    // time and text
    {"FileTimeToLocalFileTime", kZero, {ERROR_INVALID_PARAMETER}},
    {"FileTimeToSystemTime", kZero, {ERROR_INVALID_PARAMETER}},
    {"GetTimeZoneInformation", kMinusOne, {kNoMemory}},
    {"MultiByteToWideChar", kZero, {ERROR_NO_UNICODE_TRANSLATION}},
    {"SystemTimeToFileTime", kZero, {ERROR_INVALID_PARAMETER}},
    {"WideCharToMultiByte", kZero, {ERROR_INVALID_PARAMETER}},
    // activation contexts
    {"ActivateActCtx", kZero, {kNoHandle}},
    {"CreateActCtxW", kMinusOne, {kNoResource, kNoMemory}},
    {"FindActCtxSectionStringW", kZero, {ERROR_SXS_KEY_NOT_FOUND}},
    {"QueryActCtxW", kZero, {ERROR_INVALID_PARAMETER}},
    // windows and dialogs
    {"CheckDlgButton", kZero, {kNoWindow}},
    {"CheckRadioButton", kZero, {kNoWindow}},
    {"ClientToScreen", kZero, {kNoWindow}},
    {"CreatePropertySheetPageW", kZero, {kNoMemory}},
    {"CreateWindowExW", kZero, {kNoMemory}},
    {"DialogBoxIndirectParamW", kMinusOne, {kNoMemory}},
    {"DialogBoxParamW", kMinusOne, {kNoResource}},
    {"EnumDisplayMonitors", kZero, {kNoMemory}},
    {"FindWindowW", kZero, {kMissing}},
    {"GetClientRect", kZero, {kNoWindow}},
    {"GetCursorPos", kZero, {kDenied}},
    {"GetDlgItem", kZero, {ERROR_CONTROL_ID_NOT_FOUND}},
    {"GetDlgItemTextW", kZero, {ERROR_CONTROL_ID_NOT_FOUND}},
    {"GetMonitorInfoW", kZero, {ERROR_INVALID_PARAMETER}},
    {"GetParent", kZero, {kNoWindow}},
    {"GetWindowPlacement", kZero, {kNoWindow}},
    {"GetWindowRect", kZero, {kNoWindow}},
    {"GetWindowTextLengthW", kZero, {kNoWindow}},
    {"GetWindowTextW", kZero, {kNoWindow}},
    {"InvalidateRect", kZero, {kNoWindow}},
    {"LoadIconW", kZero, {kNoResource}},
    {"MapWindowPoints", kZero, {kNoWindow}},
    {"MessageBoxW", kZero, {kNoMemory}},
    {"MonitorFromWindow", kZero, {kNoWindow}},
    {"MoveWindow", kZero, {kNoWindow}},
    {"PostMessageW", kZero, {ERROR_NOT_ENOUGH_QUOTA}},
    {"SendDlgItemMessageW", kOfMessage, {ERROR_CONTROL_ID_NOT_FOUND}},
    {"SendMessageW", kOfMessage, {kDenied}},
    {"SetDlgItemTextW", kZero, {ERROR_CONTROL_ID_NOT_FOUND}},
    {"SetFocus", kZero, {kNoWindow}},
    {"SetForegroundWindow", kZero, {kDenied}},
    {"SetTimer", kZero, {kNoMemory}},
    {"SetWindowPlacement", kZero, {kNoWindow}},
    {"SetWindowPos", kZero, {kNoMemory}},
    {"SetWindowTextW", kZero, {kNoMemory}},
    {"ShowScrollBar", kZero, {kNoWindow}},
    {"ShowWindowAsync", kZero, {kDenied}},
    {"UpdateWindow", kZero, {kNoWindow}},
    // menus and the clipboard
    {"AppendMenuW", kZero, {kNoMemory}},
    {"CreatePopupMenu", kZero, {kNoMemory}},
    {"EmptyClipboard", kZero, {kDenied}},
    {"EndMenu", kZero, {kDenied}},
    {"GetClipboardData", kZero, {kNoHandle}},
    {"GetMenuInfo", kZero, {ERROR_INVALID_MENU_HANDLE}},
    {"GetMenuItemInfoW", kZero, {ERROR_MENU_ITEM_NOT_FOUND}},
    {"OpenClipboard", kZero, {kDenied}},
    {"SetClipboardData", kZero, {kNoMemory}},
    {"SetMenuInfo", kZero, {ERROR_INVALID_MENU_HANDLE}},
    {"SetMenuItemBitmaps", kZero, {ERROR_MENU_ITEM_NOT_FOUND}},
    {"SetMenuItemInfoW", kZero, {ERROR_MENU_ITEM_NOT_FOUND}},
    {"TrackPopupMenu", kZero, {kNoMemory}},
    {"TrackPopupMenuEx", kZero, {kNoMemory}},
    // drawing
    {"CombineRgn", kZero, {kNoHandle}},
    {"CreateCompatibleBitmap", kZero, {kNoMemory}},
    {"CreateCompatibleDC", kZero, {kNoMemory}},
    {"CreateDIBSection", kZero, {kNoMemory}},
    {"CreateFontIndirectW", kZero, {kNoMemory}},
    {"CreateRectRgn", kZero, {kNoMemory}},
    {"CreateRectRgnIndirect", kZero, {kNoMemory}},
    {"CreateSolidBrush", kZero, {kNoMemory}},
    {"DrawIconEx", kZero, {kNoHandle}},
    {"DrawTextW", kZero, {kNoMemory}},
    {"FillRect", kZero, {kNoHandle}},
    {"FillRgn", kZero, {kNoHandle}},
    {"GetDC", kZero, {kNoMemory}},
    {"GetDIBits", kZero, {kNoHandle}},
    {"GetIconInfo", kZero, {kNoHandle}},
    {"GetObjectW", kZero, {kNoHandle}},
    {"SelectObject", kZero, {kNoHandle}},
    {"SetBkColor", kMinusOne, {kNoHandle}},
    {"SetBkMode", kZero, {kNoHandle}},
    {"SetTextColor", kMinusOne, {kNoHandle}},
    // looked up at run time
    {"BeginBufferedPaint", kZero, {kNoMemory}},
    {"EndBufferedPaint", kCode, {kResultNoMemory}},
    {"GetBufferedPaintBits", kCode, {kResultNoMemory}},
    {"IsAppThemed", kZero, {0}},
    {"LoadIconMetric", kCode, {kResultNoMemory, kResultFailed}},
};

// Closing functions fail only for what is not open, which the handle ledger forbids. The others report a
// state, or nothing. The result of SetupDiSetClassInstallParamsW is ignored on purpose; the page is then
// nobody's.
constexpr std::string_view kInfallible[] = {
    "Beep",
    "CharUpperBuffW",
    "CloseClipboard",
    "CloseHandle",
    "DeactivateActCtx",
    "DefDlgProcW",
    "DeleteCriticalSection",
    "DeleteDC",
    "DeleteObject",
    "DestroyIcon",
    "DestroyMenu",
    "DestroyWindow",
    "EnableWindow",
    "EndDialog",
    "EnterCriticalSection",
    "EqualRect",
    "FreeLibrary",
    "GetACP",
    "GetActiveWindow",
    "GetCurrentProcess",
    "GetCurrentProcessId",
    "GetCurrentThreadId",
    "GetDlgCtrlID",
    "GetFocus",
    "GetKeyState",
    "GetLastError",
    "GetLocalTime",
    "GetMenuCheckMarkDimensions",
    "GetNativeSystemInfo",
    "GetStockObject",
    "GetSysColor",
    "GetSysColorBrush",
    "GetSystemMetrics",
    "GetSystemTime",
    "GetSystemTimeAsFileTime",
    "GetTickCount",
    "GetWindowLongPtrW",
    "GlobalFree",
    "GlobalUnlock",
    "InitializeCriticalSection",
    "IsChild",
    "IsDBCSLeadByteEx",
    "IsDlgButtonChecked",
    "IsIconic",
    "IsWindow",
    "IsWindowEnabled",
    "IsZoomed",
    "KillTimer",
    "LeaveCriticalSection",
    "OffsetRect",
    "OutputDebugStringA",
    "OutputDebugStringW",
    "QueryPerformanceCounter",
    "QueryPerformanceFrequency",
    "RegCloseKey",
    "ReleaseActCtx",
    "ReleaseDC",
    "SetErrorMode",
    "SetEvent",
    "SetLastError",
    "SetProcessAffinityMask",
    "SetThreadContext",
    "SetThreadPriority",
    "SetWindowLongPtrW",
    "SetupDiDestroyDeviceInfoList",
    "SetupDiSetClassInstallParamsW",
    "ShowWindow",
    "Sleep",
    "StrRStrIW",
    "StrStrIW",
    "TlsGetValue",
    "VirtualProtect",
    "VirtualQuery",
    "lstrlenW",
    // of the C runtime
    "___lc_codepage_func",
    "___mb_cur_max_func",
    "__iob_func",
    "_amsg_exit",
    "_errno",
    "_initterm",
    "_lock",
    "_unlock",
    "abort",
    "exit",
    "fprintf",
    "fputwc",
    "free",
    "fwprintf",
    "fwrite",
    "localeconv",
    "memchr",
    "memcmp",
    "memcpy",
    "memmove",
    "memset",
    "printf",
    "strcmp",
    "strerror",
    "strlen",
    "strncmp",
    "vfprintf",
    "wcschr",
    "wcscmp",
    "wcslen",
    "wcsncmp",
    "wcsrchr",
    "wcsstr",
};

// A list has no room for an entry, or does not answer; from other windows 0 means that nothing was done.
uint64_t ResultOfMessage(UINT message) {
    if (message == CB_ADDSTRING) return static_cast<uint64_t>(CB_ERRSPACE);
    const bool toList = message >= CB_GETEDITSEL && message <= CB_SETCURSEL;
    return toList ? static_cast<uint64_t>(CB_ERR) : 0;
}

}  // namespace

const FallibleFunction* FindFallible(std::string_view name) {
    static const auto kByName = [] {
        std::unordered_map<std::string_view, const FallibleFunction*> rows;
        for (const FallibleFunction& function : kFallible)
            rows[function.name] = &function;
        return rows;
    }();
    const auto row = kByName.find(name);
    return row != kByName.end() ? row->second : nullptr;
}

bool IsKnownInfallible(std::string_view name) {
    return std::find(std::begin(kInfallible), std::end(kInfallible), name) != std::end(kInfallible);
}

uint64_t ResultOfFailure(const FallibleFunction& function, DWORD code, const uint64_t* arguments) {
    switch (function.result) {
        case kZero:
            return 0;
        case kMinusOne:
            return ~uint64_t{0};
        case kCode:
            return code;
        case kOfMessage:
            // SendMessageW(window, message, ...) and SendDlgItemMessageW(window, id, message, ...)
            return ResultOfMessage(static_cast<UINT>(
                std::string_view(function.name) == "SendMessageW" ? arguments[1] : arguments[2]));
    }
    return 0;
}
