// All output of the engine goes through here: trace, sink, buffer, count, and the padding of fields.
#include <algorithm>
#include <cstring>

#include "base/xfmt/emit.h"

namespace {

void EmitRunPieces(XfmtCall& call, wchar_t fill, int32_t count) {
    wchar_t run[kXfmtRunChars];
    std::fill_n(run, std::min(count, kXfmtRunChars), fill);
    for (; count > 0; count -= kXfmtRunChars)
        XfmtEmit(call, run, count < kXfmtRunChars ? count : kXfmtRunChars);
}

}  // namespace

void XfmtObserve(XfmtCall& call, const wchar_t* text, int32_t count) noexcept {
    call.pieceSeen = true;
    if (call.traced) XfmtTracePiece(call, count);
    if (call.target.sink != nullptr) call.target.sink(call.target.sink_ctx, text, count, &call.info);
}

void XfmtCopyMany(wchar_t* out, const wchar_t* text, int32_t count) noexcept {
    memmove(out, text, static_cast<size_t>(count) * sizeof(wchar_t));
}

void XfmtEmitRun(XfmtCall& call, wchar_t fill, int32_t count) noexcept {
    if (!call.observed) {
        const int32_t left = call.room - call.info.out_pos;
        if (left > 0) std::fill_n(call.target.buf + call.info.out_pos, std::min(count, left), fill);
        if (count > 0) XfmtCount(call, count);
        return;
    }
    EmitRunPieces(call, fill, count);
}

void XfmtEmitField(XfmtCall& call, const wchar_t* text, int32_t count, int32_t prefixChars,
                   bool zeroPadded) noexcept {
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

void XfmtTerminate(XfmtCall& call) noexcept {
    if (call.room < 1) return;
    const int32_t position = call.info.out_pos;
    call.target.buf[position < call.room ? position : call.room - 1] = 0;
}
