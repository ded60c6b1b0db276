// Commands that make and remove device nodes through the device installer.
#include <cstdlib>
#include <memory>

#include "sim/client/plugging.h"
#include "sim/simctl/commands.h"
#include "sim/simctl/console.h"

namespace {

struct PlugArguments {
    std::string vid = "1234";
    std::string pid = "5678";
    std::string bcd = "0102";
    std::string serial = "SN01";
    std::string manufacturer = "Holmark";
    std::string product = "Scanner";
    std::string huid;
    uint32_t speed = kUsbHighSpeed;
    uint32_t port = 0;
    int lifemode = -1;
    bool withoutVcom = false;
    bool withoutNode = false;
};

uint16_t FromHex(const std::string& text) {
    return static_cast<uint16_t>(std::strtoul(text.c_str(), nullptr, 16));
}

UsbIdentity IdentityOf(const PlugArguments& arguments) {
    UsbIdentity identity;
    identity.vendorId = FromHex(arguments.vid);
    identity.productId = FromHex(arguments.pid);
    identity.bcdDevice = FromHex(arguments.bcd);
    identity.speed = static_cast<UsbSpeed>(arguments.speed);
    identity.serial = Wide(arguments.serial);
    identity.manufacturer = Wide(arguments.manufacturer);
    identity.product = Wide(arguments.product);
    return identity;
}

DWORD Plug(const PlugArguments& arguments) {
    const UsbIdentity identity = IdentityOf(arguments);
    PlugOptions options;
    options.huid = Wide(arguments.huid);
    options.portNumber = arguments.port;
    if (arguments.lifemode >= 0) options.lifemode = static_cast<uint32_t>(arguments.lifemode);
    options.withoutVcom = arguments.withoutVcom;
    SimulatedDriver driver;
    DWORD error;
    if (arguments.withoutNode) {
        error = driver.Connect();
        if (error == ERROR_SUCCESS) error = driver.Plug(identity, options);
    } else {
        error = PlugUsbDevice(identity, options);
    }
    if (error == ERROR_SUCCESS && driver.Connect() == ERROR_SUCCESS) {
        const auto device = driver.FindDevice(identity.InstanceId());
        if (device)
            Print("plugged %s, Huid %s, %s\n", Narrow(device->instanceId).c_str(),
                  Narrow(device->huid).c_str(),
                  device->vcomInstanceId[0] != 0 ? Narrow(device->portName).c_str() : "no VCOM");
    }
    return error;
}

void AddPlug(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand(
        "plug",
        "Plug a USB device: makes and installs its device node when it has none, then tells the driver");
    auto arguments = std::make_shared<PlugArguments>();
    command->add_option("--vid", arguments->vid, "vendor ID, hexadecimal")->capture_default_str();
    command->add_option("--pid", arguments->pid, "product ID, hexadecimal")->capture_default_str();
    command->add_option("--bcd", arguments->bcd, "bcdDevice, hexadecimal")->capture_default_str();
    command->add_option("--serial", arguments->serial, "serial number")->capture_default_str();
    command->add_option("--manufacturer", arguments->manufacturer)->capture_default_str();
    command->add_option("--product", arguments->product)->capture_default_str();
    command->add_option("--speed", arguments->speed, "1 full, 2 high, 3 super")->capture_default_str();
    command->add_option("--huid", arguments->huid, "default: the driver makes one");
    command->add_option("--port", arguments->port,
                        "number of the COM port; default: the first free one from 5 on");
    command->add_option("--lifemode", arguments->lifemode,
                        "0 temporal, 1 friendly, 2 persistent; default: the global one");
    command->add_flag("--without-vcom", arguments->withoutVcom,
                      "the driver does not map the device to a VCOM");
    command->add_flag("--without-node", arguments->withoutNode, "tell the driver only");
    command->callback([arguments, &session] { session.error = Plug(*arguments); });
}

// The build puts simctl.exe into sim/simctl and the package into sim/package/files.
std::wstring PackageOfThisBuild() {
    wchar_t path[MAX_PATH];
    const std::wstring program(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
    return program.substr(0, program.rfind(L'\\')) + L"\\..\\package\\files";
}

template <typename Function>
void AddOnText(CLI::App& app, Session& session, const char* name, const char* description,
               const char* argument, Function run) {
    CLI::App* command = app.add_subcommand(name, description);
    auto text = std::make_shared<std::string>();
    command->add_option(argument, *text)->required();
    command->callback([text, run, &session] { session.error = run(Wide(*text)); });
}

}  // namespace

void AddNodeCommands(CLI::App& app, Session& session) {
    CLI::App* package =
        app.add_subcommand("install-package", "Copy the driver package to where the installer searches");
    auto folder = std::make_shared<std::string>();
    package->add_option("--from", *folder, "folder of the package; default: the one of the same build");
    package->callback([folder, &session] {
        session.error = InstallPackage(folder->empty() ? PackageOfThisBuild() : Wide(*folder));
    });
    app.add_subcommand("install-bus", "Make the bus node without the coinstaller's help")
        ->callback([&session] { session.error = InstallVbus(); });
    AddPlug(app, session);
    AddOnText(app, session, "unplug", "Unplug a USB device; its node stays, not present", "ID",
              UnplugUsbDevice);
    AddOnText(app, session, "remove-node", "Remove a device node; the coinstaller is told", "ID", RemoveNode);
    AddOnText(app, session, "remove-vcom", "Remove the node of a VCOM; the coinstaller is told", "HUID",
              RemoveVcom);
    app.add_subcommand("remove-vbus", "Remove the bus node; the coinstaller is told")->callback([&session] {
        session.error = RemoveVbus();
    });
}
