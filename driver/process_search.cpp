#include "driver/process_search.h"

#include <algorithm>
#include <new>
#include <vector>

#include "base/windows_api.h"

// The functions' homes on systems older than version 6.1: psapi.dll, not kernel32.dll.
#define PSAPI_VERSION 1
#include <psapi.h>
#include <shlwapi.h>

#include "base/bounded_text.h"
#include "base/can_throw.h"
#include "base/os_version.h"
#include "base/process.h"
#include "base/win32_handle.h"

namespace {

constexpr size_t kMaxProcesses = 1000;

// Systems of major version 5 do not know the limited right.
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

std::vector<std::wstring> NeedlesOf(std::span<const std::wstring> names) {
    std::vector<std::wstring> needles;
    needles.reserve(names.size());
    for (const std::wstring& name : names) {
        // The backslash alone would be found in every path.
        if (!name.empty()) needles.push_back(L"\\" + name);
    }
    return needles;
}

bool ContainsOneOf(const wchar_t* path, const std::vector<std::wstring>& needles) {
    return std::any_of(needles.begin(), needles.end(), [path](const std::wstring& needle) {
        return StrRStrIW(path, nullptr, needle.c_str()) != nullptr;
    });
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

bool FindProcessByNames(std::span<const std::wstring> names) noexcept {
    if (!CanThrow()) return false;
    try {
        const std::vector<std::wstring> needles = NeedlesOf(names);
        DWORD processIds[kMaxProcesses];
        DWORD bytes = 0;
        if (!EnumProcesses(processIds, sizeof(processIds), &bytes)) return false;

        const DWORD access = LimitedQueryAccess();
        const size_t count = std::min<size_t>(bytes / sizeof(DWORD), kMaxProcesses);
        return std::any_of(processIds, processIds + count, [&](DWORD processId) {
            wchar_t path[MAX_PATH];
            return GetKernelImagePath(processId, access, path) && ContainsOneOf(path, needles);
        });
    } catch (const std::bad_alloc&) {
        return false;
    }
}
