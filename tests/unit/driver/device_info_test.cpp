#include "driver/device_info.h"

#include "base/windows_api.h"

#include <cfgmgr32.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "driver/vbus.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/heap_texts.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

using std::string_view_literals::operator""sv;
using testing::ElementsAre;
using testing::IsEmpty;

// A device property that the platform answers with.
class DeviceProperty : public testing::Test {
  protected:
    DeviceProperty()
        : read_("SetupDiGetDeviceRegistryPropertyW",
                [this](HDEVINFO set, SP_DEVINFO_DATA* device, DWORD property, DWORD* type, BYTE* buffer,
                       DWORD bufferBytes, DWORD* neededBytes) {
                    EXPECT_EQ(set, kSet);
                    EXPECT_EQ(device, &device_);
                    EXPECT_EQ(property, DWORD{SPDRP_FRIENDLYNAME});
                    return OnRead(type, buffer, bufferBytes, neededBytes);
                }) {}

    BOOL OnRead(DWORD* type, BYTE* buffer, DWORD bufferBytes, DWORD* neededBytes) {
        capacities_.push_back(bufferBytes);
        *neededBytes = tellsNeed_ ? static_cast<DWORD>(data_.size()) : 0;
        if (error_ != ERROR_SUCCESS || data_.size() > bufferBytes) {
            SetLastError(error_ != ERROR_SUCCESS ? error_ : tooSmall_);
            data_.append(growth_, 'x');
            return FALSE;
        }
        std::memset(buffer, 0xA5, bufferBytes);  // what lies behind the data is not the caller's
        std::memcpy(buffer, data_.data(), data_.size());
        *type = type_;
        return TRUE;
    }
    void Answer(DWORD type, std::string_view data) {
        type_ = type;
        data_ = data;
    }
    void AnswerText(const std::wstring& text) {
        type_ = REG_SZ;
        data_.assign(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
    }
    bool Read() { return GetDeviceRegistryText(kSet, &device_, SPDRP_FRIENDLYNAME, text_, &code_); }

    inline static const HDEVINFO kSet = reinterpret_cast<HDEVINFO>(size_t{0x5E7});
    SP_DEVINFO_DATA device_ = {};
    DWORD type_ = REG_SZ;
    std::string data_;
    DWORD error_ = ERROR_SUCCESS;
    DWORD tooSmall_ = ERROR_INSUFFICIENT_BUFFER;
    size_t growth_ = 0;
    bool tellsNeed_ = true;
    std::vector<DWORD> capacities_;
    HeapText text_ = HeapTextOf(L"kept");
    DWORD code_ = 0xCC;
    ReplacedCall<SetupDiGetDeviceRegistryPropertyW> read_;
};

TEST_F(DeviceProperty, TextIsReturnedAsItIs) {
    AnswerText(L"Serial port (COM7)" + std::wstring(1, L'\0'));
    EXPECT_TRUE(Read());
    EXPECT_EQ(text_.view(), L"Serial port (COM7)");
    EXPECT_EQ(code_, 0u);
}

TEST_F(DeviceProperty, TextWithoutATerminatorEndsWithItsData) {
    AnswerText(L"COM7");
    EXPECT_TRUE(Read());
    EXPECT_EQ(text_.view(), L"COM7");
    Answer(REG_SZ, ""sv);
    EXPECT_TRUE(Read());
    EXPECT_EQ(text_.view(), L"");
}

TEST_F(DeviceProperty, NumberIsShownInHex) {
    Answer(REG_DWORD, "\xEF\xBE\xAD\xDE"sv);
    EXPECT_TRUE(Read());
    EXPECT_EQ(text_.view(), L"0xDEADBEEF");
    Answer(REG_DWORD, "\0\0\0\0"sv);
    EXPECT_TRUE(Read());
    EXPECT_EQ(text_.view(), L"0x0");
}

TEST_F(DeviceProperty, EveryOtherTypeIsNoData) {
    for (const DWORD type : {REG_MULTI_SZ, REG_EXPAND_SZ, REG_BINARY, REG_QWORD, REG_NONE}) {
        Answer(type, "a\0\0\0\0\0\0\0"sv);
        EXPECT_FALSE(Read()) << type;
        EXPECT_EQ(code_, DWORD{ERROR_NO_DATA});
    }
    Answer(REG_DWORD, "\1\2"sv);
    EXPECT_FALSE(Read());
    EXPECT_EQ(code_, DWORD{ERROR_NO_DATA});
    EXPECT_EQ(text_.view(), L"kept");
}

TEST_F(DeviceProperty, EveryOtherErrorIsReturnedAtOnce) {
    error_ = ERROR_INVALID_DATA;
    EXPECT_FALSE(Read());
    EXPECT_EQ(code_, DWORD{ERROR_INVALID_DATA});
    EXPECT_EQ(capacities_.size(), 1u);
    EXPECT_FALSE(GetDeviceRegistryText(kSet, &device_, SPDRP_FRIENDLYNAME, text_));
    EXPECT_EQ(text_.view(), L"kept");
}

TEST_F(DeviceProperty, BufferGrowsWithThePropertyForBothErrors) {
    for (const DWORD tooSmall : {ERROR_INSUFFICIENT_BUFFER, ERROR_MORE_DATA}) {
        tooSmall_ = tooSmall;
        const std::wstring longText(5000, L'n');
        AnswerText(longText);
        EXPECT_TRUE(Read());
        EXPECT_EQ(text_.view(), longText);
    }
}

TEST_F(DeviceProperty, APropertyThatGrowsBetweenTheCallsIsReadInTheEnd) {
    AnswerText(std::wstring(200, L'n'));
    growth_ = 1000;
    EXPECT_TRUE(Read());
    EXPECT_GT(capacities_.size(), 1u);
    EXPECT_EQ(text_.size(), data_.size() / sizeof(wchar_t));
}

TEST_F(DeviceProperty, BufferGrowsWithoutBeingToldHowFar) {
    tellsNeed_ = false;
    AnswerText(std::wstring(5000, L'n'));
    Read();
    EXPECT_TRUE(std::is_sorted(capacities_.begin(), capacities_.end()));
    EXPECT_GE(capacities_.back(), 10000u);
}

TEST_F(DeviceProperty, APropertyThatNeverFitsIsGivenUp) {
    AnswerText(std::wstring(200, L'n'));
    error_ = ERROR_INSUFFICIENT_BUFFER;
    EXPECT_FALSE(Read());
    EXPECT_NE(code_, 0u);
    EXPECT_LE(capacities_.size(), 20u);
}

TEST_F(DeviceProperty, FriendlyNameIsCutToItsBuffer) {
    wchar_t name[kFriendlyNameChars];
    AnswerText(L"Scanner (COM7)");
    EXPECT_TRUE(GetDeviceFriendlyName(kSet, &device_, name));
    EXPECT_STREQ(name, L"Scanner (COM7)");
    AnswerText(std::wstring(300, L'n'));
    EXPECT_TRUE(GetDeviceFriendlyName(kSet, &device_, name));
    EXPECT_EQ(std::wstring(name), std::wstring(99, L'n'));
    error_ = ERROR_INVALID_DATA;
    EXPECT_FALSE(GetDeviceFriendlyName(kSet, &device_, name));
    EXPECT_EQ(std::wstring(name), std::wstring(99, L'n'));
}

TEST(DevNodeStatus, TellsPresenceAndProblem) {
    SP_DEVINFO_DATA device = {.DevInst = 77};
    CONFIGRET result = CR_SUCCESS;
    REPLACE_CALL(status, CM_Get_DevNode_Status, [&](ULONG* flags, ULONG* problem, DEVINST node, ULONG mode) {
        EXPECT_EQ(node, 77u);
        EXPECT_EQ(mode, 0u);
        *flags = DN_HAS_PROBLEM;
        *problem = CM_PROB_DISABLED;
        return result;
    });
    ULONG problem = 0xCC;
    EXPECT_TRUE(GetDevNodeStatus(device, &problem));
    EXPECT_EQ(problem, ULONG{CM_PROB_DISABLED});
    EXPECT_TRUE(GetDevNodeStatus(device));
    result = CR_NO_SUCH_DEVNODE;
    problem = 0xCC;
    EXPECT_FALSE(GetDevNodeStatus(device, &problem));
    EXPECT_EQ(problem, 0xCCu);
}

UsbdInfo_st GoodInfo() {
    return {.online = 1,
            .speed = kUsbHighSpeed,
            .idVendor = 0x12AB,
            .idProduct = 0x0056,
            .bcdDevice = 0x0A05,
            .manufacturer = L"Holmark",
            .product = L"Scanner",
            .serialNumber = L"SN01",
            .usbdInstancePath = L"USB\\VID_12AB&PID_0056\\SN01",
            .vcomInstancePath = L"QRV_VBUS\\Qrv_vcom\\1&2"};
}

class UsbdInfo : public testing::Test {
  protected:
    UsbdInfo() { fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Of(GoodInfo()); }
    DWORD Get() { return GetUsbdInfo(fake_.deviceSet(), fake_.device(), info_); }

    FakeVbus fake_;
    UsbdInfo_st info_ = {.online = 99};
};

TEST_F(UsbdInfo, IsReadWhole) {
    EXPECT_EQ(Get(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(BytesOfRecord(info_), BytesOfRecord(GoodInfo()));
    EXPECT_EQ(fake_.requests.at(0).input, BytesOfRecord(DeviceNameFromText(L"Qrv_vcom\\1&2")));
    EXPECT_EQ(fake_.requests[0].outputBytes, 1296u);
}

TEST_F(UsbdInfo, AnyOtherCountOfBytesIsAWrongLength) {
    for (const DWORD claimed : {0u, 4u, 1295u, 1297u, 0xFFFFFFFFu}) {
        fake_.replies[IOCTL_TAVIX_GetUsbdInfo].claimedBytes = claimed;
        EXPECT_EQ(Get(), kWrongReplyLength) << claimed;
    }
    EXPECT_EQ(info_.online, 99u);
}

TEST_F(UsbdInfo, FailuresKeepTheirError) {
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    EXPECT_EQ(Get(), DWORD{ERROR_ACCESS_DENIED});
    fake_.hasInterface = false;
    EXPECT_EQ(Get(), DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(info_.online, 99u);
}

TEST_F(UsbdInfo, EveryTextIsTerminated) {
    std::vector<BYTE> full(sizeof(UsbdInfo_st), 'A');
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = {ERROR_SUCCESS, full, std::nullopt};
    EXPECT_EQ(Get(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(std::wstring(info_.manufacturer), std::wstring(127, 0x4141));
    EXPECT_EQ(std::wstring(info_.product), std::wstring(127, 0x4141));
    EXPECT_EQ(std::wstring(info_.serialNumber), std::wstring(127, 0x4141));
    EXPECT_EQ(std::wstring(info_.usbdInstancePath), std::wstring(127, 0x4141));
    EXPECT_EQ(std::wstring(info_.vcomInstancePath), std::wstring(128, 0x4141));
}

TEST(UsbdInfoText, ShowsAnOnlineDevice) {
    wchar_t text[kUsbdInfoTextChars];
    FormatUsbdInfo(GoodInfo(), text);
    EXPECT_STREQ(text,
                 L"TAVIX CoInstaller version: 1.7.11\n\n"
                 L"Usb device info :\n"
                 L"  idVender: 12AB , idProduct: 0056\n"
                 L"  bcdDevice: 10.05\n"
                 L"  Manufacturer: Holmark\n"
                 L"  Product: Scanner\n"
                 L"  Serial: SN01\n"
                 L"  Usbd Device-instance-path: USB\\VID_12AB&PID_0056\\SN01\n\n"
                 L"Vcom Device-instance-path: QRV_VBUS\\Qrv_vcom\\1&2\n\n");
}

TEST(UsbdInfoText, SaysThatADeviceIsOffline) {
    UsbdInfo_st info = GoodInfo();
    info.online = 0;
    wchar_t text[kUsbdInfoTextChars];
    FormatUsbdInfo(info, text);
    EXPECT_NE(std::wstring(text).find(L"\n\nUsb device info (offline):\n"), std::wstring::npos);
}

TEST(UsbdInfoText, SurvivesTextsWithoutATerminator) {
    std::vector<BYTE> full(sizeof(UsbdInfo_st), 'A');
    UsbdInfo_st info;
    std::memcpy(&info, full.data(), sizeof(info));
    GuardedBuffer<wchar_t> text(kUsbdInfoTextChars);
    FormatUsbdInfo(info, text.AsArray<kUsbdInfoTextChars>());
    const std::wstring shown = text.data();
    EXPECT_NE(shown.find(L"  Product: " + std::wstring(127, 0x4141) + L"\n"), std::wstring::npos);
    EXPECT_TRUE(shown.ends_with(L"Vcom Device-instance-path: " + std::wstring(128, 0x4141) + L"\n\n"))
        << "nothing is cut";
}

class UsbSpeedOfDevice : public UsbdInfo {
  protected:
    UsbSpeedOfDevice() { fake_.huid = L"1&2"; }
    uint32_t Speed() { return GetUsbSpeed(fake_.deviceSet(), fake_.device()); }
};

TEST_F(UsbSpeedOfDevice, IsAskedByTheHuid) {
    EXPECT_EQ(Speed(), 2u);
    EXPECT_EQ(fake_.requests.at(0).input, BytesOfRecord(DeviceNameFromText(L"1&2")));
}

TEST_F(UsbSpeedOfDevice, IsWhateverTheDriverSays) {
    UsbdInfo_st info = GoodInfo();
    info.speed = 0xFFFFFFFF;
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Of(info);
    EXPECT_EQ(Speed(), 0xFFFFFFFFu);
}

TEST_F(UsbSpeedOfDevice, IsUnknownWhenAnyStepFails) {
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo].claimedBytes = 1295;
    EXPECT_EQ(Speed(), 0u);
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Failure(ERROR_DEVICE_NOT_CONNECTED);
    EXPECT_EQ(Speed(), 0u);
    fake_.hasInterface = false;
    EXPECT_EQ(Speed(), 0u);
    fake_.hasInterface = true;
    fake_.huid = L"";
    EXPECT_EQ(Speed(), 0u);
}

class VcomOpener : public testing::Test {
  protected:
    DWORD Pid() { return GetVcomOpenerPid(fake_.deviceSet(), fake_.device()); }
    FakeVbus fake_;
};

TEST_F(VcomOpener, IsTheProcessThatTheDriverNames) {
    fake_.replies[IOCTL_TAVIX_GetVcomOpenerPid] = FakeReply::Of(uint32_t{4242});
    EXPECT_EQ(Pid(), 4242u);
    EXPECT_EQ(fake_.requests.at(0).input, BytesOfRecord(DeviceNameFromText(L"Qrv_vcom\\1&2")));
    EXPECT_EQ(fake_.requests[0].outputBytes, 4u);
}

TEST_F(VcomOpener, IsNoneOnAnyFailure) {
    EXPECT_EQ(Pid(), 0u);
    fake_.replies[IOCTL_TAVIX_GetVcomOpenerPid] = FakeReply::Of(uint32_t{4242});
    fake_.instanceId = L"HTREE";
    EXPECT_EQ(Pid(), 0u);
}

}  // namespace
