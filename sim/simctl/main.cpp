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
    "Three devices, one of which goes offline in the middle of a request:\n"
    "  simctl install-package --from DIR\n"
    "  simctl plug --serial A\n"
    "  simctl plug --serial B\n"
    "  simctl plug --serial C\n"
    "  simctl list\n"
    "  simctl fail GetUsbdInfo --hold\n"
    "  simctl requests --follow            (in a second window)\n"
    "  ... let the product ask for the information of a device: it waits ...\n"
    "  simctl offline \"VID_1234&PID_5678\\B\"\n"
    "  simctl release\n"
    "  simctl reset";

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
    return 1;
}
