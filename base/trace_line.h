// The module's debug trace: what the installer's entry and the checks around it do. In the shipped
// configuration no hook is set and every line is discarded unformatted.
#pragma once

// `format` and arguments are xfmt's; a line is cut at 1999 characters.
void TraceLine(const wchar_t* format, ...) noexcept;

using TraceLineHook = void (*)(const wchar_t* line);
// Null, the initial value, discards every line.
void SetTraceLineHook(TraceLineHook hook) noexcept;
