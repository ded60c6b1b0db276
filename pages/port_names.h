// The port names that a VCOM can take, COM1 to COM128, and the marks that show who occupies each.
#pragma once

#include <cstdint>
#include <optional>

#include "driver/protocol.h"

inline constexpr int32_t kPortEntryChars = 24;  // capacity of an entry's text, terminator included

// Explains the marks.
extern const wchar_t kPortLegend[];

// The number after a leading "COM" (in this spelling). Text after the digits is ignored, so that a list entry
// parses like its name. Empty when there is no number or it is absurdly long.
std::optional<int32_t> ParsePortNumber(const wchar_t* name) noexcept;

// "" for a free name, "(-)", "(+)", "(!)", "(#)", or "(?)" for an unknown state.
const wchar_t* PortStateMark(uint32_t state) noexcept;

// The text of an entry of the list, "COM%d %s".
void FormatPortEntry(int32_t number, uint32_t state, wchar_t (&text)[kPortEntryChars]) noexcept;

// True when the text has a mark that says that another device may claim the name.
bool MayConflict(const wchar_t* entryText) noexcept;
