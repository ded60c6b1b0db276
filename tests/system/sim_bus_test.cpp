// Devices that come and go: VCOM nodes, DOS links, what the registry tells of them.
#include <optional>

#include "tests/support/wait_until.h"
#include "tests/system/sim_fixture.h"

namespace {

constexpr wchar_t kUsbPath[] = L"USB\\VID_1234&PID_5678\\SN01";
constexpr wchar_t kVcomPath[] = L"QRV_VBUS\\QRV_VCOM\\1&2";

std::optional<std::wstring> DosTarget(const wchar_t* name) {
    wchar_t target[300] = {};
    if (QueryDosDeviceW(name, target, 300) == 0) return std::nullopt;
    return target;
}

template <typename Value>
std::optional<Value> ReadValue(const std::wstring& key, const wchar_t* name, DWORD flags) {
    Value value = {};
    DWORD bytes = sizeof(value);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, flags, nullptr, &value, &bytes) != ERROR_SUCCESS)
        return std::nullopt;
    return value;
}

std::optional<std::wstring> ReadText(const std::wstring& key, const wchar_t* name) {
    wchar_t text[200] = {};
    DWORD bytes = sizeof(text);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes) !=
        ERROR_SUCCESS)
        return std::nullopt;
    return text;
}

std::wstring EnumKey(const std::wstring& instanceId) {
    return L"SYSTEM\\CurrentControlSet\\Enum\\" + instanceId;
}

std::optional<DWORD> Presence(std::wstring instanceId, const wchar_t* value = kSimNodePresentValue) {
    for (wchar_t& c : instanceId)
        c = c == L'\\' ? L'#' : static_cast<wchar_t>(towupper(c));
    return ReadValue<DWORD>(std::wstring(kSimNodesKey) + L"\\" + instanceId, value, RRF_RT_REG_DWORD);
}

// With the device node that the registry values belong to.
class SimBus : public SimulatedBusTest {
  protected:
    void TearDown() override {
        SimulatedBusTest::TearDown();
        if (NodeExists(kUsbPath)) {
            EXPECT_EQ(RemoveNode(kUsbPath), ERROR_SUCCESS);
        }
        if (NodeExists(kVcomPath)) {
            EXPECT_EQ(RemoveNode(kVcomPath), ERROR_SUCCESS);
        }
    }

    SimDeviceState_st PlugNode(const PlugOptions& options = {}) {
        EXPECT_EQ(PlugUsbDevice({}, options), ERROR_SUCCESS);
        return driver_.FindDevice(kUsbPath).value_or(SimDeviceState_st{});
    }
};

TEST_F(SimBus, PluggedDeviceHasItsNodeAndItsVcomNode) {
    const SimDeviceState_st device = PlugNode();
    EXPECT_STREQ(device.vcomInstanceId, L"QRV_VBUS\\Qrv_vcom\\1&2");
    EXPECT_EQ(device.vcomStarted, 1u);
    EXPECT_TRUE(NodeExists(kUsbPath));
    EXPECT_TRUE(NodeExists(kVcomPath));
    EXPECT_EQ(Presence(kUsbPath), 1u);
    EXPECT_EQ(Presence(kVcomPath), 1u);
}

TEST_F(SimBus, NamesAreWhereTheProductReadsThem) {
    PlugNode({.portNumber = 44});
    EXPECT_EQ(ReadText(EnumKey(kUsbPath) + L"\\Device Parameters", L"NowHuid"), L"1&2");
    EXPECT_EQ(ReadText(EnumKey(kVcomPath), L"FriendlyName"), L"TAVIX VCOM (COM44)");
    EXPECT_EQ(ReadText(EnumKey(kVcomPath) + L"\\Device Parameters", L"PortName"), L"COM44");
}

TEST_F(SimBus, SerialNumberFlagPutsItOnTheName) {
    GlobalCfg_st cfg = {};
    ASSERT_EQ(driver_.QueryGlobalCfg(cfg), ERROR_SUCCESS);
    cfg.serialNumberOnNames = 1;
    ASSERT_EQ(driver_.SetGlobalCfg(cfg), ERROR_SUCCESS);
    PlugNode({.portNumber = 44});
    EXPECT_EQ(ReadText(EnumKey(kVcomPath), L"FriendlyName"), L"TAVIX VCOM SN01 (COM44)");
}

TEST_F(SimBus, StartStampAndHistoryAreStored) {
    PlugNode();
    const std::wstring key = EnumKey(kUsbPath) + L"\\Device Parameters";
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const uint64_t nowUemsec =
        ((uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime) / 10000) - 11644473600000;
    const auto stamp = ReadValue<uint64_t>(key, L"UsbdLastStartupSuccessUemsec", RRF_RT_REG_QWORD);
    ASSERT_TRUE(stamp);
    EXPECT_LE(*stamp, nowUemsec);
    EXPECT_GT(*stamp + 60000, nowUemsec);
    FlowpathStat_st stat = {};
    stat.histUsbReadBytes = 0x123456789A;
    ASSERT_EQ(driver_.SetFlowpath(L"1&2", stat), ERROR_SUCCESS);
    const std::wstring vcomKey = EnumKey(L"QRV_VBUS\\Qrv_vcom\\1&2") + L"\\Device Parameters";
    for (const std::wstring& of : {key, vcomKey})
        EXPECT_EQ(ReadValue<uint64_t>(of, L"histUsbReadBytes", RRF_RT_REG_QWORD), 0x123456789Au);
    for (const wchar_t* name : {L"histUsbdOfflines", L"histUsbOUTerrors", L"histUsbINerrors",
                                L"histVcomWriteDiscards", L"histUsbWrittenBytes", L"histUsbReadDiscards"})
        EXPECT_EQ(ReadValue<uint64_t>(key, name, RRF_RT_REG_QWORD), 0u);
    ASSERT_EQ(driver_.SetNumber(L"1&2", kSimFieldLastStartup, 77), ERROR_SUCCESS);
    EXPECT_EQ(ReadValue<uint64_t>(key, L"UsbdLastStartupSuccessUemsec", RRF_RT_REG_QWORD), 77u);
}

TEST_F(SimBus, HuidValueIsTheDeclaredText) {
    PlugNode();
    const std::wstring key = EnumKey(kUsbPath) + L"\\Device Parameters";
    ASSERT_EQ(driver_.SetText(L"1&2", kSimFieldHuid, L"other"), ERROR_SUCCESS);
    EXPECT_EQ(ReadText(key, L"NowHuid"), L"other");
    ASSERT_EQ(driver_.SetText(L"1&2", kSimFieldHuid, L""), ERROR_SUCCESS);
    EXPECT_EQ(ReadText(key, L"NowHuid"), std::nullopt);
}

TEST_F(SimBus, DeviceThatIsNotMappedHasNoHuidValue) {
    PlugNode({.withoutVcom = true});
    EXPECT_EQ(ReadText(EnumKey(kUsbPath) + L"\\Device Parameters", L"NowHuid"), std::nullopt);
}

TEST_F(SimBus, DosLinkFollowsThePort) {
    const SimDeviceState_st device = PlugNode({.portNumber = 120});
    EXPECT_EQ(DosTarget(L"COM120"), device.kernelName);
    ASSERT_EQ(driver_.SetText(L"1&2", kSimFieldPortName, L"COM121"), ERROR_SUCCESS);
    EXPECT_EQ(DosTarget(L"COM120"), std::nullopt);
    EXPECT_EQ(DosTarget(L"COM121"), device.kernelName);
}

TEST_F(SimBus, DosLinkOfSomeoneElseIsLeftAlone) {
    ASSERT_EQ(driver_.SetDosLink(L"COM120", L"\\Device\\other"), ERROR_SUCCESS);
    PlugNode({.portNumber = 120});
    EXPECT_EQ(DosTarget(L"COM120"), L"\\Device\\other");
    ASSERT_EQ(driver_.SetDosLink(L"COM120", L""), ERROR_SUCCESS);
    EXPECT_EQ(DosTarget(L"COM120"), std::nullopt);
}

TEST_F(SimBus, UnpluggedVcomGoesUnlessItPersists) {
    const SimDeviceState_st device = PlugNode();
    ASSERT_EQ(UnplugUsbDevice(kUsbPath), ERROR_SUCCESS);
    const auto gone = driver_.FindDevice(kUsbPath);
    ASSERT_TRUE(gone);
    EXPECT_EQ(gone->plugged, 0u);
    EXPECT_STREQ(gone->vcomInstanceId, L"");
    EXPECT_EQ(DosTarget(device.portName), std::nullopt);
    EXPECT_EQ(Presence(kUsbPath), 0u);
    EXPECT_EQ(Presence(kVcomPath), 0u);
    PlugNode({.lifemode = kLifemodePersistent});
    ASSERT_EQ(UnplugUsbDevice(kUsbPath), ERROR_SUCCESS);
    EXPECT_EQ(Presence(kUsbPath), 0u);
    EXPECT_EQ(Presence(kVcomPath), 1u);
}

TEST_F(SimBus, FriendlyVcomStaysWhileItIsOpen) {
    const SimDeviceState_st device = PlugNode({.lifemode = kLifemodeFriendly});
    const std::wstring path = std::wstring(L"\\\\.\\") + device.portName;
    const FileHandle port(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(port);
    ASSERT_EQ(UnplugUsbDevice(kUsbPath), ERROR_SUCCESS);
    EXPECT_EQ(Presence(kVcomPath), 1u);
}

TEST_F(SimBus, DevicePluggedAgainKeepsHuidAndPort) {
    const SimDeviceState_st first = PlugNode({.huid = L"my&huid", .portNumber = 77});
    ASSERT_EQ(UnplugUsbDevice(kUsbPath), ERROR_SUCCESS);
    const SimDeviceState_st second = PlugNode();
    EXPECT_STREQ(second.huid, L"my&huid");
    EXPECT_STREQ(second.portName, L"COM77");
    EXPECT_STRNE(second.kernelName, first.kernelName);
    ASSERT_EQ(driver_.Reset(), ERROR_SUCCESS);
    EXPECT_EQ(RemoveVcom(L"my&huid"), ERROR_SUCCESS);
}

TEST_F(SimBus, TwoDevicesHaveTheirOwnHuidAndPort) {
    UsbIdentity other;
    other.serial = L"SN02";
    const SimDeviceState_st first = Plug();
    const SimDeviceState_st second = Plug(other);
    EXPECT_STREQ(first.huid, L"1&2");
    EXPECT_STREQ(second.huid, L"1&3");
    EXPECT_STREQ(first.portName, L"COM5");
    EXPECT_STREQ(second.portName, L"COM6");
}

TEST_F(SimBus, SameHuidForTwoDevicesIsRefused) {
    UsbIdentity other;
    other.serial = L"SN02";
    Plug({}, {.huid = L"same"});
    EXPECT_EQ(driver_.Plug(other, {.huid = L"SAME"}), ERROR_ALREADY_EXISTS);
}

TEST_F(SimBus, TooManyDevicesAreRefused) {
    UsbIdentity identity;
    for (size_t i = 0; i < kSimMaxDevices; ++i) {
        identity.serial = std::to_wstring(i);
        ASSERT_EQ(driver_.Plug(identity, {.withoutVcom = true}), ERROR_SUCCESS);
    }
    identity.serial = L"one more";
    EXPECT_EQ(driver_.Plug(identity, {.withoutVcom = true}), ERROR_NO_SYSTEM_RESOURCES);
    std::vector<SimDeviceState_st> devices;
    ASSERT_EQ(driver_.ListDevices(devices), ERROR_SUCCESS);
    EXPECT_EQ(devices.size(), kSimMaxDevices);
}

TEST_F(SimBus, ForgottenDeviceIsAStranger) {
    Plug();
    ASSERT_EQ(driver_.Forget(kUsbPath), ERROR_SUCCESS);
    EXPECT_EQ(driver_.FindDevice(kUsbPath), std::nullopt);
    EXPECT_EQ(driver_.Forget(kUsbPath), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(driver_.Unplug(kUsbPath), ERROR_FILE_NOT_FOUND);
}

TEST_F(SimBus, DeclaredPresenceIsStoredForTheShim) {
    ASSERT_EQ(driver_.SetPresence(L"Root\\Qrv_vbus\\0000", false, 22), ERROR_SUCCESS);
    EXPECT_EQ(Presence(L"ROOT\\QRV_VBUS\\0000"), 0u);
    EXPECT_EQ(Presence(L"ROOT\\QRV_VBUS\\0000", kSimNodeProblemValue), 22u);
    ASSERT_EQ(driver_.Reset(), ERROR_SUCCESS);
    EXPECT_EQ(Presence(L"ROOT\\QRV_VBUS\\0000"), std::nullopt);
}

TEST_F(SimBus, ResetTakesEverythingBack) {
    Plug({}, {.portNumber = 50});
    ASSERT_EQ(driver_.SetPortState(1, 3), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetAccess({.refuseWrite = 1}), ERROR_SUCCESS);
    ASSERT_EQ(driver_.FailNext(0, -1, kSimForever), ERROR_SUCCESS);
    ASSERT_EQ(driver_.Reset(), ERROR_SUCCESS);
    SimInfo_st info = {};
    ASSERT_EQ(driver_.QueryInfo(info), ERROR_SUCCESS);
    EXPECT_EQ(info.busStarted, 1u);
    EXPECT_EQ(info.deviceCount, 0u);
    EXPECT_EQ(info.activeFaults, 0u);
    EXPECT_EQ(DosTarget(L"COM50"), std::nullopt);
    EXPECT_TRUE(OpenBus());
    EXPECT_EQ(Presence(kUsbPath), 0u);
}

constexpr wchar_t kErrorLog[] =
    L"C:\\windows\\System32\\QrvTavix\\usberr\\usberr_USB#VID_1234&PID_5678#SN01.log";

FileHandle OpenErrorLog() {
    return FileHandle(CreateFileW(kErrorLog, GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, 0, nullptr));
}

TEST_F(SimBus, AHeldErrorLogIsOpenForWritingUntilItIsReleased) {
    DeleteFileW(kErrorLog);
    ASSERT_EQ(driver_.HoldUsbErrorLog(kUsbPath, false), ERROR_SUCCESS);
    EXPECT_TRUE(OpenErrorLog());
    EXPECT_FALSE(FileHandle(
        CreateFileW(kErrorLog, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr)));
    EXPECT_EQ(driver_.WriteUsbErrorLog(kUsbPath, L"while held\r\n"), ERROR_SUCCESS);
    ASSERT_EQ(driver_.HoldUsbErrorLog(kUsbPath, true), ERROR_SUCCESS);
    EXPECT_FALSE(OpenErrorLog());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    ASSERT_EQ(driver_.ReleaseUsbErrorLog(), ERROR_SUCCESS);
    EXPECT_TRUE(OpenErrorLog());
    ASSERT_EQ(driver_.HoldUsbErrorLog(kUsbPath, true), ERROR_SUCCESS);
    ASSERT_EQ(driver_.Reset(), ERROR_SUCCESS);
    EXPECT_TRUE(OpenErrorLog());
    EXPECT_TRUE(DeleteFileW(kErrorLog));
}

TEST_F(SimBus, ErrorLogGrowsByEpisodes) {
    DeleteFileW(kErrorLog);
    ASSERT_EQ(driver_.WriteUsbErrorLog(kUsbPath, L"first\r\n"), ERROR_SUCCESS);
    ASSERT_EQ(driver_.WriteUsbErrorLog(kUsbPath, L"z\u00FC\u20AC\xD83D\xDE00\r\n"), ERROR_SUCCESS);
    const FileHandle file(CreateFileW(kErrorLog, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    ASSERT_TRUE(file);
    char content[400] = {};
    DWORD read = 0;
    ASSERT_TRUE(ReadFile(file.get(), content, sizeof(content) - 1, &read, nullptr));
    EXPECT_STREQ(content,
                 "*========================================*\r\nfirst\r\n"
                 "*========================================*\r\nz\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80\r\n");
}

}  // namespace
