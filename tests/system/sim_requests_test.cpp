#include "tests/system/sim_fixture.h"

namespace {

using SimRequests = SimulatedBusTest;

TEST_F(SimRequests, VersionIsAnsweredWhole) {
    DriverVersion_st version = {};
    DWORD returned = 0;
    ASSERT_EQ(Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version), &returned),
              ERROR_SUCCESS);
    EXPECT_EQ(returned, sizeof(version));
    EXPECT_EQ(version.major, 1u);
    EXPECT_EQ(version.minor, 7u);
    EXPECT_EQ(version.build, 11u);
    EXPECT_EQ(version.debugBuild, 0u);
}

TEST_F(SimRequests, RemoveNoticeTakesTheVcomAway) {
    const SimDeviceState_st device = Plug();
    const DeviceName_st name = Name(L"VID_1234&PID_5678\\SN01");
    ASSERT_EQ(Request(IOCTL_TAVIX_RemoveDevice, &name, sizeof(name), nullptr, 0), ERROR_SUCCESS);
    EXPECT_NE(device.vcomInstanceId[0], 0);
    EXPECT_EQ(driver_.FindDevice(device.instanceId)->vcomInstanceId[0], 0);
}

}  // namespace
