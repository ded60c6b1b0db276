#include "driver/process_search.h"

#include <algorithm>

#include "base/windows_api.h"

// Where these functions are on systems older than version 6.1: psapi.dll, not kernel32.dll.
#define PSAPI_VERSION 1
#include <psapi.h>
#include <shlwapi.h>

#include "base/bounded_text.h"
#include "base/kernel_path.h"
#include "base/os_version.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"

namespace {

constexpr size_t kMaxProcesses = 1000;

// Major version 5 does not know the limited right.
DWORD LimitedQueryAccess() {
    return IsWinXpFamily() ? PROCESS_QUERY_INFORMATION : PROCESS_QUERY_LIMITED_INFORMATION;
}

// The kernel's name of the program: "\Device\HarddiskVolume3\...". Works where the full path is denied.
bool GetKernelImagePath(DWORD processId, DWORD access, wchar_t (&path)[MAX_PATH]) {
    const KernelHandle process(OpenProcess(access, FALSE, processId));
    if (!process) return false;
    path[0] = L'\0';
    const DWORD chars = GetProcessImageFileNameW(process.get(), path, MAX_PATH);
    path[MAX_PATH - 1] = L'\0';
    return chars != 0;
}

bool GetLimitedExePath(DWORD processId, wchar_t* buffer, DWORD bufferChars) {
    wchar_t kernelPath[MAX_PATH];
    if (!GetKernelImagePath(processId, LimitedQueryAccess(), kernelPath)) return false;
    if (!NtPathToDosPath(kernelPath, buffer, static_cast<int32_t>(bufferChars)))
        CopyBounded(buffer, bufferChars, kernelPath);
    return true;
}

bool NamesProgram(const wchar_t* path, std::wstring_view name) {
    // No path contains a longer name.
    if (name.size() >= MAX_PATH) return false;
    wchar_t needle[1 + MAX_PATH];
    xfmt(needle, 1 + MAX_PATH, L"\\%.*s", static_cast<int32_t>(name.size()), name.data());
    return StrRStrIW(path, nullptr, needle) != nullptr;
}

bool NamesProgram(const wchar_t* path, const MultiString& names) {
    for (const std::wstring_view name : names) {
        if (NamesProgram(path, name)) return true;
    }
    return false;
}

}  // namespace

bool GetProcessExePath(DWORD processId, wchar_t* buffer, DWORD bufferChars) noexcept {
    if (bufferChars == 0) return false;
    const KernelHandle process(OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
    if (!process) {
        return GetLastError() == ERROR_ACCESS_DENIED && GetLimitedExePath(processId, buffer, bufferChars);
    }
    const DWORD chars = GetModuleFileNameExW(process.get(), nullptr, buffer, bufferChars);
    buffer[bufferChars - 1] = L'\0';  // older systems do not terminate a path that they cut
    return chars != 0;
}

void DescribeProcessExePath(DWORD processId, wchar_t (&text)[MAX_PATH]) noexcept {
    if (!GetProcessExePath(processId, text, MAX_PATH))
        CopyBounded(text, MAX_PATH, L"Unknown process EXE path");
}

bool FindProcessByNames(const MultiString& names) noexcept {
    DWORD processIds[kMaxProcesses];
    DWORD bytes = 0;
    if (!EnumProcesses(processIds, sizeof(processIds), &bytes)) return false;

    const DWORD access = LimitedQueryAccess();
    const size_t count = std::min<size_t>(bytes / sizeof(DWORD), kMaxProcesses);
    return std::any_of(processIds, processIds + count, [&](DWORD processId) {
        wchar_t path[MAX_PATH];
        return GetKernelImagePath(processId, access, path) && NamesProgram(path, names);
    });
}
