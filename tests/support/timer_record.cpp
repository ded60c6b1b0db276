#include "tests/support/timer_record.h"

#include <algorithm>

TimerRecord::TimerRecord(Timers timers, HMODULE module)
    : held_(timers == Timers::kHeld),
      set_(
          "SetTimer",
          [this](HWND window, UINT_PTR id, UINT intervalMs, TIMERPROC procedure) {
              const UINT_PTR result =
                  held_ && window != nullptr ? id : SetTimer(window, id, intervalMs, procedure);
              const std::lock_guard lock(mutex_);
              timers_.push_back({window, id, intervalMs, result != 0});
              return result;
          },
          module),
      kill_(
          "KillTimer",
          [this](HWND window, UINT_PTR id) {
              const std::lock_guard lock(mutex_);
              for (Timer& timer : timers_)
                  if (timer.window == window && timer.id == id) timer.running = false;
              return held_ && window != nullptr ? TRUE : KillTimer(window, id);
          },
          module) {}

std::vector<UINT> TimerRecord::IntervalsOf(UINT_PTR id) const {
    const std::lock_guard lock(mutex_);
    std::vector<UINT> intervals;
    for (const Timer& timer : timers_)
        if (timer.id == id) intervals.push_back(timer.intervalMs);
    return intervals;
}

bool TimerRecord::IsRunning(UINT_PTR id) const {
    const std::lock_guard lock(mutex_);
    return std::any_of(timers_.begin(), timers_.end(),
                       [&](const Timer& timer) { return timer.id == id && timer.running; });
}
