#include "bench/harness.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "base/windows_api.h"

namespace {

double Now() {
    static const double secondsPerCount = [] {
        LARGE_INTEGER frequency;
        QueryPerformanceFrequency(&frequency);
        return 1.0 / static_cast<double>(frequency.QuadPart);
    }();
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) * secondsPerCount;
}

double TimeCalls(const BenchWork& work, int calls) {
    const double start = Now();
    for (int i = 0; i < calls; ++i)
        work();
    return Now() - start;
}

// Doubles the calls until a turn is long enough for the clock; this also warms caches and tables.
int CallsPerTurn(const BenchWork& work, const BenchEffort& effort) {
    int calls = 1;
    while (TimeCalls(work, calls) < effort.turnSeconds && calls < (1 << 28))
        calls *= 2;
    return calls;
}

double Median(std::vector<double>& samples) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

struct TimeText {
    char text[24];
};

TimeText FormatTime(double seconds) {
    TimeText result;
    if (seconds < 1e-6) {
        snprintf(result.text, sizeof(result.text), "%.1f ns", seconds * 1e9);
    } else if (seconds < 1e-3) {
        snprintf(result.text, sizeof(result.text), "%.2f us", seconds * 1e6);
    } else {
        snprintf(result.text, sizeof(result.text), "%.2f ms", seconds * 1e3);
    }
    return result;
}

}  // namespace

double MeasureMedian(const BenchWork& work, const BenchEffort& effort) {
    const int calls = CallsPerTurn(work, effort);
    std::vector<double> samples;
    for (int turn = 0; turn < effort.turns; ++turn)
        samples.push_back(TimeCalls(work, calls) / calls);
    return Median(samples);
}

BenchPair MeasurePair(const BenchWork& ours, const BenchWork& peer, const BenchEffort& effort) {
    const int ourCalls = CallsPerTurn(ours, effort);
    const int peerCalls = CallsPerTurn(peer, effort);
    std::vector<double> ourSamples, peerSamples;
    for (int turn = 0; turn < effort.turns; ++turn) {
        ourSamples.push_back(TimeCalls(ours, ourCalls) / ourCalls);
        peerSamples.push_back(TimeCalls(peer, peerCalls) / peerCalls);
    }
    return {Median(ourSamples), Median(peerSamples)};
}

void PrintBenchHeader(const char* title, const char* oursName, const char* peerName) {
    printf("\n%-44s %12s %12s %8s  %s\n", title, oursName, peerName, "ratio", "aim");
    fflush(stdout);
}

void PrintBenchRow(const char* name, const BenchPair& medians, const BenchAim& aim) {
    const double ratio = medians.peer / medians.ours;
    printf("%-44s %12s %12s %7.2fx", name, FormatTime(medians.ours).text, FormatTime(medians.peer).text,
           ratio);
    if (aim.minRatio > 0) {
        printf("  >= %.2fx %s", aim.minRatio, ratio >= aim.minRatio ? "reached" : "MISSED");
    }
    printf("\n");
    fflush(stdout);
}

void PrintBenchTime(const char* name, double seconds, double maxSeconds) {
    printf("%-44s %12s %12s %8s", name, FormatTime(seconds).text, "", "");
    if (maxSeconds > 0) {
        printf("  <= %s %s", FormatTime(maxSeconds).text, seconds <= maxSeconds ? "reached" : "MISSED");
    }
    printf("\n");
    fflush(stdout);
}

void BenchCompare(const char* name, const BenchWork& ours, const BenchWork& peer, const BenchAim& aim,
                  const BenchEffort& effort) {
    PrintBenchRow(name, MeasurePair(ours, peer, effort), aim);
}
