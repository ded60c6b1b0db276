// Checks that a customer's resource library is as its maker stamped it: string 18001 holds the digest of the
// rest of the file. docs/custom-resources.md describes the digest for the makers of such libraries.
#pragma once

#include <cstdint>

#include "base/windows_api.h"
#include "ui/pe_string_resource.h"

inline constexpr wchar_t kCustomResourceFileName[] = L"tavix_customres.dll";

inline constexpr uint16_t kCustomResourceDigestString = 18001;
inline constexpr int32_t kCustomResourceDigestChars = 32;
// The string's length word and its characters: what the digest leaves out and a stamp overwrites.
inline constexpr uint32_t kCustomResourceSlotBytes = 2 + kCustomResourceDigestChars * 2;

// An open file, which the caller keeps open.
class HandleBytes final : public FileBytes {
  public:
    explicit HandleBytes(HANDLE file) noexcept : file_(file) {}
    uint64_t SizeInBytes() noexcept override;
    bool ReadAt(uint64_t position, void* buffer, size_t bytes) noexcept override;

  private:
    HANDLE file_;
};

// The file position of string 18001's length word. False when the file is no PE image that has a string 18001
// of exactly 32 characters.
bool FindCustomResourceSlot(FileBytes& file, uint64_t& slotPosition) noexcept;

// Computes what the slot's characters should be. Reads the whole file into memory; false when that fails.
using CustomResourceDigest = wchar_t[kCustomResourceDigestChars + 1];
bool ComputeCustomResourceDigest(FileBytes& file, uint64_t slotPosition,
                                 CustomResourceDigest& digest) noexcept;

// True when the library is intact. `digestChars` (may be null) receives the length of string 18001 when that
// is 32, otherwise 0. `text` (may be null) receives the digest that the library should carry, cut to
// textCapacity characters including the terminator; it stays untouched when there is no slot or the file
// cannot be read.
bool VerifyCustomResource(FileBytes& file, int32_t* digestChars, wchar_t* text,
                          int32_t textCapacity) noexcept;

// The same for a file opened for reading.
bool VerifyCustomResourceFile(HANDLE file, int32_t* digestChars = nullptr, wchar_t* text = nullptr,
                              int32_t textCapacity = 0) noexcept;
