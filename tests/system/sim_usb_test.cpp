// Requests about one USB device, its VCOM and its Flowpath.
#include <algorithm>
#include <cstring>

#include "sim/client/refused_open.h"
#include "tests/support/wait_until.h"
#include "tests/system/sim_fixture.h"

namespace {

constexpr wchar_t kHuid[] = L"1&2";
constexpr wchar_t kUsbPath[] = L"USB\\VID_1234&PID_5678\\SN01";
constexpr wchar_t kVcomPath[] = L"QRV_VBUS\\Qrv_vcom\\1&2";

class SimUsb : public SimulatedBusTest {
  protected:
    template <typename Reply>
    static DWORD Query(uint32_t code, Reply& reply, std::wstring_view deviceName = kHuid) {
        const DeviceName_st name = Name(deviceName);
        DWORD returned = 0;
        const DWORD error = Request(code, &name, sizeof(name), &reply, sizeof(reply), &returned);
        EXPECT_EQ(returned, error == ERROR_SUCCESS ? sizeof(reply) : 0);
        return error;
    }

    static DWORD Order(uint32_t code, std::wstring_view deviceName = kHuid) {
        const DeviceName_st name = Name(deviceName);
        return Request(code, &name, sizeof(name), nullptr, 0);
    }

    static DWORD QueryPath(std::wstring_view vcomPath, std::wstring& answer, DWORD answerChars = 260) {
        const std::wstring input(vcomPath);
        answer.assign(answerChars, L'?');
        DWORD returned = 0;
        const DWORD error =
            Request(IOCTL_TAVIX_QueryUsbdDevinstPath, input.c_str(),
                    static_cast<DWORD>((input.size() + 1) * 2), answer.data(), answerChars * 2, &returned);
        answer.resize(returned / 2);
        return error;
    }

    SimDeviceState_st State() { return driver_.FindDevice(kHuid).value_or(SimDeviceState_st{}); }
};

TEST_F(SimUsb, InformationIsWhatTheDeviceTold) {
    UsbIdentity identity;
    identity.bcdDevice = 0x1234;
    identity.speed = kUsbSuperSpeed;
    Plug(identity);
    UsbdInfo_st info = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbdInfo, info), ERROR_SUCCESS);
    EXPECT_EQ(info.online, 1u);
    EXPECT_EQ(info.speed, kUsbSuperSpeed);
    EXPECT_EQ(info.idVendor, 0x1234);
    EXPECT_EQ(info.idProduct, 0x5678);
    EXPECT_EQ(info.bcdDevice, 0x1234);
    EXPECT_STREQ(info.manufacturer, L"Holmark");
    EXPECT_STREQ(info.product, L"Scanner");
    EXPECT_STREQ(info.serialNumber, L"SN01");
    EXPECT_STREQ(info.usbdInstancePath, kUsbPath);
    EXPECT_STREQ(info.vcomInstancePath, kVcomPath);
}

TEST_F(SimUsb, InformationOfADeviceWithoutVcomNamesNone) {
    Plug({}, {.withoutVcom = true});
    UsbdInfo_st info = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbdInfo, info), ERROR_SUCCESS);
    EXPECT_STREQ(info.vcomInstancePath, L"");
}

TEST_F(SimUsb, OfflineDeviceHasNoPathUnlessDeclared) {
    Plug();
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    UsbdInfo_st info = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbdInfo, info), ERROR_SUCCESS);
    EXPECT_EQ(info.online, 0u);
    EXPECT_STREQ(info.usbdInstancePath, L"");
    EXPECT_STREQ(info.vcomInstancePath, kVcomPath);
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldReportedUsbdPath, L"USB\\fake"), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldReportedVcomPath, L"QRV_VBUS\\fake"), ERROR_SUCCESS);
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbdInfo, info), ERROR_SUCCESS);
    EXPECT_STREQ(info.usbdInstancePath, L"USB\\fake");
    EXPECT_STREQ(info.vcomInstancePath, L"QRV_VBUS\\fake");
}

TEST_F(SimUsb, DeclaredIdentityReplacesThePluggedOne) {
    Plug();
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldSpeed, 9), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldVendorId, 0xABCD), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldProductId, 0xEF01), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldBcdDevice, 0x0203), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldManufacturer, L"M"), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldProduct, L"P"), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldSerialNumber, L"S"), ERROR_SUCCESS);
    UsbdInfo_st info = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbdInfo, info), ERROR_SUCCESS);
    EXPECT_EQ(info.speed, 9u);
    EXPECT_EQ(info.idVendor, 0xABCD);
    EXPECT_EQ(info.idProduct, 0xEF01);
    EXPECT_EQ(info.bcdDevice, 0x0203);
    EXPECT_STREQ(info.manufacturer, L"M");
    EXPECT_STREQ(info.product, L"P");
    EXPECT_STREQ(info.serialNumber, L"S");
}

TEST_F(SimUsb, PathOfTheUsbDeviceIsFoundByTheVcomsId) {
    Plug();
    std::wstring answer;
    ASSERT_EQ(QueryPath(L"qrv_vbus\\QRV_VCOM\\1&2", answer), ERROR_SUCCESS);
    EXPECT_EQ(answer, std::wstring(kUsbPath) + L'\0');
}

TEST_F(SimUsb, PathQueryFailsAsItsCallersExpect) {
    Plug();
    std::wstring answer;
    EXPECT_EQ(QueryPath(L"QRV_VBUS\\Qrv_vcom\\other", answer), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(QueryPath(kVcomPath, answer, static_cast<DWORD>(std::wstring(kUsbPath).size())),
              ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(QueryPath(kVcomPath, answer, static_cast<DWORD>(std::wstring(kUsbPath).size()) + 1),
              ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    EXPECT_EQ(QueryPath(kVcomPath, answer), ERROR_DEVICE_NOT_CONNECTED);
}

TEST_F(SimUsb, PathQueryNeedsATerminatedText) {
    Plug();
    wchar_t answer[100];
    const DWORD bytes = sizeof(kVcomPath);
    EXPECT_EQ(Request(IOCTL_TAVIX_QueryUsbdDevinstPath, kVcomPath, bytes - 2, answer, sizeof(answer)),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Request(IOCTL_TAVIX_QueryUsbdDevinstPath, kVcomPath, bytes - 1, answer, sizeof(answer)),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Request(IOCTL_TAVIX_QueryUsbdDevinstPath, nullptr, 0, answer, sizeof(answer)),
              ERROR_INVALID_PARAMETER);
}

TEST_F(SimUsb, DeclaredPathAnswerReplacesTheTrueOne) {
    Plug();
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldDevinstPathAnswer, L"USB\\other"), ERROR_SUCCESS);
    std::wstring answer;
    ASSERT_EQ(QueryPath(kVcomPath, answer), ERROR_SUCCESS);
    EXPECT_STREQ(answer.c_str(), L"USB\\other");
}

TEST_F(SimUsb, OpenerIsWhoHasThePortOrWhoIsDeclared) {
    const SimDeviceState_st device = Plug();
    uint32_t pid = 1;
    ASSERT_EQ(Query(IOCTL_TAVIX_GetVcomOpenerPid, pid), ERROR_SUCCESS);
    EXPECT_EQ(pid, 0u);
    const std::wstring portPath = std::wstring(L"\\\\.\\") + device.portName;
    FileHandle port(
        CreateFileW(portPath.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(port);
    ASSERT_EQ(Query(IOCTL_TAVIX_GetVcomOpenerPid, pid), ERROR_SUCCESS);
    EXPECT_EQ(pid, GetCurrentProcessId());
    const FileHandle second(
        CreateFileHearingRefusal(portPath.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(second);
    port.reset();
    ASSERT_EQ(driver_.SetOpenerPid(kHuid, 4711), ERROR_SUCCESS);
    ASSERT_EQ(Query(IOCTL_TAVIX_GetVcomOpenerPid, pid), ERROR_SUCCESS);
    EXPECT_EQ(pid, 4711u);
}

TEST_F(SimUsb, ErrorStatisticsAreTheDeclaredOnesByteForByte) {
    Plug();
    UsbErrStat_st declared = {};
    std::memset(&declared, 0x3C, sizeof(declared));
    ASSERT_EQ(driver_.SetUsbErrStat(kHuid, declared), ERROR_SUCCESS);
    UsbErrStat_st stat = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbErrStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(&stat, &declared, sizeof(stat)), 0);
}

TEST_F(SimUsb, GoingOfflineIsCounted) {
    Plug();
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetOnline(kHuid, true), ERROR_SUCCESS);
    UsbErrStat_st stat = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbErrStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(stat.headerWord, kUsbErrStatHeaderWord);
    EXPECT_EQ(stat.evaluate, 1u);
    EXPECT_EQ(stat.offlineCount, 1u);
    EXPECT_NE(stat.lastOfflineTime, 0u);
    FlowpathStat_st flowpath = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, flowpath), ERROR_SUCCESS);
    EXPECT_EQ(flowpath.histOfflines, 1u);
    EXPECT_EQ(flowpath.histOfflineIncrease, 1u);
}

TEST_F(SimUsb, KernelNameIsTheTargetOfTheDosLink) {
    const SimDeviceState_st device = Plug();
    VcomFdoPdo_st reply = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_QueryVcomFdoPdo, reply), ERROR_SUCCESS);
    wchar_t target[200] = {};
    ASSERT_NE(QueryDosDeviceW(device.portName, target, 200), 0u);
    EXPECT_STREQ(reply.kernelName, target);
    ASSERT_EQ(driver_.SetText(kHuid, kSimFieldReportedKernelName, L"\\Device\\other"), ERROR_SUCCESS);
    ASSERT_EQ(Query(IOCTL_TAVIX_QueryVcomFdoPdo, reply), ERROR_SUCCESS);
    EXPECT_STREQ(reply.kernelName, L"\\Device\\other");
}

TEST_F(SimUsb, TweaksAreRecordedEachByItself) {
    Plug();
    ASSERT_EQ(Order(IOCTL_TAVIX_UsbTweak0), ERROR_SUCCESS);
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(Order(IOCTL_TAVIX_UsbTweak1), ERROR_SUCCESS);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(Order(IOCTL_TAVIX_UsbTweak2), ERROR_SUCCESS);
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(Order(IOCTL_TAVIX_UsbTweak3), ERROR_SUCCESS);
    const SimDeviceState_st state = State();
    for (uint32_t i = 0; i < kSimTweakCount; ++i)
        EXPECT_EQ(state.tweakCounts[i], i + 1);
    UsbErrStat_st stat = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbErrStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(stat.sinceOnline.outPipeResets, 1u);
    EXPECT_EQ(stat.sinceOnline.inPipeResets, 2u);
    EXPECT_EQ(stat.totals.usbPortResets, 3u);
    EXPECT_EQ(stat.totals.usbPortCycles, 4u);
}

TEST_F(SimUsb, OfflineDeviceHasLostItsFlowpath) {
    Plug();
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    FlowpathStat_st stat = {};
    EXPECT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, stat), ERROR_DEVICE_NOT_CONNECTED);
    for (const uint32_t code : {IOCTL_TAVIX_ResetFlowpathStat, IOCTL_TAVIX_DestroyFlowpathStatHistory,
                                IOCTL_TAVIX_StartBlindRun, IOCTL_TAVIX_StopBlindRun})
        EXPECT_EQ(Order(code), ERROR_DEVICE_NOT_CONNECTED);
}

TEST_F(SimUsb, OfflineDeviceCannotBeTweaked) {
    Plug();
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    for (const uint32_t code :
         {IOCTL_TAVIX_UsbTweak0, IOCTL_TAVIX_UsbTweak1, IOCTL_TAVIX_UsbTweak2, IOCTL_TAVIX_UsbTweak3})
        EXPECT_EQ(Order(code), ERROR_FILE_NOT_FOUND);
}

TEST_F(SimUsb, FlowpathIsTheDeclaredOneByteForByte) {
    Plug();
    FlowpathStat_st declared = {};
    std::memset(&declared, 0x11, sizeof(declared));
    ASSERT_EQ(driver_.SetFlowpath(kHuid, declared), ERROR_SUCCESS);
    FlowpathStat_st stat = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(&stat, &declared, sizeof(stat)), 0);
}

TEST_F(SimUsb, CountersRunByThemselvesAndKeepTheirInvariants) {
    Plug();
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldUpstreamRate, 1000000), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldDownstreamRate, 500000), ERROR_SUCCESS);
    FlowpathStat_st stat = {};
    ASSERT_TRUE(WaitUntil("both counters to run", [&] {
        return Query(IOCTL_TAVIX_GetFlowpathStat, stat) == ERROR_SUCCESS && stat.usbReceivedBytes > 1000 &&
               stat.usbSentBytes > 500;
    }));
    EXPECT_EQ(stat.usbReceivedBytes, stat.vcomReadBytes + stat.readDiscardBytes + stat.readBufferBytes +
                                         stat.readBufferExtraBytes + stat.vcomReadPendingBytes);
    EXPECT_EQ(stat.vcomWrittenBytes, stat.usbSentBytes + stat.writeDiscardBytes + stat.writeBufferBytes);
    EXPECT_EQ(stat.histUsbReadBytes, stat.usbReceivedBytes);
    EXPECT_EQ(stat.usbInActive, 1);
    EXPECT_EQ(stat.usbOutActive, 1);
}

TEST_F(SimUsb, ASlowReceiverFillsTheBufferAndThenLosesBytes) {
    Plug();
    FlowpathStat_st declared = {};
    declared.readBufferLimitBytes = declared.writeBufferLimitBytes = 1000;
    ASSERT_EQ(driver_.SetFlowpath(kHuid, declared), ERROR_SUCCESS);
    for (const SimDeviceFieldId field : {kSimFieldReadRate, kSimFieldSendRate})
        ASSERT_EQ(driver_.SetNumber(kHuid, field, 1000), ERROR_SUCCESS);
    for (const SimDeviceFieldId field : {kSimFieldUpstreamRate, kSimFieldDownstreamRate})
        ASSERT_EQ(driver_.SetNumber(kHuid, field, 1000000), ERROR_SUCCESS);
    FlowpathStat_st stat = {};
    ASSERT_TRUE(WaitUntil("both buffers to overflow", [&] {
        return Query(IOCTL_TAVIX_GetFlowpathStat, stat) == ERROR_SUCCESS && stat.readDiscardBytes > 0 &&
               stat.writeDiscardBytes > 0;
    }));
    EXPECT_EQ(stat.readBufferBytes, 1000u);
    EXPECT_EQ(stat.readBufferPeakBytes, 1000u);
    EXPECT_EQ(stat.writeBufferBytes, 1000u);
    EXPECT_EQ(stat.writeBufferPeakBytes, 1000u);
    EXPECT_EQ(stat.usbReceivedBytes, stat.vcomReadBytes + stat.readDiscardBytes + stat.readBufferBytes);
    EXPECT_EQ(stat.vcomWrittenBytes, stat.usbSentBytes + stat.writeDiscardBytes + stat.writeBufferBytes);
    EXPECT_EQ(stat.histReadDiscardBytes, stat.readDiscardBytes);
    EXPECT_EQ(stat.histWriteDiscardBytes, stat.writeDiscardBytes);
}

TEST_F(SimUsb, AMiscountingDriverCountsTooManyInBothDirections) {
    Plug();
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldMiscount, 7), ERROR_SUCCESS);
    FlowpathStat_st stat = {};
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(stat.usbReceivedBytes, 7u);
    EXPECT_EQ(stat.vcomWrittenBytes, 7u);
}

TEST_F(SimUsb, NothingFlowsWhileTheDeviceIsOffline) {
    Plug();
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldUpstreamRate, 1'000'000'000), ERROR_SUCCESS);
    const DWORD start = GetTickCount();
    ASSERT_TRUE(WaitUntil("some time to pass", [&] { return GetTickCount() != start; }));
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldUpstreamRate, 0), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetOnline(kHuid, true), ERROR_SUCCESS);
    FlowpathStat_st stat = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(stat.usbReceivedBytes, 0u);
}

TEST_F(SimUsb, WrittenBytesAreCounted) {
    const SimDeviceState_st device = Plug();
    const std::wstring portPath = std::wstring(L"\\\\.\\") + device.portName;
    const FileHandle port(
        CreateFileW(portPath.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(port.get(), "0123456789", 10, &written, nullptr));
    EXPECT_EQ(written, 10u);
    FlowpathStat_st stat = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(stat.vcomWrittenBytes, 10u);
    EXPECT_EQ(stat.usbSentBytes, 10u);
}

TEST_F(SimUsb, ResetClearsTheSessionAndKeepsTheHistory) {
    Plug();
    FlowpathStat_st declared = {};
    std::memset(&declared, 0x11, sizeof(declared));
    ASSERT_EQ(driver_.SetFlowpath(kHuid, declared), ERROR_SUCCESS);
    ASSERT_EQ(Order(IOCTL_TAVIX_ResetFlowpathStat), ERROR_SUCCESS);
    FlowpathStat_st stat = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(stat.usbReceivedBytes, 0u);
    EXPECT_EQ(stat.vcomWrittenBytes, 0u);
    EXPECT_EQ(stat.usbOutErrors, 0u);
    EXPECT_EQ(stat.histUsbReadBytes, declared.histUsbReadBytes);
    EXPECT_EQ(stat.creationUemsec, declared.creationUemsec);
    EXPECT_EQ(State().statResets, 1u);
}

TEST_F(SimUsb, HistoryIsDestroyedAlone) {
    Plug();
    FlowpathStat_st declared = {};
    std::memset(&declared, 0x11, sizeof(declared));
    ASSERT_EQ(driver_.SetFlowpath(kHuid, declared), ERROR_SUCCESS);
    ASSERT_EQ(Order(IOCTL_TAVIX_DestroyFlowpathStatHistory), ERROR_SUCCESS);
    FlowpathStat_st stat = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(stat.histUsbReadBytes, 0u);
    EXPECT_EQ(stat.histOfflines, 0u);
    EXPECT_EQ(stat.usbReceivedBytes, declared.usbReceivedBytes);
    EXPECT_EQ(State().historyResets, 1u);
}

TEST_F(SimUsb, BlindRunStartsAndStops) {
    Plug();
    FlowpathStat_st stat = {};
    ASSERT_EQ(Order(IOCTL_TAVIX_StartBlindRun), ERROR_SUCCESS);
    ASSERT_EQ(Query(IOCTL_TAVIX_GetFlowpathStat, stat), ERROR_SUCCESS);
    EXPECT_EQ(stat.blindRun, 1);
    ASSERT_EQ(Order(IOCTL_TAVIX_StopBlindRun), ERROR_SUCCESS);
    EXPECT_EQ(State().blindRun, 0u);
}

TEST_F(SimUsb, DeviceStatesAreRecordedByIndex) {
    Plug();
    WdfDeviceStateRequest_st request = {Name(kHuid), kWdfStateMarkFail, 1};
    ASSERT_EQ(Request(IOCTL_TAVIX_SetWdfDeviceState, &request, sizeof(request), nullptr, 0), ERROR_SUCCESS);
    const SimDeviceState_st state = State();
    EXPECT_EQ(state.wdfStates[kWdfStateMarkFail], 1u);
    EXPECT_EQ(state.wdfStates[kWdfStateDisabled], 0u);
    request.stateIndex = kWdfStateRemoved + 1;
    EXPECT_EQ(Request(IOCTL_TAVIX_SetWdfDeviceState, &request, sizeof(request), nullptr, 0),
              ERROR_INVALID_PARAMETER);
}

TEST_F(SimUsb, RemoveNoticeTakesTheVcomAway) {
    const SimDeviceState_st device = Plug();
    ASSERT_EQ(Order(IOCTL_TAVIX_RemoveDevice, L"VID_1234&PID_5678\\SN01"), ERROR_SUCCESS);
    EXPECT_STREQ(State().vcomInstanceId, L"");
    wchar_t target[200];
    EXPECT_EQ(QueryDosDeviceW(device.portName, target, 200), 0u);
    SimInfo_st info = {};
    ASSERT_EQ(driver_.QueryInfo(info), ERROR_SUCCESS);
    EXPECT_EQ(info.removeRequests, 1u);
}

TEST_F(SimUsb, RemoveNoticeForTheNodeOfAnUnpluggedPortFreesItsNumber) {
    const SimDeviceState_st device = Plug();
    ASSERT_EQ(driver_.Unplug(device.instanceId), ERROR_SUCCESS);
    const std::wstring name = L"Qrv_vcom\\" + std::wstring(device.huid);
    ASSERT_EQ(Order(IOCTL_TAVIX_RemoveDevice, name.c_str()), ERROR_SUCCESS);
    EXPECT_FALSE(driver_.FindDevice(device.instanceId));
}

TEST_F(SimUsb, DangleVcomsHaveNoUsbDevice) {
    for (uint32_t index = 0; index < 2; ++index)
        ASSERT_EQ(Request(IOCTL_TAVIX_CreateDangleVcom, &index, sizeof(index), nullptr, 0), ERROR_SUCCESS);
    ASSERT_EQ(driver_.WaitForVcom(L"dangle1"), ERROR_SUCCESS);
    UsbdInfo_st info = {};
    ASSERT_EQ(Query(IOCTL_TAVIX_GetUsbdInfo, info, L"dangle1"), ERROR_SUCCESS);
    EXPECT_EQ(info.online, 0u);
    EXPECT_STREQ(info.usbdInstancePath, L"");
    EXPECT_STREQ(info.vcomInstancePath, L"QRV_VBUS\\Qrv_vcom\\dangle1");
}

TEST_F(SimUsb, DangleVcomIsMadeOnceAndOnlyWithAKnownIndex) {
    uint32_t index = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_CreateDangleVcom, &index, sizeof(index), nullptr, 0), ERROR_SUCCESS);
    EXPECT_EQ(Request(IOCTL_TAVIX_CreateDangleVcom, &index, sizeof(index), nullptr, 0), ERROR_ALREADY_EXISTS);
    index = 4;
    EXPECT_EQ(Request(IOCTL_TAVIX_CreateDangleVcom, &index, sizeof(index), nullptr, 0),
              ERROR_INVALID_PARAMETER);
}

TEST_F(SimUsb, SystemCrashIsRefusedAndRecorded) {
    EXPECT_EQ(Request(IOCTL_TAVIX_BSOD, kBsodInput, sizeof(kBsodInput), nullptr, 0), ERROR_NOT_SUPPORTED);
    EXPECT_EQ(Request(IOCTL_TAVIX_BSOD, "bsod", 4, nullptr, 0), ERROR_INVALID_PARAMETER);
    SimInfo_st info = {};
    ASSERT_EQ(driver_.QueryInfo(info), ERROR_SUCCESS);
    EXPECT_EQ(info.bsodRequests, 2u);
}

TEST_F(SimUsb, IrpTextTellsOfTheModelOrIsTheDeclaredOne) {
    Plug();
    wchar_t text[4000] = {};
    DWORD returned = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_GetIrpStateText, nullptr, 0, text, sizeof(text), &returned), ERROR_SUCCESS);
    EXPECT_EQ(returned, (wcslen(text) + 1) * 2);
    EXPECT_NE(wcsstr(text, kUsbPath), nullptr);
    ASSERT_EQ(driver_.SetIrpText(L"IRP 1"), ERROR_SUCCESS);
    ASSERT_EQ(Request(IOCTL_TAVIX_GetIrpStateText, nullptr, 0, text, sizeof(text)), ERROR_SUCCESS);
    EXPECT_STREQ(text, L"IRP 1");
}

TEST_F(SimUsb, IrpTextIsCutToTheCallersRoom) {
    ASSERT_EQ(driver_.SetIrpText(L"0123456789"), ERROR_SUCCESS);
    wchar_t text[6] = L"?????";
    DWORD returned = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_GetIrpStateText, nullptr, 0, text, 5 * 2, &returned), ERROR_SUCCESS);
    EXPECT_EQ(returned, 10u);
    EXPECT_STREQ(text, L"0123");
    EXPECT_EQ(Request(IOCTL_TAVIX_GetIrpStateText, nullptr, 0, text, 1), ERROR_INSUFFICIENT_BUFFER);
}

TEST_F(SimUsb, LongestIrpTextFitsItsLimit) {
    ASSERT_EQ(driver_.SetIrpText(std::wstring(kSimIrpTextChars, L'x')), ERROR_SUCCESS);
    wchar_t text[kSimIrpTextChars] = {};
    DWORD returned = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_GetIrpStateText, nullptr, 0, text, sizeof(text), &returned), ERROR_SUCCESS);
    EXPECT_EQ(returned, kIrpStateTextBytes);
    EXPECT_EQ(wcsnlen(text, kSimIrpTextChars), kSimIrpTextChars - 1);
    EXPECT_EQ(driver_.SetIrpText(std::wstring(kSimIrpTextChars + 1, L'x')), ERROR_INVALID_PARAMETER);
}

}  // namespace
