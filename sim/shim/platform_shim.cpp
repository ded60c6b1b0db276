#include "sim/shim/platform_shim.h"

#include "sim/shim/class_install_params.h"
#include "sim/shim/devnode_status.h"
#include "sim/shim/function_patch.h"
#include "sim/shim/property_sheet_pages.h"

namespace {

using DestroyDeviceInfoListFunction = BOOL WINAPI(HDEVINFO);
DestroyDeviceInfoListFunction* originalDestroyDeviceInfoList = nullptr;

// What the shim keeps for a set ends with it. The coinstallers are let go last: destroying the set makes Wine
// call them once more.
BOOL WINAPI DestroyDeviceInfoList(HDEVINFO set) {
    ForgetClassInstallParams(set);
    const BOOL destroyed = originalDestroyDeviceInfoList(set);
    const DWORD error = GetLastError();
    if (destroyed) ReleaseLibrariesOf(set);
    SetLastError(error);
    return destroyed;
}

bool RunsUnderWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

bool Replace(HMODULE library, const char* name, FunctionAddress replacement) {
    const FunctionAddress target = GetProcAddress(library, name);
    return target && ReplaceFunction(target, replacement);
}

bool Install() {
    const HMODULE setupApi = LoadLibraryW(L"setupapi.dll");
    if (!setupApi) return false;
    const FunctionAddress destroy = GetProcAddress(setupApi, "SetupDiDestroyDeviceInfoList");
    if (!destroy) return false;
    originalDestroyDeviceInfoList = reinterpret_cast<DestroyDeviceInfoListFunction*>(
        WrapFunction(destroy, reinterpret_cast<FunctionAddress>(DestroyDeviceInfoList)));
    return originalDestroyDeviceInfoList &&
           Replace(setupApi, "SetupDiSetClassInstallParamsW",
                   reinterpret_cast<FunctionAddress>(SetClassInstallParams)) &&
           Replace(setupApi, "SetupDiGetClassInstallParamsW",
                   reinterpret_cast<FunctionAddress>(GetClassInstallParams)) &&
           Replace(setupApi, "SetupDiGetClassDevPropertySheetsW",
                   reinterpret_cast<FunctionAddress>(GetClassDevPropertySheets)) &&
           Replace(setupApi, "CM_Get_DevNode_Status", reinterpret_cast<FunctionAddress>(GetDevNodeStatus));
}

}  // namespace

bool InstallPlatformShim() {
    static const bool installed = !RunsUnderWine() || Install();
    return installed;
}
