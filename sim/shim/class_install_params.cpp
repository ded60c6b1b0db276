#include "sim/shim/class_install_params.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace {

// The set and one of its elements; Wine numbers those from 0.
using Key = std::pair<HDEVINFO, uint64_t>;
constexpr uint64_t kSetItself = UINT64_MAX;

std::mutex storedMutex;
std::map<Key, std::vector<uint8_t>> stored;

Key KeyOf(HDEVINFO set, const SP_DEVINFO_DATA* element) {
    return {set, element ? element->DevInst : kSetItself};
}

BOOL Fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

// The smallest buffer that carries the parameters of a function.
size_t LeastParamsBytes(DI_FUNCTION function) {
    switch (function) {
        case DIF_PROPERTYCHANGE:
            return sizeof(SP_PROPCHANGE_PARAMS);
        case DIF_REMOVE:
            return sizeof(SP_REMOVEDEVICE_PARAMS);
        case DIF_ADDPROPERTYPAGE_ADVANCED:
        case DIF_ADDPROPERTYPAGE_BASIC:
            return sizeof(SP_ADDPROPERTYPAGE_DATA);
        default:
            return sizeof(SP_CLASSINSTALL_HEADER);
    }
}

// Windows notes in the install parameters whether class-install parameters are there.
bool MarkInstallParams(HDEVINFO set, PSP_DEVINFO_DATA element, bool present) {
    SP_DEVINSTALL_PARAMS_W installParams = {};
    installParams.cbSize = sizeof(installParams);
    if (!SetupDiGetDeviceInstallParamsW(set, element, &installParams)) return false;
    if (present) {
        installParams.Flags |= DI_CLASSINSTALLPARAMS;
    } else {
        installParams.Flags &= ~static_cast<DWORD>(DI_CLASSINSTALLPARAMS);
    }
    return SetupDiSetDeviceInstallParamsW(set, element, &installParams) != FALSE;
}

BOOL RemoveParams(HDEVINFO set, PSP_DEVINFO_DATA element) {
    if (element && !MarkInstallParams(set, element, false)) return FALSE;
    const std::lock_guard lock(storedMutex);
    stored.erase(KeyOf(set, element));
    return TRUE;
}

}  // namespace

BOOL WINAPI SetClassInstallParams(HDEVINFO set, PSP_DEVINFO_DATA element, PSP_CLASSINSTALL_HEADER params,
                                  DWORD paramsBytes) {
    if (!set || set == INVALID_HANDLE_VALUE) return Fail(ERROR_INVALID_HANDLE);
    if (!params && paramsBytes == 0) return RemoveParams(set, element);
    if (!params || paramsBytes < sizeof(SP_CLASSINSTALL_HEADER)) return Fail(ERROR_INVALID_PARAMETER);
    if (params->cbSize != sizeof(SP_CLASSINSTALL_HEADER)) return Fail(ERROR_INVALID_USER_BUFFER);
    if (paramsBytes < LeastParamsBytes(params->InstallFunction)) return Fail(ERROR_INVALID_PARAMETER);
    // Wine has install parameters for elements only.
    if (element && !MarkInstallParams(set, element, true)) return FALSE;
    const auto* bytes = reinterpret_cast<const uint8_t*>(params);
    const std::lock_guard lock(storedMutex);
    stored[KeyOf(set, element)].assign(bytes, bytes + paramsBytes);
    return TRUE;
}

BOOL WINAPI GetClassInstallParams(HDEVINFO set, PSP_DEVINFO_DATA element, PSP_CLASSINSTALL_HEADER params,
                                  DWORD paramsBytes, PDWORD requiredBytes) {
    if (!set || set == INVALID_HANDLE_VALUE) return Fail(ERROR_INVALID_HANDLE);
    if (!params != (paramsBytes == 0)) return Fail(ERROR_INVALID_PARAMETER);
    if (params && paramsBytes < sizeof(SP_CLASSINSTALL_HEADER)) return Fail(ERROR_INVALID_PARAMETER);
    if (params && params->cbSize != sizeof(SP_CLASSINSTALL_HEADER)) return Fail(ERROR_INVALID_USER_BUFFER);
    const std::lock_guard lock(storedMutex);
    const auto found = stored.find(KeyOf(set, element));
    if (found == stored.end()) return Fail(ERROR_NO_CLASSINSTALL_PARAMS);
    const std::vector<uint8_t>& bytes = found->second;
    if (requiredBytes) *requiredBytes = static_cast<DWORD>(bytes.size());
    if (paramsBytes < bytes.size()) return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(params, bytes.data(), bytes.size());
    return TRUE;
}

void ForgetClassInstallParams(HDEVINFO set) {
    const std::lock_guard lock(storedMutex);
    stored.erase(stored.lower_bound(Key{set, 0}), stored.upper_bound(Key{set, kSetItself}));
}
