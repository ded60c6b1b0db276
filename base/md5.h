// The MD5 digest of RFC 1321, fed piece by piece. It detects accidental damage; it is no protection against
// an attacker.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

class Md5 {
  public:
    using Digest = std::array<uint8_t, 16>;

    // Any number of pieces of any size, in order. Null is allowed when bytes is 0.
    void Add(const void* data, size_t bytes) noexcept;

    // The digest of everything added. Ends the calculation: the object is not used afterwards.
    Digest Finish() noexcept;

  private:
    static constexpr size_t kBlockBytes = 64;

    void TransformBlocks(const uint8_t* blocks, size_t count) noexcept;

    std::array<uint32_t, 4> state_{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    uint64_t totalBytes_ = 0;
    std::array<uint8_t, kBlockBytes> pending_ = {};  // the first totalBytes_ % kBlockBytes of it are waiting
};
