// Puts an observer between the DLL and every function that it imports or looks up at run time, whatever the
// function's parameters are: a call arrives as its arguments in order, as whole words. Functions with
// floating-point parameters are not for this.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/windows_api.h"

#include "tests/support/import_redirect.h"

struct InterceptedCall {
    const std::string& function;
    uint64_t* arguments;

    // The real function's answer.
    uint64_t Proceed() const;
    void* real;
};

// Returns what the caller shall see. On entry the last error is the caller's; on return it must be what the
// caller shall find.
using CallObserver = std::function<uint64_t(const InterceptedCall&)>;

// Of the calls that one module makes on the thread that made this object, to the functions chosen.
class Interception {
  public:
    Interception(HMODULE module, const std::function<bool(const std::string&)>& chosen,
                 CallObserver observer);
    ~Interception();
    Interception(const Interception&) = delete;
    Interception& operator=(const Interception&) = delete;

  private:
    ImportRedirect redirect_;
};

// The address that stands for a function which the DLL has looked up at run time.
void* InterceptedAddress(const std::string& function, void* real);
