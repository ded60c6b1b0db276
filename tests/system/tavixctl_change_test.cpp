// The commands that change something: what they print, what they send and what they leave alone.
#include <cstring>

#include "driver/vbus.h"
#include "sim/client/plugging.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/temporary_file.h"
#include "tests/system/tavixctl_fixture.h"

namespace {

using nlohmann::json;
using Codes = std::vector<uint32_t>;

std::string TextOf(const std::wstring& path) {
    const std::vector<uint8_t> bytes = ReadWholeFile(path);
    return {bytes.begin(), bytes.end()};
}

class TavixctlChange : public Tavixctl {
  protected:
    GlobalCfg_st Globals() {
        GlobalCfg_st cfg = {};
        EXPECT_EQ(driver_.QueryGlobalCfg(cfg), ERROR_SUCCESS);
        return cfg;
    }
    LogCfg_st Log() {
        LogCfg_st cfg = {};
        EXPECT_EQ(driver_.QueryLogCfg(cfg), ERROR_SUCCESS);
        return cfg;
    }
    void Unplug() {
        ASSERT_EQ(driver_.Unplug(UsbdId()), ERROR_SUCCESS);
        ASSERT_EQ(driver_.SetPresence(VcomId(), false, 0), ERROR_SUCCESS);
        ASSERT_EQ(driver_.SetPresence(UsbdId(), false, 0), ERROR_SUCCESS);
    }
};

// ---- set-port and set-lifemode --------------------------------------------------------------------------

TEST_F(TavixctlChange, SetPortSendsThePortAndNothingElse) {
    GlobalCfg_st before = Globals();
    before.serialNumberOnNames = 7;  // no number of ours
    ASSERT_EQ(driver_.SetGlobalCfg(before), ERROR_SUCCESS);
    EXPECT_EQ(RunText(L"set-port COM5 com117"), "COM117, lifemode friendly\n");
    EXPECT_STREQ(State().portName, L"COM117");
    EXPECT_EQ(WriteRequests(), Codes{IOCTL_TAVIX_SetVcomCfg});
    const GlobalCfg_st after = Globals();
    EXPECT_EQ(std::memcmp(&before, &after, sizeof(after)), 0);
}

TEST_F(TavixctlChange, SetPortTellsPrograms) {
    const json value = RunJson(L"set-port COM5 COM117");
    EXPECT_EQ(value["command"], "set-port");
    EXPECT_EQ(value["changed"], true);
    EXPECT_EQ(value["device"]["port"], "COM117");
    EXPECT_EQ(RunJson(L"set-port 7&AC COM117")["changed"], false);
}

TEST_F(TavixctlChange, WhatIsAsWantedIsNotSent) {
    EXPECT_EQ(RunText(L"set-port COM5 COM5"), "COM5, lifemode friendly (as before)\n");
    EXPECT_EQ(RunText(L"set-lifemode COM5 friendly"), "COM5, lifemode friendly (as before)\n");
    EXPECT_EQ(WriteRequests(), Codes{});
}

TEST_F(TavixctlChange, AConflictIsRefusedUnlessForced) {
    const struct {
        uint32_t state;
        const char* reason;
    } rows[] = {{kPortOfOtherProvider, "assigned to another provider's device"},
                {kPortOfUnpluggedVcom, "assigned to an unplugged device of this driver"},
                {kPortOfPresentDevice, "used by another device that is present"}};
    for (const auto& row : rows) {
        ASSERT_EQ(driver_.SetPortState(118, row.state), ERROR_SUCCESS);
        ExpectFailure(L"set-port COM5 COM118", kConflict,
                      std::string("COM118 is ") + row.reason + "; --force takes it all the same");
    }
    EXPECT_EQ(WriteRequests(), Codes{});
    EXPECT_EQ(RunText(L"set-port COM5 COM118 --force"), "COM118, lifemode friendly\n");
}

TEST_F(TavixctlChange, AStateThatNobodyKnowsIsNoConflict) {
    ASSERT_EQ(driver_.SetPortState(118, 9), ERROR_SUCCESS);
    EXPECT_EQ(RunText(L"set-port COM5 COM118"), "COM118, lifemode friendly\n");
}

TEST_F(TavixctlChange, OnlyCom1ToCom128ArePorts) {
    for (const wchar_t* port : {L"COM0", L"COM129", L"COM", L"LPT1", L"COM7x", L"7", L"COM-1"}) {
        const std::wstring text(port);
        ExpectFailure(L"set-port COM5 " + text, kUsage,
                      "\"" + std::string(text.begin(), text.end()) + "\" is none of COM1 to COM128");
    }
    EXPECT_EQ(WriteRequests(), Codes{});
}

TEST_F(TavixctlChange, SetLifemodeKeepsThePort) {
    EXPECT_EQ(RunText(L"set-lifemode COM5 persistent"), "COM5, lifemode persistent\n");
    EXPECT_EQ(State().lifemode, uint32_t{kLifemodePersistent});
    EXPECT_EQ(WriteRequests(), Codes{IOCTL_TAVIX_SetVcomCfg});
    EXPECT_EQ(RunJson(L"set-lifemode COM5 temporal")["device"]["lifemode"], "temporal");
    ExpectFailure(L"set-lifemode COM5 later", kUsage,
                  "\"later\" is no lifemode: temporal, friendly, persistent");
}

TEST_F(TavixctlChange, SavingFailsAsTheDriverDoes) {
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldSetCfgResult, 5), ERROR_SUCCESS);
    ExpectFailure(L"set-port COM5 COM117", kRequestFailed, "saving failed. UfAppErr=5(UfAppErr_Registry)");
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldSetCfgResult, 0), ERROR_SUCCESS);
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetVcomCfg, kStatusAccessDenied, 2), ERROR_SUCCESS);
    ExpectFailure(L"set-port COM5 COM117", kDenied, "saving failed. UfAppErr=8(UfAppErr_AccessDenied)");
    RemoveBus();
    ExpectFailure(L"set-port COM5 COM117", kDriverNotReady,
                  "reading the configuration failed. UfAppErr=7(UfAppErr_VbusNotReady)");
}

// ---- globals --------------------------------------------------------------------------------------------

TEST_F(TavixctlChange, GlobalsSetChangesOneSetting) {
    GlobalCfg_st expected = Globals();
    EXPECT_EQ(RunText(L"globals set bind-mode serial-number"), "serial-number\n");
    expected.bindMode = kBindBySerialNumber;
    GlobalCfg_st actual = Globals();
    EXPECT_EQ(std::memcmp(&actual, &expected, sizeof(actual)), 0);
    EXPECT_EQ(WriteRequests(), Codes{IOCTL_TAVIX_SetGlobalCfg});
    EXPECT_EQ(RunJson(L"globals set preferred-ports COM7,COM8")["settings"]["preferred-ports"], "COM7,COM8");
    wcscpy(expected.preferredPorts, L"COM7,COM8");
    actual = Globals();
    EXPECT_EQ(std::memcmp(&actual, &expected, sizeof(actual)), 0);
    EXPECT_EQ(RunText(L"globals set preferred-ports \"\""), "\n");
    EXPECT_STREQ(Globals().preferredPorts, L"");
}

TEST_F(TavixctlChange, EverySettingTakesEachOfItsWords) {
    const struct {
        const wchar_t* name;
        std::vector<const wchar_t*> words;
    } rows[] = {{L"bind-mode", {L"sequential", L"device-type", L"serial-number", L"usb-port"}},
                {L"lifemode", {L"temporal", L"friendly", L"persistent"}},
                {L"prefetch", {L"none", L"discard", L"recycle", L"preserve"}},
                {L"clear-input", {L"on", L"off"}},
                {L"product-text", {L"on", L"off"}},
                {L"serial-number-on-names", {L"on", L"off"}},
                {L"unique-serial-number", {L"on", L"off"}},
                {L"virtual-machine", {L"on", L"off"}},
                {L"datapipe-lifemode", {L"never", L"device-present", L"always"}},
                {L"rob-port", {L"on", L"off"}}};
    for (const auto& row : rows) {
        // It prints what the driver has afterwards.
        for (const std::wstring word : row.words)
            EXPECT_EQ(RunText(L"globals set " + std::wstring(row.name) + L" " + word),
                      std::string(word.begin(), word.end()) + "\n");
    }
}

TEST_F(TavixctlChange, ASettingThatIsSoAlreadyIsNotSent) {
    GlobalCfg_st cfg = Globals();
    cfg.robPort = 5;  // some other way to say "on"
    cfg.newVcomLifemode = kLifemodeFriendly;
    ASSERT_EQ(driver_.SetGlobalCfg(cfg), ERROR_SUCCESS);
    RunText(L"globals set lifemode friendly");
    EXPECT_EQ(WriteRequests(), Codes{});
    RunText(L"globals set lifemode temporal");
    EXPECT_EQ(Globals().robPort, 5) << "nobody asked for it";
}

TEST_F(TavixctlChange, DiscardingImpliesClearing) {
    GlobalCfg_st cfg = Globals();
    cfg.clearInputOnOpen = 1;
    ASSERT_EQ(driver_.SetGlobalCfg(cfg), ERROR_SUCCESS);
    RunText(L"globals set prefetch discard");
    EXPECT_EQ(Globals().clearInputOnOpen, 0);
    WriteRequests();
    ExpectFailure(L"globals set clear-input on", kConflict,
                  "clear-input stays off while prefetch is \"discard\", which clears");
    EXPECT_EQ(WriteRequests(), Codes{});
}

TEST_F(TavixctlChange, GlobalsSetRefusesWhatItDoesNotKnow) {
    ExpectFailure(L"globals set nonsense on", kUsage, "there is no setting \"nonsense\"");
    ExpectFailure(L"globals set lifemode 9", kUsage,
                  "\"9\" is no value of lifemode: temporal, friendly, persistent");
    ExpectFailure(L"globals set preferred-ports " + std::wstring(201, L'x'), kUsage,
                  "port names take at most 200 characters");
    EXPECT_EQ(WriteRequests(), Codes{});
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetGlobalCfg, kStatusAccessDenied, 2), ERROR_SUCCESS);
    ExpectFailure(L"globals set lifemode temporal", kDenied,
                  "writing the global settings failed. UfAppErr=8(UfAppErr_AccessDenied)");
}

TEST_F(TavixctlChange, GlobalsDefaultIsTheDialogs) {
    GlobalCfg_st cfg = {};
    cfg.bindMode = kBindByUsbPort;
    cfg.newVcomLifemode = kLifemodePersistent;
    cfg.prefetchMode = kPrefetchAndRecycle;
    cfg.robPort = cfg.preferProductText = cfg.serialNumberOnNames = 1;
    cfg.dropPartialBytes = cfg.requireUniqueSerial = 1;
    cfg.clearInputDelayMinimumMs = 500;
    wcscpy(cfg.preferredPorts, L"COM7");
    ASSERT_EQ(driver_.SetGlobalCfg(cfg), ERROR_SUCCESS);
    const json settings = RunJson(L"globals default")["settings"];
    const json expected = {{"bind-mode", "usb-port"},  // not of the dialog
                           {"lifemode", "friendly"},
                           {"prefetch", "none"},
                           {"clear-input", "on"},
                           {"product-text", "off"},
                           {"serial-number-on-names", "off"},
                           {"unique-serial-number", "off"},
                           {"virtual-machine", "off"},
                           {"datapipe-lifemode", "device-present"},
                           {"rob-port", "off"},
                           {"preferred-ports", ""}};
    EXPECT_EQ(settings, expected);
    EXPECT_EQ(WriteRequests(), Codes{IOCTL_TAVIX_SetGlobalCfg});
}

TEST_F(TavixctlChange, GlobalsExportWritesARegistryFile) {
    const ScratchFolder folder(L"tavixctl");
    const std::wstring file = folder.File(L"my export.reg");
    const json value = RunJson(L"globals export \"" + file + L"\"");
    EXPECT_EQ(value["file"], std::string(file.begin(), file.end()));
    const std::vector<uint8_t> bytes = ReadWholeFile(file);
    const std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
    EXPECT_NE(text.find(L"Qrv_tavix\\Parameters]"), std::wstring::npos);
    EXPECT_NE(text.find(L"\"ExportVersion\"=\"TAVIX 1.7.11\""), std::wstring::npos);
    EXPECT_EQ(WriteRequests(), Codes{});
    const RunResult bad = RunCtl(L"globals export \"" + folder.File(L"no folder\\x.reg") + L"\"");
    EXPECT_EQ(bad.exitCode, kRequestFailed);
    EXPECT_EQ(bad.errors.find("tavixctl: this command failed: reg.exe export "), 0u) << bad.errors;
}

// ---- errors ---------------------------------------------------------------------------------------------

TEST_F(TavixctlChange, WithoutAnErrorLogThereIsNothingToShowOrClear) {
    EXPECT_EQ(RunText(L"errors COM5 --past"), "There is no error log.\n");
    const json past = RunJson(L"errors COM5 --past");
    EXPECT_EQ(past["writtenUnixMs"], nullptr);
    EXPECT_EQ(past["recent"], false);
    EXPECT_EQ(past["text"], "");
    EXPECT_EQ(RunText(L"errors COM5 --clear"), "There is no error log.\n");
    EXPECT_EQ(RunJson(L"errors COM5 --clear")["cleared"], false);
    const RunResult save = RunCtl(L"errors COM5 --save C:\\never.log");
    EXPECT_EQ(save.exitCode, kRequestFailed);
    EXPECT_NE(save.errors.find("failed. WinErr="), std::string::npos) << save.errors;
}

TEST_F(TavixctlChange, TheErrorLogIsShownSavedAndCleared) {
    ASSERT_EQ(driver_.WriteUsbErrorLog(UsbdId(), L"It failed to start."), ERROR_SUCCESS);
    const std::string content = TextOf(ErrorLogPath());
    std::string shown = content;
    std::erase(shown, '\r');
    EXPECT_EQ(RunText(L"errors COM5 --past"), shown);
    const json past = RunJson(L"errors COM5 --past");
    EXPECT_EQ(past["text"], shown);
    EXPECT_GT(past["writtenUnixMs"], 0);
    const ScratchFolder folder(L"tavixctl");
    const std::wstring file = folder.File(L"errors.log");
    EXPECT_EQ(RunText(L"errors COM5 --save \"" + file + L"\""),
              "Saved to " + std::string(file.begin(), file.end()) + "\n");
    EXPECT_EQ(TextOf(file), content);
    EXPECT_EQ(RunJson(L"errors COM5 --save \"" + file + L"\"")["file"],
              std::string(file.begin(), file.end()));
    EXPECT_EQ(RunText(L"errors COM5 --clear"), "The error log is cleared.\n");
    EXPECT_EQ(GetFileAttributesW(ErrorLogPath().c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(WriteRequests(), Codes{});
}

TEST_F(TavixctlChange, OneThingIsDoneWithAnErrorLogAtATime) {
    for (const wchar_t* arguments : {L"--past --clear", L"--past --save x", L"--clear --save x"})
        EXPECT_EQ(RunCtl(L"errors COM5 " + std::wstring(arguments)).exitCode, kUsage);
}

// ---- tweak, log, bus ------------------------------------------------------------------------------------

TEST_F(TavixctlChange, TweakSendsItsOneRequest) {
    const wchar_t* const actions[] = {L"reset-out-pipe", L"reset-in-pipe", L"reset-port", L"cycle-port"};
    for (size_t i = 0; i < std::size(actions); ++i) {
        const std::wstring action = actions[i];
        const std::string narrow(action.begin(), action.end());
        EXPECT_EQ(RunText(L"tweak COM5 " + action), narrow + " succeeded\n");
        EXPECT_EQ(WriteRequests().size(), 1u);
        EXPECT_EQ(State().tweakCounts[i], 1u);
        EXPECT_EQ(RunJson(L"tweak COM5 " + action)["action"], narrow);
        WriteRequests();
    }
}

TEST_F(TavixctlChange, TweakFailsAsTheDriverDoes) {
    ExpectFailure(L"tweak COM5 explode", kUsage,
                  "\"explode\" is no action: reset-out-pipe, reset-in-pipe, reset-port, cycle-port");
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_UsbTweak2, kStatusAccessDenied, 2), ERROR_SUCCESS);
    ExpectFailure(L"tweak COM5 reset-port", kDenied, "reset-port failed. WinErr=5(ERROR_ACCESS_DENIED)");
    constexpr int32_t kStatusNoSuchFile = static_cast<int32_t>(0xC000000F);
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_UsbTweak2, kStatusNoSuchFile, 2), ERROR_SUCCESS);
    ExpectFailure(L"tweak COM5 reset-port", kRequestFailed, "the USB device is disconnected");
    RemoveBus();
    ExpectFailure(L"tweak COM5 reset-port", kDriverNotReady,
                  "opening the TAVIX Vbus failed. WinErr=21(ERROR_NOT_READY)");
}

TEST_F(TavixctlChange, LogIsSwitchedOnWithALevelAndOff) {
    EXPECT_EQ(RunJson(L"log on")["level"], 2);
    EXPECT_EQ(Log().fileLogging, 1u);
    EXPECT_EQ(RunText(L"log on --level 4").find("Logging is on, level 4.\n\nlogbuf_size="), 0u);
    EXPECT_EQ(Log().levels[4], 4);
    EXPECT_EQ(RunText(L"log off").find("Logging is off.\n"), 0u);
    EXPECT_EQ(Log().fileLogging, 0u);
    EXPECT_EQ(WriteRequests(), (Codes{IOCTL_TAVIX_SetLogCfg, IOCTL_TAVIX_SetLogCfg, IOCTL_TAVIX_SetLogCfg}));
}

TEST_F(TavixctlChange, OnlyAFreshLogLosesWhatWasLogged) {
    LogCfg_st log = Log();
    log.bytesAppend = 77;
    ASSERT_EQ(driver_.SetLogCfg(log), ERROR_SUCCESS);
    EXPECT_EQ(RunJson(L"log on")["bytesAppended"], 77);
    EXPECT_EQ(RunJson(L"log on --fresh")["bytesAppended"], 0);
}

TEST_F(TavixctlChange, LogTakesNoOtherLevelAndFailsAsTheDriverDoes) {
    for (const wchar_t* arguments : {L"log on --level 0", L"log on --level 5", L"log off --level 2"})
        EXPECT_EQ(RunCtl(arguments).exitCode, kUsage);
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetLogCfg, kStatusAccessDenied, 2), ERROR_SUCCESS);
    ExpectFailure(L"log on", kDenied, "IOCTL_TAVIX_SetLogCfg failed. WinErr=5(ERROR_ACCESS_DENIED)");
}

TEST_F(TavixctlChange, BusCreateLeavesABusThatIsThereAlone) {
    EXPECT_EQ(RunJson(L"bus create")["ready"], true);
    EXPECT_EQ(RunText(L"bus create"), RunText(L"bus status"));
    EXPECT_EQ(WriteRequests(), Codes{});
}

TEST_F(TavixctlChange, BusCreateMakesTheBusThatIsMissing) {
    ASSERT_EQ(RemoveVbus(), ERROR_SUCCESS);
    ASSERT_FALSE(NodeExists(L"ROOT\\QRV_VBUS\\0000"));
    const json value = RunJson(L"bus create");
    EXPECT_EQ(value["nodes"][0]["instanceId"], "ROOT\\QRV_VBUS\\0000");
    EXPECT_TRUE(NodeExists(L"ROOT\\QRV_VBUS\\0000"));
    ASSERT_EQ(InstallVbus(), ERROR_SUCCESS);
    ASSERT_EQ(driver_.Connect(5000), ERROR_SUCCESS);
}

// ---- forget ---------------------------------------------------------------------------------------------

// By its Huid: other tests may have left unplugged devices that had the same port.
TEST_F(TavixctlChange, APresentDeviceIsNotForgotten) {
    const std::string message = "\"7&AC\" is present; only unplugged ones can be forgotten";
    ExpectFailure(L"forget 7&AC", kConflict, message);
    ASSERT_EQ(driver_.SetPresence(VcomId(), false, 0), ERROR_SUCCESS);
    ExpectFailure(L"forget 7&AC", kConflict, message);
    EXPECT_TRUE(NodeExists(VcomId()));
}

TEST_F(TavixctlChange, AnUnpluggedPortIsForgottenAndItsNumberIsFree) {
    Unplug();
    EXPECT_EQ(RunText(L"forget 7&AC --dry-run"),
              "Would be forgotten:\nPORT  HUID  NAME\nCOM5  7&AC  TAVIX Scanner (COM5)\n");
    EXPECT_TRUE(NodeExists(VcomId()));
    EXPECT_EQ(WriteRequests(), Codes{});
    const json value = RunJson(L"forget 7&AC");
    EXPECT_EQ(value["dryRun"], false);
    ASSERT_EQ(value["ports"].size(), 1u);
    EXPECT_EQ(value["ports"][0]["port"], "COM5");
    EXPECT_EQ(value["ports"][0]["huid"], "7&AC");
    EXPECT_FALSE(NodeExists(VcomId()));
    EXPECT_EQ(WriteRequests(), Codes{IOCTL_TAVIX_RemoveDevice});
    EXPECT_FALSE(driver_.FindDevice(UsbdId())) << "its number is free";
    ExpectFailure(L"forget 7&AC", kNoSuchDevice, "no device is named \"7&AC\"");
}

TEST_F(TavixctlChange, WithoutACoinstallerTheDriverIsToldAllTheSame) {
    {
        DeviceNode vcom(VcomId());
        const RegistryKey key(
            SetupDiOpenDevRegKey(vcom.set(), vcom.device(), DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_ALL_ACCESS));
        ASSERT_EQ(RegDeleteValueW(key.get(), L"CoInstallers32"), ERROR_SUCCESS);
    }
    Unplug();
    RunText(L"forget 7&AC");
    EXPECT_EQ(WriteRequests(), Codes{IOCTL_TAVIX_RemoveDevice});
    EXPECT_FALSE(NodeExists(VcomId()));
}

TEST_F(TavixctlChange, AllUnpluggedOnesAreForgottenAndThePresentOnesStay) {
    UsbIdentity other = Identity();
    other.serial = L"OTHER";
    Plug(other, {.huid = L"7&AD", .portNumber = 121});
    Unplug();
    const auto names = [](const json& value, const char* huid) {
        for (const json& port : value["ports"])
            if (port["huid"] == huid) return true;
        return false;
    };
    const json planned = RunJson(L"forget --all-unplugged --dry-run");
    EXPECT_EQ(planned["dryRun"], true);
    EXPECT_TRUE(names(planned, "7&AC"));
    EXPECT_FALSE(names(planned, "7&AD"));
    EXPECT_TRUE(NodeExists(VcomId()));
    const json done = RunJson(L"forget --all-unplugged");
    EXPECT_EQ(done["ports"], planned["ports"]);
    EXPECT_FALSE(NodeExists(VcomId()));
    EXPECT_TRUE(NodeExists(L"QRV_VBUS\\Qrv_vcom\\7&AD"));
    EXPECT_EQ(RunText(L"forget --all-unplugged"), "nothing to forget\n");
    EXPECT_EQ(RemoveVcom(L"7&AD"), ERROR_SUCCESS);
}

TEST_F(TavixctlChange, ForgetWantsToKnowWhat) {
    ExpectFailure(L"forget", kUsage, "name a DEVICE, or say --all-unplugged");
    EXPECT_EQ(RunCtl(L"forget COM5 --all-unplugged").exitCode, kUsage);
}

// ---- self-test ------------------------------------------------------------------------------------------

TEST_F(TavixctlChange, TheSelfTestPassesOnAMappingThatIsRight) {
    EXPECT_EQ(RunText(L"self-test COM5"),
              "PORT  HUID  RESULT  ANSWER\nCOM5  7&AC  passed  USB\\VID_1234&PID_5678\\ACCESS\n");
    const json value = RunJson(L"self-test COM5");
    EXPECT_EQ(value["failed"], 0);
    EXPECT_EQ(value["tests"].size(), 1u);
    EXPECT_EQ(value["tests"][0]["expected"], "USB\\VID_1234&PID_5678\\ACCESS");
    EXPECT_EQ(RunJson(L"self-test")["failed"], 0) << "with what other tests have left behind";
}

TEST_F(TavixctlChange, TheSelfTestNamesWhatIsWrong) {
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldDevinstPathAnswer, L"USB\\OTHER"), ERROR_SUCCESS);
    const RunResult result = RunCtl(L"self-test COM5");
    EXPECT_EQ(result.exitCode, kRequestFailed);
    EXPECT_EQ(result.output, "PORT  HUID  RESULT    ANSWER\nCOM5  7&AC  mismatch  USB\\OTHER\n");
    EXPECT_EQ(result.errors, "tavixctl: 1 self tests failed\n");
    RemoveBus();
    ExpectFailure(L"self-test", kDriverNotReady, "opening the TAVIX Vbus failed. WinErr=21(ERROR_NOT_READY)");
}

}  // namespace
