// Who has the VCOM's port open, and what the driver knows about its USB device.
#include "base/message_box.h"
#include "base/xfmt.h"
#include "driver/device_info.h"
#include "driver/messages.h"
#include "driver/process_search.h"
#include "driver/vbus.h"
#include "pages/port_names.h"
#include "pages/vcom_page_parts.h"
#include "tools/self_test.h"
#include "ui/info_box.h"

namespace {

void ReportUsbdInfoFailure(HWND page, DWORD error) noexcept {
    wchar_t reason[kRequestErrorChars];
    FormatRequestError(error, reason);
    ErrorBox(page, L"%s",
             error == kWrongReplyLength ? L"Unexpected output from TAVIX driver for IOCTL_TAVIX_GetUsbdInfo!"
                                        : reason);
}

}  // namespace

void OnWhoOpenedClicked(HWND page, VcomProspageParams_st& state) noexcept {
    const uint32_t pid = GetVcomOpenerPid(state.deviceInfoSet, state.deviceInfoData);
    if (pid == 0) {
        FlexiInfoMessage(page, L"%s is not opened by any process yet.\r\n\r\n%s", state.portName,
                         kPortLegend);
        return;
    }
    wchar_t path[MAX_PATH];
    DescribeProcessExePath(pid, path);
    FlexiInfoMessage(page, L"%s is opened by program (pid=%d):\r\n\r\n  %s\r\n\r\n%s", state.portName, pid,
                     path, kPortLegend);
}

void ShowUsbdInfo(HWND page, VcomProspageParams_st& state) noexcept {
    UsbdInfo_st info = {};
    const DWORD error = GetUsbdInfo(state.deviceInfoSet, state.deviceInfoData, info);
    if (error != ERROR_SUCCESS) {
        ReportUsbdInfoFailure(page, error);
        return;
    }
    wchar_t text[kUsbdInfoTextChars];
    FormatUsbdInfo(info, text);
    FlexiInfoShowText(page, text);
    if (info.vcomInstancePath[0] != L'\0')
        SelfTestUsbdDevinstPath(info.vcomInstancePath, info.usbdInstancePath);
}
