// log: the driver's logging into a file.
#include <memory>

#include "driver/driver_info.h"
#include "driver/vbus.h"
#include "tavixctl/answers.h"
#include "tavixctl/commands.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tools/file_logging.h"

namespace {

FileHandle RequireVbus() {
    DWORD error = ERROR_SUCCESS;
    FileHandle vbus = OpenVbus(&error);
    RequireSuccess(error, "opening the TAVIX Vbus");
    return vbus;
}

LogCfg_st ReadLogCfg(HANDLE vbus) {
    LogCfg_st log = {};
    RequireSuccess(VbusQuery(vbus, IOCTL_TAVIX_GetLogCfg, nullptr, 0, log), "IOCTL_TAVIX_GetLogCfg");
    return log;
}

struct LogArguments {
    int32_t level = ChosenLoggingLevel(true, {});
    bool isFresh = false;
};

void SwitchLog(const Output& output, int32_t level, bool isFresh) {
    const FileHandle vbus = RequireVbus();
    RequireSuccess(ChangeFileLogging(vbus.get(), level, isFresh), "IOCTL_TAVIX_SetLogCfg");
    output.Show(AnswerLog());
}

void AddOn(CLI::App& log, const Output& output) {
    CLI::App* on = log.add_subcommand("on", "Let the driver log into C:\\Windows\\temp\\tavix.log");
    auto arguments = std::make_shared<LogArguments>();
    on->add_option("--level", arguments->level, "1 to 4, the more the higher")
        ->check(CLI::Range(1, ChosenLoggingLevel(true, {.shift = true, .ctrl = true})))
        ->capture_default_str();
    on->add_flag("--fresh", arguments->isFresh, "clear what was logged before");
    on->footer("Examples:\n  tavixctl log on\n  tavixctl log on --level 4 --fresh");
    on->callback([&output, arguments] { SwitchLog(output, arguments->level, arguments->isFresh); });
}

}  // namespace

Answer AnswerLog() {
    const FileHandle vbus = RequireVbus();
    const LogCfg_st log = ReadLogCfg(vbus.get());
    wchar_t statistics[kLogStatisticsChars];
    FormatLogStatistics(log, statistics);
    const Json json = {{"enabled", log.fileLogging != 0},      {"level", log.levels[0]},
                       {"bufferBytes", log.logbufSize},        {"bufferPeakBytes", log.watermarkMaxReached},
                       {"bytesAppended", log.bytesAppend},     {"appends", log.countAppends},
                       {"fileOperations", log.countFilesysop}, {"bytesOverrun", log.bytesOverrun},
                       {"overruns", log.countOverrun}};
    const std::string head = log.fileLogging != 0 ? "Logging is on, level " + std::to_string(log.levels[0])
                                                  : std::string("Logging is off");
    return {"log", json, head + ".\n\n" + Utf8(statistics)};
}

void AddLogCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("log", "The driver's logging into a file");
    command->require_subcommand(1);
    command->add_subcommand("status", "Show whether the driver logs, and how much")->callback([&output] {
        output.Show(AnswerLog());
    });
    AddOn(*command, output);
    command->add_subcommand("off", "Let the driver log no more")->callback([&output] {
        SwitchLog(output, 0, false);
    });
}
