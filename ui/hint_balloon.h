// Hint balloon: a tooltip that a dialog shows at a place of its choice and hides again.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <memory>

#include "base/heap_text.h"
#include "base/win32_handle.h"
#include "base/windows_api.h"

// Where the hint points, in client coordinates: a negative coordinate counts from the right or bottom edge;
// the result is inside the client area.
POINT HintPosition(POINT wanted, SIZE client) noexcept;

class HintBalloon {
  public:
    // Makes a hidden hint for `owner`, as a balloon or as a plain tooltip. Null on failure, with the reason
    // in `error` (8 when out of memory), which is 0 on success. Needs the common controls initialized.
    static std::unique_ptr<HintBalloon> Create(HWND owner, bool balloonStyle, uint32_t& error) noexcept;

    // Shows the hint at `position` (see HintPosition), or hides it; hiding ignores the other arguments. The
    // text is formatted by the format engine; with a null format the previous text stays. Returns 0, or 8
    // when there is no memory for the text: then nothing changes.
    uint32_t Show(bool on, POINT position, const wchar_t* format, ...) noexcept;
    void Hide() noexcept { Show(false, POINT{}, nullptr); }

    HWND Window() const noexcept { return window_.get(); }

    HintBalloon(const HintBalloon&) = delete;
    HintBalloon& operator=(const HintBalloon&) = delete;

  private:
    explicit HintBalloon(HWND owner) noexcept : owner_(owner) {}
    uint32_t FormatText(const wchar_t* format, va_list args) noexcept;

    HWND owner_;
    OwnedWindow window_;  // a tooltip is destroyed with its owner; destroying it again then fails harmlessly
    HeapText text_;
};
