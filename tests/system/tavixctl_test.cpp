// The command line against the simulated driver: what the reading commands print for people and for
// programs, and how they end.
#include <sstream>

#include "driver/flowpath_report.h"
#include "tests/system/tavixctl_fixture.h"

namespace {

using nlohmann::json;

TEST(CheckJson, FindsWhatASchemaForbids) {
    const json schema =
        json::parse(R"({"type": "object", "required": ["a"], "additionalProperties": false, )"
                    R"("properties": {"a": {"type": "array", "items": {"type": "integer", "minimum": 1}}}})");
    EXPECT_EQ(CheckJson(schema, json::parse(R"({"a": [1, 2]})")), "");
    for (const char* bad :
         {R"([])", R"({})", R"({"a": 1})", R"({"a": [0]})", R"({"a": ["x"]})", R"({"a": [], "b": 1})"})
        EXPECT_NE(CheckJson(schema, json::parse(bad)), "") << bad;
}

// ---- list and show --------------------------------------------------------------------------------------

TEST_F(Tavixctl, ListShowsPortMappingAndPresence) {
    const json device = ListedDevice();
    EXPECT_EQ(device["port"], "COM5");
    EXPECT_EQ(device["huid"], "7&AC");
    EXPECT_EQ(device["lifemode"], "friendly");
    EXPECT_EQ(device["vcom"]["name"], "TAVIX Scanner (COM5)");
    EXPECT_EQ(device["vcom"]["present"], true);
    EXPECT_EQ(device["usb"]["instanceId"], "USB\\VID_1234&PID_5678\\ACCESS");
    EXPECT_EQ(device["usb"]["problemName"], nullptr);
    const std::string text = RunText(L"list");
    EXPECT_EQ(text.find("PORT"), 0u);
    for (const char* part : {"COM5", "7&AC", "  friendly  ", "  present  ", "TAVIX Scanner (COM5)  "})
        EXPECT_NE(text.find(part), std::string::npos) << part;
    EXPECT_NE(text.find("  USB\\VID_1234&PID_5678\\ACCESS\n"), std::string::npos) << text;
}

TEST_F(Tavixctl, ListNamesProblemsAndAbsence) {
    ASSERT_EQ(driver_.SetPresence(VcomId(), true, 22), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetPresence(UsbdId(), false, 0), ERROR_SUCCESS);
    const json device = ListedDevice();
    EXPECT_EQ(device["vcom"]["problem"], 22);
    EXPECT_EQ(device["vcom"]["problemName"], "CM_PROB_DISABLED");
    EXPECT_EQ(device["usb"]["present"], false);
    EXPECT_NE(RunText(L"list").find("problem 22 (CM_PROB_DISABLED)  not present  "), std::string::npos);
}

TEST_F(Tavixctl, ListNeedsNoDriver) {
    RemoveBus();
    const json device = ListedDevice();
    EXPECT_EQ(device["port"], "COM5") << "from the registry";
    EXPECT_EQ(device["lifemode"], nullptr);
}

TEST_F(Tavixctl, ShowTakesEveryNameOfADevice) {
    for (const wchar_t* name : {L"com5", L"7&ac", L"QRV_VBUS\\Qrv_vcom\\7&AC", L"Qrv_vcom\\7&AC",
                                L"USB\\VID_1234&PID_5678\\ACCESS", L"VID_1234&PID_5678\\ACCESS"}) {
        const json device = RunJson(L"show " + std::wstring(name))["device"];
        EXPECT_EQ(device["bindMode"], "device-type");
        EXPECT_EQ(device["information"]["vendorId"], 0x1234);
        EXPECT_EQ(device["information"]["speed"], "high");
        EXPECT_EQ(device["opener"], nullptr);
    }
    EXPECT_EQ(RunText(L"show COM5").find("Port:         COM5\nHuid:         7&AC\n"), 0u);
}

TEST_F(Tavixctl, ShowNamesWhoHasOpenedThePort) {
    ASSERT_EQ(driver_.SetOpenerPid(kHuid, GetCurrentProcessId()), ERROR_SUCCESS);
    const json opener = RunJson(L"show COM5")["device"]["opener"];
    EXPECT_EQ(opener["processId"], GetCurrentProcessId());
    EXPECT_NE(opener["path"].get<std::string>().find("system_tavixctl_tests.exe"), std::string::npos);
}

TEST_F(Tavixctl, AnUnknownDeviceIsRefused) {
    for (const wchar_t* command : {L"show", L"stats", L"errors"})
        ExpectFailure(std::wstring(command) + L" nobody", kNoSuchDevice, "no device is named \"nobody\"");
}

// ---- ports ----------------------------------------------------------------------------------------------

// The high ports carry no device that another test has plugged and left behind in the registry.
TEST_F(Tavixctl, PortsSaysWhoHoldsEachOfThem) {
    ASSERT_EQ(driver_.SetPortState(117, kPortOfOtherProvider), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetPortState(118, kPortOfUnpluggedVcom), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetPortState(119, kPortOfPresentDevice), ERROR_SUCCESS);
    const json ports = RunJson(L"ports")["ports"];
    ASSERT_EQ(ports.size(), 128u);
    const json ours = {{"port", "COM5"},
                       {"state", 4},
                       {"heldBy", "ours"},
                       {"huid", "7&AC"},
                       {"name", "TAVIX Scanner (COM5)"}};
    EXPECT_EQ(ports[4], ours);
    EXPECT_EQ(ports[5]["heldBy"], "free");
    EXPECT_EQ(ports[116]["heldBy"], "other-provider");
    EXPECT_EQ(ports[117]["heldBy"], "ours-unplugged");
    EXPECT_EQ(ports[118]["heldBy"], "present");
    const std::string taken = RunText(L"ports --taken");
    EXPECT_NE(taken.find("COM5    ours            7&AC  TAVIX Scanner (COM5)\n"
                         "COM117  other-provider\nCOM118  ours-unplugged\nCOM119  present\n"),
              std::string::npos)
        << taken;
    EXPECT_EQ(taken.find("free"), std::string::npos);
}

TEST_F(Tavixctl, PortsNeedsTheDriver) {
    RemoveBus();
    ExpectFailure(L"ports", kDriverNotReady, "reading the ports failed. UfAppErr=7(UfAppErr_VbusNotReady)");
}

// ---- stats ----------------------------------------------------------------------------------------------

TEST_F(Tavixctl, StatsShowsTheReportOfTheWindow) {
    FlowpathStat_st stat = {};
    stat.usbReceivedBytes = 5'000'000'007;
    stat.vcomReadBytes = 5'000'000'000;
    stat.usbSentBytes = stat.vcomWrittenBytes = 22;
    stat.readBufferPeakBytes = 3;
    stat.readBufferLimitBytes = 4;
    ASSERT_EQ(driver_.SetFlowpath(kHuid, stat), ERROR_SUCCESS);
    const json value = RunJson(L"stats COM5");
    EXPECT_EQ(value["upstream"]["received"], 5'000'000'007);
    EXPECT_EQ(value["upstream"]["imbalance"], 7);
    EXPECT_EQ(value["upstream"]["bufferPercent"], 75);
    EXPECT_EQ(value["upstream"]["bytesPerSecond"], nullptr);
    EXPECT_EQ(value["downstream"]["sent"], 22);
    wchar_t expected[4000];
    FormatFlowpathReport({L"TAVIX Scanner (COM5)", L"", stat, stat, 0}, expected, 4000);
    const std::wstring wide = std::wstring(expected) + L"\n";
    EXPECT_EQ(RunText(L"stats COM5"), std::string(wide.begin(), wide.end()));
}

TEST_F(Tavixctl, StatsFollowsInLinesOfJsonWithRates) {
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldUpstreamRate, 100'000'000), ERROR_SUCCESS);
    const RunResult result = RunCtl(L"stats COM5 --follow --count 3 --interval 30 --json");
    EXPECT_EQ(result.exitCode, kSuccess) << result.errors;
    std::istringstream lines(result.output);
    std::string line;
    int count = 0;
    while (std::getline(lines, line)) {
        const json value = json::parse(line, nullptr, false);
        EXPECT_EQ(CheckJson(Schema(), value), "") << line;
        if (count++ == 0) {
            EXPECT_EQ(value["upstream"]["bytesPerSecond"], nullptr);
        } else {
            EXPECT_GT(value["upstream"]["bytesPerSecond"], 0);
        }
    }
    EXPECT_EQ(count, 3);
}

TEST_F(Tavixctl, StatsOfALostFlowpathFails) {
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    ExpectFailure(L"stats COM5", kRequestFailed,
                  "IOCTL_TAVIX_GetFlowpathStat failed. WinErr=1167(ERROR_DEVICE_NOT_CONNECTED)");
}

// ---- errors, log, bus, globals --------------------------------------------------------------------------

TEST_F(Tavixctl, ErrorsShowsCountersAndState) {
    UsbErrStat_st stat = {};
    stat.headerWord = kUsbErrStatHeaderWord;
    stat.evaluate = 1;
    stat.bucketCounts[4] = 3;
    stat.lastInErrorTime = 116'444'736'000'000'000 + 10'000;
    stat.totals.usbPortResets = 2;
    ASSERT_EQ(driver_.SetUsbErrStat(kHuid, stat), ERROR_SUCCESS);
    const json statistics = RunJson(L"errors COM5")["statistics"];
    EXPECT_EQ(statistics["state"], "recovering");
    EXPECT_EQ(statistics["total"], 3);
    EXPECT_EQ(statistics["counters"]["USBD_STATUS_STALL_PID"], 3);
    EXPECT_EQ(statistics["lastInErrorUnixMs"], 1);
    EXPECT_EQ(statistics["lastOfflineUnixMs"], nullptr);
    EXPECT_EQ(statistics["recoverActionsInTotal"]["usbPortResets"], 2);
    const std::string text = RunText(L"errors COM5");
    EXPECT_NE(text.find("  3   USBD_STATUS_STALL_PID\n"), std::string::npos);
    EXPECT_EQ(text.find('\r'), std::string::npos);
}

TEST_F(Tavixctl, LogStatusShowsSwitchAndStatistics) {
    LogCfg_st log = {.fileLogging = 1, .levels = {3, 3, 3, 3, 3}, .logbufSize = 200, .bytesAppend = 77};
    log.watermarkMaxReached = 50;
    ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
    const json value = RunJson(L"log status");
    EXPECT_EQ(value["enabled"], true);
    EXPECT_EQ(value["level"], 3);
    EXPECT_EQ(value["bytesAppended"], 77);
    EXPECT_EQ(RunText(L"log status")
                  .find("Logging is on, level 3.\n\nlogbuf_size=200\nwatermark_max_reached=50 (25%)\n"),
              0u);
}

TEST_F(Tavixctl, LogStatusNeedsTheDriver) {
    RemoveBus();
    ExpectFailure(L"log status", kDriverNotReady,
                  "opening the TAVIX Vbus failed. WinErr=21(ERROR_NOT_READY)");
}

TEST_F(Tavixctl, BusStatusTellsReadyFromNotReady) {
    json value = RunJson(L"bus status");
    EXPECT_EQ(value["ready"], true);
    EXPECT_EQ(value["version"], "TAVIX 1.7.11");
    EXPECT_EQ(value["nodes"][0]["instanceId"], "ROOT\\QRV_VBUS\\0000");
    EXPECT_EQ(RunText(L"bus status").find("The driver is ready.\nVersion: TAVIX 1.7.11\nBus: "), 0u);
    RemoveBus();
    value = RunJson(L"bus status");
    EXPECT_EQ(value["ready"], false);
    EXPECT_EQ(value["openError"], ERROR_NOT_READY);
    EXPECT_EQ(value["version"], nullptr);
}

TEST_F(Tavixctl, GlobalsGetShowsAllSettingsOrOne) {
    GlobalCfg_st cfg = {};
    cfg.bindMode = kBindByUsbPort;
    cfg.newVcomLifemode = 9;
    cfg.robPort = 1;
    cfg.dropPartialBytes = 1;
    cfg.prefetchBufferBytes = 4096;
    wcscpy(cfg.preferredPorts, L"COM7,COM8");
    ASSERT_EQ(driver_.SetGlobalCfg(cfg), ERROR_SUCCESS);
    const json value = RunJson(L"globals get");
    EXPECT_EQ(value["settings"]["bind-mode"], "usb-port");
    EXPECT_EQ(value["settings"]["lifemode"], "9") << "a number without a word";
    EXPECT_EQ(value["settings"]["virtual-machine"], "on");
    EXPECT_EQ(value["settings"]["preferred-ports"], "COM7,COM8");
    EXPECT_EQ(value["settings"].size(), 11u);
    EXPECT_EQ(value["prefetchBufferBytes"], 4096);
    EXPECT_EQ(RunText(L"globals get rob-port"), "on\n");
    EXPECT_EQ(RunJson(L"globals get rob-port")["settings"].size(), 1u);
    ExpectFailure(L"globals get nonsense", kUsage, "there is no setting \"nonsense\"");
}

TEST_F(Tavixctl, GlobalsNeedTheDriver) {
    RemoveBus();
    ExpectFailure(L"globals get", kDriverNotReady,
                  "reading the global settings failed. UfAppErr=7(UfAppErr_VbusNotReady)");
}

// ---- the command line itself ----------------------------------------------------------------------------

TEST_F(Tavixctl, HelpIsNotAnError) {
    const RunResult help = RunCtl(L"--help");
    EXPECT_EQ(help.exitCode, kSuccess);
    EXPECT_EQ(help.errors, "");
    for (const char* text :
         {"list", "show", "ports", "set-port", "set-lifemode", "forget", "stats", "errors", "tweak", "log",
          "bus", "globals", "self-test", "report", "completion", "Exit codes"})
        EXPECT_NE(help.output.find(text), std::string::npos) << text;
}

TEST_F(Tavixctl, EveryCommandHasHelpWithAnExample) {
    for (const wchar_t* command :
         {L"ports", L"set-port", L"set-lifemode", L"forget", L"stats", L"errors", L"tweak", L"log on", L"bus",
          L"globals set", L"globals export", L"self-test", L"report", L"completion"}) {
        const RunResult help = RunCtl(std::wstring(command) + L" --help");
        EXPECT_EQ(help.exitCode, kSuccess);
        EXPECT_NE(help.output.find("Example"), std::string::npos) << help.output;
        EXPECT_NE(help.output.find("  tavixctl "), std::string::npos);
    }
}

TEST_F(Tavixctl, WrongUsageHasAnExitCodeOfItsOwn) {
    for (const wchar_t* arguments :
         {L"", L"nonsense", L"show", L"stats COM5 --count 2", L"bus", L"list extra"}) {
        const RunResult result = RunCtl(arguments);
        EXPECT_EQ(result.exitCode, kUsage);
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors, "");
    }
}

TEST_F(Tavixctl, ReadingSendsNoWriteRequest) {
    for (const wchar_t* arguments : {L"list", L"show COM5", L"ports", L"stats COM5", L"errors COM5",
                                     L"log status", L"bus status", L"globals get"})
        RunCtl(arguments);
    std::vector<LoggedRequest> requests;
    ASSERT_EQ(driver_.ReadRequests(requests), ERROR_SUCCESS);
    EXPECT_FALSE(requests.empty());
    EXPECT_EQ(WriteRequests(), std::vector<uint32_t>{});
}

}  // namespace
