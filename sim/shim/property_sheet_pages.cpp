#include "sim/shim/property_sheet_pages.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "sim/shim/class_install_params.h"
#include "sim/shim/page_providers.h"

namespace {

// Wine loads a coinstaller for one call only; pages need it as long as they live. Windows keeps it loaded
// until the set is destroyed, and so does this list. The same for page providers.
std::mutex keptMutex;
std::multimap<HDEVINFO, LoadedLibrary> kept;

void Keep(HDEVINFO set, LoadedLibrary library) {
    const std::lock_guard lock(keptMutex);
    kept.emplace(set, std::move(library));
}

BOOL Fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

// The registered coinstallers, each as "library,entry", or nothing.
std::vector<std::wstring> RegisteredCoinstallers(HDEVINFO set, PSP_DEVINFO_DATA element) {
    const HKEY opened = SetupDiOpenDevRegKey(set, element, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
    if (opened == INVALID_HANDLE_VALUE) return {};
    const RegistryKey key(opened);
    DWORD bytes = 0;
    constexpr DWORD kType = RRF_RT_REG_MULTI_SZ;
    if (RegGetValueW(opened, nullptr, L"CoInstallers32", kType, nullptr, nullptr, &bytes) != ERROR_SUCCESS)
        return {};
    std::vector<wchar_t> text(bytes / sizeof(wchar_t) + 2);
    if (RegGetValueW(opened, nullptr, L"CoInstallers32", kType, nullptr, text.data(), &bytes) !=
        ERROR_SUCCESS)
        return {};
    std::vector<std::wstring> entries;
    for (const wchar_t* entry = text.data(); *entry; entry += entries.back().size() + 1)
        entries.emplace_back(entry);
    return entries;
}

void KeepCoinstallersLoaded(HDEVINFO set, PSP_DEVINFO_DATA element) {
    for (const std::wstring& entry : RegisteredCoinstallers(set, element)) {
        LoadedLibrary library(LoadLibraryW(entry.substr(0, entry.find(L',')).c_str()));
        if (library) Keep(set, std::move(library));
    }
}

// Sends the code and reads back what the coinstallers made of its parameters.
bool CollectCoinstallersPages(HDEVINFO set, PSP_DEVINFO_DATA element, DI_FUNCTION function,
                              std::vector<HPROPSHEETPAGE>& added) {
    KeepCoinstallersLoaded(set, element);
    SP_ADDPROPERTYPAGE_DATA pages = {};
    pages.ClassInstallHeader = {sizeof(pages.ClassInstallHeader), function};
    if (!SetClassInstallParams(set, element, &pages.ClassInstallHeader, sizeof(pages))) return false;
    // No class installer takes these codes here, so that the call itself reports that nothing was done.
    SetupDiCallClassInstaller(function, set, element);
    const BOOL read = GetClassInstallParams(set, element, &pages.ClassInstallHeader, sizeof(pages), nullptr);
    SetClassInstallParams(set, element, nullptr, 0);
    const DWORD count = std::min<DWORD>(pages.NumDynamicPages, MAX_INSTALLWIZARD_DYNAPAGES);
    added.assign(pages.DynamicPages, pages.DynamicPages + count);
    return read != FALSE;
}

void AppendProvidersPages(HDEVINFO set, PSP_DEVINFO_DATA element, std::vector<HPROPSHEETPAGE>& added) {
    std::vector<LoadedLibrary> libraries;
    const std::vector<HPROPSHEETPAGE> pages = CollectProvidersPages(set, element, libraries);
    added.insert(added.end(), pages.begin(), pages.end());
    for (LoadedLibrary& library : libraries)
        Keep(set, std::move(library));
}

}  // namespace

BOOL WINAPI GetClassDevPropertySheets(HDEVINFO set, PSP_DEVINFO_DATA element, LPPROPSHEETHEADERW header,
                                      DWORD pageListCapacity, PDWORD requiredPages, DWORD sheetType) {
    if (!set || set == INVALID_HANDLE_VALUE) return Fail(ERROR_INVALID_HANDLE);
    if (!element || !header || (header->dwFlags & PSH_PROPSHEETPAGE) || !header->phpage ||
        header->nPages > pageListCapacity)
        return Fail(ERROR_INVALID_PARAMETER);
    if (sheetType != DIGCDP_FLAG_ADVANCED && sheetType != DIGCDP_FLAG_BASIC)
        return Fail(ERROR_INVALID_PARAMETER);
    const DI_FUNCTION function =
        sheetType == DIGCDP_FLAG_ADVANCED ? DIF_ADDPROPERTYPAGE_ADVANCED : DIF_ADDPROPERTYPAGE_BASIC;

    std::vector<HPROPSHEETPAGE> pages;
    if (!CollectCoinstallersPages(set, element, function, pages)) return FALSE;
    if (sheetType == DIGCDP_FLAG_ADVANCED) AppendProvidersPages(set, element, pages);
    const auto added = static_cast<DWORD>(pages.size());
    if (requiredPages) *requiredPages = header->nPages + added;
    const DWORD fitting = std::min(added, pageListCapacity - static_cast<DWORD>(header->nPages));
    for (DWORD index = 0; index < added; ++index) {
        if (index < fitting) {
            header->phpage[header->nPages++] = pages[index];
        } else {
            DestroyPropertySheetPage(pages[index]);
        }
    }
    return fitting == added ? TRUE : Fail(ERROR_INSUFFICIENT_BUFFER);
}

void ReleaseLibrariesOf(HDEVINFO set) {
    std::multimap<HDEVINFO, LoadedLibrary> released;
    {
        const std::lock_guard lock(keptMutex);
        const auto [first, last] = kept.equal_range(set);
        for (auto entry = first; entry != last; ++entry)
            released.emplace(entry->first, std::move(entry->second));
        kept.erase(first, last);
    }
}
