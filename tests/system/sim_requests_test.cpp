// What holds for every request of the control-code table: its lengths, its access rule, its device.
#include <cstring>
#include <ostream>
#include <vector>

#include "tests/system/sim_fixture.h"

namespace {

struct RequestRow {
    const char* name;
    uint32_t code;
    DWORD inputBytes;
    DWORD outputBytes;
    DWORD access;         // that the sender needs: GENERIC_READ, GENERIC_WRITE or 0
    DWORD strangerError;  // for a device that the driver does not know; 0 where the reply tells, or nothing
                          // is told
};

void PrintTo(const RequestRow& row, std::ostream* out) {
    *out << row.name;
}

constexpr DWORD kName = sizeof(DeviceName_st);
constexpr DWORD kLost = ERROR_DEVICE_NOT_CONNECTED;

constexpr RequestRow kRows[] = {
    {"BSOD", IOCTL_TAVIX_BSOD, 4, 0, GENERIC_WRITE, 0},
    {"GetDriverVersion", IOCTL_TAVIX_GetDriverVersion, 0, 180, 0, 0},
    {"GetVcomCfg", IOCTL_TAVIX_GetVcomCfg, kName, 552, GENERIC_READ, 0},
    {"SetVcomCfg", IOCTL_TAVIX_SetVcomCfg, 292, 4, GENERIC_WRITE, 0},
    {"GetGlobalCfg", IOCTL_TAVIX_GetGlobalCfg, 0, 444, GENERIC_READ, 0},
    {"SetGlobalCfg", IOCTL_TAVIX_SetGlobalCfg, 444, 4, GENERIC_WRITE, 0},
    {"GetVcomOpenerPid", IOCTL_TAVIX_GetVcomOpenerPid, kName, 4, GENERIC_READ, kLost},
    {"RemoveDevice", IOCTL_TAVIX_RemoveDevice, kName, 0, GENERIC_WRITE, 0},
    {"GetLogCfg", IOCTL_TAVIX_GetLogCfg, 0, 80, GENERIC_READ, 0},
    {"SetLogCfg", IOCTL_TAVIX_SetLogCfg, 80, 0, GENERIC_WRITE, 0},
    {"GetUsbdInfo", IOCTL_TAVIX_GetUsbdInfo, kName, 1296, GENERIC_READ, kLost},
    {"GetFlowpathStat", IOCTL_TAVIX_GetFlowpathStat, kName, 224, GENERIC_READ, kLost},
    {"ResetFlowpathStat", IOCTL_TAVIX_ResetFlowpathStat, kName, 0, GENERIC_READ, kLost},
    {"DestroyFlowpathStatHistory", IOCTL_TAVIX_DestroyFlowpathStatHistory, kName, 0, GENERIC_READ, kLost},
    {"GetUsbErrStat", IOCTL_TAVIX_GetUsbErrStat, kName, 200, GENERIC_READ, kLost},
    {"QueryVcomFdoPdo", IOCTL_TAVIX_QueryVcomFdoPdo, kName, 272, GENERIC_READ, kLost},
    {"CreateDangleVcom", IOCTL_TAVIX_CreateDangleVcom, 4, 0, GENERIC_WRITE, 0},
    {"StartBlindRun", IOCTL_TAVIX_StartBlindRun, kName, 0, GENERIC_WRITE, kLost},
    {"StopBlindRun", IOCTL_TAVIX_StopBlindRun, kName, 0, GENERIC_WRITE, kLost},
    {"UsbTweak0", IOCTL_TAVIX_UsbTweak0, kName, 0, GENERIC_WRITE, kLost},
    {"UsbTweak1", IOCTL_TAVIX_UsbTweak1, kName, 0, GENERIC_WRITE, kLost},
    {"UsbTweak2", IOCTL_TAVIX_UsbTweak2, kName, 0, GENERIC_WRITE, kLost},
    {"UsbTweak3", IOCTL_TAVIX_UsbTweak3, kName, 0, GENERIC_WRITE, kLost},
    {"SetWdfDeviceState", IOCTL_TAVIX_SetWdfDeviceState, 264, 0, GENERIC_WRITE, kLost},
};

class EachRequest : public SimulatedBusTest, public testing::WithParamInterface<RequestRow> {
  protected:
    DWORD Send(const FileHandle& bus, DWORD inputBytes, DWORD outputBytes, DWORD* returnedBytes = nullptr) {
        std::vector<uint8_t> input(inputBytes);
        std::vector<uint8_t> output(outputBytes);
        return Request(bus, GetParam().code, input.data(), inputBytes, output.data(), outputBytes,
                       returnedBytes);
    }
};

TEST_P(EachRequest, FailsWithAnotherInputLength) {
    const RequestRow& row = GetParam();
    const FileHandle bus = OpenBus();
    EXPECT_EQ(Send(bus, row.inputBytes + 1, row.outputBytes), ERROR_BAD_LENGTH);
    if (row.inputBytes != 0) {
        EXPECT_EQ(Send(bus, row.inputBytes - 1, row.outputBytes), ERROR_BAD_LENGTH);
        EXPECT_EQ(Send(bus, 0, row.outputBytes), ERROR_BAD_LENGTH);
    }
}

TEST_P(EachRequest, FailsWithAnotherOutputLength) {
    const RequestRow& row = GetParam();
    const FileHandle bus = OpenBus();
    EXPECT_EQ(Send(bus, row.inputBytes, row.outputBytes + 1), ERROR_BAD_LENGTH);
    if (row.outputBytes != 0) {
        EXPECT_EQ(Send(bus, row.inputBytes, row.outputBytes - 1), ERROR_INSUFFICIENT_BUFFER);
        EXPECT_EQ(Send(bus, row.inputBytes, 0), ERROR_INSUFFICIENT_BUFFER);
    }
}

TEST_P(EachRequest, NeedsAHandleWithItsAccess) {
    const RequestRow& row = GetParam();
    const FileHandle readOnly = OpenBus(GENERIC_READ);
    const FileHandle writeOnly = OpenBus(GENERIC_WRITE);
    ASSERT_TRUE(readOnly);
    ASSERT_TRUE(writeOnly);
    const DWORD withRead = Send(readOnly, row.inputBytes + 1, row.outputBytes);
    const DWORD withWrite = Send(writeOnly, row.inputBytes + 1, row.outputBytes);
    EXPECT_EQ(withRead, row.access == GENERIC_WRITE ? ERROR_ACCESS_DENIED : ERROR_BAD_LENGTH);
    EXPECT_EQ(withWrite, row.access == GENERIC_READ ? ERROR_ACCESS_DENIED : ERROR_BAD_LENGTH);
}

using RequestThatNamesADevice = EachRequest;

TEST_P(RequestThatNamesADevice, FindsTheFlowpathOfAStrangerLost) {
    const RequestRow& row = GetParam();
    EXPECT_EQ(Send(OpenBus(), row.inputBytes, row.outputBytes), row.strangerError);
}

TEST_P(EachRequest, MeetsAMissingBus) {
    const FileHandle bus = OpenBus();
    ASSERT_EQ(driver_.SetAccess({.busAbsent = 1}), ERROR_SUCCESS);
    EXPECT_EQ(Send(bus, GetParam().inputBytes, GetParam().outputBytes), ERROR_DEVICE_NOT_CONNECTED);
}

INSTANTIATE_TEST_SUITE_P(SimRequests, EachRequest, testing::ValuesIn(kRows),
                         [](const auto& instance) { return std::string(instance.param.name); });

std::vector<RequestRow> RowsThatNameADevice() {
    std::vector<RequestRow> rows(std::begin(kRows), std::end(kRows));
    std::erase_if(rows, [](const RequestRow& row) { return row.strangerError == 0; });
    return rows;
}
INSTANTIATE_TEST_SUITE_P(SimRequests, RequestThatNamesADevice, testing::ValuesIn(RowsThatNameADevice()),
                         [](const auto& instance) { return std::string(instance.param.name); });

using SimRequests = SimulatedBusTest;

TEST_F(SimRequests, UnusedFunctionNumbersAreInvalid) {
    const FileHandle bus = OpenBus();
    for (const uint32_t function : {0xC08u, 0xC09u, 0xC0Cu, 0xC1Au, 0xC1Cu, 0xC31u, 0xC33u})
        EXPECT_EQ(Request(bus, TavixControlCode(function, kTavixAnyAccess), nullptr, 0, nullptr, 0),
                  ERROR_INVALID_FUNCTION);
}

TEST_F(SimRequests, RightFunctionWithAnotherAccessFieldIsInvalid) {
    EXPECT_EQ(Request(TavixControlCode(0xC01, kTavixWriteAccess), nullptr, 0, nullptr, 0),
              ERROR_INVALID_FUNCTION);
}

struct NameRow {
    const char* name;
    const wchar_t* text;
    bool isFound;
};

void PrintTo(const NameRow& row, std::ostream* out) {
    *out << row.name;
}

class DeviceNames : public SimulatedBusTest, public testing::WithParamInterface<NameRow> {};

TEST_P(DeviceNames, AreMatched) {
    Plug();
    const DeviceName_st name = Name(GetParam().text);
    UsbdInfo_st info = {};
    EXPECT_EQ(Request(IOCTL_TAVIX_GetUsbdInfo, &name, sizeof(name), &info, sizeof(info)),
              GetParam().isFound ? ERROR_SUCCESS : ERROR_DEVICE_NOT_CONNECTED);
}

constexpr NameRow kNames[] = {
    {"UsbTail", L"VID_1234&PID_5678\\SN01", true},
    {"UsbTailInLowerCase", L"vid_1234&pid_5678\\sn01", true},
    {"VcomTail", L"Qrv_vcom\\1&2", true},
    {"VcomTailInUpperCase", L"QRV_VCOM\\1&2", true},
    {"Huid", L"1&2", true},
    {"WholeInstanceId", L"USB\\VID_1234&PID_5678\\SN01", false},
    {"Longer", L"VID_1234&PID_5678\\SN011", false},
    {"Shorter", L"VID_1234&PID_5678\\SN0", false},
    {"Empty", L"", false},
};
INSTANTIATE_TEST_SUITE_P(SimRequests, DeviceNames, testing::ValuesIn(kNames),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(SimRequests, NameThatFillsItsFieldIsMatchedWithoutTerminator) {
    UsbIdentity identity;
    identity.serial = std::wstring(kDeviceNameChars - std::wstring(L"VID_1234&PID_5678\\").size(), L'x');
    Plug(identity);
    const DeviceName_st name = Name(identity.InstanceId().substr(4));
    ASSERT_EQ(name.chars[kDeviceNameChars - 1], L'x');
    UsbdInfo_st info = {};
    EXPECT_EQ(Request(IOCTL_TAVIX_GetUsbdInfo, &name, sizeof(name), &info, sizeof(info)), ERROR_SUCCESS);
}

}  // namespace
