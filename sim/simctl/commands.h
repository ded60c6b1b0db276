// The command line, group by group. A command runs while the line is parsed and leaves its Windows error code
// in the session.
#pragma once

#include <functional>

#include <CLI/CLI.hpp>

#include "sim/client/simulated_driver.h"

// What the commands of one call share.
struct Session {
    SimulatedDriver driver;
    DWORD error = ERROR_SUCCESS;
    bool isDriverMissing = false;
};

// Runs a command that needs the driver; without one the session gets the error of connecting.
using DriverCommand = std::function<DWORD(SimulatedDriver& driver)>;
inline void OnDriver(CLI::App* command, Session& session, DriverCommand run) {
    command->callback([&session, run = std::move(run)] {
        session.error = session.driver.Connect();
        session.isDriverMissing = session.error == ERROR_FILE_NOT_FOUND;
        if (session.error == ERROR_SUCCESS) session.error = run(session.driver);
    });
}

void AddNodeCommands(CLI::App& app, Session& session);
void AddDeviceCommands(CLI::App& app, Session& session);
void AddBusCommands(CLI::App& app, Session& session);
void AddRequestCommands(CLI::App& app, Session& session);
