#include "driver/flowpath_report.h"

#include "base/time_text.h"
#include "base/xfmt.h"
#include "driver/error_names.h"
#include "driver/messages.h"
#include "state/device_values.h"

namespace {

constexpr int32_t kRateChars = 80;
constexpr int32_t kTimeChars = 80;

// A long text written piece by piece and cut at the capacity.
class Report {
  public:
    Report(wchar_t* text, int32_t textChars) noexcept : end_(text), left_(static_cast<uint32_t>(textChars)) {}

    template <typename... Args>
    void Add(const wchar_t* format, Args... args) noexcept {
        xfmt_advance(&end_, &left_, format, args...);
    }

  private:
    wchar_t* end_;
    uint32_t left_;
};

// Empty when the counter has not grown. Bytes per millisecond count as KB/s.
void FormatRate(uint64_t bytes, uint64_t previousBytes, const FlowpathReport& report,
                wchar_t (&rate)[kRateChars]) noexcept {
    rate[0] = 0;
    const auto moved = static_cast<int32_t>(bytes - previousBytes);
    if (moved <= 0) return;
    wchar_t increment[kRateChars];
    xfmt(increment, kRateChars, L" %t(%+d)", report.separator, moved);
    const int32_t kiloBytes = report.elapsedMs > 0 ? moved / report.elapsedMs : 0;
    if (report.elapsedMs <= 0)
        xfmt(rate, kRateChars, L"%s", increment);
    else if (kiloBytes >= 1)
        xfmt(rate, kRateChars, L"%t%s %d KB/s", report.separator, increment, kiloBytes);
    else
        xfmt(rate, kRateChars, L"%s <1 KB/s", increment);
}

// Zeros for a time that the calendar cannot show.
void FormatCreation(int64_t uemsec, wchar_t (&text)[kTimeChars]) noexcept {
    TimeTm local = {};
    const bool known = time_unix_to_tm_local(uemsec / 1000, &local) != 0;
    const int32_t year = known ? local.year + 1900 : 0;
    const int32_t month = known ? local.month + 1 : 0;
    xfmt(text, kTimeChars, L"%04d-%02d-%02d %02d:%02d:%02d", year, month, local.day, local.hour, local.minute,
         local.second);
}

void AddUpstream(Report& text, const FlowpathReport& report) noexcept {
    const FlowpathStat_st& record = report.record;
    wchar_t created[kTimeChars];
    FormatCreation(record.creationUemsec, created);
    wchar_t rate[kRateChars];
    FormatRate(record.usbReceivedBytes, report.previous.usbReceivedBytes, report, rate);
    text.Add(
        L"%t%s\n\nFlowpath created: %s\n\nUpstream Stat: \n"
        L"  [U1] USB received : %lld %s\n"
        L"  [U2] Vcom read    : %lld \n"
        L"  [U3] Discarded    : %lld \n"
        L"  [U4] Still in Rbuf: %lld \n"
        L"  [U5] Vcom pending : %lld \n"
        L"  Rbuf peak/limit   : %d / %d (%d%%) \n"
        L"  USB IN errors: %lld \n",
        report.separator, report.deviceName, created, record.usbReceivedBytes, rate, record.vcomReadBytes,
        record.readDiscardBytes, record.readBufferBytes + record.readBufferExtraBytes,
        record.vcomReadPendingBytes, record.readBufferPeakBytes, record.readBufferLimitBytes,
        FlowpathBufferPercent(record.readBufferPeakBytes, record.readBufferLimitBytes), record.usbInErrors);
}

void AddDownstream(Report& text, const FlowpathReport& report) noexcept {
    const FlowpathStat_st& record = report.record;
    wchar_t rate[kRateChars];
    FormatRate(record.usbSentBytes, report.previous.usbSentBytes, report, rate);
    text.Add(
        L"%tDownstream Stat: \n"
        L"  [D1] Vcom written : %lld \n"
        L"  [D2] USB sent     : %lld %s\n"
        L"  [D3] Discarded    : %lld \n"
        L"  [D4] Still in Wbuf: %lld \n"
        L"  Wbuf peak/limit   : %d / %d (%d%%) \n"
        L"  USB OUT errors: %lld \n",
        report.separator, record.vcomWrittenBytes, record.usbSentBytes, rate, record.writeDiscardBytes,
        record.writeBufferBytes, record.writeBufferPeakBytes, record.writeBufferLimitBytes,
        FlowpathBufferPercent(record.writeBufferPeakBytes, record.writeBufferLimitBytes),
        record.usbOutErrors);
}

const wchar_t* ActivityText(const FlowpathStat_st& record) noexcept {
    if (record.usbInActive != 0) return record.usbOutActive != 0 ? L"[IN][OUT]" : L"[IN]";
    return record.usbOutActive != 0 ? L"[OUT]" : L"(none)";
}

void AddHistory(Report& text, const FlowpathReport& report) noexcept {
    const FlowpathStat_st& record = report.record;
    text.Add(
        L"\n%tHistorical: \n"
        L"  USB read:     %lld \n"
        L"  Read discard: %lld \n"
        L"  USB written:  %lld \n"
        L"  VCOM discard: %lld \n"
        L"  USB IN+OUT errors: %lld + %lld \n"
        L"  USB offline count: %lld (+%lld) \n",
        report.separator, record.histUsbReadBytes, record.histReadDiscardBytes, record.histUsbWrittenBytes,
        record.histWriteDiscardBytes, record.histUsbInErrors, record.histUsbOutErrors, record.histOfflines,
        record.histOfflineIncrease);
}

void AddVerdict(Report& text, const FlowpathStat_st& record) noexcept {
    const FlowpathImbalance imbalance = FindFlowpathImbalance(record);
    if (imbalance.IsNone()) text.Add(L"Hint:\n  U1 = U2 + U3 + U4 + U5\n  D1 = D2 + D3 + D4\n");
    if (imbalance.upstream != 0) text.Add(L"Driver BUG: U1 != U2+U3+U4+U5 (diff=%lld)", imbalance.upstream);
    if (imbalance.downstream != 0) text.Add(L"Driver BUG: D1 != D2+D3+D4 (diff=%lld)", imbalance.downstream);
}

}  // namespace

FlowpathImbalance FindFlowpathImbalance(const FlowpathStat_st& record) noexcept {
    const uint64_t upstream = record.vcomReadBytes + record.readDiscardBytes + record.readBufferBytes +
                              record.readBufferExtraBytes + record.vcomReadPendingBytes;
    const uint64_t downstream = record.usbSentBytes + record.writeDiscardBytes + record.writeBufferBytes;
    return {static_cast<int64_t>(record.usbReceivedBytes - upstream),
            static_cast<int64_t>(record.vcomWrittenBytes - downstream)};
}

void FormatFlowpathReport(const FlowpathReport& report, wchar_t* text, int32_t textChars) noexcept {
    Report written(text, textChars);
    AddUpstream(written, report);
    written.Add(L"\n");
    AddDownstream(written, report);
    written.Add(L"\nUSB activity: %s\n", ActivityText(report.record));
    AddHistory(written, report);
    written.Add(L"\n");
    AddVerdict(written, report.record);
}

FlowpathTotals ReadFlowpathTotals(HDEVINFO deviceSet, SP_DEVINFO_DATA* device) noexcept {
    const auto read = [&](const wchar_t* name) noexcept {
        return ReadDevQword(deviceSet, device, DIREG_DEV, name, 0);
    };
    return {.usbReadBytes = read(kDevHistUsbReadBytes),
            .readDiscardBytes = read(kDevHistUsbReadDiscards),
            .usbWrittenBytes = read(kDevHistUsbWrittenBytes),
            .writeDiscardBytes = read(kDevHistVcomWriteDiscards),
            .usbInErrors = read(kDevHistUsbInErrors),
            .usbOutErrors = read(kDevHistUsbOutErrors),
            .offlines = read(kDevHistOfflines)};
}

void FormatFlowpathFailure(DWORD error, const FlowpathTotals& totals, const wchar_t* separator, wchar_t* text,
                           int32_t textChars) noexcept {
    Report written(text, textChars);
    if (error == ERROR_DEVICE_NOT_CONNECTED)
        written.Add(L"%s", kFlowpathLostText);
    else
        written.Add(L"IOCTL_TAVIX_GetFlowpathStat meets winerr=%d(%s)", error, WinErrName(error));
    written.Add(L"\n\n");
    written.Add(
        L"\n%tHistorical total: \n"
        L"  USB read:     %lld \n"
        L"  Read discard: %lld \n"
        L"  USB written:  %lld \n"
        L"  VCOM discard: %lld \n"
        L"  USB IN+OUT errors: %lld + %lld \n"
        L"  USB offline count: %lld \n",
        separator, totals.usbReadBytes, totals.readDiscardBytes, totals.usbWrittenBytes,
        totals.writeDiscardBytes, totals.usbInErrors, totals.usbOutErrors, totals.offlines);
}
