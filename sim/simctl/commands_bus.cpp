// Commands about the bus as a whole: its records, its port table, its manners at opening.
#include <memory>

#include "sim/simctl/commands.h"
#include "sim/simctl/console.h"

namespace {

constexpr int32_t kStatusAccessDenied = static_cast<int32_t>(0xC0000022);

DWORD ShowStatus(SimulatedDriver& driver) {
    SimInfo_st info = {};
    const DWORD error = driver.QueryInfo(info);
    if (error != ERROR_SUCCESS) return error;
    Print("bus %s, %u devices, %u requests waiting, %u faults\n", info.busStarted != 0 ? "running" : "absent",
          info.deviceCount, info.heldRequests, info.activeFaults);
    Print("%llu requests so far, %llu forgotten, %u remove notices, %u refused crashes\n",
          static_cast<unsigned long long>(info.nextSequence - 1),
          static_cast<unsigned long long>(info.droppedRequests), info.removeRequests, info.bsodRequests);
    return ERROR_SUCCESS;
}

DWORD ShowLog(SimulatedDriver& driver) {
    LogCfg_st cfg = {};
    const DWORD error = driver.QueryLogCfg(cfg);
    if (error == ERROR_SUCCESS)
        Print("file logging %u, level %d, buffer %d, watermark %u, appended %lld bytes in %lld\n",
              cfg.fileLogging, cfg.levels[0], cfg.logbufSize, cfg.watermarkMaxReached,
              static_cast<long long>(cfg.bytesAppend), static_cast<long long>(cfg.countAppends));
    return error;
}

void AddLog(CLI::App& app, Session& session) {
    CLI::App* command =
        app.add_subcommand("log", "Show the log control of the driver, or set it by a level (0: off)");
    auto level = std::make_shared<int32_t>(-1);
    command->add_option("--level", *level);
    OnDriver(command, session, [level](SimulatedDriver& driver) -> DWORD {
        if (*level >= 0) {
            LogCfg_st cfg = {};
            DWORD error = driver.QueryLogCfg(cfg);
            cfg.fileLogging = *level > 0 ? 1 : 0;
            for (int32_t& each : cfg.levels)
                each = *level;
            if (error == ERROR_SUCCESS) error = driver.SetLogCfg(cfg);
            if (error != ERROR_SUCCESS) return error;
        }
        return ShowLog(driver);
    });
}

void AddPorts(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("ports", "Declare the state of a port name");
    auto port = std::make_shared<uint32_t>(0);
    auto state = std::make_shared<std::string>();
    command->add_option("PORT", *port, "1 to 128")->required();
    command
        ->add_option("STATE", *state,
                     "0 free, 1 other provider, 2 unplugged, 3 present, any number, or \"computed\"")
        ->required();
    OnDriver(command, session, [port, state](SimulatedDriver& driver) {
        const bool isComputed = *state == "computed";
        const auto number = static_cast<uint32_t>(std::strtoul(state->c_str(), nullptr, 0));
        return driver.SetPortState(*port, isComputed ? kSimPortComputed : number);
    });
}

void AddVersion(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("version", "Set the driver's version");
    auto numbers = std::make_shared<std::array<uint32_t, 3>>();
    auto isDebug = std::make_shared<bool>(false);
    command->add_option("MAJOR", (*numbers)[0])->required();
    command->add_option("MINOR", (*numbers)[1])->required();
    command->add_option("BUILD", (*numbers)[2])->required();
    command->add_flag("--debug", *isDebug);
    OnDriver(command, session, [numbers, isDebug](SimulatedDriver& driver) {
        DriverVersion_st version = {};
        version.major = (*numbers)[0];
        version.minor = (*numbers)[1];
        version.build = (*numbers)[2];
        version.debugBuild = *isDebug ? 1 : 0;
        return driver.SetVersion(version);
    });
}

void AddSwitch(CLI::App& app, Session& session, const char* name, const char* description,
               SimAccess_st whenOn) {
    CLI::App* command = app.add_subcommand(name, description);
    auto state = std::make_shared<std::string>();
    command->add_option("STATE", *state)->required()->check(CLI::IsMember({"on", "off"}));
    OnDriver(command, session, [state, whenOn](SimulatedDriver& driver) {
        return driver.SetAccess(*state == "on" ? whenOn : SimAccess_st{});
    });
}

void AddPresence(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("presence", "Tell the platform shim about a device node");
    auto id = std::make_shared<std::string>();
    auto isAbsent = std::make_shared<bool>(false);
    auto problem = std::make_shared<uint32_t>(0);
    command->add_option("ID", *id)->required();
    command->add_flag("--absent", *isAbsent);
    command->add_option("--problem", *problem, "CM_PROB code")->capture_default_str();
    OnDriver(command, session, [id, isAbsent, problem](SimulatedDriver& driver) {
        return driver.SetPresence(Wide(*id), !*isAbsent, *problem);
    });
}

void AddDosLink(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand(
        "dos-link", "Make a DOS device name that leads anywhere; without a target remove it");
    auto name = std::make_shared<std::string>();
    auto target = std::make_shared<std::string>();
    command->add_option("NAME", *name)->required();
    command->add_option("TARGET", *target);
    OnDriver(command, session, [name, target](SimulatedDriver& driver) {
        return driver.SetDosLink(Wide(*name), Wide(*target));
    });
}

}  // namespace

void AddBusCommands(CLI::App& app, Session& session) {
    OnDriver(app.add_subcommand("status", "Show what the driver is doing"), session, ShowStatus);
    OnDriver(app.add_subcommand("reset", "Everything back to the state after loading"), session,
             [](SimulatedDriver& driver) { return driver.Reset(); });
    AddLog(app, session);
    AddPorts(app, session);
    AddVersion(app, session);
    AddSwitch(app, session, "refuse-write", "Refuse openings of the bus for writing (on) or nothing (off)",
              {.refuseWrite = 1});
    AddSwitch(app, session, "refuse-open",
              "Refuse every opening of the bus with access denied (on) or nothing (off)",
              {.openStatus = kStatusAccessDenied});
    AddSwitch(app, session, "bus-absent", "Let the bus's device interface disappear (on) or come back (off)",
              {.busAbsent = 1});
    AddPresence(app, session);
    AddDosLink(app, session);
    CLI::App* irp =
        app.add_subcommand("irp-text", "Set the text of \"Examine IRP states\"; empty: made from the model");
    auto text = std::make_shared<std::string>();
    irp->add_option("TEXT", *text)->required();
    OnDriver(irp, session, [text](SimulatedDriver& driver) { return driver.SetIrpText(Wide(*text)); });
}
