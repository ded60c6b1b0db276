// set-port and set-lifemode: what the VCOM page saves.
#include <memory>

#include "base/bounded_text.h"
#include "driver/vcom_config.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tavixctl/words.h"

namespace {

constexpr char kPortStem[] = "COM";

struct VcomArguments {
    std::string device;
    std::string value;
    bool isForced = false;
};

// What the driver has for the VCOM now.
VcomCfgReply_st ReadConfig(Node& vcom) {
    VcomCfgReply_st config = {};
    GlobalCfg_st global = {};
    RequireUfSuccess(tavo_GetVcomCfg(vcom.set, &vcom.element, config, global), "reading the configuration");
    return config;
}

// 1 to 128.
uint32_t ParsePort(const std::string& port) {
    const std::string digits = port.size() > 3 ? port.substr(3) : "";
    const std::optional<uint32_t> number = NumberOf({}, digits);
    if (!BeginsWith(Utf16(port), Utf16(kPortStem)) || !number || *number < 1 || *number > kPortNameCount)
        throw Failure(ExitCode::kUsage, "\"" + port + "\" is none of COM1 to COM128");
    return *number;
}

// The page asks in these cases; here the answer is no.
const char* ConflictText(uint32_t state) {
    switch (state) {
        case kPortOfOtherProvider:
            return "assigned to another provider's device";
        case kPortOfUnpluggedVcom:
            return "assigned to an unplugged device of this driver";
        case kPortOfPresentDevice:
            return "used by another device that is present";
        default:
            return nullptr;
    }
}

void RefuseConflict(const std::string& port, uint32_t state) {
    if (const char* conflict = ConflictText(state))
        throw Failure(ExitCode::kConflict, port + " is " + conflict + "; --force takes it all the same");
}

// Sends nothing when nothing changes, and shows the device as the driver has it then.
void Save(const Output& output, const char* command, Node& vcom, const VcomCfgReply_st& config,
          const std::string& port, uint32_t lifemode) {
    const std::string before = Utf8(BoundedText(config.portName));
    const bool isChanged = port != before || lifemode != config.lifemode;
    if (isChanged)
        RequireUfSuccess(SetVcomPortAndLifemode(vcom.set, &vcom.element, Utf16(port).c_str(), lifemode),
                         "saving");
    Devices devices;
    const Device& device = devices.FindVcom(Utf8(vcom.instanceId));
    const std::string text = Utf8(device.portName) + ", lifemode " +
                             (device.lifemode ? WordOf(kLifemodeWords, *device.lifemode) : "unknown") +
                             (isChanged ? "\n" : " (as before)\n");
    output.Show({command, {{"device", ToJson(device)}, {"changed", isChanged}}, text});
}

void SetPort(const Output& output, const VcomArguments& arguments) {
    const uint32_t number = ParsePort(arguments.value);
    Devices devices;
    Node& vcom = *devices.FindVcom(arguments.device).vcom;
    const VcomCfgReply_st config = ReadConfig(vcom);
    const std::string port = kPortStem + std::to_string(number);
    if (!arguments.isForced) RefuseConflict(port, config.portStates[number - 1]);
    Save(output, "set-port", vcom, config, port, config.lifemode);
}

void SetLifemode(const Output& output, const VcomArguments& arguments) {
    const std::optional<uint32_t> lifemode = NumberOf(kLifemodeWords, arguments.value);
    if (!lifemode || *lifemode > kLifemodePersistent)
        throw Failure(ExitCode::kUsage,
                      "\"" + arguments.value + "\" is no lifemode: " + AllWords(kLifemodeWords));
    Devices devices;
    Node& vcom = *devices.FindVcom(arguments.device).vcom;
    const VcomCfgReply_st config = ReadConfig(vcom);
    Save(output, "set-lifemode", vcom, config, Utf8(BoundedText(config.portName)), *lifemode);
}

}  // namespace

void AddVcomCommands(CLI::App& app, const Output& output) {
    CLI::App* setPort = app.add_subcommand("set-port", "Give a VCOM another port");
    auto port = std::make_shared<VcomArguments>();
    setPort->add_option("DEVICE", port->device)->required();
    setPort->add_option("PORT", port->value, "COM1 to COM128")->required();
    setPort->add_flag("--force", port->isForced, "also a port that another device may claim");
    setPort->footer("Examples:\n  tavixctl set-port COM5 COM7\n  tavixctl set-port 1&2 COM7 --force");
    setPort->callback([&output, port] { SetPort(output, *port); });

    CLI::App* setLifemode = app.add_subcommand("set-lifemode", "Choose how long a VCOM keeps its port");
    auto lifemode = std::make_shared<VcomArguments>();
    setLifemode->add_option("DEVICE", lifemode->device)->required();
    setLifemode->add_option("LIFEMODE", lifemode->value, AllWords(kLifemodeWords))->required();
    setLifemode->footer("Example:\n  tavixctl set-lifemode COM7 persistent");
    setLifemode->callback([&output, lifemode] { SetLifemode(output, *lifemode); });
}
