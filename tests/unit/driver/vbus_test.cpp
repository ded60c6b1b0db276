#include "driver/vbus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "tests/support/guarded_buffer.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

std::vector<DWORD> AccessesOf(const FakeVbus& fake) {
    std::vector<DWORD> accesses;
    for (const FakeVbus::Opening& opening : fake.openings)
        accesses.push_back(opening.access);
    return accesses;
}

std::vector<BYTE> NameBytes(std::wstring_view text) {
    return BytesOfRecord(DeviceNameFromText(text));
}

TEST(DeviceName, IsZeroFilledBehindTheText) {
    const DeviceName_st name = DeviceNameFromText(L"1&2");
    EXPECT_STREQ(name.chars, L"1&2");
    EXPECT_TRUE(std::all_of(name.chars + 3, name.chars + kDeviceNameChars, [](wchar_t c) { return c == 0; }));
}

TEST(DeviceName, IsCutToTheFieldWithItsTerminator) {
    for (const size_t chars : {size_t{0}, size_t{126}, size_t{127}, size_t{128}, size_t{1000}}) {
        const DeviceName_st name = DeviceNameFromText(std::wstring(chars, L'x'));
        EXPECT_EQ(std::wstring(name.chars), std::wstring(std::min<size_t>(chars, 127), L'x'));
    }
}

struct NameRow {
    const char* name;
    std::wstring instanceId;
    std::wstring expected;
};

void PrintTo(const NameRow& row, std::ostream* out) {
    *out << row.name;
}

class DeviceNameOfInstance : public testing::TestWithParam<NameRow> {};

TEST_P(DeviceNameOfInstance, IsWhatStandsBehindTheFirstBackslash) {
    FakeVbus fake;
    fake.instanceId = GetParam().instanceId;
    DeviceName_st name;
    ASSERT_TRUE(GetDeviceName(fake.deviceSet(), fake.device(), name));
    EXPECT_EQ(BytesOfRecord(name), NameBytes(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DeviceNameOfInstance,
    testing::Values(NameRow{"Usbd", L"USB\\VID_1234&PID_5678\\SN01", L"VID_1234&PID_5678\\SN01"},
                    NameRow{"Vcom", L"QRV_VBUS\\Qrv_vcom\\1&2", L"Qrv_vcom\\1&2"},
                    NameRow{"NothingBehind", L"USB\\", L""}, NameRow{"NothingBefore", L"\\a\\b", L"a\\b"},
                    NameRow{"Fits", L"USB\\" + std::wstring(127, L'x'), std::wstring(127, L'x')},
                    NameRow{"OneTooMany", L"USB\\" + std::wstring(128, L'x'), std::wstring(127, L'x')},
                    NameRow{"LongestReadable", L"USB\\" + std::wstring(995, L'x'), std::wstring(127, L'x')}),
    [](const auto& row) { return row.param.name; });

TEST(DeviceNameOfInstance, IsRefusedWithoutABackslashOrAnInstanceId) {
    FakeVbus fake;
    DeviceName_st name = DeviceNameFromText(L"kept");
    fake.instanceId = L"HTREE";
    EXPECT_FALSE(GetDeviceName(fake.deviceSet(), fake.device(), name));
    fake.instanceId = L"";
    EXPECT_FALSE(GetDeviceName(fake.deviceSet(), fake.device(), name));
    fake.instanceIdError = ERROR_INVALID_HANDLE;
    EXPECT_FALSE(GetDeviceName(fake.deviceSet(), fake.device(), name));
    EXPECT_STREQ(name.chars, L"kept");
}

TEST(OpenVbus, OpensTheFirstInterfaceForReadingAndWriting) {
    FakeVbus fake;
    DWORD status = 0xCC;
    EXPECT_TRUE(OpenVbus(&status));
    EXPECT_EQ(status, 0u);
    EXPECT_EQ(fake.enumerations, 1);
    EXPECT_THAT(fake.detailCapacities, ElementsAre(1000));
    ASSERT_EQ(fake.openings.size(), 1u);
    EXPECT_EQ(fake.openings[0].path, fake.path);
    EXPECT_EQ(fake.openings[0].access, kReadWrite);
    EXPECT_FALSE(IsVbusReadOnly());
}

TEST(OpenVbus, IsNotReadyWithoutAnInterface) {
    FakeVbus fake;
    fake.hasInterface = false;
    DWORD status = 0xCC;
    EXPECT_FALSE(OpenVbus(&status));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
    EXPECT_EQ(status, DWORD{ERROR_NOT_READY});
    EXPECT_THAT(fake.openings, IsEmpty());
}

TEST(OpenVbus, TellsTheErrorOfTheStepThatFailed) {
    FakeVbus fake;
    DWORD status = 0xCC;
    fake.classDevsError = ERROR_INVALID_PARAMETER;
    EXPECT_FALSE(OpenVbus(&status));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(status, DWORD{ERROR_INVALID_PARAMETER});
    fake.classDevsError = ERROR_SUCCESS;
    fake.detailError = ERROR_INVALID_USER_BUFFER;
    EXPECT_FALSE(OpenVbus(&status));
    EXPECT_EQ(status, DWORD{ERROR_INVALID_USER_BUFFER});
    fake.detailError = ERROR_SUCCESS;
    fake.openErrors = {ERROR_FILE_NOT_FOUND};
    EXPECT_FALSE(OpenVbus(&status));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(status, DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(fake.openings.size(), 1u) << "only a denied access is tried again";
}

TEST(OpenVbus, CutsAPathOfMoreThan259Characters) {
    FakeVbus fake;
    fake.path = std::wstring(300, L'p');
    EXPECT_TRUE(OpenVbus());
    EXPECT_EQ(fake.openings.at(0).path, std::wstring(259, L'p'));
}

TEST(OpenVbus, RefusesAPathThatDoesNotFitTheDetailBuffer) {
    FakeVbus fake;
    DWORD status = 0;
    fake.path = std::wstring(498, L'p');
    EXPECT_FALSE(OpenVbus(&status));
    EXPECT_EQ(status, DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST(OpenVbus, FallsBackToReadingOnceWritingIsDenied) {
    FakeVbus fake;
    fake.openErrors = {ERROR_ACCESS_DENIED};
    DWORD status = 0xCC;
    EXPECT_TRUE(OpenVbus(&status));
    EXPECT_EQ(status, 0u);
    EXPECT_TRUE(IsVbusReadOnly());
    EXPECT_TRUE(OpenVbus());
    EXPECT_TRUE(OpenVbus());
    EXPECT_THAT(AccessesOf(fake), ElementsAre(kReadWrite, GENERIC_READ, GENERIC_READ, GENERIC_READ));
    EXPECT_EQ(fake.enumerations, 3) << "the interface is looked up once per opening";
}

TEST(OpenVbus, RemembersNothingWhenReadingIsDeniedToo) {
    FakeVbus fake;
    fake.openErrors = {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION};
    DWORD status = 0;
    EXPECT_FALSE(OpenVbus(&status));
    EXPECT_EQ(status, DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_FALSE(IsVbusReadOnly());
    EXPECT_TRUE(OpenVbus());
    EXPECT_THAT(AccessesOf(fake), ElementsAre(kReadWrite, GENERIC_READ, kReadWrite));
}

TEST(OpenVbus, AReadOnlyProcessDoesNotTryTwice) {
    FakeVbus fake;
    SetVbusReadOnly(true);
    fake.openErrors = {ERROR_ACCESS_DENIED};
    EXPECT_FALSE(OpenVbus());
    EXPECT_THAT(AccessesOf(fake), ElementsAre(GENERIC_READ));
}

TEST(OpenVbusForDiagnosis, AsksForExactlyTheGivenAccess) {
    FakeVbus fake;
    EXPECT_TRUE(OpenVbusForDiagnosis());
    EXPECT_TRUE(OpenVbusForDiagnosis(true));
    EXPECT_THAT(AccessesOf(fake), ElementsAre(GENERIC_READ, kReadWrite));
    EXPECT_THAT(fake.detailCapacities, ElementsAre(260, 260));
}

TEST(OpenVbusForDiagnosis, KnowsNoFallback) {
    FakeVbus fake;
    fake.openErrors = {ERROR_ACCESS_DENIED};
    EXPECT_FALSE(OpenVbusForDiagnosis(true));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(fake.openings.size(), 1u);
    EXPECT_FALSE(IsVbusReadOnly());
    SetVbusReadOnly(true);
    EXPECT_TRUE(OpenVbusForDiagnosis(true));
    EXPECT_EQ(fake.openings.back().access, kReadWrite);
}

TEST(OpenVbusForDiagnosis, IsNotReadyWithoutAnInterface) {
    FakeVbus fake;
    fake.hasInterface = false;
    EXPECT_FALSE(OpenVbusForDiagnosis());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
}

TEST(OpenVbusForDiagnosis, RefusesAPathThatDoesNotFitItsSmallDetailBuffer) {
    FakeVbus fake;
    fake.path = std::wstring(127, L'p');
    EXPECT_TRUE(OpenVbusForDiagnosis());
    fake.path += L'p';
    EXPECT_FALSE(OpenVbusForDiagnosis());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
}

TEST(SimpleIoctl, SendsTheInputAndReturnsTheReply) {
    FakeVbus fake;
    fake.replies[IOCTL_TAVIX_GetIrpStateText] = {ERROR_SUCCESS, {'a', 0, 'b', 0}, std::nullopt};
    GuardedBuffer<BYTE> output(6);
    DWORD bytesReturned = 0xCC;
    EXPECT_EQ(cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetIrpStateText, "in", 2, output.data(), 6, &bytesReturned),
              0u);
    EXPECT_EQ(bytesReturned, 4u);
    EXPECT_EQ(output.WrittenExtent(), 4u);
    ASSERT_EQ(fake.requests.size(), 1u);
    EXPECT_THAT(fake.requests[0].input, ElementsAre('i', 'n'));
    EXPECT_EQ(fake.requests[0].outputBytes, 6u);
    EXPECT_EQ(fake.enumerations, 1);
    EXPECT_EQ(fake.openings.size(), 1u);
}

TEST(SimpleIoctl, ReturnsTheErrorOfTheRequest) {
    FakeVbus fake;
    fake.replies[IOCTL_TAVIX_BSOD] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    EXPECT_EQ(cu_VbusDoSimpleIoctl(IOCTL_TAVIX_BSOD, kBsodInput, sizeof(kBsodInput), nullptr, 0),
              DWORD{ERROR_ACCESS_DENIED});
}

TEST(SimpleIoctl, AFailureWithoutAReasonIsStillAFailure) {
    FakeVbus fake;
    REPLACE_CALL(ioctl, DeviceIoControl, [](auto...) {
        SetLastError(ERROR_SUCCESS);
        return FALSE;
    });
    EXPECT_NE(cu_VbusDoSimpleIoctl(IOCTL_TAVIX_BSOD, nullptr, 0, nullptr, 0), DWORD{ERROR_SUCCESS});
}

TEST(SimpleIoctl, AVbusThatCannotBeOpenedIsNotConnectedWhateverTheReason) {
    FakeVbus fake;
    DWORD bytesReturned = 0xCC;
    fake.openErrors = {ERROR_FILE_NOT_FOUND};
    EXPECT_EQ(cu_VbusDoSimpleIoctl(IOCTL_TAVIX_BSOD, nullptr, 0, nullptr, 0, &bytesReturned),
              DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(bytesReturned, 0u);
    fake.hasInterface = false;
    EXPECT_EQ(cu_VbusDoSimpleIoctl(IOCTL_TAVIX_BSOD, nullptr, 0, nullptr, 0),
              DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_THAT(fake.requests, IsEmpty());
}

TEST(DeviceIoctl, SendsTheDeviceNameAsTheWholeInput) {
    FakeVbus fake;
    fake.replies[IOCTL_TAVIX_GetVcomOpenerPid] = FakeReply::Of(uint32_t{7});
    uint32_t pid = 0;
    DWORD bytesReturned = 0;
    EXPECT_EQ(DoDeviceIoctl(fake.deviceSet(), fake.device(), IOCTL_TAVIX_GetVcomOpenerPid, &pid, sizeof(pid),
                            &bytesReturned),
              0u);
    EXPECT_EQ(pid, 7u);
    EXPECT_EQ(bytesReturned, 4u);
    EXPECT_EQ(fake.requests.at(0).input, NameBytes(L"Qrv_vcom\\1&2"));
}

TEST(DeviceIoctl, WithoutAUsableInstanceIdNothingIsOpened) {
    FakeVbus fake;
    DWORD bytesReturned = 0xCC;
    fake.instanceId = L"HTREE";
    EXPECT_EQ(
        DoDeviceIoctl(fake.deviceSet(), fake.device(), IOCTL_TAVIX_UsbTweak0, nullptr, 0, &bytesReturned),
        DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(bytesReturned, 0u);
    fake.instanceIdError = ERROR_INVALID_HANDLE;
    EXPECT_EQ(DoDeviceIoctl(fake.deviceSet(), fake.device(), IOCTL_TAVIX_UsbTweak0, nullptr, 0),
              DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(fake.enumerations, 0);
    EXPECT_THAT(fake.openings, IsEmpty());
}

TEST(DeviceIoctlEx, PutsTheDeviceNameInFrontOfALargerRecord) {
    FakeVbus fake;
    fake.replies[IOCTL_TAVIX_SetWdfDeviceState] = {};
    WdfDeviceStateRequest_st request = {.stateIndex = kWdfStateMarkFail, .value = 1};
    EXPECT_EQ(DoDeviceIoctlEx(fake.deviceSet(), fake.device(), IOCTL_TAVIX_SetWdfDeviceState, &request,
                              sizeof(request), nullptr, 0),
              0u);
    const WdfDeviceStateRequest_st expected = {DeviceNameFromText(L"Qrv_vcom\\1&2"), kWdfStateMarkFail, 1};
    EXPECT_EQ(fake.requests.at(0).input, BytesOfRecord(expected));
}

TEST(DeviceIoctlEx, RefusesARecordWithoutRoomForTheName) {
    FakeVbus fake;
    GuardedBuffer<BYTE> record(255);
    EXPECT_EQ(DoDeviceIoctlEx(fake.deviceSet(), fake.device(), IOCTL_TAVIX_UsbTweak0, record.data(), 255,
                              nullptr, 0),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(DoDeviceIoctlEx(fake.deviceSet(), fake.device(), IOCTL_TAVIX_UsbTweak0, nullptr, 0, nullptr, 0),
              DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(record.WrittenExtent(), 0u);
    EXPECT_THAT(fake.openings, IsEmpty());
}

// Fills a record with bytes that no reply leaves by chance.
template <typename Record>
Record FullRecord() {
    Record record;
    std::memset(&record, 0x5A, sizeof(record));
    return record;
}

TEST(DeviceQuery, SendsTheDevicesNameAndTakesTheRecord) {
    FakeVbus fake;
    fake.replies[IOCTL_TAVIX_GetFlowpathStat] = FakeReply::Of(FullRecord<FlowpathStat_st>());
    FlowpathStat_st stat = {};
    EXPECT_EQ(DeviceQuery(fake.deviceSet(), fake.device(), IOCTL_TAVIX_GetFlowpathStat, stat),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(BytesOfRecord(stat), BytesOfRecord(FullRecord<FlowpathStat_st>()));
    ASSERT_EQ(fake.requests.size(), 1u);
    EXPECT_EQ(fake.requests[0].input, NameBytes(L"Qrv_vcom\\1&2"));
    EXPECT_EQ(fake.requests[0].outputBytes, 224u);
    EXPECT_EQ(fake.openings.size(), 1u);
}

TEST(DeviceQuery, TakesANameInPlaceOfTheDevice) {
    FakeVbus fake;
    fake.instanceIdError = ERROR_INVALID_HANDLE;  // the device list is gone
    fake.replies[IOCTL_TAVIX_GetVcomOpenerPid] = FakeReply::Of(uint32_t{7});
    uint32_t pid = 0;
    EXPECT_EQ(DeviceQuery(DeviceNameFromText(L"earlier"), IOCTL_TAVIX_GetVcomOpenerPid, pid),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(pid, 7u);
    EXPECT_EQ(fake.requests.at(0).input, NameBytes(L"earlier"));
}

TEST(DeviceQuery, WithoutANameNothingIsOpened) {
    FakeVbus fake;
    uint32_t pid = 99;
    EXPECT_EQ(DeviceQuery(DeviceName_st{}, IOCTL_TAVIX_GetVcomOpenerPid, pid),
              DWORD{ERROR_DEVICE_NOT_CONNECTED});
    fake.instanceId = L"HTREE";
    EXPECT_EQ(DeviceQuery(fake.deviceSet(), fake.device(), IOCTL_TAVIX_GetVcomOpenerPid, pid),
              DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(pid, 99u);
    EXPECT_EQ(fake.enumerations, 0);
}

TEST(DeviceQuery, AFailureLeavesTheRecordAlone) {
    FakeVbus fake;
    FlowpathStat_st stat = FullRecord<FlowpathStat_st>();
    fake.replies[IOCTL_TAVIX_GetFlowpathStat] = FakeReply::Failure(ERROR_INVALID_FUNCTION);
    EXPECT_EQ(DeviceQuery(fake.deviceSet(), fake.device(), IOCTL_TAVIX_GetFlowpathStat, stat),
              DWORD{ERROR_INVALID_FUNCTION});
    fake.hasInterface = false;
    EXPECT_EQ(DeviceQuery(fake.deviceSet(), fake.device(), IOCTL_TAVIX_GetFlowpathStat, stat),
              DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(BytesOfRecord(stat), BytesOfRecord(FullRecord<FlowpathStat_st>()));
}

// What a reply of that many bytes makes of a record that held other bytes before.
template <typename Record>
DWORD QueryShort(DWORD bytes, Record& record) {
    FakeVbus fake;
    FakeReply reply = FakeReply::Of(FullRecord<Record>());
    reply.bytes.resize(std::min<size_t>(bytes, sizeof(Record)));
    reply.claimedBytes = bytes;
    fake.replies[IOCTL_TAVIX_GetVcomCfg] = reply;
    std::memset(&record, 0xEE, sizeof(record));
    return DeviceQuery(DeviceNameFromText(L"1&2"), IOCTL_TAVIX_GetVcomCfg, record);
}

template <typename Record>
void ExpectTakenAsFarAsItCame() {
    for (const DWORD bytes : {DWORD{0}, DWORD{3}, DWORD{sizeof(Record) - 1}, DWORD{sizeof(Record)}}) {
        Record record;
        ASSERT_EQ(QueryShort(bytes, record), DWORD{ERROR_SUCCESS}) << bytes;
        Record expected = {};
        std::memset(static_cast<void*>(&expected), 0x5A, bytes);
        EXPECT_EQ(BytesOfRecord(record), BytesOfRecord(expected)) << bytes;
    }
}

TEST(ShortReplies, CountAsFarAsTheyCameAndTheRestIsZero) {
    ExpectTakenAsFarAsItCame<DriverVersion_st>();
    ExpectTakenAsFarAsItCame<VcomCfgReply_st>();
    ExpectTakenAsFarAsItCame<FlowpathStat_st>();
    ExpectTakenAsFarAsItCame<VcomFdoPdo_st>();
    ExpectTakenAsFarAsItCame<uint32_t>();
}

template <typename Record>
void ExpectTakenWholeOnly() {
    for (const DWORD bytes : {DWORD{0}, DWORD{sizeof(Record) - 1}, DWORD{sizeof(Record) + 1}, 0xFFFFFFFFul}) {
        Record record;
        EXPECT_EQ(QueryShort(bytes, record), kWrongReplyLength) << bytes;
        EXPECT_EQ(BytesOfRecord(record), std::vector<BYTE>(sizeof(record), 0xEE)) << bytes;
    }
    Record record;
    EXPECT_EQ(QueryShort(sizeof(Record), record), DWORD{ERROR_SUCCESS});
}

TEST(ShortReplies, DoNotCountForTheUsbInformationAndForSettings) {
    ExpectTakenWholeOnly<UsbdInfo_st>();
    ExpectTakenWholeOnly<GlobalCfg_st>();
    ExpectTakenWholeOnly<LogCfg_st>();
}

}  // namespace
