#include <gtest/gtest.h>

#include <string>

#include "driver/vbus.h"
#include "tests/support/modal_driver.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

class IoctlReport : public testing::Test {
  protected:
    DWORD StartBlindRun() {
        return DoDeviceIoctlReport(fake_.deviceSet(), fake_.device(), IOCTL_TAVIX_StartBlindRun, nullptr, 0,
                                   nullptr, nullptr, L"%s execution error.", L"IOCTL_TAVIX_StartBlindRun");
    }
    void ExpectBox(DWORD error, const wchar_t* text) {
        ModalDriver boxes;
        boxes.ExpectBox(L"TAVIX Message").Press(IDOK);
        EXPECT_EQ(StartBlindRun(), error);
        ASSERT_EQ(boxes.boxes().size(), 1u);
        EXPECT_EQ(boxes.boxes()[0].text, text);
        EXPECT_EQ(boxes.boxes()[0].icon, UINT{MB_ICONERROR});
    }

    FakeVbus fake_;
};

TEST_F(IoctlReport, ShowsNothingOnSuccess) {
    fake_.replies[IOCTL_TAVIX_StartBlindRun] = {};
    ModalDriver boxes;
    EXPECT_EQ(StartBlindRun(), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(fake_.requests.at(0).input, BytesOfRecord(DeviceNameFromText(L"Qrv_vcom\\1&2")));
}

TEST_F(IoctlReport, ShowsTheErrorWithItsName) {
    fake_.replies[IOCTL_TAVIX_StartBlindRun] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    ExpectBox(ERROR_ACCESS_DENIED,
              L"IOCTL_TAVIX_StartBlindRun execution error.\n\nWinErr=5(ERROR_ACCESS_DENIED)");
}

TEST_F(IoctlReport, ShowsAnErrorWithoutANameAsUnknown) {
    fake_.replies[IOCTL_TAVIX_StartBlindRun] = FakeReply::Failure(4711);
    ExpectBox(4711, L"IOCTL_TAVIX_StartBlindRun execution error.\n\nWinErr=4711(UnknownWinErrCode)");
}

TEST_F(IoctlReport, CallsALostDriverALostFlowpath) {
    const wchar_t* text = L"IOCTL_TAVIX_StartBlindRun execution error.\n\nFlowpath is lost.";
    fake_.replies[IOCTL_TAVIX_StartBlindRun] = FakeReply::Failure(ERROR_DEVICE_NOT_CONNECTED);
    ExpectBox(ERROR_DEVICE_NOT_CONNECTED, text);
    fake_.hasInterface = false;
    ExpectBox(ERROR_DEVICE_NOT_CONNECTED, text);
    fake_.instanceId = L"HTREE";
    ExpectBox(ERROR_DEVICE_NOT_CONNECTED, text);
}

TEST_F(IoctlReport, ShowsItsBoxOnTheOwner) {
    const HWND owner = reinterpret_cast<HWND>(size_t{0x123});
    REPLACE_CALL(box, MessageBoxW, [&](HWND window, LPCWSTR text, LPCWSTR, UINT style) {
        EXPECT_EQ(window, owner);
        EXPECT_STREQ(text, L"Port 7 fails: now.\n\nWinErr=5(ERROR_ACCESS_DENIED)");
        EXPECT_EQ(style, UINT{MB_ICONERROR});
        return IDOK;
    });
    fake_.replies[IOCTL_TAVIX_UsbTweak0] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    EXPECT_EQ(DoDeviceIoctlReport(fake_.deviceSet(), fake_.device(), IOCTL_TAVIX_UsbTweak0, nullptr, 0,
                                  nullptr, owner, L"Port %d fails: %s.", 7, L"now"),
              DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(box.calls(), 1);
}

TEST_F(IoctlReport, PassesTheReplyOn) {
    fake_.replies[IOCTL_TAVIX_GetVcomOpenerPid] = FakeReply::Of(uint32_t{7});
    uint32_t pid = 0;
    DWORD bytesReturned = 0;
    EXPECT_EQ(DoDeviceIoctlReport(fake_.deviceSet(), fake_.device(), IOCTL_TAVIX_GetVcomOpenerPid, &pid,
                                  sizeof(pid), &bytesReturned, nullptr, L"title"),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(pid, 7u);
    EXPECT_EQ(bytesReturned, 4u);
}

}  // namespace
