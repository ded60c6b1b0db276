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

// The driver need not terminate its texts; the last character is overwritten.
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
    const DWORD error = DeviceQuery(deviceSet, device, IOCTL_TAVIX_GetUsbdInfo, info);
    if (error == ERROR_SUCCESS) TerminateTexts(info);
    return error;
}

void FormatUsbdInfo(const UsbdInfo_st& info, wchar_t (&text)[kUsbdInfoTextChars]) noexcept {
    UsbdInfo_st shown = info;
    TerminateTexts(shown);
    xfmt(text, kUsbdInfoTextChars,
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
    UsbdInfo_st info = {};
    if (!GetHuid(deviceSet, usbDevice, huid)) return kUsbSpeedUnknown;
    const DWORD error = DeviceQuery(DeviceNameFromText(huid), IOCTL_TAVIX_GetUsbdInfo, info);
    return error == ERROR_SUCCESS ? info.speed : kUsbSpeedUnknown;
}

DWORD GetVcomOpenerPid(HDEVINFO deviceSet, SP_DEVINFO_DATA* vcom) noexcept {
    uint32_t processId = 0;
    const DWORD error = DeviceQuery(deviceSet, vcom, IOCTL_TAVIX_GetVcomOpenerPid, processId);
    return error == ERROR_SUCCESS ? processId : 0;
}
