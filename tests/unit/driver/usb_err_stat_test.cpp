#include "driver/usb_err_stat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "driver/error_names.h"
#include "driver/vbus.h"
#include "tests/support/guarded_buffer.h"
#include "tests/unit/driver/fake_vbus.h"

namespace {

constexpr uint64_t kHour = 36'000'000'000;  // FILETIME units
constexpr uint64_t kSomeTime = 133'540'132'220'450'000;

struct JudgeRow {
    const char* name;
    uint32_t evaluate;
    uint32_t count;
    uint64_t inDetected, inRecovered, outDetected, outRecovered;
    RecoverActions_st totals;
    UsbErrState expected;

    friend void PrintTo(const JudgeRow& row, std::ostream* out) { *out << row.name; }
};

class JudgeUsbErrStatTest : public testing::TestWithParam<JudgeRow> {};

TEST_P(JudgeUsbErrStatTest, GivesTheState) {
    const JudgeRow& row = GetParam();
    UsbErrStat_st record = {};
    record.evaluate = row.evaluate;
    record.bucketCounts[20] = row.count;
    record.lastInErrorTime = row.inDetected;
    record.lastInRecoveredTime = row.inRecovered;
    record.lastOutErrorTime = row.outDetected;
    record.lastOutRecoveredTime = row.outRecovered;
    record.totals = row.totals;
    EXPECT_EQ(JudgeUsbErrStat(record), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, JudgeUsbErrStatTest,
    testing::Values(JudgeRow{"NothingEver", 1, 0, 0, 0, 0, 0, {}, kUsbErrNone},
                    JudgeRow{"NotEvaluated", 0, 5, 9, 0, 0, 0, {}, kUsbErrNone},
                    JudgeRow{"InPipeResetBefore", 1, 0, 0, 0, 0, 0, {1, 0, 0, 0}, kUsbErrPastRecovery},
                    JudgeRow{"OutPipeResetBefore", 1, 0, 0, 0, 0, 0, {0, 1, 0, 0}, kUsbErrPastRecovery},
                    JudgeRow{"PortResetBefore", 1, 0, 0, 0, 0, 0, {0, 0, 1, 0}, kUsbErrPastRecovery},
                    JudgeRow{"PortCycleBefore", 0, 7, 9, 0, 0, 0, {0, 0, 0, 1}, kUsbErrPastRecovery},
                    JudgeRow{"CountedButNoTimes", 1, 1, 0, 0, 0, 0, {}, kUsbErrRecovered},
                    JudgeRow{"InRecoveredLater", 1, 1, 8, 9, 0, 0, {}, kUsbErrRecovered},
                    JudgeRow{"InRecoveredEarlier", 1, 1, 9, 8, 0, 0, {}, kUsbErrRecovering},
                    JudgeRow{"InRecoveredAtTheSameTime", 1, 1, 9, 9, 0, 0, {}, kUsbErrRecovering},
                    JudgeRow{"OutRecoveredLater", 1, 1, 0, 0, 8, 9, {}, kUsbErrRecovered},
                    JudgeRow{"OutRecoveredAtTheSameTime", 1, 1, 0, 0, 9, 9, {}, kUsbErrRecovering},
                    JudgeRow{"OnlyOutUnrecovered", 1, 1, 8, 9, 9, 0, {}, kUsbErrRecovering},
                    JudgeRow{
                        "ActionsDoNotMatterWhileCounting", 1, 1, 8, 9, 0, 0, {1, 1, 1, 1}, kUsbErrRecovered}),
    [](const auto& row) { return std::string(row.param.name); });

// What the driver finds in the reply buffer when it is asked.
TEST(QueryUsbErrStat, AnnouncesTheHeaderInARecordOfZeros) {
    FakeVbus fake;
    std::vector<BYTE> found;
    REPLACE_CALL(ioctl, DeviceIoControl,
                 [&](HANDLE, DWORD code, void*, DWORD, void* output, DWORD outputBytes, auto...) {
                     EXPECT_EQ(code, DWORD{IOCTL_TAVIX_GetUsbErrStat});
                     const auto* bytes = static_cast<const BYTE*>(output);
                     found.assign(bytes, bytes + outputBytes);
                     SetLastError(ERROR_GEN_FAILURE);
                     return FALSE;
                 });
    std::vector<BYTE> expected(200, 0);
    expected[8] = 8;
    UsbErrStat_st record;
    std::memset(&record, 0xEE, sizeof(record));
    EXPECT_EQ(QueryUsbErrStat(fake.deviceSet(), fake.device(), record), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(found, expected);
    EXPECT_EQ(BytesOfRecord(record), expected) << "no counters after a failure";
    EXPECT_EQ(QueryUsbErrStat(DeviceNameFromText(L"1&2"), record), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(found, expected);
}

TEST(JudgeUsbErrStat, CountersThatWrapToZeroStillCount) {
    UsbErrStat_st record = {};
    record.evaluate = 1;
    record.bucketCounts[0] = 0xFFFFFFFF;
    record.bucketCounts[1] = 1;
    EXPECT_EQ(JudgeUsbErrStat(record), kUsbErrRecovered);
}

// What the report must say, written independently of the engine that writes it.
std::wstring ExpectedTime(uint64_t fileTime) {
    if (fileTime == 0) return L"(none)";
    const FILETIME utc = {static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
    FILETIME local;
    SYSTEMTIME fields;
    FileTimeToLocalFileTime(&utc, &local);
    FileTimeToSystemTime(&local, &fields);
    wchar_t text[64];
    swprintf(text, 64, L"%04d-%02d-%02d %02d:%02d:%02d.%03d", fields.wYear, fields.wMonth, fields.wDay,
             fields.wHour, fields.wMinute, fields.wSecond, fields.wMilliseconds);
    return text;
}

std::wstring Signed(uint64_t value) {
    return std::to_wstring(static_cast<int32_t>(value));
}

std::wstring ExpectedReport(const UsbErrStat_st& record) {
    std::wstring text = L"USB device offline count: " + Signed(record.offlineCount) + L"\r\n";
    if (record.offlineCount != 0)
        text += L"  Last offline: " + ExpectedTime(record.lastOfflineTime) + L"\r\n";
    text += L"\r\nSince last online:\r\n";
    text += L"  Last  IN error detected : " + ExpectedTime(record.lastInErrorTime) + L"\r\n";
    text += L"  Last  IN error recovered: " + ExpectedTime(record.lastInRecoveredTime) + L"\r\n";
    text += L"  Last OUT error detected : " + ExpectedTime(record.lastOutErrorTime) + L"\r\n";
    text += L"  Last OUT error recovered: " + ExpectedTime(record.lastOutRecoveredTime) + L"\r\n";
    text += L"\r\nRecover actions taken:\r\n";
    text += L"  IN pipe resets: " + Signed(record.sinceOnline.inPipeResets) + L" (total: " +
            Signed(record.totals.inPipeResets) + L")\r\n";
    text += L"  OUT pipe resets: " + Signed(record.sinceOnline.outPipeResets) + L" (total: " +
            Signed(record.totals.outPipeResets) + L")\r\n";
    text += L"  USB port resets: " + Signed(record.sinceOnline.usbPortResets) + L" (total: " +
            Signed(record.totals.usbPortResets) + L")\r\n";
    text += L"  USB port cycles: " + Signed(record.sinceOnline.usbPortCycles) + L" (total: " +
            Signed(record.totals.usbPortCycles) + L")\r\n";
    text += L"\r\nUSB device error statistics(since last online):\r\n";
    for (uint32_t bucket = 0; bucket < kUsbErrBucketCount; ++bucket) {
        std::wstring count = Signed(record.bucketCounts[bucket]);
        count.resize(std::max<size_t>(count.size(), 3), L' ');
        text += L"  " + count + L" " + UsbErrBucketName(bucket) + L"\r\n";
    }
    return text;
}

std::wstring Report(const UsbErrStat_st& record) {
    wchar_t text[2000];
    FormatUsbErrStat(record, nullptr, text, 2000);
    return text;
}

TEST(FormatUsbErrStat, AnEmptyRecordReadsWholeAndLiteral) {
    EXPECT_EQ(Report({}),
              L"USB device offline count: 0\r\n"
              L"\r\n"
              L"Since last online:\r\n"
              L"  Last  IN error detected : (none)\r\n"
              L"  Last  IN error recovered: (none)\r\n"
              L"  Last OUT error detected : (none)\r\n"
              L"  Last OUT error recovered: (none)\r\n"
              L"\r\n"
              L"Recover actions taken:\r\n"
              L"  IN pipe resets: 0 (total: 0)\r\n"
              L"  OUT pipe resets: 0 (total: 0)\r\n"
              L"  USB port resets: 0 (total: 0)\r\n"
              L"  USB port cycles: 0 (total: 0)\r\n"
              L"\r\n"
              L"USB device error statistics(since last online):\r\n"
              L"  0   USBD_STATUS(NoDetail)\r\n"
              L"  0   USBD_STATUS_CRC\r\n"
              L"  0   USBD_STATUS_BTSTUFF\r\n"
              L"  0   USBD_STATUS_DATA_TOGGLE_MISMATCH\r\n"
              L"  0   USBD_STATUS_STALL_PID\r\n"
              L"  0   USBD_STATUS_DEV_NOT_RESPONDING\r\n"
              L"  0   USBD_STATUS_PID_CHECK_FAILURE\r\n"
              L"  0   USBD_STATUS_UNEXPECTED_PID\r\n"
              L"  0   USBD_STATUS_DATA_OVERRUN\r\n"
              L"  0   USBD_STATUS_DATA_UNDERRUN\r\n"
              L"  0   USBD_STATUS_RESERVED1\r\n"
              L"  0   USBD_STATUS_RESERVED2\r\n"
              L"  0   USBD_STATUS_BUFFER_OVERRUN\r\n"
              L"  0   USBD_STATUS_BUFFER_UNDERRUN\r\n"
              L"  0   USBD_STATUS_RESERVED3\r\n"
              L"  0   USBD_STATUS_NOT_ACCESSED\r\n"
              L"  0   USBD_STATUS_FIFO\r\n"
              L"  0   USBD_STATUS_XACT_ERROR\r\n"
              L"  0   USBD_STATUS_BABBLE_DETECTED\r\n"
              L"  0   USBD_STATUS_DATA_BUFFER_ERROR\r\n"
              L"  0   USBD_STATUS(Unknown)\r\n");
}

TEST(FormatUsbErrStat, TheOfflineTimeAppearsWithTheFirstOffline) {
    UsbErrStat_st record = {};
    record.lastOfflineTime = kSomeTime;
    EXPECT_EQ(Report(record).find(L"Last offline"), std::wstring::npos);
    record.offlineCount = 1;
    EXPECT_NE(Report(record).find(L"\r\n  Last offline: " + ExpectedTime(kSomeTime) + L"\r\n"),
              std::wstring::npos);
}

TEST(FormatUsbErrStat, RandomRecordsReadAsTheyShould) {
    std::mt19937_64 random(20261120);
    for (int round = 0; round < 2000; ++round) {
        UsbErrStat_st record = {};
        record.evaluate = random() % 2;
        // From a few digits up to the whole range.
        for (uint32_t& count : record.bucketCounts)
            count = static_cast<uint32_t>(random() >> (32 + random() % 32));
        for (uint64_t* time : {&record.lastInErrorTime, &record.lastOutErrorTime, &record.lastInRecoveredTime,
                               &record.lastOutRecoveredTime, &record.lastOfflineTime})
            *time = random() % 3 == 0 ? 0 : kSomeTime + random() % (1000 * kHour);
        record.offlineCount = random() % 4;
        record.sinceOnline.usbPortCycles = static_cast<uint32_t>(random());
        record.totals.inPipeResets = static_cast<uint32_t>(random());
        ASSERT_EQ(Report(record), ExpectedReport(record)) << "round " << round;
    }
}

TEST(FormatUsbErrStat, StoresTheSumOfAllCounters) {
    UsbErrStat_st record = {};
    for (uint32_t bucket = 0; bucket < kUsbErrBucketCount; ++bucket)
        record.bucketCounts[bucket] = 1u << bucket;
    uint32_t total = 0;
    wchar_t text[2000];
    FormatUsbErrStat(record, &total, text, 2000);
    EXPECT_EQ(total, (1u << 21) - 1);
}

TEST(FormatUsbErrStat, CutsToEveryCapacityAndTerminates) {
    const std::wstring whole = Report({});
    for (const int32_t chars :
         {0, 1, 2, 30, static_cast<int32_t>(whole.size()), static_cast<int32_t>(whole.size()) + 1, 2000}) {
        GuardedBuffer<wchar_t> text(static_cast<size_t>(chars));
        FormatUsbErrStat({}, nullptr, text.data(), chars);
        if (chars == 0) continue;
        EXPECT_EQ(std::wstring(text.data()), whole.substr(0, static_cast<size_t>(chars) - 1)) << chars;
    }
}

// A driver that fills the record with the largest numbers and with times no calendar knows.
TEST(FormatUsbErrStat, HostileRecordsStayWithinTheBuffer) {
    UsbErrStat_st record;
    memset(&record, 0xFF, sizeof(record));
    GuardedBuffer<wchar_t> text(2000);
    FormatUsbErrStat(record, nullptr, text.data(), 2000);
    EXPECT_LT(wcslen(text.data()), 2000u);
}

}  // namespace
