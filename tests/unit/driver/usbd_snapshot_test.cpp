#include "driver/usbd_snapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <cfgmgr32.h>

#include "driver/vbus.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class UsbdSnapshotTest : public testing::Test {
  protected:
    UsbdSnapshotTest() {
        fake_.instanceId = L"USB\\VID_1234&PID_5678\\NO_LOG_OF_THIS_NAME";
        fake_.huid = L"1&2";
        VcomCfgReply_st config = {};
        std::copy_n(L"COM7", 4, config.portName);
        fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Of(config);
        UsbdInfo_st info = {};
        info.speed = kUsbSuperSpeed;
        fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Of(info);
    }
    bool Read() { return ReadUsbdSnapshot(fake_.deviceSet(), fake_.device(), snapshot_); }

    FakeVbus fake_;
    bool present_ = true;
    ULONG problem_ = 0;
    ReplacedCall<CM_Get_DevNode_Status> status_{
        "CM_Get_DevNode_Status", [this](PULONG status, PULONG problem, DEVINST, ULONG) -> CONFIGRET {
            if (!present_) return CR_NO_SUCH_DEVNODE;
            *status = 0;
            *problem = problem_;
            return CR_SUCCESS;
        }};
    UsbdSnapshot snapshot_;
};

TEST_F(UsbdSnapshotTest, HoldsAllThatIsKnownOfAWorkingDevice) {
    ASSERT_TRUE(Read());
    EXPECT_TRUE(snapshot_.present);
    EXPECT_EQ(snapshot_.problem, 0u);
    EXPECT_TRUE(snapshot_.IsWorking());
    EXPECT_TRUE(snapshot_.IsMapped());
    EXPECT_STREQ(snapshot_.portName, L"COM7");
    EXPECT_EQ(snapshot_.speed, uint32_t{kUsbSuperSpeed});
    EXPECT_THAT(std::wstring(snapshot_.log.path),
                testing::EndsWith(
                    L"\\System32\\QrvTavix\\usberr\\usberr_USB#VID_1234&PID_5678#NO_LOG_OF_THIS_NAME.log"));
    EXPECT_FALSE(snapshot_.log.times.HasLog());
}

TEST_F(UsbdSnapshotTest, AsksForTheMappingAndThenForTheSpeed) {
    ASSERT_TRUE(Read());
    ASSERT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg, IOCTL_TAVIX_GetUsbdInfo));
    for (const FakeVbus::Request& request : fake_.requests)
        EXPECT_EQ(request.input, BytesOfRecord(DeviceNameFromText(L"1&2")));
}

TEST_F(UsbdSnapshotTest, ADeviceThatDoesNotWorkIsNotAskedForItsSpeed) {
    problem_ = 10;
    ASSERT_TRUE(Read());
    EXPECT_EQ(snapshot_.problem, 10u);
    EXPECT_FALSE(snapshot_.IsWorking());
    EXPECT_EQ(snapshot_.speed, uint32_t{kUsbSpeedUnknown});
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg));
}

TEST_F(UsbdSnapshotTest, AnAbsentDeviceHasNoProblemAndNoSpeed) {
    present_ = false;
    ASSERT_TRUE(Read());
    EXPECT_FALSE(snapshot_.present);
    EXPECT_EQ(snapshot_.problem, 0u);
    EXPECT_FALSE(snapshot_.IsWorking());
    EXPECT_TRUE(snapshot_.IsMapped());
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg));
}

TEST_F(UsbdSnapshotTest, WithoutAMappingNothingMoreIsAsked) {
    fake_.huid = std::nullopt;
    ASSERT_TRUE(Read());
    EXPECT_EQ(snapshot_.mappingError, uint32_t{UfAppErr_NoVcomYet});
    EXPECT_FALSE(snapshot_.IsMapped());
    EXPECT_STREQ(snapshot_.portName, L"");
    EXPECT_EQ(snapshot_.speed, uint32_t{kUsbSpeedUnknown});
    EXPECT_THAT(fake_.requests, IsEmpty());
}

TEST_F(UsbdSnapshotTest, WithoutABusNothingIsAsked) {
    fake_.hasInterface = false;
    ASSERT_TRUE(Read());
    EXPECT_EQ(snapshot_.mappingError, uint32_t{UfAppErr_VbusNotReady});
    EXPECT_THAT(fake_.requests, IsEmpty());
}

TEST_F(UsbdSnapshotTest, AFailedSpeedRequestLeavesTheMapping) {
    fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = FakeReply::Failure(ERROR_DEVICE_NOT_CONNECTED);
    ASSERT_TRUE(Read());
    EXPECT_TRUE(snapshot_.IsMapped());
    EXPECT_EQ(snapshot_.speed, uint32_t{kUsbSpeedUnknown});
}

TEST_F(UsbdSnapshotTest, WithoutALogPathTheReadingEnds) {
    fake_.instanceIdError = ERROR_INVALID_DATA;
    EXPECT_FALSE(Read());
    EXPECT_TRUE(snapshot_.IsMapped());
    EXPECT_STREQ(snapshot_.portName, L"COM7");
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg));
}

TEST_F(UsbdSnapshotTest, AConfigurationReplyOfAnyLengthCountsAsFarAsItCame) {
    VcomCfgReply_st whole = {};
    std::copy_n(L"COM7", 4, whole.portName);
    for (size_t bytes = 0; bytes <= sizeof(whole); ++bytes) {
        FakeReply reply = FakeReply::Of(whole);
        reply.bytes.resize(bytes);
        fake_.replies[IOCTL_TAVIX_GetVcomCfg] = reply;
        snapshot_ = {};
        ASSERT_TRUE(Read());
        EXPECT_TRUE(snapshot_.IsMapped()) << bytes;
        // The name begins at 8; half a character has come whole when its upper byte is 0.
        const size_t nameChars = bytes <= 8 ? 0 : std::min<size_t>((bytes - 8 + 1) / 2, 4);
        EXPECT_EQ(std::wstring(snapshot_.portName), std::wstring(L"COM7").substr(0, nameChars)) << bytes;
    }
}

TEST_F(UsbdSnapshotTest, OnlyAWholeInformationReplyTellsTheSpeed) {
    UsbdInfo_st whole = {};
    whole.speed = kUsbSuperSpeed;
    for (size_t bytes = 0; bytes <= sizeof(whole); ++bytes) {
        FakeReply reply = FakeReply::Of(whole);
        reply.bytes.resize(bytes);
        fake_.replies[IOCTL_TAVIX_GetUsbdInfo] = reply;
        snapshot_ = {};
        ASSERT_TRUE(Read());
        EXPECT_EQ(snapshot_.speed,
                  bytes == sizeof(whole) ? uint32_t{kUsbSuperSpeed} : uint32_t{kUsbSpeedUnknown})
            << bytes;
    }
}

}  // namespace
