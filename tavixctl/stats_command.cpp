// stats: the counters of one Flowpath, once or again and again.
#include <memory>

#include "base/time_text.h"
#include "driver/flowpath_report.h"
#include "driver/vbus.h"
#include "tavixctl/answers.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"

namespace {

constexpr int32_t kTextChars = 4000;

struct StatsArguments {
    std::string device;
    bool follows = false;
    uint32_t intervalMs = 1000;
    uint32_t count = 0;
};

struct Sample {
    FlowpathStat_st stat = {};
    uint32_t tick = 0;
};

Sample Ask(Node& node) {
    Sample sample;
    sample.tick = time_tick_ms();
    RequireSuccess(DeviceQuery(node.set, &node.element, IOCTL_TAVIX_GetFlowpathStat, sample.stat),
                   "IOCTL_TAVIX_GetFlowpathStat");
    return sample;
}

// Null without an earlier answer or time between the two.
Json PerSecond(uint64_t now, uint64_t before, uint32_t elapsedMs) {
    if (elapsedMs == 0) return nullptr;
    return now < before ? 0 : (now - before) * 1000 / elapsedMs;
}

Json ToJson(const Sample& sample, const Sample* before) {
    const FlowpathStat_st& stat = sample.stat;
    const FlowpathStat_st& earlier = before != nullptr ? before->stat : stat;
    const uint32_t elapsedMs = before != nullptr ? sample.tick - before->tick : 0;
    const FlowpathImbalance imbalance = FindFlowpathImbalance(stat);
    return {{"createdUnixMs", stat.creationUemsec},
            {"upstream",
             {{"received", stat.usbReceivedBytes},
              {"read", stat.vcomReadBytes},
              {"discarded", stat.readDiscardBytes},
              {"buffered", stat.readBufferBytes + stat.readBufferExtraBytes},
              {"pending", stat.vcomReadPendingBytes},
              {"bufferPeak", stat.readBufferPeakBytes},
              {"bufferLimit", stat.readBufferLimitBytes},
              {"bufferPercent", FlowpathBufferPercent(stat.readBufferPeakBytes, stat.readBufferLimitBytes)},
              {"errors", stat.usbInErrors},
              {"active", stat.usbInActive != 0},
              {"imbalance", imbalance.upstream},
              {"bytesPerSecond", PerSecond(stat.usbReceivedBytes, earlier.usbReceivedBytes, elapsedMs)}}},
            {"downstream",
             {{"written", stat.vcomWrittenBytes},
              {"sent", stat.usbSentBytes},
              {"discarded", stat.writeDiscardBytes},
              {"buffered", stat.writeBufferBytes},
              {"bufferPeak", stat.writeBufferPeakBytes},
              {"bufferLimit", stat.writeBufferLimitBytes},
              {"bufferPercent", FlowpathBufferPercent(stat.writeBufferPeakBytes, stat.writeBufferLimitBytes)},
              {"errors", stat.usbOutErrors},
              {"active", stat.usbOutActive != 0},
              {"imbalance", imbalance.downstream},
              {"bytesPerSecond", PerSecond(stat.usbSentBytes, earlier.usbSentBytes, elapsedMs)}}},
            {"historical",
             {{"usbRead", stat.histUsbReadBytes},
              {"readDiscarded", stat.histReadDiscardBytes},
              {"usbWritten", stat.histUsbWrittenBytes},
              {"vcomDiscarded", stat.histWriteDiscardBytes},
              {"usbInErrors", stat.histUsbInErrors},
              {"usbOutErrors", stat.histUsbOutErrors},
              {"offlines", stat.histOfflines},
              {"offlinesOfSession", stat.histOfflineIncrease}}},
            {"blindRun", stat.blindRun != 0}};
}

std::string ToText(const Node& node, const Sample& sample, const Sample* before) {
    const Sample& earlier = before != nullptr ? *before : sample;
    wchar_t text[kTextChars];
    FormatFlowpathReport(
        {node.name.c_str(), L"", sample.stat, earlier.stat, static_cast<int32_t>(sample.tick - earlier.tick)},
        text, kTextChars);
    std::string shown = Utf8(text);
    if (shown.empty() || shown.back() != '\n') shown += '\n';
    return shown;
}

void Follow(const Output& output, const StatsArguments& arguments, Node& node) {
    std::optional<Sample> before;
    for (uint32_t shown = 0; arguments.count == 0 || shown < arguments.count; ++shown) {
        if (shown != 0) Sleep(arguments.intervalMs);
        const Sample sample = Ask(node);
        const Sample* earlier = before ? &*before : nullptr;
        output.ShowLine({"stats", ToJson(sample, earlier), ToText(node, sample, earlier) + "\n"});
        before = sample;
    }
}

}  // namespace

Answer AnswerStats(Device& device) {
    Node& node = device.node();
    const Sample sample = Ask(node);
    return {"stats", ToJson(sample, nullptr), ToText(node, sample, nullptr)};
}

void AddStatsCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("stats", "Show the data flow through a device");
    auto arguments = std::make_shared<StatsArguments>();
    command->add_option("DEVICE", arguments->device)->required();
    CLI::Option* follow =
        command->add_flag("--follow", arguments->follows, "go on until stopped; JSON comes line by line");
    command->add_option("--interval", arguments->intervalMs, "milliseconds between two answers")
        ->capture_default_str()
        ->needs(follow);
    command->add_option("--count", arguments->count, "stop after so many answers")->needs(follow);
    command->footer("Examples:\n  tavixctl stats COM7\n  tavixctl stats COM7 --follow --interval 500 --json");
    command->callback([&output, arguments] {
        Devices devices;
        Device& device = devices.Find(arguments->device);
        if (arguments->follows)
            Follow(output, *arguments, device.node());
        else
            output.Show(AnswerStats(device));
    });
}
