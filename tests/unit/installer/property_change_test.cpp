#include "installer/property_change.h"

#include <gtest/gtest.h>

#include "tests/unit/installer/fake_element.h"
#include "tests/unit/installer/trace_recorder.h"

namespace {

class PropertyChangeTest : public testing::Test {
  protected:
    void Handle() { HandlePropertyChange({DIF_PROPERTYCHANGE, FakeElement::kSet, &element_.data, nullptr}); }

    FakeElement element_;
    TraceRecorder trace_;
};

TEST_F(PropertyChangeTest, MarksTheChangePendingAndKeepsOtherFlags) {
    element_.flagsEx = 0x12;
    Handle();
    EXPECT_EQ(element_.flagsEx, DWORD{0x412});
}

TEST_F(PropertyChangeTest, UnreadableInstallParametersAreNotWritten) {
    element_.installParamsReadable = false;
    Handle();
    EXPECT_EQ(element_.installParamsWrites, 0);
}

TEST_F(PropertyChangeTest, ARefusedWriteIsNoReasonToStop) {
    element_.installParamsWritable = false;
    Handle();
    EXPECT_EQ(element_.installParamsWrites, 1);
    EXPECT_EQ(element_.classParamsReadBytes, DWORD{20});
}

TEST_F(PropertyChangeTest, ReadsTheRequestedChangeForTheTraceAndLeavesItAlone) {
    const SP_PROPCHANGE_PARAMS change = {{8, DIF_PROPERTYCHANGE}, DICS_DISABLE, DICS_FLAG_CONFIGSPECIFIC, 3};
    element_.SetClassParams(change);
    const std::vector<BYTE> before = element_.classParams;
    Handle();
    EXPECT_EQ(element_.classParamsReadBytes, DWORD{20});
    EXPECT_EQ(element_.classParamsHeaderBytes, DWORD{8});
    EXPECT_EQ(element_.classParams, before);
    EXPECT_EQ(element_.classParamsWrites, 0);
    EXPECT_EQ(trace_.lines(), std::vector<std::wstring>{L"SP_PROPCHANGE_PARAMS.Statechange=2 .Scope=0x02"});
}

TEST_F(PropertyChangeTest, ReadsTheRequestedChangeThoughNobodyListens) {
    SetTraceLineHook(nullptr);
    Handle();
    EXPECT_EQ(element_.classParamsReadBytes, DWORD{20});
}

TEST_F(PropertyChangeTest, MissingClassInstallParametersAreWorthANote) {
    Handle();
    EXPECT_EQ(trace_.lines(),
              std::vector<std::wstring>{
                  L"info: SetupDiGetClassInstallParams() returns 0xE0000215(ERROR_NO_CLASSINSTALL_PARAMS)"});
}

TEST_F(PropertyChangeTest, AnyOtherFailureIsTracedAsAnError) {
    element_.classParamsError = ERROR_ACCESS_DENIED;
    Handle();
    EXPECT_EQ(trace_.lines(), std::vector<std::wstring>{L"SetupDiGetClassInstallParams() error. WinErr=0x5"});
}

TEST_F(PropertyChangeTest, ParametersOfAnotherSizeAreAnError) {
    element_.classParams.assign(64, 0);
    Handle();
    EXPECT_EQ(trace_.lines(),
              std::vector<std::wstring>{L"SetupDiGetClassInstallParams() error. WinErr=0x7A"});
}

}  // namespace
