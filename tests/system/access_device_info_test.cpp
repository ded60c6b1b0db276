// Properties and presence of real device nodes, and what the driver says of a device.
#include <algorithm>
#include <cstring>
#include <string>

#include "driver/device_info.h"
#include "driver/vbus.h"
#include "sim/shim/platform_shim.h"
#include "state/device_values.h"
#include "tests/support/heap_texts.h"
#include "tests/support/import_redirect.h"
#include "tests/system/access_fixture.h"

namespace {

class AccessProperty : public DriverAccessTest {
  protected:
    bool Read(DWORD property) {
        return GetDeviceRegistryText(usbd_.set(), usbd_.device(), property, text_, &error_);
    }

    HeapText text_ = HeapTextOf(L"kept");
    DWORD error_ = 0xCC;
};

TEST_F(AccessProperty, TextIsReadInEveryLength) {
    for (const size_t chars : {1, 126, 127, 128, 129, 1000, 30000}) {
        const std::wstring name(chars, L'n');
        usbd_.SetTextProperty(SPDRP_FRIENDLYNAME, name);
        EXPECT_TRUE(Read(SPDRP_FRIENDLYNAME)) << chars;
        EXPECT_EQ(text_.view(), name);
        EXPECT_EQ(error_, 0u);
    }
}

TEST_F(AccessProperty, NumberIsReadInHex) {
    const DWORD flags = 0x40;
    ASSERT_TRUE(SetupDiSetDeviceRegistryPropertyW(usbd_.set(), usbd_.device(), SPDRP_CONFIGFLAGS,
                                                  reinterpret_cast<const BYTE*>(&flags), sizeof(flags)));
    EXPECT_TRUE(Read(SPDRP_CONFIGFLAGS));
    EXPECT_EQ(text_.view(), L"0x40");
}

TEST_F(AccessProperty, AListIsNoData) {
    usbd_.SetTextProperty(SPDRP_HARDWAREID, L"USB\\VID_1234" + std::wstring(1, L'\0'));
    EXPECT_FALSE(Read(SPDRP_HARDWAREID));
    EXPECT_EQ(error_, DWORD{ERROR_NO_DATA});
}

TEST_F(AccessProperty, AMissingPropertyTellsTheSystemsError) {
    DWORD expected = ERROR_SUCCESS;
    BYTE buffer[64];
    ASSERT_FALSE(SetupDiGetDeviceRegistryPropertyW(usbd_.set(), usbd_.device(), SPDRP_LOCATION_INFORMATION,
                                                   nullptr, buffer, sizeof(buffer), nullptr));
    expected = GetLastError();
    EXPECT_FALSE(Read(SPDRP_LOCATION_INFORMATION));
    EXPECT_EQ(error_, expected);
    EXPECT_EQ(text_.view(), L"kept");
}

TEST_F(AccessProperty, FriendlyNameOfAVcomIsCutToItsBuffer) {
    wchar_t name[kFriendlyNameChars];
    vcom_.SetTextProperty(SPDRP_FRIENDLYNAME, L"Scanner (COM7)");
    EXPECT_TRUE(GetDeviceFriendlyName(vcom_.set(), vcom_.device(), name));
    EXPECT_STREQ(name, L"Scanner (COM7)");
    vcom_.SetTextProperty(SPDRP_FRIENDLYNAME, std::wstring(120, L'n'));
    EXPECT_TRUE(GetDeviceFriendlyName(vcom_.set(), vcom_.device(), name));
    EXPECT_EQ(std::wstring(name), std::wstring(99, L'n'));
}

TEST_F(AccessProperty, PresenceAndProblemOfANodeAreTold) {
    ASSERT_TRUE(InstallPlatformShim());
    ULONG problem = 0xCC;
    ASSERT_EQ(driver_.SetPresence(UsbdId(), true, 0), ERROR_SUCCESS);
    EXPECT_TRUE(GetDevNodeStatus(*usbd_.device(), &problem));
    EXPECT_EQ(problem, 0u);
    ASSERT_EQ(driver_.SetPresence(UsbdId(), true, 22), ERROR_SUCCESS);
    EXPECT_TRUE(GetDevNodeStatus(*usbd_.device(), &problem));
    EXPECT_EQ(problem, 22u);
    ASSERT_EQ(driver_.SetPresence(UsbdId(), false, 0), ERROR_SUCCESS);
    EXPECT_FALSE(GetDevNodeStatus(*usbd_.device(), &problem));
}

class AccessUsbdInfo : public DriverAccessTest {
  protected:
    static ExpectedRequest InfoRequest(std::wstring_view name) {
        return {IOCTL_TAVIX_GetUsbdInfo, NameBytes(name), 1296};
    }
    DWORD Get() { return GetUsbdInfo(vcom_.set(), vcom_.device(), info_); }
    uint32_t Speed() { return GetUsbSpeed(usbd_.set(), usbd_.device()); }

    UsbdInfo_st info_ = {.online = 99};
};

TEST_F(AccessUsbdInfo, TellsWhoTheDeviceIs) {
    EXPECT_EQ(Get(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(info_.online, 1u);
    EXPECT_EQ(info_.idVendor, 0x1234);
    EXPECT_EQ(info_.idProduct, 0x5678);
    EXPECT_EQ(info_.bcdDevice, 0x0102);
    EXPECT_STREQ(info_.manufacturer, L"Holmark");
    EXPECT_STREQ(info_.product, L"Scanner");
    EXPECT_EQ(info_.usbdInstancePath, UsbdId());
    EXPECT_EQ(info_.vcomInstancePath, VcomId());
    ExpectRequests({InfoRequest(kVcomTail)});
}

TEST_F(AccessUsbdInfo, IsShownAsText) {
    ASSERT_EQ(Get(), DWORD{ERROR_SUCCESS});
    wchar_t text[kUsbdInfoTextChars];
    FormatUsbdInfo(info_, text);
    EXPECT_EQ(std::wstring(text),
              L"TAVIX CoInstaller version: 1.7.11\n\nUsb device info :\n"
              L"  idVender: 1234 , idProduct: 5678\n  bcdDevice: 01.02\n  Manufacturer: Holmark\n"
              L"  Product: Scanner\n  Serial: ACCESS\n  Usbd Device-instance-path: " +
                  UsbdId() + L"\n\nVcom Device-instance-path: " + VcomId() + L"\n\n");
}

TEST_F(AccessUsbdInfo, OfAnotherLengthIsRefused) {
    for (const uint32_t bytes : {0u, 1295u}) {
        ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetUsbdInfo, bytes), ERROR_SUCCESS);
        EXPECT_EQ(Get(), kWrongReplyLength);
    }
    EXPECT_EQ(info_.online, 99u);
}

TEST_F(AccessUsbdInfo, TextsWithoutTerminatorsStayInTheirFields) {
    const std::vector<uint8_t> answer(1296, 'A');
    ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_GetUsbdInfo, answer), ERROR_SUCCESS);
    EXPECT_EQ(Get(), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(std::wstring(info_.product), std::wstring(127, 0x4141));
    EXPECT_EQ(std::wstring(info_.vcomInstancePath), std::wstring(128, 0x4141));
}

TEST_F(AccessUsbdInfo, SpeedIsAskedByTheHuid) {
    for (const uint32_t speed : {1u, 2u, 3u, 77u}) {
        ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldSpeed, speed), ERROR_SUCCESS);
        EXPECT_EQ(Speed(), speed);
        ExpectRequests({InfoRequest(kHuid)});
    }
}

TEST_F(AccessUsbdInfo, SpeedIsUnknownWhenAStepFails) {
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetUsbdInfo, 1295), ERROR_SUCCESS);
    EXPECT_EQ(Speed(), 0u);
    FailNext(IOCTL_TAVIX_GetUsbdInfo, kStatusNotConnected);
    EXPECT_EQ(Speed(), 0u);
    usbd_.DeleteValue(L"NowHuid");
    EXPECT_EQ(Speed(), 0u);
}

class AccessOpener : public DriverAccessTest {
  protected:
    DWORD Pid() { return GetVcomOpenerPid(vcom_.set(), vcom_.device()); }
};

TEST_F(AccessOpener, IsTheProcessThatHasThePortOpen) {
    EXPECT_EQ(Pid(), 0u);
    {
        const std::wstring name = std::wstring(L"\\\\.\\") + driver_.FindDevice(kHuid)->portName;
        const FileHandle port(
            CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(port) << GetLastError();
        EXPECT_EQ(Pid(), GetCurrentProcessId());
    }
    ExpectRequests({{IOCTL_TAVIX_GetVcomOpenerPid, NameBytes(kVcomTail), 4},
                    {IOCTL_TAVIX_GetVcomOpenerPid, NameBytes(kVcomTail), 4}});
}

TEST_F(AccessOpener, IsNoneOnAnyFailure) {
    ASSERT_EQ(driver_.SetOpenerPid(kHuid, 4242), ERROR_SUCCESS);
    EXPECT_EQ(Pid(), 4242u);
    FailNext(IOCTL_TAVIX_GetVcomOpenerPid, kStatusUnsuccessful);
    EXPECT_EQ(Pid(), 0u);
    RemoveBus();
    EXPECT_EQ(Pid(), 0u);
}

class AccessDeviceValues : public DriverAccessTest {};

TEST_F(AccessDeviceValues, AreReadFromTheNodesHardwareKey) {
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldLastStartup, 1234567890123), ERROR_SUCCESS);
    EXPECT_EQ(ReadDevQword(usbd_.set(), usbd_.device(), DIREG_DEV, kDevLastStartupSuccess, 7),
              1234567890123u);
    usbd_.StoreValue(L"text", REG_SZ, L"abc", 8);
    usbd_.StoreValue(L"number", REG_DWORD, "\5\0\0\0", 4);
    wchar_t buffer[3];
    EXPECT_EQ(ReadDevString(usbd_.set(), usbd_.device(), DIREG_DEV, L"text", buffer, 3), buffer);
    EXPECT_STREQ(buffer, L"ab");
    EXPECT_EQ(ReadDevDword(usbd_.set(), usbd_.device(), DIREG_DEV, L"number", 7), 5u);
    EXPECT_EQ(ReadDevDword(usbd_.set(), usbd_.device(), DIREG_DEV, L"text", 7), 7u);
}

TEST_F(AccessDeviceValues, OfANodeWithoutAKeyAreTheirDefaults) {
    ScratchNode scratch(L"USB\\VID_1234&PID_5678\\NOKEY");
    DeviceNode node(L"USB\\VID_1234&PID_5678\\NOKEY");
    ASSERT_TRUE(node.exists());
    wchar_t buffer[16] = L"kept";
    EXPECT_EQ(ReadDevQword(node.set(), node.device(), DIREG_DEV, kDevLastStartupSuccess, 7), 7u);
    EXPECT_EQ(ReadDevString(node.set(), node.device(), DIREG_DEV, kDevNowHuid, buffer, 16), nullptr);
    EXPECT_STREQ(buffer, L"kept");
}

}  // namespace
