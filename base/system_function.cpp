#include "base/system_function.h"

#include "base/xfmt.h"

HMODULE LoadSystemLibrary(const wchar_t* fileName) noexcept {
    wchar_t system[MAX_PATH] = L"";
    const UINT length = GetSystemDirectoryW(system, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return nullptr;
    wchar_t path[MAX_PATH];
    if (xfmt(path, MAX_PATH, L"%s\\%s", system, fileName) >= MAX_PATH) return nullptr;
    return LoadLibraryW(path);
}
