#include "base/kernel_path.h"

#include <string_view>

#include "base/bounded_text.h"
#include "base/windows_api.h"
#include "base/xfmt.h"

namespace {

constexpr std::wstring_view kVolumePrefix = L"\\Device\\HarddiskVolume";
constexpr DWORD kTargetChars = 260;

bool DriveLeadsTo(const wchar_t* drive, std::wstring_view device) noexcept {
    wchar_t target[kTargetChars] = L"";
    if (QueryDosDeviceW(drive, target, kTargetChars) == 0) return false;
    return EqualsIgnoringCase(target, device);
}

}  // namespace

bool NtPathToDosPath(const wchar_t* kernelPath, wchar_t* buffer, int32_t chars) noexcept {
    const std::wstring_view path(kernelPath);
    if (!BeginsIgnoringCase(path, kVolumePrefix)) return false;
    const size_t deviceChars = path.find(L'\\', kVolumePrefix.size());
    if (deviceChars == std::wstring_view::npos) return false;

    const std::wstring_view device(kernelPath, deviceChars);
    wchar_t drive[] = L"a:";
    for (; drive[0] <= L'z'; ++drive[0]) {
        if (!DriveLeadsTo(drive, device)) continue;
        xfmt(buffer, chars, L"%s%s", drive, kernelPath + deviceChars);
        return true;
    }
    return false;
}
