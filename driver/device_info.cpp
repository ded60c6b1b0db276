#include "driver/device_info.h"

#include "base/windows_api.h"

#include <cfgmgr32.h>

#include "base/bounded_text.h"
#include "base/product_version.h"
#include "base/win32_handle.h"
#include "base/xfmt.h"
#include "driver/mapping.h"
#include "driver/vbus.h"

namespace {

// A text of the driver need not be terminated; its last character gives way.
template <size_t chars>
void Terminate(wchar_t (&field)[chars]) {
    field[chars - 1] = L'\0';
}

void TerminateTexts(UsbdInfo_st& info) {
    Terminate(info.manufacturer);
    Terminate(info.product);
    Terminate(info.serialNumber);
    Terminate(info.usbdInstancePath);
    Terminate(info.vcomInstancePath);
}

}  // namespace

bool GetDevNodeStatus(const SP_DEVINFO_DATA& device, ULONG* problem) noexcept {
    ULONG status = 0;
    ULONG code = 0;
    if (CM_Get_DevNode_Status(&status, &code, device.DevInst, 0) != CR_SUCCESS) return false;
    if (problem != nullptr) *problem = code;
    return true;
}

DWORD GetUsbdInfo(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, UsbdInfo_st& info) noexcept {
    UsbdInfo_st reply = {};
    DWORD bytesReturned = 0;
    const DWORD error =
        DoDeviceIoctl(deviceSet, device, IOCTL_TAVIX_GetUsbdInfo, &reply, sizeof(reply), &bytesReturned);
    if (error != ERROR_SUCCESS) return error;
    if (bytesReturned != sizeof(reply)) return kWrongReplyLength;
    TerminateTexts(reply);
    info = reply;
    return ERROR_SUCCESS;
}

int32_t FormatUsbdInfo(const UsbdInfo_st& info, wchar_t* buffer, int32_t bufferChars) {
    UsbdInfo_st shown = info;
    TerminateTexts(shown);
    return xfmt(buffer, bufferChars,
                L"TAVIX CoInstaller version: %d.%d.%d\n\n"
                L"Usb device info %s:\n"
                L"  idVender: %04X , idProduct: %04X\n"
                L"  bcdDevice: %02d.%02d\n"
                L"  Manufacturer: %s\n"
                L"  Product: %s\n"
                L"  Serial: %s\n"
                L"  Usbd Device-instance-path: %s\n\n"
                L"Vcom Device-instance-path: %s\n\n",
                kProductVersionMajor, kProductVersionMinor, kProductVersionBuild,
                shown.online != 0 ? L"" : L"(offline)", shown.idVendor, shown.idProduct, shown.bcdDevice >> 8,
                shown.bcdDevice & 0xFF, shown.manufacturer, shown.product, shown.serialNumber,
                shown.usbdInstancePath, shown.vcomInstancePath);
}

uint32_t GetUsbSpeed(HDEVINFO deviceSet, SP_DEVINFO_DATA* usbDevice) noexcept {
    wchar_t huid[kDeviceNameChars];
    if (!GetHuid(deviceSet, usbDevice, huid)) return kUsbSpeedUnknown;
    const FileHandle vbus = OpenVbus();
    if (!vbus) return kUsbSpeedUnknown;

    const DeviceName_st name = DeviceNameFromText(huid);
    UsbdInfo_st info = {};
    if (VbusQuery(vbus.get(), IOCTL_TAVIX_GetUsbdInfo, &name, sizeof(name), info) != ERROR_SUCCESS) {
        return kUsbSpeedUnknown;
    }
    return info.speed;
}

DWORD GetVcomOpenerPid(HDEVINFO deviceSet, SP_DEVINFO_DATA* vcom) noexcept {
    uint32_t processId = 0;
    DWORD bytesReturned = 0;
    const DWORD error = DoDeviceIoctl(deviceSet, vcom, IOCTL_TAVIX_GetVcomOpenerPid, &processId,
                                      sizeof(processId), &bytesReturned);
    return error == ERROR_SUCCESS && bytesReturned == sizeof(processId) ? processId : 0;
}
