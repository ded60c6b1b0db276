// Converts paths that the kernel reports to drive-letter paths.
#pragma once

#include <cstdint>

// Converts "\Device\HarddiskVolume3\dir\file" to "c:\dir\file", cut to `chars` characters, terminator
// included. False, and the buffer untouched, when the path is not of that form or no drive letter leads to
// its volume.
bool NtPathToDosPath(const wchar_t* kernelPath, wchar_t* buffer, int32_t chars) noexcept;
