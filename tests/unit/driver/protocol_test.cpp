#include "driver/protocol.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "base/windows_api.h"

namespace {

struct CodeRow {
    const char* name;
    uint32_t code;
    uint32_t expected;
};

constexpr CodeRow kCodes[] = {
    {"BSOD", IOCTL_TAVIX_BSOD, 0x1612B000},
    {"GetDriverVersion", IOCTL_TAVIX_GetDriverVersion, 0x16123004},
    {"GetVcomCfg", IOCTL_TAVIX_GetVcomCfg, 0x16127008},
    {"SetVcomCfg", IOCTL_TAVIX_SetVcomCfg, 0x1612B00C},
    {"GetGlobalCfg", IOCTL_TAVIX_GetGlobalCfg, 0x16127010},
    {"SetGlobalCfg", IOCTL_TAVIX_SetGlobalCfg, 0x1612B014},
    {"GetVcomOpenerPid", IOCTL_TAVIX_GetVcomOpenerPid, 0x16127018},
    {"RemoveDevice", IOCTL_TAVIX_RemoveDevice, 0x1612B01C},
    {"GetLogCfg", IOCTL_TAVIX_GetLogCfg, 0x16127028},
    {"SetLogCfg", IOCTL_TAVIX_SetLogCfg, 0x1612B02C},
    {"GetUsbdInfo", IOCTL_TAVIX_GetUsbdInfo, 0x16127050},
    {"QueryUsbdDevinstPath", IOCTL_TAVIX_QueryUsbdDevinstPath, 0x16123054},
    {"GetFlowpathStat", IOCTL_TAVIX_GetFlowpathStat, 0x16127058},
    {"ResetFlowpathStat", IOCTL_TAVIX_ResetFlowpathStat, 0x1612705C},
    {"DestroyFlowpathStatHistory", IOCTL_TAVIX_DestroyFlowpathStatHistory, 0x16127060},
    {"GetUsbErrStat", IOCTL_TAVIX_GetUsbErrStat, 0x16127064},
    {"QueryVcomFdoPdo", IOCTL_TAVIX_QueryVcomFdoPdo, 0x1612706C},
    {"GetIrpStateText", IOCTL_TAVIX_GetIrpStateText, 0x16127074},
    {"CreateDangleVcom", IOCTL_TAVIX_CreateDangleVcom, 0x1612B090},
    {"StartBlindRun", IOCTL_TAVIX_StartBlindRun, 0x1612B098},
    {"StopBlindRun", IOCTL_TAVIX_StopBlindRun, 0x1612B09C},
    {"UsbTweak0", IOCTL_TAVIX_UsbTweak0, 0x1612B0A0},
    {"UsbTweak1", IOCTL_TAVIX_UsbTweak1, 0x1612B0A4},
    {"UsbTweak2", IOCTL_TAVIX_UsbTweak2, 0x1612B0A8},
    {"UsbTweak3", IOCTL_TAVIX_UsbTweak3, 0x1612B0AC},
    {"SetWdfDeviceState", IOCTL_TAVIX_SetWdfDeviceState, 0x1612B0C8},
};

class ControlCode : public testing::TestWithParam<CodeRow> {};

TEST_P(ControlCode, HasItsValue) {
    EXPECT_EQ(GetParam().code, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Rows, ControlCode, testing::ValuesIn(kCodes),
                         [](const auto& row) { return row.param.name; });

TEST(ControlCodes, AreAllDifferent) {
    std::set<uint32_t> codes;
    for (const CodeRow& row : kCodes)
        codes.insert(row.code);
    EXPECT_EQ(codes.size(), std::size(kCodes));
}

TEST(Protocol, NamesTheInterfaceClass) {
    const GUID expected = {0x20161207, 0x6A0C, 0x11D2, {0xB8, 0x41, 0x00, 0xC0, 0x4F, 0xAD, 0x51, 0x71}};
    EXPECT_TRUE(std::bit_cast<GUID>(kVbusInterfaceClass) == expected);
}

// A record as the wire has it: zeros, with bytes set at stated offsets.
class Wire {
  public:
    explicit Wire(size_t bytes) : bytes_(bytes) {}
    Wire& Put(size_t offset, std::initializer_list<int> bytes) {
        for (const int byte : bytes)
            bytes_.at(offset++) = static_cast<uint8_t>(byte);
        return *this;
    }
    template <typename Record>
    bool Is(const Record& record) const {
        return sizeof(record) == bytes_.size() && std::memcmp(&record, bytes_.data(), bytes_.size()) == 0;
    }

  private:
    std::vector<uint8_t> bytes_;
};

TEST(ProtocolRecord, DriverVersion) {
    const DriverVersion_st record = {.major = 1, .minor = 2, .build = 0x0304, .debugBuild = 5};
    EXPECT_TRUE(Wire(180).Put(0, {1}).Put(4, {2}).Put(8, {4, 3}).Put(16, {5}).Is(record));
}

TEST(ProtocolRecord, VcomCfgReply) {
    VcomCfgReply_st record = {.result = 9, .lifemode = 2, .portName = L"COM7"};
    record.portStates[0] = 4;
    record.portStates[127] = 0x01020304;
    EXPECT_TRUE(Wire(552)
                    .Put(0, {9})
                    .Put(4, {2})
                    .Put(8, {'C', 0, 'O', 0, 'M', 0, '7', 0})
                    .Put(40, {4})
                    .Put(548, {4, 3, 2, 1})
                    .Is(record));
}

TEST(ProtocolRecord, VcomCfgRequest) {
    const VcomCfgRequest_st record = {.device = {L"ab"}, .lifemode = 1, .portName = L"C"};
    EXPECT_TRUE(Wire(292).Put(0, {'a', 0, 'b', 0}).Put(256, {1}).Put(260, {'C', 0}).Is(record));
}

TEST(ProtocolRecord, GlobalCfg) {
    GlobalCfg_st record = {.bindMode = 1,
                           .newVcomLifemode = 2,
                           .prefetchMode = 3,
                           .prefetchBufferBytes = 0x100,
                           .preferProductText = 5,
                           .serialNumberOnNames = 6,
                           .dropPartialBytes = 7,
                           .clearInputOnOpen = 8,
                           .clearInputDelayMinimumMs = 300,
                           .requireUniqueSerial = 9,
                           .datapipeLifemode = 10,
                           .robPort = 11,
                           .preferredPorts = L"C"};
    record.preferredPorts[199] = 0x0102;
    EXPECT_TRUE(Wire(444)
                    .Put(0, {1})
                    .Put(4, {2})
                    .Put(8, {3})
                    .Put(12, {0, 1})
                    .Put(16, {5, 6})
                    .Put(20, {7})
                    .Put(24, {8})
                    .Put(28, {0x2C, 1})
                    .Put(32, {9})
                    .Put(36, {10})
                    .Put(40, {11})
                    .Put(42, {'C', 0})
                    .Put(440, {2, 1})
                    .Is(record));
}

TEST(ProtocolRecord, LogCfg) {
    const LogCfg_st record = {.fileLogging = 1,
                              .levels = {2, 3, 4, 5, -1},
                              .freshLog = 6,
                              .logbufSize = 7,
                              .watermarkMaxReached = 8,
                              .bytesAppend = 9,
                              .countAppends = 10,
                              .countFilesysop = 11,
                              .bytesOverrun = 12,
                              .countOverrun = -2};
    EXPECT_TRUE(Wire(80)
                    .Put(0, {1})
                    .Put(4, {2})
                    .Put(8, {3})
                    .Put(12, {4})
                    .Put(16, {5})
                    .Put(20, {255, 255, 255, 255, 6})
                    .Put(28, {7})
                    .Put(32, {8})
                    .Put(40, {9})
                    .Put(48, {10})
                    .Put(56, {11})
                    .Put(64, {12})
                    .Put(72, {254, 255, 255, 255, 255, 255, 255, 255})
                    .Is(record));
}

TEST(ProtocolRecord, UsbdInfo) {
    const UsbdInfo_st record = {.online = 1,
                                .speed = 2,
                                .idVendor = 0x1234,
                                .idProduct = 0x5678,
                                .bcdDevice = 0x0102,
                                .manufacturer = L"m",
                                .product = L"p",
                                .serialNumber = L"s",
                                .usbdInstancePath = L"u",
                                .vcomInstancePath = L"v"};
    EXPECT_TRUE(Wire(1296)
                    .Put(0, {1})
                    .Put(4, {2})
                    .Put(8, {0x34, 0x12, 0x78, 0x56, 2, 1})
                    .Put(14, {'m'})
                    .Put(270, {'p'})
                    .Put(526, {'s'})
                    .Put(782, {'u'})
                    .Put(1038, {'v'})
                    .Is(record));
}

TEST(ProtocolRecord, FlowpathStat) {
    const FlowpathStat_st record = {.creationUemsec = 1,
                                    .histOfflineIncrease = 2,
                                    .histOfflines = 3,
                                    .usbInActive = 4,
                                    .usbReceivedBytes = 5,
                                    .vcomReadBytes = 6,
                                    .vcomReadPendingBytes = 7,
                                    .readBufferBytes = 8,
                                    .readBufferExtraBytes = 9,
                                    .readDiscardBytes = 10,
                                    .histUsbReadBytes = 11,
                                    .histReadDiscardBytes = 12,
                                    .readBufferLimitBytes = 13,
                                    .readBufferPeakBytes = 14,
                                    .usbInErrors = 15,
                                    .histUsbInErrors = 16,
                                    .usbOutActive = 17,
                                    .usbSentBytes = 18,
                                    .vcomWrittenBytes = 19,
                                    .writeBufferBytes = 20,
                                    .writeDiscardBytes = 21,
                                    .histUsbWrittenBytes = 22,
                                    .histWriteDiscardBytes = 23,
                                    .writeBufferLimitBytes = 24,
                                    .writeBufferPeakBytes = 25,
                                    .usbOutErrors = 26,
                                    .histUsbOutErrors = 27,
                                    .blindRun = 28};
    Wire wire(224);
    const size_t offsets[] = {0,   8,   16,  24,  32,  40,  48,  56,  64,  72,  80,  88,  96,  100,
                              104, 112, 120, 128, 136, 160, 168, 176, 184, 192, 196, 200, 208, 216};
    int value = 0;
    for (const size_t offset : offsets)
        wire.Put(offset, {++value});
    EXPECT_TRUE(wire.Is(record));
}

TEST(ProtocolRecord, UsbErrStat) {
    UsbErrStat_st record = {.headerWord = 8,
                            .evaluate = 1,
                            .lastInErrorTime = 2,
                            .lastOutErrorTime = 3,
                            .lastInRecoveredTime = 4,
                            .lastOutRecoveredTime = 5,
                            .sinceOnline = {6, 7, 8, 9},
                            .offlineCount = 10,
                            .lastOfflineTime = 11,
                            .totals = {12, 13, 14, 15}};
    record.bucketCounts[0] = 16;
    record.bucketCounts[20] = 17;
    EXPECT_TRUE(Wire(200)
                    .Put(8, {8})
                    .Put(12, {1})
                    .Put(16, {16})
                    .Put(96, {17})
                    .Put(104, {2})
                    .Put(112, {3})
                    .Put(120, {4})
                    .Put(128, {5})
                    .Put(136, {6, 0, 0, 0, 7, 0, 0, 0, 8, 0, 0, 0, 9})
                    .Put(152, {10})
                    .Put(160, {11})
                    .Put(184, {12, 0, 0, 0, 13, 0, 0, 0, 14, 0, 0, 0, 15})
                    .Is(record));
}

TEST(ProtocolRecord, VcomFdoPdo) {
    const VcomFdoPdo_st record = {.kernelName = L"\\D"};
    EXPECT_TRUE(Wire(272).Put(32, {'\\', 0, 'D', 0}).Is(record));
}

TEST(ProtocolRecord, WdfDeviceStateRequest) {
    const WdfDeviceStateRequest_st record = {.device = {L"a"}, .stateIndex = kWdfStateRemoved, .value = 1};
    EXPECT_TRUE(Wire(264).Put(0, {'a', 0}).Put(256, {4}).Put(260, {1}).Is(record));
}

}  // namespace
