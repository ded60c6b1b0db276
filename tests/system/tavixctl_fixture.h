// The command line with one device: a scanner on COM5, online, whose VCOM has the Huid "7&AC".
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/system/access_fixture.h"
#include "tests/system/json_schema.h"
#include "tests/system/run_program.h"

// As docs/automation.md lists them.
inline constexpr DWORD kSuccess = 0;
inline constexpr DWORD kRequestFailed = 1;
inline constexpr DWORD kUsage = 2;
inline constexpr DWORD kNoSuchDevice = 3;
inline constexpr DWORD kConflict = 4;
inline constexpr DWORD kDenied = 5;
inline constexpr DWORD kDriverNotReady = 6;

RunResult RunCtl(const std::wstring& arguments);
const nlohmann::json& Schema();

class Tavixctl : public DriverAccessTest {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Runs the command with --json and checks the answer against the schema.
    static nlohmann::json RunJson(const std::wstring& arguments);
    // Other tests' devices, which are gone, may be listed too.
    static nlohmann::json ListedDevice();
    static std::string RunText(const std::wstring& arguments);
    // In both formats.
    static void ExpectFailure(const std::wstring& arguments, DWORD exitCode, const std::string& message);

    // Of the USB device's startup errors; there is none when a test begins.
    std::wstring ErrorLogPath();
    // The codes of the requests with write access since the last call.
    std::vector<uint32_t> WriteRequests();
    SimDeviceState_st State() { return driver_.FindDevice(kHuid).value_or(SimDeviceState_st{}); }
};
