#include "driver/vcom_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "driver/vbus.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr VcomCfg kWanted = {L"COM9", kLifemodePersistent, kBindByUsbPort, true};

VcomCfgReply_st GoodReply() {
    VcomCfgReply_st reply = {.lifemode = kLifemodeFriendly, .portName = L"COM7"};
    reply.portStates[6] = kPortOfThisVcom;
    return reply;
}

GlobalCfg_st RandomGlobalCfg(unsigned seed) {
    std::minstd_rand random(seed);
    BYTE bytes[sizeof(GlobalCfg_st)];
    for (BYTE& byte : bytes)
        byte = static_cast<BYTE>(random());
    GlobalCfg_st global;
    std::memcpy(&global, bytes, sizeof(global));
    return global;
}

class VcomConfig : public testing::Test {
  protected:
    VcomConfig() {
        fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Of(GoodReply());
        fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Of(RandomGlobalCfg(1));
        fake_.replies[IOCTL_TAVIX_SetVcomCfg] = FakeReply::Of(uint32_t{0});
        fake_.replies[IOCTL_TAVIX_SetGlobalCfg] = FakeReply::Of(uint32_t{0});
    }
    UfAppErr Get() { return tavo_GetVcomCfg(fake_.deviceSet(), fake_.device(), reply_, global_); }
    UfAppErr Set() { return tavo_SetVcomCfg(fake_.deviceSet(), fake_.device(), kWanted); }

    FakeVbus fake_;
    VcomCfgReply_st reply_ = {.result = 99};
    GlobalCfg_st global_ = {};
};

TEST_F(VcomConfig, ReadsBothRecordsThroughOneOpening) {
    EXPECT_EQ(Get(), UfAppErr_Success);
    EXPECT_EQ(BytesOfRecord(reply_), BytesOfRecord(GoodReply()));
    EXPECT_EQ(BytesOfRecord(global_), BytesOfRecord(RandomGlobalCfg(1)));
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg, IOCTL_TAVIX_GetGlobalCfg));
    EXPECT_EQ(fake_.requests[0].input, BytesOfRecord(DeviceNameFromText(L"Qrv_vcom\\1&2")));
    EXPECT_THAT(fake_.requests[1].input, IsEmpty());
    EXPECT_EQ(fake_.openings.size(), 1u);
}

TEST_F(VcomConfig, ReadingWithoutANameIsNotReadyAndOpensNothing) {
    fake_.instanceId = L"HTREE";
    EXPECT_EQ(Get(), UfAppErr_VbusNotReady);
    EXPECT_EQ(reply_.result, uint32_t{UfAppErr_VbusNotReady});
    EXPECT_EQ(fake_.enumerations, 0);
}

TEST_F(VcomConfig, ReadingWithoutAVbusIsNotReady) {
    fake_.hasInterface = false;
    EXPECT_EQ(Get(), UfAppErr_VbusNotReady);
    EXPECT_EQ(reply_.result, uint32_t{UfAppErr_VbusNotReady});
}

TEST_F(VcomConfig, AFailedFirstRequestIsABadParameterWhateverTheError) {
    for (const DWORD error : {ERROR_ACCESS_DENIED, ERROR_DEVICE_NOT_CONNECTED, ERROR_INVALID_FUNCTION}) {
        fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Failure(error);
        EXPECT_EQ(Get(), UfAppErr_BadParam);
        EXPECT_EQ(reply_.result, uint32_t{UfAppErr_BadParam});
    }
    for (const DWORD code : fake_.RequestCodes())
        EXPECT_EQ(code, IOCTL_TAVIX_GetVcomCfg);
}

TEST_F(VcomConfig, AShortReplyCountsAndItsRestIsZero) {
    fake_.replies[IOCTL_TAVIX_GetVcomCfg].claimedBytes = 40;
    std::memset(reply_.portStates, 0xEE, sizeof(reply_.portStates));
    EXPECT_EQ(Get(), UfAppErr_Success);
    EXPECT_STREQ(reply_.portName, L"COM7");
    EXPECT_EQ(reply_.portStates[6] + reply_.portStates[127], 0u);
}

TEST_F(VcomConfig, TheReplysOwnResultEndsTheReading) {
    for (const uint32_t result : {1u, 2u, 9u, 10u, 77u, 0xFFFFFFFFu}) {
        VcomCfgReply_st reply = GoodReply();
        reply.result = result;
        fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Of(reply);
        fake_.requests.clear();
        EXPECT_EQ(uint32_t{Get()}, result);
        EXPECT_EQ(reply_.result, result);
        EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg));
    }
}

TEST_F(VcomConfig, AFailedGlobalRequestIsUnknown) {
    fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Failure(ERROR_ACCESS_DENIED);
    EXPECT_EQ(Get(), UfAppErr_Unknown);
    EXPECT_EQ(reply_.result, 0u);
    for (const DWORD claimed : {0u, 443u, 445u}) {
        fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Of(RandomGlobalCfg(1));
        fake_.replies[IOCTL_TAVIX_GetGlobalCfg].claimedBytes = claimed;
        EXPECT_EQ(Get(), UfAppErr_Unknown) << claimed;
    }
}

TEST_F(VcomConfig, WritesTheVcomThenTheGlobalSettings) {
    EXPECT_EQ(Set(), UfAppErr_Success);
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg, IOCTL_TAVIX_GetGlobalCfg,
                                                  IOCTL_TAVIX_SetVcomCfg, IOCTL_TAVIX_SetGlobalCfg));
    const VcomCfgRequest_st request = {DeviceNameFromText(L"Qrv_vcom\\1&2"), kLifemodePersistent, L"COM9"};
    EXPECT_EQ(fake_.requests[2].input, BytesOfRecord(request));
    EXPECT_EQ(fake_.requests[2].outputBytes, 4u);
    EXPECT_EQ(fake_.requests[3].outputBytes, 4u);
    EXPECT_EQ(fake_.openings.size(), 1u);
}

TEST_F(VcomConfig, KeepsEveryOtherByteOfTheGlobalSettings) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        GlobalCfg_st expected = RandomGlobalCfg(seed);
        fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Of(expected);
        fake_.requests.clear();
        ASSERT_EQ(Set(), UfAppErr_Success);
        expected.bindMode = kBindByUsbPort;
        expected.serialNumberOnNames = 1;
        EXPECT_EQ(fake_.requests.at(3).input, BytesOfRecord(expected)) << seed;
    }
}

TEST_F(VcomConfig, CutsAPortNameThatIsNotTerminated) {
    VcomCfg cfg = kWanted;
    std::fill(std::begin(cfg.portName), std::end(cfg.portName), L'x');
    EXPECT_EQ(tavo_SetVcomCfg(fake_.deviceSet(), fake_.device(), cfg), UfAppErr_Success);
    VcomCfgRequest_st request;
    ASSERT_EQ(fake_.requests.at(2).input.size(), sizeof(request));
    std::memcpy(&request, fake_.requests[2].input.data(), sizeof(request));
    EXPECT_STREQ(request.portName, std::wstring(15, L'x').c_str());
}

TEST_F(VcomConfig, WritesNothingWhenTheReadingFails) {
    fake_.replies[IOCTL_TAVIX_GetGlobalCfg] = FakeReply::Failure(ERROR_GEN_FAILURE);
    EXPECT_EQ(Set(), UfAppErr_Unknown);
    fake_.replies[IOCTL_TAVIX_GetVcomCfg] = FakeReply::Failure(ERROR_GEN_FAILURE);
    EXPECT_EQ(Set(), UfAppErr_BadParam);
    fake_.hasInterface = false;
    EXPECT_EQ(Set(), UfAppErr_VbusNotReady);
    fake_.instanceId = L"";
    EXPECT_EQ(Set(), UfAppErr_VbusNotReady);
    for (const DWORD code : fake_.RequestCodes())
        EXPECT_TRUE(code == IOCTL_TAVIX_GetVcomCfg || code == IOCTL_TAVIX_GetGlobalCfg);
}

struct WriteRow {
    const char* name;
    DWORD error;
    uint32_t result;
    uint32_t expectedOfVcom;
    uint32_t expectedOfGlobal;
};

void PrintTo(const WriteRow& row, std::ostream* out) {
    *out << row.name;
}

class VcomConfigWrite : public VcomConfig, public testing::WithParamInterface<WriteRow> {
  protected:
    FakeReply Reply() const {
        return GetParam().error == ERROR_SUCCESS ? FakeReply::Of(GetParam().result)
                                                 : FakeReply::Failure(GetParam().error);
    }
};

TEST_P(VcomConfigWrite, OfTheVcomReturnsItsOutcome) {
    fake_.replies[IOCTL_TAVIX_SetVcomCfg] = Reply();
    EXPECT_EQ(uint32_t{Set()}, GetParam().expectedOfVcom);
    EXPECT_EQ(fake_.requests.size(), GetParam().expectedOfVcom == 0 ? 4u : 3u);
}

TEST_P(VcomConfigWrite, OfTheGlobalSettingsReturnsItsOutcome) {
    fake_.replies[IOCTL_TAVIX_SetGlobalCfg] = Reply();
    EXPECT_EQ(uint32_t{Set()}, GetParam().expectedOfGlobal);
}

INSTANTIATE_TEST_SUITE_P(Rows, VcomConfigWrite,
                         testing::Values(WriteRow{"Success", 0, 0, 0, 0},
                                         WriteRow{"AccessDenied", ERROR_ACCESS_DENIED, 0, 8, 2},
                                         WriteRow{"NotConnected", ERROR_DEVICE_NOT_CONNECTED, 0, 2, 2},
                                         WriteRow{"OtherFailure", ERROR_GEN_FAILURE, 0, 2, 2},
                                         WriteRow{"RegistryResult", 0, 5, 5, 5},
                                         WriteRow{"UnnamedResult", 0, 1, 1, 1},
                                         WriteRow{"HugeResult", 0, 0x80000000, 0x80000000, 0x80000000}),
                         [](const auto& row) { return row.param.name; });

TEST_F(VcomConfig, AWriteWithoutAResultWordSucceeded) {
    fake_.replies[IOCTL_TAVIX_SetVcomCfg] = FakeReply::Of(uint32_t{0x05000000});
    fake_.replies[IOCTL_TAVIX_SetVcomCfg].claimedBytes = 3;
    fake_.replies[IOCTL_TAVIX_SetGlobalCfg] = FakeReply::Of(uint32_t{5});
    fake_.replies[IOCTL_TAVIX_SetGlobalCfg].claimedBytes = 0;
    EXPECT_EQ(Set(), UfAppErr_Success);
}

TEST_F(VcomConfig, SettingsThatDidNotComeWholeAreNeverSentBack) {
    fake_.replies[IOCTL_TAVIX_GetGlobalCfg].claimedBytes = 443;
    EXPECT_EQ(Set(), UfAppErr_Unknown);
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_GetVcomCfg, IOCTL_TAVIX_GetGlobalCfg));
}

TEST_F(VcomConfig, PortAndLifemodeAreWrittenAlone) {
    EXPECT_EQ(SetVcomPortAndLifemode(fake_.deviceSet(), fake_.device(), L"COM9", kLifemodePersistent),
              UfAppErr_Success);
    EXPECT_THAT(fake_.RequestCodes(), ElementsAre(IOCTL_TAVIX_SetVcomCfg));
    const VcomCfgRequest_st request = {DeviceNameFromText(L"Qrv_vcom\\1&2"), kLifemodePersistent, L"COM9"};
    EXPECT_EQ(fake_.requests[0].input, BytesOfRecord(request));
    fake_.hasInterface = false;
    EXPECT_EQ(SetVcomPortAndLifemode(fake_.deviceSet(), fake_.device(), L"COM9", 0), UfAppErr_VbusNotReady);
}

}  // namespace
