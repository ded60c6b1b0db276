// errors: the USB error statistics of a device and its log of startup errors.
#include <memory>

#include "driver/error_names.h"
#include "driver/usb_err_stat.h"
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

void ShowErrors(const Output& output, const std::string& name) {
    Devices devices;
    Node& node = devices.Find(name).node();
    UsbErrStat_st stat = {};
    RequireSuccess(QueryUsbErrStat(node.set, &node.element, stat), "IOCTL_TAVIX_GetUsbErrStat");
    wchar_t text[kTextChars];
    FormatUsbErrStat(stat, nullptr, text, kTextChars);
    output.Show("errors", {{"statistics", ToJson(stat)}}, WithLfLineEnds(Utf8(text)));
}

}  // namespace

void AddErrorsCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("errors", "Show the USB errors of a device");
    auto name = std::make_shared<std::string>();
    command->add_option("DEVICE", *name)->required();
    command->callback([&output, name] { ShowErrors(output, *name); });
}
