// The request wrappers against the driver: what reaches it, what each failure looks like, and a bus that goes
// away.
#include <cstring>
#include <string>

#include "driver/vbus.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/access_fixture.h"

namespace {

class AccessRequests : public DriverAccessTest {
  protected:
    DWORD Send(uint32_t code, void* output = nullptr, DWORD outputBytes = 0, DWORD* bytesReturned = nullptr) {
        return DoDeviceIoctl(vcom_.set(), vcom_.device(), code, output, outputBytes, bytesReturned);
    }
};

TEST_F(AccessRequests, WithoutInputCarryNothing) {
    GlobalCfg_st global = {};
    DWORD bytesReturned = 0;
    EXPECT_EQ(
        cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, &global, sizeof(global), &bytesReturned),
        0u);
    EXPECT_EQ(bytesReturned, 444u);
    ExpectRequests({{IOCTL_TAVIX_GetGlobalCfg, {}, 444}});
}

TEST_F(AccessRequests, CarryTheirInputByteForByte) {
    const uint32_t dangleIndex = 1;
    EXPECT_EQ(cu_VbusDoSimpleIoctl(IOCTL_TAVIX_BSOD, kBsodInput, sizeof(kBsodInput), nullptr, 0),
              DWORD{ERROR_NOT_SUPPORTED})
        << "the simulation does not crash the system";
    EXPECT_EQ(
        cu_VbusDoSimpleIoctl(IOCTL_TAVIX_CreateDangleVcom, &dangleIndex, sizeof(dangleIndex), nullptr, 0),
        0u);
    ExpectRequests(
        {{IOCTL_TAVIX_BSOD, {'B', 'S', 'O', 'D'}, 0}, {IOCTL_TAVIX_CreateDangleVcom, {1, 0, 0, 0}, 0}});
}

TEST_F(AccessRequests, OfADeviceCarryItsName) {
    for (const uint32_t code : {IOCTL_TAVIX_ResetFlowpathStat, IOCTL_TAVIX_DestroyFlowpathStatHistory,
                                IOCTL_TAVIX_StartBlindRun, IOCTL_TAVIX_StopBlindRun, IOCTL_TAVIX_UsbTweak0,
                                IOCTL_TAVIX_UsbTweak1, IOCTL_TAVIX_UsbTweak2, IOCTL_TAVIX_UsbTweak3}) {
        EXPECT_EQ(Send(code), 0u) << std::hex << code;
        ExpectRequests({{code, NameBytes(kVcomTail), 0}});
    }
}

TEST_F(AccessRequests, OfADeviceFillARecord) {
    FlowpathStat_st stat = {.usbReceivedBytes = 11, .vcomReadBytes = 22, .usbOutErrors = 33, .blindRun = 1};
    ASSERT_EQ(driver_.SetFlowpath(kHuid, stat), ERROR_SUCCESS);
    FlowpathStat_st read = {};
    DWORD bytesReturned = 0;
    EXPECT_EQ(Send(IOCTL_TAVIX_GetFlowpathStat, &read, sizeof(read), &bytesReturned), 0u);
    EXPECT_EQ(bytesReturned, 224u);
    EXPECT_EQ(read.usbReceivedBytes, 11u);
    EXPECT_EQ(read.usbOutErrors, 33u);
    VcomFdoPdo_st names = {};
    EXPECT_EQ(Send(IOCTL_TAVIX_QueryVcomFdoPdo, &names, sizeof(names), &bytesReturned), 0u);
    EXPECT_EQ(bytesReturned, 272u);
    EXPECT_EQ(std::wstring(names.kernelName), driver_.FindDevice(kHuid)->kernelName);
    ExpectRequests({{IOCTL_TAVIX_GetFlowpathStat, NameBytes(kVcomTail), 224},
                    {IOCTL_TAVIX_QueryVcomFdoPdo, NameBytes(kVcomTail), 272}});
}

TEST_F(AccessRequests, PutTheNameInFrontOfALargerRecord) {
    WdfDeviceStateRequest_st request = {.stateIndex = kWdfStateCannotDisable, .value = 1};
    EXPECT_EQ(DoDeviceIoctlEx(vcom_.set(), vcom_.device(), IOCTL_TAVIX_SetWdfDeviceState, &request,
                              sizeof(request), nullptr, 0),
              0u);
    const WdfDeviceStateRequest_st expected = {Name(kVcomTail), kWdfStateCannotDisable, 1};
    ExpectRequests({{IOCTL_TAVIX_SetWdfDeviceState, BytesOfRecord(expected), 0}});
    EXPECT_EQ(driver_.FindDevice(kHuid)->wdfStates[kWdfStateCannotDisable], 1u);
}

TEST_F(AccessRequests, CutANameToItsField) {
    for (const size_t chars : {126, 127, 128, 150}) {
        const std::wstring tail = L"VID_1234&PID_5678\\" + std::wstring(chars - 18, L'X');
        ScratchNode scratch(L"USB\\" + tail);
        DeviceNode node(L"USB\\" + tail);
        ASSERT_TRUE(node.exists()) << chars;
        uint32_t pid = 0;
        EXPECT_EQ(DoDeviceIoctl(node.set(), node.device(), IOCTL_TAVIX_GetVcomOpenerPid, &pid, sizeof(pid)),
                  DWORD{ERROR_DEVICE_NOT_CONNECTED});
        ExpectRequests({{IOCTL_TAVIX_GetVcomOpenerPid, NameBytes(tail.substr(0, 127)), 4}});
    }
}

TEST_F(AccessRequests, WithoutABackslashInTheInstanceIdNothingIsOpened) {
    REPLACE_CALL(instanceId, SetupDiGetDeviceInstanceIdW,
                 [](HDEVINFO, SP_DEVINFO_DATA*, wchar_t* buffer, DWORD, DWORD*) {
                     wcscpy(buffer, L"HTREE");
                     return TRUE;
                 });
    REPLACE_CALL(open, CreateFileW, [](auto...) { return INVALID_HANDLE_VALUE; });
    EXPECT_EQ(Send(IOCTL_TAVIX_UsbTweak0), DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(open.calls(), 0);
    ExpectNoRequests();
}

struct StatusRow {
    int32_t status;
    DWORD error;
};

TEST_F(AccessRequests, ReturnTheErrorOfTheDriver) {
    for (const StatusRow row : {StatusRow{kStatusAccessDenied, ERROR_ACCESS_DENIED},
                                {kStatusNotConnected, ERROR_DEVICE_NOT_CONNECTED},
                                {kStatusInvalidRequest, ERROR_INVALID_FUNCTION},
                                {kStatusUnsuccessful, ERROR_GEN_FAILURE},
                                {kStatusBufferTooSmall, ERROR_INSUFFICIENT_BUFFER}}) {
        FailNext(IOCTL_TAVIX_UsbTweak0, row.status);
        EXPECT_EQ(Send(IOCTL_TAVIX_UsbTweak0), row.error);
    }
}

TEST_F(AccessRequests, FillNoMoreThanTheBuffer) {
    const std::wstring longText(5000, L'i');
    ASSERT_EQ(driver_.SetIrpText(longText.substr(0, 3000)), ERROR_SUCCESS);
    for (const DWORD bytes : {2u, 10u, 8000u}) {
        GuardedBuffer<BYTE> buffer(bytes);
        DWORD bytesReturned = 0;
        EXPECT_EQ(cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetIrpStateText, nullptr, 0, buffer.data(), bytes,
                                       &bytesReturned),
                  0u);
        EXPECT_LE(bytesReturned, bytes);
    }
}

TEST_F(AccessRequests, AreNotConnectedWithoutTheBus) {
    RemoveBus();
    DWORD status = 0;
    EXPECT_FALSE(OpenVbus(&status));
    EXPECT_EQ(status, DWORD{ERROR_NOT_READY});
    EXPECT_FALSE(OpenVbusForDiagnosis());
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_READY});
    EXPECT_EQ(Send(IOCTL_TAVIX_UsbTweak0), DWORD{ERROR_DEVICE_NOT_CONNECTED});
    EXPECT_EQ(cu_VbusDoSimpleIoctl(IOCTL_TAVIX_BSOD, nullptr, 0, nullptr, 0),
              DWORD{ERROR_DEVICE_NOT_CONNECTED});
    ExpectNoRequests();
}

TEST_F(AccessRequests, AreNotConnectedWhenTheBusGoesAwayAfterTheOpening) {
    REPLACE_CALL(ioctl, DeviceIoControl, [this](auto... arguments) {
        RemoveBus();
        return DeviceIoControl(arguments...);
    });
    EXPECT_EQ(Send(IOCTL_TAVIX_UsbTweak0), DWORD{ERROR_DEVICE_NOT_CONNECTED});
}

TEST_F(AccessRequests, LookTheBusUpOnceAndCloseWhatTheyOpened) {
    REPLACE_CALL(classDevs, SetupDiGetClassDevsW,
                 [](auto... arguments) { return SetupDiGetClassDevsW(arguments...); });
    REPLACE_CALL(destroy, SetupDiDestroyDeviceInfoList,
                 [](auto... arguments) { return SetupDiDestroyDeviceInfoList(arguments...); });
    REPLACE_CALL(open, CreateFileW, [](auto... arguments) { return CreateFileW(arguments...); });
    REPLACE_CALL(close, CloseHandle, [](auto... arguments) { return CloseHandle(arguments...); });
    EXPECT_EQ(Send(IOCTL_TAVIX_UsbTweak0), 0u);
    EXPECT_EQ(classDevs.calls(), 1);
    EXPECT_EQ(destroy.calls(), 1);
    EXPECT_EQ(open.calls(), 1);
    EXPECT_EQ(close.calls(), 1);
}

TEST_F(AccessRequests, ShowTheirFailureWhenTheyReport) {
    const auto report = [this] {
        return DoDeviceIoctlReport(vcom_.set(), vcom_.device(), IOCTL_TAVIX_StopBlindRun, nullptr, 0, nullptr,
                                   nullptr, L"%s execution error.", L"IOCTL_TAVIX_StopBlindRun");
    };
    EXPECT_EQ(report(), 0u);
    FailNext(IOCTL_TAVIX_StopBlindRun, kStatusAccessDenied);
    ModalDriver boxes;
    boxes.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_EQ(report(), DWORD{ERROR_ACCESS_DENIED});
    RemoveBus();
    boxes.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_EQ(report(), DWORD{ERROR_DEVICE_NOT_CONNECTED});
    ASSERT_EQ(boxes.boxes().size(), 2u);
    EXPECT_EQ(boxes.boxes()[0].text,
              L"IOCTL_TAVIX_StopBlindRun execution error.\n\nWinErr=5(ERROR_ACCESS_DENIED)");
    EXPECT_EQ(boxes.boxes()[1].text, L"IOCTL_TAVIX_StopBlindRun execution error.\n\nFlowpath is lost.");
    EXPECT_EQ(boxes.boxes()[1].icon, UINT{MB_ICONERROR});
}

}  // namespace
