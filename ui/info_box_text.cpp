#include "ui/info_box_text.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <new>
#include <numeric>

// A callback may deliver a million units twice a second, so both passes look at eight units at a time; every
// 64-bit x86 processor has SSE2.
namespace {

constexpr size_t kLane = 8;  // units in one SSE2 register
constexpr size_t kLaneBytes = kLane * sizeof(wchar_t);
// So many units overflow none of the eight 16-bit counters.
constexpr size_t kMostCounted = kLane * 32768;

struct TextMeasure {
    size_t chars = 0;     // up to the terminator
    size_t lineEnds = 0;  // CR and LF units
    size_t pairs = 0;     // CR LF
};

// Bit 2n of the result is set where unit n equals `wanted`.
uint32_t EqualUnits(__m128i units, wchar_t wanted) noexcept {
    const __m128i equal = _mm_cmpeq_epi16(units, _mm_set1_epi16(static_cast<short>(wanted)));
    return static_cast<uint32_t>(_mm_movemask_epi8(equal)) & 0x5555;
}

bool IsLaneAligned(const wchar_t* place) noexcept {
    return reinterpret_cast<uintptr_t>(place) % kLaneBytes == 0;
}

const __m128i* Lanes(const wchar_t* text) noexcept {
    return reinterpret_cast<const __m128i*>(text);
}

size_t SumOfUnits(__m128i counts) noexcept {
    alignas(16) std::array<uint16_t, kLane> units;
    _mm_store_si128(reinterpret_cast<__m128i*>(units.data()), counts);
    return std::accumulate(units.begin(), units.end(), size_t{0});
}

void CountUnit(const wchar_t* text, TextMeasure& measure) noexcept {
    const wchar_t unit = text[measure.chars];
    if (unit == L'\n' && measure.chars > 0 && text[measure.chars - 1] == L'\r') ++measure.pairs;
    if (unit == L'\n' || unit == L'\r') ++measure.lineEnds;
    ++measure.chars;
}

// Counts whole registers from an aligned place behind at least one unit, without a branch that depends on the
// line ends: mispredicting those costs more than the counting. Stops before a register that holds the
// terminator. An aligned load never crosses into another page, so that reading past the terminator is
// harmless.
void CountLanes(const wchar_t* text, size_t maxChars, TextMeasure& measure) noexcept {
    const __m128i cr = _mm_set1_epi16(L'\r');
    const __m128i lf = _mm_set1_epi16(L'\n');
    __m128i lineEnds = _mm_setzero_si128();
    __m128i pairs = _mm_setzero_si128();
    const size_t last = std::min(maxChars, measure.chars + kMostCounted);
    for (; last - measure.chars >= kLane; measure.chars += kLane) {
        const __m128i units = _mm_load_si128(Lanes(text + measure.chars));
        if (EqualUnits(units, L'\0') != 0) break;
        const __m128i before = _mm_loadu_si128(Lanes(text + measure.chars - 1));
        const __m128i isLf = _mm_cmpeq_epi16(units, lf);
        // A match is -1.
        lineEnds = _mm_sub_epi16(lineEnds, _mm_or_si128(isLf, _mm_cmpeq_epi16(units, cr)));
        pairs = _mm_sub_epi16(pairs, _mm_and_si128(isLf, _mm_cmpeq_epi16(before, cr)));
    }
    measure.lineEnds += SumOfUnits(lineEnds);
    measure.pairs += SumOfUnits(pairs);
}

TextMeasure Measure(const wchar_t* text, size_t maxChars) noexcept {
    TextMeasure measure;
    while (measure.chars < maxChars) {
        if (measure.chars > 0 && IsLaneAligned(text + measure.chars)) CountLanes(text, maxChars, measure);
        if (measure.chars == maxChars || text[measure.chars] == L'\0') break;
        CountUnit(text, measure);
    }
    return measure;
}

// Copies up to the first line end and returns the units copied; `out` has room for whole registers.
size_t CopyPlain(const wchar_t* text, size_t chars, wchar_t* out) noexcept {
    size_t i = 0;
    while (chars - i >= kLane) {
        const __m128i units = _mm_loadu_si128(Lanes(text + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), units);
        const uint32_t ends = EqualUnits(units, L'\r') | EqualUnits(units, L'\n');
        if (ends != 0) return i + static_cast<size_t>(std::countr_zero(ends)) / 2;
        i += kLane;
    }
    for (; i < chars && text[i] != L'\r' && text[i] != L'\n'; ++i)
        out[i] = text[i];
    return i;
}

// `out` has room for the converted text; each source unit yields at least one there, so a whole register can
// be stored wherever one could be read.
void Convert(const wchar_t* text, size_t chars, wchar_t* out) noexcept {
    size_t i = 0;
    for (;;) {
        const size_t plain = CopyPlain(text + i, chars - i, out);
        i += plain;
        out += plain;
        if (i == chars) break;
        i += text[i] == L'\r' && i + 1 < chars && text[i + 1] == L'\n' ? 2 : 1;
        *out++ = L'\r';
        *out++ = L'\n';
    }
    *out = L'\0';
}

}  // namespace

bool DisplayText::Assign(const wchar_t* source, size_t maxChars) noexcept {
    const TextMeasure measure = Measure(source, maxChars);
    const size_t shown = measure.chars + measure.lineEnds - 2 * measure.pairs;
    if (!Reserve(shown + 1)) return false;
    Convert(source, measure.chars, chars_.get());
    length_ = shown;
    return true;
}

// Doubles, so that a slowly growing text does not allocate at each refresh.
bool DisplayText::Reserve(size_t chars) noexcept {
    if (chars > kMaxDisplayChars) return false;
    if (chars <= capacity_) return true;
    const size_t wanted = std::min(std::max(chars, capacity_ * 2), kMaxDisplayChars);
    std::unique_ptr<wchar_t[]> larger(new (std::nothrow) wchar_t[wanted]);
    if (!larger) return false;
    chars_ = std::move(larger);
    capacity_ = wanted;
    return true;
}
