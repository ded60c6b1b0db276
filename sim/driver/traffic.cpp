#include "sim/driver/traffic.h"

namespace {

constexpr uint64_t kTransferBytes = 4096;  // what one USB transfer puts into a buffer
constexpr uint64_t kUnitsPerMs = 10000;    // of a FILETIME
constexpr uint64_t kTicksPerSecond = 10000;

// The counters of one direction.
struct Counters {
    uint64_t& arrived;
    uint64_t& taken;
    uint64_t& discarded;
    uint64_t& buffered;
    uint32_t limitBytes;
    uint32_t& peakBytes;
};

// In tenths of a millisecond: rates below 2^32 and intervals of days stay inside 64 bits.
uint64_t BytesIn(uint64_t rate, uint64_t elapsed) {
    return elapsed / (kUnitsPerMs / 10) * rate / kTicksPerSecond;
}

void RaisePeak(const Counters& counters, uint64_t bytes) {
    const uint64_t peak = bytes < counters.limitBytes ? bytes : counters.limitBytes;
    if (peak > counters.peakBytes) counters.peakBytes = static_cast<uint32_t>(peak);
}

// What the receiver does not take in time waits in the buffer; what the buffer cannot hold is lost.
void Flow(const Counters& counters, const SimStream& stream, uint64_t elapsed) {
    const uint64_t arrived = BytesIn(stream.rate, elapsed);
    counters.arrived += arrived;
    if (stream.takenRate == 0) {
        counters.taken += arrived;
        RaisePeak(counters, arrived < kTransferBytes ? arrived : kTransferBytes);
        return;
    }
    const uint64_t waiting = counters.buffered + arrived;
    const uint64_t takeable = BytesIn(stream.takenRate, elapsed);
    const uint64_t taken = takeable < waiting ? takeable : waiting;
    const uint64_t left = waiting - taken;
    counters.taken += taken;
    counters.buffered = left < counters.limitBytes ? left : counters.limitBytes;
    counters.discarded += left - counters.buffered;
    RaisePeak(counters, left);
}

}  // namespace

void AdvanceTraffic(SimDevice& device) {
    const uint64_t now = NowFiletime();
    const uint64_t elapsed = now > device.trafficSince ? now - device.trafficSince : 0;
    // Too short an interval for one byte is counted the next time.
    const bool isFlowing = (device.upstream.rate | device.downstream.rate) != 0;
    const bool isTooShort =
        BytesIn(device.upstream.rate, elapsed) == 0 && BytesIn(device.downstream.rate, elapsed) == 0;
    if (device.online && isFlowing && isTooShort) return;
    device.trafficSince = now;
    if (!device.online || !isFlowing) return;

    FlowpathStat_st& stat = device.flowpath;
    const FlowpathStat_st before = stat;
    Flow({stat.usbReceivedBytes, stat.vcomReadBytes, stat.readDiscardBytes, stat.readBufferBytes,
          stat.readBufferLimitBytes, stat.readBufferPeakBytes},
         device.upstream, elapsed);
    Flow({stat.vcomWrittenBytes, stat.usbSentBytes, stat.writeDiscardBytes, stat.writeBufferBytes,
          stat.writeBufferLimitBytes, stat.writeBufferPeakBytes},
         device.downstream, elapsed);
    stat.histUsbReadBytes += stat.usbReceivedBytes - before.usbReceivedBytes;
    stat.histReadDiscardBytes += stat.readDiscardBytes - before.readDiscardBytes;
    stat.histUsbWrittenBytes += stat.usbSentBytes - before.usbSentBytes;
    stat.histWriteDiscardBytes += stat.writeDiscardBytes - before.writeDiscardBytes;
}
