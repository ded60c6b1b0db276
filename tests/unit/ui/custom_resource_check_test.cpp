#include "ui/custom_resource_check.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/files.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/resource_library.h"
#include "tests/support/temporary_file.h"

namespace {

constexpr wchar_t kZeros[] = L"00000000000000000000000000000000";

Bytes StampedLibrary(ImageKind kind = ImageKind::k64Bit) {
    Bytes image = CustomerLibrary().Build(kind);
    StampImage(&image);
    return image;
}

bool IsIntact(const Bytes& image) {
    MemoryBytes bytes(image);
    return VerifyCustomResource(bytes, nullptr, nullptr, 0);
}

std::wstring StoredDigest(const Bytes& image) {
    MemoryBytes bytes(image);
    uint64_t slot = 0;
    EXPECT_TRUE(FindCustomResourceSlot(bytes, slot));
    std::wstring digest(kCustomResourceDigestChars, L'\0');
    EXPECT_TRUE(bytes.ReadAt(slot + 2, digest.data(), digest.size() * sizeof(wchar_t)));
    return digest;
}

TEST(CustomResourceCheck, AStampedLibraryIsIntact) {
    EXPECT_TRUE(IsIntact(StampedLibrary()));
    EXPECT_TRUE(IsIntact(StampedLibrary(ImageKind::k32Bit)));
}

TEST(CustomResourceCheck, AnUnstampedLibraryIsNot) {
    EXPECT_FALSE(IsIntact(CustomerLibrary().Build()));
}

TEST(CustomResourceCheck, ADigestWithoutTheNameNeverMatches) {
    Bytes image = CustomerLibrary().Build();
    StampImage(&image, DigestSuffix::kNone);
    EXPECT_FALSE(IsIntact(image));
}

TEST(CustomResourceCheck, AnUpperCaseDigestNeverMatches) {
    Bytes image = StampedLibrary();
    const std::wstring digest = StoredDigest(image);
    const size_t position = FindText(image, digest);
    for (size_t i = 0; i < digest.size(); ++i)
        image[position + 2 * i] = static_cast<uint8_t>(towupper(digest[i]));
    ASSERT_NE(StoredDigest(image), digest) << "no letter among the digits";
    EXPECT_FALSE(IsIntact(image));
}

// Inside the slot the length or the digest changes, outside it the digested bytes do.
TEST(CustomResourceCheck, EveryChangedByteIsNoticed) {
    Bytes image = StampedLibrary();
    for (size_t i = 0; i < image.size(); ++i) {
        for (const int bits : {0x01, 0x80, 0xFF}) {
            const auto change = static_cast<uint8_t>(bits);
            image[i] ^= change;
            ASSERT_FALSE(IsIntact(image)) << "byte " << i << " changed by " << bits;
            image[i] ^= change;
        }
    }
    EXPECT_TRUE(IsIntact(image));
}

TEST(CustomResourceCheck, EveryMissingOrAddedByteAtTheEndIsNoticed) {
    const Bytes image = StampedLibrary();
    for (size_t bytes = 0; bytes < image.size(); ++bytes)
        ASSERT_FALSE(IsIntact({image.begin(), image.begin() + static_cast<ptrdiff_t>(bytes)})) << bytes;
    Bytes longer = image;
    longer.push_back(0);
    EXPECT_FALSE(IsIntact(longer));
}

// What a reader may have for string 18001, and the length that is reported of it.
struct StringCase {
    const char* name;
    std::wstring text;
    int32_t reportedChars;
};
void PrintTo(const StringCase& row, std::ostream* out) {
    *out << row.name;
}

class CustomResourceDigestLength : public testing::TestWithParam<StringCase> {};

TEST_P(CustomResourceDigestLength, IsReportedOnlyWhenItIsThirtyTwo) {
    ResourceLibrary library;
    library.SetString(18000, L"0");
    library.SetString(18001, GetParam().text);
    const Bytes image = library.Build();
    MemoryBytes bytes(image);
    int32_t chars = -1;
    EXPECT_FALSE(VerifyCustomResource(bytes, &chars, nullptr, 0));
    EXPECT_EQ(chars, GetParam().reportedChars);
}

INSTANTIATE_TEST_SUITE_P(Lengths, CustomResourceDigestLength,
                         testing::Values(StringCase{"None", L"", 0}, StringCase{"One", L"0", 0},
                                         StringCase{"ThirtyOne", std::wstring(31, L'0'), 0},
                                         StringCase{"ThirtyTwo", std::wstring(32, L'0'), 32},
                                         StringCase{"ThirtyThree", std::wstring(33, L'0'), 0},
                                         StringCase{"SixtyFour", std::wstring(64, L'0'), 0}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(CustomResourceCheck, WithoutStringsTheReportedLengthIsZero) {
    ResourceLibrary library;
    library.SetIcon(18001, 1, 2, 3);
    const Bytes image = library.Build();
    MemoryBytes bytes(image);
    int32_t chars = -1;
    EXPECT_FALSE(VerifyCustomResource(bytes, &chars, nullptr, 0));
    EXPECT_EQ(chars, 0);
}

TEST(CustomResourceCheck, TellsTheDigestThatTheLibraryShouldCarry) {
    const Bytes stamped = StampedLibrary();
    const Bytes unstamped = CustomerLibrary().Build();
    for (const Bytes& image : {stamped, unstamped}) {
        MemoryBytes bytes(image);
        wchar_t text[kCustomResourceDigestChars + 1];
        VerifyCustomResource(bytes, nullptr, text, kCustomResourceDigestChars + 1);
        EXPECT_EQ(text, StoredDigest(stamped));
    }
}

TEST(CustomResourceCheck, CutsTheDigestTextToItsBuffer) {
    const Bytes image = StampedLibrary();
    const std::wstring digest = StoredDigest(image);
    for (int32_t capacity = 0; capacity <= kCustomResourceDigestChars + 2; ++capacity) {
        MemoryBytes bytes(image);
        GuardedBuffer<wchar_t> text(static_cast<size_t>(capacity));
        EXPECT_TRUE(VerifyCustomResource(bytes, nullptr, text.data(), capacity));
        if (capacity == 0) continue;
        EXPECT_EQ(std::wstring(text.data()), digest.substr(0, static_cast<size_t>(capacity - 1)));
    }
}

TEST(CustomResourceCheck, WithoutASlotTheTextStaysUntouched) {
    ResourceLibrary library;
    library.SetString(18001, L"short");
    const Bytes image = library.Build();
    MemoryBytes bytes(image);
    GuardedBuffer<wchar_t> text(40);
    VerifyCustomResource(bytes, nullptr, text.data(), 40);
    EXPECT_EQ(text.WrittenExtent(), size_t{0});
}

// Says that it has the given size; what is behind the image cannot be read.
class MisstatedBytes final : public FileBytes {
  public:
    MisstatedBytes(const Bytes& image, uint64_t bytes) : image_(image), bytes_(bytes) {}
    uint64_t SizeInBytes() noexcept override { return bytes_; }
    bool ReadAt(uint64_t position, void* buffer, size_t bytes) noexcept override {
        return image_.ReadAt(position, buffer, bytes);
    }

  private:
    MemoryBytes image_;
    uint64_t bytes_;
};

TEST(CustomResourceCheck, AFileThatCannotBeReadInFullFails) {
    const Bytes image = StampedLibrary();
    for (const uint64_t bytes : {uint64_t{image.size() + 1}, uint64_t{0x80000000}, UINT64_MAX, uint64_t{0}}) {
        MisstatedBytes file(image, bytes);
        int32_t chars = -1;
        EXPECT_FALSE(VerifyCustomResource(file, &chars, nullptr, 0)) << bytes;
        EXPECT_EQ(chars, kCustomResourceDigestChars);
    }
}

TEST(CustomResourceCheck, AFileThatEndsWithinTheSlotFails) {
    const Bytes image = StampedLibrary();
    const uint64_t slot = FindText(image, StoredDigest(image)) - 2;
    for (const uint64_t bytes : {slot - 1, slot, slot + 1, slot + kCustomResourceSlotBytes - 1}) {
        MisstatedBytes shrunk(image, bytes);
        CustomResourceDigest digest;
        EXPECT_FALSE(ComputeCustomResourceDigest(shrunk, slot, digest)) << bytes;
    }
}

TEST(CustomResourceCheck, VerifiesAnOpenFile) {
    const TemporaryFile file(StampedLibrary());
    const KernelHandle handle = OpenFileRw(file.path().c_str(), false);
    int32_t chars = -1;
    wchar_t text[kCustomResourceDigestChars + 1];
    EXPECT_TRUE(VerifyCustomResourceFile(handle.get(), &chars, text, kCustomResourceDigestChars + 1));
    EXPECT_EQ(chars, kCustomResourceDigestChars);
    EXPECT_EQ(text, StoredDigest(StampedLibrary()));
}

TEST(CustomResourceCheck, AClosedOrMissingFileFails) {
    int32_t chars = -1;
    EXPECT_FALSE(VerifyCustomResourceFile(nullptr, &chars));
    EXPECT_EQ(chars, 0);
    EXPECT_FALSE(VerifyCustomResourceFile(INVALID_HANDLE_VALUE));
}

TEST(CustomResourceCheck, ALibraryOfMoreThanOneHundredMegabytesIsAcceptedWhenIntact) {
    Bytes image = CustomerLibrary().Build();
    image.resize(101 << 20);
    StampImage(&image);
    const TemporaryFile file(image);
    const KernelHandle handle = OpenFileRw(file.path().c_str(), false);
    EXPECT_TRUE(VerifyCustomResourceFile(handle.get()));
}

// Refused by its first bytes, without a look at the rest.
TEST(CustomResourceCheck, AFileOfMoreThanOneHundredMegabytesThatIsNoImageIsRefused) {
    const TemporaryFile file(Bytes(101 << 20, 'x'));
    const KernelHandle handle = OpenFileRw(file.path().c_str(), false);
    EXPECT_FALSE(VerifyCustomResourceFile(handle.get()));
}

}  // namespace
