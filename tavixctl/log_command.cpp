// log: the driver's logging into a file.
#include "driver/driver_info.h"
#include "driver/vbus.h"
#include "tavixctl/commands.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"

namespace {

constexpr int32_t kTextChars = 1000;

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

void ShowLog(const Output& output, const LogCfg_st& log) {
    wchar_t statistics[kLogStatisticsChars];
    FormatLogStatistics(log, statistics);
    const Json json = {{"enabled", log.fileLogging != 0},      {"level", log.levels[0]},
                       {"bufferBytes", log.logbufSize},        {"bufferPeakBytes", log.watermarkMaxReached},
                       {"bytesAppended", log.bytesAppend},     {"appends", log.countAppends},
                       {"fileOperations", log.countFilesysop}, {"bytesOverrun", log.bytesOverrun},
                       {"overruns", log.countOverrun}};
    const std::string head = log.fileLogging != 0 ? "Logging is on, level " + std::to_string(log.levels[0])
                                                  : std::string("Logging is off");
    output.Show("log", json, head + ".\n\n" + Utf8(statistics));
}

}  // namespace

void AddLogCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("log", "The driver's logging into a file");
    command->require_subcommand(1);
    command->add_subcommand("status", "Show whether the driver logs, and how much")->callback([&output] {
        const FileHandle vbus = RequireVbus();
        ShowLog(output, ReadLogCfg(vbus.get()));
    });
}
