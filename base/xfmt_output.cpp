// Everything that leaves the engine passes here: trace, sink, buffer, count, and the padding of fields.
#include <cstring>
#include <cwchar>

#include "base/wide_text.h"
#include "base/xfmt_internal.h"

namespace {

// Long texts are measured and copied in steps that stay in the nearest cache.
constexpr int32_t kCopyStepChars = 2048;

void Observe(XfmtCall& call, const wchar_t* text, int32_t count) {
    call.pieceSeen = true;
    if (call.traced) XfmtTracePiece(call, count);
    if (call.target.sink != nullptr) call.target.sink(call.target.sink_ctx, text, count, &call.info);
}

// Most pieces have a few characters; a library call would cost more than they do. All is read before anything
// is written, because a text may be formatted onto itself.
void CopyPiece(wchar_t* out, const wchar_t* text, int32_t count) {
    const size_t bytes = static_cast<size_t>(count) * sizeof(wchar_t);
    if (bytes > 32) {
        memmove(out, text, bytes);
    } else if (bytes >= 16) {
        uint64_t head[2], tail[2];
        memcpy(head, text, 16);
        memcpy(tail, text + count - 8, 16);
        memcpy(out, head, 16);
        memcpy(out + count - 8, tail, 16);
    } else if (bytes >= 8) {
        uint64_t head, tail;
        memcpy(&head, text, 8);
        memcpy(&tail, text + count - 4, 8);
        memcpy(out, &head, 8);
        memcpy(out + count - 4, &tail, 8);
    } else {
        const wchar_t first = text[0];
        const wchar_t middle = text[count / 2];
        const wchar_t last = text[count - 1];
        out[0] = first;
        out[count / 2] = middle;
        out[count - 1] = last;
    }
}

void Store(XfmtCall& call, const wchar_t* text, int32_t count) {
    const int32_t position = call.info.out_pos;
    if (position >= call.room) return;
    const int32_t left = call.room - position;
    CopyPiece(call.target.buf + position, text, count < left ? count : left);
}

bool LiesInTarget(const XfmtCall& call, const wchar_t* text) {
    const uintptr_t start = reinterpret_cast<uintptr_t>(call.target.buf);
    const uintptr_t offset = reinterpret_cast<uintptr_t>(text) - start;
    return offset < static_cast<uintptr_t>(call.room) * sizeof(wchar_t);
}

// Measures and copies step by step, which touches each part of a long text while it is near. Returns what is
// left to count.
void CopyUnmeasured(XfmtCall& call, const wchar_t* text, int32_t maxChars) {
    while (maxChars > 0) {
        const bool counting = call.info.out_pos >= call.room;
        const int32_t step = counting || maxChars < kCopyStepChars ? maxChars : kCopyStepChars;
        const int32_t length = TextLength(text, step);
        if (length > 0) Store(call, text, length);
        XfmtCount(call, length);
        if (length < step) return;
        text += length;
        maxChars -= length;
    }
}

}  // namespace

void XfmtCount(XfmtCall& call, int64_t count) {
    const int64_t position = call.info.out_pos + count;
    if (position > INT32_MAX) call.overflowed = true;
    call.info.out_pos = position > INT32_MAX ? INT32_MAX : static_cast<int32_t>(position);
}

void XfmtEmit(XfmtCall& call, const wchar_t* text, int32_t count) {
    if (count < 1) return;
    if (call.observed) Observe(call, text, count);
    Store(call, text, count);
    XfmtCount(call, count);
}

void XfmtEmitText(XfmtCall& call, const wchar_t* text, int32_t maxChars) {
    // A text that stands in the buffer itself is measured before the first character is written.
    if (call.observed || LiesInTarget(call, text)) {
        XfmtEmit(call, text, TextLength(text, maxChars));
    } else {
        CopyUnmeasured(call, text, maxChars);
    }
}

void XfmtEmitRun(XfmtCall& call, wchar_t fill, int32_t count) {
    if (!call.observed) {
        const int32_t left = call.room - call.info.out_pos;
        if (left > 0) FillChars(call.target.buf + call.info.out_pos, count < left ? count : left, fill);
        if (count > 0) XfmtCount(call, count);
        return;
    }
    wchar_t run[kXfmtRunChars];
    FillChars(run, count < kXfmtRunChars ? count : kXfmtRunChars, fill);
    for (; count > 0; count -= kXfmtRunChars)
        XfmtEmit(call, run, count < kXfmtRunChars ? count : kXfmtRunChars);
}

void XfmtEmitField(XfmtCall& call, const wchar_t* text, int32_t count, int32_t prefixChars, bool zeroPadded) {
    const int32_t padding = call.info.width - count;
    if (padding <= 0) {
        XfmtEmit(call, text, count);
    } else if (call.flags.left) {
        XfmtEmit(call, text, count);
        XfmtEmitRun(call, L' ', padding);
    } else if (zeroPadded) {
        XfmtEmit(call, text, prefixChars);
        XfmtEmitRun(call, L'0', padding);
        XfmtEmit(call, text + prefixChars, count - prefixChars);
    } else {
        XfmtEmitRun(call, L' ', padding);
        XfmtEmit(call, text, count);
    }
}

void XfmtTerminate(XfmtCall& call) {
    if (call.room < 1) return;
    const int32_t position = call.info.out_pos;
    call.target.buf[position < call.room ? position : call.room - 1] = 0;
}
