#include "ui/anchor_layout.h"

#include "base/win32_handle.h"

namespace {

SIZE ClientSize(HWND window) noexcept {
    RECT client = {};
    GetClientRect(window, &client);
    return {client.right, client.bottom};
}

// The control's rectangle in the client coordinates of its dialog.
RECT RectInDialog(HWND dialog, HWND control) noexcept {
    RECT rect = {};
    GetWindowRect(control, &rect);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

bool IsEmpty(const RECT& rect) noexcept {
    return rect.right <= rect.left || rect.bottom <= rect.top;
}

// Adds to or subtracts from `region`. An empty rectangle covers nothing, while a region made of one whose
// edges have passed each other would cover the space between them.
void CombineRect(HRGN region, const RECT& rect, int mode) noexcept {
    if (region == nullptr || IsEmpty(rect)) return;
    OwnedRegion part(CreateRectRgnIndirect(&rect));
    if (part) CombineRgn(region, region, part.get(), mode);
}

void FillWithDialogColor(HWND dialog, HRGN region) noexcept {
    if (region == nullptr) return;
    const HDC dc = GetDC(dialog);
    if (dc == nullptr) return;
    FillRgn(dc, region, GetSysColorBrush(COLOR_BTNFACE));
    ReleaseDC(dialog, dc);
}

}  // namespace

int AnchorOffset(int edge, int percent, int dimension) noexcept {
    return edge - percent * dimension / 100;
}

int AnchoredEdge(int percent, int dimension, int offset) noexcept {
    return percent * dimension / 100 + offset;
}

RECT AnchorOffsets(const RECT& rect, const AnchorPercents& percents, SIZE client) noexcept {
    return {AnchorOffset(rect.left, percents.left, client.cx),
            AnchorOffset(rect.top, percents.top, client.cy),
            AnchorOffset(rect.right, percents.right, client.cx),
            AnchorOffset(rect.bottom, percents.bottom, client.cy)};
}

RECT AnchoredRect(const RECT& offsets, const AnchorPercents& percents, SIZE client) noexcept {
    return {AnchoredEdge(percents.left, client.cx, offsets.left),
            AnchoredEdge(percents.top, client.cy, offsets.top),
            AnchoredEdge(percents.right, client.cx, offsets.right),
            AnchoredEdge(percents.bottom, client.cy, offsets.bottom)};
}

void AnchorLayout::Init(HWND dialog, int referenceWidth, int referenceHeight) noexcept {
    dialog_ = dialog;
    count_ = 0;
    RECT window = {};
    GetWindowRect(dialog, &window);
    reference_.cx = referenceWidth != 0 ? referenceWidth : window.right - window.left;
    reference_.cy = referenceHeight != 0 ? referenceHeight : window.bottom - window.top;
}

bool AnchorLayout::Add(int leftPercent, int topPercent, int rightPercent, int bottomPercent, int controlId,
                       bool noErase) noexcept {
    const HWND control = GetDlgItem(dialog_, controlId);
    if (count_ == kMaxControls || control == nullptr) return false;
    const AnchorPercents percents{leftPercent, topPercent, rightPercent, bottomPercent};
    anchors_[static_cast<size_t>(count_)] = {
        controlId, percents, AnchorOffsets(RectInDialog(dialog_, control), percents, ClientSize(dialog_)),
        noErase};
    ++count_;
    return true;
}

bool AnchorLayout::Add(std::span<const AnchorRow> rows) noexcept {
    for (const AnchorRow& row : rows) {
        const AnchorPercents& at = row.percents;
        if (!Add(at.left, at.top, at.right, at.bottom, row.controlId, row.noErase)) return false;
    }
    return true;
}

bool AnchorLayout::AddMany(int leftPercent, int topPercent, int rightPercent, int bottomPercent, bool noErase,
                           const int* controlIds) noexcept {
    for (const int* id = controlIds; *id != -1; ++id) {
        if (!Add(leftPercent, topPercent, rightPercent, bottomPercent, *id, noErase)) return false;
    }
    return true;
}

void AnchorLayout::Reflow(int clientWidth, int clientHeight) noexcept {
    OwnedRegion uncovered(CreateRectRgn(0, 0, 0, 0));
    for (int i = 0; i < count_; ++i) {
        const HWND control = GetDlgItem(dialog_, anchors_[static_cast<size_t>(i)].controlId);
        if (control != nullptr) CombineRect(uncovered.get(), RectInDialog(dialog_, control), RGN_OR);
    }
    for (int i = 0; i < count_; ++i)
        Place(anchors_[static_cast<size_t>(i)], {clientWidth, clientHeight}, uncovered.get());
    FillWithDialogColor(dialog_, uncovered.get());
}

void AnchorLayout::Place(const Anchor& anchor, SIZE client, HRGN uncovered) noexcept {
    const HWND control = GetDlgItem(dialog_, anchor.controlId);
    if (control == nullptr) return;
    const RECT rect = AnchoredRect(anchor.offsets, anchor.percents, client);
    MoveWindow(control, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, FALSE);
    if (anchor.noErase) {
        InvalidateRect(control, nullptr, FALSE);
        return;
    }
    CombineRect(uncovered, rect, RGN_DIFF);
    InvalidateRect(control, nullptr, TRUE);
    SendMessageW(control, WM_NCPAINT, 1, 0);  // 1: the whole frame
    UpdateWindow(control);
}
