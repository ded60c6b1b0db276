// Pictures of the Flowpath statistics in each state, for people to look at.
#include "tests/support/larger_fonts.h"
#include "tests/support/screenshot.h"
#include "tests/system/flowpath_fixture.h"

namespace {

class FlowpathPicture : public FlowpathStatTest {
  protected:
    // All of the text fits, whatever the window has shown before.
    static void Take(const OpenInfoBox& box, const wchar_t* name) {
        EXPECT_FALSE(box.HasScrollBar()) << NarrowText(name);
        EXPECT_FALSE(SaveScreenshot(box.hwnd(), std::wstring(L"flowpath_") + name).empty());
    }
    static constexpr FlowpathStat_st Busy() {
        return {.creationUemsec = 1'709'630'822'045,
                .histOfflineIncrease = 1,
                .histOfflines = 12,
                .usbInActive = 1,
                .usbReceivedBytes = 1'234'567'890,
                .vcomReadBytes = 1'234'501'330,
                .vcomReadPendingBytes = 1024,
                .readBufferBytes = 65'000,
                .readBufferExtraBytes = 536,
                .histUsbReadBytes = 98'765'432'109,
                .readBufferLimitBytes = 65'536,
                .readBufferPeakBytes = 65'536,
                .usbInErrors = 3,
                .histUsbInErrors = 44,
                .usbOutActive = 1,
                .usbSentBytes = 7'654'321,
                .vcomWrittenBytes = 7'719'857,
                .writeBufferBytes = 65'536,
                .histUsbWrittenBytes = 12'345'678'901,
                .writeBufferLimitBytes = 65'536,
                .writeBufferPeakBytes = 65'536};
    }
};

TEST_F(FlowpathPicture, Idle) {
    FlowpathStat_st idle = {};
    idle.creationUemsec = 1'709'630'822'045;
    idle.readBufferLimitBytes = idle.writeBufferLimitBytes = 65'536;
    Declare(idle);
    Show([&](OpenInfoBox& box) { Take(box, L"idle"); });
}

TEST_F(FlowpathPicture, Transferring) {
    FlowpathStat_st stat = Busy();
    stat.readBufferPeakBytes = stat.writeBufferPeakBytes = 12'000;
    stat.vcomReadBytes += stat.readBufferBytes;
    stat.readBufferBytes = 0;
    stat.vcomWrittenBytes -= stat.writeBufferBytes;
    stat.writeBufferBytes = 0;
    Declare(stat);
    Show([&](OpenInfoBox& box) {
        stat.usbReceivedBytes += 234'567;
        stat.vcomReadBytes += 234'567;
        stat.usbSentBytes += 456;
        stat.vcomWrittenBytes += 456;
        Declare(stat);
        tick_ += 500;
        box.Tick();
        Take(box, L"transferring");
        stat.usbReceivedBytes += 234'567;
        stat.vcomReadBytes += 234'567;
        Declare(stat);
        tick_ += 500;
        box.Command(kInfoBoxRefreshId);
        Take(box, L"thousand_separator");
    });
}

TEST_F(FlowpathPicture, BothBuffersFull) {
    Declare(Busy());
    Show([&](OpenInfoBox& box) {
        tick_ += 500;
        box.Tick();
        Take(box, L"both_full");
    });
}

TEST_F(FlowpathPicture, At150Percent) {
    const LargerFonts fonts;
    Declare(Busy());
    Show([&](OpenInfoBox& box) {
        Take(box, L"150_percent");
        ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
        box.Tick();
        Take(box, L"150_percent_lost");
    });
}

TEST_F(FlowpathPicture, LostAndReturned) {
    Declare(Busy());
    Show([&](OpenInfoBox& box) {
        ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
        box.Tick();
        Take(box, L"lost");
        ASSERT_EQ(driver_.SetOnline(kHuid, true), ERROR_SUCCESS);
        box.Tick();
        Take(box, L"returned");
    });
}

TEST_F(FlowpathPicture, OpenedLost) {
    Declare(Busy());
    ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
    Show([&](OpenInfoBox& box) {
        Take(box, L"opened_lost");
        ASSERT_EQ(driver_.SetOnline(kHuid, true), ERROR_SUCCESS);
        box.Tick();
        Take(box, L"opened_lost_returned");
    });
}

TEST_F(FlowpathPicture, Miscounting) {
    Declare(Busy());
    ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldMiscount, 4711), ERROR_SUCCESS);
    Show([&](OpenInfoBox& box) { Take(box, L"miscounting"); });
}

TEST_F(FlowpathPicture, MenuAndHint) {
    Declare(Busy());
    modal_.ExpectMenu().Do([](MenuView& menu) {
        SaveScreenshot(nullptr, L"flowpath_menu_screen");
        menu.Dismiss();
    });
    Show([&](OpenInfoBox& box) {
        SaveScreenshot(nullptr, L"flowpath_hint_screen");
        box.RightClick();
    });
}

}  // namespace
