#include "tools/self_test.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"
#include "tests/support/import_redirect.h"

namespace {

constexpr wchar_t kVcom[] = L"QRV_VBUS\\Qrv_vcom\\1&2";
constexpr wchar_t kUsbd[] = L"USB\\VID_1234&PID_5678\\SN01";

struct Box {
    HWND owner;
    std::wstring text;
    std::wstring title;
    UINT style;
};

// A bus that answers the one request of the self test as told; boxes are recorded instead of shown.
class SelfTest : public testing::Test {
  protected:
    SelfTest()
        : enum_("SetupDiEnumDeviceInterfaces",
                [this](auto...) {
                    SetLastError(ERROR_NO_MORE_ITEMS);
                    return hasVbus_ ? TRUE : FALSE;
                }),
          detail_("SetupDiGetDeviceInterfaceDetailW", [](auto...) { return TRUE; }),
          open_("CreateFileW", [](auto...) { return CreateEventW(nullptr, FALSE, FALSE, nullptr); }),
          ioctl_("DeviceIoControl",
                 [this](HANDLE, DWORD code, void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                        DWORD* bytesReturned, OVERLAPPED*) {
                     EXPECT_EQ(code, IOCTL_TAVIX_QueryUsbdDevinstPath);
                     EXPECT_EQ(inputBytes, sizeof(kVcom));
                     EXPECT_EQ(std::memcmp(input, kVcom, sizeof(kVcom)), 0);
                     EXPECT_EQ(outputBytes, 520u);
                     *bytesReturned = static_cast<DWORD>(answer_.size() * sizeof(wchar_t));
                     std::memcpy(output, answer_.data(), *bytesReturned);
                     SetLastError(error_);
                     return error_ == ERROR_SUCCESS ? TRUE : FALSE;
                 }),
          box_("MessageBoxW", [this](HWND owner, LPCWSTR text, LPCWSTR title, UINT style) {
              boxes_.push_back({owner, text, title, style});
              return IDOK;
          }) {}

    void Run(const wchar_t* expected) {
        boxes_.clear();
        SelfTestUsbdDevinstPath(kVcom, expected);
    }
    void ExpectOneBox(const std::wstring& text, const wchar_t* title, UINT style) {
        ASSERT_EQ(boxes_.size(), 1u);
        EXPECT_EQ(boxes_[0].owner, nullptr);
        EXPECT_EQ(boxes_[0].text, text);
        EXPECT_EQ(boxes_[0].title, title);
        EXPECT_EQ(boxes_[0].style, style);
    }

    bool hasVbus_ = true;
    DWORD error_ = ERROR_SUCCESS;
    std::wstring answer_ = kUsbd;
    std::vector<Box> boxes_;
    ReplacedCall<SetupDiEnumDeviceInterfaces> enum_;
    ReplacedCall<SetupDiGetDeviceInterfaceDetailW> detail_;
    ReplacedCall<CreateFileW> open_;
    ReplacedCall<DeviceIoControl> ioctl_;
    ReplacedCall<MessageBoxW> box_;
};

TEST_F(SelfTest, SaysNothingWithoutAVbus) {
    hasVbus_ = false;
    Run(kUsbd);
    EXPECT_TRUE(boxes_.empty());
}

TEST_F(SelfTest, PassesOnTheSamePath) {
    Run(kUsbd);
    ExpectOneBox(L"testapi_UsbdDevinstPath() test ok.", L"TAVIX Self test", MB_ICONINFORMATION);
}

TEST_F(SelfTest, PassesOnAPathOfOtherLetterCase) {
    answer_ = L"usb\\vid_1234&pid_5678\\sn01";
    Run(kUsbd);
    ExpectOneBox(L"testapi_UsbdDevinstPath() test ok.", L"TAVIX Self test", MB_ICONINFORMATION);
}

TEST_F(SelfTest, OnlyAsciiLettersHaveACase) {
    answer_ = L"USB\\\u00C4";
    Run(L"USB\\\u00E4");
    ASSERT_EQ(boxes_.size(), 1u);
    EXPECT_EQ(boxes_[0].style, UINT{MB_ICONERROR});
    answer_ = L"USB\\[";
    Run(L"USB\\{");  // 32 apart, as a letter's two cases are
    ASSERT_EQ(boxes_.size(), 1u);
    EXPECT_EQ(boxes_[0].style, UINT{MB_ICONERROR});
}

TEST_F(SelfTest, FailsOnAnotherPath) {
    for (const wchar_t* answer : {L"", L"USB\\VID_1234&PID_5678\\SN0", L"USB\\VID_1234&PID_5678\\SN012"}) {
        answer_ = answer;
        Run(kUsbd);
        ExpectOneBox(
            std::wstring(L"testapi_UsbdDevinstPath() test fail! Usb DevinstId not match!\n  Expect: ") +
                kUsbd + L"\n  Got: " + answer + L"\n",
            L"TAVIX Self test", MB_ICONERROR);
    }
}

TEST_F(SelfTest, CutsALongFailureTo260Characters) {
    answer_ = std::wstring(259, L'a');
    Run(std::wstring(128, L'e').c_str());
    ASSERT_EQ(boxes_.size(), 1u);
    EXPECT_EQ(boxes_[0].text.size(), 259u);
}

TEST_F(SelfTest, AnOfflineDeviceWithoutAPathIsRight) {
    error_ = ERROR_DEVICE_NOT_CONNECTED;
    Run(L"");
    ExpectOneBox(L"Usb device is offline. Test result OK", L"TAVIX Self test", 0);
}

TEST_F(SelfTest, AnOfflineDeviceWithAPathIsAFakeReport) {
    error_ = ERROR_DEVICE_NOT_CONNECTED;
    Run(kUsbd);
    ExpectOneBox(L"Usb device is offline, but we get fake report.", L"TAVIX Self test", MB_ICONERROR);
}

TEST_F(SelfTest, EveryOtherFailureShowsItsCodeUnderTheShortTitle) {
    error_ = ERROR_INSUFFICIENT_BUFFER;
    Run(kUsbd);
    ExpectOneBox(L"testapi_UsbdDevinstId() test fail(20)! Please check reason.", L"Self test", MB_ICONERROR);
    error_ = ERROR_INVALID_FUNCTION;
    Run(kUsbd);
    ExpectOneBox(L"testapi_UsbdDevinstId() test fail(2)! Please check reason.", L"Self test", MB_ICONERROR);
}

}  // namespace
