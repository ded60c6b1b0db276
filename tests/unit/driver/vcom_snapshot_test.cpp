#include "driver/vcom_snapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfgmgr32.h>

#include <cstring>
#include <string>

#include "driver/vbus.h"
#include "tests/support/import_redirect.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VcomSnapshotTest : public testing::Test {
  protected:
    VcomSnapshotTest() {
        const DriverVersion_st version = {.major = 1, .minor = 7, .build = 11};
        const VcomCfgReply_st config = {.lifemode = kLifemodePersistent, .portName = L"COM7"};
        const GlobalCfg_st global = {.bindMode = kBindByUsbPort};
        fake_.replies[IOCTL_TAVIX_GetDriverVersion] = FakeReply::Of(version);
        fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Of(config);
        fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Of(global);
        fake_.replies[IOCTL_TAVIX_GetLogCfg] = FakeReply::Of(LogCfg_st{.fileLogging = 0x100});
    }
    VcomSnapshot Read() { return ReadVcomSnapshot(fake_.deviceSet(), fake_.device()); }

    FakeVbus fake_;
    CONFIGRET status_ = CR_SUCCESS;
    bool named_ = true;

  private:
    ReplacedCall<CM_Get_DevNode_Status> presence_{"CM_Get_DevNode_Status",
                                                  [this](ULONG*, ULONG*, DEVINST, ULONG) { return status_; }};
    ReplacedCall<SetupDiGetDeviceRegistryPropertyW> property_{
        "SetupDiGetDeviceRegistryPropertyW",
        [this](HDEVINFO, SP_DEVINFO_DATA*, DWORD property, DWORD* type, BYTE* data, DWORD, DWORD* bytes) {
            EXPECT_EQ(property, DWORD{SPDRP_FRIENDLYNAME});
            if (!named_) {
                SetLastError(ERROR_INVALID_DATA);
                return FALSE;
            }
            constexpr wchar_t kName[] = L"Scanner";
            *type = REG_SZ;
            *bytes = sizeof(kName);
            std::memcpy(data, kName, sizeof(kName));
            return TRUE;
        }};
};

TEST_F(VcomSnapshotTest, ReadsEverythingInOrder) {
    const VcomSnapshot shown = Read();
    EXPECT_TRUE(shown.name.present && shown.name.known);
    EXPECT_STREQ(shown.name.text, L"Scanner");
    EXPECT_STREQ(shown.version, L"TAVIX 1.7.11");
    EXPECT_EQ(shown.openError + shown.versionError + shown.loggingError, 0u);
    EXPECT_EQ(shown.configError, UfAppErr_Success);
    EXPECT_STREQ(shown.config.portName, L"COM7");
    EXPECT_EQ(shown.global.bindMode, uint32_t{kBindByUsbPort});
    EXPECT_TRUE(shown.fileLogging) << "any byte of the word counts";
    EXPECT_FALSE(shown.readOnly);
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetDriverVersion, IOCTL_TAVIX_GetVcomCfg,
                                                  IOCTL_TAVIX_GetGlobalCfg, IOCTL_TAVIX_GetLogCfg));
}

TEST_F(VcomSnapshotTest, AnAbsentDeviceIsReadAllTheSame) {
    status_ = CR_NO_SUCH_DEVNODE;
    const VcomSnapshot shown = Read();
    EXPECT_FALSE(shown.name.present);
    EXPECT_TRUE(shown.name.known);
    EXPECT_EQ(fake_.requests.size(), 4u);
}

TEST_F(VcomSnapshotTest, WithoutANameNothingIsOpened) {
    named_ = false;
    const VcomSnapshot shown = Read();
    EXPECT_FALSE(shown.name.known);
    EXPECT_TRUE(shown.name.present);
    EXPECT_STREQ(shown.name.text, L"");
    EXPECT_EQ(fake_.enumerations, 0);
}

TEST_F(VcomSnapshotTest, ABusThatCannotBeOpenedEndsTheReadingWithItsError) {
    for (const DWORD error : {ERROR_NOT_READY, ERROR_FILE_NOT_FOUND}) {
        fake_.hasInterface = error != ERROR_NOT_READY;
        fake_.openErrors = {error};
        const VcomSnapshot shown = Read();
        EXPECT_EQ(shown.openError, error);
        EXPECT_STREQ(shown.version, L"[TAVIX]");
        EXPECT_THAT(fake_.requests, IsEmpty());
        fake_.openErrors.clear();
    }
}

TEST_F(VcomSnapshotTest, AFailedVersionRequestDoesNotEndTheReading) {
    fake_.replies[IOCTL_TAVIX_GetDriverVersion] = FakeReply::Failure(ERROR_NOT_READY);
    const VcomSnapshot shown = Read();
    EXPECT_EQ(shown.openError, 0u);
    EXPECT_EQ(shown.versionError, DWORD{ERROR_NOT_READY});
    EXPECT_STREQ(shown.version, L"[TAVIX]");
    EXPECT_EQ(shown.configError, UfAppErr_Success);
    EXPECT_STREQ(shown.config.portName, L"COM7");
}

TEST_F(VcomSnapshotTest, WithoutAConfigurationTheLoggingStateIsNotAsked) {
    fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Failure(ERROR_GEN_FAILURE);
    const VcomSnapshot shown = Read();
    EXPECT_EQ(shown.configError, UfAppErr_Unknown);
    EXPECT_FALSE(shown.fileLogging);
    EXPECT_THAT(fake_.RequestCodes(),
                ElementsAre(IOCTL_TAVIX_GetDriverVersion, IOCTL_TAVIX_GetVcomCfg, IOCTL_TAVIX_GetGlobalCfg));
}

TEST_F(VcomSnapshotTest, ALoggingStateThatCannotBeReadIsOffWithItsError) {
    fake_.replies[IOCTL_TAVIX_GetLogCfg] = FakeReply::Failure(ERROR_GEN_FAILURE);
    const VcomSnapshot shown = Read();
    EXPECT_FALSE(shown.fileLogging);
    EXPECT_EQ(shown.loggingError, DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(shown.configError, UfAppErr_Success);
}

TEST_F(VcomSnapshotTest, ADeniedOpeningIsKnownAsReadOnly) {
    fake_.openErrors = {ERROR_ACCESS_DENIED};
    EXPECT_TRUE(Read().readOnly);
}

}  // namespace
