#include "ui/info_box_text.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <new>

// A callback may deliver a million units twice a second, so both passes look at eight units at a time; every
// 64-bit x86 processor has SSE2.
namespace {

constexpr size_t kLane = 8;  // units in one SSE2 register
constexpr size_t kLaneBytes = kLane * sizeof(wchar_t);

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

// An aligned load never crosses into another page, so that reading past the terminator is harmless.
TextMeasure Measure(const wchar_t* text, size_t maxChars) noexcept {
    TextMeasure measure;
    uint32_t afterCr = 0;  // 1 when the unit before was a CR
    size_t i = 0;
    while (i < maxChars) {
        if (IsLaneAligned(text + i) && maxChars - i >= kLane) {
            const __m128i units = _mm_load_si128(reinterpret_cast<const __m128i*>(text + i));
            if (EqualUnits(units, L'\0') == 0) {
                const uint32_t cr = EqualUnits(units, L'\r');
                const uint32_t lf = EqualUnits(units, L'\n');
                if ((cr | lf | afterCr) != 0) {
                    measure.lineEnds += static_cast<size_t>(std::popcount(cr | lf));
                    measure.pairs += static_cast<size_t>(std::popcount(((cr << 2) | afterCr) & lf));
                    afterCr = cr >> 14;
                }
                i += kLane;
                continue;
            }
        }
        const wchar_t unit = text[i];
        if (unit == L'\0') break;
        const bool isLf = unit == L'\n';
        const bool isCr = unit == L'\r';
        if (isLf || isCr) ++measure.lineEnds;
        if (isLf && afterCr != 0) ++measure.pairs;
        afterCr = isCr ? 1 : 0;
        ++i;
    }
    measure.chars = i;
    return measure;
}

// `out` has room for the converted text; each source unit yields at least one there, so a whole register can
// be stored wherever one could be read.
void Convert(const wchar_t* text, size_t chars, wchar_t* out) noexcept {
    size_t i = 0;
    while (i < chars) {
        if (chars - i >= kLane) {
            const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
            const uint32_t ends = EqualUnits(units, L'\r') | EqualUnits(units, L'\n');
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), units);
            const size_t plain = ends == 0 ? kLane : static_cast<size_t>(std::countr_zero(ends)) / 2;
            i += plain;
            out += plain;
            if (ends == 0) continue;
        }
        const wchar_t unit = text[i++];
        if (unit != L'\r' && unit != L'\n') {
            *out++ = unit;
            continue;
        }
        if (unit == L'\r' && i < chars && text[i] == L'\n') ++i;
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
