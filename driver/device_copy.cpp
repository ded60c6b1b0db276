#include "driver/device_copy.h"

namespace {

constexpr DWORD kInstanceIdChars = 1000;

}  // namespace

DeviceCopy::DeviceCopy(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept {
    element_.cbSize = sizeof(element_);
    wchar_t instanceId[kInstanceIdChars];
    if (!SetupDiGetDeviceInstanceIdW(deviceSet, device, instanceId, kInstanceIdChars, nullptr)) return;
    list_.reset(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    if (!list_) return;
    if (!SetupDiOpenDeviceInfoW(list_.get(), instanceId, nullptr, 0, &element_)) list_.reset();
}
