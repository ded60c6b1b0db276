// Collects the module's trace lines while it lives.
#pragma once

#include <string>
#include <vector>

#include "base/trace_line.h"

class TraceRecorder {
  public:
    TraceRecorder() {
        Lines().clear();
        SetTraceLineHook([](const wchar_t* line) { Lines().push_back(line); });
    }
    ~TraceRecorder() { SetTraceLineHook(nullptr); }
    TraceRecorder(const TraceRecorder&) = delete;
    TraceRecorder& operator=(const TraceRecorder&) = delete;

    const std::vector<std::wstring>& lines() const { return Lines(); }
    void Clear() { Lines() = {}; }

  private:
    static std::vector<std::wstring>& Lines() {
        static std::vector<std::wstring> lines;
        return lines;
    }
};
