#include "driver/mapping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "driver/vbus.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/heap_texts.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

VcomCfgReply_st ReplyWithPort(const std::wstring& portName) {
    VcomCfgReply_st reply = {};
    std::copy(portName.begin(), portName.end(), reply.portName);
    return reply;
}

class VcomOfUsbd : public testing::Test {
  protected:
    VcomOfUsbd() {
        fake_.instanceId = L"USB\\VID_1234&PID_5678\\SN01";
        fake_.huid = L"1&2";
        fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Of(ReplyWithPort(L"COM7"));
    }
    UfAppErr Query(wchar_t* huid, DWORD huidChars, wchar_t* port, DWORD portChars) {
        return tavo_QueryVComFromUsbd(fake_.deviceSet(), fake_.device(), huid, huidChars, port, portChars);
    }

    FakeVbus fake_;
};

TEST_F(VcomOfUsbd, IsFoundByTheHuid) {
    wchar_t huid[128] = L"";
    wchar_t port[16] = L"";
    EXPECT_EQ(Query(huid, 128, port, 16), UfAppErr_Success);
    EXPECT_STREQ(huid, L"1&2");
    EXPECT_STREQ(port, L"COM7");
    ASSERT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg));
    EXPECT_EQ(fake_.requests[0].input, BytesOfRecord(DeviceNameFromText(L"1&2")));
    EXPECT_EQ(fake_.requests[0].outputBytes, 552u);
}

TEST_F(VcomOfUsbd, WithoutAPortBufferTheDriverIsOnlyOpened) {
    wchar_t huid[128] = L"";
    EXPECT_EQ(Query(huid, 128, nullptr, 0), UfAppErr_Success);
    EXPECT_STREQ(huid, L"1&2");
    EXPECT_EQ(Query(nullptr, 0, nullptr, 0), UfAppErr_Success);
    EXPECT_THAT(fake_.requests, IsEmpty());
    EXPECT_EQ(fake_.openings.size(), 2u);
}

TEST_F(VcomOfUsbd, WithoutAVbusIsNotReadyEvenWithoutAHuid) {
    fake_.hasInterface = false;
    fake_.huid = std::nullopt;
    EXPECT_EQ(Query(nullptr, 0, nullptr, 0), UfAppErr_VbusNotReady);
}

TEST_F(VcomOfUsbd, AMissingOrEmptyHuidMeansNoVcomYet) {
    wchar_t port[16] = L"kept";
    fake_.huid = L"";
    EXPECT_EQ(Query(nullptr, 0, port, 16), UfAppErr_NoVcomYet);
    fake_.huid = std::nullopt;
    REPLACE_CALL(open, SetupDiOpenDevRegKey, [](auto...) -> HKEY {
        SetLastError(ERROR_KEY_DOES_NOT_EXIST);
        return static_cast<HKEY>(INVALID_HANDLE_VALUE);
    });
    EXPECT_EQ(Query(nullptr, 0, port, 16), UfAppErr_NoVcomYet);
    EXPECT_STREQ(port, L"kept");
}

TEST_F(VcomOfUsbd, AHuidLongerThanItsFieldIsCut) {
    fake_.huid = std::wstring(300, L'h');
    wchar_t huid[200] = L"";
    wchar_t port[16];
    EXPECT_EQ(Query(huid, 200, port, 16), UfAppErr_Success);
    EXPECT_EQ(std::wstring(huid), std::wstring(127, L'h'));
    EXPECT_EQ(fake_.requests[0].input, BytesOfRecord(DeviceNameFromText(std::wstring(127, L'h'))));
}

TEST_F(VcomOfUsbd, StoresNoMoreThanTheBuffersHold) {
    for (const DWORD chars : {0u, 1u, 2u, 3u, 4u, 5u}) {
        GuardedBuffer<wchar_t> huid(chars);
        GuardedBuffer<wchar_t> port(chars);
        EXPECT_EQ(Query(huid.data(), chars, port.data(), chars), UfAppErr_Success);
        if (chars == 0) continue;
        EXPECT_EQ(std::wstring(huid.data()), std::wstring(L"1&2").substr(0, chars - 1));
        EXPECT_EQ(std::wstring(port.data()), std::wstring(L"COM7").substr(0, chars - 1));
    }
}

TEST_F(VcomOfUsbd, APortNameWithoutATerminatorEndsWithItsField) {
    fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Of(ReplyWithPort(std::wstring(16, L'p')));
    wchar_t port[64] = L"";
    EXPECT_EQ(Query(nullptr, 0, port, 64), UfAppErr_Success);
    EXPECT_EQ(std::wstring(port), std::wstring(16, L'p'));
}

TEST_F(VcomOfUsbd, AFailedRequestIsABadParameter) {
    wchar_t huid[16] = L"";
    wchar_t port[16] = L"kept";
    fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Failure(ERROR_DEVICE_NOT_CONNECTED);
    EXPECT_EQ(Query(huid, 16, port, 16), UfAppErr_BadParam);
    EXPECT_STREQ(huid, L"1&2") << "the Huid is known before the request";
    EXPECT_STREQ(port, L"kept");
}

TEST_F(VcomOfUsbd, AReplyWithoutThePortTableIsEnough) {
    fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Of(ReplyWithPort(L"COM7"));
    fake_.replies[IOCTL_TAVIX_GetVcomCfg].claimedBytes = 40;
    wchar_t port[16] = L"";
    EXPECT_EQ(Query(nullptr, 0, port, 16), UfAppErr_Success);
    EXPECT_STREQ(port, L"COM7");
}

TEST_F(VcomOfUsbd, TheReplysOwnResultIsReturned) {
    VcomCfgReply_st reply = ReplyWithPort(L"COM7");
    reply.result = UfAppErr_WrongHuid;
    fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Of(reply);
    wchar_t port[16] = L"kept";
    EXPECT_EQ(Query(nullptr, 0, port, 16), UfAppErr_WrongHuid);
    EXPECT_STREQ(port, L"kept");
}

class UsbdOfVcom : public testing::Test {
  protected:
    UsbdOfVcom() { fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Of(info_); }
    UfAppErr Query() { return GetUsbdPathOfVcom(fake_.deviceSet(), fake_.device(), path_); }

    UsbdInfo_st info_ = {.online = 1, .usbdInstancePath = L"USB\\VID_1234&PID_5678\\SN01"};
    FakeVbus fake_;
    HeapText path_ = HeapTextOf(L"kept");
};

TEST_F(UsbdOfVcom, IsReadFromTheInformationRecord) {
    EXPECT_EQ(Query(), UfAppErr_Success);
    EXPECT_EQ(path_.view(), L"USB\\VID_1234&PID_5678\\SN01");
    EXPECT_EQ(fake_.requests.at(0).input, BytesOfRecord(DeviceNameFromText(L"Qrv_vcom\\1&2")));
}

TEST_F(UsbdOfVcom, AnUnreadableInstanceIdMeansNoVcomYet) {
    fake_.instanceIdError = ERROR_INVALID_HANDLE;
    EXPECT_EQ(Query(), UfAppErr_NoVcomYet);
    EXPECT_EQ(fake_.enumerations, 0);
}

TEST_F(UsbdOfVcom, WithoutAVbusIsNotReady) {
    fake_.hasInterface = false;
    EXPECT_EQ(Query(), UfAppErr_VbusNotReady);
}

TEST_F(UsbdOfVcom, AFailedRequestOrAnotherLengthIsUnknown) {
    for (const DWORD claimed : {0u, 1295u, 1297u}) {
        fake_.replies[IOCTL_TAVIX_GetUsbdInfo].claimedBytes = claimed;
        EXPECT_EQ(Query(), UfAppErr_Unknown) << claimed;
    }
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Failure(ERROR_DEVICE_NOT_CONNECTED);
    EXPECT_EQ(Query(), UfAppErr_Unknown);
    EXPECT_EQ(path_.view(), L"kept");
}

TEST_F(UsbdOfVcom, AnEmptyPathMeansThatTheUsbDeviceIsOffline) {
    info_.usbdInstancePath[0] = L'\0';
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Of(info_);
    EXPECT_EQ(Query(), UfAppErr_UsbDeviceOffline);
    EXPECT_EQ(path_.view(), L"kept");
}

TEST_F(UsbdOfVcom, APathWithoutATerminatorEndsWithItsField) {
    std::fill(std::begin(info_.usbdInstancePath), std::end(info_.usbdInstancePath), L'u');
    std::fill(std::begin(info_.vcomInstancePath), std::end(info_.vcomInstancePath), L'v');
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Of(info_);
    EXPECT_EQ(Query(), UfAppErr_Success);
    EXPECT_EQ(path_.view(), std::wstring(128, L'u'));
}

TEST_F(UsbdOfVcom, APathThatCannotBeStoredIsOutOfMemory) {
    std::fill(std::begin(info_.usbdInstancePath), std::end(info_.usbdInstancePath), L'u');
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Of(info_);
    const size_t pathBytes = (kUsbStringChars + 1) * sizeof(wchar_t);
    REPLACE_CALL(allocation, malloc,
                 [&](size_t wanted) { return wanted == pathBytes ? nullptr : malloc(wanted); });
    EXPECT_EQ(Query(), UfAppErr_NoMem);
    EXPECT_EQ(path_.view(), L"kept");
}

FakeReply TextReply(const std::wstring& text) {
    FakeReply reply;
    const BYTE* bytes = reinterpret_cast<const BYTE*>(text.data());
    reply.bytes.assign(bytes, bytes + text.size() * sizeof(wchar_t));
    return reply;
}

const std::wstring kUsbdPath = L"USB\\VID_1\\S";

class DevinstPath : public testing::Test {
  protected:
    DevinstPath() { fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath] = TextReply(kUsbdPath + L'\0'); }
    int Query(DWORD bufferChars = 260) {
        return QueryUsbdDevinstPath(L"QRV_VBUS\\Qrv_vcom\\1&2", buffer_, bufferChars, &chars_);
    }

    FakeVbus fake_;
    wchar_t buffer_[260] = L"kept";
    DWORD chars_ = 0xCC;
};

TEST_F(DevinstPath, SendsThePathWithItsTerminator) {
    EXPECT_EQ(Query(), 0);
    EXPECT_EQ(std::wstring(buffer_), kUsbdPath);
    EXPECT_EQ(chars_, kUsbdPath.size() + 1);
    const std::wstring sent(L"QRV_VBUS\\Qrv_vcom\\1&2", 22);
    EXPECT_EQ(fake_.requests.at(0).input, TextReply(sent).bytes);
    EXPECT_EQ(fake_.requests.at(0).outputBytes, 520u);
}

TEST_F(DevinstPath, OpensForReadingAlone) {
    EXPECT_EQ(Query(), 0);
    ASSERT_EQ(fake_.openings.size(), 1u);
    EXPECT_EQ(fake_.openings[0].access, DWORD{GENERIC_READ});
    EXPECT_THAT(fake_.detailCapacities, ElementsAre(260));
}

struct DevinstRow {
    DWORD error;
    int expected;
};

TEST_F(DevinstPath, MapsEachFailure) {
    for (const DevinstRow row : {DevinstRow{ERROR_DEVICE_NOT_CONNECTED, 9},
                                 {ERROR_INSUFFICIENT_BUFFER, 20},
                                 {ERROR_ACCESS_DENIED, 2},
                                 {ERROR_MORE_DATA, 2},
                                 {ERROR_INVALID_FUNCTION, 2}}) {
        fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath] = FakeReply::Failure(row.error);
        chars_ = 0xCC;
        EXPECT_EQ(Query(), row.expected) << row.error;
        EXPECT_EQ(chars_, 1000u);
    }
}

TEST_F(DevinstPath, WithoutAVbusIsNotReady) {
    fake_.hasInterface = false;
    EXPECT_EQ(Query(), 7);
    EXPECT_STREQ(buffer_, L"kept");
}

TEST_F(DevinstPath, TerminatesAReplyThatIsNot) {
    fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath] = TextReply(kUsbdPath);
    std::fill(std::begin(buffer_), std::end(buffer_), L'#');
    EXPECT_EQ(Query(), 0);
    EXPECT_EQ(std::wstring(buffer_), kUsbdPath);
    EXPECT_EQ(chars_, kUsbdPath.size());
}

TEST_F(DevinstPath, CutsAReplyThatFillsTheBufferToTheBrim) {
    fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath] = TextReply(std::wstring(400, L'u'));
    for (const DWORD chars : {1u, 2u, 259u, 260u}) {
        GuardedBuffer<wchar_t> buffer(chars);
        EXPECT_EQ(QueryUsbdDevinstPath(L"v", buffer.data(), chars, nullptr), 0);
        EXPECT_EQ(std::wstring(buffer.data()), std::wstring(chars - 1, L'u'));
    }
    EXPECT_EQ(QueryUsbdDevinstPath(L"v", nullptr, 0, nullptr), 0);
}

TEST_F(DevinstPath, BelievesNoCountBeyondTheBuffer) {
    fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath].claimedBytes = 0xFFFFFFFF;
    EXPECT_EQ(Query(), 0);
    EXPECT_EQ(chars_, 260u);
    EXPECT_EQ(std::wstring(buffer_), kUsbdPath);
}

TEST_F(DevinstPath, HalvesAnOddCount) {
    fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath] = TextReply(L"abcd");
    fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath].claimedBytes = 5;
    EXPECT_EQ(Query(), 0);
    EXPECT_EQ(chars_, 2u);
    EXPECT_STREQ(buffer_, L"ab");
}

TEST_F(DevinstPath, NarrowTextsAreConvertedBothWays) {
    char buffer[64] = "";
    EXPECT_EQ(QueryUsbdDevinstPathA("QRV_VBUS\\Qrv_vcom\\1&2", buffer, 64, &chars_), 0);
    EXPECT_STREQ(buffer, "USB\\VID_1\\S");
    EXPECT_EQ(chars_, kUsbdPath.size() + 1);
    EXPECT_EQ(fake_.requests.at(0).input, TextReply(std::wstring(L"QRV_VBUS\\Qrv_vcom\\1&2", 22)).bytes);
    EXPECT_EQ(fake_.requests.at(0).outputBytes, 128u);
}

TEST_F(DevinstPath, NarrowResultsAreTheSame) {
    char buffer[64] = "kept";
    fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath] = FakeReply::Failure(ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(QueryUsbdDevinstPathA("v", buffer, 64, &chars_), 20);
    EXPECT_EQ(chars_, 1000u);
    fake_.replies[IOCTL_TAVIX_QueryUsbdDevinstPath] = FakeReply::Failure(ERROR_DEVICE_NOT_CONNECTED);
    EXPECT_EQ(QueryUsbdDevinstPathA("v", buffer, 64), 9);
    fake_.hasInterface = false;
    EXPECT_EQ(QueryUsbdDevinstPathA("v", buffer, 64), 7);
    EXPECT_STREQ(buffer, "kept");
}

TEST_F(DevinstPath, NarrowRepliesStayInsideTheirBuffer) {
    for (const DWORD bytes : {1u, 5u, 11u, 12u}) {
        GuardedBuffer<char> buffer(bytes);
        EXPECT_EQ(QueryUsbdDevinstPathA("v", buffer.data(), bytes), 0) << bytes;
        EXPECT_EQ(std::string(buffer.data()), std::string("USB\\VID_1\\S").substr(0, bytes - 1));
    }
}

}  // namespace
