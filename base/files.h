// Plain file access, temporary names and the folder of the driver package. Failures are reported by the
// results alone.
#pragma once

#include <cstdint>

#include "base/win32_handle.h"
#include "base/windows_api.h"

// True when the path names a file; a folder does not count.
bool IsFile(const wchar_t* path) noexcept;

// Stores the name of a new, empty temporary file, cut to `chars` characters, terminator included. Always
// true: when no file could be made the name is empty. The second argument no longer means anything.
bool MakeTempFileName(const wchar_t* prefix, const wchar_t* ignored, wchar_t* buffer, int32_t chars) noexcept;

// "QrvTavix" in the system directory, where the package keeps its files; cut to `chars` characters,
// terminator included. Returns `buffer`, or null when `chars` is below 1 or the system directory is unknown.
wchar_t* GetPackageFolder(wchar_t* buffer, int32_t chars) noexcept;

// Milliseconds since 1970-01-01 00:00 UTC; 0 when the file cannot be opened or its time cannot be read.
int64_t GetFileWriteTimeUemsec(const wchar_t* path) noexcept;

// Opens an existing file, shared for reading. Null on failure.
KernelHandle OpenFileRw(const wchar_t* path, bool write) noexcept;

// Moves `bytes` bytes at `offset` from the start of the file. Returns the bytes done, fewer at the end of the
// file; -1 when the handle is null, or the seek or the transfer fails.
int64_t ReadFileAt(HANDLE file, int64_t offset, uint32_t bytes, void* buffer) noexcept;
int64_t WriteFileAt(HANDLE file, int64_t offset, uint32_t bytes, const void* buffer) noexcept;

// Bytes; -1 when the handle is null and on failure.
int64_t GetFileSizeOf(HANDLE file) noexcept;
// False when the file was not open or the system refused.
bool CloseFile(KernelHandle file) noexcept;
