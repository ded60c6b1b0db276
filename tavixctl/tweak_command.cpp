// tweak: the four repairs of the USB tweak dialog.
#include <memory>

#include "driver/vbus.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tavixctl/words.h"

namespace {

// Each word stands for a request.
constexpr Word kTweaks[] = {{IOCTL_TAVIX_UsbTweak0, "reset-out-pipe"},
                            {IOCTL_TAVIX_UsbTweak1, "reset-in-pipe"},
                            {IOCTL_TAVIX_UsbTweak2, "reset-port"},
                            {IOCTL_TAVIX_UsbTweak3, "cycle-port"}};

struct TweakArguments {
    std::string device;
    std::string action;
};

uint32_t ParseAction(const std::string& action) {
    for (const Word& tweak : kTweaks)
        if (action == tweak.word) return tweak.number;
    throw Failure(ExitCode::kUsage, "\"" + action + "\" is no action: " + AllWords(kTweaks));
}

void Tweak(const Output& output, const TweakArguments& arguments) {
    const uint32_t request = ParseAction(arguments.action);
    Devices devices;
    Device& device = devices.Find(arguments.device);
    DeviceName_st name;
    if (!GetDeviceName(device.node().set, &device.node().element, name))
        throw Failure(ExitCode::kNoSuchDevice, "the device has no name for the driver");
    DWORD error = ERROR_SUCCESS;
    const FileHandle vbus = OpenVbus(&error);
    RequireSuccess(error, "opening the TAVIX Vbus");
    error = VbusIoctl(vbus.get(), request, &name, sizeof(name), nullptr, 0);
    if (error == ERROR_FILE_NOT_FOUND)
        throw Failure(ExitCode::kRequestFailed, "the USB device is disconnected");
    RequireSuccess(error, arguments.action);
    output.Show({"tweak",
                 {{"device", ToJson(device)}, {"action", arguments.action}},
                 arguments.action + " succeeded\n"});
}

}  // namespace

void AddTweakCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("tweak", "Reset a pipe of a USB device, or its USB port");
    auto arguments = std::make_shared<TweakArguments>();
    command->add_option("DEVICE", arguments->device)->required();
    command->add_option("ACTION", arguments->action, AllWords(kTweaks))->required();
    command->footer("Example:\n  tavixctl tweak COM7 reset-in-pipe");
    command->callback([&output, arguments] { Tweak(output, *arguments); });
}
