// The commands, group by group. A command runs when the whole line has been parsed; what goes wrong is thrown
// as a Failure.
#pragma once

#include <CLI/CLI.hpp>

#include "tavixctl/output.h"

void AddDeviceCommands(CLI::App& app, const Output& output);  // list, show
void AddPortCommands(CLI::App& app, const Output& output);    // ports
void AddVcomCommands(CLI::App& app, const Output& output);    // set-port, set-lifemode
void AddForgetCommand(CLI::App& app, const Output& output);   // forget
void AddStatsCommand(CLI::App& app, const Output& output);    // stats
void AddTweakCommand(CLI::App& app, const Output& output);    // tweak
void AddErrorsCommand(CLI::App& app, const Output& output);   // errors
void AddLogCommand(CLI::App& app, const Output& output);      // log
void AddBusCommand(CLI::App& app, const Output& output);      // bus
void AddGlobalsCommand(CLI::App& app, const Output& output);  // globals
void AddSelfTestCommand(CLI::App& app, const Output& output);
void AddReportCommand(CLI::App& app, const Output& output);
// Added last: it completes the commands that are there.
void AddCompletionCommand(CLI::App& app, const Output& output);
