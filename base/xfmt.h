// The system's own wide-character formatter: every text that a user or a log sees is produced here.
//
// Counts, capacities and positions are in characters (UTF-16 units). A capacity includes the terminator.
// Every function that takes a buffer stores at most `cap` characters, always terminates when cap >= 1, and
// returns the length that the complete text has, so that `count >= cap` means "cut"; a text longer than a
// count can hold (2,147,483,647) returns -1.
#pragma once

#include <cstdarg>
#include <cstdint>

// Describes one piece of output that is being handed to a sink or to the trace hook. Owned by the engine,
// valid during the call only.
struct XfmtPieceInfo {
    const wchar_t* format;  // the whole format string in work
    int32_t format_pos;     // where this piece of the format starts
    int32_t format_len;     // and how many characters of the format it has
    bool width_given;
    int32_t width;
    bool precision_given;
    int32_t precision;
    int32_t arg_bytes;     // size of the argument just taken: 2, 4 or 8; 0 for literal text
    uint64_t arg_raw;      // the raw eight bytes of that argument
    uint32_t trace_level;  // nesting level shown in the trace: the context's level plus 1
    int32_t out_pos;       // characters produced in this call before this piece
    uint32_t stock;        // characters produced through the context before this call
};

// Receives each piece of output in full, whatever the buffer's capacity. The text is not terminated; there
// are no empty pieces.
using XfmtSink = void (*)(void* sink_ctx, const wchar_t* text, int32_t count, XfmtPieceInfo* info);

// The context that the engine writes through. After a call, buf and pos have advanced and cap has shrunk by
// the returned count; cap may then be negative, and later output is only counted and handed to the sink.
struct XfmtOutput {
    XfmtSink sink;  // may be null
    void* sink_ctx;
    wchar_t* buf;  // may be null
    int32_t cap;
    uint32_t level;  // nesting level, 0 for a top-level call
    uint32_t pos;    // characters produced through this context so far
    bool quiet;      // never call the trace hook for output through this context
};

inline constexpr uint32_t kXfmtFormatterMagic = 0xEF170321;
inline constexpr uint32_t kXfmtNestedMagic = 0xEF160913;

// Writes its text through `out` and returns the number of characters produced. `conversion` is always 'F'.
using XfmtFormatterFn = int32_t (*)(void* ctx, XfmtOutput* out, wchar_t conversion, int32_t capacity);

// The argument of "%F": an object that prints itself.
struct XfmtFormatter {
    uint32_t magic;
    XfmtFormatterFn fn;
    void* ctx;
};
void xfmt_formatter_init(XfmtFormatter* formatter, XfmtFormatterFn fn, void* ctx) noexcept;

// The argument of "%w": a format with the list of its own arguments. The list is copied, not consumed.
struct XfmtNested {
    uint32_t magic;
    const wchar_t* format;
    va_list* args;
};

int32_t xfmt_core(XfmtOutput* ctx, const wchar_t* format, va_list args) noexcept;
int32_t xfmt(wchar_t* buf, int32_t cap, const wchar_t* format, ...) noexcept;
int32_t xfmt_v(wchar_t* buf, int32_t cap, const wchar_t* format, va_list args) noexcept;
// Like xfmt, but never traced.
int32_t xfmt_quiet(wchar_t* buf, int32_t cap, const wchar_t* format, ...) noexcept;
int32_t xfmt_to_sink(XfmtSink sink, void* sink_ctx, const wchar_t* format, ...) noexcept;
int32_t xfmt_to_ctx(XfmtOutput* ctx, const wchar_t* format, ...) noexcept;

// Measure, allocate, format. Return the count; -1 when allocation failed, -2 when measuring did. *out is null
// on failure, otherwise the caller frees it with free().
int32_t xfmt_alloc(wchar_t** out, const wchar_t* format, ...) noexcept;
int32_t xfmt_valloc(wchar_t** out, const wchar_t* format, va_list args) noexcept;
// The same with at most `max` characters, terminator included; max 0 allocates nothing and returns the count.
int32_t xfmt_alloc_max(wchar_t** out, int32_t max, const wchar_t* format, ...) noexcept;
int32_t xfmt_valloc_max(wchar_t** out, int32_t max, const wchar_t* format, va_list args) noexcept;

// Formats at *pbuf and moves on: *pbuf grows and *pleft shrinks by the full count even when the text was cut,
// so that later calls store nothing but keep counting. Below zero *pleft is the two's complement, as int32_t
// reads it.
int32_t xfmt_advance(wchar_t** pbuf, uint32_t* pleft, const wchar_t* format, ...) noexcept;
// Appends to the text in buf, which must be terminated even when cap is 0; returns the length of the whole.
int32_t xfmt_append(wchar_t* buf, int32_t cap, const wchar_t* format, ...) noexcept;

// Receives the engine's trace of its own work, line by line. Null removes the hook. A hook that formats uses
// xfmt_quiet, or it would trace itself.
using XfmtTraceHook = void (*)(void* hook_ctx, const wchar_t* line);
void xfmt_set_trace_hook(XfmtTraceHook hook, void* hook_ctx) noexcept;
// Newline of trace lines and between hex-dump rows: 1 "\r\n", 2 "\r", anything else "\n" (the initial value).
void xfmt_set_newline(int32_t mode) noexcept;
const wchar_t* xfmt_newline() noexcept;
const char* xfmt_newline_narrow() noexcept;
int32_t xfmt_version() noexcept;

// Format into a console buffer of xfmt_console_buffer_size() characters (longer text is cut), write and
// flush. Both set the user's default locale first. Return the full count.
int32_t xfmt_print_stdout(const wchar_t* format, ...) noexcept;
int32_t xfmt_print_stderr(const wchar_t* format, ...) noexcept;
int32_t xfmt_console_buffer_size() noexcept;
