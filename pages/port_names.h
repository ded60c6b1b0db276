// The port names that a VCOM can take, COM1 to COM128, and the marks that show who occupies each.
#pragma once

#include <cstdint>
#include <optional>

#include "driver/protocol.h"

inline constexpr int32_t kPortEntryChars = 24;  // capacity of an entry's text, terminator included

// Explains the marks.
extern const wchar_t kPortLegend[];

// The number behind a leading "COM" (as spelled); what follows the digits is ignored, so an entry's text
// parses like its name. Nothing when there is no number or it is absurdly long.
std::optional<int32_t> ParsePortNumber(const wchar_t* name) noexcept;

// "" for a free name, "(-)", "(+)", "(!)", "(#)", or "(?)" for a state that nobody knows.
const wchar_t* PortStateMark(uint32_t state) noexcept;

// The text of an entry of the list, "COM%d %s".
void FormatPortEntry(int32_t number, uint32_t state, wchar_t (&text)[kPortEntryChars]) noexcept;

// Whether the text carries a mark that another device may claim the name by.
bool MayConflict(const wchar_t* entryText) noexcept;
