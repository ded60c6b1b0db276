// Builds resource-only DLLs in memory: small, loadable, and with every byte where the test put it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ui/pe_string_resource.h"

using Bytes = std::vector<uint8_t>;

enum class ImageKind { k64Bit, k32Bit };

class ResourceLibrary {
  public:
    static constexpr uint16_t kEnglish = 0x0409;
    static constexpr uint16_t kGerman = 0x0407;
    static constexpr uint16_t kNeutral = 0;

    void SetString(uint16_t id, std::wstring_view text, uint16_t language = kEnglish);
    // A 16 x 16 icon of one color.
    void SetIcon(uint16_t id, uint8_t red, uint8_t green, uint8_t blue);
    void SetResource(uint16_t type, uint16_t id, uint16_t language, Bytes content);

    Bytes Build(ImageKind kind = ImageKind::k64Bit) const;

  private:
    std::map<uint16_t, std::map<uint16_t, std::map<uint16_t, Bytes>>> tree_;             // type, ID, language
    std::map<std::pair<uint16_t, uint16_t>, std::map<uint16_t, std::wstring>> strings_;  // table, language
};

// A library as a customer makes it: all strings and icons, string 18001 still of 32 zeros.
ResourceLibrary CustomerLibrary();

// Where the text stands in the file as UTF-16; fails the test unless that is exactly one place.
size_t FindText(const Bytes& image, std::wstring_view text);

// Writes the digest over the 32 zeros of string 18001, calculated by the system's own MD5 and without the
// code under test.
enum class DigestSuffix { kLibraryName, kNone };
void StampImage(Bytes* image, DigestSuffix suffix = DigestSuffix::kLibraryName);

// The image as a file. Counts what is read of it.
class MemoryBytes final : public FileBytes {
  public:
    explicit MemoryBytes(const Bytes& image) : image_(image) {}
    uint64_t SizeInBytes() noexcept override { return image_.size(); }
    bool ReadAt(uint64_t position, void* buffer, size_t bytes) noexcept override;

    int reads() const { return reads_; }

  private:
    const Bytes& image_;
    int reads_ = 0;
};
