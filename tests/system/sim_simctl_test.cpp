// simctl as a person uses it: command lines, what they print, their exit codes.
#include <thread>

#include "tests/system/sim_fixture.h"

namespace {

struct RunResult {
    DWORD exitCode = 0xDEAD;
    std::string output;
};

std::wstring TemporaryFile() {
    wchar_t folder[MAX_PATH];
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    GetTempFileNameW(folder, L"sim", 0, path);
    return path;
}

FileHandle OpenTemporary(const std::wstring& path, DWORD flags) {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    return FileHandle(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherited,
                                  OPEN_EXISTING, flags, nullptr));
}

std::string ReadWhole(const FileHandle& file) {
    SetFilePointer(file.get(), 0, nullptr, FILE_BEGIN);
    std::string text(GetFileSize(file.get(), nullptr), 0);
    DWORD read = 0;
    ReadFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
    text.resize(read);
    return text;
}

RunResult RunSimctl(const std::wstring& arguments) {
    const FileHandle output = OpenTemporary(TemporaryFile(), FILE_FLAG_DELETE_ON_CLOSE);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = output.get();
    PROCESS_INFORMATION process = {};
    std::wstring commandLine = std::wstring(L"\"" TAVIX_SIMCTL L"\" ") + arguments;
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process))
        return {};
    const KernelHandle owner(process.hProcess);
    const KernelHandle thread(process.hThread);
    WaitForSingleObject(process.hProcess, 30000);
    RunResult result;
    GetExitCodeProcess(process.hProcess, &result.exitCode);
    result.output = ReadWhole(output);
    return result;
}

bool Contains(const RunResult& result, std::string_view text) {
    return result.output.find(text) != std::string::npos;
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
