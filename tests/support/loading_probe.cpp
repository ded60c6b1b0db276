#include "tests/support/loading_probe.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <psapi.h>

#include "base/win32_handle.h"
#include "tests/support/leak_counters.h"

namespace {

[[noreturn]] void Fail(const char* what) {
    std::fprintf(stderr, "%s: error %lu", what, GetLastError());
    std::_Exit(1);
}

std::set<std::wstring> LoadedModuleNames() {
    std::vector<HMODULE> modules(1000);
    DWORD bytes = 0;
    if (!EnumProcessModules(GetCurrentProcess(), modules.data(),
                            static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &bytes))
        Fail("EnumProcessModules");
    modules.resize(std::min(modules.size(), bytes / sizeof(HMODULE)));
    std::set<std::wstring> names;
    for (const HMODULE module : modules) {
        wchar_t path[MAX_PATH] = L"";
        GetModuleFileNameW(module, path, MAX_PATH);
        CharLowerW(path);
        const std::wstring text = path;
        names.insert(text.substr(text.rfind(L'\\') + 1));
    }
    return names;
}

// Without running the image's own code. The libraries stay until the process ends.
void LoadImportsOf(const wchar_t* imagePath) {
    const LoadedLibrary image(LoadLibraryExW(imagePath, nullptr, DONT_RESOLVE_DLL_REFERENCES));
    if (!image) Fail("LoadLibraryExW");
    const auto* const base = reinterpret_cast<const char*>(image.get());
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (const auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports);
         import->Name != 0; ++import)
        if (LoadLibraryA(base + import->Name) == nullptr) Fail(base + import->Name);
}

}  // namespace

void TellWhatLoadingBrings(const wchar_t* imagePath) {
    LoadImportsOf(imagePath);
    const std::set<std::wstring> before = LoadedModuleNames();
    const LoadedLibrary library(LoadLibraryW(imagePath));
    const std::set<std::wstring> after = LoadedModuleNames();
    std::vector<std::wstring> added;
    std::set_difference(after.begin(), after.end(), before.begin(), before.end(), std::back_inserter(added));
    std::fputs("brings: ", stderr);
    for (const std::wstring& name : added)
        std::fprintf(stderr, "[%ls]", name.c_str());
    if (CountWindows() > 0) std::fputs("[windows]", stderr);
    std::_Exit(0);
}
