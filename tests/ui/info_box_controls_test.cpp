// The buttons of the info box: which are shown, where, and what the keyboard does with them.
#include "ui/info_box.h"

#include "tests/ui/info_box_fixture.h"
#include "tests/ui/info_box_resource.h"

namespace {

using InfoBox = InfoBoxTest;

// The resource has Cancel lower than OK.
TEST_F(InfoBox, BesideACancelButtonAloneTheHiddenOneGoesToItsHeight) {
    FlexiInfoParams params = {};
    params.cancelText = L"Cancel";
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) {
        const OpenInfoBox box(view);
        RECT place = {99, 60, 0, 0};
        MapDialogRect(box.hwnd(), &place);
        EXPECT_EQ(box.AreaOf(kInfoBoxCancelId).left, place.left);
        EXPECT_EQ(box.AreaOf(kInfoBoxCancelId).top, place.top);
        EXPECT_EQ(box.AreaOf(kInfoBoxOkId).top, place.top);
        EXPECT_FALSE(box.IsShown(kInfoBoxOkId));
        box.Command(kInfoBoxCancelId);
    });
    EXPECT_EQ(FlexiInfoBoxFromTemplate(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_INFO_BOX), nullptr,
                                       parent(), &params, nullptr),
              2u);
}

struct RefreshControlsRow {
    const char* name;
    uint8_t showRefreshButton;
    int32_t autoRefreshMs;
    uint8_t hideRefreshControls;
    bool refreshShown;
    bool autoShown;
};
void PrintTo(const RefreshControlsRow& row, std::ostream* out) {
    *out << row.name;
}

class InfoBoxRefreshControls : public InfoBoxTest, public testing::WithParamInterface<RefreshControlsRow> {};

TEST_P(InfoBoxRefreshControls, AreShownAsAsked) {
    FlexiInfoParams params = {};
    params.showRefreshButton = GetParam().showRefreshButton;
    params.autoRefreshMs = GetParam().autoRefreshMs;
    params.hideRefreshControls = GetParam().hideRefreshControls;
    Show(params, L"", [](OpenInfoBox& box) {
        EXPECT_EQ(box.IsShown(kInfoBoxRefreshId), GetParam().refreshShown);
        EXPECT_EQ(box.IsShown(kInfoBoxAutoId), GetParam().autoShown);
        box.Command(kInfoBoxCancelId);
    });
    EXPECT_EQ(driver_.boxes()[0].ControlText(kInfoBoxRefreshId), L"&Refresh");
    EXPECT_EQ(driver_.boxes()[0].ControlText(kInfoBoxAutoId), L"&Auto");
}

INSTANTIATE_TEST_SUITE_P(InfoBox, InfoBoxRefreshControls,
                         testing::Values(RefreshControlsRow{"Neither", 0, 0, 0, false, false},
                                         RefreshControlsRow{"NegativeInterval", 0, -1, 0, false, false},
                                         RefreshControlsRow{"ButtonAlone", 1, 0, 0, true, false},
                                         RefreshControlsRow{"Interval", 0, 60000, 0, true, true},
                                         RefreshControlsRow{"Hidden", 1, 60000, 1, false, false}),
                         [](const auto& row) { return row.param.name; });

TEST_F(InfoBox, OwnTextsReplaceThoseOfTheRefreshControls) {
    FlexiInfoParams params = {};
    params.autoRefreshMs = 60000;
    params.refreshText = L"A&gain";
    params.autoText = L"&Often";
    Show(params, L"", [](OpenInfoBox& box) { box.Command(kInfoBoxCancelId); });
    EXPECT_EQ(driver_.boxes()[0].ControlText(kInfoBoxRefreshId), L"A&gain");
    EXPECT_EQ(driver_.boxes()[0].ControlText(kInfoBoxAutoId), L"&Often");
}

TEST_F(InfoBox, ACancelButtonAloneStaysAtItsTemplatePlaceAndTheHiddenOneMoves) {
    FlexiInfoParams params = {};
    params.cancelText = L"Cancel";
    Show(params,
         L"a text that makes the box wider than its template, because it is quite a long line of words",
         [](OpenInfoBox& box) {
             RECT place{99, 38, 0, 0};
             MapDialogRect(box.hwnd(), &place);
             const RECT cancel = box.AreaOf(kInfoBoxCancelId);
             EXPECT_EQ(cancel.left, place.left);
             EXPECT_EQ(cancel.top, place.top);
             // Anchored at the middle and the bottom, as an OK button alone would be.
             RECT client = {};
             GetClientRect(box.hwnd(), &client);
             const RECT ok = box.AreaOf(kInfoBoxOkId);
             EXPECT_NEAR((ok.left + ok.right) / 2, client.right / 2, 2);
             EXPECT_FALSE(box.IsShown(kInfoBoxOkId));
             box.Command(kInfoBoxCancelId);
         });
}

TEST_F(InfoBox, AnOkButtonAloneIsCentered) {
    FlexiInfoParams params = {};
    params.okText = L"OK";
    Show(params,
         L"a text that makes the box wider than its template, because it is quite a long line of words",
         [](OpenInfoBox& box) {
             RECT client = {};
             GetClientRect(box.hwnd(), &client);
             const RECT ok = box.AreaOf(kInfoBoxOkId);
             EXPECT_NEAR((ok.left + ok.right) / 2, client.right / 2, 2);
             EXPECT_LT(ok.bottom, client.bottom);
             box.Command(kInfoBoxOkId);
         });
}

TEST_F(InfoBox, TwoButtonsKeepTheirDistanceFromTheCorner) {
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.cancelText = L"Cancel";
    Show(params, L"1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12", [](OpenInfoBox& box) {
        RECT client = {};
        GetClientRect(box.hwnd(), &client);
        RECT margins{156 - 149, 56 - 52, 156 - 96, 0};
        MapDialogRect(box.hwnd(), &margins);
        EXPECT_NEAR(client.right - box.AreaOf(kInfoBoxCancelId).right, margins.left, 2);
        EXPECT_NEAR(client.bottom - box.AreaOf(kInfoBoxCancelId).bottom, margins.top, 2);
        EXPECT_NEAR(client.right - box.AreaOf(kInfoBoxOkId).right, margins.right, 2);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBox, EnterPressesTheDefaultButtonAndMnemonicsTheirs) {
    FlexiInfoParams params = {};
    params.okText = L"&Yes";
    params.cancelText = L"&No";
    EXPECT_EQ(Show(params, L"", [](OpenInfoBox& box) { box.PressKey(VK_RETURN); }), 1u);
    params.defaultButtonId = kInfoBoxCancelId;
    EXPECT_EQ(Show(params, L"", [](OpenInfoBox& box) { box.PressKey(VK_RETURN); }), 2u);
    EXPECT_EQ(Show(params, L"",
                   [](OpenInfoBox& box) {
                       PostMessageW(GetDlgItem(box.hwnd(), kInfoBoxCancelId), WM_SYSCHAR, L'y', 1 << 29);
                   }),
              1u);
    EXPECT_EQ(driver_.boxes()[0].defaultButton, kInfoBoxOkId);
    EXPECT_EQ(driver_.boxes()[1].defaultButton, kInfoBoxCancelId);
}

TEST_F(InfoBox, EscapeInTheTextGivesTwo) {
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.defaultButtonId = kInfoBoxTextId;
    EXPECT_EQ(Show(params, L"",
                   [](OpenInfoBox& box) {
                       EXPECT_EQ(box.FocusId(), kInfoBoxTextId);
                       box.PressKey(VK_ESCAPE);
                   }),
              2u);
}

TEST_F(InfoBox, TabReachesEveryControlInOrder) {
    FlexiInfoParams params = {};
    params.okText = L"&Yes";
    params.cancelText = L"&No";
    params.autoRefreshMs = 60000;
    Show(params, L"text", [](OpenInfoBox& box) {
        std::vector<int> order{box.FocusId()};
        for (int i = 0; i < 5; ++i) {
            box.PressKey(VK_TAB);
            order.push_back(box.FocusId());
        }
        EXPECT_EQ(order, (std::vector<int>{kInfoBoxOkId, kInfoBoxCancelId, kInfoBoxTextId, kInfoBoxRefreshId,
                                           kInfoBoxAutoId, kInfoBoxOkId}));
        box.Command(kInfoBoxCancelId);
    });
}

TEST_F(InfoBox, TabEntersABoxWithoutFocus) {
    Show({}, L"text", [](OpenInfoBox& box) {
        EXPECT_EQ(box.FocusId(), 0);
        box.PressKey(VK_TAB);
        EXPECT_EQ(box.FocusId(), kInfoBoxTextId);
        box.Command(kInfoBoxCancelId);
    });
}

}  // namespace
