// The few operations on runs of wide characters that the format engine stands on.
// Counts are in characters; a count below 1 means none.
#pragma once

#include <cstdint>

enum class CopyEnd {
    kTerminated,  // at most maxChars - 1 characters, then a terminator
    kOpen,        // at most maxChars characters; terminated only when the text is shorter than that
};

// Copies text up to its end or the limit. Returns the number of characters copied, terminator not counted.
int32_t CopyText(wchar_t* out, const wchar_t* text, int32_t maxChars, CopyEnd end);

// The first `wanted` among the first maxChars characters, or null. A terminator does not end the search, but
// nothing behind the wanted character is needed to exist.
const wchar_t* FindChar(const wchar_t* text, int32_t maxChars, wchar_t wanted);

void FillChars(wchar_t* out, int32_t count, wchar_t fill);

// The length of a text, at most maxChars.
int32_t TextLength(const wchar_t* text, int32_t maxChars = INT32_MAX);
