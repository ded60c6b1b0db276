// forget: takes the ports of unplugged devices out of the system, as "Uninstall" of Device Manager does.
#include <memory>

#include "driver/coinstaller_entry.h"
#include "driver/vbus.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"

namespace {

struct ForgetArguments {
    std::string device;
    bool isAll = false;
    bool isDryRun = false;
};

// Whichever of its two nodes is there: a port that is taken away under a device would come back as another.
bool IsThere(const Device& device) {
    return device.vcom->present || device.IsPresent();
}

std::vector<Device*> Choose(Devices& devices, const ForgetArguments& arguments) {
    std::vector<Device*> chosen;
    if (!arguments.isAll) {
        Device& device = devices.FindVcom(arguments.device);
        if (IsThere(device))
            throw Failure(ExitCode::kConflict,
                          "\"" + arguments.device + "\" is present; only unplugged ones can be forgotten");
        chosen.push_back(&device);
        return chosen;
    }
    for (Device& device : devices.all())
        if (device.vcom != nullptr && !IsThere(device)) chosen.push_back(&device);
    return chosen;
}

// A coinstaller reports the removal to the driver; without one it is reported here. Whatever the driver
// says, removal goes on.
void Remove(Node& vcom) {
    if (!HasCoinstaller(vcom.set, &vcom.element))
        DoDeviceIoctl(vcom.set, &vcom.element, IOCTL_TAVIX_RemoveDevice, nullptr, 0);
    const DWORD error =
        SetupDiCallClassInstaller(DIF_REMOVE, vcom.set, &vcom.element) ? ERROR_SUCCESS : GetLastError();
    RequireSuccess(error, "removing " + Utf8(vcom.instanceId));
}

Json ToForgotten(const Device& device) {
    return {{"port", device.portName.empty() ? Json(nullptr) : Json(Utf8(device.portName))},
            {"huid", Utf8(device.vcom->huid)},
            {"instanceId", Utf8(device.vcom->instanceId)},
            {"name", Utf8(device.vcom->name)}};
}

// One that cannot be removed does not keep the others; the first failure ends the command.
void Forget(const Output& output, const ForgetArguments& arguments) {
    Devices devices;
    Json json = {{"dryRun", arguments.isDryRun}, {"ports", Json::array()}};
    Table table({"PORT", "HUID", "NAME"});
    std::optional<Failure> failure;
    for (Device* device : Choose(devices, arguments)) {
        try {
            if (!arguments.isDryRun) Remove(*device->vcom);
        } catch (const Failure& caught) {
            if (!failure) failure = caught;
            continue;
        }
        json["ports"].push_back(ToForgotten(*device));
        table.Add({device->portName.empty() ? "-" : Utf8(device->portName), Utf8(device->vcom->huid),
                   Utf8(device->vcom->name)});
    }
    const char* head = arguments.isDryRun ? "Would be forgotten:\n" : "Forgotten:\n";
    output.Show({"forget", json, json["ports"].empty() ? "nothing to forget\n" : head + table.Text()});
    if (failure) throw *failure;
}

}  // namespace

void AddForgetCommand(CLI::App& app, const Output& output) {
    CLI::App* command =
        app.add_subcommand("forget", "Remove the port of an unplugged device from the system");
    auto arguments = std::make_shared<ForgetArguments>();
    CLI::Option* device = command->add_option("DEVICE", arguments->device);
    CLI::Option* all = command->add_flag("--all-unplugged", arguments->isAll, "all unplugged ones");
    all->excludes(device);
    command->add_flag("--dry-run", arguments->isDryRun, "only show what would be removed");
    command->footer("Examples:\n  tavixctl forget COM7\n  tavixctl forget --all-unplugged --dry-run");
    command->callback([&output, arguments] {
        if (!arguments->isAll && arguments->device.empty())
            throw Failure(ExitCode::kUsage, "name a DEVICE, or say --all-unplugged");
        Forget(output, *arguments);
    });
}
