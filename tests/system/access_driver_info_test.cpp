// The driver's version and its file logging.
#include "driver/driver_info.h"
#include "driver/vbus.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/access_fixture.h"

namespace {

class AccessVersion : public DriverAccessTest {
  protected:
    void SetVersion(uint32_t debugBuild) {
        const DriverVersion_st version = {.major = 2, .minor = 13, .build = 4, .debugBuild = debugBuild};
        ASSERT_EQ(driver_.SetVersion(version), ERROR_SUCCESS);
    }
    static ExpectedRequest VersionRequest() { return {IOCTL_TAVIX_GetDriverVersion, {}, 180}; }

    wchar_t text_[kDriverVersionTextChars] = L"kept";
    uint32_t packed_ = 0;
    DWORD error_ = 0xCC;
};

TEST_F(AccessVersion, IsShownAndPacked) {
    SetVersion(0);
    EXPECT_TRUE(GetDriverVersionText(&packed_, text_, &error_));
    EXPECT_STREQ(text_, L"TAVIX 2.13.4");
    EXPECT_EQ(packed_, 0x020D0400u);
    EXPECT_EQ(error_, 0u);
    EXPECT_EQ(GetDriverVersionNumber(&error_), 0x020D0400u);
    EXPECT_EQ(error_, 0u);
    ExpectRequests({VersionRequest(), VersionRequest()});
}

TEST_F(AccessVersion, OfADebugBuildSaysSo) {
    SetVersion(1);
    EXPECT_TRUE(GetDriverVersionText(nullptr, text_));
    EXPECT_STREQ(text_, L"TAVIX 2.13.4 (Debug)");
}

TEST_F(AccessVersion, FailureTellsItsError) {
    FailNext(IOCTL_TAVIX_GetDriverVersion, kStatusInvalidRequest);
    EXPECT_FALSE(GetDriverVersionText(&packed_, text_, &error_));
    EXPECT_EQ(error_, DWORD{ERROR_INVALID_FUNCTION});
    FailNext(IOCTL_TAVIX_GetDriverVersion, kStatusInvalidRequest);
    EXPECT_EQ(GetDriverVersionNumber(&error_), 0u);
    EXPECT_EQ(error_, DWORD{ERROR_INVALID_FUNCTION});
    EXPECT_STREQ(text_, L"kept");
}

TEST_F(AccessVersion, IsNotReadyWithoutTheBus) {
    RemoveBus();
    EXPECT_FALSE(GetDriverVersionText(&packed_, text_, &error_));
    EXPECT_EQ(error_, DWORD{ERROR_NOT_READY});
    EXPECT_EQ(GetDriverVersionNumber(&error_), 0u);
    EXPECT_EQ(error_, DWORD{ERROR_NOT_READY});
}

class AccessLogging : public DriverAccessTest {
  protected:
    void SetUp() override {
        DriverAccessTest::SetUp();
        ASSERT_EQ(driver_.SetLogCfg(present_), ERROR_SUCCESS);
    }
    static ExpectedRequest ReadRequest() { return {IOCTL_TAVIX_GetLogCfg, {}, 80}; }
    ExpectedRequest WriteRequest(uint32_t word, int32_t level, uint8_t fresh) const {
        LogCfg_st log = present_;
        log.fileLogging = word;
        for (int32_t& each : log.levels)
            each = level;
        log.freshLog = fresh;
        return {IOCTL_TAVIX_SetLogCfg, BytesOfRecord(log), 0};
    }

    const LogCfg_st present_ = {.fileLogging = 0x11223300,
                                .levels = {5, 4, 3, 2, 1},
                                .logbufSize = 65536,
                                .watermarkMaxReached = 6554,
                                .bytesAppend = -1,
                                .countAppends = 2,
                                .countFilesysop = 3,
                                .bytesOverrun = 4,
                                .countOverrun = 5};
};

TEST_F(AccessLogging, IsOnWhenTheWholeWordIsNotZero) {
    EXPECT_TRUE(IsFileLoggingOn());
    ASSERT_EQ(driver_.SetLogCfg({}), ERROR_SUCCESS);
    EXPECT_FALSE(IsFileLoggingOn());
    ExpectRequests({ReadRequest(), ReadRequest()});
}

TEST_F(AccessLogging, IsOffWhenTheDriverDoesNotAnswerWhole) {
    FailNext(IOCTL_TAVIX_GetLogCfg, kStatusUnsuccessful);
    EXPECT_FALSE(IsFileLoggingOn());
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetLogCfg, 79), ERROR_SUCCESS);
    EXPECT_FALSE(IsFileLoggingOn());
    RemoveBus();
    EXPECT_FALSE(IsFileLoggingOn());
}

TEST_F(AccessLogging, IsSwitchedOnWithAFreshLog) {
    EXPECT_TRUE(tavo_EnableFileLogging(4, true, false));
    ExpectRequests({ReadRequest(), WriteRequest(0x11223301, 4, 1)});
}

TEST_F(AccessLogging, IsSwitchedOff) {
    for (const int32_t level : {0, -1}) {
        ASSERT_EQ(driver_.SetLogCfg(present_), ERROR_SUCCESS);
        EXPECT_TRUE(tavo_EnableFileLogging(level, false, false));
        ExpectRequests({ReadRequest(), WriteRequest(0x11223300, level, 0)});
    }
}

TEST_F(AccessLogging, ShowsTheStatisticsOfTheMoment) {
    ModalDriver boxes;
    boxes.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_TRUE(tavo_EnableFileLogging(3, false, true));
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text,
              L"logbuf_size=65536\nwatermark_max_reached=6554 (10%)\n\n"
              L"bytes_append=-1\ncount_appends=2\ncount_filesysop=3\n\n"
              L"bytes_overrun=4\ncount_overrun=5\n");
    ExpectRequests({ReadRequest(), WriteRequest(0x11223301, 3, 0)});
}

TEST_F(AccessLogging, FailureLeavesItsErrorAsLastError) {
    FailNext(IOCTL_TAVIX_GetLogCfg, kStatusNotConnected);
    EXPECT_FALSE(tavo_EnableFileLogging(3, false, true));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DEVICE_NOT_CONNECTED});
    ExpectRequests({ReadRequest()});
    FailNext(IOCTL_TAVIX_SetLogCfg, kStatusAccessDenied);
    EXPECT_FALSE(tavo_EnableFileLogging(3, false, false));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(AccessLogging, NothingIsSentBackThatDidNotComeWhole) {
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetLogCfg, 28), ERROR_SUCCESS);
    EXPECT_FALSE(tavo_EnableFileLogging(3, false, false));
    ExpectRequests({ReadRequest()});
}

TEST_F(AccessLogging, TellsThatTheBusIsNotReady) {
    RemoveBus();
    ModalDriver boxes;
    boxes.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_FALSE(tavo_EnableFileLogging(3, false, true));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, L"TAVIX Vbus is not ready yet.");
}

}  // namespace
