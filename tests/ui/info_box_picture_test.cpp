// Pictures of each kind of info box, for people to look at: with version 5 of the common controls and, in
// ui_host_tests, with version 6.
#include <array>

#include "ui/info_message.h"

#include "tests/support/screenshot.h"
#include "tests/ui/info_box_fixture.h"

namespace {

constexpr const wchar_t* kStatistics =
    L"VCOM of scanner 17\n\nFlowpath created: 2024-03-05 09:07:02\n\nUpstream Stat: \n"
    L"  [U1] USB received : 1,234,567  (+512) 12 KB/s\n  [U2] Vcom read    : 1,234,000 \n"
    L"  [U3] Discarded    : 0 \n  Rbuf peak/limit   : 4096 / 65536 (6%) \n\nUSB activity: [IN][OUT]\n";

std::wstring PictureName(const std::wstring& name) {
    const HRSRC hostManifest = FindResourceW(nullptr, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24));
    return (hostManifest != nullptr ? L"host_" : L"") + name;
}

class InfoBoxPicture : public InfoBoxTest {
  protected:
    // The whole box must lie on the work area, whatever it shows.
    void Take(const std::wstring& name, FlexiInfoParams params, const wchar_t* text) {
        Show(params, text, [&](OpenInfoBox& box) {
            const RECT area = box.Area();
            RECT common = {};
            const RECT work = WorkArea();
            IntersectRect(&common, &area, &work);
            EXPECT_TRUE(EqualRect(&common, &area));
            EXPECT_FALSE(SaveScreenshot(box.hwnd(), PictureName(L"info_box_" + name)).empty());
            if (params.menuItemCount > 0)
                SaveScreenshot(nullptr, PictureName(L"info_box_" + name + L"_screen"));
            PostMessageW(box.hwnd(), WM_CLOSE, 0, 0);
        });
    }
};

TEST_F(InfoBoxPicture, Plain) {
    Take(L"plain", {}, L"A line of text.");
}

TEST_F(InfoBoxPicture, OneButton) {
    FlexiInfoParams params = {};
    params.title = L"TAVIX";
    params.okText = L"OK";
    Take(L"ok", params, L"COM7 is not opened by any process yet.\r\n\r\nSecond paragraph & an ampersand.");
}

TEST_F(InfoBoxPicture, Question) {
    FlexiInfoParams params = {};
    params.title = L"TAVIX problem detected";
    params.normalIcon = LoadIconW(nullptr, IDI_WARNING);
    params.okText = L"&Continue";
    params.cancelText = L"Canc&el";
    Take(L"question", params,
         L"The 'COM7' symlink currently does not point to a TAVIX VCOM device.\n\n"
         L"  Current symlink target: \\Device\\Serial0\n  Correct symlink target: \\Device\\QRV_VCOM_0001\n\n"
         L"Do you still want to open current target?");
}

TEST_F(InfoBoxPicture, CancelOnly) {
    FlexiInfoParams params = {};
    params.cancelText = L"Cancel";
    Take(L"cancel", params, L"One line.");
}

TEST_F(InfoBoxPicture, StatisticsWithMenuAndHint) {
    static std::array<FlexiInfoMenuItem, 3> items{{{100, kMenuItemUnchecked, L"Display thousand separator"},
                                                   {FIMI_Detach, 0, L"Detach infobox from parent"},
                                                   {FIMI_CopyToClipboard, 0, L"Copy to clipboard"}}};
    FlexiInfoParams params = Recorded();
    params.title = L"<Scanner 17> Flowpath Statistics";
    params.fixedPitch = 1;
    params.fontPointSize = 10;
    params.okText = L"Close";
    params.autoRefreshAtStart = 1;
    params.autoRefreshMs = 60000;
    params.menuItems = items.data();
    params.menuItemCount = 3;
    params.hintSeconds = 60;
    Take(L"statistics", params, kStatistics);
}

TEST_F(InfoBoxPicture, Alert) {
    callback_.act = [](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        return event.reason == kReasonRefresh ? FIR_AlertIcon : FIR_NoChange;
    };
    FlexiInfoParams params = Recorded();
    params.autoRefreshAtStart = 1;
    params.showRefreshButton = 1;
    Take(L"alert", params, L"Flowpath is lost.");
}

TEST_F(InfoBoxPicture, ToolWindow) {
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.toolWindow = 1;
    Take(L"tool_window", params, L"A tool window has no system menu.");
}

TEST_F(InfoBoxPicture, HiddenRefreshControls) {
    FlexiInfoParams params = {};
    params.autoRefreshMs = 60000;
    params.hideRefreshControls = 1;
    Take(L"hidden_refresh", params, L"No button at all.");
}

TEST_F(InfoBoxPicture, LargerThanTheScreen) {
    std::wstring text;
    for (int line = 1; line <= 200; ++line)
        text += L"Line " + std::to_wstring(line) + std::wstring(300, L'.') + L"\n";
    buffer_.resize(text.size() + 1);
    FlexiInfoParams params = {};
    params.okText = L"OK";
    Take(L"oversize", params, text.c_str());
}

TEST_F(InfoBoxPicture, LargeFont) {
    FlexiInfoParams params = Recorded();
    params.fontPointSize = 14;
    params.okText = L"&Yes";
    params.cancelText = L"&No";
    params.autoRefreshMs = 60000;
    Take(L"large_font", params, kStatistics);
}

TEST_F(InfoBoxPicture, Messages) {
    for (const int32_t kind : {1, 2, 3}) {
        driver_.ExpectBox(L"TAVIX").Do([&](BoxView& box) {
            SaveScreenshot(box.window(), PictureName(L"info_message_" + std::to_wstring(kind)));
            box.Press(kInfoBoxOkId);
        });
        InfoBoxKind(kind, parent(), L"Error in %s(). UfAppErr=%d(%s).", L"tavo_GetVcomCfg", 7,
                    L"VbusNotReady");
    }
    driver_.ExpectBox(L"TAVIX").Do([&](BoxView& box) {
        SaveScreenshot(box.window(), PictureName(L"info_message_question"));
        box.Press(kInfoBoxCancelId);
    });
    EXPECT_EQ(InfoBoxAskYes(parent(), true, L"Clear the error log of %s?", L"COM7"), 2u);
}

}  // namespace
