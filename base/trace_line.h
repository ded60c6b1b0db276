// The module's debug trace: what the installer's entry and the checks around it report about their work. In
// the shipped configuration nobody listens and every line is discarded unformatted.
#pragma once

// `format` and arguments are xfmt's; a line is cut at 1999 characters.
void TraceLine(const wchar_t* format, ...) noexcept;

using TraceLineHook = void (*)(const wchar_t* line);
// Null, the start value, discards every line.
void SetTraceLineHook(TraceLineHook hook) noexcept;
