// Runs of the command line inside one process, so that what a run keeps would show.
#include "sim/shim/platform_shim.h"
#include "tavixctl/command_line.h"
#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/support/scratch_folder.h"
#include "tests/system/tavixctl_fixture.h"

namespace {

constexpr int kRunsInALongRun = 1000;  // of all lines together

// What the runs print goes nowhere.
class SilentStreams {
  public:
    SilentStreams()
        : output_(GetStdHandle(STD_OUTPUT_HANDLE)),
          errors_(GetStdHandle(STD_ERROR_HANDLE)),
          nowhere_(CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                               OPEN_EXISTING, 0, nullptr)) {
        SetStdHandle(STD_OUTPUT_HANDLE, nowhere_.get());
        SetStdHandle(STD_ERROR_HANDLE, nowhere_.get());
    }
    ~SilentStreams() {
        SetStdHandle(STD_OUTPUT_HANDLE, output_);
        SetStdHandle(STD_ERROR_HANDLE, errors_);
    }
    SilentStreams(const SilentStreams&) = delete;
    SilentStreams& operator=(const SilentStreams&) = delete;

  private:
    HANDLE output_;
    HANDLE errors_;
    FileHandle nowhere_;
};

TEST_F(Tavixctl, RunsLeaveNothingBehind) {
    ASSERT_TRUE(InstallPlatformShim());
    const ScratchFolder folder(L"tavixctl");
    const std::wstring wide = folder.File(L"report.zip");
    const std::string report(wide.begin(), wide.end());
    const std::vector<std::vector<std::string>> lines = {
        {"list"},
        {"list", "--json"},
        {"show", "COM5"},
        {"ports", "--json"},
        {"stats", "COM5"},
        {"stats", "COM5", "--follow", "--count", "2", "--interval", "1", "--json"},
        {"errors", "COM5"},
        {"errors", "COM5", "--past"},
        {"log", "status"},
        {"bus", "status"},
        {"globals", "get"},
        {"globals", "set", "lifemode", "friendly"},
        {"set-port", "COM5", "COM5"},
        {"set-port", "COM5", "LPT1"},
        {"set-lifemode", "COM5", "friendly"},
        {"tweak", "COM5", "reset-in-pipe"},
        {"self-test"},
        {"forget", "COM5"},
        {"forget", "--all-unplugged", "--dry-run"},
        {"report", report},
        {"completion", "powershell"},
        {"--help"},
        {"nonsense"},
    };
    const int runs = RunsOf(3, kRunsInALongRun / static_cast<int>(lines.size()) + 1);
    for (const std::vector<std::string>& line : lines) {
        SCOPED_TRACE(line[0]);
        const SilentStreams silent;
        ExpectNoLeaks([&] { RunCommandLine(line); }, runs);
    }
}

}  // namespace
