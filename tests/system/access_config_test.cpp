// VCOM configurations, read and written through the driver.
#include <cstring>
#include <random>

#include "driver/vcom_config.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/system/access_fixture.h"

namespace {

constexpr VcomCfg kWanted = {L"COM33", kLifemodePersistent, kBindByUsbPort, true};

class AccessConfig : public DriverAccessTest {
  protected:
    UfAppErr Get(DeviceNode& node) { return tavo_GetVcomCfg(node.set(), node.device(), reply_, global_); }
    UfAppErr Set() { return tavo_SetVcomCfg(vcom_.set(), vcom_.device(), kWanted); }
    static ExpectedRequest ReadRequest(std::wstring_view name) {
        return {IOCTL_TAVIX_GetVcomCfg, NameBytes(name), 552};
    }
    static ExpectedRequest GlobalReadRequest() { return {IOCTL_TAVIX_GetGlobalCfg, {}, 444}; }
    static ExpectedRequest WriteRequest() {
        const VcomCfgRequest_st request = {Name(kVcomTail), kLifemodePersistent, L"COM33"};
        return {IOCTL_TAVIX_SetVcomCfg, BytesOfRecord(request), 4};
    }
    static ExpectedRequest GlobalWriteRequest(GlobalCfg_st global) {
        global.bindMode = kBindByUsbPort;
        global.serialNumberOnNames = 1;
        return {IOCTL_TAVIX_SetGlobalCfg, BytesOfRecord(global), 4};
    }
    GlobalCfg_st GlobalOfDriver() {
        GlobalCfg_st global = {};
        EXPECT_EQ(driver_.QueryGlobalCfg(global), ERROR_SUCCESS);
        return global;
    }

    VcomCfgReply_st reply_ = {.result = 99};
    GlobalCfg_st global_ = {};
};

TEST_F(AccessConfig, IsReadOfAVcom) {
    EXPECT_EQ(Get(vcom_), UfAppErr_Success);
    const SimDeviceState_st state = *driver_.FindDevice(kHuid);
    EXPECT_STREQ(reply_.portName, state.portName);
    EXPECT_EQ(reply_.lifemode, state.lifemode);
    EXPECT_EQ(BytesOfRecord(global_), BytesOfRecord(GlobalOfDriver()));
    ExpectRequests({ReadRequest(kVcomTail), GlobalReadRequest()});
}

TEST_F(AccessConfig, IsReadOfAUsbDevice) {
    EXPECT_EQ(Get(usbd_), UfAppErr_Success);
    EXPECT_STREQ(reply_.portName, driver_.FindDevice(kHuid)->portName);
    ExpectRequests({ReadRequest(kUsbdTail), GlobalReadRequest()});
}

TEST_F(AccessConfig, HasTheStatesOfAll128Ports) {
    for (const uint32_t port : {1u, 64u, 128u})
        ASSERT_EQ(driver_.SetPortState(port, 0xF0000000u + port), ERROR_SUCCESS);
    EXPECT_EQ(Get(vcom_), UfAppErr_Success);
    EXPECT_EQ(reply_.portStates[0], 0xF0000001u);
    EXPECT_EQ(reply_.portStates[63], 0xF0000040u);
    EXPECT_EQ(reply_.portStates[127], 0xF0000080u);
}

TEST_F(AccessConfig, EveryReplyCodeEndsTheReading) {
    for (const uint32_t result : {2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 1u, 4711u, 0xFFFFFFFFu}) {
        ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldCfgResult, result), ERROR_SUCCESS);
        EXPECT_EQ(uint32_t{Get(vcom_)}, result);
        EXPECT_EQ(reply_.result, result);
        EXPECT_EQ(uint32_t{Set()}, result);
        ExpectRequests({ReadRequest(kVcomTail), ReadRequest(kVcomTail)});
    }
}

TEST_F(AccessConfig, AFailedReadingIsABadParameter) {
    for (const int32_t status : {kStatusAccessDenied, kStatusNotConnected, kStatusUnsuccessful}) {
        FailNext(IOCTL_TAVIX_GetVcomCfg, status);
        EXPECT_EQ(Get(vcom_), UfAppErr_BadParam);
        EXPECT_EQ(reply_.result, 4u);
        ExpectRequests({ReadRequest(kVcomTail)});
    }
}

TEST_F(AccessConfig, AShortReplyCountsAsFarAsItCame) {
    ASSERT_EQ(Get(vcom_), UfAppErr_Success);
    const VcomCfgReply_st whole = reply_;
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetVcomCfg, 40), ERROR_SUCCESS);
    EXPECT_EQ(Get(vcom_), UfAppErr_Success);
    EXPECT_STREQ(reply_.portName, whole.portName);
    for (const uint32_t state : reply_.portStates)
        EXPECT_EQ(state, 0u);
}

TEST_F(AccessConfig, AFailedOrShortGlobalReadingIsUnknownAndNothingIsWritten) {
    FailNext(IOCTL_TAVIX_GetGlobalCfg, kStatusAccessDenied);
    EXPECT_EQ(Get(vcom_), UfAppErr_Unknown);
    FailNext(IOCTL_TAVIX_GetGlobalCfg, kStatusUnsuccessful);
    EXPECT_EQ(Set(), UfAppErr_Unknown);
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetGlobalCfg, 443), ERROR_SUCCESS);
    EXPECT_EQ(Set(), UfAppErr_Unknown);
    ExpectRequests({ReadRequest(kVcomTail), GlobalReadRequest(), ReadRequest(kVcomTail), GlobalReadRequest(),
                    ReadRequest(kVcomTail), GlobalReadRequest()});
}

TEST_F(AccessConfig, IsNotReadyWithoutTheBus) {
    RemoveBus();
    EXPECT_EQ(Get(vcom_), UfAppErr_VbusNotReady);
    EXPECT_EQ(reply_.result, 7u);
    EXPECT_EQ(Set(), UfAppErr_VbusNotReady);
    ExpectNoRequests();
}

TEST_F(AccessConfig, ABusThatGoesAwayAfterTheOpeningIsAFailedRequest) {
    REPLACE_CALL(ioctl, DeviceIoControl, [this](auto... arguments) {
        RemoveBus();
        return DeviceIoControl(arguments...);
    });
    EXPECT_EQ(Get(vcom_), UfAppErr_BadParam);
    EXPECT_EQ(reply_.result, 4u);
}

TEST_F(AccessConfig, IsWritten) {
    const GlobalCfg_st before = GlobalOfDriver();
    EXPECT_EQ(Set(), UfAppErr_Success);
    ExpectRequests({ReadRequest(kVcomTail), GlobalReadRequest(), WriteRequest(), GlobalWriteRequest(before)});
    const SimDeviceState_st state = *driver_.FindDevice(kHuid);
    EXPECT_STREQ(state.portName, L"COM33");
    EXPECT_EQ(state.lifemode, uint32_t{kLifemodePersistent});
    EXPECT_EQ(GlobalOfDriver().bindMode, uint32_t{kBindByUsbPort});
    EXPECT_EQ(GlobalOfDriver().serialNumberOnNames, 1);
}

TEST_F(AccessConfig, KeepsTheUnnamedBytesOfTheGlobalRecord) {
    std::minstd_rand random(4711);
    for (int round = 0; round < 10; ++round) {
        BYTE bytes[sizeof(GlobalCfg_st)];
        for (BYTE& byte : bytes)
            byte = static_cast<BYTE>(random());
        GlobalCfg_st before;
        std::memcpy(&before, bytes, sizeof(before));
        ASSERT_EQ(driver_.SetGlobalCfg(before), ERROR_SUCCESS);
        EXPECT_EQ(Set(), UfAppErr_Success);
        ExpectRequests(
            {ReadRequest(kVcomTail), GlobalReadRequest(), WriteRequest(), GlobalWriteRequest(before)});
        EXPECT_EQ(BytesOfRecord(GlobalOfDriver()), GlobalWriteRequest(before).input);
    }
}

TEST_F(AccessConfig, EveryResultOfTheWritingIsReturnedAndEndsIt) {
    for (const uint32_t result : {2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 1u, 0xFFFFFFFFu}) {
        const GlobalCfg_st before = GlobalOfDriver();
        ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldSetCfgResult, result), ERROR_SUCCESS);
        EXPECT_EQ(uint32_t{Set()}, result);
        ExpectRequests({ReadRequest(kVcomTail), GlobalReadRequest(), WriteRequest()});
        EXPECT_EQ(BytesOfRecord(GlobalOfDriver()), BytesOfRecord(before));
    }
}

TEST_F(AccessConfig, ADeniedWritingIsAccessDeniedAndAnyOtherFailureUnknown) {
    FailNext(IOCTL_TAVIX_SetVcomCfg, kStatusAccessDenied);
    EXPECT_EQ(Set(), UfAppErr_AccessDenied);
    FailNext(IOCTL_TAVIX_SetVcomCfg, kStatusNotConnected);
    EXPECT_EQ(Set(), UfAppErr_Unknown);
}

TEST_F(AccessConfig, AFailedGlobalWritingIsUnknownAndItsResultIsReturned) {
    FailNext(IOCTL_TAVIX_SetGlobalCfg, kStatusAccessDenied);
    EXPECT_EQ(Set(), UfAppErr_Unknown);
    const uint32_t result = UfAppErr_Registry;
    ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_SetGlobalCfg, BytesOfRecord(result)), ERROR_SUCCESS);
    EXPECT_EQ(Set(), UfAppErr_Registry);
}

TEST_F(AccessConfig, LeavesNothingOpenWhicheverCallFails) {
    CallFaults faults;
    WATCH_CALL(faults, SetupDiGetDeviceInstanceIdW, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, SetupDiGetClassDevsW, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, SetupDiEnumDeviceInterfaces, FALSE, ERROR_NO_MORE_ITEMS);
    WATCH_CALL(faults, SetupDiGetDeviceInterfaceDetailW, FALSE, ERROR_INSUFFICIENT_BUFFER);
    WATCH_CALL(faults, CreateFileW, INVALID_HANDLE_VALUE, ERROR_FILE_NOT_FOUND);
    WATCH_CALL(faults, DeviceIoControl, FALSE, ERROR_GEN_FAILURE);
    EXPECT_EQ(Set(), UfAppErr_Success);  // lets the system open what it keeps
    const int calls = ForEachFailingCall(faults, [&] {
        const LeakGuard guard;
        UfAppErr result = UfAppErr_Success;
        faults.During([&] { result = Set(); });
        EXPECT_EQ(result != UfAppErr_Success, faults.CallFailed());
    });
    EXPECT_EQ(calls, 9);
}

}  // namespace
