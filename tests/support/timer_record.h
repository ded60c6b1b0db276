// Keeps account of the timers that one module starts and stops. The calls go on to the system, or the timers
// of windows are held: then nothing ticks but what the test sends, however long it takes.
//
//   const TimerRecord timers;
//   ...
//   EXPECT_EQ(timers.IntervalsOf(kAutoRefreshTimer), std::vector<UINT>{500});
//   EXPECT_FALSE(timers.IsRunning(kAutoRefreshTimer));
#pragma once

#include <mutex>
#include <vector>

#include "base/windows_api.h"

#include "tests/support/import_redirect.h"

class TimerRecord {
  public:
    enum class Timers { kTick, kHeld };

    // Of `module` (null: the test program), on the thread that makes the record; read from any thread.
    explicit TimerRecord(Timers timers = Timers::kTick, HMODULE module = nullptr);

    // In milliseconds, one for each start of a timer with this id, in order.
    std::vector<UINT> IntervalsOf(UINT_PTR id) const;
    // Started and not stopped since. A timer that ended only because its window was destroyed counts as
    // running.
    bool IsRunning(UINT_PTR id) const;

  private:
    struct Timer {
        HWND window;
        UINT_PTR id;
        UINT intervalMs;
        bool running;
    };

    mutable std::mutex mutex_;
    std::vector<Timer> timers_;
    bool held_;
    ReplacedCall<SetTimer> set_;
    ReplacedCall<KillTimer> kill_;
};
