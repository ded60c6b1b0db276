// ports: who holds each of COM1 to COM128.
#include <memory>

#include "driver/vcom_config.h"
#include "tavixctl/answers.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tavixctl/words.h"

namespace {

struct Port {
    std::string name;
    uint32_t state = kPortFree;
    const Device* holder = nullptr;  // one of ours
};

const Device* HolderOf(Devices& devices, const std::string& portName) {
    const std::wstring wide = Utf16(portName);
    const Device* holder = nullptr;
    for (const Device& device : devices.all()) {
        if (!IsSameText(device.portName, wide)) continue;
        if (holder == nullptr || device.node().present) holder = &device;
    }
    return holder;
}

// The driver reports the table as one VCOM sees it; any VCOM will do for the names of the others.
std::vector<Port> ReadPorts(Devices& devices) {
    for (Device& device : devices.all()) {
        if (device.vcom == nullptr) continue;
        VcomCfgReply_st reply = {};
        GlobalCfg_st global = {};
        const UfAppErr result = tavo_GetVcomCfg(device.vcom->set, &device.vcom->element, reply, global);
        if (result == UfAppErr_VbusNotReady) RequireUfSuccess(result, "reading the ports");
        if (result != UfAppErr_Success) continue;
        std::vector<Port> ports;
        for (const uint32_t state : reply.portStates) {
            const std::string name = "COM" + std::to_string(ports.size() + 1);
            ports.push_back({name, state, state == kPortFree ? nullptr : HolderOf(devices, name)});
        }
        return ports;
    }
    throw Failure(ExitCode::kNoSuchDevice, "there is no VCOM that the driver knows ports for");
}

// As a reader means it: the table's "this VCOM" is just one of our devices here.
std::string HolderWord(const Port& port) {
    if (port.holder != nullptr) return port.holder->IsPresent() ? "ours" : "ours-unplugged";
    if (port.state == kPortOfUnpluggedVcom) return "ours-unplugged";
    return WordOf(kPortStateWords, port.state);
}

}  // namespace

Answer AnswerPorts(Devices& devices, bool isTakenOnly) {
    Json json = {{"ports", Json::array()}};
    Table table({"PORT", "HELD BY", "HUID", "DEVICE"});
    for (const Port& port : ReadPorts(devices)) {
        if (isTakenOnly && port.state == kPortFree) continue;
        const std::string huid = port.holder != nullptr ? Utf8(port.holder->huid()) : "";
        const std::string name = port.holder != nullptr ? Utf8(port.holder->node().name) : "";
        json["ports"].push_back({{"port", port.name},
                                 {"state", port.state},
                                 {"heldBy", HolderWord(port)},
                                 {"huid", port.holder != nullptr ? Json(huid) : Json(nullptr)},
                                 {"name", port.holder != nullptr ? Json(name) : Json(nullptr)}});
        table.Add({port.name, HolderWord(port), huid, name});
    }
    return {"ports", json, table.Text()};
}

void AddPortCommands(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("ports", "Show who holds each of COM1 to COM128");
    command->footer(
        "Held by: free; ours, ours-unplugged (\"tavixctl forget\" frees the port); present (another\n"
        "COM port device); other-provider (marked in the system's COM database).\n\n"
        "Examples:\n  tavixctl ports --taken\n  tavixctl ports --json");
    auto isTakenOnly = std::make_shared<bool>(false);
    command->add_flag("--taken", *isTakenOnly, "leave the free ones out");
    command->callback([&output, isTakenOnly] {
        Devices devices;
        output.Show(AnswerPorts(devices, *isTakenOnly));
    });
}
