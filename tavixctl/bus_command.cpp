// bus: the virtual bus and its driver.
#include "driver/driver_info.h"
#include "driver/error_names.h"
#include "driver/vbus.h"
#include "driver/vbus_install.h"
#include "tavixctl/answers.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"

namespace {

struct BusStatus {
    DWORD openError = ERROR_SUCCESS;  // 0: the driver is ready
    bool isReadOnly = false;
    std::wstring version;  // empty when the driver does not tell it
};

BusStatus ReadBusStatus() {
    BusStatus status;
    const FileHandle vbus = OpenVbus(&status.openError);
    if (!vbus) return status;
    status.isReadOnly = IsVbusReadOnly();
    wchar_t version[kDriverVersionTextChars];
    if (GetDriverVersionText(nullptr, version)) status.version = version;
    return status;
}

std::string ErrorText(DWORD error) {
    return "WinErr=" + std::to_string(error) + "(" + Utf8(WinErrName(error)) + ")";
}

}  // namespace

Answer AnswerBus() {
    Devices devices;
    const BusStatus status = ReadBusStatus();
    Json json = {{"ready", status.openError == ERROR_SUCCESS},
                 {"openError", status.openError},
                 {"readOnly", status.isReadOnly},
                 {"version", status.version.empty() ? Json(nullptr) : Json(Utf8(status.version))},
                 {"nodes", Json::array()}};
    std::string text =
        status.openError == ERROR_SUCCESS
            ? "The driver is ready" + std::string(status.isReadOnly ? ", for reading only" : "")
            : "The driver is not ready: " + ErrorText(status.openError);
    text += ".\n";
    if (!status.version.empty()) text += "Version: " + Utf8(status.version) + "\n";
    if (devices.buses().empty()) text += "There is no bus device.\n";
    for (const Node& bus : devices.buses()) {
        json["nodes"].push_back(ToJson(&bus));
        text += "Bus: " + Utf8(bus.instanceId) + ", " + StateText(&bus) + "\n";
    }
    return {"bus", json, text};
}

namespace {

void CreateBus(const Output& output) {
    SetLastError(ERROR_SUCCESS);
    if (!EnsureVbusDevice(nullptr)) {
        const DWORD error = GetLastError();
        RequireSuccess(error != ERROR_SUCCESS ? error : DWORD{ERROR_GEN_FAILURE}, "creating the bus");
    }
    output.Show(AnswerBus());
}

}  // namespace

void AddBusCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("bus", "The virtual bus device and its driver");
    command->footer("Examples:\n  tavixctl bus status\n  tavixctl bus create");
    command->require_subcommand(1);
    command->add_subcommand("status", "Show whether the driver is ready")->callback([&output] {
        output.Show(AnswerBus());
    });
    command->add_subcommand("create", "Create and install the bus device when there is none")
        ->callback([&output] { CreateBus(output); });
}
