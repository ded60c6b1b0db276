#include "driver/mapping.h"

#include "base/bounded_text.h"
#include "base/win32_handle.h"
#include "driver/vbus.h"
#include "state/device_values.h"

bool GetHuid(HDEVINFO deviceSet, SP_DEVINFO_DATA* usbDevice, wchar_t (&huid)[kDeviceNameChars]) noexcept {
    huid[0] = L'\0';
    return ReadDevString(deviceSet, usbDevice, DIREG_DEV, kDevNowHuid, huid, kDeviceNameChars) != nullptr &&
           huid[0] != L'\0';
}

UfAppErr tavo_QueryVComFromUsbd(HDEVINFO deviceSet, SP_DEVINFO_DATA* usbDevice, wchar_t* huidBuffer,
                                DWORD huidChars, wchar_t* portNameBuffer, DWORD portNameChars) noexcept {
    const FileHandle vbus = OpenVbus();
    if (!vbus) return UfAppErr_VbusNotReady;

    wchar_t huid[kDeviceNameChars];
    if (!GetHuid(deviceSet, usbDevice, huid)) return UfAppErr_NoVcomYet;
    if (huidBuffer != nullptr) CopyBounded(huidBuffer, huidChars, huid);
    if (portNameBuffer == nullptr) return UfAppErr_Success;

    const DeviceName_st name = DeviceNameFromText(huid);
    VcomCfgReply_st reply = {};
    if (VbusQuery(vbus.get(), IOCTL_TAVIX_GetVcomCfg, &name, sizeof(name), reply) != ERROR_SUCCESS) {
        return UfAppErr_BadParam;
    }
    if (reply.result != UfAppErr_Success) return static_cast<UfAppErr>(reply.result);
    CopyBounded(portNameBuffer, portNameChars, BoundedText(reply.portName));
    return UfAppErr_Success;
}

UfAppErr GetUsbdPathOfVcom(HDEVINFO deviceSet, SP_DEVINFO_DATA* vcom, HeapText& usbdPath) noexcept {
    DeviceName_st name;
    if (!GetDeviceName(deviceSet, vcom, name)) return UfAppErr_NoVcomYet;
    const FileHandle vbus = OpenVbus();
    if (!vbus) return UfAppErr_VbusNotReady;

    UsbdInfo_st info = {};
    if (VbusQuery(vbus.get(), IOCTL_TAVIX_GetUsbdInfo, &name, sizeof(name), info) != ERROR_SUCCESS) {
        return UfAppErr_Unknown;
    }
    const std::wstring_view path = BoundedText(info.usbdInstancePath);
    if (path.empty()) return UfAppErr_UsbDeviceOffline;
    return usbdPath.Assign(path) ? UfAppErr_Success : UfAppErr_NoMem;
}
