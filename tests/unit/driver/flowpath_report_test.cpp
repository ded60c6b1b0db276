#include "driver/flowpath_report.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "driver/error_names.h"
#include "tests/support/guarded_buffer.h"

namespace {

constexpr int32_t kTextChars = 4000;
constexpr int64_t kSomeUemsec = 1'709'630'822'045;

std::wstring Report(const FlowpathReport& report) {
    wchar_t text[kTextChars];
    FormatFlowpathReport(report, text, kTextChars);
    return text;
}

std::wstring ReportOf(const FlowpathStat_st& record, const wchar_t* separator = L"") {
    return Report({L"Scanner", separator, record, record, 500});
}

// ---- What the report must say, written without the engine that writes it --------------------------------

class ExpectedReport {
  public:
    explicit ExpectedReport(const FlowpathReport& report) : report_(report), separator_(report.separator) {}

    std::wstring Text() const {
        const FlowpathStat_st& now = report_.record;
        const FlowpathStat_st& before = report_.previous;
        std::wstring text = report_.deviceName;
        text += L"\n\nFlowpath created: " + Time(now.creationUemsec) + L"\n\nUpstream Stat: \n";
        text += L"  [U1] USB received : " + Grouped(now.usbReceivedBytes) + L" ";
        text += Rate(now.usbReceivedBytes - before.usbReceivedBytes) + L"\n";
        text += Line(L"  [U2] Vcom read    : ", now.vcomReadBytes);
        text += Line(L"  [U3] Discarded    : ", now.readDiscardBytes);
        text += Line(L"  [U4] Still in Rbuf: ", now.readBufferBytes + now.readBufferExtraBytes);
        text += Line(L"  [U5] Vcom pending : ", now.vcomReadPendingBytes);
        text += L"  Rbuf peak/limit   : " + Fill(now.readBufferPeakBytes, now.readBufferLimitBytes);
        text += Line(L"  USB IN errors: ", now.usbInErrors);
        text += L"\nDownstream Stat: \n";
        text += Line(L"  [D1] Vcom written : ", now.vcomWrittenBytes);
        text += L"  [D2] USB sent     : " + Grouped(now.usbSentBytes) + L" ";
        text += Rate(now.usbSentBytes - before.usbSentBytes) + L"\n";
        text += Line(L"  [D3] Discarded    : ", now.writeDiscardBytes);
        text += Line(L"  [D4] Still in Wbuf: ", now.writeBufferBytes);
        text += L"  Wbuf peak/limit   : " + Fill(now.writeBufferPeakBytes, now.writeBufferLimitBytes);
        text += Line(L"  USB OUT errors: ", now.usbOutErrors);
        text += L"\nUSB activity: ";
        if (now.usbInActive != 0) text += L"[IN]";
        if (now.usbOutActive != 0) text += L"[OUT]";
        if (now.usbInActive == 0 && now.usbOutActive == 0) text += L"(none)";
        text += L"\n\nHistorical: \n";
        text += Line(L"  USB read:     ", now.histUsbReadBytes);
        text += Line(L"  Read discard: ", now.histReadDiscardBytes);
        text += Line(L"  USB written:  ", now.histUsbWrittenBytes);
        text += Line(L"  VCOM discard: ", now.histWriteDiscardBytes);
        text += L"  USB IN+OUT errors: " + Grouped(now.histUsbInErrors) + L" + " +
                Grouped(now.histUsbOutErrors) + L" \n";
        text += L"  USB offline count: " + Grouped(now.histOfflines) + L" (+" +
                Grouped(now.histOfflineIncrease) + L") \n\n";
        return text + Verdict();
    }

  private:
    std::wstring Grouped(int64_t number) const {
        std::wstring text = std::to_wstring(number);
        const size_t firstDigit = number < 0 ? 1 : 0;
        for (size_t end = text.size(); end > firstDigit + 3; end -= 3)
            text.insert(end - 3, separator_);
        return text;
    }
    std::wstring Grouped(uint64_t number) const { return Grouped(static_cast<int64_t>(number)); }
    std::wstring Line(const wchar_t* label, uint64_t number) const {
        return label + Grouped(number) + L" \n";
    }
    // Small numbers are shown with their 32-bit sign.
    std::wstring Small(uint32_t number) const { return Grouped(int64_t{static_cast<int32_t>(number)}); }
    std::wstring Fill(uint32_t peak, uint32_t limit) const {
        const uint64_t product = uint64_t{peak} * 100 % 0x1'0000'0000;
        const uint32_t percent = limit == 0 ? 0 : static_cast<uint32_t>(product / limit);
        return Small(peak) + L" / " + Small(limit) + L" (" + Small(percent) + L"%) \n";
    }
    std::wstring Rate(uint64_t difference) const {
        const int64_t moved = static_cast<int32_t>(difference & 0xFFFFFFFF);
        if (moved <= 0) return L"";
        const std::wstring increment = L" (+" + Grouped(moved) + L")";
        if (report_.elapsedMs <= 0) return increment;
        const int64_t rate = moved / report_.elapsedMs;
        return increment + (rate == 0 ? L" <1 KB/s" : L" " + Grouped(rate) + L" KB/s");
    }
    static std::wstring Time(int64_t uemsec) {
        constexpr const wchar_t* noTime = L"0000-00-00 00:00:00";
        constexpr int64_t secondsTo1970 = 11'644'473'600;
        constexpr int64_t lastSecond = INT64_MAX / 10'000'000 - secondsTo1970;
        const int64_t seconds = uemsec / 1000;
        if (seconds < -secondsTo1970 || seconds > lastSecond) return noTime;
        const int64_t ticks = (seconds + secondsTo1970) * 10'000'000;
        const FILETIME utc = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        FILETIME local;
        SYSTEMTIME fields = {};
        if (!FileTimeToLocalFileTime(&utc, &local) || !FileTimeToSystemTime(&local, &fields)) return noTime;
        wchar_t text[64];
        swprintf(text, 64, L"%04d-%02d-%02d %02d:%02d:%02d", fields.wYear, fields.wMonth, fields.wDay,
                 fields.wHour, fields.wMinute, fields.wSecond);
        return text;
    }
    std::wstring Verdict() const {
        const FlowpathStat_st& now = report_.record;
        const auto up =
            static_cast<int64_t>(now.usbReceivedBytes - now.vcomReadBytes - now.readDiscardBytes -
                                 now.readBufferBytes - now.readBufferExtraBytes - now.vcomReadPendingBytes);
        const auto down = static_cast<int64_t>(now.vcomWrittenBytes - now.usbSentBytes -
                                               now.writeDiscardBytes - now.writeBufferBytes);
        std::wstring text;
        if (up != 0) text += L"Driver BUG: U1 != U2+U3+U4+U5 (diff=" + std::to_wstring(up) + L")";
        if (down != 0) text += L"Driver BUG: D1 != D2+D3+D4 (diff=" + std::to_wstring(down) + L")";
        return text.empty() ? L"Hint:\n  U1 = U2 + U3 + U4 + U5\n  D1 = D2 + D3 + D4\n" : text;
    }

    const FlowpathReport& report_;
    std::wstring separator_;
};

// ---- Records ---------------------------------------------------------------------------------------------

class RandomRecords {
  public:
    FlowpathStat_st Next() {
        FlowpathStat_st record = {};
        record.creationUemsec = Coin() ? kSomeUemsec + static_cast<int64_t>(random_() % 1'000'000'000'000)
                                       : static_cast<int64_t>(Number());
        for (uint64_t* counter :
             {&record.histOfflineIncrease,  &record.histOfflines,         &record.usbReceivedBytes,
              &record.vcomReadBytes,        &record.vcomReadPendingBytes, &record.readBufferBytes,
              &record.readBufferExtraBytes, &record.readDiscardBytes,     &record.histUsbReadBytes,
              &record.histReadDiscardBytes, &record.usbInErrors,          &record.histUsbInErrors,
              &record.usbSentBytes,         &record.vcomWrittenBytes,     &record.writeBufferBytes,
              &record.writeDiscardBytes,    &record.histUsbWrittenBytes,  &record.histWriteDiscardBytes,
              &record.usbOutErrors,         &record.histUsbOutErrors})
            *counter = Number();
        for (uint32_t* bytes : {&record.readBufferLimitBytes, &record.readBufferPeakBytes,
                                &record.writeBufferLimitBytes, &record.writeBufferPeakBytes})
            *bytes = static_cast<uint32_t>(Number());
        record.usbInActive = static_cast<uint8_t>(random_() % 3);
        record.usbOutActive = static_cast<uint8_t>(random_() % 3);
        if (Coin())
            record.usbReceivedBytes = record.vcomReadBytes + record.readDiscardBytes +
                                      record.readBufferBytes + record.readBufferExtraBytes +
                                      record.vcomReadPendingBytes;
        if (Coin())
            record.vcomWrittenBytes =
                record.usbSentBytes + record.writeDiscardBytes + record.writeBufferBytes;
        return record;
    }
    // What an earlier answer may have held: often close, sometimes anything.
    FlowpathStat_st Before(const FlowpathStat_st& record) {
        FlowpathStat_st previous = Coin() ? record : Next();
        if (Coin()) previous.usbReceivedBytes = record.usbReceivedBytes - random_() % 1'000'000;
        if (Coin()) previous.usbSentBytes = record.usbSentBytes - random_() % 1000;
        return previous;
    }
    int32_t ElapsedMs() {
        return Coin() ? static_cast<int32_t>(random_() % 2000) - 100 : static_cast<int32_t>(Number());
    }
    const wchar_t* Separator() {
        constexpr const wchar_t* separators[] = {L"", L",", L".", L" ", L"''", L"12345678"};
        return separators[random_() % std::size(separators)];
    }

  private:
    bool Coin() { return random_() % 2 == 0; }
    // From one digit up to the whole range, and the edges of the number types.
    uint64_t Number() {
        constexpr uint64_t edges[] = {0,          999,           1000,      0x7FFFFFFF, 0x80000000,
                                      0xFFFFFFFF, 0x1'0000'0000, INT64_MAX, 1ull << 63, ~0ull};
        return random_() % 4 == 0 ? edges[random_() % std::size(edges)] : random_() >> random_() % 64;
    }

    std::mt19937_64 random_{20261122};
};

TEST(FormatFlowpathReport, RandomRecordsReadAsTheyShould) {
    RandomRecords records;
    for (int round = 0; round < 5000; ++round) {
        const FlowpathStat_st record = records.Next();
        const FlowpathStat_st previous = records.Before(record);
        const FlowpathReport report = {L"TAVIX VCOM %d (COM7)", records.Separator(), record, previous,
                                       records.ElapsedMs()};
        ASSERT_EQ(Report(report), ExpectedReport(report).Text()) << "round " << round;
    }
}

TEST(FormatFlowpathReport, AnIdleFlowpathReadsWholeAndLiteral) {
    FlowpathStat_st record = {};
    record.creationUemsec = INT64_MAX;
    EXPECT_EQ(ReportOf(record),
              L"Scanner\n"
              L"\n"
              L"Flowpath created: 0000-00-00 00:00:00\n"
              L"\n"
              L"Upstream Stat: \n"
              L"  [U1] USB received : 0 \n"
              L"  [U2] Vcom read    : 0 \n"
              L"  [U3] Discarded    : 0 \n"
              L"  [U4] Still in Rbuf: 0 \n"
              L"  [U5] Vcom pending : 0 \n"
              L"  Rbuf peak/limit   : 0 / 0 (0%) \n"
              L"  USB IN errors: 0 \n"
              L"\n"
              L"Downstream Stat: \n"
              L"  [D1] Vcom written : 0 \n"
              L"  [D2] USB sent     : 0 \n"
              L"  [D3] Discarded    : 0 \n"
              L"  [D4] Still in Wbuf: 0 \n"
              L"  Wbuf peak/limit   : 0 / 0 (0%) \n"
              L"  USB OUT errors: 0 \n"
              L"\n"
              L"USB activity: (none)\n"
              L"\n"
              L"Historical: \n"
              L"  USB read:     0 \n"
              L"  Read discard: 0 \n"
              L"  USB written:  0 \n"
              L"  VCOM discard: 0 \n"
              L"  USB IN+OUT errors: 0 + 0 \n"
              L"  USB offline count: 0 (+0) \n"
              L"\n"
              L"Hint:\n"
              L"  U1 = U2 + U3 + U4 + U5\n"
              L"  D1 = D2 + D3 + D4\n");
}

// ---- Increments and rates -------------------------------------------------------------------------------

struct RateRow {
    const char* name;
    uint64_t before, now;
    int32_t elapsedMs;
    const wchar_t* separator;
    const wchar_t* expected;  // after the counter

    friend void PrintTo(const RateRow& row, std::ostream* out) { *out << row.name; }
};

class FlowpathRateTest : public testing::TestWithParam<RateRow> {
  protected:
    // The line without its counter.
    static std::wstring Tail(const std::wstring& text, const wchar_t* label, uint64_t counter) {
        const size_t start = text.find(label) + wcslen(label) + std::to_wstring(counter).size();
        return text.substr(start, text.find(L'\n', start) - start);
    }
};

TEST_P(FlowpathRateTest, StandsBehindBothCounters) {
    const RateRow& row = GetParam();
    FlowpathStat_st record = {}, previous = {};
    record.usbReceivedBytes = record.usbSentBytes = row.now;
    previous.usbReceivedBytes = previous.usbSentBytes = row.before;
    // The counters themselves are grouped too; the ones of these rows are too short for that.
    const std::wstring text = Report({L"", row.separator, record, previous, row.elapsedMs});
    EXPECT_EQ(Tail(text, L"[U1] USB received : ", row.now), row.expected);
    EXPECT_EQ(Tail(text, L"[D2] USB sent     : ", row.now), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FlowpathRateTest,
    testing::Values(RateRow{"NothingMoved", 5, 5, 500, L"", L" "},
                    RateRow{"BackToZeroAfterAReset", 5, 0, 500, L"", L" "},
                    RateRow{"LessThanABytePerMillisecond", 0, 499, 500, L"", L"  (+499) <1 KB/s"},
                    RateRow{"OneBytePerMillisecond", 0, 500, 500, L"", L"  (+500) 1 KB/s"},
                    RateRow{"CutToWholes", 0, 999, 500, L"", L"  (+999) 1 KB/s"},
                    RateRow{"NoTimeHasPassed", 0, 999, 0, L"", L"  (+999)"},
                    RateRow{"TimeWentBack", 0, 999, -1, L"", L"  (+999)"},
                    RateRow{"OneMillisecond", 0, 999, 1, L"", L"  (+999) 999 KB/s"},
                    RateRow{"TheLargestIncrement", 0, 0x7FFFFFFF, 1, L"", L"  (+2147483647) 2147483647 KB/s"},
                    RateRow{"OneMoreCountsAsNegative", 0, 0x80000000, 500, L"", L" "},
                    RateRow{"CutTo32Bits", 0, 0x1'0000'0001, 500, L"", L"  (+1) <1 KB/s"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(FormatFlowpathReport, IncrementsAndRatesAreGroupedToo) {
    FlowpathStat_st record = {};
    const FlowpathStat_st previous = {};
    record.usbReceivedBytes = 7'654'321;
    EXPECT_NE(Report({L"", L",", record, previous, 2}).find(L"7,654,321  (+7,654,321) 3,827,160 KB/s\n"),
              std::wstring::npos);
}

TEST(FlowpathBufferPercent, IsUnsignedAndWrapsAround) {
    EXPECT_EQ(FlowpathBufferPercent(50, 200), 25u);
    EXPECT_EQ(FlowpathBufferPercent(2, 3), 66u);
    EXPECT_EQ(FlowpathBufferPercent(5, 0), 0u);
    EXPECT_EQ(FlowpathBufferPercent(42949672, 1), 4294967200u);
    EXPECT_EQ(FlowpathBufferPercent(42949673, 1), 4u) << "wrapped";
}

// ---- Verdict ---------------------------------------------------------------------------------------------

TEST(FindFlowpathImbalance, EveryCounterOfADirectionCounts) {
    const FlowpathStat_st balanced = {.usbReceivedBytes = 31,
                                      .vcomReadBytes = 1,
                                      .vcomReadPendingBytes = 16,
                                      .readBufferBytes = 4,
                                      .readBufferExtraBytes = 8,
                                      .readDiscardBytes = 2,
                                      .usbSentBytes = 32,
                                      .vcomWrittenBytes = 224,
                                      .writeBufferBytes = 128,
                                      .writeDiscardBytes = 64};
    EXPECT_TRUE(FindFlowpathImbalance(balanced).IsNone());
    constexpr uint64_t FlowpathStat_st::*upstream[] = {
        &FlowpathStat_st::vcomReadBytes, &FlowpathStat_st::vcomReadPendingBytes,
        &FlowpathStat_st::readBufferBytes, &FlowpathStat_st::readBufferExtraBytes,
        &FlowpathStat_st::readDiscardBytes};
    for (const auto counter : upstream) {
        FlowpathStat_st record = balanced;
        record.*counter += 5;
        EXPECT_EQ(FindFlowpathImbalance(record).upstream, -5);
        EXPECT_EQ(FindFlowpathImbalance(record).downstream, 0);
    }
    constexpr uint64_t FlowpathStat_st::*downstream[] = {&FlowpathStat_st::usbSentBytes,
                                                         &FlowpathStat_st::writeBufferBytes,
                                                         &FlowpathStat_st::writeDiscardBytes};
    for (const auto counter : downstream) {
        FlowpathStat_st record = balanced;
        record.*counter -= 5;
        EXPECT_EQ(FindFlowpathImbalance(record).upstream, 0);
        EXPECT_EQ(FindFlowpathImbalance(record).downstream, 5);
    }
}

std::wstring VerdictOf(uint64_t received, uint64_t written) {
    FlowpathStat_st record = {};
    record.usbReceivedBytes = received;
    record.vcomWrittenBytes = written;
    const std::wstring text = ReportOf(record, L",");
    return text.substr(text.find(L"(+0) \n\n") + 7);
}

TEST(FormatFlowpathReport, AFaultOfTheDriverIsNamedWithItsSizeAndWithoutGroups) {
    EXPECT_EQ(VerdictOf(1234, 0), L"Driver BUG: U1 != U2+U3+U4+U5 (diff=1234)");
    EXPECT_EQ(VerdictOf(0, ~0ull), L"Driver BUG: D1 != D2+D3+D4 (diff=-1)");
}

TEST(FormatFlowpathReport, BothFaultsFollowEachOtherUpstreamFirst) {
    EXPECT_EQ(VerdictOf(1, 2), L"Driver BUG: U1 != U2+U3+U4+U5 (diff=1)Driver BUG: D1 != D2+D3+D4 (diff=2)");
}

// ---- Time zone, room, hostile records -------------------------------------------------------------------

TEST(FormatFlowpathReport, TheCreationTimeIsCutToSecondsTowardsZero) {
    FlowpathStat_st before = {}, after = {};
    before.creationUemsec = -999;
    after.creationUemsec = 999;
    EXPECT_EQ(ReportOf(before), ReportOf(after));
}

TEST(FormatFlowpathReport, CutsToEveryCapacityAndTerminates) {
    FlowpathStat_st record = {};
    record.usbReceivedBytes = 123456789;
    const FlowpathReport report = {L"Scanner", L",", record, record, 500};
    const std::wstring whole = Report(report);
    for (size_t chars = 0; chars <= whole.size() + 1; ++chars) {
        GuardedBuffer<wchar_t> text(chars);
        FormatFlowpathReport(report, text.data(), static_cast<int32_t>(chars));
        if (chars == 0) continue;
        ASSERT_EQ(std::wstring(text.data()), whole.substr(0, chars - 1)) << chars;
    }
}

// The longest text there is: 99 characters of name, the widest separator, numbers of 19 digits.
TEST(FormatFlowpathReport, TheLongestTextFitsIntoTheBox) {
    FlowpathStat_st record, previous = {};
    memset(&record, 0xFF, sizeof(record));
    for (uint64_t* counter : {&record.usbReceivedBytes, &record.usbSentBytes, &record.vcomReadBytes,
                              &record.vcomWrittenBytes, &record.readDiscardBytes, &record.usbInErrors})
        *counter = static_cast<uint64_t>(INT64_MIN) + 0x7FFFFFFF;
    record.histUsbReadBytes = record.histReadDiscardBytes = record.histUsbInErrors =
        static_cast<uint64_t>(INT64_MIN);
    record.histUsbWrittenBytes = record.histWriteDiscardBytes = record.histUsbOutErrors =
        record.histUsbReadBytes;
    record.readBufferBytes = record.writeBufferBytes = record.writeDiscardBytes = record.histOfflines =
        record.histUsbReadBytes;
    const std::wstring name(99, L'W');
    const FlowpathReport report = {name.c_str(), L"12345678", record, previous, 1};
    const std::wstring text = Report(report);
    EXPECT_LT(text.size(), size_t{kTextChars - 1});
    EXPECT_EQ(text, ExpectedReport(report).Text());
}

// ---- No answer of the driver ----------------------------------------------------------------------------

constexpr FlowpathTotals kTotals = {.usbReadBytes = 1234567,
                                    .readDiscardBytes = 2,
                                    .usbWrittenBytes = 3,
                                    .writeDiscardBytes = 4,
                                    .usbInErrors = 5,
                                    .usbOutErrors = 6,
                                    .offlines = 7};

TEST(FormatFlowpathFailure, ALostFlowpathReadsWholeAndLiteral) {
    wchar_t text[kTextChars];
    FormatFlowpathFailure(ERROR_DEVICE_NOT_CONNECTED, kTotals, L",", text, kTextChars);
    EXPECT_STREQ(text,
                 L"Flowpath is lost.\n"
                 L"\n"
                 L"\n"
                 L"Historical total: \n"
                 L"  USB read:     1,234,567 \n"
                 L"  Read discard: 2 \n"
                 L"  USB written:  3 \n"
                 L"  VCOM discard: 4 \n"
                 L"  USB IN+OUT errors: 5 + 6 \n"
                 L"  USB offline count: 7 \n");
}

TEST(FormatFlowpathFailure, AnyOtherErrorShowsNumberAndName) {
    for (const DWORD error : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_GEN_FAILURE}, DWORD{4711}}) {
        wchar_t text[kTextChars];
        FormatFlowpathFailure(error, kTotals, L"", text, kTextChars);
        const std::wstring expected = L"IOCTL_TAVIX_GetFlowpathStat meets winerr=" + std::to_wstring(error) +
                                      L"(" + WinErrName(error) +
                                      L")\n\n\nHistorical total: \n  USB read:     1234567 \n";
        EXPECT_EQ(std::wstring(text).substr(0, expected.size()), expected);
    }
}

TEST(FormatFlowpathFailure, CutsToEveryCapacityAndTerminates) {
    wchar_t whole[kTextChars];
    FormatFlowpathFailure(ERROR_GEN_FAILURE, kTotals, L",", whole, kTextChars);
    for (size_t chars = 0; chars <= wcslen(whole) + 1; ++chars) {
        GuardedBuffer<wchar_t> text(chars);
        FormatFlowpathFailure(ERROR_GEN_FAILURE, kTotals, L",", text.data(), static_cast<int32_t>(chars));
        if (chars == 0) continue;
        ASSERT_EQ(std::wstring(text.data()), std::wstring(whole, chars - 1)) << chars;
    }
}

}  // namespace
