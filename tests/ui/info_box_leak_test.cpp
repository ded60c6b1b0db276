#include <array>
#include <cstdlib>

#include "tests/support/leak_counters.h"
#include "tests/ui/info_box_fixture.h"

namespace {

// Without the driver's threads, whose own handles would be counted: the box's callback closes it.
void OpenAndClose(HWND parent) {
    std::array<FlexiInfoMenuItem, 2> items{
        {{100, kMenuItemUnchecked, L"Entry"}, {FIMI_Detach, 0, L"Detach"}}};
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.cancelText = L"Cancel";
    params.autoRefreshMs = 60000;
    params.autoRefreshAtStart = 1;
    params.menuItems = items.data();
    params.menuItemCount = 2;
    params.refreshProc = [](void*, FlexiInfoEvent* event, wchar_t*, uint32_t) noexcept {
        if (event->reason == kReasonRefresh) PostMessageW(event->hwnd, WM_COMMAND, kInfoBoxOkId, 0);
        return event->reason == kReasonRefresh ? FIR_AlertIcon : FIR_NormalIcon;
    };
    wchar_t text[] = L"first line\nsecond line";
    params.textBufferChars = 23;
    EXPECT_EQ(FlexiInfoBox(parent, &params, text), kInfoBoxOk);
}

// TAVIX_LONG_TESTS=1 opens 500 boxes instead of 50.
TEST(InfoBoxLeaks, ManyBoxesLeaveNothingBehind) {
    const OwnedWindow parent(CreateWindowExW(0, L"STATIC", L"parent", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300,
                                             250, 500, 400, nullptr, nullptr, nullptr, nullptr));
    const int boxes = std::getenv("TAVIX_LONG_TESTS") != nullptr ? 500 : 50;
    ExpectNoLeaks([&] { OpenAndClose(parent.get()); }, boxes);
}

}  // namespace
