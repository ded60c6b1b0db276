#include <cstdarg>

#include "base/message_box.h"
#include "base/xfmt.h"
#include "driver/messages.h"
#include "driver/vbus.h"

DWORD DoDeviceIoctlReport(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, DWORD code, void* output,
                          DWORD outputBytes, DWORD* bytesReturned, HWND owner, const wchar_t* titleFormat,
                          ...) noexcept {
    const DWORD error = DoDeviceIoctl(deviceSet, device, code, output, outputBytes, bytesReturned);
    if (error == ERROR_SUCCESS) return ERROR_SUCCESS;

    wchar_t reason[kRequestErrorChars];
    FormatRequestError(error, reason);
    va_list arguments;
    va_start(arguments, titleFormat);
    XfmtNested title = {kXfmtNestedMagic, titleFormat, &arguments};
    ErrorBox(owner, L"%w\n\n%s", &title, reason);
    va_end(arguments);
    return error;
}
