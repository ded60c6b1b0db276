#include "tavixctl/command_line.h"

#include <algorithm>

#include "tavixctl/commands.h"
#include "tavixctl/exit_code.h"

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
    "  tavixctl set-port COM5 COM7\n"
    "  tavixctl forget --all-unplugged --dry-run\n"
    "  tavixctl stats COM7 --follow --json\n"
    "  tavixctl report tavix-report.zip\n"
    "\n"
    "Exit codes: 0 success, 1 the request failed, 2 wrong usage, 3 no such device,\n"
    "4 refused because of a conflict, 5 access denied, 6 the driver is not ready.";

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

int RunCommandLine(std::vector<std::string> arguments) {
    CLI::App app(kDescription, "tavixctl");
    Output output;
    app.footer(kFooter);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_flag("--json", output.isJson, "print JSON; its keys are described in tavixctl.schema.json");
    AddDeviceCommands(app, output);
    AddPortCommands(app, output);
    AddVcomCommands(app, output);
    AddForgetCommand(app, output);
    AddStatsCommand(app, output);
    AddErrorsCommand(app, output);
    AddTweakCommand(app, output);
    AddLogCommand(app, output);
    AddBusCommand(app, output);
    AddGlobalsCommand(app, output);
    AddSelfTestCommand(app, output);
    AddReportCommand(app, output);
    AddCompletionCommand(app, output);
    try {
        // The parser takes them from the back.
        std::reverse(arguments.begin(), arguments.end());
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return EndOfParsing(app, error);
    } catch (const Failure& failure) {
        WriteError(std::string("tavixctl: ") + failure.what() + "\n");
        return static_cast<int>(failure.code());
    }
    return 0;
}
