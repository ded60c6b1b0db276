// The path that every piece of output takes, inline because most pieces are only a few characters long.
#pragma once

#include <emmintrin.h>

#include <cstring>

#include "base/xfmt/internal.h"

// Adds to the count, which stops at its limit.
inline void XfmtCount(XfmtCall& call, int64_t count) noexcept {
    const int64_t position = call.info.out_pos + count;
    if (position > INT32_MAX) call.overflowed = true;
    call.info.out_pos = position > INT32_MAX ? INT32_MAX : static_cast<int32_t>(position);
}

// Copies between one and two units' worth of characters in two reads that may overlap.
template <typename Unit>
inline void XfmtCopyTwice(wchar_t* out, const wchar_t* text, int32_t count) noexcept {
    constexpr int32_t kUnitChars = sizeof(Unit) / sizeof(wchar_t);
    Unit head, tail;
    memcpy(&head, text, sizeof(Unit));
    memcpy(&tail, text + count - kUnitChars, sizeof(Unit));
    memcpy(out, &head, sizeof(Unit));
    memcpy(out + count - kUnitChars, &tail, sizeof(Unit));
}

// Copies by pairs from the end, as digits are written: a wider read would wait until they have reached the
// cache.
inline void XfmtCopyPairs(wchar_t* out, const wchar_t* text, int32_t count) noexcept {
    for (; count >= 2; count -= 2)
        memcpy(out + count - 2, text + count - 2, 2 * sizeof(wchar_t));
    if (count != 0) *out = *text;
}

inline constexpr int32_t kXfmtFewChars = 32;

// Copies up to kXfmtFewChars characters, for which a library call would cost more than the work. A text may
// be formatted onto itself.
inline void XfmtCopyFew(wchar_t* out, const wchar_t* text, int32_t count) noexcept {
    struct Half {
        __m128i first, second;
    };
    if (count < 8) return XfmtCopyPairs(out, text, count);
    if (count < 16) return XfmtCopyTwice<__m128i>(out, text, count);
    return XfmtCopyTwice<Half>(out, text, count);
}

inline void XfmtStore(XfmtCall& call, const wchar_t* text, int32_t count) noexcept {
    const int32_t position = call.info.out_pos;
    if (position >= call.room) return;
    const int32_t left = call.room - position;
    const int32_t stored = count < left ? count : left;
    wchar_t* const out = call.target.buf + position;
    if (stored <= kXfmtFewChars) {
        XfmtCopyFew(out, text, stored);
    } else {
        XfmtCopyMany(out, text, stored);
    }
}

// One piece of output: traced, handed to the sink, stored as far as it fits, counted. Does nothing without
// characters.
inline void XfmtEmit(XfmtCall& call, const wchar_t* text, int32_t count) noexcept {
    if (count < 1) return;
    if (call.observed) XfmtObserve(call, text, count);
    XfmtStore(call, text, count);
    XfmtCount(call, count);
}

// Where to write a piece straight into the output, or null when it must be emitted instead because it is
// observed or does not fit. The caller counts what it wrote.
inline wchar_t* XfmtPlaceFor(XfmtCall& call, int32_t count) noexcept {
    if (call.observed || count > call.room - call.info.out_pos) return nullptr;
    return call.target.buf + call.info.out_pos;
}
