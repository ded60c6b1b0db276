#include "sim/shim/page_providers.h"

#include <string>

namespace {

using PageProvider = BOOL CALLBACK(LPVOID, LPFNADDPROPSHEETPAGE, LPARAM);

// "library,entry"; empty without the value.
std::wstring RegisteredProvider(HKEY opened) {
    if (opened == INVALID_HANDLE_VALUE) return {};
    const RegistryKey key(opened);
    wchar_t text[512] = {};
    DWORD bytes = sizeof(text);
    const LSTATUS error =
        RegGetValueW(opened, nullptr, L"EnumPropPages32", RRF_RT_REG_SZ, nullptr, text, &bytes);
    return error == ERROR_SUCCESS ? text : std::wstring();
}

BOOL CALLBACK TakePage(HPROPSHEETPAGE page, LPARAM pages) {
    reinterpret_cast<std::vector<HPROPSHEETPAGE>*>(pages)->push_back(page);
    return TRUE;
}

void AskProvider(const std::wstring& registered, SP_PROPSHEETPAGE_REQUEST& request,
                 std::vector<HPROPSHEETPAGE>& pages, std::vector<LoadedLibrary>& libraries) {
    const size_t comma = registered.find(L',');
    if (comma == std::wstring::npos) return;
    LoadedLibrary library(LoadLibraryW(registered.substr(0, comma).c_str()));
    if (!library) return;
    const std::wstring entry = registered.substr(comma + 1);
    auto* provider = reinterpret_cast<PageProvider*>(
        GetProcAddress(library.get(), std::string(entry.begin(), entry.end()).c_str()));
    if (provider != nullptr) provider(&request, TakePage, reinterpret_cast<LPARAM>(&pages));
    libraries.push_back(std::move(library));
}

}  // namespace

std::vector<HPROPSHEETPAGE> CollectProvidersPages(HDEVINFO set, PSP_DEVINFO_DATA element,
                                                  std::vector<LoadedLibrary>& libraries) {
    SP_PROPSHEETPAGE_REQUEST request = {sizeof(request), SPPSR_ENUM_ADV_DEVICE_PROPERTIES, set, element};
    std::vector<HPROPSHEETPAGE> pages;
    const HKEY classKey =
        SetupDiOpenClassRegKeyExW(&element->ClassGuid, KEY_READ, DIOCR_INSTALLER, nullptr, nullptr);
    AskProvider(RegisteredProvider(classKey), request, pages, libraries);
    const HKEY driverKey = SetupDiOpenDevRegKey(set, element, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
    AskProvider(RegisteredProvider(driverKey), request, pages, libraries);
    return pages;
}
