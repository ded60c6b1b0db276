#include "base/os_version.h"

#include <optional>

#include "base/windows_api.h"

namespace {

std::optional<DWORD> MajorVersion() noexcept {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    if (!GetVersionExW(&version)) return std::nullopt;
    return version.dwMajorVersion;
}

}  // namespace

bool IsPreVistaOs() noexcept {
    return MajorVersion().value_or(0) < 6;
}

bool IsVistaOrLaterOs() noexcept {
    return MajorVersion().value_or(6) >= 6;
}

bool IsWinXpFamily() noexcept {
    return MajorVersion() == 5;
}
