#include "ui/newlines.h"

#include <algorithm>
#include <cstring>

#include "base/xfmt.h"

namespace {

// Stores what fits and counts everything.
class CutText {
  public:
    CutText(wchar_t* buffer, int32_t capacity) noexcept : buffer_(buffer), capacity_(capacity) {}

    void Append(const wchar_t* text, int32_t chars) noexcept {
        const int32_t stored = std::min(chars, capacity_ - 1 - length_);
        if (stored > 0) memcpy(buffer_ + length_, text, static_cast<size_t>(stored) * sizeof(wchar_t));
        length_ += chars;
    }
    void AppendFormatted(const wchar_t* text) noexcept {
        const bool full = length_ >= capacity_;
        length_ += xfmt(full ? nullptr : buffer_ + length_, full ? 0 : capacity_ - length_, L"%s", text);
    }
    int32_t Finish() noexcept {
        if (capacity_ > 0) buffer_[std::min(length_, capacity_ - 1)] = L'\0';
        return length_;
    }

  private:
    wchar_t* buffer_;
    int32_t capacity_;
    int32_t length_ = 0;
};

// The first line end or terminator. Almost every character is above CR, so one comparison passes over it.
const wchar_t* EndOfLine(const wchar_t* text) noexcept {
    while (*text > L'\r' || (*text != L'\r' && *text != L'\n' && *text != L'\0'))
        ++text;
    return text;
}

}  // namespace

int32_t text_convert_newlines(const wchar_t* source, wchar_t* destination, int32_t capacity,
                              const wchar_t* newline) noexcept {
    // Formatted once: a text of a million characters has too many line ends to format each. A longer newline
    // is formatted where it stands.
    wchar_t newlineText[8];
    const int32_t newlineChars = xfmt(newlineText, 8, L"%s", newline);

    CutText result(destination, capacity);
    for (;;) {
        const wchar_t* const end = EndOfLine(source);
        result.Append(source, static_cast<int32_t>(end - source));
        if (*end == L'\0') return result.Finish();
        source = end + (end[0] == L'\r' && end[1] == L'\n' ? 2 : 1);
        if (newlineChars < 8)
            result.Append(newlineText, newlineChars);
        else
            result.AppendFormatted(newline);
    }
}
