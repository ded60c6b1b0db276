#include "base/properties_launcher.h"

#include "base/system_function.h"
#include "base/xfmt.h"

namespace {

constexpr int32_t kArgumentChars = 260;

// The shape of every function that rundll32 can start.
using RunDllFunction = void(WINAPI*)(HWND owner, HINSTANCE instance, wchar_t* arguments, int show);
SystemFunction<RunDllFunction> g_deviceProperties(L"devmgr.dll", "DeviceProperties_RunDLLW");

}  // namespace

bool ShowDeviceManagerProperties(HWND owner, const wchar_t* deviceInstanceId) noexcept {
    const RunDllFunction show = g_deviceProperties.get();
    if (show == nullptr) return false;
    wchar_t arguments[kArgumentChars];
    xfmt(arguments, kArgumentChars, L"/DeviceID %s", deviceInstanceId);
    show(owner, nullptr, arguments, SW_SHOW);
    return true;
}

void ResetDeviceManagerLookup() noexcept {
    g_deviceProperties.Reset();
}
