// The window of the Flowpath statistics for the VCOM of one plugged device, on the simulated driver. Time
// does not pass by itself: the window's timer never fires, and the tick counter stands still while it is
// open.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/import_redirect.h"
#include "tests/system/access_fixture.h"
#include "tests/ui/info_box_fixture.h"
#include "tools/tool_host.h"

inline constexpr wchar_t kFlowpathName[] = L"TAVIX Scanner (COM5)";
inline constexpr wchar_t kFlowpathTitle[] = L"<TAVIX Scanner (COM5)> Flowpath Statistics";

// The box shows CR LF line ends.
std::wstring Shown(const std::wstring& text);
bool Contains(const std::wstring& text, const wchar_t* part);
// The line of the text that begins with the label, without the label.
std::wstring LineOf(const std::wstring& text, const wchar_t* label);

class FlowpathStatTest : public DriverAccessTest {
  protected:
    using Timers = std::vector<std::pair<UINT_PTR, UINT>>;  // id and milliseconds

    void SetUp() override;

    // Opens the window, runs the script on the driver's thread and closes the window.
    void Show(const std::function<void(OpenInfoBox&)>& script, bool detached = false,
              const wchar_t* title = kFlowpathTitle);
    ToolHost Host();

    void Declare(const FlowpathStat_st& stat) { ASSERT_EQ(driver_.SetFlowpath(kHuid, stat), ERROR_SUCCESS); }
    // Received and sent bytes that balance.
    void DeclareBytes(uint64_t received, uint64_t sent);

    OwnedWindow parent_;
    ModalDriver modal_;
    Timers timers_;  // that the window has started
    std::atomic<uint32_t> tick_ = 1'000'000;

  private:
    ReplacedCall<SetTimer> setTimer_{"SetTimer",
                                     [this](HWND, UINT_PTR id, UINT periodMs, TIMERPROC) -> UINT_PTR {
                                         timers_.emplace_back(id, periodMs);
                                         return id;
                                     }};
};
