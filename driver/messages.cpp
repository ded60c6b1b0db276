#include "driver/messages.h"

#include "base/message_box.h"
#include "base/xfmt.h"
#include "driver/error_names.h"

void FormatRequestError(DWORD error, wchar_t (&text)[kRequestErrorChars]) noexcept {
    if (error == ERROR_DEVICE_NOT_CONNECTED) {
        xfmt(text, kRequestErrorChars, L"%s", kFlowpathLostText);
    } else {
        xfmt(text, kRequestErrorChars, L"WinErr=%d(%s)", error, WinErrName(error));
    }
}

void ReportUfAppErr(HWND owner, const wchar_t* function, uint32_t code) noexcept {
    ErrorBox(owner, L"Error in %s(). UfAppErr=%d(%s).", function, code, UfAppErrName(code));
}
