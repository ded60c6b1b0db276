#include "tests/system/tavixctl_fixture.h"

#include <fstream>

#include "state/usberr_log.h"

using nlohmann::json;

RunResult RunCtl(const std::wstring& arguments) {
    return RunProgram(TAVIX_CTL, arguments);
}

const json& Schema() {
    static const json s_schema = json::parse(std::ifstream(TAVIX_CTL_SCHEMA));
    return s_schema;
}

void Tavixctl::SetUp() {
    DriverAccessTest::SetUp();
    vcom_.SetTextProperty(SPDRP_FRIENDLYNAME, L"TAVIX Scanner (COM5)");
    usbd_.SetTextProperty(SPDRP_FRIENDLYNAME, L"Scanner");
    usbd_.StoreValue(L"NowHuid", REG_SZ, kHuid, sizeof(kHuid));
    ASSERT_EQ(driver_.SetPresence(UsbdId(), true, 0), ERROR_SUCCESS);
    DeleteFileW(ErrorLogPath().c_str());
}

void Tavixctl::TearDown() {
    DeleteFileW(ErrorLogPath().c_str());
    usbd_.DeleteValue(L"NowHuid");
    DriverAccessTest::TearDown();
}

json Tavixctl::RunJson(const std::wstring& arguments) {
    const RunResult result = RunCtl(arguments + L" --json");
    EXPECT_EQ(result.exitCode, kSuccess) << result.errors;
    EXPECT_EQ(result.errors, "");
    const json value = json::parse(result.output, nullptr, false);
    EXPECT_EQ(CheckJson(Schema(), value), "") << result.output;
    return value;
}

json Tavixctl::ListedDevice() {
    const json list = RunJson(L"list");
    for (const json& device : list["devices"])
        if (device["huid"] == "7&AC") return device;
    ADD_FAILURE() << "the device is not listed";
    return {};
}

std::string Tavixctl::RunText(const std::wstring& arguments) {
    const RunResult result = RunCtl(arguments);
    EXPECT_EQ(result.exitCode, kSuccess) << result.errors;
    EXPECT_EQ(result.errors, "");
    return result.output;
}

void Tavixctl::ExpectFailure(const std::wstring& arguments, DWORD exitCode, const std::string& message) {
    for (const wchar_t* format : {L"", L" --json"}) {
        const RunResult result = RunCtl(arguments + format);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, "tavixctl: " + message + "\n");
    }
}

std::wstring Tavixctl::ErrorLogPath() {
    wchar_t path[kUsberrPathChars];
    EXPECT_TRUE(UsberrLogPath(usbd_.set(), usbd_.device(), path));
    return path;
}

std::vector<uint32_t> Tavixctl::WriteRequests() {
    std::vector<LoggedRequest> requests;
    EXPECT_EQ(driver_.ReadRequests(requests), ERROR_SUCCESS);
    EXPECT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    std::vector<uint32_t> codes;
    for (const LoggedRequest& request : requests)
        if ((request.record.code >> 14 & kTavixWriteAccess) != 0) codes.push_back(request.record.code);
    return codes;
}
