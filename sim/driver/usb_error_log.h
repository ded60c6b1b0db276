// The text log of startup errors that the driver keeps per USB device.
#pragma once

#include "sim/driver/kernel.h"

// Appends one episode: the separator line and the text, as UTF-8. False when the file cannot be written.
bool AppendUsbErrorEpisode(const wchar_t* instanceId, size_t idChars, const wchar_t* text, size_t textChars);

// Keeps the log open for writing, made when missing, in place of the one that was held before. `locked` keeps
// everybody else from opening it. An empty instance ID holds none. False when it cannot be opened.
bool HoldUsbErrorLog(const wchar_t* instanceId, size_t idChars, bool locked);
void ReleaseUsbErrorLog();
