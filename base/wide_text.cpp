#include "base/wide_text.h"

#include <immintrin.h>

#include <bit>
#include <cstring>
#include <cwchar>

namespace {

// One bit per byte of the aligned block whose 16-bit units equal the pattern's. An aligned block lies within
// one page, so reading it whole is safe as soon as one byte of it is.
unsigned MatchesInBlock(uintptr_t block, __m128i pattern) {
    const __m128i units = _mm_load_si128(reinterpret_cast<const __m128i*>(block));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(units, pattern)));
}

// From a border of kStride bytes on: the first stride that holds a match, or one at the end or behind it.
// Long texts spend their time here.
constexpr uintptr_t kStride = 128;

uintptr_t SkipStrides(uintptr_t block, uintptr_t end, __m128i pattern) {
    for (; block < end; block += kStride) {
        const __m128i* const units = reinterpret_cast<const __m128i*>(block);
        __m128i matches = _mm_cmpeq_epi16(_mm_load_si128(units), pattern);
        for (int i = 1; i < 8; ++i)
            matches = _mm_or_si128(matches, _mm_cmpeq_epi16(_mm_load_si128(units + i), pattern));
        if (_mm_movemask_epi8(matches) != 0) break;
    }
    return block;
}

// The same with registers of twice the width, for processors that have them.
__attribute__((target("avx2"))) uintptr_t SkipStridesAvx2(uintptr_t block, uintptr_t end, wchar_t wanted) {
    const __m256i pattern = _mm256_set1_epi16(static_cast<short>(wanted));
    for (; block < end; block += kStride) {
        const __m256i* const units = reinterpret_cast<const __m256i*>(block);
        __m256i matches = _mm256_cmpeq_epi16(_mm256_load_si256(units), pattern);
        for (int i = 1; i < 4; ++i)
            matches = _mm256_or_si256(matches, _mm256_cmpeq_epi16(_mm256_load_si256(units + i), pattern));
        if (_mm256_movemask_epi8(matches) != 0) break;
    }
    return block;
}

// For text at an odd address, whose characters straddle the blocks.
const wchar_t* FindCharByChar(const wchar_t* text, int32_t maxChars, wchar_t wanted) {
    for (int32_t i = 0; i < maxChars; ++i) {
        wchar_t unit;
        memcpy(&unit, text + i, sizeof(unit));
        if (unit == wanted) return text + i;
    }
    return nullptr;
}

}  // namespace

int32_t CopyText(wchar_t* out, const wchar_t* text, int32_t maxChars, CopyEnd end) {
    if (maxChars < 1) return 0;
    const int32_t length = TextLength(text, end == CopyEnd::kTerminated ? maxChars - 1 : maxChars);
    wmemmove(out, text, static_cast<size_t>(length));
    if (length < maxChars) out[length] = 0;
    return length;
}

const wchar_t* FindChar(const wchar_t* text, int32_t maxChars, wchar_t wanted) {
    if (maxChars < 1) return nullptr;
    const uintptr_t start = reinterpret_cast<uintptr_t>(text);
    if (start % sizeof(wchar_t) != 0) return FindCharByChar(text, maxChars, wanted);

    const __m128i pattern = _mm_set1_epi16(static_cast<short>(wanted));
    const uintptr_t end = start + static_cast<uintptr_t>(maxChars) * sizeof(wchar_t);
    uintptr_t block = start & ~uintptr_t{15};
    unsigned matches = MatchesInBlock(block, pattern) & (~0u << (start - block));
    while (matches == 0) {
        block += 16;
        if (block % kStride == 0) {
            block = __builtin_cpu_supports("avx2") ? SkipStridesAvx2(block, end, wanted)
                                                   : SkipStrides(block, end, pattern);
        }
        if (block >= end) return nullptr;
        matches = MatchesInBlock(block, pattern);
    }
    const uintptr_t found = block + static_cast<uintptr_t>(std::countr_zero(matches));
    return found < end ? reinterpret_cast<const wchar_t*>(found) : nullptr;
}

void FillChars(wchar_t* out, int32_t count, wchar_t fill) {
    for (int32_t i = 0; i < count; ++i)
        out[i] = fill;
}

int32_t TextLength(const wchar_t* text, int32_t maxChars) {
    if (maxChars < 1) return 0;
    const wchar_t* const end = FindChar(text, maxChars, L'\0');
    return end == nullptr ? maxChars : static_cast<int32_t>(end - text);
}
