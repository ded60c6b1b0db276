#include "driver/usb_err_stat.h"

#include <cstring>

#include "base/stamp_text.h"
#include "base/xfmt.h"
#include "driver/error_names.h"
#include "driver/vbus.h"

namespace {

constexpr int32_t kReportChars = 2000;

uint64_t CounterSum(const UsbErrStat_st& record) {
    uint64_t sum = 0;
    for (const uint32_t count : record.bucketCounts)
        sum += count;
    return sum;
}

bool AnyRecoverAction(const RecoverActions_st& actions) {
    return actions.inPipeResets != 0 || actions.outPipeResets != 0 || actions.usbPortResets != 0 ||
           actions.usbPortCycles != 0;
}

bool IsUnrecovered(uint64_t detected, uint64_t recovered) {
    return detected != 0 && recovered <= detected;
}

// The report under construction, cut at its capacity.
class Report {
  public:
    template <typename... Args>
    void Line(const wchar_t* format, Args... args) {
        xfmt_advance(&end_, &left_, format, args...);
    }

    void Time(const wchar_t* format, uint64_t fileTime) {
        XfmtFormatter time;
        xfmt_formatter_init(&time, FileTimeFormatter, &fileTime);
        Line(format, &time);
    }

    const wchar_t* text() const { return text_; }

  private:
    wchar_t text_[kReportChars] = {};
    wchar_t* end_ = text_;
    uint32_t left_ = kReportChars;
};

void AddOffline(Report& report, const UsbErrStat_st& record) {
    report.Line(L"USB device offline count: %d\r\n", record.offlineCount);
    if (record.offlineCount != 0) report.Time(L"  Last offline: %F\r\n", record.lastOfflineTime);
    report.Line(L"\r\n");
}

// Two blanks after "Last" keep the colons of the IN lines under those of the OUT lines.
void AddLastErrors(Report& report, const UsbErrStat_st& record) {
    report.Line(L"Since last online:\r\n");
    report.Time(L"  Last  IN error detected : %F\r\n", record.lastInErrorTime);
    report.Time(L"  Last  IN error recovered: %F\r\n", record.lastInRecoveredTime);
    report.Time(L"  Last OUT error detected : %F\r\n", record.lastOutErrorTime);
    report.Time(L"  Last OUT error recovered: %F\r\n", record.lastOutRecoveredTime);
    report.Line(L"\r\n");
}

void AddRecoverActions(Report& report, const RecoverActions_st& now, const RecoverActions_st& totals) {
    report.Line(
        L"Recover actions taken:\r\n"
        L"  IN pipe resets: %d (total: %d)\r\n"
        L"  OUT pipe resets: %d (total: %d)\r\n"
        L"  USB port resets: %d (total: %d)\r\n"
        L"  USB port cycles: %d (total: %d)\r\n",
        now.inPipeResets, totals.inPipeResets, now.outPipeResets, totals.outPipeResets, now.usbPortResets,
        totals.usbPortResets, now.usbPortCycles, totals.usbPortCycles);
    report.Line(L"\r\n");
}

void AddCounters(Report& report, const UsbErrStat_st& record) {
    report.Line(L"USB device error statistics(since last online):\r\n");
    for (uint32_t bucket = 0; bucket < kUsbErrBucketCount; ++bucket)
        report.Line(L"  %-3d %s\r\n", record.bucketCounts[bucket], UsbErrBucketName(bucket));
}

}  // namespace

DWORD QueryUsbErrStat(HDEVINFO deviceSet, SP_DEVINFO_DATA* device, UsbErrStat_st& record) noexcept {
    record = kBlankRecord<UsbErrStat_st>;
    return DeviceQuery(deviceSet, device, IOCTL_TAVIX_GetUsbErrStat, record);
}

DWORD QueryUsbErrStat(const DeviceName_st& name, UsbErrStat_st& record) noexcept {
    record = kBlankRecord<UsbErrStat_st>;
    return DeviceQuery(name, IOCTL_TAVIX_GetUsbErrStat, record);
}

uint32_t SumUsbErrCounters(const UsbErrStat_st& record) noexcept {
    return static_cast<uint32_t>(CounterSum(record));
}

UsbErrState JudgeUsbErrStat(const UsbErrStat_st& record) noexcept {
    if (record.evaluate == 0 || CounterSum(record) == 0)
        return AnyRecoverAction(record.totals) ? kUsbErrPastRecovery : kUsbErrNone;
    const bool unrecovered = IsUnrecovered(record.lastInErrorTime, record.lastInRecoveredTime) ||
                             IsUnrecovered(record.lastOutErrorTime, record.lastOutRecoveredTime);
    return unrecovered ? kUsbErrRecovering : kUsbErrRecovered;
}

UsbErrState FormatUsbErrStat(const UsbErrStat_st& record, uint32_t* total, wchar_t* text,
                             int32_t textChars) noexcept {
    Report report;
    AddOffline(report, record);
    AddLastErrors(report, record);
    AddRecoverActions(report, record.sinceOnline, record.totals);
    AddCounters(report, record);
    xfmt(text, textChars, L"%s", report.text());
    if (total != nullptr) *total = SumUsbErrCounters(record);
    return JudgeUsbErrStat(record);
}
