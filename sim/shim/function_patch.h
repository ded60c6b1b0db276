// Replaces the code of a function that is already loaded, for every caller in the process.
#pragma once

#include "base/windows_api.h"

using FunctionAddress = FARPROC;

// Every call of `target` then goes to `replacement`. False, with nothing changed, when the code could not be
// made writable. The target must be at least 12 bytes long and must not be running.
bool ReplaceFunction(FunctionAddress target, FunctionAddress replacement);

// As ReplaceFunction, and gives a way to call what was replaced; lasts as long as the process. Null, with
// nothing changed, when the function does not begin with plain register saves, or on want of memory near it.
FunctionAddress WrapFunction(FunctionAddress target, FunctionAddress replacement);
