#include "driver/global_cfg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/driver/fake_vbus.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr GlobalCfg_st kPresent = {.bindMode = 2, .prefetchMode = 1, .reserved18 = {3, 4}, .robPort = 1};

class GlobalSettings : public testing::Test {
  protected:
    GlobalSettings() {
        fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Of(kPresent);
        fake_.replies[IOCTL_TAVIX_SetGlobalCfg] = FakeReply::Of(uint32_t{0});
    }
    FakeVbus fake_;
    GlobalCfg_st global_ = {.bindMode = 99};
};

TEST_F(GlobalSettings, AreReadWhole) {
    EXPECT_EQ(GetGlobalCfg(global_), UfAppErr_Success);
    EXPECT_EQ(BytesOfRecord(global_), BytesOfRecord(kPresent));
    EXPECT_THAT(fake_.requests.at(0).input, IsEmpty());
    EXPECT_EQ(fake_.requests[0].outputBytes, 444u);
}

TEST_F(GlobalSettings, ThatCannotBeReadStayAsTheyWere) {
    for (DWORD bytes = 0; bytes < sizeof(GlobalCfg_st); ++bytes) {
        fake_.replies[IOCTL_TAVIX_GetGlobalCfg].claimedBytes = bytes;
        EXPECT_EQ(GetGlobalCfg(global_), UfAppErr_Unknown) << bytes;
    }
    fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    EXPECT_EQ(GetGlobalCfg(global_), UfAppErr_Unknown);
    fake_.hasInterface = false;
    EXPECT_EQ(GetGlobalCfg(global_), UfAppErr_VbusNotReady);
    EXPECT_EQ(global_.bindMode, 99u);
}

TEST_F(GlobalSettings, AreWrittenWhole) {
    EXPECT_EQ(SetGlobalCfg(kPresent), UfAppErr_Success);
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_SetGlobalCfg));
    EXPECT_EQ(fake_.requests[0].input, BytesOfRecord(kPresent));
    EXPECT_EQ(fake_.requests[0].outputBytes, 4u);
}

TEST_F(GlobalSettings, ThatCannotBeWrittenTellWhy) {
    fake_.replies[IOCTL_TAVIX_SetGlobalCfg] = FakeReply::Of(uint32_t{UfAppErr_Registry});
    EXPECT_EQ(SetGlobalCfg(kPresent), UfAppErr_Registry);
    fake_.replies[IOCTL_TAVIX_SetGlobalCfg] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    EXPECT_EQ(SetGlobalCfg(kPresent), UfAppErr_AccessDenied);
    fake_.replies[IOCTL_TAVIX_SetGlobalCfg] = FakeReply::Failure(ERROR_DEVICE_NOT_CONNECTED);
    EXPECT_EQ(SetGlobalCfg(kPresent), UfAppErr_Unknown);
    fake_.hasInterface = false;
    EXPECT_EQ(SetGlobalCfg(kPresent), UfAppErr_VbusNotReady);
}

TEST(VirtualMachineSetting, IsOnWhenPartialBytesAreDropped) {
    EXPECT_FALSE(IsVirtualMachineSettingOn({.clearInputDelayMinimumMs = 300}));
    EXPECT_TRUE(IsVirtualMachineSettingOn({.dropPartialBytes = 1}));
    EXPECT_TRUE(IsVirtualMachineSettingOn({.dropPartialBytes = 0x100}));
}

struct DelayRow {
    uint32_t before;
    uint32_t after;
};

TEST(VirtualMachineSetting, SwitchedOnRaisesAShortDelayAndKeepsALongOne) {
    for (const DelayRow row :
         {DelayRow{0, 300}, {299, 300}, {300, 300}, {301, 301}, {0xFFFFFFFF, 0xFFFFFFFF}}) {
        GlobalCfg_st global = kPresent;
        global.clearInputDelayMinimumMs = row.before;
        SetVirtualMachineSetting(global, true);
        GlobalCfg_st expected = kPresent;
        expected.dropPartialBytes = 1;
        expected.clearInputDelayMinimumMs = row.after;
        EXPECT_EQ(BytesOfRecord(global), BytesOfRecord(expected)) << row.before;
    }
}

TEST(VirtualMachineSetting, SwitchedOffClearsBothFields) {
    GlobalCfg_st global = kPresent;
    global.dropPartialBytes = 7;
    global.clearInputDelayMinimumMs = 5000;
    SetVirtualMachineSetting(global, false);
    EXPECT_EQ(BytesOfRecord(global), BytesOfRecord(kPresent));
}

}  // namespace
