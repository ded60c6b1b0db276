// Finds a string resource in a PE file by its place in the file, without loading it. The file is not trusted:
// every value read from it is checked before use, no number in it decides how much memory is taken, and the
// work is bounded by what 16-bit counts allow.
#pragma once

#include <cstddef>
#include <cstdint>

// Reads the bytes of a file, wherever they are stored.
class FileBytes {
  public:
    virtual uint64_t SizeInBytes() noexcept = 0;
    // False when the file ends before them; the buffer's content is then undefined.
    virtual bool ReadAt(uint64_t position, void* buffer, size_t bytes) noexcept = 0;

  protected:
    ~FileBytes() = default;
};

// A string as the string table holds it: its length in characters as a 16-bit word, then the characters.
struct PeString {
    uint64_t position;  // of the length word, from the start of the file
    uint16_t chars;
};

// Takes 32-bit and 64-bit images. The string table may exist in several languages: the first one listed is
// used, whatever the user's language, so that every reader of the file sees the same string. An absent string
// has 0 characters in the table and counts as found. False when there is no such table or the file is damaged
// where it leads to the string.
bool FindPeString(FileBytes& file, uint16_t stringId, PeString& found) noexcept;
