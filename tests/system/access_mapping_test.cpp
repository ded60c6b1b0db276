// From a USB device to its VCOM and back, through the driver; the self test on top of it.
#include "driver/mapping.h"
#include "tests/support/heap_texts.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/access_fixture.h"
#include "tools/self_test.h"

namespace {

class AccessMapping : public DriverAccessTest {
  protected:
    UfAppErr Query(wchar_t* huid, DWORD huidChars, wchar_t* port, DWORD portChars) {
        return tavo_QueryVComFromUsbd(usbd_.set(), usbd_.device(), huid, huidChars, port, portChars);
    }
    UfAppErr QueryPath() { return GetUsbdPathOfVcom(vcom_.set(), vcom_.device(), path_); }
    static ExpectedRequest PathRequest() { return {IOCTL_TAVIX_GetUsbdInfo, NameBytes(kVcomTail), 1296}; }

    wchar_t port_[16] = L"kept";
    HeapText path_ = HeapTextOf(L"kept");
};

TEST_F(AccessMapping, FindsTheVcomByTheHuid) {
    wchar_t huid[128] = L"";
    EXPECT_EQ(Query(huid, 128, port_, 16), UfAppErr_Success);
    EXPECT_STREQ(huid, kHuid);
    EXPECT_STREQ(port_, driver_.FindDevice(kHuid)->portName);
    ExpectRequests({{IOCTL_TAVIX_GetVcomCfg, NameBytes(kHuid), 552}});
}

TEST_F(AccessMapping, AsksNothingWithoutAPortBuffer) {
    wchar_t huid[128] = L"";
    EXPECT_EQ(Query(huid, 128, nullptr, 0), UfAppErr_Success);
    EXPECT_STREQ(huid, kHuid);
    ExpectNoRequests();
}

TEST_F(AccessMapping, AMissingOrEmptyHuidMeansNoVcomYet) {
    usbd_.StoreValue(L"NowHuid", REG_SZ, L"", 2);
    EXPECT_EQ(Query(nullptr, 0, port_, 16), UfAppErr_NoVcomYet);
    usbd_.StoreValue(L"NowHuid", REG_SZ, nullptr, 0);
    EXPECT_EQ(Query(nullptr, 0, port_, 16), UfAppErr_NoVcomYet);
    usbd_.StoreValue(L"NowHuid", REG_DWORD, "\1\0\0\0", 4);
    EXPECT_EQ(Query(nullptr, 0, port_, 16), UfAppErr_NoVcomYet);
    usbd_.DeleteValue(L"NowHuid");
    EXPECT_EQ(Query(nullptr, 0, port_, 16), UfAppErr_NoVcomYet);
    EXPECT_STREQ(port_, L"kept");
    ExpectNoRequests();
}

TEST_F(AccessMapping, AHuidStoredWithoutATerminatorIsReadAsItIs) {
    usbd_.StoreValue(L"NowHuid", REG_SZ, kHuid, 8);
    EXPECT_EQ(Query(nullptr, 0, port_, 16), UfAppErr_Success);
    ExpectRequests({{IOCTL_TAVIX_GetVcomCfg, NameBytes(kHuid), 552}});
}

TEST_F(AccessMapping, AHuidThatTheDriverDoesNotKnowIsItsResult) {
    usbd_.StoreValue(L"NowHuid", REG_SZ, L"no such", 16);
    EXPECT_EQ(Query(nullptr, 0, port_, 16), UfAppErr_WrongHuid);
    EXPECT_STREQ(port_, L"kept");
}

TEST_F(AccessMapping, AFailedQuestionIsABadParameter) {
    FailNext(IOCTL_TAVIX_GetVcomCfg, kStatusNotConnected);
    EXPECT_EQ(Query(nullptr, 0, port_, 16), UfAppErr_BadParam);
    EXPECT_STREQ(port_, L"kept");
}

TEST_F(AccessMapping, WithoutTheBusNothingIsReady) {
    RemoveBus();
    EXPECT_EQ(Query(nullptr, 0, nullptr, 0), UfAppErr_VbusNotReady);
    EXPECT_EQ(QueryPath(), UfAppErr_VbusNotReady);
    EXPECT_EQ(QueryUsbdDevinstPath(VcomId().c_str(), port_, 16), 7);
}

TEST_F(AccessMapping, FindsTheUsbDeviceOfTheVcom) {
    EXPECT_EQ(QueryPath(), UfAppErr_Success);
    EXPECT_EQ(path_.view(), UsbdId());
    ExpectRequests({PathRequest()});
}

TEST_F(AccessMapping, AnOfflineUsbDeviceHasNoPath) {
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    EXPECT_EQ(QueryPath(), UfAppErr_UsbDeviceOffline);
    EXPECT_EQ(path_.view(), L"kept");
}

TEST_F(AccessMapping, AnInformationRecordOfAnotherLengthIsUnknown) {
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetUsbdInfo, 1295), ERROR_SUCCESS);
    EXPECT_EQ(QueryPath(), UfAppErr_Unknown);
    // The system itself cuts what a driver returns beyond the caller's room.
    REPLACE_CALL(ioctl, DeviceIoControl,
                 [](HANDLE vbus, DWORD code, void* input, DWORD inputBytes, void* output, DWORD outputBytes,
                    DWORD* bytesReturned, OVERLAPPED* overlapped) {
                     const BOOL done = DeviceIoControl(vbus, code, input, inputBytes, output, outputBytes,
                                                       bytesReturned, overlapped);
                     *bytesReturned += 1;
                     return done;
                 });
    EXPECT_EQ(QueryPath(), UfAppErr_Unknown);
    EXPECT_EQ(path_.view(), L"kept");
}

TEST_F(AccessMapping, AsksForTheDevinstPathOfAVcom) {
    wchar_t answer[260] = L"";
    DWORD chars = 0;
    EXPECT_EQ(QueryUsbdDevinstPath(VcomId().c_str(), answer, 260, &chars), 0);
    EXPECT_EQ(answer, UsbdId());
    EXPECT_EQ(chars, UsbdId().size() + 1);
    const std::wstring vcomId = VcomId();
    const uint8_t* sent = reinterpret_cast<const uint8_t*>(vcomId.c_str());
    ExpectRequests({{IOCTL_TAVIX_QueryUsbdDevinstPath, {sent, sent + (vcomId.size() + 1) * 2}, 520}});
}

TEST_F(AccessMapping, NarrowTextsReachTheDriverAsWideOnes) {
    char answer[100] = "";
    EXPECT_EQ(QueryUsbdDevinstPathA("QRV_VBUS\\Qrv_vcom\\7&AC", answer, 100), 0);
    EXPECT_STREQ(answer, "USB\\VID_1234&PID_5678\\ACCESS");
}

TEST_F(AccessMapping, MapsEachFailureOfTheDevinstPath) {
    wchar_t answer[260];
    DWORD chars = 0;
    EXPECT_EQ(QueryUsbdDevinstPath(VcomId().c_str(), answer, 10, &chars), 20);
    EXPECT_EQ(chars, 1000u);
    EXPECT_EQ(QueryUsbdDevinstPath(L"QRV_VBUS\\Qrv_vcom\\none", answer, 260, &chars), 2);
    EXPECT_EQ(chars, 1000u);
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    EXPECT_EQ(QueryUsbdDevinstPath(VcomId().c_str(), answer, 260, &chars), 9);
    EXPECT_EQ(chars, 1000u);
}

TEST_F(AccessMapping, AnUnterminatedAnswerEndsWithinTheBuffer) {
    const std::vector<uint8_t> answer(2000, 'A');
    wchar_t buffer[260];
    ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_QueryUsbdDevinstPath, answer), ERROR_SUCCESS);
    EXPECT_EQ(QueryUsbdDevinstPath(VcomId().c_str(), buffer, 260), 0);
    EXPECT_EQ(std::wstring(buffer), std::wstring(259, 0x4141));
}

class AccessSelfTest : public DriverAccessTest {
  protected:
    // The one box that the test shows.
    BoxRecord Run(const wchar_t* expected, const wchar_t* title) {
        ModalDriver boxes;
        boxes.ExpectBox(title).Press(IDOK);
        SelfTestUsbdDevinstPath(VcomId().c_str(), expected);
        return boxes.boxes().empty() ? BoxRecord{} : boxes.boxes()[0];
    }
};

TEST_F(AccessSelfTest, PassesWhateverTheLetterCase) {
    for (const wchar_t* expected : {L"USB\\VID_1234&PID_5678\\ACCESS", L"usb\\vid_1234&pid_5678\\access"}) {
        const BoxRecord box = Run(expected, L"TAVIX Self test");
        EXPECT_EQ(box.text, L"testapi_UsbdDevinstPath() test ok.");
        EXPECT_EQ(box.icon, UINT{MB_ICONINFORMATION});
        EXPECT_EQ(box.owner, nullptr);
    }
}

TEST_F(AccessSelfTest, FailsOnAnotherAnswer) {
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldDevinstPathAnswer, L"USB\\OTHER\\1"), ERROR_SUCCESS);
    const BoxRecord box = Run(L"USB\\VID_1234&PID_5678\\ACCESS", L"TAVIX Self test");
    EXPECT_EQ(box.text,
              L"testapi_UsbdDevinstPath() test fail! Usb DevinstId not match!\n"
              L"  Expect: USB\\VID_1234&PID_5678\\ACCESS\n  Got: USB\\OTHER\\1\n");
    EXPECT_EQ(box.icon, UINT{MB_ICONERROR});
}

TEST_F(AccessSelfTest, JudgesAnOfflineDeviceByTheExpectedPath) {
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    const BoxRecord right = Run(L"", L"TAVIX Self test");
    EXPECT_EQ(right.text, L"Usb device is offline. Test result OK");
    EXPECT_EQ(right.icon, 0u);
    const BoxRecord wrong = Run(UsbdId().c_str(), L"TAVIX Self test");
    EXPECT_EQ(wrong.text, L"Usb device is offline, but we get fake report.");
    EXPECT_EQ(wrong.icon, UINT{MB_ICONERROR});
}

TEST_F(AccessSelfTest, ShowsEveryOtherFailureUnderTheShortTitle) {
    FailNext(IOCTL_TAVIX_QueryUsbdDevinstPath, kStatusBufferTooSmall);
    const BoxRecord box = Run(UsbdId().c_str(), L"Self test");
    EXPECT_EQ(box.text, L"testapi_UsbdDevinstId() test fail(20)! Please check reason.");
    EXPECT_EQ(box.icon, UINT{MB_ICONERROR});
}

TEST_F(AccessSelfTest, SaysNothingWithoutTheBus) {
    RemoveBus();
    ModalDriver boxes;
    SelfTestUsbdDevinstPath(VcomId().c_str(), UsbdId().c_str());
    EXPECT_TRUE(boxes.boxes().empty());
}

}  // namespace
