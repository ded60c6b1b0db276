// Openings and refreshes of the Flowpath statistics leave nothing behind. TAVIX_LONG_TESTS=1 runs 1,000
// openings and 10,000 refreshes.
#include <functional>

#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/system/access_fixture.h"
#include "tools/flowpath_stat.h"
#include "ui/info_box.h"

namespace {

constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT_PTR kHintTimer = 3;
constexpr int kRefreshesPerRun = 10;

// Without a driver of boxes, whose threads have handles of their own: the window's last step of opening, the
// start of its hint's timer, runs the work on its thread and closes it.
class FlowpathLeakTest : public DriverAccessTest {
  protected:
    void Show(const std::function<void(HWND)>& work) {
        REPLACE_CALL(setTimer, SetTimer, [&](HWND window, UINT_PTR id, UINT, TIMERPROC) -> UINT_PTR {
            if (id != kHintTimer) return id;
            work(window);
            PostMessageW(window, WM_COMMAND, kInfoBoxOkId, 0);
            return id;
        });
        ShowFlowpathStat({.page = nullptr,
                          .deviceSet = vcom_.set(),
                          .device = vcom_.device(),
                          .portName = L"COM5",
                          .hint = nullptr,
                          .timerRunning = false,
                          .runTimer = nullptr},
                         false);
    }
    static void Refresh(HWND window) { SendMessageW(window, WM_TIMER, kRefreshTimer, 0); }
};

TEST_F(FlowpathLeakTest, OpeningsLeaveNothingBehind) {
    ExpectNoLeaks([&] { Show([](HWND) {}); }, RunsOf(20, 1000));
}

TEST_F(FlowpathLeakTest, RefreshesLeaveNothingBehind) {
    Show([](HWND window) {
        ExpectNoLeaks(
            [&] {
                for (int i = 0; i < kRefreshesPerRun; ++i)
                    Refresh(window);
            },
            RunsOf(10, 1000));
    });
}

TEST_F(FlowpathLeakTest, RefreshesWithoutAFlowpathLeaveNothingBehind) {
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    Show([](HWND window) { ExpectNoLeaks([&] { Refresh(window); }, RunsOf(20, 1000)); });
}

int g_allocations = 0;
int g_allocationsAtCaption = -1;

// The box sets its caption as soon as it has the text. Then it may look at the monitors, which takes a list.
TEST_F(FlowpathLeakTest, ARefreshAllocatesNothing) {
    REPLACE_CALL(allocate, malloc, [](size_t bytes) {
        ++g_allocations;
        return ReplacedCall<malloc>::Original(bytes);
    });
    REPLACE_CALL(reallocate, realloc, [](void* block, size_t bytes) {
        ++g_allocations;
        return ReplacedCall<realloc>::Original(block, bytes);
    });
    REPLACE_CALL(setText, SetWindowTextW, [](HWND window, LPCWSTR text) {
        if (g_allocationsAtCaption < 0) g_allocationsAtCaption = g_allocations;
        return ReplacedCall<SetWindowTextW>::Original(window, text);
    });
    int whole = -1;
    int control = -1;
    Show([&](HWND window) {
        Refresh(window);
        g_allocations = 0;
        g_allocationsAtCaption = -1;
        Refresh(window);
        whole = g_allocations;
        const std::wstring proof(1000, L'x');
        control = g_allocations - whole;
    });
    EXPECT_EQ(g_allocationsAtCaption, 0);
    EXPECT_LE(whole, 1);
    EXPECT_EQ(control, 1) << "the count is alive";
}

}  // namespace
