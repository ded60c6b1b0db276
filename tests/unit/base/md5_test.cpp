#include "base/md5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/guarded_buffer.h"

namespace {

std::string Hex(const Md5::Digest& digest) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::string DigestOf(std::string_view text) {
    Md5 md5;
    md5.Add(text.data(), text.size());
    return Hex(md5.Finish());
}

struct Vector {
    const char* name;
    std::string text;
    const char* digest;
};
void PrintTo(const Vector& vector, std::ostream* out) {
    *out << vector.name;
}

class Md5Vectors : public testing::TestWithParam<Vector> {};

TEST_P(Md5Vectors, GiveTheKnownDigest) {
    EXPECT_EQ(DigestOf(GetParam().text), GetParam().digest);
}

const auto rowName = [](const auto& row) { return std::string(row.param.name); };

INSTANTIATE_TEST_SUITE_P(
    Published, Md5Vectors,
    testing::Values(Vector{"Empty", "", "d41d8cd98f00b204e9800998ecf8427e"},
                    Vector{"OneLetter", "a", "0cc175b9c0f1b6a831c399e269772661"},
                    Vector{"ThreeLetters", "abc", "900150983cd24fb0d6963f7d28e17f72"},
                    Vector{"Words", "message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                    Vector{"Alphabet", "abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
                    Vector{"Alphanumeric", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
                           "d174ab98d277d9f5a5611c2c9f419d9f"},
                    Vector{"Digits",
                           "12345678901234567890123456789012345678901234567890123456789012345678901234567890",
                           "57edf4a22be3c955ac49da2e2107b67a"}),
    rowName);

// Lengths around the places where padding needs one more block; digests from an independent program.
INSTANTIATE_TEST_SUITE_P(
    Padding, Md5Vectors,
    testing::Values(Vector{"Length55", std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
                    Vector{"Length56", std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
                    Vector{"Length57", std::string(57, 'a'), "652b906d60af96844ebd21b674f35e93"},
                    Vector{"Length63", std::string(63, 'a'), "b06521f39153d618550606be297466d5"},
                    Vector{"Length64", std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
                    Vector{"Length65", std::string(65, 'a'), "c743a45e0d2e6a95cb859adae0248435"},
                    Vector{"Length119", std::string(119, 'a'), "8a7bd0732ed6a28ce75f6dabc90e1613"},
                    Vector{"Length120", std::string(120, 'a'), "5f61c0ccad4cac44c75ff505e1f1e537"},
                    Vector{"Length121", std::string(121, 'a'), "f6acfca2d47c87f2b14ca038234d3614"},
                    Vector{"Length128", std::string(128, 'a'), "e510683b3f5ffe4093d021808bc6ff70"},
                    Vector{"Length1000", std::string(1000, 'a'), "cabe45dcc9ae5b66ba86600cca6b8ba8"}),
    rowName);

TEST(Md5, PiecesOfEverySizeGiveTheDigestOfTheWhole) {
    const std::string text(200, 'q');
    const std::string whole = DigestOf(text);
    for (size_t first = 0; first <= text.size(); ++first) {
        for (const size_t second : {size_t{0}, size_t{1}, size_t{63}, size_t{64}, size_t{65}}) {
            const size_t middle = std::min(second, text.size() - first);
            Md5 md5;
            md5.Add(text.data(), first);
            md5.Add(text.data() + first, middle);
            md5.Add(text.data() + first + middle, text.size() - first - middle);
            ASSERT_EQ(Hex(md5.Finish()), whole) << first << " then " << middle;
        }
    }
}

TEST(Md5, AnEmptyPieceMayBeNull) {
    Md5 md5;
    md5.Add("ab", 2);
    md5.Add(nullptr, 0);
    md5.Add("c", 1);
    EXPECT_EQ(Hex(md5.Finish()), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(Md5, ReadsNothingBesideThePiece) {
    for (const GuardSide side : {GuardSide::kBehind, GuardSide::kInFront}) {
        for (size_t bytes = 0; bytes <= 130; ++bytes) {
            const GuardedBuffer<char> piece(bytes, side);
            DigestOf({piece.data(), bytes});
        }
    }
}

// The length in bits no longer fits 32 bits from 2^29 bytes on.
TEST(Md5, CountsBeyondFourBillionBits) {
    const std::vector<uint8_t> piece(1 << 20);
    Md5 md5;
    for (int i = 0; i < 512; ++i)
        md5.Add(piece.data(), piece.size());
    md5.Add(piece.data(), 1);
    EXPECT_EQ(Hex(md5.Finish()), "ea3b62c6b93cb3625a1fd76777985f5a");
}

}  // namespace
