// A user who may not write to the bus. A program of its own, because the product remembers the denial for as
// long as its process lives.
#include "driver/driver_info.h"
#include "driver/vbus.h"
#include "driver/vcom_config.h"
#include "sim/client/refused_open.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/access_fixture.h"

namespace {

class AccessReadOnly : public DriverAccessTest {
  protected:
    AccessReadOnly() : open_("CreateFileW", [this](auto... arguments) { return OnOpen(arguments...); }) {}

    void SetUp() override {
        DriverAccessTest::SetUp();
        RefuseWriting(true);
        accesses_.clear();
    }
    void RefuseWriting(bool refused) {
        const SimAccess_st access = {.refuseWrite = refused ? 1u : 0u};
        ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    }
    DWORD StartBlindRun() {
        return DoDeviceIoctl(vcom_.set(), vcom_.device(), IOCTL_TAVIX_StartBlindRun, nullptr, 0);
    }

    std::vector<DWORD> accesses_;  // asked for, of each opening

  private:
    HANDLE OnOpen(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                  DWORD flags, HANDLE pattern) {
        accesses_.push_back(access);
        return CreateFileHearingRefusal(path, access, share, security, disposition, flags, pattern);
    }

    ReplacedCall<CreateFileW> open_;
};

TEST_F(AccessReadOnly, FallsBackOnceAndStaysSo) {
    DWORD status = 0xCC;
    EXPECT_TRUE(OpenVbus(&status));
    EXPECT_EQ(status, 0u);
    EXPECT_TRUE(IsVbusReadOnly());
    RefuseWriting(false);
    EXPECT_TRUE(OpenVbus());
    EXPECT_TRUE(IsVbusReadOnly());
    const std::vector<DWORD> expected = {GENERIC_READ | GENERIC_WRITE, GENERIC_READ, GENERIC_READ};
    EXPECT_EQ(accesses_, expected);
}

TEST_F(AccessReadOnly, EveryLaterWriteRequestIsDeniedBeforeTheDriverSeesIt) {
    EXPECT_EQ(StartBlindRun(), DWORD{ERROR_ACCESS_DENIED});
    RefuseWriting(false);
    EXPECT_EQ(StartBlindRun(), DWORD{ERROR_ACCESS_DENIED});
    const GlobalCfg_st global = {};
    uint32_t result = 0;
    EXPECT_EQ(
        cu_VbusDoSimpleIoctl(IOCTL_TAVIX_SetGlobalCfg, &global, sizeof(global), &result, sizeof(result)),
        DWORD{ERROR_ACCESS_DENIED});
    ExpectNoRequests();
}

TEST_F(AccessReadOnly, ReadingGoesOn) {
    VcomCfgReply_st reply = {};
    GlobalCfg_st global = {};
    EXPECT_EQ(tavo_GetVcomCfg(vcom_.set(), vcom_.device(), reply, global), UfAppErr_Success);
    EXPECT_TRUE(IsVbusReadOnly());
    wchar_t text[kDriverVersionTextChars];
    EXPECT_TRUE(GetDriverVersionText(nullptr, text));
    EXPECT_NE(GetDriverVersionNumber(), 0u);
}

TEST_F(AccessReadOnly, AConfigurationIsNotWritten) {
    const VcomCfg cfg = {L"COM44", kLifemodeFriendly, kBindByUsbPort, true};
    EXPECT_EQ(tavo_SetVcomCfg(vcom_.set(), vcom_.device(), cfg), UfAppErr_AccessDenied);
    ExpectRequests(
        {{IOCTL_TAVIX_GetVcomCfg, NameBytes(kVcomTail), 552}, {IOCTL_TAVIX_GetGlobalCfg, {}, 444}});
}

TEST_F(AccessReadOnly, LoggingIsNotSwitchedAndLeavesAccessDenied) {
    EXPECT_FALSE(tavo_EnableFileLogging(2, false, false));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    ExpectRequests({{IOCTL_TAVIX_GetLogCfg, {}, 80}});
}

TEST_F(AccessReadOnly, ABusThatRefusesReadingTooIsDenied) {
    const SimAccess_st access = {.openStatus = kStatusAccessDenied};
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    DWORD status = 0;
    EXPECT_FALSE(OpenVbus(&status));
    EXPECT_EQ(status, DWORD{ERROR_ACCESS_DENIED});
    EXPECT_FALSE(IsVbusReadOnly());
    ModalDriver boxes;
    boxes.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_FALSE(tavo_EnableFileLogging(2, false, false));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text,
              L"Cannot make the change, probably because you are not the Administrator.");
}

TEST_F(AccessReadOnly, TheDiagnosticOpeningKnowsNoFallback) {
    EXPECT_FALSE(OpenVbusForDiagnosis(true));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_TRUE(OpenVbusForDiagnosis(false));
    EXPECT_FALSE(IsVbusReadOnly());
}

}  // namespace
