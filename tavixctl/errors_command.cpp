// errors: the USB error statistics of a device and its log of startup errors.
#include <memory>

#include "driver/error_names.h"
#include "driver/usb_err_stat.h"
#include "state/usberr_log.h"
#include "tavixctl/answers.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tavixctl/words.h"

namespace {

constexpr int32_t kTextChars = 2000;
constexpr Word kStateWords[] = {{kUsbErrNone, "none"},
                                {kUsbErrPastRecovery, "past-recovery"},
                                {kUsbErrRecovered, "recovered"},
                                {kUsbErrRecovering, "recovering"}};

Json ToJson(const RecoverActions_st& actions) {
    return {{"inPipeResets", actions.inPipeResets},
            {"outPipeResets", actions.outPipeResets},
            {"usbPortResets", actions.usbPortResets},
            {"usbPortCycles", actions.usbPortCycles}};
}

// Null for never.
Json TimeToJson(uint64_t fileTime) {
    constexpr uint64_t unitsPerMs = 10'000;
    constexpr int64_t unixEpochMs = 11'644'473'600'000;
    if (fileTime == 0) return nullptr;
    return static_cast<int64_t>(fileTime / unitsPerMs) - unixEpochMs;
}

Json ToJson(const UsbErrStat_st& stat) {
    Json counters = Json::object();
    for (uint32_t bucket = 0; bucket < kUsbErrBucketCount; ++bucket)
        counters[Utf8(UsbErrBucketName(bucket))] = stat.bucketCounts[bucket];
    return {{"state", WordOf(kStateWords, static_cast<uint32_t>(JudgeUsbErrStat(stat)))},
            {"total", SumUsbErrCounters(stat)},
            {"counters", counters},
            {"lastInErrorUnixMs", TimeToJson(stat.lastInErrorTime)},
            {"lastInRecoveredUnixMs", TimeToJson(stat.lastInRecoveredTime)},
            {"lastOutErrorUnixMs", TimeToJson(stat.lastOutErrorTime)},
            {"lastOutRecoveredUnixMs", TimeToJson(stat.lastOutRecoveredTime)},
            {"offlines", stat.offlineCount},
            {"lastOfflineUnixMs", TimeToJson(stat.lastOfflineTime)},
            {"recoverActions", ToJson(stat.sinceOnline)},
            {"recoverActionsInTotal", ToJson(stat.totals)}};
}

std::string WithLfLineEnds(std::string text) {
    std::erase(text, '\r');
    return text;
}

struct ErrorsArguments {
    std::string device;
    bool showsPast = false;
    bool clears = false;
    std::string file;
};

Node& RequireUsbNode(Device& device) {
    if (device.usb == nullptr)
        throw Failure(ExitCode::kNoSuchDevice, "the system knows no USB device of this VCOM");
    return *device.usb;
}

std::wstring LogPathOf(Node& usb) {
    wchar_t path[kUsberrPathChars];
    if (!UsberrLogPath(usb.set, &usb.element, path))
        throw Failure(ExitCode::kRequestFailed, "the place of the error log is not known");
    return path;
}

void ClearLog(const Output& output, Device& device) {
    const std::wstring path = LogPathOf(RequireUsbNode(device));
    const DWORD error = DeleteUsberrLog(path.c_str());
    const bool wasThere = error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND;
    if (wasThere) RequireSuccess(error, "deleting " + Utf8(path));
    output.Show({"error-log-clear",
                 {{"path", Utf8(path)}, {"cleared", wasThere}},
                 wasThere ? "The error log is cleared.\n" : "There is no error log.\n"});
}

void SaveLog(const Output& output, Device& device, const std::string& file) {
    const std::wstring path = LogPathOf(RequireUsbNode(device));
    RequireSuccess(CopyUsberrLog(path.c_str(), Utf16(file).c_str()), "copying " + Utf8(path) + " to " + file);
    output.Show({"error-log-save", {{"path", Utf8(path)}, {"file", file}}, "Saved to " + file + "\n"});
}

void Run(const Output& output, const ErrorsArguments& arguments) {
    Devices devices;
    Device& device = devices.Find(arguments.device);
    if (arguments.clears) return ClearLog(output, device);
    if (!arguments.file.empty()) return SaveLog(output, device, arguments.file);
    output.Show(arguments.showsPast ? AnswerErrorLog(device) : AnswerErrors(device));
}

}  // namespace

Answer AnswerErrors(Device& device) {
    Node& node = device.node();
    UsbErrStat_st stat = {};
    RequireSuccess(QueryUsbErrStat(node.set, &node.element, stat), "IOCTL_TAVIX_GetUsbErrStat");
    wchar_t text[kTextChars];
    FormatUsbErrStat(stat, nullptr, text, kTextChars);
    return {"errors", {{"statistics", ToJson(stat)}}, WithLfLineEnds(Utf8(text))};
}

Answer AnswerErrorLog(Device& device) {
    Node& usb = RequireUsbNode(device);
    UsberrLog log;
    if (!ReadUsberrLog(usb.set, &usb.element, log))
        throw Failure(ExitCode::kRequestFailed, "the place of the error log is not known");
    if (log.times.HasLog() && !log.isReadable)
        throw Failure(ExitCode::kRequestFailed, Utf8(log.path) + " cannot be read");
    const std::string tail = log.isReadable ? WithLfLineEnds(Utf8(log.tail.view())) : "";
    const Json written = log.times.HasLog() ? Json(log.times.logWritten) : Json(nullptr);
    return {"error-log",
            {{"path", Utf8(log.path)},
             {"writtenUnixMs", written},
             {"recent", log.times.AreErrorsRecent()},
             {"text", tail}},
            log.times.HasLog() ? tail : "There is no error log.\n"};
}

void AddErrorsCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("errors", "Show the USB errors of a device, or its error log");
    auto arguments = std::make_shared<ErrorsArguments>();
    command->add_option("DEVICE", arguments->device)->required();
    CLI::Option* past = command->add_flag("--past", arguments->showsPast, "show the log of startup errors");
    CLI::Option* clear = command->add_flag("--clear", arguments->clears, "delete that log");
    CLI::Option* save = command->add_option("--save", arguments->file, "copy that log to this file");
    past->excludes(clear)->excludes(save);
    clear->excludes(save);
    command->footer(
        "Examples:\n  tavixctl errors COM7\n  tavixctl errors COM7 --past\n"
        "  tavixctl errors COM7 --save usb-errors.log");
    command->callback([&output, arguments] { Run(output, *arguments); });
}
