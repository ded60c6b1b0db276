#include "base/md5.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

static_assert(std::endian::native == std::endian::little, "words are read as they lie in memory");

// The round functions use the value that is known last (x) as late as possible: each step depends on the one
// before it, and nothing else limits the speed.
struct RoundF {
    static uint32_t Mix(uint32_t sum, uint32_t x, uint32_t y, uint32_t z) {
        return sum + (z ^ (x & (y ^ z)));
    }
};
// The two halves have no bit in common, so their sum is their union and the half without x is added early.
struct RoundG {
    static uint32_t Mix(uint32_t sum, uint32_t x, uint32_t y, uint32_t z) { return sum + (y & ~z) + (x & z); }
};
struct RoundH {
    static uint32_t Mix(uint32_t sum, uint32_t x, uint32_t y, uint32_t z) { return sum + (x ^ (y ^ z)); }
};
struct RoundI {
    static uint32_t Mix(uint32_t sum, uint32_t x, uint32_t y, uint32_t z) { return sum + (y ^ (x | ~z)); }
};

template <typename Round, int shift>
[[gnu::always_inline]] inline void Step(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t word,
                                        uint32_t constant) {
    a = b + std::rotl(Round::Mix(a + word + constant, b, c, d), shift);
}

// Four steps with the shifts of their round; the words taken are first, first + stride, ... modulo 16.
template <typename Round, int s0, int s1, int s2, int s3, unsigned first, unsigned stride>
[[gnu::always_inline]] inline void FourSteps(uint32_t (&s)[4], const uint32_t (&x)[16], uint32_t k0,
                                             uint32_t k1, uint32_t k2, uint32_t k3) {
    Step<Round, s0>(s[0], s[1], s[2], s[3], x[first % 16], k0);
    Step<Round, s1>(s[3], s[0], s[1], s[2], x[(first + stride) % 16], k1);
    Step<Round, s2>(s[2], s[3], s[0], s[1], x[(first + 2 * stride) % 16], k2);
    Step<Round, s3>(s[1], s[2], s[3], s[0], x[(first + 3 * stride) % 16], k3);
}

// Constant i (from 1) is the integer part of 2^32 * |sin(i)|.
[[gnu::always_inline]] inline void AllSteps(uint32_t (&s)[4], const uint32_t (&x)[16]) {
    FourSteps<RoundF, 7, 12, 17, 22, 0, 1>(s, x, 0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE);
    FourSteps<RoundF, 7, 12, 17, 22, 4, 1>(s, x, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501);
    FourSteps<RoundF, 7, 12, 17, 22, 8, 1>(s, x, 0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE);
    FourSteps<RoundF, 7, 12, 17, 22, 12, 1>(s, x, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821);

    FourSteps<RoundG, 5, 9, 14, 20, 1, 5>(s, x, 0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA);
    FourSteps<RoundG, 5, 9, 14, 20, 5, 5>(s, x, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8);
    FourSteps<RoundG, 5, 9, 14, 20, 9, 5>(s, x, 0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED);
    FourSteps<RoundG, 5, 9, 14, 20, 13, 5>(s, x, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A);

    FourSteps<RoundH, 4, 11, 16, 23, 5, 3>(s, x, 0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C);
    FourSteps<RoundH, 4, 11, 16, 23, 1, 3>(s, x, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70);
    FourSteps<RoundH, 4, 11, 16, 23, 13, 3>(s, x, 0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05);
    FourSteps<RoundH, 4, 11, 16, 23, 9, 3>(s, x, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665);

    FourSteps<RoundI, 6, 10, 15, 21, 0, 7>(s, x, 0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039);
    FourSteps<RoundI, 6, 10, 15, 21, 12, 7>(s, x, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1);
    FourSteps<RoundI, 6, 10, 15, 21, 8, 7>(s, x, 0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1);
    FourSteps<RoundI, 6, 10, 15, 21, 4, 7>(s, x, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391);
}

}  // namespace

void Md5::TransformBlocks(const uint8_t* blocks, size_t count) noexcept {
    uint32_t s[4];
    std::memcpy(s, state_.data(), sizeof(s));
    for (; count > 0; --count, blocks += kBlockBytes) {
        uint32_t words[16];
        std::memcpy(words, blocks, sizeof(words));
        const uint32_t before[4] = {s[0], s[1], s[2], s[3]};
        AllSteps(s, words);
        for (int i = 0; i < 4; ++i)
            s[i] += before[i];
    }
    std::memcpy(state_.data(), s, sizeof(s));
}

void Md5::Add(const void* data, size_t bytes) noexcept {
    auto from = static_cast<const uint8_t*>(data);
    const size_t waiting = totalBytes_ % kBlockBytes;
    totalBytes_ += bytes;
    if (waiting > 0) {
        const size_t taken = std::min(bytes, kBlockBytes - waiting);
        if (taken > 0) std::memcpy(&pending_[waiting], from, taken);
        if (waiting + taken < kBlockBytes) return;
        TransformBlocks(pending_.data(), 1);
        from += taken;
        bytes -= taken;
    }
    TransformBlocks(from, bytes / kBlockBytes);
    const size_t rest = bytes % kBlockBytes;
    if (rest > 0) std::memcpy(pending_.data(), from + (bytes - rest), rest);
}

Md5::Digest Md5::Finish() noexcept {
    // A single one bit, zeros up to eight bytes before the end of a block, then the length in bits.
    static constexpr uint8_t kPadding[kBlockBytes] = {0x80};
    const uint64_t totalBits = totalBytes_ * 8;
    const size_t waiting = totalBytes_ % kBlockBytes;
    Add(kPadding, (waiting < 56 ? 56 : 120) - waiting);
    Add(&totalBits, sizeof(totalBits));
    return std::bit_cast<Digest>(state_);
}
