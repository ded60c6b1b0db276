// The check box "tavix.log" of the pages.
#include <gtest/gtest.h>

#include <cstring>

#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "state/driver_params.h"
#include "tests/support/screenshot.h"
#include "tests/system/vcom_page_fixture.h"
#include "tools/file_logging.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr wchar_t kNotice[] =
    L"Get your TAVIX log file at C:\\Windows\\temp\\tavix.log\n\nLog file will be overwritten each time "
    L"TAVIX "
    L"driver is loaded.\n\nBe aware that enabling file logging may possibly reduce USB device data transfer "
    L"speed.\n\nWould you like to clear old content now and start a fresh log file? (if No, it will append)";

struct LevelRow {
    const char* name;
    bool checked;
    LoggingModifiers modifiers;
    int32_t level;

    friend void PrintTo(const LevelRow& row, std::ostream* out) { *out << row.name; }
};

class LoggingLevelTest : public testing::TestWithParam<LevelRow> {};

TEST_P(LoggingLevelTest, FollowsBoxAndKeys) {
    EXPECT_EQ(ChosenLoggingLevel(GetParam().checked, GetParam().modifiers), GetParam().level);
}

INSTANTIATE_TEST_SUITE_P(Rows, LoggingLevelTest,
                         testing::Values(LevelRow{"Off", false, {false, false}, 0},
                                         LevelRow{"OffWithKeys", false, {true, true}, 0},
                                         LevelRow{"On", true, {false, false}, 2},
                                         LevelRow{"OnWithCtrl", true, {false, true}, 2},
                                         LevelRow{"OnWithShift", true, {true, false}, 3},
                                         LevelRow{"OnWithBoth", true, {true, true}, 4}),
                         [](const auto& row) { return std::string(row.param.name); });

class FileLoggingTest : public VcomPageTest {
  protected:
    void OpenWithLogging(bool on) {
        LogCfg_st log = {};
        log.fileLogging = on ? 0x12345601 : 0;
        log.logbufSize = 1000;
        log.watermarkMaxReached = 250;
        log.bytesAppend = 77;
        ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
        OpenPage();
        KillTimer(page_, 51);
        TakeRequests();
    }
    LogCfg_st SentRecord() {
        LogCfg_st sent = {};
        for (const LoggedRequest& request : taken())
            if (request.record.code == IOCTL_TAVIX_SetLogCfg && request.input.size() == sizeof(sent))
                memcpy(&sent, request.input.data(), sizeof(sent));
        return sent;
    }
    static LogCfg_st Expected(int32_t level, bool fresh, uint32_t upperBytes = 0) {
        LogCfg_st log = {};
        log.fileLogging = upperBytes | (level > 0 ? 1 : 0);
        for (int32_t& each : log.levels)
            each = level;
        log.freshLog = fresh;
        log.logbufSize = 1000;
        log.watermarkMaxReached = 250;
        log.bytesAppend = 77;
        return log;
    }
    void ExpectSent(const LogCfg_st& expected) {
        EXPECT_EQ(TakeRequests(), (Names{L"GetLogCfg", L"SetLogCfg", L"GetLogCfg"}));
        const LogCfg_st sent = SentRecord();
        EXPECT_EQ(memcmp(&sent, &expected, sizeof(sent)), 0);
    }
};

TEST_F(FileLoggingTest, CheckingAsksTheNoticeAndYesStartsAFreshLog) {
    OpenWithLogging(false);
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"file_logging_question");
        box.Press(IDYES);
    });
    Click(IDC_FILE_LOGGING);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].text, kNotice);
    ExpectSent(Expected(2, true));
    EXPECT_TRUE(IsChecked(IDC_FILE_LOGGING));
}

TEST_F(FileLoggingTest, NoAppendsToTheOldLog) {
    OpenWithLogging(false);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    Click(IDC_FILE_LOGGING);
    ExpectSent(Expected(2, false));
}

TEST_F(FileLoggingTest, UncheckingAsksNothing) {
    OpenWithLogging(true);
    ASSERT_TRUE(IsChecked(IDC_FILE_LOGGING));
    Click(IDC_FILE_LOGGING);
    EXPECT_TRUE(modal_.boxes().empty());
    ExpectSent(Expected(0, false, 0x12345600));
    EXPECT_TRUE(IsChecked(IDC_FILE_LOGGING)) << "the driver's word is still not zero";
}

TEST_F(FileLoggingTest, ShiftRaisesTheLevelAndShowsTheStatistics) {
    OpenWithLogging(false);
    modal_.ExpectBox(L"TAVIX Message").Press(IDYES);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    const HeldKeys keys({VK_SHIFT});
    Click(IDC_FILE_LOGGING);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(
        modal_.boxes()[0].text,
        std::wstring(kNotice) +
            L"\n\n( Logging level = 3 )\n\nWould you like to clear old content and start a fresh log file?");
    EXPECT_EQ(modal_.boxes()[1].text,
              L"logbuf_size=1000\nwatermark_max_reached=250 (25%)\n\nbytes_append=77\ncount_appends=0\n"
              L"count_filesysop=0\n\nbytes_overrun=0\ncount_overrun=0\n");
    ExpectSent(Expected(3, true));
}

TEST_F(FileLoggingTest, TheStatisticsAreOwnedSoThatThePageWaits) {
    OpenWithLogging(false);
    SetActiveWindow(frame_.get());
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    const HeldKeys keys({VK_SHIFT});
    Click(IDC_FILE_LOGGING);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(modal_.boxes()[1].owner, frame_.get());
    EXPECT_FALSE(modal_.boxes()[1].ownerEnabled);
}

TEST_F(FileLoggingTest, AQuestionThatCannotBeShownSwitchesNothing) {
    OpenWithLogging(false);
    REPLACE_CALL(box, MessageBoxW, [](HWND, LPCWSTR, LPCWSTR, UINT) { return 0; });
    Click(IDC_FILE_LOGGING);
    EXPECT_EQ(TakeRequests(), Names{L"GetLogCfg"}) << "only to show the state again";
    EXPECT_FALSE(IsChecked(IDC_FILE_LOGGING));
}

// The box that is shown answers after the page is gone, whatever its answer is.
class ClosedLoggingTest : public FileLoggingTest, public testing::WithParamInterface<int> {};

TEST_P(ClosedLoggingTest, ASheetThatIsClosedUnderABoxSwitchesNothing) {
    OpenWithLogging(false);
    int boxes = 0;
    REPLACE_CALL(box, MessageBoxW, [&](HWND, LPCWSTR, LPCWSTR, UINT) {
        ++boxes;
        ClosePage();
        return GetParam();
    });
    Click(IDC_FILE_LOGGING);
    EXPECT_TRUE(TakeRequests().empty());
    EXPECT_EQ(boxes, 1);
}

INSTANTIATE_TEST_SUITE_P(Answers, ClosedLoggingTest, testing::Values(0, IDOK, IDYES, IDNO));

TEST_F(FileLoggingTest, ASheetThatIsClosedUnderTheFirstBoxIsNotAskedAnything) {
    OpenWithLogging(false);
    int boxes = 0;
    REPLACE_CALL(box, MessageBoxW, [&](HWND, LPCWSTR, LPCWSTR, UINT) {
        ++boxes;
        ClosePage();
        return IDOK;
    });
    const HeldKeys keys({VK_MENU});
    Click(IDC_FILE_LOGGING);
    EXPECT_EQ(boxes, 1);
    EXPECT_TRUE(TakeRequests().empty());
    RegistryKey key;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDriverParametersKey, 0, KEY_SET_VALUE, key.put());
    RegDeleteValueW(key.get(), kParamPersistentLogFile);
}

TEST_F(FileLoggingTest, ShiftAndCtrlGiveTheHighestLevel) {
    OpenWithLogging(false);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    const HeldKeys keys({VK_SHIFT, VK_CONTROL});
    Click(IDC_FILE_LOGGING);
    ExpectSent(Expected(4, false));
}

TEST_F(FileLoggingTest, AltAlsoKeepsOneLogFileAndSaysSo) {
    OpenWithLogging(false);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    const HeldKeys keys({VK_MENU});
    Click(IDC_FILE_LOGGING);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(
        modal_.boxes()[0].text,
        L"[HKLM\\SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters] UsePersistentLogFile=1 (set "
        L"true)");
    EXPECT_EQ(ReadParamDword(kParamPersistentLogFile, 0), 1u);
    RegistryKey key;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDriverParametersKey, 0, KEY_SET_VALUE, key.put());
    RegDeleteValueW(key.get(), kParamPersistentLogFile);
}

TEST_F(FileLoggingTest, WithoutRightsTheBoxShowsTheDriversStateAgain) {
    OpenWithLogging(false);
    SetVbusReadOnly(true);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Click(IDC_FILE_LOGGING);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(modal_.boxes()[1].text,
              L"Cannot make the change, probably because you are not the Administrator.");
    EXPECT_FALSE(IsChecked(IDC_FILE_LOGGING));
}

TEST_F(FileLoggingTest, AFailedRequestIsUnexpected) {
    OpenWithLogging(false);
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetLogCfg, static_cast<int32_t>(0xC000009A)), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Click(IDC_FILE_LOGGING);
    ASSERT_EQ(modal_.boxes().size(), 2u);
    EXPECT_EQ(modal_.boxes()[1].text, L"Unexpected! tavo_EnableFileLogging() fail.");
}

TEST_F(FileLoggingTest, WithoutABusBothMessagesAreShown) {
    OpenWithLogging(false);
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    modal_.ExpectBox(L"TAVIX Message").Press(IDNO);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Click(IDC_FILE_LOGGING);
    ASSERT_EQ(modal_.boxes().size(), 3u);
    EXPECT_EQ(modal_.boxes()[1].text, L"TAVIX Vbus is not ready yet.");
    EXPECT_EQ(modal_.boxes()[2].text, L"Unexpected! tavo_EnableFileLogging() fail.");
    EXPECT_FALSE(IsChecked(IDC_FILE_LOGGING));
}

}  // namespace
