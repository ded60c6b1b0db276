// Converts texts to one kind of line end.
#pragma once

#include <cstddef>
#include <cstdint>

// Copies `source` and replaces every CR LF pair, lone CR and lone LF by `newline` (null: by nothing); an LF
// followed by a CR is two line ends. Stores at most `capacity` characters, terminator included; terminates
// always when `capacity` is at least 1. Returns the length of the whole result without its terminator, so
// `capacity` or more means "cut". `destination` may be null when `capacity` is 0.
int32_t text_convert_newlines(const wchar_t* source, wchar_t* destination, int32_t capacity,
                              const wchar_t* newline) noexcept;
// The same for a source that ends at its terminator or after `sourceChars` characters, whichever comes first.
int32_t text_convert_newlines_of(const wchar_t* source, size_t sourceChars, wchar_t* destination,
                                 int32_t capacity, const wchar_t* newline) noexcept;
