// simctl: steers the simulated driver from the command line.
#include <cstdio>
#include <string>
#include <vector>

#include "sim/simctl/commands.h"
#include "sim/simctl/console.h"

namespace {

constexpr char kDescription[] =
    "Steers the simulated TAVIX driver.\n"
    "\n"
    "A DEVICE is a Huid (1&2) or an instance ID without its first part\n"
    "(VID_1234&PID_5678\\SN01); where an ID is asked for, the whole instance ID is\n"
    "meant (USB\\VID_1234&PID_5678\\SN01). \"simctl COMMAND --help\" shows the options.\n"
    "\n"
    "The driver lives as long as the session. \"scripts/run --shell\" opens a shell in\n"
    "one; there \"simctl\" below stands for \"wine64 build/release/sim/simctl/simctl.exe\"\n"
    "and \"viewer\" for \"wine64 build/release/sim/viewer/device_viewer.exe\".\n"
    "\n"
    "Three devices, one of which goes offline in the middle of a request:\n"
    "  simctl install-package\n"
    "  simctl plug --serial A\n"
    "  simctl plug --serial B --huid MY_B\n"
    "  simctl plug --serial C\n"
    "  simctl list\n"
    "  simctl requests --follow &          shows what the product sends\n"
    "  simctl fail GetVcomCfg --hold       the next such request waits\n"
    "  viewer --device 'QRV_VBUS\\Qrv_vcom\\MY_B' --screenshot 'Z:\\tmp\\b.png' &\n"
    "                                      the product's page asks, and waits\n"
    "  simctl status                       \"1 requests waiting\"\n"
    "  simctl offline MY_B\n"
    "  simctl release                      the page gets its answer and is drawn\n"
    "  simctl requests --hex               once more, with the bytes\n"
    "  simctl reset                        no devices, no faults";

std::vector<std::string> NarrowArguments(int count, wchar_t** arguments) {
    std::vector<std::string> narrow;
    // The parser takes them from the back.
    for (int i = count - 1; i > 0; --i)
        narrow.push_back(Narrow(arguments[i]));
    return narrow;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    CLI::App app(kDescription, "simctl");
    app.require_subcommand(1);
    Session session;
    AddNodeCommands(app, session);
    AddDeviceCommands(app, session);
    AddBusCommands(app, session);
    AddRequestCommands(app, session);
    try {
        app.parse(NarrowArguments(count, arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    if (session.error == ERROR_SUCCESS) return 0;
    PrintError(session.error);
    if (session.isDriverMissing)
        PrintHint("no driver is loaded in this session: \"install-package\" and \"plug\" load it");
    return 1;
}
