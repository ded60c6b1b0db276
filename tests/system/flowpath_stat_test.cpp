// The window of the Flowpath statistics on the simulated driver: what it shows, asks, and does for its user.
#include "tools/flowpath_stat.h"

#include <cstring>

#include "driver/flowpath_report.h"
#include "state/device_values.h"
#include "tests/support/clipboard_text.h"
#include "tests/system/flowpath_fixture.h"
#include "ui/info_box/menu.h"

namespace {

constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT_PTR kHintTimer = 3;

// ---- What it looks like ---------------------------------------------------------------------------------

TEST_F(FlowpathStatTest, OpensWithTheFirstAnswerAndItsButtons) {
    FlowpathStat_st stat = {};
    std::memset(&stat, 0x01, sizeof(stat));
    Declare(stat);
    Show([&](OpenInfoBox& box) {
        wchar_t expected[4000];
        FormatFlowpathReport({kFlowpathName, L"", stat, {}, 1'000'000}, expected, 4000);
        EXPECT_EQ(box.Text(), Shown(expected));
        EXPECT_TRUE(box.IsShown(kInfoBoxOkId));
        EXPECT_FALSE(box.IsShown(kInfoBoxCancelId));
        EXPECT_TRUE(box.IsShown(kInfoBoxRefreshId));
        EXPECT_TRUE(box.AutoChecked());
        EXPECT_EQ(GetWindow(box.hwnd(), GW_OWNER), parent_.get());
    });
    EXPECT_EQ(modal_.boxes()[0].ControlText(kInfoBoxOkId), L"Close");
    EXPECT_EQ(timers_, (std::vector<std::pair<UINT_PTR, UINT>>{{kRefreshTimer, 500}, {kHintTimer, 5000}}));
}

TEST_F(FlowpathStatTest, TextIsInAFixedPitch) {
    Show([&](OpenInfoBox& box) {
        const auto font =
            reinterpret_cast<HFONT>(SendDlgItemMessageW(box.hwnd(), kInfoBoxTextId, WM_GETFONT, 0, 0));
        LOGFONTW description = {};
        GetObjectW(font, sizeof(description), &description);
        EXPECT_EQ(description.lfPitchAndFamily & 3, FIXED_PITCH);
        const HDC screen = GetDC(nullptr);
        EXPECT_EQ(description.lfHeight, -MulDiv(10, GetDeviceCaps(screen, LOGPIXELSY), 72));
        ReleaseDC(nullptr, screen);
    });
}

TEST_F(FlowpathStatTest, TheMenuHasItsFiveEntries) {
    modal_.ExpectMenu().Dismiss();
    Show([&](OpenInfoBox& box) { box.RightClick(); });
    ASSERT_EQ(modal_.menus().size(), 1u);
    const MenuRecord menu = modal_.menus()[0];
    EXPECT_EQ(menu.Texts(),
              L"Display thousand separator\nDetach infobox from parent\nCopy to clipboard\n"
              L"Show last refresh time on title\nReset session Stat\n");
    for (const MenuItemRecord& item : menu.items)
        EXPECT_FALSE(item.checked()) << NarrowText(item.text);
}

TEST_F(FlowpathStatTest, TheMenuCopiesTheText) {
    const PatientClipboard clipboard;
    modal_.ExpectMenu().Choose(MenuCommandOf(FIMI_CopyToClipboard));
    Show([&](OpenInfoBox& box) {
        box.RightClick();
        EXPECT_EQ(ClipboardText(), box.Text());
    });
}

TEST_F(FlowpathStatTest, TheMenuShowsTheRefreshTimeInPlaceOfTheTitle) {
    modal_.ExpectMenu().Choose(MenuCommandOf(FIMI_ShowRefreshTime));
    Show([&](OpenInfoBox& box) {
        EXPECT_EQ(box.Caption(), kFlowpathTitle);
        box.RightClick();
        EXPECT_EQ(box.Caption().size(), wcslen(L"2024-03-05 09:07:02"));
        box.Tick();
        EXPECT_EQ(box.Caption().size(), wcslen(L"2024-03-05 09:07:02"));
    });
}

TEST_F(FlowpathStatTest, ADetachedWindowHasNoOwnerAndCanBeAttached) {
    modal_.ExpectMenu().Choose(MenuCommandOf(FIMI_Detach));
    modal_.ExpectBox(kFlowpathTitle).DoAndLeaveOpen([&](BoxView& view) {
        EXPECT_EQ(GetWindow(view.window(), GW_OWNER), nullptr);
        EXPECT_TRUE(IsWindowEnabled(parent_.get()));
        OpenInfoBox(view).RightClick();
    });
    Show(
        [&](OpenInfoBox& box) {
            EXPECT_EQ(GetWindow(box.hwnd(), GW_OWNER), parent_.get());
            EXPECT_TRUE(Contains(box.Text(), L"[U1] USB received"));
        },
        true);
}

// ---- The name -------------------------------------------------------------------------------------------

TEST_F(FlowpathStatTest, TheTitleIsCutAsAWhole) {
    const std::wstring name(98, L'n');
    vcom_.SetTextProperty(SPDRP_FRIENDLYNAME, name);
    const std::wstring title = (L"<" + name + L"> Flowpath Statistics").substr(0, 79);
    Show([&](OpenInfoBox& box) { EXPECT_TRUE(Contains(box.Text(), (name + L"\r\n").c_str())); }, false,
         title.c_str());
}

TEST_F(FlowpathStatTest, AnUnreadableNameIsEmpty) {
    REPLACE_CALL(noName, SetupDiGetDeviceRegistryPropertyW,
                 [](HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD*, BYTE*, DWORD, DWORD*) {
                     SetLastError(ERROR_INVALID_DATA);
                     return FALSE;
                 });
    Show([&](OpenInfoBox& box) { EXPECT_EQ(box.Text().find(L"\r\n\r\nFlowpath created"), 0u); }, false,
         L"<> Flowpath Statistics");
}

TEST_F(FlowpathStatTest, ANameThatBecomesUnreadableIsShownNoMore) {
    Show([&](OpenInfoBox& box) {
        EXPECT_EQ(box.Text().find(kFlowpathName), 0u);
        using Property = ReplacedCall<SetupDiGetDeviceRegistryPropertyW>;
        const Property noName(
            "SetupDiGetDeviceRegistryPropertyW",
            [](HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD*, BYTE*, DWORD, DWORD*) {
                SetLastError(ERROR_INVALID_DATA);
                return FALSE;
            },
            nullptr, Property::Threads::kAll);
        box.Tick();
        EXPECT_EQ(box.Text().find(L"\r\n\r\nFlowpath created"), 0u);
    });
}

TEST_F(FlowpathStatTest, EachRefreshReadsTheNameAgain) {
    Show([&](OpenInfoBox& box) {
        vcom_.SetTextProperty(SPDRP_FRIENDLYNAME, L"Another name");
        box.Tick();
        EXPECT_EQ(box.Text().find(L"Another name\r\n"), 0u);
        EXPECT_EQ(box.Caption(), kFlowpathTitle);
    });
}

// ---- Requests -------------------------------------------------------------------------------------------

TEST_F(FlowpathStatTest, ARefreshAsksOnceAndClosingAsksNothing) {
    Show([&](OpenInfoBox& box) {
        const ExpectedRequest query = {IOCTL_TAVIX_GetFlowpathStat, NameBytes(kVcomTail),
                                       sizeof(FlowpathStat_st)};
        ExpectRequests({query});
        box.Tick();
        ExpectRequests({query});
        box.Command(kInfoBoxRefreshId);
        ExpectRequests({query});
    });
    ExpectNoRequests();
}

TEST_F(FlowpathStatTest, TheEntryResetsTheSessionAndShowsItAtOnce) {
    DeclareBytes(1000, 2000);
    modal_.ExpectMenu().Choose(101);
    Show([&](OpenInfoBox& box) {
        ExpectRequests({{IOCTL_TAVIX_GetFlowpathStat, NameBytes(kVcomTail), sizeof(FlowpathStat_st)}});
        box.RightClick();
        ExpectRequests({{IOCTL_TAVIX_ResetFlowpathStat, NameBytes(kVcomTail), 0},
                        {IOCTL_TAVIX_GetFlowpathStat, NameBytes(kVcomTail), sizeof(FlowpathStat_st)}});
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"0 ") << "no rate after a counter that fell";
        EXPECT_EQ(LineOf(box.Text(), L"[D2] USB sent     : "), L"0 ");
    });
}

TEST_F(FlowpathStatTest, AResetThatFailsIsNotMentioned) {
    DeclareBytes(1000, 2000);
    FailNext(IOCTL_TAVIX_ResetFlowpathStat, kStatusUnsuccessful);
    modal_.ExpectMenu().Choose(101);
    Show([&](OpenInfoBox& box) {
        box.RightClick();
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"1000 ");
    });
}

TEST_F(FlowpathStatTest, TheWindowOutlivesThePagesDeviceList) {
    Show([&](OpenInfoBox& box) {
        vcom_ = DeviceNode(L"");
        ExpectRequests({{IOCTL_TAVIX_GetFlowpathStat, NameBytes(kVcomTail), sizeof(FlowpathStat_st)}});
        box.Tick();
        EXPECT_EQ(box.Text().find(kFlowpathName), 0u);
        ExpectRequests({{IOCTL_TAVIX_GetFlowpathStat, NameBytes(kVcomTail), sizeof(FlowpathStat_st)}});
    });
}

// ---- Rates ----------------------------------------------------------------------------------------------

TEST_F(FlowpathStatTest, TheFirstRefreshCountsFromTheSystemsStart) {
    DeclareBytes(30'000'000, 500);
    tick_ = 10'000;
    Show([&](OpenInfoBox& box) {
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"30000000  (+30000000) 3000 KB/s");
        EXPECT_EQ(LineOf(box.Text(), L"[D2] USB sent     : "), L"500  (+500) <1 KB/s");
    });
}

TEST_F(FlowpathStatTest, AnUptimeBeyondTheSignedRangeShowsNoRateAtFirst) {
    DeclareBytes(30'000'000, 0);
    tick_ = 0x80000000;
    Show([&](OpenInfoBox& box) {
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"30000000  (+30000000)");
    });
}

TEST_F(FlowpathStatTest, LaterRefreshesCoverTheLastInterval) {
    DeclareBytes(1000, 1000);
    Show([&](OpenInfoBox& box) {
        DeclareBytes(1000 + 50'000, 1000 + 499);
        tick_ += 500;
        box.Tick();
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"51000  (+50000) 100 KB/s");
        EXPECT_EQ(LineOf(box.Text(), L"[D2] USB sent     : "), L"1499  (+499) <1 KB/s");
        tick_ += 500;
        box.Tick();
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"51000 ") << "nothing moved";
    });
}

TEST_F(FlowpathStatTest, TheTickCounterMayWrapBetweenTwoRefreshes) {
    DeclareBytes(0, 0);
    tick_ = 0xFFFFFF00;
    Show([&](OpenInfoBox& box) {
        DeclareBytes(51'200, 0);
        tick_ = 0x100;
        box.Tick();
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"51200  (+51200) 100 KB/s");
    });
}

// ---- Separator ------------------------------------------------------------------------------------------

struct SeparatorRow {
    const char* name;
    const wchar_t* locale;  // null: the locale gives none
    const wchar_t* expected;

    friend void PrintTo(const SeparatorRow& row, std::ostream* out) { *out << row.name; }
};

class FlowpathSeparatorTest : public FlowpathStatTest, public testing::WithParamInterface<SeparatorRow> {};

TEST_P(FlowpathSeparatorTest, IsTheLocalesOnceTheEntryIsChecked) {
    const SeparatorRow& row = GetParam();
    REPLACE_CALL(locale, GetLocaleInfoW, [&](LCID, LCTYPE type, wchar_t* text, int textChars) -> int {
        EXPECT_EQ(type, LCTYPE{LOCALE_STHOUSAND});
        if (row.locale == nullptr || wcslen(row.locale) >= static_cast<size_t>(textChars)) return 0;
        wcscpy(text, row.locale);
        return static_cast<int>(wcslen(text)) + 1;
    });
    DeclareBytes(1234567, 0);
    tick_ = 2;
    modal_.ExpectMenu().Choose(100);
    Show([&](OpenInfoBox& box) {
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"1234567  (+1234567) 617283 KB/s");
        box.RightClick();
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), row.expected);
    });
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FlowpathSeparatorTest,
    testing::Values(SeparatorRow{"None", nullptr, L"1234567 "}, SeparatorRow{"Empty", L"", L"1234567 "},
                    SeparatorRow{"One", L",", L"1,234,567 "}, SeparatorRow{"Two", L"' ", L"1' 234' 567 "},
                    SeparatorRow{"Eight", L"12345678",
                                 L"1"
                                 L"12345678"
                                 L"234"
                                 L"12345678"
                                 L"567 "},
                    SeparatorRow{"CutToEight", L"abcdefghi", L"1abcdefgh234abcdefgh567 "}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(FlowpathStatTest, RefreshFlipsTheSeparatorWhileAutoIsChecked) {
    REPLACE_CALL(locale, GetLocaleInfoW, [](LCID, LCTYPE, wchar_t* text, int) -> int {
        wcscpy(text, L"_");
        return 2;
    });
    DeclareBytes(1234567, 0);
    Show([&](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        EXPECT_TRUE(Contains(box.Text(), L"1_234_567"));
        box.Tick();
        EXPECT_TRUE(Contains(box.Text(), L"1_234_567")) << "a tick flips nothing";
        box.CheckAuto(false);
        box.Command(kInfoBoxRefreshId);
        EXPECT_TRUE(Contains(box.Text(), L"1_234_567")) << "without Auto the button only refreshes";
        box.CheckAuto(true);
        box.Command(kInfoBoxRefreshId);
        EXPECT_TRUE(Contains(box.Text(), L"1234567"));
    });
}

TEST_F(FlowpathStatTest, TheEntryShowsWhatRefreshHasFlipped) {
    modal_.ExpectMenu().Dismiss();
    Show([&](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        box.RightClick();
    });
    EXPECT_TRUE(modal_.menus()[0].Item(100)->checked());
}

// ---- A driver that miscounts, fails or is gone ----------------------------------------------------------

HICON SystemIcon(const wchar_t* name) {
    return LoadIconW(nullptr, name);
}

TEST_F(FlowpathStatTest, AMiscountAlarmsUntilTheCountersAgreeAgain) {
    Show([&](OpenInfoBox& box) {
        const HICON normal = box.Icon();
        ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldMiscount, 5), ERROR_SUCCESS);
        box.Tick();
        EXPECT_TRUE(Contains(box.Text(),
                             L"Driver BUG: U1 != U2+U3+U4+U5 (diff=5)"
                             L"Driver BUG: D1 != D2+D3+D4 (diff=5)"));
        EXPECT_EQ(box.Icon(), SystemIcon(IDI_WARNING));
        ASSERT_EQ(driver_.SetNumber(kHuid, kSimFieldMiscount, 0), ERROR_SUCCESS);
        box.Tick();
        EXPECT_TRUE(Contains(box.Text(), L"Hint:\r\n  U1 = U2 + U3 + U4 + U5\r\n  D1 = D2 + D3 + D4\r\n"));
        EXPECT_EQ(box.Icon(), normal);
        EXPECT_TRUE(box.AutoChecked());
    });
}

TEST_F(FlowpathStatTest, ALostFlowpathShowsTheTotalsAndRecovers) {
    FlowpathStat_st stat = {};
    stat.usbReceivedBytes = stat.vcomReadBytes = 100;
    stat.histUsbReadBytes = 11;
    stat.histReadDiscardBytes = 12;
    stat.histUsbWrittenBytes = 13;
    stat.histWriteDiscardBytes = 14;
    stat.histUsbInErrors = 15;
    stat.histUsbOutErrors = 16;
    stat.histOfflines = 17;
    Declare(stat);
    Show([&](OpenInfoBox& box) {
        const HICON normal = box.Icon();
        ASSERT_EQ(driver_.SetOnline(kHuid, false), ERROR_SUCCESS);
        tick_ += 400;
        box.Tick();
        EXPECT_EQ(box.Text(), Shown(L"Flowpath is lost.\n\n\nHistorical total: \n"
                                    L"  USB read:     11 \n"
                                    L"  Read discard: 12 \n"
                                    L"  USB written:  13 \n"
                                    L"  VCOM discard: 14 \n"
                                    L"  USB IN+OUT errors: 15 + 16 \n"
                                    L"  USB offline count: 18 \n"));
        EXPECT_EQ(box.Icon(), SystemIcon(IDI_WARNING));
        EXPECT_TRUE(box.AutoChecked());
        ASSERT_EQ(driver_.SetOnline(kHuid, true), ERROR_SUCCESS);
        stat.usbReceivedBytes = stat.vcomReadBytes = 1100;
        Declare(stat);
        tick_ += 600;
        box.Tick();
        EXPECT_EQ(LineOf(box.Text(), L"[U1] USB received : "), L"1100  (+1000) 1 KB/s")
            << "counted from the last answer";
        EXPECT_EQ(box.Icon(), normal);
    });
}

TEST_F(FlowpathStatTest, AnUnplugAndANewPlugBringTheTextBack) {
    Show([&](OpenInfoBox& box) {
        ASSERT_EQ(driver_.Unplug(UsbdId()), ERROR_SUCCESS);
        box.Tick();
        EXPECT_EQ(box.Text().find(L"Flowpath is lost."), 0u);
        ASSERT_EQ(driver_.Plug(Identity(), {.huid = kHuid}), ERROR_SUCCESS);
        EXPECT_TRUE(WaitUntil("the Flowpath to be back", [&] {
            box.Tick();
            return Contains(box.Text(), L"[U1] USB received");
        }));
    });
}

TEST_F(FlowpathStatTest, AMissingBusIsALostFlowpath) {
    Show([&](OpenInfoBox& box) {
        RemoveBus();
        box.Tick();
        EXPECT_EQ(box.Text().find(L"Flowpath is lost."), 0u);
    });
}

TEST_F(FlowpathStatTest, AnyOtherFailureIsNamed) {
    Show([&](OpenInfoBox& box) {
        FailNext(IOCTL_TAVIX_GetFlowpathStat, kStatusUnsuccessful);
        box.Tick();
        EXPECT_EQ(box.Text().find(L"IOCTL_TAVIX_GetFlowpathStat meets winerr=31(ERROR_GEN_FAILURE)\r\n\r\n"
                                  L"\r\nHistorical total: \r\n"),
                  0u);
        EXPECT_EQ(box.Icon(), SystemIcon(IDI_WARNING));
        EXPECT_TRUE(box.AutoChecked());
    });
}

TEST_F(FlowpathStatTest, TotalsThatAreMissingOrOfAnotherTypeReadAsZero) {
    const uint64_t number = 99;
    const uint32_t shortNumber = 98;
    vcom_.StoreValue(kDevHistUsbReadBytes, REG_QWORD, &number, sizeof(number));
    vcom_.DeleteValue(kDevHistUsbReadDiscards);
    vcom_.StoreValue(kDevHistUsbWrittenBytes, REG_DWORD, &shortNumber, sizeof(shortNumber));
    vcom_.StoreValue(kDevHistVcomWriteDiscards, REG_SZ, L"97", 6);
    vcom_.StoreValue(kDevHistUsbInErrors, REG_BINARY, &number, sizeof(number));
    vcom_.StoreValue(kDevHistUsbOutErrors, REG_QWORD, &number, 4);
    vcom_.StoreValue(kDevHistOfflines, REG_QWORD, nullptr, 0);
    Show([&](OpenInfoBox& box) {
        FailNext(IOCTL_TAVIX_GetFlowpathStat, kStatusUnsuccessful);
        box.Tick();
        EXPECT_EQ(LineOf(box.Text(), L"  USB read:     "), L"99 ");
        for (const wchar_t* label :
             {L"  Read discard: ", L"  USB written:  ", L"  VCOM discard: ", L"  USB offline count: "})
            EXPECT_EQ(LineOf(box.Text(), label), L"0 ") << NarrowText(label);
        EXPECT_EQ(LineOf(box.Text(), L"  USB IN+OUT errors: "), L"0 + 0 ");
    });
}

TEST_F(FlowpathStatTest, RepliesOfEveryLengthCountWithTheBytesThatCame) {
    FlowpathStat_st whole = {};
    std::memset(&whole, 0x23, sizeof(whole));
    Show([&](OpenInfoBox& box) {
        for (uint32_t bytes = 0; bytes <= sizeof(whole); ++bytes) {
            const auto* start = reinterpret_cast<const uint8_t*>(&whole);
            ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_GetFlowpathStat, {start, bytes}), ERROR_SUCCESS);
            FlowpathStat_st came = {};
            std::memcpy(&came, &whole, bytes);
            // No increments: the same answer twice.
            box.Tick();
            ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_GetFlowpathStat, {start, bytes}), ERROR_SUCCESS);
            box.Tick();
            wchar_t expected[4000];
            FormatFlowpathReport({kFlowpathName, L"", came, came, 0}, expected, 4000);
            ASSERT_EQ(box.Text(), Shown(expected)) << bytes;
        }
    });
}

TEST_F(FlowpathStatTest, WhateverPlatformCallFailsTheWindowSurvives) {
    CallFaults faults;
    WATCH_CALL(faults, SetupDiGetDeviceInstanceIdW, FALSE, ERROR_INVALID_DATA);
    WATCH_CALL(faults, SetupDiCreateDeviceInfoList, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, SetupDiOpenDeviceInfoW, FALSE, ERROR_NO_SUCH_DEVINST);
    WATCH_CALL(faults, SetupDiGetDeviceRegistryPropertyW, FALSE, ERROR_INVALID_DATA);
    WATCH_CALL(faults, GetLocaleInfoW, 0, ERROR_INVALID_PARAMETER);
    WATCH_CALL(faults, SetupDiGetClassDevsW, INVALID_HANDLE_VALUE, ERROR_GEN_FAILURE);
    WATCH_CALL(faults, CreateFileW, INVALID_HANDLE_VALUE, ERROR_FILE_NOT_FOUND);
    WATCH_CALL(faults, DeviceIoControl, FALSE, ERROR_NOACCESS);
    const int calls = ForEachFailingCall(faults, [&] {
        modal_.ExpectBox().Do([](BoxView& view) {
            const std::wstring text = view.Text(kInfoBoxTextId);
            EXPECT_TRUE(Contains(text, L"Flowpath created") || Contains(text, L"Flowpath is lost.") ||
                        Contains(text, L"meets winerr="))
                << NarrowText(text);
            view.Close();
        });
        faults.During([&] { ShowFlowpathStat(Host(), false); });
        EXPECT_TRUE(modal_.WaitUntilServed());
    });
    EXPECT_GT(calls, 5);
}

}  // namespace
