#include "ui/newlines.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/xfmt.h"

// An info box may show a million characters anew twice a second, so texts are looked at and copied sixteen
// characters at a time; every 64-bit x86 processor has SSE2.
namespace {

constexpr size_t kBlock = 16;  // characters in two registers
constexpr size_t kLane = 8;
constexpr uintptr_t kPageBytes = 4096;

__m128i Load(const wchar_t* text) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
}

void Store(wchar_t* text, __m128i units) noexcept {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(text), units);
}

// -1 in each place that holds a control character up to CR: a line end, the terminator, or a rare other one.
__m128i LowControls(__m128i units) noexcept {
    return _mm_cmpeq_epi16(_mm_subs_epu16(units, _mm_set1_epi16(L'\r')), _mm_setzero_si128());
}

// One bit for each place of a block.
unsigned LowControlPlaces(__m128i first, __m128i second) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(LowControls(first), LowControls(second))));
}

bool IsStop(wchar_t unit) noexcept {
    return unit == L'\r' || unit == L'\n' || unit == L'\0';
}

// So many whole blocks lie in the page of the text's first character. They can be read, even beyond the
// terminator.
size_t BlocksInPage(const wchar_t* text) noexcept {
    return (kPageBytes - reinterpret_cast<uintptr_t>(text) % kPageBytes) / (kBlock * sizeof(wchar_t));
}

// The first of these places that holds a line end or terminator, or kBlock.
size_t FirstStop(const wchar_t* block, unsigned places) noexcept {
    for (; places != 0; places &= places - 1) {
        const auto place = static_cast<size_t>(std::countr_zero(places));
        if (IsStop(block[place])) return place;
    }
    return kBlock;
}

// The number of characters before the first line end or terminator, at most `most`. With kCopy they are
// copied to `out`, which has room for `most`; behind the copy anything may be stored there.
template <bool kCopy>
size_t TakePlain(const wchar_t* text, size_t most, [[maybe_unused]] wchar_t* out = nullptr) noexcept {
    size_t i = 0;
    while (i < most) {
        for (size_t blocks = std::min((most - i) / kBlock, BlocksInPage(text + i)); blocks > 0; --blocks) {
            const __m128i first = Load(text + i);
            const __m128i second = Load(text + i + kLane);
            if constexpr (kCopy) {
                Store(out + i, first);
                Store(out + i + kLane, second);
            }
            const size_t stop = FirstStop(text + i, LowControlPlaces(first, second));
            i += stop;
            if (stop < kBlock) return i;
        }
        // What is left of the page or of the text.
        for (size_t rest = std::min(most - i, kBlock); rest > 0; --rest, ++i) {
            if (IsStop(text[i])) return i;
            if constexpr (kCopy) out[i] = text[i];
        }
    }
    return i;
}

// What every line end becomes. Formatted once: a long text has too many line ends to format each. A longer
// newline is formatted where it stands.
struct Newline {
    explicit Newline(const wchar_t* newline) noexcept : text(newline) {
        chars = xfmt(formatted, kLane, L"%s", newline);
    }
    const wchar_t* text;
    wchar_t formatted[kLane]{};
    int32_t chars;
};

// Stores what fits and counts everything.
class CutText {
  public:
    CutText(wchar_t* buffer, int32_t capacity) noexcept : buffer_(buffer), capacity_(capacity) {}

    // Takes over the text up to its first line end or terminator; returns how much that is.
    size_t AppendPlain(const wchar_t* text, size_t most) noexcept {
        const size_t room = Room();
        size_t taken = room > 0 ? TakePlain<true>(text, std::min(most, room), buffer_ + length_) : 0;
        if (taken == room) taken += TakePlain<false>(text + taken, most - taken);
        length_ += static_cast<int32_t>(taken);
        return taken;
    }
    void Append(const Newline& newline) noexcept {
        const size_t room = Room();
        if (newline.chars >= static_cast<int32_t>(kLane)) {
            length_ += xfmt(room == 0 ? nullptr : buffer_ + length_,
                            room == 0 ? 0 : static_cast<int32_t>(room) + 1, L"%s", newline.text);
            return;
        }
        if (room >= kLane)
            Store(buffer_ + length_, Load(newline.formatted));
        else
            std::copy_n(newline.formatted, std::min(room, static_cast<size_t>(newline.chars)), End());
        length_ += newline.chars;
    }
    int32_t Finish() noexcept {
        if (capacity_ > 0) *End() = L'\0';
        return length_;
    }

  private:
    size_t Room() const noexcept { return static_cast<size_t>(std::max(capacity_ - 1 - length_, 0)); }
    wchar_t* End() const noexcept {
        return capacity_ > 0 ? buffer_ + std::min(length_, capacity_ - 1) : buffer_;
    }

    wchar_t* buffer_;
    int32_t capacity_;
    int32_t length_ = 0;
};

}  // namespace

int32_t text_convert_newlines(const wchar_t* source, wchar_t* destination, int32_t capacity,
                              const wchar_t* newline) noexcept {
    return text_convert_newlines_of(source, SIZE_MAX, destination, capacity, newline);
}

int32_t text_convert_newlines_of(const wchar_t* source, size_t sourceChars, wchar_t* destination,
                                 int32_t capacity, const wchar_t* newline) noexcept {
    const Newline replacement(newline);
    CutText result(destination, capacity);
    size_t left = sourceChars;
    for (;;) {
        const size_t plain = result.AppendPlain(source, left);
        source += plain;
        left -= plain;
        if (left == 0 || *source == L'\0') return result.Finish();
        const size_t lineEnd = left > 1 && source[0] == L'\r' && source[1] == L'\n' ? 2 : 1;
        source += lineEnd;
        left -= lineEnd;
        result.Append(replacement);
    }
}
