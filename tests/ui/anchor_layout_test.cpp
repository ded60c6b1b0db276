#include "ui/anchor_layout.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/win32_handle.h"

#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/wait_until.h"

namespace {

// The percentages that this system's dialogs use.
struct PercentRow {
    const char* name;
    AnchorPercents percents;
    RECT moved;  // of a control at 20,10 to 60,30 when the client area grows from 200x100 to 300x220
};
void PrintTo(const PercentRow& row, std::ostream* out) {
    *out << row.name;
}

class AnchorLayoutTest : public testing::Test {
  protected:
    AnchorLayoutTest() {
        dialog_.reset(CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 100, 100, 200, 100, nullptr,
                                      nullptr, nullptr, nullptr));
    }

    HWND AddControl(int id, RECT place = {20, 10, 60, 30}) {
        return CreateWindowExW(0, L"BUTTON", L"control", WS_CHILD | WS_VISIBLE, place.left, place.top,
                               place.right - place.left, place.bottom - place.top, dialog_.get(),
                               reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    }
    RECT PlaceOf(int id) {
        RECT place = {};
        GetWindowRect(GetDlgItem(dialog_.get(), id), &place);
        MapWindowPoints(nullptr, dialog_.get(), reinterpret_cast<POINT*>(&place), 2);
        return place;
    }
    void ResizeDialog(int width, int height) {
        SetWindowPos(dialog_.get(), nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER);
        PumpPendingMessages();
    }

    OwnedWindow dialog_;
    AnchorLayout layout_;
};

class AnchorPlaces : public AnchorLayoutTest, public testing::WithParamInterface<PercentRow> {};

TEST_P(AnchorPlaces, FollowTheClientArea) {
    const AnchorPercents& p = GetParam().percents;
    for (const bool noErase : {false, true}) {
        const int id = noErase ? 11 : 10;
        AddControl(id);
        ResizeDialog(200, 100);
        layout_.Init(dialog_.get());
        ASSERT_TRUE(layout_.Add(p.left, p.top, p.right, p.bottom, id, noErase));
        ResizeDialog(300, 220);
        layout_.Reflow(300, 220);
        const RECT moved = PlaceOf(id);
        EXPECT_TRUE(EqualRect(&moved, &GetParam().moved));
        ResizeDialog(200, 100);
        layout_.Reflow(200, 100);
        const RECT back = PlaceOf(id);
        const RECT start{20, 10, 60, 30};
        EXPECT_TRUE(EqualRect(&back, &start));
    }
}

INSTANTIATE_TEST_SUITE_P(AnchorLayout, AnchorPlaces,
                         testing::Values(PercentRow{"Stretching", {0, 0, 100, 100}, {20, 10, 160, 150}},
                                         PercentRow{
                                             "BottomRight", {100, 100, 100, 100}, {120, 130, 160, 150}},
                                         PercentRow{"BottomMiddle", {50, 100, 50, 100}, {70, 130, 110, 150}},
                                         PercentRow{"BottomLeft", {0, 100, 0, 100}, {20, 130, 60, 150}},
                                         PercentRow{"TopRight", {100, 0, 100, 0}, {120, 10, 160, 30}},
                                         PercentRow{"TopWide", {0, 0, 100, 0}, {20, 10, 160, 30}}),
                         [](const auto& row) { return row.param.name; });

TEST_F(AnchorLayoutTest, RowsRegisterTheirControls) {
    AddControl(10);
    AddControl(11);
    constexpr AnchorRow kRows[] = {{10, {100, 100, 100, 100}}, {11, {0, 0, 100, 0}, true}};
    layout_.Init(dialog_.get());
    ASSERT_TRUE(layout_.Add(kRows));
    ResizeDialog(300, 220);
    layout_.Reflow(300, 220);
    const RECT corner = PlaceOf(10), top = PlaceOf(11);
    const RECT cornerExpected = {120, 130, 160, 150}, topExpected = {20, 10, 160, 30};
    EXPECT_TRUE(EqualRect(&corner, &cornerExpected));
    EXPECT_TRUE(EqualRect(&top, &topExpected));
}

TEST_F(AnchorLayoutTest, RowsStopAtTheFirstControlThatDoesNotExist) {
    AddControl(10);
    AddControl(12);
    constexpr AnchorRow kRows[] = {{10, {0, 0, 100, 0}}, {11, {0, 0, 100, 0}}, {12, {0, 0, 100, 0}}};
    layout_.Init(dialog_.get());
    EXPECT_FALSE(layout_.Add(kRows));
    ResizeDialog(300, 100);
    layout_.Reflow(300, 100);
    EXPECT_EQ(PlaceOf(10).right, 160);
    EXPECT_EQ(PlaceOf(12).right, 60);
}

TEST_F(AnchorLayoutTest, TheReferenceSizeIsTheWindowsUnlessGiven) {
    layout_.Init(dialog_.get());
    EXPECT_EQ(layout_.ReferenceSize().cx, 200);
    EXPECT_EQ(layout_.ReferenceSize().cy, 100);
    layout_.Init(dialog_.get(), 333, 0);
    EXPECT_EQ(layout_.ReferenceSize().cx, 333);
    EXPECT_EQ(layout_.ReferenceSize().cy, 100);
    layout_.Init(dialog_.get(), 0, 444);
    EXPECT_EQ(layout_.ReferenceSize().cx, 200);
    EXPECT_EQ(layout_.ReferenceSize().cy, 444);
    layout_.Init(dialog_.get(), 333, 444);
    EXPECT_EQ(layout_.ReferenceSize().cx, 333);
    EXPECT_EQ(layout_.ReferenceSize().cy, 444);
}

TEST_F(AnchorLayoutTest, HoldsTwoHundredControlsAndNoMore) {
    layout_.Init(dialog_.get());
    for (int id = 1; id <= 201; ++id) {
        AddControl(id, {id, id, id + 1, id + 1});
        EXPECT_EQ(layout_.Add(100, 0, 100, 0, id), id <= 200) << id;
    }
    ResizeDialog(250, 100);
    layout_.Reflow(250, 100);
    EXPECT_EQ(PlaceOf(200).left, 250);
    EXPECT_EQ(PlaceOf(201).left, 201);
}

TEST_F(AnchorLayoutTest, AMissingControlIsNotAdded) {
    layout_.Init(dialog_.get());
    EXPECT_FALSE(layout_.Add(0, 0, 100, 100, 4711));
}

TEST_F(AnchorLayoutTest, AddingManyStopsAtTheFirstMissingControl) {
    for (const int id : {10, 11, 12})
        AddControl(id);
    layout_.Init(dialog_.get());
    const int ids[] = {10, 4711, 11, -1};
    EXPECT_FALSE(layout_.AddMany(100, 0, 100, 0, false, ids));
    const int last[] = {12, -1};
    EXPECT_TRUE(layout_.AddMany(100, 0, 100, 0, false, last));
    ResizeDialog(300, 100);
    layout_.Reflow(300, 100);
    EXPECT_EQ(PlaceOf(10).left, 120);
    EXPECT_EQ(PlaceOf(11).left, 20);
    EXPECT_EQ(PlaceOf(12).left, 120);
}

TEST_F(AnchorLayoutTest, InitStartsAfresh) {
    AddControl(10);
    layout_.Init(dialog_.get());
    layout_.Add(100, 0, 100, 0, 10);
    layout_.Init(dialog_.get());
    ResizeDialog(300, 100);
    layout_.Reflow(300, 100);
    EXPECT_EQ(PlaceOf(10).left, 20);
}

TEST_F(AnchorLayoutTest, AControlThatHasGoneIsSkipped) {
    const HWND gone = AddControl(10);
    AddControl(11);
    layout_.Init(dialog_.get());
    layout_.Add(100, 0, 100, 0, 10);
    layout_.Add(100, 0, 100, 0, 11);
    DestroyWindow(gone);
    ResizeDialog(300, 100);
    layout_.Reflow(300, 100);
    EXPECT_EQ(PlaceOf(11).left, 120);
}

TEST_F(AnchorLayoutTest, PlacesThatControlsHaveLeftGetTheDialogColor) {
    AddControl(10);
    PumpPendingMessages();
    layout_.Init(dialog_.get());
    layout_.Add(100, 0, 100, 0, 10);
    ResizeDialog(300, 100);
    const HDC dc = GetDC(dialog_.get());
    SetPixel(dc, 25, 15, RGB(255, 0, 0));
    layout_.Reflow(300, 100);
    EXPECT_EQ(GetPixel(dc, 25, 15), GetSysColor(COLOR_BTNFACE));
    ReleaseDC(dialog_.get(), dc);
}

TEST_F(AnchorLayoutTest, OnlyThePlacesLeftAreFilled) {
    for (const bool noErase : {false, true}) {
        const int id = noErase ? 11 : 10;
        AddControl(id);
        ResizeDialog(200, 100);
        layout_.Init(dialog_.get());
        layout_.Add(100, 0, 100, 0, id, noErase);
        ResizeDialog(220, 100);
        OwnedRegion filled(CreateRectRgn(0, 0, 0, 0));
        REPLACE_CALL(fill, FillRgn, [&](HDC dc, HRGN region, HBRUSH brush) {
            CombineRgn(filled.get(), region, nullptr, RGN_COPY);
            return FillRgn(dc, region, brush);
        });
        layout_.Reflow(220, 100);
        // From 20..60 to 40..80: a control that is erased draws the overlap itself.
        EXPECT_TRUE(PtInRegion(filled.get(), 39, 20));
        EXPECT_EQ(PtInRegion(filled.get(), 40, 20) != FALSE, noErase);
        EXPECT_FALSE(PtInRegion(filled.get(), 60, 20));
    }
}

TEST_F(AnchorLayoutTest, ControlsMoveWithoutBeingRepaintedOneByOne) {
    AddControl(10);
    layout_.Init(dialog_.get());
    layout_.Add(100, 0, 100, 0, 10);
    std::vector<BOOL> repaints;
    REPLACE_CALL(move, MoveWindow, [&](HWND window, int x, int y, int width, int height, BOOL repaint) {
        repaints.push_back(repaint);
        return MoveWindow(window, x, y, width, height, repaint);
    });
    layout_.Reflow(300, 100);
    EXPECT_EQ(repaints, std::vector<BOOL>{FALSE});
}

TEST_F(AnchorLayoutTest, OnlyAControlThatMayBeErasedIsRepaintedAtOnceWithItsFrame) {
    for (const bool noErase : {false, true}) {
        const int id = noErase ? 11 : 10;
        const HWND control = AddControl(id);
        layout_.Init(dialog_.get());
        layout_.Add(100, 0, 100, 0, id, noErase);
        int frames = 0;
        int updates = 0;
        std::vector<BOOL> erased;
        REPLACE_CALL(send, SendMessageW, [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
            if (window == control && message == WM_NCPAINT) ++frames;
            return SendMessageW(window, message, wParam, lParam);
        });
        REPLACE_CALL(update, UpdateWindow, [&](HWND window) {
            if (window == control) ++updates;
            return UpdateWindow(window);
        });
        REPLACE_CALL(invalidate, InvalidateRect, [&](HWND window, const RECT* area, BOOL erase) {
            if (window == control) erased.push_back(erase);
            return InvalidateRect(window, area, erase);
        });
        layout_.Reflow(300, 100);
        EXPECT_EQ(frames, noErase ? 0 : 1);
        EXPECT_EQ(updates, noErase ? 0 : 1);
        EXPECT_EQ(erased, std::vector<BOOL>{noErase ? FALSE : TRUE});
    }
}

TEST_F(AnchorLayoutTest, ReflowLeavesNothingBehind) {
    AddControl(10);
    layout_.Init(dialog_.get());
    layout_.Add(0, 0, 100, 100, 10);
    ExpectNoLeaks([this] {
        layout_.Reflow(300, 200);
        layout_.Reflow(200, 100);
    });
}

}  // namespace
