// What the driver knows of the USB device behind the VCOM, and the check of its answer.
#include "base/message_box.h"
#include "base/xfmt.h"
#include "driver/device_info.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "driver/vbus.h"
#include "pages/vcom_page_parts.h"
#include "tools/self_test.h"
#include "ui/info_box.h"

namespace {

constexpr int32_t kInfoTextChars = 1200;  // five texts of up to 128 characters and their labels

void ReportFailure(HWND page, DWORD error) {
    if (error == kWrongReplyLength)
        MsgBoxKind(nullptr, kMessageError, page,
                   L"Unexpected output from TAVIX driver for IOCTL_TAVIX_GetUsbdInfo!");
    else if (error == ERROR_DEVICE_NOT_CONNECTED)
        MsgBoxKind(nullptr, kMessageError, page, L"%s", kFlowpathLostText);
    else
        MsgBoxKind(nullptr, kMessageError, page, L"WinErr=%d(%s)", error, WinErrName(error));
}

}  // namespace

void ShowUsbdInfo(HWND page) {
    const VcomProspageParams_st* const state = VcomState(page);
    if (state == nullptr) return;
    UsbdInfo_st info = {};
    const DWORD error = GetUsbdInfo(state->deviceInfoSet, state->deviceInfoData, info);
    if (error != ERROR_SUCCESS) {
        ReportFailure(page, error);
        return;
    }
    wchar_t text[kInfoTextChars];
    FormatUsbdInfo(info, text, kInfoTextChars);
    FlexiInfoShowText(page, text);
    if (info.vcomInstancePath[0] != L'\0')
        SelfTestUsbdDevinstPath(info.vcomInstancePath, info.usbdInstancePath);
}
