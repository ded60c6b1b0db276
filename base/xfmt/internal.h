// The internals of the format engine: the state of one call and the stages that work on it. Only the engine's
// own files include this; all other code uses xfmt.h.
#pragma once

#include <cstdint>
#include <cwchar>

#include "base/xfmt.h"

inline constexpr int32_t kXfmtDigitChars =
    80;  // digits of one number, leading zeros of the precision included
inline constexpr int32_t kXfmtFieldChars =
    128;                                       // one number with sign, prefix and separators, without padding
inline constexpr int32_t kXfmtRunChars = 100;  // longest piece of repeated characters
inline constexpr int32_t kXfmtTraceLineChars = 200;

inline constexpr int32_t kXfmtDumpSeparatorChars = 8;
inline constexpr int32_t kXfmtDumpFrameChars = 4;
inline constexpr int32_t kXfmtDumpMaxBytesPerRow = 256;
inline constexpr int32_t kXfmtDumpMaxIndent = 64;

struct XfmtFlags {
    bool left;
    bool plus;
    bool space;
    bool alternate;
    bool zero;
    bool longLong;
};

// What %k, %K, %R, %r and %v have set so far. The texts are not terminated.
struct XfmtDumpSettings {
    wchar_t separator[kXfmtDumpSeparatorChars];
    wchar_t frameBefore[kXfmtDumpFrameChars];
    wchar_t frameAfter[kXfmtDumpFrameChars];
    int32_t separatorChars = 0;
    int32_t frameBeforeChars = 0;
    int32_t frameAfterChars = 0;

    int32_t bytesPerRow = 0;  // 0: one unbroken row
    int32_t indent = 0;
    int32_t startColumn = 0;
    bool ruler = false;

    uint64_t address = 0;
    int32_t addressGroup = 0;      // 0: not grouped
    int32_t addressMinDigits = 1;  // 0: whole groups
};

// One call of xfmt_core.
struct XfmtCall {
    XfmtOutput target;   // the context as it was at the start
    XfmtPieceInfo info;  // format, current piece, current conversion; out_pos is what the call has produced
    va_list args;

    XfmtFlags flags;
    wchar_t conversion;  // 0 when the format ended inside the directive

    int32_t room;       // characters that may be stored: the capacity, 0 without a buffer
    bool overflowed;    // more characters than a count can hold
    bool traced;        // a hook wants to see the pieces of this call
    bool observed;      // a hook or a sink does
    bool traceStarted;  // the format's own line has been sent
    bool pieceSeen;     // the current conversion has produced a piece

    const wchar_t* separator;  // %t, null without grouping
    int32_t groupSize;         // %_
    const wchar_t* decimalSeparator;
    XfmtDumpSettings dump;
};

// --- directive.cpp

// Reads the directive at `percent` into the call, with the arguments that its stars take. Returns the
// place after it.
const wchar_t* XfmtParseDirective(XfmtCall& call, const wchar_t* percent) noexcept;

// --- Arguments

// Every variadic argument fills one slot of eight bytes on this platform, whatever its type.
inline uint64_t XfmtTakeSlot(XfmtCall& call) noexcept {
    return va_arg(call.args, uint64_t);
}

// The argument of the current conversion, recorded for sinks.
inline uint64_t XfmtTakeArgument(XfmtCall& call, int32_t bytes) noexcept {
    call.info.arg_bytes = bytes;
    return call.info.arg_raw = XfmtTakeSlot(call);
}

inline int32_t XfmtTakeInt(XfmtCall& call) noexcept {
    return static_cast<int32_t>(static_cast<uint32_t>(XfmtTakeArgument(call, 4)));
}

template <typename T>
T* XfmtTakePointer(XfmtCall& call) noexcept {
    return reinterpret_cast<T*>(XfmtTakeArgument(call, 8));
}

inline const wchar_t* XfmtTakeText(XfmtCall& call) noexcept {
    return XfmtTakePointer<const wchar_t>(call);
}

// The length of a text, at most maxChars.
inline int32_t XfmtTextLength(const wchar_t* text, int32_t maxChars = INT32_MAX) noexcept {
    return static_cast<int32_t>(wcsnlen(text, static_cast<size_t>(maxChars)));
}

// --- output.cpp; XfmtEmit itself is in emit.h

// Shows a piece to the trace hook and the sink.
void XfmtObserve(XfmtCall& call, const wchar_t* text, int32_t count) noexcept;
void XfmtCopyMany(wchar_t* out, const wchar_t* text, int32_t count) noexcept;
// `count` times the same character, in pieces of at most kXfmtRunChars.
void XfmtEmitRun(XfmtCall& call, wchar_t fill, int32_t count) noexcept;
// Padded to the width of the directive. Padding zeros go after the first prefixChars.
void XfmtEmitField(XfmtCall& call, const wchar_t* text, int32_t count, int32_t prefixChars,
                   bool zeroPadded) noexcept;
// True when nothing will see the rest of the output, so counting it is enough.
inline bool XfmtOnlyCounts(const XfmtCall& call) noexcept {
    return !call.observed && call.info.out_pos >= call.room;
}
// A terminator after the text so far, or in the last place of a full buffer.
void XfmtTerminate(XfmtCall& call) noexcept;

// --- number.cpp

void XfmtPrintInteger(XfmtCall& call) noexcept;
void XfmtPrintPointer(XfmtCall& call) noexcept;
// --- float.cpp
void XfmtPrintFloat(XfmtCall& call) noexcept;

// --- dump.cpp

void XfmtSetDumpSeparator(XfmtCall& call) noexcept;
void XfmtSetDumpFrame(XfmtCall& call) noexcept;
void XfmtSetDumpRows(XfmtCall& call) noexcept;
void XfmtSetDumpAddress(XfmtCall& call) noexcept;
void XfmtPrintDump(XfmtCall& call) noexcept;

// --- nested.cpp

void XfmtPrintFormatter(XfmtCall& call) noexcept;
void XfmtPrintNested(XfmtCall& call) noexcept;

// --- trace.cpp

extern XfmtTraceHook g_xfmtTraceHook;
// Sends the line of the call's format, once, before the first piece of the call or of a call inside it.
void XfmtTraceStart(XfmtCall& call) noexcept;
// A hook may have removed itself since the call began; then nothing is sent.
void XfmtTracePiece(XfmtCall& call, int32_t count) noexcept;
