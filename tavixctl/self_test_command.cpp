// self-test: the driver's mapping from each VCOM back to its USB device.
#include <memory>

#include "driver/device_info.h"
#include "driver/vbus.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tools/self_test.h"

namespace {

struct OutcomeRow {
    SelfTestOutcome outcome;
    const char* word;
    bool isGood;
};
constexpr OutcomeRow kOutcomes[] = {{SelfTestOutcome::kNothingToTest, "nothing-to-test", true},
                                    {SelfTestOutcome::kPassed, "passed", true},
                                    {SelfTestOutcome::kOffline, "offline", true},
                                    {SelfTestOutcome::kFakeReport, "fake-report", false},
                                    {SelfTestOutcome::kMismatch, "mismatch", false},
                                    {SelfTestOutcome::kFailed, "failed", false}};

const OutcomeRow& RowOf(SelfTestOutcome outcome) {
    for (const OutcomeRow& row : kOutcomes)
        if (row.outcome == outcome) return row;
    return kOutcomes[0];
}

// The page tests what the driver reports a VCOM for; an unplugged device has nothing to test.
SelfTest TestDevice(Node& vcom, std::wstring& expected) {
    SelfTest test = {};
    UsbdInfo_st info = {};
    const DWORD error = GetUsbdInfo(vcom.set, &vcom.element, info);
    if (error == ERROR_DEVICE_NOT_CONNECTED) return test;
    RequireSuccess(error, "IOCTL_TAVIX_GetUsbdInfo");
    if (info.vcomInstancePath[0] == L'\0') return test;
    expected = info.usbdInstancePath;
    return TestUsbdDevinstPath(info.vcomInstancePath, info.usbdInstancePath);
}

void RequireDriver() {
    DWORD error = ERROR_SUCCESS;
    const FileHandle vbus = OpenVbus(&error);
    RequireSuccess(error, "opening the TAVIX Vbus");
}

void Run(const Output& output, const std::string& name) {
    RequireDriver();
    Devices devices;
    const Device* const only = name.empty() ? nullptr : &devices.FindVcom(name);
    Json json = {{"tests", Json::array()}, {"failed", 0}};
    Table table({"PORT", "HUID", "RESULT", "ANSWER"});
    int failed = 0;
    for (Device& device : devices.all()) {
        if (device.vcom == nullptr || (only != nullptr && only != &device)) continue;
        std::wstring expected;
        const SelfTest test = TestDevice(*device.vcom, expected);
        const OutcomeRow& row = RowOf(test.outcome);
        failed += row.isGood ? 0 : 1;
        json["tests"].push_back({{"port", Utf8(device.portName)},
                                 {"huid", Utf8(device.huid())},
                                 {"result", row.word},
                                 {"expected", Utf8(expected)},
                                 {"answer", Utf8(test.answer)}});
        table.Add({Utf8(device.portName), Utf8(device.huid()), row.word, Utf8(test.answer)});
    }
    json["failed"] = failed;
    output.Show({"self-test", json, table.Text()});
    if (failed != 0) throw Failure(ExitCode::kRequestFailed, std::to_string(failed) + " self tests failed");
}

}  // namespace

void AddSelfTestCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("self-test", "Test the driver's mapping of VCOMs to USB devices");
    auto name = std::make_shared<std::string>();
    command->add_option("DEVICE", *name, "only this one");
    command->footer("Examples:\n  tavixctl self-test\n  tavixctl self-test COM7 --json");
    command->callback([&output, name] { Run(output, *name); });
}
