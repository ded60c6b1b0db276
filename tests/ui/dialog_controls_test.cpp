#include "ui/dialog_controls.h"

#include <gtest/gtest.h>

#include <string>

#include "base/win32_handle.h"
#include "tests/support/dialog_under_test.h"
#include "tests/support/import_redirect.h"

namespace {

enum : int { kEdit = 10, kFirst, kSecond, kThird, kFallback };
constexpr RadioGroup kRadios = {kFirst, kThird};

class DialogControls : public testing::Test {
  protected:
    DialogControls()
        : window_(CreateWindowExW(0, L"#32770", L"", WS_POPUP | WS_VISIBLE, 20, 20, 200, 200, nullptr,
                                  nullptr, nullptr, nullptr)),
          dialog_(window_.get()) {
        Add(L"EDIT", kEdit, WS_TABSTOP);
        Add(L"BUTTON", kFirst, BS_AUTORADIOBUTTON | WS_GROUP | WS_TABSTOP);
        Add(L"BUTTON", kSecond, BS_AUTORADIOBUTTON);
        Add(L"BUTTON", kThird, BS_AUTORADIOBUTTON);
        Add(L"BUTTON", kFallback, BS_PUSHBUTTON | WS_GROUP | WS_TABSTOP);
        SetForegroundWindow(window_.get());
    }
    void Add(const wchar_t* className, int id, DWORD style) {
        ASSERT_NE(CreateWindowExW(0, className, L"", WS_CHILD | WS_VISIBLE | style, 0, 20 * (id - kEdit), 80,
                                  20, window_.get(), reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                  nullptr, nullptr),
                  nullptr);
    }
    HWND Control(int id) const { return dialog_.Control(id); }
    bool HasTabStop(int id) const { return (GetWindowLongPtrW(Control(id), GWL_STYLE) & WS_TABSTOP) != 0; }

    OwnedWindow window_;
    DialogUnderTest dialog_;
};

TEST_F(DialogControls, ATextIsSetOnlyWhenItDiffers) {
    EXPECT_TRUE(SetControlText(window_.get(), kEdit, L"one"));
    SendMessageW(Control(kEdit), EM_SETSEL, 1, 2);
    EXPECT_FALSE(SetControlText(window_.get(), kEdit, L"one"));
    EXPECT_EQ(SendMessageW(Control(kEdit), EM_GETSEL, 0, 0), MAKELRESULT(1, 2)) << "the selection stays";
    EXPECT_TRUE(SetControlText(window_.get(), kEdit, L"on"));
    EXPECT_EQ(dialog_.Text(kEdit), L"on");
}

TEST_F(DialogControls, ATextThatIsTooLongToCompareIsSet) {
    for (const size_t chars : {size_t{510}, size_t{511}, size_t{512}}) {
        const std::wstring text(chars, L'x');
        EXPECT_TRUE(SetControlText(window_.get(), kEdit, text.c_str()));
        EXPECT_EQ(SetControlText(window_.get(), kEdit, text.c_str()), chars >= 511) << chars;
    }
}

TEST_F(DialogControls, ATextThatCannotBeReadIsSet) {
    SetControlText(window_.get(), kEdit, L"one");
    REPLACE_CALL(read, GetDlgItemTextW, [](auto...) { return UINT{0}; });
    EXPECT_TRUE(SetControlText(window_.get(), kEdit, L"two"));
    EXPECT_EQ(dialog_.Text(kEdit), L"two");
}

TEST_F(DialogControls, ADisabledControlPassesTheFocusOn) {
    SetFocus(Control(kEdit));
    EnableControl(window_.get(), kEdit, false, kFallback);
    EXPECT_FALSE(dialog_.IsEnabled(kEdit));
    EXPECT_EQ(GetFocus(), Control(kFallback));
}

TEST_F(DialogControls, AHiddenControlPassesTheFocusOn) {
    SetFocus(Control(kEdit));
    ShowControl(window_.get(), kEdit, false, kFallback);
    EXPECT_FALSE(dialog_.IsShown(kEdit));
    EXPECT_EQ(GetFocus(), Control(kFallback));
}

TEST_F(DialogControls, TheFocusOfAnotherControlStays) {
    SetFocus(Control(kFirst));
    EnableControl(window_.get(), kEdit, false, kFallback);
    ShowControl(window_.get(), kEdit, false, kFallback);
    EXPECT_EQ(GetFocus(), Control(kFirst));
}

TEST_F(DialogControls, ComeBackWithoutTakingTheFocus) {
    SetFocus(Control(kFallback));
    EnableControl(window_.get(), kEdit, false, kFallback);
    ShowControl(window_.get(), kEdit, false, kFallback);
    EnableControl(window_.get(), kEdit, true, kFallback);
    ShowControl(window_.get(), kEdit, true, kFallback);
    EXPECT_TRUE(dialog_.IsEnabled(kEdit) && dialog_.IsShown(kEdit));
    EXPECT_EQ(GetFocus(), Control(kFallback));
}

TEST_F(DialogControls, AControlThatIsAsWantedIsNotTouched) {
    REPLACE_CALL(enable, EnableWindow, [](auto...) { return FALSE; });
    REPLACE_CALL(show, ShowWindow, [](auto...) { return FALSE; });
    EnableControl(window_.get(), kEdit, true, kFallback);
    ShowControl(window_.get(), kEdit, true, kFallback);
    EXPECT_EQ(enable.calls() + show.calls(), 0);
}

TEST_F(DialogControls, SeveralAreEnabledTogether) {
    constexpr int kIds[] = {kEdit, kSecond};
    EnableControls(window_.get(), kIds, false, kFallback);
    EXPECT_FALSE(dialog_.IsEnabled(kEdit) || dialog_.IsEnabled(kSecond));
    EXPECT_TRUE(dialog_.IsEnabled(kFirst));
    EnableControls(window_.get(), kIds, true, kFallback);
    EXPECT_TRUE(dialog_.IsEnabled(kEdit) && dialog_.IsEnabled(kSecond));
}

TEST_F(DialogControls, BoxesAreReadAsTheyWereChecked) {
    for (const bool checked : {true, false}) {
        CheckBox(window_.get(), kSecond, checked);
        EXPECT_EQ(IsBoxChecked(window_.get(), kSecond), checked);
    }
}

TEST_F(DialogControls, ARadioIsCheckedAndReadByItsPosition) {
    EXPECT_EQ(CheckedRadio(window_.get(), kRadios), std::nullopt);
    for (const uint32_t position : {0u, 1u, 2u, 0u}) {
        CheckRadio(window_.get(), kRadios, position);
        EXPECT_EQ(CheckedRadio(window_.get(), kRadios), position);
        EXPECT_TRUE(HasTabStop(kFirst + static_cast<int>(position)));
    }
}

TEST_F(DialogControls, APositionOutsideTheGroupLeavesNoneCheckedButReachable) {
    for (const uint32_t position : {3u, 4u, 0xFFFFFFFFu}) {
        CheckRadio(window_.get(), kRadios, 2);
        CheckRadio(window_.get(), kRadios, position);
        EXPECT_EQ(CheckedRadio(window_.get(), kRadios), std::nullopt);
        EXPECT_EQ(GetNextDlgTabItem(window_.get(), Control(kEdit), FALSE), Control(kFirst));
    }
}

TEST_F(DialogControls, ACheckedGroupIsReachedAtItsCheckedRadioOnly) {
    CheckRadio(window_.get(), kRadios, 9);
    CheckRadio(window_.get(), kRadios, 1);
    EXPECT_EQ(GetNextDlgTabItem(window_.get(), Control(kEdit), FALSE), Control(kSecond));
    EXPECT_FALSE(HasTabStop(kFirst));
}

TEST_F(DialogControls, HeldKeysAreThoseThatAreDown) {
    BYTE keys[256] = {};
    keys[VK_SHIFT] = 0x80;
    keys[VK_CAPITAL] = 0x01;  // switched on, but not down
    SetKeyboardState(keys);
    EXPECT_TRUE(IsKeyHeld(VK_SHIFT));
    EXPECT_FALSE(IsKeyHeld(VK_CONTROL));
    EXPECT_FALSE(IsKeyHeld(VK_CAPITAL));
    const BYTE none[256] = {};
    SetKeyboardState(const_cast<BYTE*>(none));
}

}  // namespace
