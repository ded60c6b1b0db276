#include "tools/self_test.h"

#include "base/bounded_text.h"
#include "base/windows_api.h"
#include "base/xfmt.h"
#include "driver/mapping.h"

namespace {

constexpr int32_t kMessageChars = 260;
constexpr wchar_t kTitle[] = L"TAVIX Self test";

void ShowResult(const wchar_t* text, const wchar_t* title, UINT style) {
    MessageBoxW(nullptr, text, title, style);
}

void ShowFailure(int code) {
    wchar_t text[kMessageChars];
    xfmt(text, kMessageChars, L"testapi_UsbdDevinstId() test fail(%d)! Please check reason.", code);
    ShowResult(text, L"Self test", MB_ICONERROR);  // the shorter title is meant
}

void ShowMismatch(const wchar_t* expected, const wchar_t* answer) {
    wchar_t text[kMessageChars];
    xfmt(text, kMessageChars,
         L"testapi_UsbdDevinstPath() test fail! Usb DevinstId not match!\n  Expect: %s\n  Got: %s\n",
         expected, answer);
    ShowResult(text, kTitle, MB_ICONERROR);
}

}  // namespace

SelfTest TestUsbdDevinstPath(const wchar_t* vcomInstancePath,
                             const wchar_t* expectedUsbdInstancePath) noexcept {
    SelfTest test = {};
    test.code = QueryUsbdDevinstPath(vcomInstancePath, test.answer, kSelfTestPathChars);
    switch (test.code) {
        case UfAppErr_Success:
            test.outcome = EqualsIgnoringCase(expectedUsbdInstancePath, test.answer)
                               ? SelfTestOutcome::kPassed
                               : SelfTestOutcome::kMismatch;
            return test;
        case UfAppErr_VbusNotReady:
            test.outcome = SelfTestOutcome::kNothingToTest;
            break;
        case UfAppErr_NoVcomYet:
            test.outcome = expectedUsbdInstancePath[0] == L'\0' ? SelfTestOutcome::kOffline
                                                                : SelfTestOutcome::kFakeReport;
            break;
        default:
            test.outcome = SelfTestOutcome::kFailed;
            break;
    }
    test.answer[0] = L'\0';
    return test;
}

void SelfTestUsbdDevinstPath(const wchar_t* vcomInstancePath,
                             const wchar_t* expectedUsbdInstancePath) noexcept {
    const SelfTest test = TestUsbdDevinstPath(vcomInstancePath, expectedUsbdInstancePath);
    switch (test.outcome) {
        case SelfTestOutcome::kNothingToTest:
            break;
        case SelfTestOutcome::kPassed:
            ShowResult(L"testapi_UsbdDevinstPath() test ok.", kTitle, MB_ICONINFORMATION);
            break;
        case SelfTestOutcome::kOffline:
            ShowResult(L"Usb device is offline. Test result OK", kTitle, 0);
            break;
        case SelfTestOutcome::kFakeReport:
            ShowResult(L"Usb device is offline, but we get fake report.", kTitle, MB_ICONERROR);
            break;
        case SelfTestOutcome::kMismatch:
            ShowMismatch(expectedUsbdInstancePath, test.answer);
            break;
        case SelfTestOutcome::kFailed:
            ShowFailure(test.code);
            break;
    }
}
