#include "base/wide_text.h"

#include <emmintrin.h>

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
