#include "tools/self_test.h"

#include "base/bounded_text.h"
#include "base/windows_api.h"
#include "base/xfmt.h"
#include "driver/mapping.h"

namespace {

constexpr DWORD kPathChars = 260;
constexpr int32_t kMessageChars = 260;
constexpr wchar_t kTitle[] = L"TAVIX Self test";

void ShowResult(const wchar_t* text, const wchar_t* title, UINT style) {
    MessageBoxW(nullptr, text, title, style);
}

void ReportOffline(const wchar_t* expected) {
    if (expected[0] == L'\0') {
        ShowResult(L"Usb device is offline. Test result OK", kTitle, 0);
    } else {
        ShowResult(L"Usb device is offline, but we get fake report.", kTitle, MB_ICONERROR);
    }
}

void ReportFailure(int code) {
    wchar_t text[kMessageChars];
    xfmt(text, kMessageChars, L"testapi_UsbdDevinstId() test fail(%d)! Please check reason.", code);
    ShowResult(text, L"Self test", MB_ICONERROR);  // the shorter title is meant
}

void ReportAnswer(const wchar_t* expected, const wchar_t* answer) {
    if (EqualsIgnoringCase(expected, answer)) {
        ShowResult(L"testapi_UsbdDevinstPath() test ok.", kTitle, MB_ICONINFORMATION);
        return;
    }
    wchar_t text[kMessageChars];
    xfmt(text, kMessageChars,
         L"testapi_UsbdDevinstPath() test fail! Usb DevinstId not match!\n  Expect: %s\n  Got: %s\n",
         expected, answer);
    ShowResult(text, kTitle, MB_ICONERROR);
}

}  // namespace

void SelfTestUsbdDevinstPath(const wchar_t* vcomInstancePath,
                             const wchar_t* expectedUsbdInstancePath) noexcept {
    wchar_t answer[kPathChars];
    const int code = QueryUsbdDevinstPath(vcomInstancePath, answer, kPathChars);
    switch (code) {
        case UfAppErr_Success:
            ReportAnswer(expectedUsbdInstancePath, answer);
            break;
        case UfAppErr_VbusNotReady:
            break;
        case UfAppErr_NoVcomYet:
            ReportOffline(expectedUsbdInstancePath);
            break;
        default:
            ReportFailure(code);
            break;
    }
}
