#include "ui/info_box.h"

#include "base/time_text.h"
#include "ui/activation_context.h"
#include "ui/info_box/template.h"

#include "tests/support/import_redirect.h"
#include "tests/ui/info_box_fixture.h"
#include "tests/ui/info_box_resource.h"

namespace {

using InfoBox = InfoBoxTest;

// The text of so many units finds no memory; everything else does, because the test itself needs some.
constexpr int kRefusedChars = 9001;
void* (*realMalloc)(size_t) = nullptr;
void* RefuseTextBlock(size_t bytes) {
    return bytes == (kRefusedChars + 1) * sizeof(wchar_t) ? nullptr : realMalloc(bytes);
}

TEST_F(InfoBox, WithoutParametersAndTextIsEmptyAndEscapeGivesTwo) {
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& view) {
        const OpenInfoBox box(view);
        EXPECT_EQ(box.Text(), L"");
        for (const int id : {kInfoBoxOkId, kInfoBoxCancelId, kInfoBoxRefreshId, kInfoBoxAutoId})
            EXPECT_FALSE(box.IsShown(id)) << id;
        EXPECT_TRUE(box.IsShown(kInfoBoxTextId));
        EXPECT_TRUE(box.IsShown(kInfoBoxIconId));
        EXPECT_EQ(box.Icon(), LoadIconW(nullptr, IDI_INFORMATION));
        EXPECT_EQ(box.FocusId(), 0);
        box.PressKey(VK_ESCAPE);
    });
    EXPECT_EQ(FlexiInfoBox(nullptr, nullptr, nullptr), 2u);
}

TEST_F(InfoBox, WithoutButtonsTheCloseBoxGivesTwo) {
    driver_.ExpectBox(L"FlexiInfo").Close();
    EXPECT_EQ(FlexiInfoBox(parent(), nullptr, nullptr), 2u);
}

TEST_F(InfoBox, TheButtonsGiveTheirNumbers) {
    FlexiInfoParams params = {};
    params.okText = L"&Continue";
    params.cancelText = L"Canc&el";
    for (const int id : {kInfoBoxOkId, kInfoBoxCancelId}) {
        const uint32_t result = Show(params, L"text", [id](OpenInfoBox& box) {
            EXPECT_TRUE(box.IsShown(kInfoBoxOkId));
            EXPECT_TRUE(box.IsShown(kInfoBoxCancelId));
            box.Command(id);
        });
        EXPECT_EQ(result, static_cast<uint32_t>(id));
    }
    EXPECT_EQ(driver_.boxes()[0].ControlText(kInfoBoxOkId), L"&Continue");
    EXPECT_EQ(driver_.boxes()[0].ControlText(kInfoBoxCancelId), L"Canc&el");
}

TEST_F(InfoBox, WithoutATemplateGivesSix) {
    EXPECT_EQ(FlexiInfoBoxFromTemplate(nullptr, nullptr, nullptr, parent(), nullptr, nullptr), 6u);
    EXPECT_TRUE(driver_.boxes().empty());
}

TEST_F(InfoBox, AMissingDialogResourceGivesFive) {
    EXPECT_EQ(FlexiInfoBoxFromTemplate(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(4711), nullptr, parent(),
                                       nullptr, nullptr),
              5u);
}

TEST_F(InfoBox, AVanishedParentGivesFive) {
    EXPECT_EQ(FlexiInfoBox(reinterpret_cast<HWND>(0x7654321), nullptr, nullptr), 5u);
}

// A box shows the module's common controls whatever its host process uses.
TEST_F(InfoBox, WithoutTheModulesActivationContextNoBoxOpens) {
    IsolationAwareCleanup();
    REPLACE_CALL(query, QueryActCtxW, [](DWORD, HANDLE, PVOID, ULONG, PVOID buffer, SIZE_T, SIZE_T*) -> BOOL {
        static_cast<ACTIVATION_CONTEXT_BASIC_INFORMATION*>(buffer)->hActCtx =
            reinterpret_cast<HANDLE>(0x4560);
        return TRUE;
    });
    REPLACE_CALL(activate, ActivateActCtx, [](HANDLE, ULONG_PTR*) -> BOOL { return FALSE; });
    const InfoBoxTemplate own(FlexiInfoParams{});
    EXPECT_EQ(FlexiInfoBox(parent(), nullptr, nullptr), 5u);
    EXPECT_EQ(FlexiInfoBoxFromTemplate(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(4711), own.get(), parent(),
                                       nullptr, nullptr),
              5u);
    EXPECT_TRUE(driver_.boxes().empty());
    IsolationAwareCleanup();
}

TEST_F(InfoBox, WithoutButtonsNoWindowHasTheFocusAtTheFirstRefresh) {
    FlexiInfoParams params = Recorded();
    params.okText = nullptr;
    params.autoRefreshAtStart = 1;
    SetFocus(parent());
    HWND focus = parent();
    callback_.act = [&](FlexiInfoEvent& event, wchar_t*, uint32_t) {
        if (event.reason == kReasonRefresh) focus = GetFocus();
        return FIR_NoChange;
    };
    Show(params, L"", [](OpenInfoBox& box) {
        EXPECT_EQ(box.FocusId(), 0);
        box.Command(kInfoBoxCancelId);
    });
    EXPECT_EQ(focus, nullptr);
}

// Two edits in a dialog; the second has the focus.
class InfoBoxOverADialog : public InfoBox {
  protected:
    InfoBoxOverADialog() {
        driver_.Ignore(dialog_.get());
        SetForegroundWindow(dialog_.get());
        SetFocus(second_);
    }
    HWND FocusAfter(FlexiInfoParams params, const std::function<void(BoxView&)>& script) {
        params.cbSize = sizeof(params);
        params.okText = L"OK";
        driver_.ExpectBox(L"FlexiInfo").Do(script);
        wchar_t text[] = L"text";
        FlexiInfoBox(dialog_.get(), &params, text);
        return GetFocus();
    }

    OwnedWindow dialog_{CreateWindowExW(0, L"#32770", L"Owner", WS_POPUP | WS_VISIBLE, 300, 200, 300, 200,
                                        nullptr, nullptr, nullptr, nullptr)};
    HWND first_ = MakeEdit(10);
    HWND second_ = MakeEdit(60);

  private:
    HWND MakeEdit(int y) const {
        return CreateWindowExW(0, L"EDIT", L"", WS_CHILD | WS_VISIBLE | WS_TABSTOP, 10, y, 100, 24,
                               dialog_.get(), nullptr, nullptr, nullptr);
    }
};

TEST_F(InfoBoxOverADialog, TheOwnersControlHasTheFocusAgainAfterwards) {
    EXPECT_EQ(FocusAfter({}, [](BoxView& box) { box.Press(kInfoBoxOkId); }), second_);
}

TEST_F(InfoBoxOverADialog, AfterADetachedBoxTheFocusStaysWhereTheUserHasPutIt) {
    FlexiInfoParams params = {};
    params.startDetached = 1;
    const HWND focus = FocusAfter(params, [this](BoxView& box) {
        SendMessageW(dialog_.get(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(first_), TRUE);
        box.Press(kInfoBoxOkId);
    });
    EXPECT_NE(focus, second_);
}

TEST_F(InfoBoxOverADialog, AControlThatIsGoneGetsNoFocus) {
    const HWND focus = FocusAfter({}, [this](BoxView& box) {
        SendMessageW(second_, WM_CLOSE, 0, 0);
        box.Press(kInfoBoxOkId);
    });
    EXPECT_FALSE(IsWindow(second_));
    EXPECT_NE(focus, second_);
}

TEST_F(InfoBox, ATemplateOfTheCallerIsUsed) {
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.fontPointSize = 20;
    const InfoBoxTemplate own(params);
    driver_.ExpectBox(L"FlexiInfo").Press(kInfoBoxOkId);
    EXPECT_EQ(FlexiInfoBoxFromTemplate(nullptr, nullptr, own.get(), parent(), &params, nullptr), 1u);
}

TEST_F(InfoBox, ADialogResourceIsUsedEvenBesideATemplateInMemory) {
    FlexiInfoParams params = {};
    params.okText = L"OK";
    params.title = L"From a resource";
    const InfoBoxTemplate inMemory(params);
    wchar_t text[] = L"shown\nby the resource";
    params.textBufferChars = 23;
    driver_.ExpectBox(L"From a resource").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"shown\r\nby the resource");
        EXPECT_NE(box.Control(IDC_ONLY_IN_RESOURCE), nullptr);
        box.Press(kInfoBoxOkId);
    });
    EXPECT_EQ(FlexiInfoBoxFromTemplate(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_INFO_BOX),
                                       inMemory.get(), parent(), &params, text),
              1u);
}

TEST_F(InfoBox, TheModuleInstanceIsThatOfTheParent) {
    HINSTANCE used = nullptr;
    REPLACE_CALL(dialog, DialogBoxIndirectParamW,
                 [&](HINSTANCE instance, LPCDLGTEMPLATEW, HWND, DLGPROC, LPARAM) {
                     used = instance;
                     return INT_PTR{-1};
                 });
    EXPECT_EQ(FlexiInfoBox(parent(), nullptr, nullptr), 5u);
    EXPECT_EQ(used, GetModuleHandleW(nullptr));
}

TEST_F(InfoBox, DisablesItsParentWhileItIsAttached) {
    Show({}, L"", [this](OpenInfoBox& box) {
        EXPECT_FALSE(IsWindowEnabled(parent()));
        EXPECT_EQ(GetWindow(box.hwnd(), GW_OWNER), parent());
        box.Command(kInfoBoxCancelId);
    });
    EXPECT_TRUE(IsWindowEnabled(parent()));
}

TEST_F(InfoBox, LeavesItsParentUsableWhenItStartsDetached) {
    FlexiInfoParams params = {};
    params.startDetached = 1;
    Show(params, L"", [this](OpenInfoBox& box) {
        EXPECT_TRUE(IsWindowEnabled(parent()));
        EXPECT_EQ(GetWindow(box.hwnd(), GW_OWNER), nullptr);
        box.Command(kInfoBoxCancelId);
    });
}

TEST_F(InfoBox, ShowsTitleTextAndIcon) {
    FlexiInfoParams params = {};
    params.title = L"Result";
    params.normalIcon = LoadIconW(nullptr, IDI_ERROR);
    Show(params, L"one\ntwo\rthree\r\nfour\n\rfive", [&](OpenInfoBox& box) {
        EXPECT_EQ(box.Caption(), L"Result");
        EXPECT_EQ(box.Text(), L"one\r\ntwo\r\nthree\r\nfour\r\n\r\nfive");
        EXPECT_EQ(box.Icon(), params.normalIcon);
        EXPECT_EQ(box.WindowIcon(ICON_BIG), params.normalIcon);
        EXPECT_EQ(box.WindowIcon(ICON_SMALL), params.normalIcon);
        box.Command(kInfoBoxCancelId);
    });
}

TEST_F(InfoBox, AToolWindowHasNoSystemMenu) {
    FlexiInfoParams params = {};
    params.toolWindow = 1;
    Show(params, L"", [](OpenInfoBox& box) { box.Command(kInfoBoxCancelId); });
    EXPECT_TRUE(driver_.boxes()[0].extendedStyle & WS_EX_TOOLWINDOW);
    EXPECT_FALSE(driver_.boxes()[0].style & WS_SYSMENU);
}

TEST_F(InfoBox, ThePitchOfTheFontIsAsAsked) {
    for (const bool fixedPitch : {false, true}) {
        FlexiInfoParams params = {};
        params.fixedPitch = fixedPitch ? 1 : 0;
        Show(params, L"", [fixedPitch](OpenInfoBox& box) {
            const HWND text = GetDlgItem(box.hwnd(), kInfoBoxTextId);
            const auto font = reinterpret_cast<HFONT>(SendMessageW(text, WM_GETFONT, 0, 0));
            LOGFONTW description = {};
            GetObjectW(font, sizeof(description), &description);
            EXPECT_EQ(description.lfPitchAndFamily & 3, fixedPitch ? FIXED_PITCH : VARIABLE_PITCH);
            EXPECT_EQ(description.lfFaceName[0] == L'\0', fixedPitch);
            box.Command(kInfoBoxCancelId);
        });
    }
}

TEST_F(InfoBox, ScrollToEndShowsTheLastLine) {
    std::wstring text;
    for (int i = 0; i < 300; ++i)
        text += L"line\n";
    for (const bool scroll : {false, true}) {
        FlexiInfoParams params = {};
        params.scrollToEnd = scroll ? 1 : 0;
        Show(params, text.c_str(), [scroll](OpenInfoBox& box) {
            const HWND control = GetDlgItem(box.hwnd(), kInfoBoxTextId);
            const LRESULT first = SendMessageW(control, EM_GETFIRSTVISIBLELINE, 0, 0);
            if (scroll) {
                EXPECT_GT(first, 100);
            } else {
                EXPECT_EQ(first, 0);
            }
            box.Command(kInfoBoxCancelId);
        });
    }
}

TEST_F(InfoBox, FormattedTextGetsABufferOfItsOwnLength) {
    FlexiInfoParams params = Recorded();
    params.textBufferChars = 999999;
    uint32_t capacity = 0;
    callback_.act = [&](FlexiInfoEvent&, wchar_t*, uint32_t chars) {
        capacity = chars;
        return FIR_NoChange;
    };
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"WinErr=5(five)");
        box.Press(kInfoBoxOkId);
    });
    EXPECT_EQ(FlexiInfoBoxF(parent(), &params, L"WinErr=%d(%s)", 5, L"five"), 1u);
    EXPECT_EQ(capacity, 15u);
}

TEST_F(InfoBox, FormattedTextMayHaveNoParameters) {
    driver_.ExpectBox(L"FlexiInfo").Close();
    EXPECT_EQ(FlexiInfoBoxF(nullptr, nullptr, L"%d", 7), 2u);
}

TEST_F(InfoBox, WithoutMemoryForTheFormattedTextGivesFive) {
    realMalloc = reinterpret_cast<void* (*)(size_t)>(ImportedFunction(nullptr, "malloc"));
    const ImportRedirect redirect(nullptr, nullptr, "malloc", reinterpret_cast<void*>(&RefuseTextBlock));
    EXPECT_EQ(FlexiInfoBoxF(parent(), nullptr, L"%*n", kRefusedChars, L"x"), 5u);
}

TEST_F(InfoBox, AMessageShowsItsTextAndAnOkButton) {
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"7 of nine");
        EXPECT_EQ(box.Read().Buttons(), std::vector<int>{kInfoBoxOkId});
        EXPECT_EQ(box.Text(kInfoBoxOkId), L"OK");
        box.Press(kInfoBoxOkId);
    });
    EXPECT_EQ(FlexiInfoMessage(parent(), L"%d of %s", 7, L"nine"), 1u);
}

TEST_F(InfoBox, APlainTextIsNotFormatted) {
    driver_.ExpectBox(L"FlexiInfo").Do([](BoxView& box) {
        EXPECT_EQ(box.Text(kInfoBoxTextId), L"100 %s & more");
        box.Press(kInfoBoxOkId);
    });
    EXPECT_EQ(FlexiInfoShowText(parent(), L"100 %s & more"), 1u);
}

TEST_F(InfoBox, TheParametersMayGoAwayDuringTheCall) {
    auto params = std::make_unique<FlexiInfoParams>(Recorded());
    params->autoRefreshMs = 60000;
    driver_.ExpectBox(L"FlexiInfo").Do([&](BoxView& view) {
        const OpenInfoBox box(view);
        memset(static_cast<void*>(params.get()), 0xEE, sizeof(*params));
        box.Tick();
        EXPECT_EQ(callback_.calls.size(), 0u) << "the timer is not running yet";
        box.CheckAuto(true);
        box.Tick();
        box.Command(kInfoBoxOkId);
    });
    EXPECT_EQ(FlexiInfoBox(parent(), params.get(), buffer_.data()), 1u);
    EXPECT_EQ(callback_.Reasons(), (std::vector<uint32_t>{0, 0, 1}));
}

TEST_F(InfoBox, AClickOnTheIconCopiesTheText) {
    const PatientClipboard clipboard;
    Show({}, L"one\ntwo", [](OpenInfoBox& box) {
        box.Command(kInfoBoxIconId);
        EXPECT_EQ(ClipboardText(), L"one\r\ntwo");
        box.Command(kInfoBoxCancelId);
    });
}

TEST_F(InfoBox, CopiesAtMost63999Units) {
    std::wstring text;
    while (text.size() < 70000)
        text += L"a line of some length\r\n";
    buffer_.resize(text.size() + 1);
    const PatientClipboard clipboard;
    Show({}, text.c_str(), [](OpenInfoBox& box) {
        box.Command(kInfoBoxIconId);
        EXPECT_EQ(ClipboardText().size(), size_t{63999});
        box.Command(kInfoBoxCancelId);
    });
}

}  // namespace
