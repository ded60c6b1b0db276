#include "driver/global_cfg.h"

#include "base/win32_handle.h"
#include "driver/vbus.h"

namespace {

constexpr uint32_t kVirtualMachineDelayMs = 300;

}  // namespace

UfAppErr GetGlobalCfg(GlobalCfg_st& global) noexcept {
    const FileHandle vbus = OpenVbus();
    if (!vbus) return UfAppErr_VbusNotReady;
    const DWORD error = VbusQuery(vbus.get(), IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, global);
    return error == ERROR_SUCCESS ? UfAppErr_Success : UfAppErr_Unknown;
}

UfAppErr SetGlobalCfg(const GlobalCfg_st& global) noexcept {
    const FileHandle vbus = OpenVbus();
    if (!vbus) return UfAppErr_VbusNotReady;
    uint32_t result = UfAppErr_Success;
    const DWORD error = VbusQuery(vbus.get(), IOCTL_TAVIX_SetGlobalCfg, &global, sizeof(global), result);
    if (error == ERROR_ACCESS_DENIED) return UfAppErr_AccessDenied;
    return error == ERROR_SUCCESS ? static_cast<UfAppErr>(result) : UfAppErr_Unknown;
}

bool IsVirtualMachineSettingOn(const GlobalCfg_st& global) noexcept {
    return global.dropPartialBytes != 0;
}

void SetVirtualMachineSetting(GlobalCfg_st& global, bool on) noexcept {
    global.dropPartialBytes = on ? 1 : 0;
    if (!on) {
        global.clearInputDelayMinimumMs = 0;
    } else if (global.clearInputDelayMinimumMs < kVirtualMachineDelayMs) {
        global.clearInputDelayMinimumMs = kVirtualMachineDelayMs;
    }
}
