#include "ui/dialog_commands.h"

#include <gtest/gtest.h>

#include "base/win32_handle.h"
#include "ui/dialog_state.h"

namespace {

struct Page {
    HWND dialog = nullptr;
    int saved = 0;
    int closed = 0;
};

void OnSave(HWND dialog, Page& page) noexcept {
    page.dialog = dialog;
    ++page.saved;
}

void OnClosed(HWND, Page& page) noexcept {
    ++page.closed;
}

constexpr CommandRow<Page> kCommands[] = {{5, BN_CLICKED, OnSave}, {6, CBN_CLOSEUP, OnClosed}};
const HWND kDialog = reinterpret_cast<HWND>(size_t{0x77});

TEST(DialogCommands, RunTheRowOfControlAndNotification) {
    Page page;
    EXPECT_TRUE(RunCommand(kCommands, kDialog, page, MAKEWPARAM(5, BN_CLICKED)));
    EXPECT_EQ(page.dialog, kDialog);
    EXPECT_TRUE(RunCommand(kCommands, kDialog, page, MAKEWPARAM(6, CBN_CLOSEUP)));
    EXPECT_EQ(page.saved, 1);
    EXPECT_EQ(page.closed, 1);
}

TEST(DialogCommands, WithoutARowNothingIsRun) {
    Page page;
    EXPECT_FALSE(RunCommand(kCommands, kDialog, page, MAKEWPARAM(5, BN_DOUBLECLICKED)));
    EXPECT_FALSE(RunCommand(kCommands, kDialog, page, MAKEWPARAM(7, BN_CLICKED)));
    EXPECT_EQ(page.saved + page.closed, 0);
}

TEST(DialogState, ComesBackUntilTheWindowIsGone) {
    OwnedWindow dialog(
        CreateWindowExW(0, L"#32770", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(DialogState<Page>(dialog.get()), nullptr);
    Page page;
    SetDialogState(dialog.get(), &page);
    EXPECT_EQ(DialogState<Page>(dialog.get()), &page);
    const HWND gone = dialog.get();
    dialog.reset();
    EXPECT_EQ(DialogState<Page>(gone), nullptr);
}

}  // namespace
