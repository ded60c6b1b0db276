// The box with the driver's text about its requests.
#include "tools/irp_state.h"

#include "driver/vbus.h"
#include "sim/client/refused_open.h"
#include "tests/support/held_keys.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/sim_fixture.h"
#include "ui/info_box.h"

namespace {

constexpr wchar_t kTitle[] = L"TAVIX internal IRP state";
constexpr int32_t kDisconnected = static_cast<int32_t>(0xC000009D);

class IrpStateTest : public SimulatedBusTest {
  protected:
    void SetUp() override {
        SimulatedBusTest::SetUp();
        SetVbusReadOnly(false);
        owner_.reset(CreateWindowExW(0, L"STATIC", L"Owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 300, 200, 300,
                                     200, nullptr, nullptr, nullptr, nullptr));
        modal_.Ignore(owner_.get());
        ASSERT_EQ(driver_.ClearRequests(), ERROR_SUCCESS);
    }
    void TearDown() override {
        SetVbusReadOnly(false);
        SimulatedBusTest::TearDown();
    }
    // The text of the box as it opens.
    std::wstring ShownText() {
        std::wstring text;
        modal_.ExpectBox(kTitle).Do([&](BoxView& box) {
            text = box.Text(kInfoBoxTextId);
            box.Press(IDOK);
        });
        ShowIrpState(owner_.get(), false);
        return text;
    }
    size_t RequestCount() {
        std::vector<LoggedRequest> requests;
        EXPECT_EQ(driver_.ReadRequests(requests), ERROR_SUCCESS);
        for (const LoggedRequest& request : requests) {
            EXPECT_EQ(request.record.code, IOCTL_TAVIX_GetIrpStateText);
            EXPECT_EQ(request.record.outputBytes, 8000u);
            EXPECT_TRUE(request.input.empty());
        }
        return requests.size();
    }
    void AnswerNext(std::wstring_view text, size_t bytes) {
        ASSERT_EQ(driver_.AnswerNext(IOCTL_TAVIX_GetIrpStateText,
                                     {reinterpret_cast<const uint8_t*>(text.data()), bytes}),
                  ERROR_SUCCESS);
    }

    ModalDriver modal_;
    OwnedWindow owner_;
};

TEST_F(IrpStateTest, ShowsTheDriversText) {
    ASSERT_EQ(driver_.SetIrpText(L"IN IRP 1: pending\r\nIN IRP 2: idle"), ERROR_SUCCESS);
    modal_.ExpectBox(kTitle).Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"irp_state");
        box.Press(IDOK);
    });
    ShowIrpState(owner_.get(), false);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    const BoxRecord box = modal_.boxes()[0];
    EXPECT_EQ(box.ControlText(kInfoBoxTextId), L"IN IRP 1: pending\r\nIN IRP 2: idle");
    EXPECT_EQ(box.ControlText(kInfoBoxOkId), L"Close");
    EXPECT_EQ(box.owner, owner_.get());
    EXPECT_EQ(box.Buttons(), (std::vector<int>{kInfoBoxOkId, kInfoBoxRefreshId}));
}

TEST_F(IrpStateTest, IsInAFixedPitchFont) {
    modal_.ExpectBox(kTitle).Do([](BoxView& box) {
        LOGFONTW font = {};
        GetObjectW(reinterpret_cast<HFONT>(SendMessageW(box.Control(kInfoBoxTextId), WM_GETFONT, 0, 0)),
                   sizeof(font), &font);
        EXPECT_EQ(font.lfPitchAndFamily & 3, FIXED_PITCH);
        box.Press(IDOK);
    });
    ShowIrpState(owner_.get(), false);
}

TEST_F(IrpStateTest, AsksAgainUntilItIsClosed) {
    modal_.ExpectBox(kTitle).Do([&](BoxView& box) {
        EXPECT_TRUE(box.IsChecked(kInfoBoxAutoId));
        ASSERT_EQ(driver_.SetIrpText(L"second"), ERROR_SUCCESS);
        box.WaitFor("the second text", [&] { return box.Text(kInfoBoxTextId) == L"second"; });
        ASSERT_EQ(driver_.SetIrpText(L"third"), ERROR_SUCCESS);
        box.WaitFor("the third text", [&] { return box.Text(kInfoBoxTextId) == L"third"; });
        box.Press(IDOK);
    });
    ShowIrpState(owner_.get(), false);
    EXPECT_GE(RequestCount(), 3u);
}

TEST_F(IrpStateTest, TheTimerHasHalfASecond) {
    UINT period = 0;
    REPLACE_CALL(timer, SetTimer, [&](HWND window, UINT_PTR id, UINT ms, TIMERPROC procedure) {
        if (id == 1) period = ms;
        return SetTimer(window, id, ms, procedure);
    });
    modal_.ExpectBox(kTitle).Press(IDOK);
    ShowIrpState(owner_.get(), false);
    EXPECT_EQ(period, 500u);
}

TEST_F(IrpStateTest, ClosingAsksNoMore) {
    modal_.ExpectBox(kTitle).Close();
    REPLACE_CALL(timer, SetTimer, [](HWND, UINT_PTR, UINT, TIMERPROC) { return UINT_PTR{1}; });
    ShowIrpState(owner_.get(), false);
    EXPECT_EQ(RequestCount(), 1u);
}

TEST_F(IrpStateTest, AnErrorIsShownWithTheAlertIconUntilTheDriverIsBack) {
    ASSERT_EQ(driver_.SetIrpText(L"well again"), ERROR_SUCCESS);
    SimAccess_st access = {};
    access.busAbsent = 1;
    ASSERT_EQ(driver_.SetAccess(access), ERROR_SUCCESS);
    const auto iconOf = [](const BoxView& box) {
        return reinterpret_cast<HICON>(SendMessageW(box.Control(kInfoBoxIconId), STM_GETICON, 0, 0));
    };
    modal_.ExpectBox(kTitle).Do([&](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId),
                  L"cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetIrpStateText) meets "
                  L"winerr=1167(ERROR_DEVICE_NOT_CONNECTED)");
        EXPECT_EQ(iconOf(box), LoadIconW(nullptr, IDI_WARNING));
        SaveScreenshot(box.window(), L"irp_state_lost");
        ASSERT_EQ(driver_.SetAccess({}), ERROR_SUCCESS);
        box.WaitFor("the driver's text", [&] { return box.Text(kInfoBoxTextId) == L"well again"; });
        EXPECT_EQ(iconOf(box), LoadIconW(nullptr, IDI_INFORMATION));
        box.Press(IDOK);
    });
    ShowIrpState(owner_.get(), false);
}

TEST_F(IrpStateTest, OpensDetachedWhenToldTo) {
    modal_.ExpectBox(kTitle).Do([&](BoxView& box) {
        EXPECT_TRUE(IsWindowEnabled(owner_.get()));
        box.Press(IDOK);
    });
    ShowIrpState(owner_.get(), true);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].owner, nullptr);
}

TEST_F(IrpStateTest, HasAMenuForDetachingAndCopying) {
    modal_.ExpectBox(kTitle).Do([&](BoxView& box) {
        modal_.ExpectMenu().Dismiss();
        box.Send(WM_RBUTTONDOWN, MK_RBUTTON, MAKELPARAM(3, 3));
        box.Press(IDOK);
    });
    ShowIrpState(owner_.get(), false);
    ASSERT_EQ(modal_.menus().size(), 1u);
    EXPECT_EQ(modal_.menus()[0].Texts(), L"Detach infobox from parent\nCopy to clipboard\n");
}

TEST_F(IrpStateTest, ADetachedBoxOutlivesItsOwner) {
    ASSERT_EQ(driver_.SetIrpText(L"before"), ERROR_SUCCESS);
    modal_.ExpectBox(kTitle).Do([&](BoxView& box) {
        SendMessageW(owner_.release(), WM_CLOSE, 0, 0);
        ASSERT_EQ(driver_.SetIrpText(L"after"), ERROR_SUCCESS);
        box.WaitFor("the new text", [&] { return box.Text(kInfoBoxTextId) == L"after"; });
        box.Press(IDOK);
    });
    ShowIrpState(owner_.get(), true);
}

TEST_F(IrpStateTest, AnAttachedBoxGoesWithItsOwner) {
    modal_.ExpectBox(kTitle).DoAndLeaveOpen(
        [&](BoxView&) { PostMessageW(owner_.release(), WM_CLOSE, 0, 0); });
    ShowIrpState(owner_.get(), false);
    EXPECT_EQ(modal_.boxes().size(), 1u);
}

struct ReplyRow {
    const char* name;
    size_t bytes;
    size_t shownChars;
};
void PrintTo(const ReplyRow& row, std::ostream* out) {
    *out << row.name;
}

class IrpStateReplyTest : public IrpStateTest, public testing::WithParamInterface<ReplyRow> {};

TEST_P(IrpStateReplyTest, WithoutATerminatorEndsWhereTheDriverStopped) {
    const std::wstring text(4000, L'x');
    AnswerNext(text, GetParam().bytes);
    REPLACE_CALL(timer, SetTimer, [](HWND, UINT_PTR, UINT, TIMERPROC) { return UINT_PTR{1}; });
    EXPECT_EQ(ShownText(), text.substr(0, GetParam().shownChars));
}

TEST_P(IrpStateReplyTest, IsAlsoCutInThePlainBox) {
    const std::wstring text(4000, L'x');
    AnswerNext(text, GetParam().bytes);
    std::wstring shown;
    REPLACE_CALL(box, MessageBoxW, [&](HWND, LPCWSTR message, LPCWSTR, UINT) {
        shown = message;
        return IDOK;
    });
    const HeldKeys keys({VK_MENU});
    ShowIrpState(owner_.get(), false);
    EXPECT_EQ(shown, text.substr(0, GetParam().shownChars));
}

INSTANTIATE_TEST_SUITE_P(Lengths, IrpStateReplyTest,
                         testing::Values(ReplyRow{"None", 0, 0}, ReplyRow{"HalfACharacter", 1, 0},
                                         ReplyRow{"OneCharacter", 2, 1}, ReplyRow{"AlmostFull", 7998, 3999},
                                         ReplyRow{"OddAndAlmostFull", 7999, 3999},
                                         ReplyRow{"Full", 8000, 3999}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(IrpStateTest, AReplyThatClaimsMoreThanItHasIsCut) {
    ASSERT_EQ(driver_.ShortenNext(IOCTL_TAVIX_GetIrpStateText, 2), ERROR_SUCCESS);
    ASSERT_EQ(driver_.SetIrpText(L"text"), ERROR_SUCCESS);
    REPLACE_CALL(timer, SetTimer, [](HWND, UINT_PTR, UINT, TIMERPROC) { return UINT_PTR{1}; });
    EXPECT_EQ(ShownText(), L"t");
}

TEST_F(IrpStateTest, AltShowsTheTextOnceInAPlainBox) {
    ASSERT_EQ(driver_.SetIrpText(L"plain"), ERROR_SUCCESS);
    modal_.ExpectBox(L"Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"irp_state_plain");
        box.Press(IDOK);
    });
    const HeldKeys keys({VK_MENU});
    ShowIrpState(owner_.get(), false);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    const BoxRecord box = modal_.boxes()[0];
    EXPECT_EQ(box.text, L"plain");
    EXPECT_EQ(box.owner, owner_.get());
    EXPECT_EQ(box.icon, static_cast<UINT>(MB_ICONINFORMATION));
    EXPECT_EQ(box.Buttons(), std::vector<int>{IDOK});
    EXPECT_EQ(RequestCount(), 1u);
}

struct FailureRow {
    const char* name;
    int32_t status;
    const wchar_t* text;
};
void PrintTo(const FailureRow& row, std::ostream* out) {
    *out << row.name;
}

class IrpStateFailureTest : public IrpStateTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(IrpStateFailureTest, IsTheTextOfThePlainBox) {
    ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetIrpStateText, GetParam().status), ERROR_SUCCESS);
    modal_.ExpectBox(L"Message").Press(IDOK);
    const HeldKeys keys({VK_MENU});
    ShowIrpState(owner_.get(), false);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(
        modal_.boxes()[0].text,
        std::wstring(L"cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetIrpStateText) meets winerr=") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, IrpStateFailureTest,
    testing::Values(FailureRow{"Denied", static_cast<int32_t>(0xC0000022), L"5(ERROR_ACCESS_DENIED)"},
                    FailureRow{"Lost", kDisconnected, L"1167(ERROR_DEVICE_NOT_CONNECTED)"},
                    FailureRow{"Unknown", static_cast<int32_t>(0xC0000035), L"183(UnknownWinErrCode)"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
