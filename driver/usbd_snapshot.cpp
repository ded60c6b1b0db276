#include "driver/usbd_snapshot.h"

#include "driver/device_info.h"
#include "driver/mapping.h"
#include "driver/vbus.h"

namespace {

uint32_t QuerySpeed(const wchar_t* huid) {
    UsbdInfo_st info = {};
    if (DeviceQuery(DeviceNameFromText(huid), IOCTL_TAVIX_GetUsbdInfo, info) != ERROR_SUCCESS)
        return kUsbSpeedUnknown;
    return info.speed;
}

}  // namespace

bool ReadUsbdSnapshot(HDEVINFO deviceSet, SP_DEVINFO_DATA* usbDevice, UsbdSnapshot& snapshot) noexcept {
    snapshot.present = GetDevNodeStatus(*usbDevice, &snapshot.problem);
    wchar_t huid[kDeviceNameChars];
    snapshot.mappingError = tavo_QueryVComFromUsbd(deviceSet, usbDevice, huid, kDeviceNameChars,
                                                   snapshot.portName, kPortNameChars);
    if (!ReadUsberrLog(deviceSet, usbDevice, snapshot.log)) return false;
    if (snapshot.IsWorking() && snapshot.IsMapped()) snapshot.speed = QuerySpeed(huid);
    return true;
}
