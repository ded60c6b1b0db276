#include "ui/info_message.h"

#include "tests/ui/info_box_fixture.h"

namespace {

struct KindRow {
    const char* name;
    int32_t kind;
    UINT icon;
};
void PrintTo(const KindRow& row, std::ostream* out) {
    *out << row.name;
}

class InfoBoxKinds : public InfoBoxTest, public testing::WithParamInterface<KindRow> {};

TEST_P(InfoBoxKinds, HaveTheirIconAndOneButton) {
    driver_.ExpectBox(L"TAVIX").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"UfAppErr=7(VbusNotReady) 100%");
        EXPECT_EQ(box.Text(kInfoBoxOkId), L"OK");
        box.Press(kInfoBoxOkId);
    });
    EXPECT_EQ(InfoBoxKind(GetParam().kind, parent(), L"UfAppErr=%d(%s) 100%%", 7, L"VbusNotReady"), 1u);
    EXPECT_EQ(driver_.boxes()[0].icon, GetParam().icon);
    EXPECT_EQ(driver_.boxes()[0].Buttons(), std::vector<int>{kInfoBoxOkId});
    EXPECT_EQ(driver_.boxes()[0].owner, parent());
}

INSTANTIATE_TEST_SUITE_P(InfoMessage, InfoBoxKinds,
                         testing::Values(KindRow{"Information", 1, MB_ICONINFORMATION},
                                         KindRow{"Warning", 2, MB_ICONWARNING},
                                         KindRow{"Error", 3, MB_ICONERROR},
                                         KindRow{"Zero", 0, MB_ICONINFORMATION},
                                         KindRow{"Another", 4, MB_ICONINFORMATION}),
                         [](const auto& row) { return row.param.name; });

using InfoMessage = InfoBoxTest;

TEST_F(InfoMessage, AClosedMessageGivesTwo) {
    driver_.ExpectBox(L"TAVIX").Close();
    EXPECT_EQ(InfoBoxKind(1, nullptr, L"text"), 2u);
}

TEST_F(InfoMessage, ALongTextIsShownWhole) {
    const std::wstring longText(5000, L'x');
    for (const bool question : {false, true}) {
        driver_.ExpectBox(L"TAVIX").Do([&](BoxView& box) {
            EXPECT_EQ(box.Text(kInfoBoxTextId), longText);
            box.Press(kInfoBoxOkId);
        });
        const uint32_t result = question ? InfoBoxAskYes(parent(), true, L"%s", longText.c_str())
                                         : InfoBoxKind(1, parent(), L"%s", longText.c_str());
        EXPECT_EQ(result, 1u);
    }
}

TEST_F(InfoMessage, AQuestionGivesTheNumberOfTheButton) {
    for (const int button : {1, 2}) {
        driver_.ExpectBox(L"TAVIX").Do([button](BoxView& box) {
            EXPECT_EQ(box.Text(kInfoBoxTextId), L"Clear COM7?");
            EXPECT_EQ(box.Text(1), L"&Yes");
            EXPECT_EQ(box.Text(2), L"&No");
            box.Press(button);
        });
        EXPECT_EQ(InfoBoxAskYes(parent(), true, L"Clear %s?", L"COM7"), static_cast<uint32_t>(button));
    }
    EXPECT_EQ(driver_.boxes()[0].icon, UINT{MB_ICONQUESTION});
}

TEST_F(InfoMessage, TheFlagChoosesTheDefaultOfAQuestion) {
    for (const bool first : {true, false}) {
        driver_.ExpectBox(L"TAVIX").Do([](BoxView& box) { OpenInfoBox(box).PressKey(VK_RETURN); });
        EXPECT_EQ(InfoBoxAskYes(parent(), first, L"Sure?"), first ? 1u : 2u);
    }
}

TEST_F(InfoMessage, AQuestionThatCannotBeShownIsAnsweredNo) {
    EXPECT_EQ(InfoBoxAskYes(reinterpret_cast<HWND>(0x7654321), true, L"Sure?"), 2u);
}

}  // namespace
