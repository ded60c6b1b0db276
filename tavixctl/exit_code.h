// How a command ends, for scripts. docs/automation.md lists the numbers.
#pragma once

#include <stdexcept>
#include <string>

enum class ExitCode : int {
    kSuccess = 0,
    kRequestFailed = 1,
    kUsage = 2,
    kNoSuchDevice = 3,
    kConflict = 4,
    kDenied = 5,
    kDriverNotReady = 6,
};

// Ends the command. The message goes to the error stream.
class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

    ExitCode code() const { return code_; }

  private:
    ExitCode code_;
};

// Nothing when the code is 0; otherwise the failure that it means, with its number and name. `what` is what
// was tried.
void RequireSuccess(unsigned long winError, const std::string& what);
void RequireUfSuccess(unsigned int ufAppErr, const std::string& what);
