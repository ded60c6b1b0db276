#include "ui/info_box/refresh.h"

#include <array>

#include "base/time_text.h"
#include "base/xfmt.h"
#include "ui/info_box/state.h"

#include "tests/support/import_redirect.h"
#include "tests/ui/info_box_fixture.h"

namespace {

constexpr uint32_t kUnlisted = 77;

struct Cause {
    const char* name;
    uint32_t reason;
    void (*trigger)(OpenInfoBox&);
};

constexpr Cause kCauses[] = {
    {"Timer", kReasonRefresh, [](OpenInfoBox& box) { box.Tick(); }},
    {"Ok", kReasonOk, [](OpenInfoBox& box) { box.Command(kInfoBoxOkId); }},
    {"Cancel", kReasonCancel, [](OpenInfoBox& box) { box.Command(kInfoBoxCancelId); }},
    {"RefreshButton", kReasonRefreshButton, [](OpenInfoBox& box) { box.Command(kInfoBoxRefreshId); }},
    {"Menu", kReasonMenu, [](OpenInfoBox& box) { box.RightClick(); }},
};

struct ResultRow {
    Cause cause;
    uint32_t result;
};
void PrintTo(const ResultRow& row, std::ostream* out) {
    *out << row.cause.name << " with result " << row.result;
}

std::vector<ResultRow> AllResults() {
    std::vector<ResultRow> rows;
    for (const Cause& cause : kCauses)
        for (const uint32_t result : {FIR_NoChange, FIR_NormalIcon, FIR_Update, FIR_AlertIcon, FIR_StopAuto,
                                      FIR_AlertStopAuto, FIR_CloseOk, kUnlisted})
            rows.push_back({cause, result});
    return rows;
}

class InfoBoxResults : public InfoBoxTest, public testing::WithParamInterface<ResultRow> {
  protected:
    uint32_t result() const { return GetParam().result; }
    bool Updates() const { return result() != FIR_NoChange; }
    bool Alerts() const { return result() == FIR_AlertIcon || result() == FIR_AlertStopAuto; }
    bool StopsAuto() const { return result() == FIR_StopAuto || result() == FIR_AlertStopAuto; }
    bool IsClosingCause() const {
        return GetParam().cause.reason == kReasonOk || GetParam().cause.reason == kReasonCancel;
    }
    bool Closes() const {
        if (result() == FIR_CloseOk) return true;
        return IsClosingCause() && (result() == FIR_NoChange || result() == FIR_NormalIcon);
    }
    uint32_t ExpectedAnswer() const {
        if (result() == FIR_CloseOk) return kInfoBoxOk;
        return GetParam().cause.reason == kReasonOk ? kInfoBoxOk : kInfoBoxCancel;
    }
};

TEST_P(InfoBoxResults, DoWhatTheyAskFor) {
    std::array<FlexiInfoMenuItem, 1> items{{{100, kMenuItemPlain, L"Entry"}}};
    bool armed = false;
    callback_.act = [&](FlexiInfoEvent&, wchar_t* text, uint32_t chars) -> uint32_t {
        if (!armed) return FIR_NoChange;
        armed = false;
        xfmt(text, static_cast<int32_t>(chars), L"new text");
        return result();
    };
    if (GetParam().cause.reason == kReasonMenu) driver_.ExpectMenu().Choose(100);
    FlexiInfoParams params = Recorded();
    params.cancelText = L"Cancel";
    params.autoRefreshMs = 600000;
    params.menuItems = items.data();
    params.menuItemCount = 1;
    params.hintSeconds = -1;
    const uint32_t answer = Show(params, L"old text", [&](OpenInfoBox& box) {
        box.CheckAuto(true);
        callback_.calls.clear();
        armed = true;
        GetParam().cause.trigger(box);
        if (Closes()) return;
        EXPECT_EQ(box.Text(), Updates() ? L"new text" : L"old text");
        EXPECT_EQ(box.Icon(), LoadIconW(nullptr, Alerts() ? IDI_WARNING : IDI_INFORMATION));
        EXPECT_EQ(box.WindowIcon(ICON_SMALL), box.Icon());
        EXPECT_EQ(box.AutoChecked(), !StopsAuto());
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(answer, Closes() ? ExpectedAnswer() : kInfoBoxOk);
    ASSERT_EQ(callback_.calls.size(), Closes() ? 1u : 2u);
    EXPECT_EQ(callback_.calls[0].reason, GetParam().cause.reason);
}

INSTANTIATE_TEST_SUITE_P(InfoBox, InfoBoxResults, testing::ValuesIn(AllResults()), [](const auto& row) {
    return std::string(row.param.cause.name) + "Result" + std::to_string(row.param.result);
});

class InfoBoxFirstRefresh : public InfoBoxTest, public testing::WithParamInterface<uint32_t> {};

TEST_P(InfoBoxFirstRefresh, RunsBeforeTheTextIsShown) {
    callback_.act = [](FlexiInfoEvent& event, wchar_t* text, uint32_t chars) -> uint32_t {
        if (event.reason != kReasonRefresh) return FIR_NoChange;
        xfmt(text, static_cast<int32_t>(chars), L"from the callback");
        return GetParam();
    };
    FlexiInfoParams params = Recorded();
    params.autoRefreshAtStart = 1;
    const bool alerts = GetParam() == FIR_AlertIcon || GetParam() == FIR_AlertStopAuto;
    Show(params, L"to-modify", [alerts](OpenInfoBox& box) {
        // Even a callback that reports no change has written the text that is shown first.
        EXPECT_EQ(box.Text(), L"from the callback");
        EXPECT_EQ(box.Icon(), LoadIconW(nullptr, alerts ? IDI_WARNING : IDI_INFORMATION));
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(callback_.calls[0].reason, kReasonRefresh);
    EXPECT_EQ(callback_.calls[0].autoChecked, 0);
}

INSTANTIATE_TEST_SUITE_P(InfoBox, InfoBoxFirstRefresh, testing::Values(0u, 1u, 2u, 3u, 4u, 5u, kUnlisted),
                         testing::PrintToStringParamName());

// Without the fixture's driver: on this platform the window of such a box shows for a moment.
TEST(InfoBoxFirstRefreshClosing, EndsTheBoxWithOne) {
    RecordingCallback callback;
    callback.result = FIR_CloseOk;
    FlexiInfoParams params = {};
    params.refreshProc = RecordingCallback::Run;
    params.refreshContext = &callback;
    params.autoRefreshAtStart = 1;
    params.autoRefreshMs = 1;
    EXPECT_EQ(FlexiInfoBox(nullptr, &params, nullptr), kInfoBoxOk);
    EXPECT_EQ(callback.calls.size(), 1u);
}

// Counts the allocations of the box's thread.
DWORD countedThread = 0;
int allocations = 0;
void* (*realMalloc)(size_t) = nullptr;
void* CountingMalloc(size_t bytes) {
    if (GetCurrentThreadId() == countedThread) ++allocations;
    return realMalloc(bytes);
}

using InfoBoxRefresh = InfoBoxTest;

TEST_F(InfoBoxRefresh, ATickThatChangesNothingNeitherAllocatesNorRepaints) {
    realMalloc = reinterpret_cast<void* (*)(size_t)>(ImportedFunction(nullptr, "malloc"));
    const ImportRedirect redirect(nullptr, nullptr, "malloc", reinterpret_cast<void*>(&CountingMalloc));
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.autoRefreshMs = 600000;
    params.autoRefreshAtStart = 1;
    params.refreshProc = [](void*, FlexiInfoEvent*, wchar_t*, uint32_t) noexcept { return FIR_NoChange; };
    const DWORD boxThread = GetCurrentThreadId();
    Show(params, L"text", [boxThread](OpenInfoBox& box) {
        UpdateWindow(box.hwnd());
        EXPECT_TRUE(
            WaitUntil("the box to be painted", [&] { return !GetUpdateRect(box.hwnd(), nullptr, FALSE); }));
        int systemCalls = 0;
        {
            using Text = ReplacedCall<SetWindowTextW>;
            const Text text(
                "SetWindowTextW",
                [&](HWND window, LPCWSTR caption) {
                    ++systemCalls;
                    return SetWindowTextW(window, caption);
                },
                nullptr, Text::Threads::kAll);
            allocations = 0;
            countedThread = boxThread;
            for (int i = 0; i < 100; ++i)
                box.Tick();
            countedThread = 0;
        }
        EXPECT_EQ(allocations, 0);
        EXPECT_EQ(systemCalls, 0);
        EXPECT_FALSE(GetUpdateRect(box.hwnd(), nullptr, FALSE));
        for (const int id : {kInfoBoxTextId, kInfoBoxIconId})
            EXPECT_FALSE(GetUpdateRect(GetDlgItem(box.hwnd(), id), nullptr, FALSE));
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxRefresh, StartsItsTimerAtOnceOnlyWhenAskedTo) {
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    for (const bool atStart : {false, true}) {
        params.autoRefreshAtStart = atStart ? 1 : 0;
        const TimerRecord timers;
        Show(params, L"", [&](OpenInfoBox& box) {
            EXPECT_EQ(box.AutoChecked(), atStart);
            EXPECT_EQ(timers.IsRunning(kAutoRefreshTimer), atStart);
            box.Command(kInfoBoxOkId);
        });
        EXPECT_FALSE(timers.IsRunning(kAutoRefreshTimer));
        const std::vector<UINT> intervals(atStart ? 1 : 0, 600000);
        EXPECT_EQ(timers.IntervalsOf(kAutoRefreshTimer), intervals);
    }
}

TEST_F(InfoBoxRefresh, EachTickRefreshes) {
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 20;
    params.autoRefreshAtStart = 1;
    Show(params, L"", [&](OpenInfoBox& box) {
        EXPECT_TRUE(WaitUntil("six ticks", [&] { return callback_.refreshes >= 7; }));
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxRefresh, CheckingAutoRefreshesAtOnceAndUncheckingStops) {
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    const TimerRecord timers;
    Show(params, L"", [&](OpenInfoBox& box) {
        box.CheckAuto(true);
        EXPECT_EQ(callback_.Reasons(), std::vector<uint32_t>{kReasonRefresh});
        EXPECT_EQ(callback_.calls[0].autoChecked, 1);
        EXPECT_TRUE(timers.IsRunning(kAutoRefreshTimer));
        box.CheckAuto(false);
        EXPECT_EQ(callback_.calls.size(), 1u);
        EXPECT_FALSE(timers.IsRunning(kAutoRefreshTimer));
        // A tick that was on its way already.
        box.Tick();
        EXPECT_EQ(callback_.calls.size(), 1u);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxRefresh, TheTimerIsNeverStartedTwice) {
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    const TimerRecord timers;
    Show(params, L"", [&](OpenInfoBox& box) {
        for (int i = 0; i < 8; ++i)
            box.CheckAuto(true);
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(timers.IntervalsOf(kAutoRefreshTimer), std::vector<UINT>{600000});
}

TEST_F(InfoBoxRefresh, TheTimerIsStoppedBeforeTheBoxIsEnded) {
    bool runningAtTheEnd = true;
    const TimerRecord timers;
    REPLACE_CALL(end, EndDialog, [&](HWND window, INT_PTR result) {
        runningAtTheEnd = timers.IsRunning(kAutoRefreshTimer);
        return EndDialog(window, result);
    });
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    params.autoRefreshAtStart = 1;
    Show(params, L"", [](OpenInfoBox& box) { box.Command(kInfoBoxOkId); });
    EXPECT_EQ(end.calls(), 1);
    EXPECT_FALSE(runningAtTheEnd);
}

TEST_F(InfoBoxRefresh, ADestroyedBoxStopsItsTimer) {
    callback_.act = [](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        if (event.reason == kReasonRefreshButton) DestroyWindow(event.hwnd);
        return FIR_NoChange;
    };
    const TimerRecord timers;
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    params.autoRefreshAtStart = 1;
    EXPECT_EQ(Show(params, L"", [](OpenInfoBox& box) { box.Command(kInfoBoxRefreshId); }), kInfoBoxCancel);
    EXPECT_FALSE(timers.IsRunning(kAutoRefreshTimer));
}

TEST_F(InfoBoxRefresh, ACallbackThatStopsAutoStopsTheTimer) {
    callback_.result = FIR_StopAuto;
    const TimerRecord timers;
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    params.autoRefreshAtStart = 1;
    Show(params, L"", [&](OpenInfoBox& box) {
        EXPECT_TRUE(timers.IsRunning(kAutoRefreshTimer));
        box.Tick();
        EXPECT_FALSE(timers.IsRunning(kAutoRefreshTimer));
        EXPECT_FALSE(box.AutoChecked());
        callback_.result = FIR_NoChange;
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxRefresh, ACallbackThatStopsAutoOnCheckingItKeepsItStopped) {
    callback_.act = [](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        return event.reason == kReasonRefresh ? FIR_StopAuto : FIR_NoChange;
    };
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    const TimerRecord timers;
    Show(params, L"", [&](OpenInfoBox& box) {
        box.CheckAuto(true);
        EXPECT_FALSE(box.AutoChecked());
        EXPECT_TRUE(timers.IntervalsOf(kAutoRefreshTimer).empty());
        EXPECT_EQ(callback_.CountOf(kReasonRefresh), 1);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxRefresh, TheSpareFieldIsZeroAtEachCall) {
    callback_.act = [](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        event.spare = 99;
        return FIR_NoChange;
    };
    FlexiInfoParams params = Recorded();
    params.showRefreshButton = 1;
    Show(params, L"", [](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        box.Command(kInfoBoxOkId);
    });
    ASSERT_EQ(callback_.calls.size(), 2u);
    EXPECT_EQ(callback_.calls[0].spare, 0u);
    EXPECT_EQ(callback_.calls[1].spare, 0u);
}

TEST_F(InfoBoxRefresh, ReasonAndPressesAreRecordedInTheEvent) {
    callback_.result = FIR_Update;
    FlexiInfoParams params = Recorded();
    params.cancelText = L"Cancel";
    params.showRefreshButton = 1;
    const uint32_t before = time_tick_ms();
    Show(params, L"", [&](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        box.Command(kInfoBoxOkId);
        callback_.result = FIR_NoChange;
        box.Command(kInfoBoxCancelId);
    });
    ASSERT_EQ(callback_.Reasons(), (std::vector<uint32_t>{3, 1, 2}));
    const FlexiInfoEvent& refresh = callback_.calls[0];
    EXPECT_EQ(refresh.okPressed, 0);
    EXPECT_EQ(refresh.cancelPressed, 0);
    EXPECT_EQ(refresh.menuItemId, 0);
    EXPECT_EQ(refresh.spare, 0u);
    EXPECT_EQ(refresh.lastRefreshTime, 0);
    const FlexiInfoEvent& cancel = callback_.calls[2];
    EXPECT_EQ(cancel.okPressed, 1);
    EXPECT_EQ(cancel.cancelPressed, 1);
    EXPECT_LE(cancel.okPressTick - before, 60000u);
    EXPECT_LE(cancel.cancelPressTick - cancel.okPressTick, 60000u);
    EXPECT_NE(cancel.lastRefreshTime, 0);
}

TEST_F(InfoBoxRefresh, NoChangeLeavesEvenTheCaptionTimeAlone) {
    std::array<FlexiInfoMenuItem, 1> items{{{FIMI_ShowRefreshTime, kMenuItemChecked, L"Show"}}};
    callback_.result = FIR_NoChange;
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 600000;
    params.menuItems = items.data();
    params.menuItemCount = 1;
    params.hintSeconds = -1;
    Show(params, L"", [&](OpenInfoBox& box) {
        box.CheckAuto(true);
        for (int i = 0; i < 5; ++i)
            box.Tick();
        EXPECT_EQ(box.Caption(), L"FlexiInfo");
        box.Command(kInfoBoxOkId);
    });
    for (const FlexiInfoEvent& call : callback_.calls)
        EXPECT_EQ(call.lastRefreshTime, 0);
}

TEST_F(InfoBoxRefresh, TheCaptionIsTheLocalTimeOfTheLastRefreshWhenAsked) {
    // Three hours east of Greenwich, at 2024-03-05 21:07:02 UTC.
    constexpr uint64_t kNow = 133541464220000000;
    constexpr uint64_t kThreeHours = 3ull * 3600 * 10'000'000;
    const auto fileTime = [](uint64_t units) {
        return FILETIME{static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
    };
    REPLACE_CALL(now, GetSystemTimeAsFileTime, [&](FILETIME* time) { *time = fileTime(kNow); });
    REPLACE_CALL(local, FileTimeToLocalFileTime, [&](const FILETIME* utc, FILETIME* time) -> BOOL {
        *time = fileTime((uint64_t{utc->dwHighDateTime} << 32 | utc->dwLowDateTime) + kThreeHours);
        return TRUE;
    });
    std::array<FlexiInfoMenuItem, 1> items{{{FIMI_ShowRefreshTime, kMenuItemChecked, L"Show"}}};
    FlexiInfoParams params = Recorded();
    params.showRefreshButton = 1;
    params.menuItems = items.data();
    params.menuItemCount = 1;
    params.hintSeconds = -1;
    Show(params, L"", [&](OpenInfoBox& box) {
        EXPECT_EQ(box.Caption(), L"FlexiInfo");
        box.Command(kInfoBoxRefreshId);
        EXPECT_EQ(box.Caption(), L"2024-03-06 00:07:02");
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(callback_.calls[1].lastRefreshTime, 1709672822);
}

TEST_F(InfoBoxRefresh, AnAlertIsOverWhenTheNormalIconIsAskedFor) {
    callback_.result = FIR_AlertIcon;
    FlexiInfoParams params = Recorded();
    params.showRefreshButton = 1;
    params.alertIcon = LoadIconW(nullptr, IDI_ERROR);
    Show(params, L"", [&](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        EXPECT_EQ(box.Icon(), params.alertIcon);
        callback_.result = FIR_Update;
        box.Command(kInfoBoxRefreshId);
        EXPECT_EQ(box.Icon(), params.alertIcon);
        callback_.result = FIR_NormalIcon;
        box.Command(kInfoBoxRefreshId);
        EXPECT_EQ(box.Icon(), LoadIconW(nullptr, IDI_INFORMATION));
        box.Command(kInfoBoxOkId);
    });
}

}  // namespace
