#include "base/message_box.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/modal_driver.h"

namespace {

// What reaches MessageBoxW; nothing is shown.
class MessageBoxCall : public testing::Test {
  protected:
    HWND owner = reinterpret_cast<HWND>(ULONG_PTR{0x1234});
    HWND ownerGiven = nullptr;
    std::wstring title;
    std::wstring text;
    UINT style = 0xFFFFFFFF;
    int answer = IDOK;
    ReplacedCall<MessageBoxW> box_{"MessageBoxW", [this](HWND o, LPCWSTR t, LPCWSTR c, UINT s) {
                                       ownerGiven = o;
                                       text = t;
                                       title = c;
                                       style = s;
                                       return answer;
                                   }};
};

TEST_F(MessageBoxCall, MsgBoxFmtHandsOnTitleStyleOwnerAndResult) {
    answer = IDRETRY;
    EXPECT_EQ(MsgBoxFmt(L"Caption", 0x135, owner, L"%s=%d", L"x", 5), IDRETRY);
    EXPECT_EQ(title, L"Caption");
    EXPECT_EQ(text, L"x=5");
    EXPECT_EQ(style, 0x135u);
    EXPECT_EQ(ownerGiven, owner);
}

TEST_F(MessageBoxCall, ANullTitleIsTheGeneralOne) {
    MsgBoxFmt(nullptr, 0, nullptr, L"x");
    EXPECT_EQ(title, L"TAVIX Message");
    EXPECT_EQ(ownerGiven, nullptr);
    MsgBoxKind(nullptr, 1, nullptr, L"x");
    EXPECT_EQ(title, L"TAVIX Message");
}

TEST_F(MessageBoxCall, AnErrorBoxHasTitleAndIconOfAnError) {
    ErrorBox(owner, L"%s=%d", L"x", 5);
    EXPECT_EQ(title, L"TAVIX Message");
    EXPECT_EQ(text, L"x=5");
    EXPECT_EQ(style, 0x10u);
    EXPECT_EQ(ownerGiven, owner);
}

TEST_F(MessageBoxCall, EachKindHasItsIcon) {
    const struct {
        int32_t kind;
        UINT style;
    } rows[] = {{1, 0x40}, {2, 0x30}, {3, 0x10}, {0, 0}, {4, 0}, {-1, 0}, {INT32_MAX, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(MsgBoxKind(L"T", row.kind, owner, L"kind %d", row.kind), IDOK);
        EXPECT_EQ(style, row.style) << row.kind;
        EXPECT_EQ(title, L"T");
        EXPECT_EQ(text, L"kind " + std::to_wstring(row.kind));
        EXPECT_EQ(ownerGiven, owner);
    }
}

TEST_F(MessageBoxCall, AQuestionHasYesFirst) {
    answer = IDYES;
    EXPECT_EQ(AskYesNo(owner, L"Delete %s?", L"it"), 6);
    EXPECT_EQ(style, 0x24u);
    EXPECT_EQ(title, L"TAVIX Message");
    EXPECT_EQ(text, L"Delete it?");
    EXPECT_EQ(ownerGiven, owner);
}

TEST_F(MessageBoxCall, ARiskyQuestionHasNoFirst) {
    answer = IDNO;
    EXPECT_EQ(AskYesNoDefaultNo(owner, L"Delete %s?", L"it"), 7);
    EXPECT_EQ(style, 0x124u);
    EXPECT_EQ(title, L"TAVIX Message");
    EXPECT_EQ(text, L"Delete it?");
    EXPECT_EQ(ownerGiven, owner);
}

TEST_F(MessageBoxCall, ALongTextIsCutAt2000CharactersTerminatorIncluded) {
    const std::wstring fits(1999, L'a');
    MsgBoxFmt(nullptr, 0, nullptr, L"%s", fits.c_str());
    EXPECT_EQ(text, fits);
    MsgBoxFmt(nullptr, 0, nullptr, L"%sb", fits.c_str());
    EXPECT_EQ(text, fits);
    AskYesNo(nullptr, L"%s%s", fits.c_str(), fits.c_str());
    EXPECT_EQ(text, fits);
}

TEST_F(MessageBoxCall, AFailureToShowIsResultZero) {
    answer = 0;
    EXPECT_EQ(MsgBoxFmt(nullptr, 0, nullptr, L"x"), 0);
    EXPECT_EQ(AskYesNo(nullptr, L"x"), 0);
}

TEST(MessageBoxOnScreen, KindFourHasNoIcon) {
    ModalDriver driver;
    driver.ExpectBox(L"TAVIX Message").Press(IDOK);
    EXPECT_EQ(MsgBoxKind(nullptr, 4, nullptr, L"plain"), IDOK);
    ASSERT_EQ(driver.boxes().size(), 1u);
    EXPECT_EQ(driver.boxes()[0].icon, 0u);
    EXPECT_EQ(driver.boxes()[0].text, L"plain");
}

TEST(MessageBoxOnScreen, ARiskyQuestionIsAnsweredNoByEnter) {
    ModalDriver driver;
    driver.ExpectBox(L"TAVIX Message");  // its default button
    EXPECT_EQ(AskYesNoDefaultNo(nullptr, L"Really?"), IDNO);
    ASSERT_EQ(driver.boxes().size(), 1u);
    EXPECT_EQ(driver.boxes()[0].icon, UINT{MB_ICONQUESTION});
    EXPECT_EQ(driver.boxes()[0].Buttons(), (std::vector<int>{IDYES, IDNO}));
}

TEST(MessageBoxOnScreen, AnOrdinaryQuestionIsAnsweredYesByEnter) {
    ModalDriver driver;
    driver.ExpectBox(L"TAVIX Message");
    EXPECT_EQ(AskYesNo(nullptr, L"Shall I?"), IDYES);
}

}  // namespace
