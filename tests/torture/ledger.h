// Everything that the DLL has acquired and not given back, by the calls that acquire and release.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

class HandleLedger {
  public:
    // Before and after a real call. What is wrong with it is added to `problems`.
    void BeforeCall(const std::string& function, const uint64_t* arguments,
                    std::vector<std::string>& problems);
    void AfterCall(const std::string& function, const uint64_t* arguments, uint64_t result);

    // "RegOpenKeyExW: 2", of what is still held.
    std::vector<std::string> Held() const;
    void Clear() { held_.clear(); }

    static bool IsWatched(const std::string& function);

  private:
    // Kind and value; and the function that acquired it.
    std::multimap<std::pair<int, uint64_t>, std::string> held_;
};
