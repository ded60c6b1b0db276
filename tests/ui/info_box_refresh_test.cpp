#include "ui/info_box_refresh.h"

#include <array>

#include "base/time_text.h"
#include "base/xfmt.h"

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
    FlexiInfoParams params{};
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
    FlexiInfoParams params{};
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

TEST_F(InfoBoxRefresh, TicksAtItsIntervalOnlyWhenStartedSo) {
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 50;
    for (const bool atStart : {false, true}) {
        params.autoRefreshAtStart = atStart ? 1 : 0;
        callback_.calls.clear();
        const DWORD start = GetTickCount();
        Show(params, L"", [&](OpenInfoBox& box) {
            EXPECT_EQ(box.AutoChecked(), atStart);
            if (atStart) {
                EXPECT_TRUE(WaitUntil("six ticks", [&] { return callback_.calls.size() >= 7; }));
                EXPECT_GE(GetTickCount() - start, 6 * 50 - 20u);
            } else {
                Sleep(150);
            }
            box.Command(kInfoBoxOkId);
        });
        if (!atStart) {
            EXPECT_EQ(callback_.Reasons(), std::vector<uint32_t>{kReasonOk});
        }
    }
}

TEST_F(InfoBoxRefresh, CheckingAutoRefreshesAtOnceAndUncheckingStops) {
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 30;
    Show(params, L"", [&](OpenInfoBox& box) {
        box.CheckAuto(true);
        EXPECT_GE(callback_.CountOf(kReasonRefresh), 1);
        EXPECT_EQ(callback_.calls[0].autoChecked, 1);
        EXPECT_TRUE(WaitUntil("ticks", [&] { return callback_.calls.size() >= 4; }));
        box.CheckAuto(false);
        const size_t before = callback_.calls.size();
        Sleep(120);
        EXPECT_EQ(callback_.calls.size(), before);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxRefresh, TheTimerIsNeverStartedTwice) {
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 100;
    Show(params, L"", [&](OpenInfoBox& box) {
        for (int i = 0; i < 8; ++i)
            box.CheckAuto(true);
        callback_.calls.clear();
        Sleep(350);
        EXPECT_LE(callback_.calls.size(), 4u);
        EXPECT_GE(callback_.calls.size(), 2u);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxRefresh, ACallbackThatStopsAutoOnCheckingItKeepsItStopped) {
    callback_.act = [](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        return event.reason == kReasonRefresh ? FIR_StopAuto : FIR_NoChange;
    };
    FlexiInfoParams params = Recorded();
    params.autoRefreshMs = 20;
    Show(params, L"", [&](OpenInfoBox& box) {
        box.CheckAuto(true);
        EXPECT_FALSE(box.AutoChecked());
        Sleep(100);
        EXPECT_EQ(callback_.CountOf(kReasonRefresh), 1);
        box.Command(kInfoBoxOkId);
    });
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
    std::array<FlexiInfoMenuItem, 1> items{{{FIMI_ShowRefreshTime, kMenuItemChecked, L"Show"}}};
    FlexiInfoParams params = Recorded();
    params.showRefreshButton = 1;
    params.menuItems = items.data();
    params.menuItemCount = 1;
    params.hintSeconds = -1;
    Show(params, L"", [&](OpenInfoBox& box) {
        EXPECT_EQ(box.Caption(), L"FlexiInfo");
        box.Command(kInfoBoxRefreshId);
        box.Command(kInfoBoxRefreshId);
        TimeTm local{};
        time_unix_to_tm_local(callback_.calls[1].lastRefreshTime, &local);
        wchar_t first[40];
        xfmt(first, 40, L"%04d-%02d-%02d %02d:%02d", local.year + 1900, local.month + 1, local.day,
             local.hour, local.minute);
        EXPECT_EQ(box.Caption().size(), 19u);
        EXPECT_EQ(box.Caption().substr(0, 13), std::wstring(first).substr(0, 13));
        EXPECT_EQ(box.Caption()[16], L':');
        box.Command(kInfoBoxOkId);
    });
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

// Lines of 98 characters; each CR LF stays as it is.
std::wstring TextOf(size_t units) {
    std::wstring text;
    while (text.size() < units)
        text += std::wstring(98, L'x') + L"\r\n";
    text.resize(units - 1);
    return text + L'.';
}

struct LimitRow {
    const char* name;
    size_t units;
    bool fits;
};
void PrintTo(const LimitRow& row, std::ostream* out) {
    *out << row.name;
}

class InfoBoxLimit : public InfoBoxTest, public testing::WithParamInterface<LimitRow> {
  protected:
    InfoBoxLimit() { buffer_.resize(1'100'000); }
    void ExpectAnswer(const OpenInfoBox& box, int shownBefore) const {
        const int shown = GetWindowTextLengthW(GetDlgItem(box.hwnd(), kInfoBoxTextId));
        EXPECT_EQ(shown, GetParam().fits ? static_cast<int>(GetParam().units) : shownBefore);
        if (GetParam().fits) {
            EXPECT_EQ(buffer_.data(), TextOf(GetParam().units));
        } else {
            EXPECT_STREQ(buffer_.data(), L"No memory!");
        }
    }
};

TEST_P(InfoBoxLimit, HoldsForTheFirstText) {
    Show(Recorded(), TextOf(GetParam().units).c_str(), [&](OpenInfoBox& box) {
        ExpectAnswer(box, 0);
        callback_.result = FIR_NoChange;
        box.Command(kInfoBoxOkId);
    });
}

TEST_P(InfoBoxLimit, HoldsForARefresh) {
    callback_.act = [&](FlexiInfoEvent& event, wchar_t* text, uint32_t) {
        if (event.reason != kReasonRefreshButton) return FIR_NoChange;
        wcscpy(text, TextOf(GetParam().units).c_str());
        return FIR_Update;
    };
    FlexiInfoParams params = Recorded();
    params.showRefreshButton = 1;
    Show(params, L"shown", [&](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        ExpectAnswer(box, 5);
        box.Command(kInfoBoxOkId);
    });
}

INSTANTIATE_TEST_SUITE_P(InfoBox, InfoBoxLimit,
                         testing::Values(LimitRow{"Largest", 1'023'999, true},
                                         LimitRow{"OneTooMany", 1'024'000, false},
                                         LimitRow{"TwoTooMany", 1'024'001, false}),
                         [](const auto& row) { return row.param.name; });

// The block that a display text of eight units needs finds no memory on the box's thread.
void* RefusingMalloc(size_t bytes) {
    const bool refused = GetCurrentThreadId() == countedThread && bytes == 9 * sizeof(wchar_t);
    return refused ? nullptr : realMalloc(bytes);
}

TEST_F(InfoBoxRefresh, TheWordsAboutMissingMemoryKeepWithinTheBuffer) {
    wchar_t text[] = L"\n\n\n\n|beyond";
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"");
        box.Close();
    });
    FlexiInfoParams params{};
    params.textBufferChars = 4;
    realMalloc = reinterpret_cast<void* (*)(size_t)>(ImportedFunction(nullptr, "malloc"));
    const ImportRedirect redirect(nullptr, nullptr, "malloc", reinterpret_cast<void*>(&RefusingMalloc));
    countedThread = GetCurrentThreadId();
    EXPECT_EQ(FlexiInfoBox(parent(), &params, text), kInfoBoxCancel);
    countedThread = 0;
    EXPECT_STREQ(text, L"No ");
    EXPECT_STREQ(text + 4, L"|beyond");
}

TEST_F(InfoBoxRefresh, ATextWithoutTerminatorEndsAtTheBuffersCapacity) {
    wchar_t unterminated[5] = {L'a', L'b', L'c', L'd', L'e'};
    FlexiInfoParams params{};
    params.textBufferChars = 4;
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"abcd");
        box.Close();
    });
    FlexiInfoBox(parent(), &params, unterminated);
}

}  // namespace
