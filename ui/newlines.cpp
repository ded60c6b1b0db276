#include "ui/newlines.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
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

// One bit per byte of the eight characters; those of a line end or terminator are set.
unsigned LineEndsInBlock(const wchar_t* text) noexcept {
    const __m128i block = _mm_load_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i ends = _mm_or_si128(_mm_cmpeq_epi16(block, _mm_setzero_si128()),
                                      _mm_or_si128(_mm_cmpeq_epi16(block, _mm_set1_epi16(L'\r')),
                                                   _mm_cmpeq_epi16(block, _mm_set1_epi16(L'\n'))));
    return static_cast<unsigned>(_mm_movemask_epi8(ends));
}

// The first line end or terminator. Eight characters at a time; an aligned block never reaches into a page
// that the text does not touch, so the characters before the text in its first block may be read and are
// shifted out.
const wchar_t* EndOfLine(const wchar_t* text) noexcept {
    constexpr size_t kBlockBytes = sizeof(__m128i);
    const size_t bytesBefore = reinterpret_cast<uintptr_t>(text) % kBlockBytes;
    const wchar_t* block = text - bytesBefore / sizeof(wchar_t);
    unsigned ends = LineEndsInBlock(block) >> bytesBefore;
    if (ends != 0) return text + static_cast<unsigned>(std::countr_zero(ends)) / sizeof(wchar_t);
    do
        block += kBlockBytes / sizeof(wchar_t);
    while ((ends = LineEndsInBlock(block)) == 0);
    return block + static_cast<unsigned>(std::countr_zero(ends)) / sizeof(wchar_t);
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
