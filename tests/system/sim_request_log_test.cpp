// The log of requests that the driver has received.
#include <cstring>
#include <vector>

#include "tests/system/sim_fixture.h"

namespace {

class SimRequestLog : public SimulatedBusTest {
  protected:
    std::vector<LoggedRequest> Read(uint64_t firstSequence = 0) {
        std::vector<LoggedRequest> requests;
        EXPECT_EQ(driver_.ReadRequests(requests, firstSequence), ERROR_SUCCESS);
        return requests;
    }
};

TEST_F(SimRequestLog, HoldsEachRequestByteForByte) {
    VcomCfgRequest_st request;
    std::memset(&request, 0x9D, sizeof(request));
    uint32_t result = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_SetVcomCfg, &request, sizeof(request), &result, sizeof(result)),
              ERROR_SUCCESS);
    const std::vector<LoggedRequest> log = Read();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0].record.code, IOCTL_TAVIX_SetVcomCfg);
    EXPECT_EQ(log[0].record.inputBytes, sizeof(request));
    EXPECT_EQ(log[0].record.outputBytes, sizeof(result));
    EXPECT_EQ(log[0].record.returnedBytes, sizeof(result));
    EXPECT_EQ(log[0].record.processId, GetCurrentProcessId());
    EXPECT_EQ(log[0].Error(), ERROR_SUCCESS);
    ASSERT_EQ(log[0].input.size(), sizeof(request));
    EXPECT_EQ(std::memcmp(log[0].input.data(), &request, sizeof(request)), 0);
}

TEST_F(SimRequestLog, HoldsWhatFailed) {
    Request(IOCTL_TAVIX_GetDriverVersion, "abc", 3, nullptr, 0);
    Request(TavixControlCode(0xC08, kTavixAnyAccess), nullptr, 0, nullptr, 0);
    const std::vector<LoggedRequest> log = Read();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0].Error(), ERROR_BAD_LENGTH);
    EXPECT_EQ(log[0].input, std::vector<uint8_t>({'a', 'b', 'c'}));
    EXPECT_EQ(log[1].Error(), ERROR_INVALID_FUNCTION);
}

TEST_F(SimRequestLog, LeavesOutWhatTheSystemRefused) {
    const FileHandle readOnly = OpenBus(GENERIC_READ);
    const DeviceName_st name = Name(L"x");
    ASSERT_EQ(Request(readOnly, IOCTL_TAVIX_RemoveDevice, &name, sizeof(name), nullptr, 0),
              ERROR_ACCESS_DENIED);
    EXPECT_TRUE(Read().empty());
}

TEST_F(SimRequestLog, KeepsTheOrderAndReadsFromASequenceNumber) {
    const FileHandle bus = OpenBus();
    for (uint32_t i = 0; i < 300; ++i) {
        const DeviceName_st name = Name(std::to_wstring(i));
        UsbdInfo_st info;
        Request(bus, IOCTL_TAVIX_GetUsbdInfo, &name, sizeof(name), &info, sizeof(info));
    }
    const std::vector<LoggedRequest> log = Read();
    ASSERT_EQ(log.size(), 300u);
    for (uint32_t i = 0; i < 300; ++i)
        EXPECT_EQ(log[i].DeviceName(), std::to_wstring(i));
    EXPECT_EQ(Read(log[298].record.sequence).size(), 2u);
    EXPECT_TRUE(Read(log[299].record.sequence + 1).empty());
}

TEST_F(SimRequestLog, IsCleared) {
    DriverVersion_st version;
    Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version));
    ASSERT_EQ(Read().size(), 1u);
    ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    EXPECT_TRUE(Read().empty());
}

TEST_F(SimRequestLog, CutsHugeInputsAndForgetsTheOldestWhenFull) {
    const FileHandle bus = OpenBus();
    const std::vector<uint8_t> huge(2 * kSimMaxRequestBytes, 0x77);
    constexpr uint32_t requests = 300;  // more than 16 MB of logged bytes
    for (uint32_t i = 0; i < requests; ++i)
        Request(bus, IOCTL_TAVIX_GetDriverVersion, huge.data(), static_cast<DWORD>(huge.size()), nullptr, 0);
    SimInfo_st info = {};
    ASSERT_EQ(driver_.QueryInfo(info), ERROR_SUCCESS);
    EXPECT_GT(info.droppedRequests, 0u);
    const std::vector<LoggedRequest> log = Read();
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.size() + info.droppedRequests, requests);
    EXPECT_EQ(log.back().record.inputBytes, huge.size());
    EXPECT_EQ(log.back().input.size(), kSimMaxRequestBytes);
    EXPECT_EQ(log.back().record.sequence + 1, info.nextSequence);
}

TEST(SimRequestNames, GoBothWays) {
    EXPECT_EQ(RequestName(IOCTL_TAVIX_GetUsbdInfo), L"GetUsbdInfo");
    EXPECT_EQ(RequestCode(L"getusbdinfo"), IOCTL_TAVIX_GetUsbdInfo);
    EXPECT_EQ(RequestCode(L"IOCTL_TAVIX_BSOD"), IOCTL_TAVIX_BSOD);
    EXPECT_EQ(RequestCode(L"nothing"), 0u);
    EXPECT_EQ(RequestName(0), L"");
}

}  // namespace
