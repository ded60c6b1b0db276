#include <cstdarg>

#include "base/message_box.h"
#include "base/xfmt.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "driver/vbus.h"

namespace {

constexpr int32_t kReasonChars = 100;

void FormatReason(DWORD error, wchar_t (&reason)[kReasonChars]) {
    if (error == ERROR_DEVICE_NOT_CONNECTED) {
        xfmt(reason, kReasonChars, L"%s", kFlowpathLostText);
    } else {
        xfmt(reason, kReasonChars, L"WinErr=%d(%s)", error, WinErrName(error));
    }
}

}  // namespace

DWORD DoDeviceIoctlReport(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD code, void* output,
                          DWORD outputBytes, DWORD* bytesReturned, HWND owner, const wchar_t* titleFormat,
                          ...) noexcept {
    const DWORD error = DoDeviceIoctl(deviceSet, device, code, output, outputBytes, bytesReturned);
    if (error == ERROR_SUCCESS) return ERROR_SUCCESS;

    wchar_t reason[kReasonChars];
    FormatReason(error, reason);
    va_list arguments;
    va_start(arguments, titleFormat);
    XfmtNested title = {kXfmtNestedMagic, titleFormat, &arguments};
    MsgBoxKind(nullptr, kMessageError, owner, L"%w\n\n%s", &title, reason);
    va_end(arguments);
    return error;
}
