// The text that an info box shows: the caller's text with its line ends made CR LF.
#pragma once

#include <cstddef>

#include "base/heap_array.h"

// The most that can be shown, in UTF-16 units after the conversion, terminator included.
inline constexpr size_t kMaxDisplayChars = 1'024'000;
// A text without a known capacity.
inline constexpr size_t kUnboundedText = static_cast<size_t>(-1);

// A growing buffer. CR LF pairs, lone CRs and lone LFs each become one CR LF; an LF followed by a CR is two
// line ends.
class DisplayText {
  public:
    // Takes over the text up to its terminator or to `maxChars` units. False when it needs more than
    // kMaxDisplayChars or there is no memory: then the text stays as it was.
    bool Assign(const wchar_t* source, size_t maxChars = kUnboundedText) noexcept;

    const wchar_t* get() const noexcept { return shown_.size() != 0 ? shown_.data() : L""; }
    size_t Length() const noexcept { return length_; }  // without the terminator

  private:
    static bool Reserve(HeapArray<wchar_t>& buffer, size_t chars) noexcept;

    HeapArray<wchar_t> shown_;
    HeapArray<wchar_t>
        spare_;  // the next text is converted here, so that a failure leaves the shown one whole
    size_t length_ = 0;
};
