// simctl as a person uses it: command lines, what they print, their exit codes.
#include <thread>

#include "tests/support/wait_until.h"
#include "tests/system/run_program.h"
#include "tests/system/sim_fixture.h"

namespace {

RunResult RunSimctl(const std::wstring& arguments) {
    return RunProgram(TAVIX_SIMCTL, arguments);
}

bool Contains(const RunResult& result, std::string_view text) {
    return (result.output + result.errors).find(text) != std::string::npos;
}

using Simctl = SimulatedBusTest;

TEST_F(Simctl, HelpNamesTheCommandsAndAnExample) {
    const RunResult result = RunSimctl(L"--help");
    EXPECT_EQ(result.exitCode, 0u);
    for (const char* text : {"install-package", "plug", "offline", "fail GetVcomCfg --hold",
                             "requests --follow", "release", "reset"})
        EXPECT_TRUE(Contains(result, text)) << text;
}

TEST_F(Simctl, HelpOfAFaultNamesEveryRequest) {
    const RunResult result = RunSimctl(L"fail --help");
    EXPECT_EQ(result.exitCode, 0u);
    for (const std::wstring_view name : RequestNames())
        EXPECT_TRUE(Contains(result, "\n  " + std::string(name.begin(), name.end())));
}

TEST_F(Simctl, ThePackageOfItsOwnBuildIsTheDefault) {
    Plug();
    EXPECT_EQ(RunSimctl(L"install-package").exitCode, 0u);
    EXPECT_TRUE(Contains(RunSimctl(L"list"), "1&2")) << "an unchanged driver stays loaded";
    EXPECT_EQ(RunSimctl(L"install-package --from Z:\\nowhere").exitCode, 1u);
}

TEST_F(Simctl, PluggedDeviceIsListed) {
    ASSERT_EQ(RunSimctl(L"plug --without-node --serial X1 --port 99 --huid my").exitCode, 0u);
    const RunResult list = RunSimctl(L"list");
    EXPECT_EQ(list.exitCode, 0u);
    EXPECT_TRUE(Contains(list, "USB\\VID_1234&PID_5678\\X1"));
    EXPECT_TRUE(Contains(list, "COM99"));
    EXPECT_EQ(RunSimctl(L"offline my").exitCode, 0u);
    EXPECT_TRUE(Contains(RunSimctl(L"list"), "offline"));
}

TEST_F(Simctl, FieldsCountersAndErrorsAreSet) {
    Plug();
    ASSERT_EQ(RunSimctl(L"set 1&2 speed 9").exitCode, 0u);
    ASSERT_EQ(RunSimctl(L"counters 1&2 usbReceivedBytes=123456789012 usbInActive=1").exitCode, 0u);
    ASSERT_EQ(RunSimctl(L"errors 1&2 3=5 totals.usbPortCycles=7").exitCode, 0u);
    const DeviceName_st name = Name(L"1&2");
    UsbdInfo_st info = {};
    Request(IOCTL_TAVIX_GetUsbdInfo, &name, sizeof(name), &info, sizeof(info));
    EXPECT_EQ(info.speed, 9u);
    FlowpathStat_st flowpath = {};
    Request(IOCTL_TAVIX_GetFlowpathStat, &name, sizeof(name), &flowpath, sizeof(flowpath));
    EXPECT_EQ(flowpath.usbReceivedBytes, 123456789012u);
    EXPECT_EQ(flowpath.usbInActive, 1);
    UsbErrStat_st errors = {};
    Request(IOCTL_TAVIX_GetUsbErrStat, &name, sizeof(name), &errors, sizeof(errors));
    EXPECT_EQ(errors.bucketCounts[3], 5u);
    EXPECT_EQ(errors.totals.usbPortCycles, 7u);
}

TEST_F(Simctl, ATransferRunsUntilItIsStopped) {
    Plug();
    ASSERT_EQ(RunSimctl(L"transfer 1&2 --up 1000000 --read 1 --down 1000000 --miscount 3").exitCode, 0u);
    const DeviceName_st name = Name(L"1&2");
    FlowpathStat_st flowing = {};
    ASSERT_TRUE(WaitUntil("both directions to flow", [&] {
        Request(IOCTL_TAVIX_GetFlowpathStat, &name, sizeof(name), &flowing, sizeof(flowing));
        return flowing.usbReceivedBytes > 3 && flowing.usbSentBytes != 0;
    }));
    EXPECT_GT(flowing.readBufferBytes, 0u);
    EXPECT_EQ(flowing.writeBufferBytes, 0u);
    EXPECT_EQ(flowing.vcomWrittenBytes, flowing.usbSentBytes + 3);
    ASSERT_EQ(RunSimctl(L"transfer 1&2").exitCode, 0u);
    FlowpathStat_st stopped = {};
    FlowpathStat_st later = {};
    Request(IOCTL_TAVIX_GetFlowpathStat, &name, sizeof(name), &stopped, sizeof(stopped));
    Request(IOCTL_TAVIX_GetFlowpathStat, &name, sizeof(name), &later, sizeof(later));
    EXPECT_EQ(stopped.usbReceivedBytes, later.usbReceivedBytes);
    EXPECT_EQ(stopped.vcomWrittenBytes, stopped.usbSentBytes);
    EXPECT_EQ(stopped.usbInActive, 0);
}

TEST_F(Simctl, DeviceGoesOfflineInTheMiddleOfARequest) {
    Plug();
    ASSERT_EQ(RunSimctl(L"fail GetUsbdInfo --hold").exitCode, 0u);
    UsbdInfo_st info = {};
    std::thread sender([&] {
        const DeviceName_st name = Name(L"1&2");
        Request(IOCTL_TAVIX_GetUsbdInfo, &name, sizeof(name), &info, sizeof(info));
    });
    EXPECT_EQ(driver_.WaitForHeld(1), ERROR_SUCCESS);
    EXPECT_TRUE(Contains(RunSimctl(L"requests"), "waiting \"1&2\""));
    EXPECT_EQ(RunSimctl(L"offline 1&2").exitCode, 0u);
    EXPECT_TRUE(Contains(RunSimctl(L"release"), "released 1"));
    EXPECT_EQ(driver_.ClearFaults(), ERROR_SUCCESS);
    sender.join();
    EXPECT_EQ(info.online, 0u);
    EXPECT_NE(info.idVendor, 0);
    EXPECT_TRUE(Contains(RunSimctl(L"requests --hex"), "error 0, 1296 bytes"));
}

TEST_F(Simctl, RequestsFailAsDeclared) {
    ASSERT_EQ(RunSimctl(L"fail getdriverversion --status 0xC0000022").exitCode, 0u);
    DriverVersion_st version = {};
    EXPECT_EQ(Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version)),
              ERROR_ACCESS_DENIED);
    ASSERT_EQ(RunSimctl(L"fail any --reply 0102 --count forever").exitCode, 0u);
    EXPECT_EQ(Request(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version)), ERROR_SUCCESS);
    EXPECT_EQ(version.major & 0xFFFF, 0x0201u);
}

TEST_F(Simctl, BadWordsEndWithAnError) {
    const RunResult badRequest = RunSimctl(L"fail Nonsense --hold");
    EXPECT_EQ(badRequest.exitCode, 1u);
    EXPECT_TRUE(Contains(badRequest, "\n  GetUsbdInfo")) << "the right names are shown";
    EXPECT_EQ(RunSimctl(L"set nobody speed 1").exitCode, 1u);
    Plug();
    const RunResult badField = RunSimctl(L"set 1&2 nonsense 1");
    EXPECT_EQ(badField.exitCode, 1u);
    EXPECT_TRUE(Contains(badField, "\n  speed: ")) << "the right names are shown";
    EXPECT_EQ(RunSimctl(L"counters 1&2 nonsense=1").exitCode, 1u);
    EXPECT_EQ(RunSimctl(L"errors 1&2 21=1").exitCode, 1u);
    EXPECT_NE(RunSimctl(L"nonsense").exitCode, 0u);
    EXPECT_NE(RunSimctl(L"").exitCode, 0u);
}

}  // namespace
