#include "driver/driver_info.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "driver/vbus.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/modal_driver.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DriverVersion : public testing::Test {
  protected:
    void Answer(uint32_t major, uint32_t minor, uint32_t build, uint32_t debug) {
        const DriverVersion_st version = {
            .major = major, .minor = minor, .build = build, .debugBuild = debug};
        fake_.replies[IOCTL_TAVIX_GetDriverVersion] = FakeReply::Of(version);
    }

    FakeVbus fake_;
    wchar_t text_[kDriverVersionTextChars] = L"kept";
    uint32_t packed_ = 0xCC;
    DWORD error_ = 0xCC;
};

TEST_F(DriverVersion, IsShownWithItsThreeNumbers) {
    Answer(1, 7, 11, 0);
    EXPECT_TRUE(GetDriverVersionText(&packed_, text_, &error_));
    EXPECT_STREQ(text_, L"TAVIX 1.7.11");
    EXPECT_EQ(packed_, 0x01070B00u);
    EXPECT_EQ(error_, 0u);
    EXPECT_THAT(fake_.requests.at(0).input, IsEmpty());
    EXPECT_EQ(fake_.requests[0].outputBytes, 180u);
}

TEST_F(DriverVersion, SaysThatItIsADebugBuild) {
    for (const uint32_t flag : {1u, 0x100u, 0xFFFFFFFFu}) {
        Answer(1, 7, 11, flag);
        EXPECT_TRUE(GetDriverVersionText(nullptr, text_));
        EXPECT_STREQ(text_, L"TAVIX 1.7.11 (Debug)");
    }
}

TEST_F(DriverVersion, PacksNumbersBeyondAByteByTheSameShifts) {
    Answer(0xFFFFFFFF, 0x1FF, 0x100, 0);
    EXPECT_EQ(GetDriverVersionNumber(), ((0xFFFFFFFFu << 8 | 0x1FFu) << 8 | 0x100u) << 8);
}

TEST_F(DriverVersion, NumberIsAskedThroughADiagnosticOpening) {
    Answer(2, 3, 4, 1);
    EXPECT_EQ(GetDriverVersionNumber(&error_), 0x02030400u);
    EXPECT_EQ(error_, 0u);
    ASSERT_EQ(fake_.openings.size(), 1u);
    EXPECT_EQ(fake_.openings[0].access, DWORD{GENERIC_READ});
    EXPECT_THAT(fake_.detailCapacities, ElementsAre(260));
}

TEST_F(DriverVersion, FailureTellsTheErrorAndStoresNothingElse) {
    fake_.replies[IOCTL_TAVIX_GetDriverVersion] = FakeReply::Failure(ERROR_INVALID_FUNCTION);
    EXPECT_FALSE(GetDriverVersionText(&packed_, text_, &error_));
    EXPECT_EQ(error_, DWORD{ERROR_INVALID_FUNCTION});
    EXPECT_EQ(GetDriverVersionNumber(&error_), 0u);
    EXPECT_EQ(error_, DWORD{ERROR_INVALID_FUNCTION});
    fake_.hasInterface = false;
    EXPECT_FALSE(GetDriverVersionText(&packed_, text_, &error_));
    EXPECT_EQ(error_, DWORD{ERROR_NOT_READY});
    EXPECT_EQ(GetDriverVersionNumber(&error_), 0u);
    EXPECT_EQ(error_, DWORD{ERROR_NOT_READY});
    EXPECT_STREQ(text_, L"kept");
    EXPECT_EQ(packed_, 0xCCu);
}

TEST_F(DriverVersion, OfAnOlderDriverWithAShorterRecordIsShown) {
    Answer(1, 7, 11, 1);
    fake_.replies[IOCTL_TAVIX_GetDriverVersion].claimedBytes = 12;
    EXPECT_TRUE(GetDriverVersionText(&packed_, text_, &error_));
    EXPECT_STREQ(text_, L"TAVIX 1.7.11");
    EXPECT_EQ(GetDriverVersionNumber(), 0x01070B00u);
}

constexpr LogCfg_st kPresentLog = {.fileLogging = 0xAABBCC01,
                                   .levels = {9, 8, 7, 6, 5},
                                   .freshLog = 0,
                                   .reserved25 = {1, 2, 3},
                                   .logbufSize = 4096,
                                   .watermarkMaxReached = 1024,
                                   .reserved36 = 77,
                                   .bytesAppend = 1,
                                   .countAppends = 2,
                                   .countFilesysop = 3,
                                   .bytesOverrun = 4,
                                   .countOverrun = 5};

class FileLogging : public testing::Test {
  protected:
    FileLogging() {
        fake_.replies[IOCTL_TAVIX_GetLogCfg] = FakeReply::Of(kPresentLog);
        fake_.replies[IOCTL_TAVIX_SetLogCfg] = {};
    }
    LogCfg_st Sent() {
        LogCfg_st log = {};
        if (fake_.requests.size() < 2 || fake_.requests[1].input.size() != sizeof(log)) {
            ADD_FAILURE() << "no logging record was sent";
            return log;
        }
        std::memcpy(&log, fake_.requests[1].input.data(), sizeof(log));
        return log;
    }

    FakeVbus fake_;
};

TEST_F(FileLogging, IsOnWhenAnyBitOfItsWordIsSet) {
    for (const uint32_t word : {1u, 2u, 0x100u, 0x80000000u}) {
        LogCfg_st log = kPresentLog;
        log.fileLogging = word;
        fake_.replies[IOCTL_TAVIX_GetLogCfg] = FakeReply::Of(log);
        EXPECT_TRUE(IsFileLoggingOn());
    }
}

TEST_F(FileLogging, IsOffWhenItsWordIsZeroOrTheDriverCannotBeAsked) {
    LogCfg_st log = kPresentLog;
    log.fileLogging = 0;
    fake_.replies[IOCTL_TAVIX_GetLogCfg] = FakeReply::Of(log);
    EXPECT_FALSE(IsFileLoggingOn());
    fake_.replies[IOCTL_TAVIX_GetLogCfg] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    EXPECT_FALSE(IsFileLoggingOn());
    fake_.replies[IOCTL_TAVIX_GetLogCfg] = FakeReply::Of(kPresentLog);
    fake_.replies[IOCTL_TAVIX_GetLogCfg].claimedBytes = 28;
    EXPECT_FALSE(IsFileLoggingOn());
    fake_.hasInterface = false;
    EXPECT_FALSE(IsFileLoggingOn());
}

TEST_F(FileLogging, SwitchingOnSetsTheLevelsAndKeepsEveryOtherByte) {
    EXPECT_TRUE(tavo_EnableFileLogging(3, true, false));
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetLogCfg, IOCTL_TAVIX_SetLogCfg));
    LogCfg_st expected = kPresentLog;
    expected.fileLogging = 0xAABBCC01;
    std::fill(std::begin(expected.levels), std::end(expected.levels), 3);
    expected.freshLog = 1;
    EXPECT_EQ(BytesOfRecord(Sent()), BytesOfRecord(expected));
    EXPECT_EQ(fake_.openings.size(), 1u);
}

TEST_F(FileLogging, SwitchingOffClearsOnlyTheLowByteOfTheWord) {
    for (const int32_t level : {0, -1}) {
        fake_.requests.clear();
        EXPECT_TRUE(tavo_EnableFileLogging(level, false, false));
        LogCfg_st expected = kPresentLog;
        expected.fileLogging = 0xAABBCC00;
        std::fill(std::begin(expected.levels), std::end(expected.levels), level);
        EXPECT_EQ(BytesOfRecord(Sent()), BytesOfRecord(expected));
    }
}

TEST_F(FileLogging, FailureLeavesTheErrorAsLastError) {
    fake_.replies[IOCTL_TAVIX_SetLogCfg] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    EXPECT_FALSE(tavo_EnableFileLogging(2, false, false));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    fake_.requests.clear();
    fake_.replies[IOCTL_TAVIX_GetLogCfg] = FakeReply::Failure(ERROR_DEVICE_NOT_CONNECTED);
    EXPECT_FALSE(tavo_EnableFileLogging(2, false, true));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(fake_.requests.size(), 1u);
}

TEST_F(FileLogging, NeverSendsBackARecordThatItDidNotReadWhole) {
    for (const DWORD claimed : {0u, 79u, 81u}) {
        fake_.replies[IOCTL_TAVIX_GetLogCfg].claimedBytes = claimed;
        fake_.requests.clear();
        EXPECT_FALSE(tavo_EnableFileLogging(2, false, false));
        EXPECT_EQ(fake_.requests.size(), 1u);
    }
}

TEST_F(FileLogging, TellsThatTheVbusIsNotReady) {
    fake_.hasInterface = false;
    ModalDriver boxes;
    boxes.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_FALSE(tavo_EnableFileLogging(2, false, true));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, L"TAVIX Vbus is not ready yet.");
    EXPECT_EQ(boxes.boxes()[0].icon, UINT{MB_ICONERROR});
}

TEST_F(FileLogging, TellsThatOnlyAnAdministratorMayChangeIt) {
    fake_.openErrors = {ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED};
    ModalDriver boxes;
    boxes.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_FALSE(tavo_EnableFileLogging(2, false, false));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text,
              L"Cannot make the change, probably because you are not the Administrator.");
    EXPECT_EQ(boxes.boxes()[0].icon, UINT{MB_ICONERROR});
}

TEST_F(FileLogging, ShowsTheStatisticsBeforeItChangesAnything) {
    ModalDriver boxes;
    boxes.ExpectBox(L"TAVIX Message").Do([this](BoxView& box) {
        EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetLogCfg));
        box.Press(IDOK);
    });
    EXPECT_TRUE(tavo_EnableFileLogging(3, false, true));
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text,
              L"logbuf_size=4096\nwatermark_max_reached=1024 (25%)\n\n"
              L"bytes_append=1\ncount_appends=2\ncount_filesysop=3\n\n"
              L"bytes_overrun=4\ncount_overrun=5\n");
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetLogCfg, IOCTL_TAVIX_SetLogCfg));
}

struct PercentRow {
    const char* name;
    int32_t size;
    uint32_t watermark;
    const wchar_t* expected;
};

void PrintTo(const PercentRow& row, std::ostream* out) {
    *out << row.name;
}

class LogStatistics : public testing::TestWithParam<PercentRow> {};

TEST_P(LogStatistics, ComputeTheirPercentageIn32Bits) {
    LogCfg_st log = {};
    log.logbufSize = GetParam().size;
    log.watermarkMaxReached = GetParam().watermark;
    wchar_t text[kLogStatisticsChars];
    FormatLogStatistics(log, text);
    const std::wstring shown = text;
    const size_t start = shown.find(L'\n') + 1;
    EXPECT_EQ(shown.substr(start, shown.find(L'\n', start) - start), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, LogStatistics,
    testing::Values(
        PercentRow{"Half", 200, 100, L"watermark_max_reached=100 (50%)"},
        PercentRow{"RoundedDown", 3, 2, L"watermark_max_reached=2 (66%)"},
        PercentRow{"NoBuffer", 0, 100, L"watermark_max_reached=100 (0%)"},
        PercentRow{"NegativeBuffer", -1, 100, L"watermark_max_reached=100 (0%)"},
        PercentRow{"SmallestNegativeBuffer", INT32_MIN, 100, L"watermark_max_reached=100 (0%)"},
        PercentRow{"LargestProduct", 1, 21474836, L"watermark_max_reached=21474836 (2147483600%)"},
        PercentRow{"WrapsToNegative", 1, 21474837, L"watermark_max_reached=21474837 (-2147483596%)"},
        PercentRow{"LargestWatermark", 1, 0xFFFFFFFF, L"watermark_max_reached=-1 (-100%)"}),
    [](const auto& row) { return row.param.name; });

TEST(LogStatisticsText, HasRoomForTheLongestNumbers) {
    LogCfg_st log = {};
    log.logbufSize = INT32_MIN;
    log.watermarkMaxReached = 0x80000000;
    log.bytesAppend = log.countAppends = log.countFilesysop = INT64_MIN;
    log.bytesOverrun = log.countOverrun = INT64_MIN;
    GuardedBuffer<wchar_t> text(kLogStatisticsChars);
    FormatLogStatistics(log, text.AsArray<kLogStatisticsChars>());
    EXPECT_TRUE(std::wstring(text.data()).ends_with(L"count_overrun=-9223372036854775808\n"));
}

}  // namespace
