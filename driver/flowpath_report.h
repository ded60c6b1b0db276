// The statistics of one device's Flowpath as text: counters, what moved since the last time and how fast, and
// where the driver's counters contradict each other.
#pragma once

#include <cstdint>

#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"

// How full a buffer has been, in percent of its limit; 0 without a limit. The product wraps around at 32
// bits.
constexpr uint32_t FlowpathBufferPercent(uint32_t peakBytes, uint32_t limitBytes) noexcept {
    return limitBytes == 0 ? 0 : peakBytes * 100 / limitBytes;
}

// By how much the counters of each direction do not add up; 0 when they do.
struct FlowpathImbalance {
    int64_t upstream;    // U1 - (U2 + U3 + U4 + U5)
    int64_t downstream;  // D1 - (D2 + D3 + D4)

    bool IsNone() const noexcept { return upstream == 0 && downstream == 0; }
};
FlowpathImbalance FindFlowpathImbalance(const FlowpathStat_st& record) noexcept;

// Two answers of the driver and how they are shown.
struct FlowpathReport {
    const wchar_t* deviceName;
    const wchar_t* separator;         // between groups of digits; empty for none
    const FlowpathStat_st& record;    // the newer one
    const FlowpathStat_st& previous;  // all zero before the first
    int32_t elapsedMs;                // between the two; no rates below 1
};
// Writes the report with LF line ends, cut to the capacity, terminator included.
void FormatFlowpathReport(const FlowpathReport& report, wchar_t* text, int32_t textChars) noexcept;

// Totals over the life of the device, which outlast its Flowpath.
struct FlowpathTotals {
    uint64_t usbReadBytes;
    uint64_t readDiscardBytes;
    uint64_t usbWrittenBytes;
    uint64_t writeDiscardBytes;
    uint64_t usbInErrors;
    uint64_t usbOutErrors;
    uint64_t offlines;
};
// From the device's hardware key; 0 for what is missing or of another type than a 64-bit number.
FlowpathTotals ReadFlowpathTotals(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept;

// The text shown instead of the report when the driver did not answer: the reason, and the totals.
void FormatFlowpathFailure(DWORD error, const FlowpathTotals& totals, const wchar_t* separator, wchar_t* text,
                           int32_t textChars) noexcept;
