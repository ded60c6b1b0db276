// Checks the driver's mapping from a VCOM back to its USB device.
#pragma once

#include "base/windows_api.h"

enum class SelfTestOutcome {
    kNothingToTest,  // there is no Vbus
    kPassed,
    kOffline,     // the USB device is, as expected
    kFakeReport,  // it is offline although a path was reported for it
    kMismatch,    // the driver answers with another path
    kFailed,      // the request did
};

inline constexpr DWORD kSelfTestPathChars = 260;

struct SelfTest {
    SelfTestOutcome outcome;
    int code;                            // of QueryUsbdDevinstPath
    wchar_t answer[kSelfTestPathChars];  // empty without one
};

// Both are texts of one USB information record (terminated).
SelfTest TestUsbdDevinstPath(const wchar_t* vcomInstancePath,
                             const wchar_t* expectedUsbdInstancePath) noexcept;

// The same, with the result in a message box; without one when there is nothing to test.
void SelfTestUsbdDevinstPath(const wchar_t* vcomInstancePath,
                             const wchar_t* expectedUsbdInstancePath) noexcept;
