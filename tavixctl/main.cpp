// tavixctl: what the property pages show and change, from a shell.
#include <string>
#include <vector>

#include "base/windows_api.h"
#include "tavixctl/commands.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"

namespace {

constexpr char kDescription[] =
    "Shows and changes what the TAVIX driver does with USB devices and their COM ports.\n"
    "\n"
    "A DEVICE is a port (COM7), a Huid (1&2), or the instance ID of a VCOM or USB\n"
    "device, whole or without its first part (VID_1234&PID_5678\\SN01).";

constexpr char kFooter[] =
    "Examples:\n"
    "  tavixctl list\n"
    "  tavixctl show COM7\n"
    "  tavixctl ports --taken\n"
    "  tavixctl stats COM7 --follow --json\n"
    "\n"
    "Exit codes: 0 success, 1 the request failed, 2 wrong usage, 3 no such device,\n"
    "4 refused because of a conflict, 5 access denied, 6 the driver is not ready.";

std::vector<std::string> Utf8Arguments(int count, wchar_t** arguments) {
    std::vector<std::string> utf8;
    // The parser takes them from the back.
    for (int i = count - 1; i > 0; --i)
        utf8.push_back(Utf8(arguments[i]));
    return utf8;
}

// Help is asked for and goes to the output; everything else is wrong usage.
int EndOfParsing(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream output;
    std::ostringstream message;
    const int code = app.exit(error, output, message);
    WriteOutput(output.str());
    WriteError(message.str());
    return code == 0 ? 0 : static_cast<int>(ExitCode::kUsage);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    CLI::App app(kDescription, "tavixctl");
    Output output;
    app.footer(kFooter);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_flag("--json", output.isJson, "print JSON; its keys are described in tavixctl.schema.json");
    AddDeviceCommands(app, output);
    AddPortCommands(app, output);
    AddStatsCommand(app, output);
    AddErrorsCommand(app, output);
    AddLogCommand(app, output);
    AddBusCommand(app, output);
    AddGlobalsCommand(app, output);
    try {
        app.parse(Utf8Arguments(count, arguments));
    } catch (const CLI::ParseError& error) {
        return EndOfParsing(app, error);
    } catch (const Failure& failure) {
        WriteError(std::string("tavixctl: ") + failure.what() + "\n");
        return static_cast<int>(failure.code());
    }
    return 0;
}
