// The text log of startup errors that the driver keeps per USB device.
#pragma once

#include "sim/driver/kernel.h"

// Appends one episode: the separator line and the text, as UTF-8. False when the file cannot be written.
bool AppendUsbErrorEpisode(const wchar_t* instanceId, size_t idChars, const wchar_t* text, size_t textChars);
