#include "driver/coinstaller_entry.h"

#include <string_view>

#include "base/multi_string.h"
#include "state/device_values.h"

namespace {

// A list of "library.dll,Export".
constexpr wchar_t kCoinstallersValue[] = L"CoInstallers32";
constexpr std::wstring_view kCoinstallerExport = L"TavixCoInstaller";

// Blanks around the name do not count. The name itself is looked up with regard to case.
std::wstring_view ExportOf(std::wstring_view entry) noexcept {
    const size_t comma = entry.find(L',');
    if (comma == std::wstring_view::npos) return {};
    entry.remove_prefix(comma + 1);
    while (!entry.empty() && entry.front() == L' ')
        entry.remove_prefix(1);
    while (!entry.empty() && entry.back() == L' ')
        entry.remove_suffix(1);
    return entry;
}

}  // namespace

bool HasCoinstaller(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept {
    RegValue value;
    if (ReadDevRegValue(deviceSet, device, DIREG_DRV, kCoinstallersValue, value) != ERROR_SUCCESS ||
        value.type != REG_MULTI_SZ)
        return false;
    for (const std::wstring_view entry : MultiString(value.list.view()))
        if (ExportOf(entry) == kCoinstallerExport) return true;
    return false;
}
