// Small measuring harness of the benchmark programs: the work of this system and of its peer run in turns, so
// that a busy machine slows both, and the median of many turns is what counts.
#pragma once

#include <functional>

// Short turns and many of them: most then pass without an interruption by other programs.
struct BenchEffort {
    int turns = 151;              // measurements per row and side
    double turnSeconds = 0.0003;  // a turn repeats its work until it lasts at least this long
};

// What one row must reach. At least `minRatio` times the peer's speed (1.0: as fast); 0 asks nothing.
struct BenchAim {
    double minRatio = 0;
};

using BenchWork = std::function<void()>;

// Median seconds per call of `work`.
double MeasureMedian(const BenchWork& work, const BenchEffort& effort = {});

// The same for two works measured in turns.
struct BenchPair {
    double ours;
    double peer;
};
BenchPair MeasurePair(const BenchWork& ours, const BenchWork& peer, const BenchEffort& effort = {});

// The head line of a table, then one aligned line per row: name, ours, peer, ratio (peer's time / our time),
// aim and whether it was reached.
void PrintBenchHeader(const char* title, const char* oursName, const char* peerName);
void PrintBenchRow(const char* name, const BenchPair& medians, const BenchAim& aim = {});
// A row without a peer: the aim is a time, 0 asks nothing.
void PrintBenchTime(const char* name, double seconds, double maxSeconds = 0);

// Measures and prints.
void BenchCompare(const char* name, const BenchWork& ours, const BenchWork& peer, const BenchAim& aim = {},
                  const BenchEffort& effort = {});

// Keeps the compiler from dropping a result or assuming what memory holds.
template <typename T>
inline void KeepResult(T const& value) {
    asm volatile("" : : "r,m"(value) : "memory");
}
