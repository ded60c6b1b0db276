// Anchor layout: keeps the controls of a dialog at proportional positions while the dialog is resized.
//
// Each edge of a control follows a percentage of the client area: 0 stays at the left or top, 100 keeps its
// distance from the right or bottom, 50 follows the middle.
#pragma once

#include <array>
#include <span>

#include "base/windows_api.h"

struct AnchorPercents {
    int left;
    int top;
    int right;
    int bottom;
};

struct AnchorRow {
    int controlId;
    AnchorPercents percents;
    bool noErase = false;
};

// The distance of an edge from its percentage of `dimension`, and back. Divisions truncate toward zero.
int AnchorOffset(int edge, int percent, int dimension) noexcept;
int AnchoredEdge(int percent, int dimension, int offset) noexcept;
// The same for the four edges of a rectangle; left and right follow the width, top and bottom the height.
RECT AnchorOffsets(const RECT& rect, const AnchorPercents& percents, SIZE client) noexcept;
RECT AnchoredRect(const RECT& offsets, const AnchorPercents& percents, SIZE client) noexcept;

class AnchorLayout {
  public:
    static constexpr int kMaxControls = 200;

    // Starts anew for `dialog`. The dialog uses the reference size as its minimum tracking size; a zero width
    // or height stands for the present one of its window.
    void Init(HWND dialog, int referenceWidth = 0, int referenceHeight = 0) noexcept;

    // Registers a control at its present place. With `noErase` a reflow repaints the control without erasing
    // it first. False when kMaxControls are registered already or the control does not exist.
    bool Add(int leftPercent, int topPercent, int rightPercent, int bottomPercent, int controlId,
             bool noErase = false) noexcept;

    // Registers one control per row. Stops at the first that cannot be added and returns false.
    bool Add(std::span<const AnchorRow> rows) noexcept;

    // Registers several alike; `controlIds` ends in -1. Stops at the first that cannot be added and returns
    // false.
    bool AddMany(int leftPercent, int topPercent, int rightPercent, int bottomPercent, bool noErase,
                 const int* controlIds) noexcept;

    // Moves the registered controls to their places in a client area of this size and repaints.
    void Reflow(int clientWidth, int clientHeight) noexcept;

    SIZE ReferenceSize() const noexcept { return reference_; }

  private:
    struct Anchor {
        int controlId;
        AnchorPercents percents;
        RECT offsets;
        bool noErase;
    };

    void Place(const Anchor& anchor, SIZE client, HRGN uncovered) noexcept;

    HWND dialog_ = nullptr;
    SIZE reference_ = {};
    int count_ = 0;
    std::array<Anchor, kMaxControls> anchors_;
};
