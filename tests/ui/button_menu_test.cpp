#include "ui/button_menu.h"

#include <gtest/gtest.h>

#include "base/module.h"
#include "base/win32_handle.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/modal_driver.h"

namespace {

constexpr MenuRow kStates[] = {{1200, L"Disabled = no"}, {1210, L"Disabled = yes"}};
constexpr MenuRow kRows[] = {
    {41, L"&One"}, {42, L"&Two", 7}, {0, nullptr}, {0, L"States", 0, kStates}, {43, L"T&hree", 8}};

class ButtonMenu : public testing::Test {
  protected:
    ButtonMenu()
        : dialog_(CreateWindowExW(0, L"#32770", L"Menu", WS_POPUP | WS_VISIBLE, 300, 200, 300, 200, nullptr,
                                  nullptr, nullptr, nullptr)),
          button_(CreateWindowExW(0, L"BUTTON", L"&Tools", WS_CHILD | WS_VISIBLE, 120, 40, 80, 24,
                                  dialog_.get(), nullptr, nullptr, nullptr)) {
        SetForegroundWindow(dialog_.get());
        modal_.Ignore(dialog_.get());
    }

    OwnedWindow dialog_;
    HWND button_;
    ModalDriver modal_;
};

TEST_F(ButtonMenu, ListsItsRowsAndReturnsTheChosenCommand) {
    modal_.ExpectMenu().Choose(42);
    EXPECT_EQ(TrackMenuUnder(button_, kRows), 42u);
    ASSERT_EQ(modal_.menus().size(), 1u);
    EXPECT_EQ(modal_.menus()[0].Texts(), L"&One\n&Two\n-\nStates\nT&hree\n");
    EXPECT_EQ(modal_.menus()[0].owner, dialog_.get());
}

TEST_F(ButtonMenu, AnEntryOfASubmenuIsACommandToo) {
    modal_.ExpectMenu().Choose(1210);
    EXPECT_EQ(TrackMenuUnder(button_, kRows), 1210u);
}

TEST_F(ButtonMenu, ADismissedMenuIsNoCommand) {
    modal_.ExpectMenu().Dismiss();
    EXPECT_EQ(TrackMenuUnder(button_, kRows), 0u);
}

TEST_F(ButtonMenu, StandsRightAlignedAtTheButtonsLowerCorner) {
    modal_.ExpectMenu().Dismiss();
    TrackMenuUnder(button_, kRows);
    RECT button = {};
    GetWindowRect(button_, &button);
    ASSERT_EQ(modal_.menus().size(), 1u);
    EXPECT_EQ(modal_.menus()[0].area.right, button.right);
    EXPECT_EQ(modal_.menus()[0].area.top, button.bottom);
}

TEST_F(ButtonMenu, AMenuThatCannotBeMadeIsNotShown) {
    CallFaults faults;
    WATCH_CALL(faults, CreatePopupMenu, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, AppendMenuW, FALSE, ERROR_NOT_ENOUGH_MEMORY);
    for (int call = 1; call <= 9; ++call) {
        faults.FailAt(call);
        UINT chosen = 1;
        faults.During([&] { chosen = TrackMenuUnder(button_, kRows); });
        EXPECT_EQ(chosen, 0u) << faults.Describe();
        EXPECT_TRUE(faults.CallFailed()) << call;
    }
}

TEST_F(ButtonMenu, LeavesNothingBehind) {
    REPLACE_CALL(themed, TrackPopupMenuEx, [](HMENU, UINT, int, int, HWND, LPTPMPARAMS) { return BOOL{42}; });
    REPLACE_CALL(plain, TrackPopupMenu,
                 [](HMENU, UINT, int, int, int, HWND, const RECT*) { return BOOL{42}; });
    ExpectNoLeaks([&] { EXPECT_EQ(TrackMenuUnder(button_, kRows), 42u); });
}

}  // namespace
