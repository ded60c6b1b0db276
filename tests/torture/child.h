// The part of the torture that runs in a process of its own, because it may crash or hang there. What it does
// at the moment stands in a small file that outlives it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "sim/client/simulated_driver.h"

// The device that the parent has plugged for it.
UsbIdentity TorturedDevice();

struct ChildProgress {
    std::atomic<int32_t> index;  // of the case that runs, -1 before the first
    std::atomic<int32_t> cases;  // that have been run
    std::atomic<int32_t> met;    // of them, those that came to what was to go wrong
    std::atomic<int32_t> lies;   // replies that were made up
    std::atomic<int32_t> done;   // 1 at the end
    char what[400];              // flow and mishap
};

// A view of the file, which is made when there is none; never closed.
ChildProgress* OpenProgress(const std::wstring& file);

// What the child is to do: `from` is the first case.
//   calls FLOW FROM          every failing call of a flow
//   lies FLOW ROUNDS FROM    so many rounds of lies for a flow
//   lie FLOW SEED            one of them, as a sample names it
//   unplug FLOW FROM         the device goes during each request of a flow
//   sample SEED SECONDS FROM cases of all kinds, chosen by the seed
// Returns the exit code. Problems are printed to `report`, one line each.
int RunChild(const std::wstring& progressFile, const std::wstring& reportFile, int argc, wchar_t** argv);
