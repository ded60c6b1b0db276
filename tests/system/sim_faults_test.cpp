// Fault injection: what the next requests meet.
#include <array>
#include <thread>
#include <vector>

#include "tests/support/wait_until.h"
#include "tests/system/sim_fixture.h"

namespace {

constexpr int32_t kStatusNoMemory = static_cast<int32_t>(0xC0000017);
constexpr int32_t kStatusInvalidDeviceRequest = static_cast<int32_t>(0xC0000010);

class SimFaults : public SimulatedBusTest {
  protected:
    static DWORD QueryVersion() {
        DriverVersion_st version;
        return Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version));
    }

    static DWORD QueryInfo(UsbdInfo_st& info, DWORD* returnedBytes = nullptr) {
        const DeviceName_st name = Name(L"1&2");
        return Request(IOCTL_TAVIX_GetUsbdInfo, &name, sizeof(name), &info, sizeof(info), returnedBytes);
    }
};

TEST_F(SimFaults, FailTheNextRequestsOfACodeOnly) {
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetDriverVersion, kStatusNoMemory, 2), ERROR_SUCCESS);
    GlobalCfg_st cfg;
    EXPECT_EQ(Request(IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, &cfg, sizeof(cfg)), ERROR_SUCCESS);
    EXPECT_EQ(QueryVersion(), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(QueryVersion(), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
}

TEST_F(SimFaults, CodeZeroMeansEveryRequest) {
    ASSERT_EQ(driver_.FailNext(0, kStatusInvalidDeviceRequest, kSimForever), ERROR_SUCCESS);
    GlobalCfg_st cfg;
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(QueryVersion(), ERROR_INVALID_FUNCTION);
    EXPECT_EQ(Request(IOCTL_TAVIX_GetGlobalCfg, nullptr, 0, &cfg, sizeof(cfg)), ERROR_INVALID_FUNCTION);
    ASSERT_EQ(driver_.ClearFaults(), ERROR_SUCCESS);
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
}

TEST_F(SimFaults, SkipLetsRequestsPassBefore) {
    ASSERT_EQ(driver_.AddFault({.code = IOCTL_TAVIX_GetDriverVersion,
                                .flags = kSimFaultStatus,
                                .skip = 2,
                                .count = 1,
                                .ntStatus = kStatusNoMemory}),
              ERROR_SUCCESS);
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
    EXPECT_EQ(QueryVersion(), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
}

TEST_F(SimFaults, RulesAreMetInTheirOrder) {
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetDriverVersion, kStatusNoMemory), ERROR_SUCCESS);
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetDriverVersion, kStatusInvalidDeviceRequest), ERROR_SUCCESS);
    EXPECT_EQ(QueryVersion(), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(QueryVersion(), ERROR_INVALID_FUNCTION);
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
}

TEST_F(SimFaults, ShortReplyClaimsFewerBytes) {
    Plug();
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetUsbdInfo, 1295), ERROR_SUCCESS);
    UsbdInfo_st info = {};
    DWORD returned = 0;
    ASSERT_EQ(QueryInfo(info, &returned), ERROR_SUCCESS);
    EXPECT_EQ(returned, 1295u);
    EXPECT_EQ(info.idVendor, 0x1234);
}

TEST_F(SimFaults, LongReplyClaimsNoMoreThanThereIsRoomFor) {
    Plug();
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetUsbdInfo, 1297), ERROR_SUCCESS);
    UsbdInfo_st info = {};
    DWORD returned = 0;
    ASSERT_EQ(QueryInfo(info, &returned), ERROR_SUCCESS);
    EXPECT_EQ(returned, 1296u);
}

TEST_F(SimFaults, DeclaredReplyIsAnsweredByteForByte) {
    const std::vector<uint8_t> reply(180, 0xEE);
    ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_GetDriverVersion, reply), ERROR_SUCCESS);
    std::array<uint8_t, 180> version = {};
    DWORD returned = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, version.data(), 180, &returned),
              ERROR_SUCCESS);
    EXPECT_EQ(returned, 180u);
    EXPECT_EQ(std::vector<uint8_t>(version.begin(), version.end()), reply);
}

TEST_F(SimFaults, DelayedRequestIsAnsweredLater) {
    ASSERT_EQ(driver_.DelayNext(IOCTL_TAVIX_GetDriverVersion, 150), ERROR_SUCCESS);
    const DWORD start = GetTickCount();
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
    EXPECT_GE(GetTickCount() - start, 140u);
    // The machine may be slow, but not for each of many requests.
    EXPECT_TRUE(WaitUntil("a request without delay", [this] {
        const DWORD next = GetTickCount();
        EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
        return GetTickCount() - next < 140;
    }));
}

TEST_F(SimFaults, HeldRequestIsCarriedOutAtItsRelease) {
    Plug();
    ASSERT_EQ(driver_.HoldNext(IOCTL_TAVIX_GetUsbdInfo), ERROR_SUCCESS);
    UsbdInfo_st info = {};
    DWORD error = ERROR_IO_PENDING;
    std::thread sender([&] { error = QueryInfo(info); });
    EXPECT_EQ(driver_.WaitForHeld(1), ERROR_SUCCESS);
    std::vector<LoggedRequest> log;
    EXPECT_EQ(driver_.ReadRequests(log), ERROR_SUCCESS);
    EXPECT_EQ(log.empty() ? ERROR_SUCCESS : log[0].Error(), ERROR_IO_PENDING);
    // The device goes away in the middle of the request.
    EXPECT_EQ(driver_.SetOnline(L"1&2", false), ERROR_SUCCESS);
    uint32_t released = 0;
    EXPECT_EQ(driver_.ReleaseHeld(&released), ERROR_SUCCESS);
    sender.join();
    EXPECT_EQ(released, 1u);
    EXPECT_EQ(error, ERROR_SUCCESS);
    EXPECT_EQ(info.online, 0u);
    EXPECT_EQ(driver_.ReadRequests(log), ERROR_SUCCESS);
    EXPECT_EQ(log.empty() ? ERROR_IO_PENDING : log[0].Error(), ERROR_SUCCESS);
}

TEST_F(SimFaults, HeldRequestCanFailAtItsRelease) {
    ASSERT_EQ(driver_.AddFault({.code = IOCTL_TAVIX_GetDriverVersion,
                                .flags = kSimFaultHold | kSimFaultStatus,
                                .count = 1,
                                .ntStatus = kStatusNoMemory}),
              ERROR_SUCCESS);
    DWORD error = ERROR_SUCCESS;
    std::thread sender([&] { error = QueryVersion(); });
    EXPECT_EQ(driver_.WaitForHeld(1), ERROR_SUCCESS);
    EXPECT_EQ(driver_.ReleaseHeld(), ERROR_SUCCESS);
    sender.join();
    EXPECT_EQ(error, ERROR_NOT_ENOUGH_MEMORY);
}

TEST_F(SimFaults, OtherRequestsGoOnWhileOneIsHeld) {
    ASSERT_EQ(driver_.HoldNext(IOCTL_TAVIX_GetDriverVersion), ERROR_SUCCESS);
    std::thread sender([] { QueryVersion(); });
    EXPECT_EQ(driver_.WaitForHeld(1), ERROR_SUCCESS);
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
    EXPECT_EQ(driver_.ClearFaults(), ERROR_SUCCESS);
    sender.join();
}

TEST_F(SimFaults, ResetAnswersWhatIsHeld) {
    ASSERT_EQ(driver_.HoldNext(IOCTL_TAVIX_GetDriverVersion), ERROR_SUCCESS);
    DWORD error = ERROR_IO_PENDING;
    std::thread sender([&] { error = QueryVersion(); });
    EXPECT_EQ(driver_.WaitForHeld(1), ERROR_SUCCESS);
    EXPECT_EQ(driver_.Reset(), ERROR_SUCCESS);
    sender.join();
    EXPECT_EQ(error, ERROR_SUCCESS);
}

TEST_F(SimFaults, HeldRequestIsCanceledWithItsSender) {
    ASSERT_EQ(driver_.HoldNext(IOCTL_TAVIX_GetDriverVersion), ERROR_SUCCESS);
    const FileHandle bus = OpenBus();
    DWORD error = ERROR_SUCCESS;
    std::thread sender([&] {
        DriverVersion_st version;
        error = Request(bus, IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version));
    });
    EXPECT_EQ(driver_.WaitForHeld(1), ERROR_SUCCESS);
    EXPECT_TRUE(CancelIoEx(bus.get(), nullptr));
    sender.join();
    EXPECT_EQ(error, ERROR_OPERATION_ABORTED);
    SimInfo_st info = {};
    EXPECT_EQ(driver_.QueryInfo(info), ERROR_SUCCESS);
    EXPECT_EQ(info.heldRequests, 0u);
}

TEST_F(SimFaults, RefusedWritingStillOpensForReading) {
    ASSERT_EQ(driver_.SetAccess({.refuseWrite = 1}), ERROR_SUCCESS);
    EXPECT_FALSE(OpenBus(GENERIC_READ | GENERIC_WRITE));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(OpenBus(GENERIC_READ));
}

TEST_F(SimFaults, OpeningFailsWithTheDeclaredStatus) {
    ASSERT_EQ(driver_.SetAccess({.openStatus = kStatusNoMemory}), ERROR_SUCCESS);
    EXPECT_FALSE(OpenBus(GENERIC_READ));
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
    ASSERT_EQ(driver_.SetAccess({}), ERROR_SUCCESS);
    EXPECT_TRUE(OpenBus());
}

TEST_F(SimFaults, AbsentBusHasNoInterface) {
    ASSERT_EQ(driver_.SetAccess({.busAbsent = 1}), ERROR_SUCCESS);
    EXPECT_TRUE(
        WaitUntil("the interface to go", [] { return !OpenBus() && GetLastError() == ERROR_NOT_READY; }));
    ASSERT_EQ(driver_.SetAccess({}), ERROR_SUCCESS);
    EXPECT_TRUE(WaitUntil("the interface to come back", [] { return static_cast<bool>(OpenBus()); }));
}

TEST_F(SimFaults, FaultWithBrokenLengthIsRefused) {
    SimFault_st fault = {.count = 1, .dataBytes = 1};
    const FileHandle control(CreateFileW(kSimControlPath, GENERIC_READ | GENERIC_WRITE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                         nullptr));
    EXPECT_EQ(Request(control, kSimAddFault, &fault, sizeof(fault), nullptr, 0), ERROR_BAD_LENGTH);
    EXPECT_EQ(Request(control, kSimAddFault, &fault, sizeof(fault) - 1, nullptr, 0), ERROR_BAD_LENGTH);
}

// A request that is answered as pending would never end.
TEST_F(SimFaults, PendingIsNoStatusToFailWith) {
    EXPECT_EQ(driver_.FailNext(IOCTL_TAVIX_GetDriverVersion, 0x103), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(QueryVersion(), ERROR_SUCCESS);
}

}  // namespace
