#include "ui/info_box/layout.h"

#include <atomic>

#include "base/xfmt.h"

#include "tests/support/import_redirect.h"
#include "tests/ui/info_box_fixture.h"

namespace {

std::wstring Lines(int count, const wchar_t* line) {
    std::wstring text;
    for (int i = 0; i < count; ++i)
        text += (i == 0 ? L"" : L"\n") + std::wstring(line);
    return text;
}

class InfoBoxLayoutTest : public InfoBoxTest {
  protected:
    InfoBoxLayoutTest() { buffer_.resize(200000); }

    FlexiInfoParams WithNextTexts(std::vector<std::wstring> texts) {
        callback_.act = [texts = std::move(texts), next = size_t{0}](FlexiInfoEvent& event, wchar_t* text,
                                                                     uint32_t chars) mutable {
            if (event.reason != kReasonRefreshButton || next == texts.size()) return FIR_NoChange;
            xfmt(text, static_cast<int32_t>(chars), L"%s", texts[next++].c_str());
            return FIR_NormalIcon;
        };
        FlexiInfoParams params = Recorded();
        params.showRefreshButton = 1;
        return params;
    }
};

// The pixels that the text needs in the font of the box.
SIZE TextSize(const OpenInfoBox& box, const std::wstring& text) {
    const HWND control = GetDlgItem(box.hwnd(), kInfoBoxTextId);
    const HDC dc = GetDC(control);
    const HGDIOBJ before =
        SelectObject(dc, reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0)));
    RECT rect{0, 0, 1, 1};
    DrawTextW(dc, text.c_str(), -1, &rect, DT_CALCRECT | DT_NOPREFIX | DT_EXPANDTABS);
    SelectObject(dc, before);
    ReleaseDC(control, dc);
    return SizeOf(rect);
}

TEST_F(InfoBoxLayoutTest, TheTextControlHoldsTheWholeText) {
    const std::wstring text =
        Lines(20, L"a line that is wider than the template & has\ta tab and some more words in it");
    Show(Recorded(), text.c_str(), [&](OpenInfoBox& box) {
        const SIZE needed = TextSize(box, text);
        const SIZE control = SizeOf(box.AreaOf(kInfoBoxTextId));
        EXPECT_EQ(control.cx, needed.cx + GetSystemMetrics(SM_CXVSCROLL) + 16);
        EXPECT_EQ(control.cy, needed.cy);
        EXPECT_FALSE(box.HasScrollBar());
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxLayoutTest, TheBoxStandsInTheMiddleOfItsOwner) {
    const std::wstring text =
        Lines(20, L"a line that is wider than the template, with many more words to show");
    Show(Recorded(), text.c_str(), [&](OpenInfoBox& box) {
        RECT owner = {};
        GetWindowRect(parent(), &owner);
        EXPECT_NEAR(box.Area().left + box.Area().right, owner.left + owner.right, 2);
        EXPECT_NEAR(box.Area().top + box.Area().bottom, owner.top + owner.bottom, 2);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxLayoutTest, ADetachedBoxStandsAtTheMouseCursor) {
    REPLACE_CALL(cursor, GetCursorPos, [](POINT* place) {
        *place = {700, 600};
        return TRUE;
    });
    FlexiInfoParams params = Recorded();
    params.startDetached = 1;
    Show(params, Lines(10, L"a line that is wider than the template, with more words").c_str(),
         [&](OpenInfoBox& box) {
             EXPECT_NEAR(box.Area().left + box.Area().right, 1400, 2);
             EXPECT_NEAR(box.Area().top + box.Area().bottom, 1200, 2);
             box.Command(kInfoBoxOkId);
         });
}

TEST_F(InfoBoxLayoutTest, NearABorderTheBoxStaysOnTheWorkArea) {
    const RECT work = WorkArea();
    for (const POINT corner :
         {POINT{work.left - 400, work.top - 300}, POINT{work.right - 100, work.bottom - 100}}) {
        SetWindowPos(parent(), nullptr, corner.x, corner.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        for (const wchar_t* text : {L"", L"several\nlines\nof\ntext"})
            Show(Recorded(), text, [&](OpenInfoBox& box) {
                const RECT area = box.Area();
                EXPECT_GE(area.left, work.left);
                EXPECT_GE(area.top, work.top);
                EXPECT_LE(area.right, work.right);
                EXPECT_LE(area.bottom, work.bottom);
                box.Command(kInfoBoxOkId);
            });
    }
}

TEST_F(InfoBoxLayoutTest, GrowsWithItsTextAndNeverShrinks) {
    Show(WithNextTexts({Lines(30, L"line"),
                        Lines(5, L"a line that is quite a lot wider than the template is, is it not"),
                        L"short"}),
         L"start", [&](OpenInfoBox& box) {
             const SIZE start = SizeOf(box.Area());
             box.Command(kInfoBoxRefreshId);
             const SIZE higher = SizeOf(box.Area());
             EXPECT_EQ(SizeOf(box.AreaOf(kInfoBoxTextId)).cy, TextSize(box, Lines(30, L"line")).cy);
             EXPECT_EQ(higher.cx, start.cx);
             box.Command(kInfoBoxRefreshId);
             const SIZE wider = SizeOf(box.Area());
             EXPECT_GT(wider.cx, higher.cx);
             EXPECT_EQ(wider.cy, higher.cy);
             box.Command(kInfoBoxRefreshId);
             EXPECT_EQ(SizeOf(box.Area()).cx, wider.cx);
             EXPECT_EQ(SizeOf(box.Area()).cy, wider.cy);
             EXPECT_FALSE(box.HasScrollBar());
             box.Command(kInfoBoxOkId);
         });
}

TEST_F(InfoBoxLayoutTest, OnceShrunkByFifteenPixelsItGrowsNoMore) {
    for (const int shrink : {14, 15}) {
        Show(WithNextTexts({Lines(40, L"line")}), Lines(20, L"line").c_str(), [&](OpenInfoBox& box) {
            const SIZE full = SizeOf(box.Area());
            box.Resize(full.cx, full.cy - shrink);
            ASSERT_EQ(SizeOf(box.Area()).cy, full.cy - shrink);
            EXPECT_TRUE(box.HasScrollBar());
            box.Command(kInfoBoxRefreshId);
            if (shrink == 14) {
                EXPECT_GT(SizeOf(box.Area()).cy, full.cy);
                EXPECT_FALSE(box.HasScrollBar());
            } else {
                EXPECT_EQ(SizeOf(box.Area()).cy, full.cy - shrink);
                EXPECT_TRUE(box.HasScrollBar());
                // The target has grown all the same: the user may now make the box as large as the text.
                box.Resize(full.cx, 5000);
                EXPECT_EQ(SizeOf(box.AreaOf(kInfoBoxTextId)).cy, TextSize(box, Lines(40, L"line")).cy);
                EXPECT_FALSE(box.HasScrollBar());
            }
            box.Command(kInfoBoxOkId);
        });
    }
}

TEST_F(InfoBoxLayoutTest, TheUserMayResizeBetweenTemplateAndTextSize) {
    Show(Recorded(), Lines(20, L"a line that is quite a lot wider than the template is, is it not").c_str(),
         [&](OpenInfoBox& box) {
             const SIZE full = SizeOf(box.Area());
             box.Resize(5000, 5000);
             EXPECT_EQ(SizeOf(box.Area()).cx, full.cx);
             EXPECT_EQ(SizeOf(box.Area()).cy, full.cy);
             box.Resize(10, 10);
             RECT smallest{0, 0, 156, 56};
             MapDialogRect(box.hwnd(), &smallest);
             RECT client = {};
             GetClientRect(box.hwnd(), &client);
             EXPECT_NEAR(client.right, smallest.right, 1);
             EXPECT_NEAR(client.bottom, smallest.bottom, 1);
             EXPECT_TRUE(box.HasScrollBar());
             box.Resize(full.cx, full.cy);
             EXPECT_FALSE(box.HasScrollBar());
             box.Command(kInfoBoxOkId);
         });
}

TEST_F(InfoBoxLayoutTest, GrowsUpToTheWorkAreaAndThenKeepsItsScrollBar) {
    const RECT work = WorkArea();
    Show(WithNextTexts({Lines(500, L"line"), L"short"}), L"start", [&](OpenInfoBox& box) {
        box.Command(kInfoBoxRefreshId);
        EXPECT_EQ(SizeOf(box.Area()).cy, work.bottom - work.top);
        EXPECT_TRUE(box.HasScrollBar());
        box.Command(kInfoBoxRefreshId);
        EXPECT_TRUE(box.HasScrollBar());
        box.Resize(400, 300);
        box.Resize(5000, 5000);
        EXPECT_TRUE(box.HasScrollBar());
        box.Command(kInfoBoxOkId);
    });
}

// Counts what a control paints of itself.
class Paintings {
  public:
    explicit Paintings(HWND control) : control_(control) {
        SetPropW(control, kProperty, this);
        usual_ = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrW(control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(OnMessage)));
    }
    ~Paintings() {
        SetWindowLongPtrW(control_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(usual_));
        RemovePropW(control_, kProperty);
    }
    int ofText() const { return ofText_; }
    int withScrollBar() const { return withScrollBar_; }

  private:
    static constexpr wchar_t kProperty[] = L"Paintings";

    static LRESULT CALLBACK OnMessage(HWND control, UINT message, WPARAM wParam, LPARAM lParam) {
        auto& self = *static_cast<Paintings*>(GetPropW(control, kProperty));
        const bool hasBar = (GetWindowLongPtrW(control, GWL_STYLE) & WS_VSCROLL) != 0;
        if (message == WM_PAINT) ++self.ofText_;
        if ((message == WM_PAINT || message == WM_NCPAINT) && hasBar) ++self.withScrollBar_;
        return CallWindowProcW(self.usual_, control, message, wParam, lParam);
    }

    HWND control_;
    WNDPROC usual_;
    std::atomic<int> ofText_ = 0;
    std::atomic<int> withScrollBar_ = 0;
};

// With a line end at its end the text has one line more than fits, an empty one that needs no room.
TEST_F(InfoBoxLayoutTest, ATextThatFitsIsShownAnewWithoutAScrollBarAndWithoutFlicker) {
    const std::wstring text = Lines(20, L"line") + L"\n";
    Show(WithNextTexts({text, text}), text.c_str(), [&](OpenInfoBox& box) {
        EXPECT_FALSE(box.HasScrollBar());
        const Paintings paintings(GetDlgItem(box.hwnd(), kInfoBoxTextId));
        for (int refresh = 0; refresh < 2; ++refresh) {
            const int before = paintings.ofText();
            box.Command(kInfoBoxRefreshId);
            EXPECT_FALSE(box.HasScrollBar());
            EXPECT_TRUE(WaitUntil("the text to be painted", [&] { return paintings.ofText() > before; }));
        }
        EXPECT_EQ(paintings.withScrollBar(), 0);
        box.Command(kInfoBoxOkId);
    });
}

TEST_F(InfoBoxLayoutTest, AGrowingBoxKeepsItsLeftAndTopEdgeWhereTheUserHasIt) {
    const RECT work = WorkArea();
    Show(WithNextTexts({Lines(25, L"a line that is quite a lot wider than the template is, is it not")}),
         L"start", [&](OpenInfoBox& box) {
             const SIZE start = SizeOf(box.Area());
             box.MoveTo(work.left + 37, work.top + 51);
             box.Command(kInfoBoxRefreshId);
             EXPECT_GT(SizeOf(box.Area()).cx, start.cx);
             EXPECT_GT(SizeOf(box.Area()).cy, start.cy);
             EXPECT_EQ(box.Area().left, work.left + 37);
             EXPECT_EQ(box.Area().top, work.top + 51);
             box.Command(kInfoBoxOkId);
         });
}

TEST_F(InfoBoxLayoutTest, AGrowingBoxStaysOnItsMonitor) {
    const RECT work = WorkArea();
    Show(WithNextTexts({Lines(25, L"a line that is quite a lot wider than the template is, is it not")}),
         L"start", [&](OpenInfoBox& box) {
             box.MoveTo(work.right - 250, work.bottom - 150);
             box.Command(kInfoBoxRefreshId);
             EXPECT_EQ(box.Area().right, work.right);
             EXPECT_EQ(box.Area().bottom, work.bottom);
             EXPECT_FALSE(box.HasScrollBar());
             box.Command(kInfoBoxOkId);
         });
}

TEST_F(InfoBoxLayoutTest, ABoxGrowsAlsoWhenTheMonitorsCannotBeListed) {
    REPLACE_CALL(list, EnumDisplayMonitors, [](HDC, LPCRECT, MONITORENUMPROC, LPARAM) { return FALSE; });
    Show(WithNextTexts({Lines(25, L"line")}), Lines(5, L"line").c_str(), [&](OpenInfoBox& box) {
        const RECT start = box.Area();
        EXPECT_EQ(SizeOf(box.AreaOf(kInfoBoxTextId)).cy, TextSize(box, Lines(5, L"line")).cy);
        box.Command(kInfoBoxRefreshId);
        EXPECT_EQ(box.Area().left, start.left);
        EXPECT_EQ(box.Area().top, start.top);
        EXPECT_EQ(SizeOf(box.AreaOf(kInfoBoxTextId)).cy, TextSize(box, Lines(25, L"line")).cy);
        EXPECT_FALSE(box.HasScrollBar());
        box.Command(kInfoBoxOkId);
    });
}

// A system whose taskbar takes that much of the screen at the left and at the top. Placements then count from
// the work area, those of tool windows excepted.
class TaskbarAt {
  public:
    explicit TaskbarAt(POINT taskbar) : taskbar_(taskbar) {}

  private:
    POINT OffsetOf(HWND window) const {
        const bool tool = (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOOLWINDOW) != 0;
        return tool ? POINT{} : taskbar_;
    }

    POINT taskbar_;
    ReplacedCall<GetMonitorInfoW> information_{"GetMonitorInfoW",
                                               [this](HMONITOR monitor, LPMONITORINFO information) {
                                                   const BOOL result = GetMonitorInfoW(monitor, information);
                                                   information->rcWork.left += taskbar_.x;
                                                   information->rcWork.top += taskbar_.y;
                                                   return result;
                                               }};
    ReplacedCall<GetWindowPlacement> get_{"GetWindowPlacement",
                                          [this](HWND window, WINDOWPLACEMENT* placement) {
                                              const BOOL result = GetWindowPlacement(window, placement);
                                              const POINT offset = OffsetOf(window);
                                              OffsetRect(&placement->rcNormalPosition, -offset.x, -offset.y);
                                              return result;
                                          }};
    ReplacedCall<SetWindowPlacement> set_{"SetWindowPlacement",
                                          [this](HWND window, const WINDOWPLACEMENT* placement) {
                                              WINDOWPLACEMENT moved = *placement;
                                              const POINT offset = OffsetOf(window);
                                              OffsetRect(&moved.rcNormalPosition, offset.x, offset.y);
                                              return SetWindowPlacement(window, &moved);
                                          }};
};

struct TaskbarRow {
    const char* name;
    POINT taskbar;
    bool toolWindow;
};
void PrintTo(const TaskbarRow& row, std::ostream* out) {
    *out << row.name;
}

class MinimizedBoxes : public InfoBoxLayoutTest, public testing::WithParamInterface<TaskbarRow> {};

// Near the edges, where a place in the wrong coordinates would lie beyond the work area and be moved.
TEST_P(MinimizedBoxes, ComeBackGrownAtTheirPlace) {
    const TaskbarAt taskbar(GetParam().taskbar);
    for (const bool atTheLeft : {true, false}) {
        FlexiInfoParams params = WithNextTexts({Lines(20, L"line")});
        params.toolWindow = GetParam().toolWindow ? 1 : 0;
        Show(params, Lines(10, L"line").c_str(), [&](OpenInfoBox& box) {
            const int x = atTheLeft ? GetParam().taskbar.x + 5 : WorkArea().right - SizeOf(box.Area()).cx - 5;
            const int y = GetParam().taskbar.y + 5;
            box.MoveTo(x, y);
            box.Minimize();
            EXPECT_TRUE(IsIconic(box.hwnd()));
            box.Command(kInfoBoxRefreshId);
            EXPECT_TRUE(IsIconic(box.hwnd()));
            box.Restore();
            EXPECT_EQ(box.Area().left, x);
            EXPECT_EQ(box.Area().top, y);
            EXPECT_EQ(SizeOf(box.AreaOf(kInfoBoxTextId)).cy, TextSize(box, Lines(20, L"line")).cy);
            EXPECT_FALSE(box.HasScrollBar());
            box.Command(kInfoBoxOkId);
        });
    }
}

INSTANTIATE_TEST_SUITE_P(InfoBoxLayout, MinimizedBoxes,
                         testing::Values(TaskbarRow{"WithoutTaskbar", {0, 0}, false},
                                         TaskbarRow{"TaskbarAtTheLeft", {90, 0}, false},
                                         TaskbarRow{"TaskbarAtTheTop", {0, 60}, false},
                                         TaskbarRow{"ToolWindowBesideATaskbar", {90, 60}, true}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
