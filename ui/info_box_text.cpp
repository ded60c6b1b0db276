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
constexpr size_t kBlock = 4 * kLane;
constexpr size_t kBlockBytes = kBlock * sizeof(wchar_t);

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

// True when one of 32 units is a NUL, LF, CR or another unit up to 13; texts hold few of those.
bool HasControlUnit(__m128i a, __m128i b, __m128i c, __m128i d) noexcept {
    const __m128i last = _mm_set1_epi16(L'\r');
    const __m128i zero = _mm_setzero_si128();
    const __m128i ab = _mm_or_si128(_mm_cmpeq_epi16(_mm_subs_epu16(a, last), zero),
                                    _mm_cmpeq_epi16(_mm_subs_epu16(b, last), zero));
    const __m128i cd = _mm_or_si128(_mm_cmpeq_epi16(_mm_subs_epu16(c, last), zero),
                                    _mm_cmpeq_epi16(_mm_subs_epu16(d, last), zero));
    return _mm_movemask_epi8(_mm_or_si128(ab, cd)) != 0;
}

const __m128i* Lanes(const wchar_t* text) noexcept {
    return reinterpret_cast<const __m128i*>(text);
}

// The units from an aligned place on that come in whole blocks without any control unit.
size_t PlainBlocks(const wchar_t* text, size_t maxChars) noexcept {
    size_t i = 0;
    // A block of 64 bytes, itself aligned, lies in one page.
    while (maxChars - i >= kBlock && reinterpret_cast<uintptr_t>(text + i) % kBlockBytes == 0) {
        const __m128i* const lanes = Lanes(text + i);
        if (HasControlUnit(_mm_load_si128(lanes), _mm_load_si128(lanes + 1), _mm_load_si128(lanes + 2),
                           _mm_load_si128(lanes + 3)))
            break;
        i += kBlock;
    }
    return i;
}

// An aligned load never crosses into another page, so that reading past the terminator is harmless.
TextMeasure Measure(const wchar_t* text, size_t maxChars) noexcept {
    TextMeasure measure;
    uint32_t afterCr = 0;  // 1 when the unit before was a CR
    size_t i = 0;
    while (i < maxChars) {
        if (const size_t plain = PlainBlocks(text + i, maxChars - i)) {
            i += plain;
            afterCr = 0;
            continue;
        }
        if (IsLaneAligned(text + i) && maxChars - i >= kLane) {
            const __m128i units = _mm_load_si128(Lanes(text + i));
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
