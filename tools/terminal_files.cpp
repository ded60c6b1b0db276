#include "tools/terminal_files.h"

#include <cwchar>

#include "base/files.h"
#include "base/module.h"
#include "base/xfmt.h"

namespace {

bool Is64BitSystem() noexcept {
    SYSTEM_INFO system = {};
    GetNativeSystemInfo(&system);
    return system.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_INTEL;
}

// A cut path may be that of another file.
bool FindBesideLibrary(const wchar_t* fileName, wchar_t (&path)[MAX_PATH]) noexcept {
    wchar_t library[MAX_PATH] = L"";
    const DWORD chars = GetModuleFileNameW(ModuleInstance(), library, MAX_PATH);
    library[MAX_PATH - 1] = L'\0';  // older systems do not terminate a path that they cut
    wchar_t* const lastBackslash = wcsrchr(library, L'\\');
    if (lastBackslash != nullptr) *lastBackslash = L'\0';
    const bool whole = xfmt(path, MAX_PATH, L"%s\\%s", library, fileName) < MAX_PATH;
    return chars != 0 && chars < MAX_PATH && whole && IsFile(path);
}

}  // namespace

bool FindTerminalProgram(wchar_t (&path)[MAX_PATH]) noexcept {
    return FindBesideLibrary(Is64BitSystem() ? L"putty-x64.exe" : L"putty.exe", path);
}

bool FindSessionTemplate(wchar_t (&path)[MAX_PATH]) noexcept {
    return FindBesideLibrary(L"putty-session.reg.template", path);
}
