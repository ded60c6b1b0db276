// The commands, group by group. A command runs when the whole line has been parsed; what goes wrong is thrown
// as a Failure.
#pragma once

#include <CLI/CLI.hpp>

#include "tavixctl/output.h"

void AddDeviceCommands(CLI::App& app, const Output& output);  // list, show
void AddPortCommands(CLI::App& app, const Output& output);    // ports
void AddStatsCommand(CLI::App& app, const Output& output);    // stats
void AddErrorsCommand(CLI::App& app, const Output& output);   // errors
void AddLogCommand(CLI::App& app, const Output& output);      // log
void AddBusCommand(CLI::App& app, const Output& output);      // bus
void AddGlobalsCommand(CLI::App& app, const Output& output);  // globals
