// The support report, in both shapes, and the completion script.
#include <cstring>
#include <map>

#include "tavixctl/report_sink.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/temporary_file.h"
#include "tests/system/tavixctl_fixture.h"

namespace {

using nlohmann::json;

uint32_t NumberAt(const std::string& bytes, size_t place, size_t count) {
    uint32_t number = 0;
    for (size_t i = 0; i < count; ++i)
        number |= uint32_t{static_cast<uint8_t>(bytes.at(place + i))} << (8 * i);
    return number;
}

// The parts of a zip file that stores them as they are, found through its directory. Checks every length and
// checksum.
std::map<std::string, std::string> ReadZip(const std::wstring& path) {
    const std::vector<uint8_t> content = ReadWholeFile(path);
    const std::string bytes(content.begin(), content.end());
    const size_t end = bytes.rfind("PK\x05\x06");
    std::map<std::string, std::string> parts;
    if (end == std::string::npos) {
        ADD_FAILURE() << "no zip file";
        return parts;
    }
    size_t line = NumberAt(bytes, end + 16, 4);
    EXPECT_EQ(line + NumberAt(bytes, end + 12, 4), end);
    for (uint32_t left = NumberAt(bytes, end + 10, 2); left != 0; --left) {
        EXPECT_EQ(bytes.substr(line, 4), "PK\x01\x02");
        const uint32_t size = NumberAt(bytes, line + 24, 4);
        const uint32_t nameBytes = NumberAt(bytes, line + 28, 2);
        const std::string name = bytes.substr(line + 46, nameBytes);
        const size_t head = NumberAt(bytes, line + 42, 4);
        EXPECT_EQ(bytes.substr(head, 4), std::string("PK\x03\x04"));
        EXPECT_EQ(bytes.substr(head + 4, 26), bytes.substr(line + 6, 26)) << "the same facts twice";
        EXPECT_EQ(bytes.substr(head + 30, nameBytes), name);
        parts[name] = bytes.substr(head + 30 + nameBytes, size);
        EXPECT_EQ(Crc32(parts[name]), NumberAt(bytes, line + 16, 4));
        line += 46 + nameBytes;
    }
    EXPECT_EQ(line, end);
    return parts;
}

std::string TextOf(const std::wstring& path) {
    const std::vector<uint8_t> bytes = ReadWholeFile(path);
    return {bytes.begin(), bytes.end()};
}

// The driver's log, as it was when the scope ends.
class DriverLog {
  public:
    explicit DriverLog(const std::string& text) {
        CreateDirectoryW(L"C:\\Windows\\temp", nullptr);
        EXPECT_TRUE(MoveFileExW(kPath, kAside, MOVEFILE_REPLACE_EXISTING) ||
                    GetLastError() == ERROR_FILE_NOT_FOUND);
        WriteWholeFile(kPath, {text.begin(), text.end()});
    }
    ~DriverLog() {
        DeleteFileW(kPath);
        MoveFileW(kAside, kPath);
    }
    DriverLog(const DriverLog&) = delete;
    DriverLog& operator=(const DriverLog&) = delete;

  private:
    static constexpr wchar_t kPath[] = L"C:\\Windows\\temp\\tavix.log";
    static constexpr wchar_t kAside[] = L"C:\\Windows\\temp\\tavix.log.aside";
};

constexpr char kDevice[] = "devices/QRV_VBUS#QRV_VCOM#7&AC/";

TEST(Crc32, IsThatOfZipFiles) {
    EXPECT_EQ(Crc32(""), 0u);
    EXPECT_EQ(Crc32("123456789"), 0xCBF43926u);
}

TEST_F(Tavixctl, TheReportHoldsWhatTheCommandsPrint) {
    const DriverLog log("the driver's own words\n");
    ASSERT_EQ(driver_.WriteUsbErrorLog(UsbdId(), L"It failed to start."), ERROR_SUCCESS);
    const ScratchFolder folder(L"tavixctl");
    const std::wstring file = folder.File(L"report.ZIP");
    const json report = RunJson(L"report \"" + file + L"\"");
    const std::map<std::string, std::string> parts = ReadZip(file);
    const auto part = [&](const std::string& name) {
        return parts.count(name) != 0 ? parts.at(name) : "no part " + name;
    };
    for (const wchar_t* command : {L"list", L"ports"}) {
        const std::wstring wide = command;
        const std::string name(wide.begin(), wide.end());
        EXPECT_EQ(part(name + ".txt"), RunText(wide));
        EXPECT_EQ(json::parse(part(name + ".json"), nullptr, false), RunJson(wide));
    }
    EXPECT_EQ(part("bus.txt"), RunText(L"bus status"));
    EXPECT_EQ(part("globals.txt"), RunText(L"globals get"));
    EXPECT_EQ(part("log.txt"), RunText(L"log status"));
    EXPECT_EQ(part("tavix.log"), "the driver's own words\n");
    EXPECT_EQ(part(kDevice + std::string("show.txt")), RunText(L"show COM5"));
    EXPECT_EQ(part(kDevice + std::string("stats.txt")), RunText(L"stats COM5"));
    EXPECT_EQ(part(kDevice + std::string("errors.txt")), RunText(L"errors COM5"));
    EXPECT_EQ(part(kDevice + std::string("error-log.txt")), RunText(L"errors COM5 --past"));
    for (const auto& [name, text] : parts)
        if (name.ends_with(".json")) {
            EXPECT_EQ(CheckJson(Schema(), json::parse(text, nullptr, false)), "") << name;
        }
    EXPECT_EQ(json::parse(part("report.json"), nullptr, false), report);
    EXPECT_EQ(WriteRequests(), std::vector<uint32_t>{});
}

TEST_F(Tavixctl, TheReportMayBeAFolder) {
    const ScratchFolder scratch(L"tavixctl");
    const std::wstring folder = scratch.File(L"report");
    for (int run = 0; run < 2; ++run) {
        RunText(L"report \"" + folder + L"\"");
        EXPECT_EQ(TextOf(folder + L"\\globals.txt"), RunText(L"globals get"));
        EXPECT_EQ(TextOf(folder + L"\\devices\\QRV_VBUS#QRV_VCOM#7&AC\\show.txt"), RunText(L"show COM5"));
    }
}

TEST_F(Tavixctl, TheReportNamesWhatItCouldNotRead) {
    RemoveBus();
    const ScratchFolder folder(L"tavixctl");
    const std::wstring file = folder.File(L"report.zip");
    const json report = RunJson(L"report \"" + file + L"\"");
    std::map<std::string, json> errors;
    for (const json& part : report["parts"])
        errors[part["name"]] = part["error"];
    EXPECT_EQ(errors["bus"], nullptr);
    EXPECT_EQ(errors["list"], nullptr);
    EXPECT_EQ(errors["globals"], "reading the global settings failed. UfAppErr=7(UfAppErr_VbusNotReady)");
    EXPECT_EQ(errors["log"], "opening the TAVIX Vbus failed. WinErr=21(ERROR_NOT_READY)");
    const std::string text = RunText(L"report \"" + file + L"\"");
    EXPECT_NE(text.find("\nwithout globals: reading the global settings failed."), std::string::npos) << text;
    EXPECT_EQ(ReadZip(file).count("globals.txt"), 0u);
}

TEST_F(Tavixctl, AReportThatCannotBeWrittenFails) {
    const ScratchFolder folder(L"tavixctl");
    for (const wchar_t* name : {L"missing\\report.zip", L"missing\\report"}) {
        const RunResult result = RunCtl(L"report \"" + folder.File(name) + L"\"");
        EXPECT_EQ(result.exitCode, kRequestFailed);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors.find("tavixctl: creating "), 0u) << result.errors;
        EXPECT_NE(result.errors.find(" failed. WinErr=3("), std::string::npos) << result.errors;
    }
}

TEST_F(Tavixctl, TheCompletionKnowsEveryCommand) {
    const std::string script = RunText(L"completion powershell");
    EXPECT_EQ(RunJson(L"completion powershell")["script"], script);
    EXPECT_NE(script.find("Register-ArgumentCompleter -Native"), std::string::npos);
    for (const char* line : {"        'set-port' = @('--help', '--force')\n",
                             "        'log on' = @('--help', '--level', '--fresh')\n",
                             "        'globals' = @('get', 'set', 'export', 'default', '--help')\n"})
        EXPECT_NE(script.find(line), std::string::npos) << line << script;
    EXPECT_NE(script.find("    $takesDevice = @('show', 'set-port', 'set-lifemode', 'forget', 'stats', "
                          "'errors', 'tweak', 'self-test')\n"),
              std::string::npos)
        << script;
}

}  // namespace
