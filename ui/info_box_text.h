// The text that an info box shows: the caller's text with its line ends made CR LF.
#pragma once

#include <cstddef>
#include <memory>

// The most that can be shown, in UTF-16 units after the conversion, terminator included.
constexpr size_t kMaxDisplayChars = 1'024'000;
// A text without a known capacity.
constexpr size_t kUnboundedText = static_cast<size_t>(-1);

// A growing buffer. CR LF pairs, lone CRs and lone LFs each become one CR LF; an LF followed by a CR is two
// line ends.
class DisplayText {
  public:
    // Takes over the text up to its terminator or to `maxChars` units. False when it needs more than
    // kMaxDisplayChars or there is no memory: then the text stays as it was.
    bool Assign(const wchar_t* source, size_t maxChars = kUnboundedText) noexcept;

    const wchar_t* get() const noexcept { return chars_ ? chars_.get() : L""; }
    size_t Length() const noexcept { return length_; }  // without the terminator
    size_t Capacity() const noexcept { return capacity_; }

  private:
    bool Reserve(size_t chars) noexcept;

    std::unique_ptr<wchar_t[]> chars_;
    size_t capacity_ = 0;
    size_t length_ = 0;
};
