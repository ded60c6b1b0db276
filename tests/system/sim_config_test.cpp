// The simulated driver's settings: version, VCOM configuration, port table, global record, log control.
#include <algorithm>
#include <cstring>
#include <random>

#include "tests/system/sim_fixture.h"

namespace {

class SimConfig : public SimulatedBusTest {
  protected:
    static VcomCfgReply_st QueryVcomCfg(std::wstring_view deviceName) {
        const DeviceName_st name = Name(deviceName);
        VcomCfgReply_st reply = {};
        DWORD returned = 0;
        EXPECT_EQ(Request(IOCTL_TAVIX_GetVcomCfg, &name, sizeof(name), &reply, sizeof(reply), &returned),
                  ERROR_SUCCESS);
        EXPECT_EQ(returned, sizeof(reply));
        return reply;
    }

    // The result word.
    static uint32_t ChangeVcomCfg(std::wstring_view deviceName, uint32_t lifemode,
                                  std::wstring_view portName) {
        VcomCfgRequest_st request = {Name(deviceName), lifemode, {}};
        std::copy_n(portName.data(), std::min(portName.size(), kPortNameChars), request.portName);
        uint32_t result = 0xDEAD;
        EXPECT_EQ(Request(IOCTL_TAVIX_SetVcomCfg, &request, sizeof(request), &result, sizeof(result)),
                  ERROR_SUCCESS);
        return result;
    }

    static uint32_t StateOf(const VcomCfgReply_st& reply, uint32_t portNumber) {
        return reply.portStates[portNumber - 1];
    }
};

TEST_F(SimConfig, VersionIsTheInitialOne) {
    DriverVersion_st version = {};
    DWORD returned = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version), &returned),
              ERROR_SUCCESS);
    EXPECT_EQ(returned, 180u);
    EXPECT_EQ(version.major, 1u);
    EXPECT_EQ(version.minor, 7u);
    EXPECT_EQ(version.build, 11u);
    EXPECT_EQ(version.debugBuild, 0u);
}

TEST_F(SimConfig, VersionIsTheDeclaredOneByteForByte) {
    DriverVersion_st declared = {};
    std::memset(&declared, 0x5A, sizeof(declared));
    ASSERT_EQ(driver_.SetVersion(declared), ERROR_SUCCESS);
    DriverVersion_st version = {};
    ASSERT_EQ(Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version)), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(&version, &declared, sizeof(version)), 0);
}

TEST_F(SimConfig, NewVcomHasThePortAndLifemodeItWasPluggedWith) {
    Plug({}, {.portNumber = 33, .lifemode = kLifemodePersistent});
    const VcomCfgReply_st reply = QueryVcomCfg(L"Qrv_vcom\\1&2");
    EXPECT_EQ(reply.result, UfAppErr_Success);
    EXPECT_EQ(reply.lifemode, kLifemodePersistent);
    EXPECT_STREQ(reply.portName, L"COM33");
}

TEST_F(SimConfig, StrangerHasAWrongHuid) {
    EXPECT_EQ(QueryVcomCfg(L"nobody").result, UfAppErr_WrongHuid);
    EXPECT_EQ(ChangeVcomCfg(L"nobody", 1, L"COM7"), UfAppErr_WrongHuid);
}

TEST_F(SimConfig, DeviceWithoutVcomHasNoneYet) {
    Plug({}, {.huid = L"bare", .withoutVcom = true});
    EXPECT_EQ(QueryVcomCfg(L"bare").result, UfAppErr_NoVcomYet);
    EXPECT_EQ(ChangeVcomCfg(L"bare", 1, L"COM7"), UfAppErr_NoVcomYet);
}

TEST_F(SimConfig, DeclaredResultWordsAreAnswered) {
    Plug();
    ASSERT_EQ(driver_.SetNumber(L"1&2", kSimFieldCfgResult, UfAppErr_Registry), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(L"1&2", kSimFieldSetCfgResult, 77), ERROR_SUCCESS);
    EXPECT_EQ(QueryVcomCfg(L"1&2").result, UfAppErr_Registry);
    EXPECT_EQ(ChangeVcomCfg(L"1&2", 1, L"COM7"), 77u);
}

TEST_F(SimConfig, ChangeMovesPortAndLifemode) {
    Plug({}, {.portNumber = 33});
    ASSERT_EQ(ChangeVcomCfg(L"1&2", kLifemodeTemporal, L"COM44"), UfAppErr_Success);
    const VcomCfgReply_st reply = QueryVcomCfg(L"1&2");
    EXPECT_STREQ(reply.portName, L"COM44");
    EXPECT_EQ(reply.lifemode, kLifemodeTemporal);
    EXPECT_EQ(StateOf(reply, 33), kPortFree);
    EXPECT_EQ(StateOf(reply, 44), kPortOfThisVcom);
}

TEST_F(SimConfig, ChangeReadsTheNameInFrontOfItsMark) {
    Plug({}, {.portNumber = 33});
    ASSERT_EQ(ChangeVcomCfg(L"1&2", 1, L"COM7 (#)"), UfAppErr_Success);
    EXPECT_STREQ(QueryVcomCfg(L"1&2").portName, L"COM7");
}

TEST_F(SimConfig, BadChangesAreRefusedAndChangeNothing) {
    Plug({}, {.portNumber = 33, .lifemode = kLifemodeFriendly});
    EXPECT_EQ(ChangeVcomCfg(L"1&2", 3, L"COM7"), UfAppErr_BadParam);
    EXPECT_EQ(ChangeVcomCfg(L"1&2", 1, L"LPT1"), UfAppErr_BadParam);
    EXPECT_EQ(ChangeVcomCfg(L"1&2", 1, L"COM"), UfAppErr_BadParam);
    EXPECT_EQ(ChangeVcomCfg(L"1&2", 1, L"COM0"), UfAppErr_BadParam);
    EXPECT_EQ(ChangeVcomCfg(L"1&2", 1, L"COM257"), UfAppErr_BadParam);
    EXPECT_EQ(ChangeVcomCfg(L"1&2", 1, L"COM9999999999999"), UfAppErr_BadParam);
    const VcomCfgReply_st reply = QueryVcomCfg(L"1&2");
    EXPECT_STREQ(reply.portName, L"COM33");
    EXPECT_EQ(reply.lifemode, kLifemodeFriendly);
}

TEST_F(SimConfig, PortNameOfAnyTextIsReported) {
    Plug();
    ASSERT_EQ(driver_.SetText(L"1&2", kSimFieldPortName, L"Barcode"), ERROR_SUCCESS);
    const VcomCfgReply_st reply = QueryVcomCfg(L"1&2");
    EXPECT_STREQ(reply.portName, L"Barcode");
    EXPECT_EQ(std::count(std::begin(reply.portStates), std::end(reply.portStates), kPortOfThisVcom), 0);
}

TEST_F(SimConfig, PortTableShowsEveryOwner) {
    UsbIdentity present;
    UsbIdentity away;
    present.serial = L"present";
    away.serial = L"away";
    Plug({}, {.portNumber = 30});
    Plug(present, {.portNumber = 31});
    Plug(away, {.portNumber = 32, .lifemode = kLifemodeTemporal});
    ASSERT_EQ(driver_.Unplug(away.InstanceId()), ERROR_SUCCESS);
    const VcomCfgReply_st reply = QueryVcomCfg(L"1&2");
    EXPECT_EQ(StateOf(reply, 30), kPortOfThisVcom);
    EXPECT_EQ(StateOf(reply, 31), kPortOfPresentDevice);
    EXPECT_EQ(StateOf(reply, 32), kPortOfUnpluggedVcom);
    EXPECT_EQ(StateOf(reply, 33), kPortFree);
}

TEST_F(SimConfig, DeclaredPortStatesWin) {
    Plug({}, {.portNumber = 30});
    ASSERT_EQ(driver_.SetPortState(1, kPortOfOtherProvider), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetPortState(30, kPortFree), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetPortState(128, 99), ERROR_SUCCESS);
    const VcomCfgReply_st reply = QueryVcomCfg(L"1&2");
    EXPECT_EQ(StateOf(reply, 1), kPortOfOtherProvider);
    EXPECT_EQ(StateOf(reply, 30), kPortFree);
    EXPECT_EQ(StateOf(reply, 128), 99u);
    ASSERT_EQ(driver_.SetPortState(30, kSimPortComputed), ERROR_SUCCESS);
    EXPECT_EQ(StateOf(QueryVcomCfg(L"1&2"), 30), kPortOfThisVcom);
}

TEST_F(SimConfig, PortStateOutsideTheTableIsRefused) {
    EXPECT_EQ(driver_.SetPortState(0, 1), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(driver_.SetPortState(129, 1), ERROR_INVALID_PARAMETER);
}

TEST_F(SimConfig, GlobalRecordComesBackByteForByte) {
    std::mt19937 random(20260316);
    GlobalCfg_st sent = {};
    auto* bytes = reinterpret_cast<uint8_t*>(&sent);
    for (size_t i = 0; i < sizeof(sent); ++i)
        bytes[i] = static_cast<uint8_t>(random());
    sent.bindMode = kBindByUsbPort;
    uint32_t result = 0xDEAD;
    ASSERT_EQ(Request(IOCTL_TAVIX_SetGlobalCfg, &sent, sizeof(sent), &result, sizeof(result)), ERROR_SUCCESS);
    EXPECT_EQ(result, UfAppErr_Success);
    GlobalCfg_st read = {};
    ASSERT_EQ(Request(IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, &read, sizeof(read)), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(&read, &sent, sizeof(read)), 0);
}

TEST_F(SimConfig, UnknownBindModeIsRefused) {
    GlobalCfg_st before = {};
    ASSERT_EQ(driver_.QueryGlobalCfg(before), ERROR_SUCCESS);
    GlobalCfg_st sent = before;
    sent.bindMode = 4;
    uint32_t result = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_SetGlobalCfg, &sent, sizeof(sent), &result, sizeof(result)), ERROR_SUCCESS);
    EXPECT_EQ(result, UfAppErr_BadParam);
    GlobalCfg_st after = {};
    ASSERT_EQ(driver_.QueryGlobalCfg(after), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(&before, &after, sizeof(before)), 0);
}

TEST_F(SimConfig, UnnamedBytesOfTheInitialGlobalRecordAreNotZero) {
    GlobalCfg_st cfg = {};
    ASSERT_EQ(driver_.QueryGlobalCfg(cfg), ERROR_SUCCESS);
    EXPECT_NE(cfg.reserved18[0], 0);
    EXPECT_NE(cfg.reserved25[0], 0);
    EXPECT_NE(cfg.reserved41, 0);
    EXPECT_NE(cfg.reserved442[1], 0);
}

TEST_F(SimConfig, LogControlKeepsTheWholeWordAndTheDriversStatistics) {
    LogCfg_st before = {};
    ASSERT_EQ(Request(IOCTL_TAVIX_GetLogCfg, nullptr, 0, &before, sizeof(before)), ERROR_SUCCESS);
    LogCfg_st sent = before;
    sent.fileLogging = 0xAABBCC01;
    for (int32_t& level : sent.levels)
        level = 3;
    sent.bytesAppend = 1;
    sent.logbufSize = 2;
    ASSERT_EQ(Request(IOCTL_TAVIX_SetLogCfg, &sent, sizeof(sent), nullptr, 0), ERROR_SUCCESS);
    LogCfg_st after = {};
    ASSERT_EQ(driver_.QueryLogCfg(after), ERROR_SUCCESS);
    EXPECT_EQ(after.fileLogging, 0xAABBCC01u);
    EXPECT_EQ(after.levels[4], 3);
    EXPECT_EQ(after.bytesAppend, before.bytesAppend);
    EXPECT_EQ(after.logbufSize, before.logbufSize);
    EXPECT_EQ(after.freshLog, 0);
}

TEST_F(SimConfig, FreshLogStartsTheStatisticsAnew) {
    LogCfg_st sent = {};
    ASSERT_EQ(driver_.QueryLogCfg(sent), ERROR_SUCCESS);
    ASSERT_NE(sent.bytesAppend, 0);
    sent.freshLog = 1;
    ASSERT_EQ(Request(IOCTL_TAVIX_SetLogCfg, &sent, sizeof(sent), nullptr, 0), ERROR_SUCCESS);
    LogCfg_st after = {};
    ASSERT_EQ(driver_.QueryLogCfg(after), ERROR_SUCCESS);
    EXPECT_EQ(after.bytesAppend, 0);
    EXPECT_EQ(after.countAppends, 0);
    EXPECT_EQ(after.countFilesysop, sent.countFilesysop + 1);
}

TEST_F(SimConfig, LogRecordIsTheDeclaredOneByteForByte) {
    LogCfg_st declared = {};
    std::memset(&declared, 0xA7, sizeof(declared));
    ASSERT_EQ(driver_.SetLogCfg(declared), ERROR_SUCCESS);
    LogCfg_st read = {};
    ASSERT_EQ(Request(IOCTL_TAVIX_GetLogCfg, nullptr, 0, &read, sizeof(read)), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(&read, &declared, sizeof(read)), 0);
}

// The system's database of COM names, one bit each, put back afterwards.
class ComDatabase {
  public:
    ComDatabase() {
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\COM Name Arbiter", 0,
                        nullptr, 0, KEY_ALL_ACCESS, nullptr, key_.put(), nullptr);
        DWORD bytes = sizeof(saved_);
        wasThere_ = RegQueryValueExW(key_.get(), L"ComDB", nullptr, nullptr, saved_, &bytes) == ERROR_SUCCESS;
        savedBytes_ = bytes;
    }
    ComDatabase(const ComDatabase&) = delete;
    ~ComDatabase() {
        if (wasThere_)
            RegSetValueExW(key_.get(), L"ComDB", 0, REG_BINARY, saved_, savedBytes_);
        else
            RegDeleteValueW(key_.get(), L"ComDB");
    }
    void Mark(uint32_t portNumber) {
        BYTE bits[32] = {};
        bits[(portNumber - 1) / 8] = static_cast<BYTE>(1 << (portNumber - 1) % 8);
        RegSetValueExW(key_.get(), L"ComDB", 0, REG_BINARY, bits, sizeof(bits));
    }

  private:
    RegistryKey key_;
    BYTE saved_[64] = {};
    DWORD savedBytes_ = 0;
    bool wasThere_ = false;
};

TEST_F(SimConfig, PortsOfTheComDatabaseBelongToAnotherProvider) {
    ComDatabase database;
    Plug({}, {.portNumber = 30});
    database.Mark(60);
    EXPECT_EQ(StateOf(QueryVcomCfg(L"1&2"), 60), kPortOfOtherProvider);
    EXPECT_EQ(StateOf(QueryVcomCfg(L"1&2"), 59), kPortFree);
    EXPECT_EQ(StateOf(QueryVcomCfg(L"1&2"), 61), kPortFree);
    database.Mark(30);
    EXPECT_EQ(StateOf(QueryVcomCfg(L"1&2"), 30), kPortOfThisVcom);
}

}  // namespace
