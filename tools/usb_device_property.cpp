#include "tools/usb_device_property.h"

#include "base/message_box.h"
#include "base/properties_launcher.h"
#include "driver/error_names.h"
#include "driver/mapping.h"
#include "driver/messages.h"

void ShowUsbDeviceProperty(const ToolHost& host, bool detached) noexcept {
    HeapText usbdPath;
    const UfAppErr result = GetUsbdPathOfVcom(host.deviceSet, host.device, usbdPath);
    if (result != UfAppErr_Success) {
        ReportUfAppErr(host.page, L"GetUsbdPathOfVcom", result);
        return;
    }
    if (ShowDeviceManagerProperties(detached ? nullptr : host.page, usbdPath.c_str())) return;
    const DWORD error = GetLastError();
    ErrorBox(host.page, L"WinErr=%d(%s)", error, WinErrName(error));
}
