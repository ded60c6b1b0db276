// Damaged customer libraries by the hundred thousand, from fixed seeds: none but the sound one is accepted,
// and none costs more than a bounded number of reads.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "tests/support/resource_library.h"
#include "ui/custom_resource_check.h"

namespace {

// What tables with the largest counts cost; see PeStringResource.TheLargestCountsCostFewReads.
constexpr int kMaxReads = 15000;

ResourceLibrary SeveralLanguages() {
    ResourceLibrary library = CustomerLibrary();
    library.SetString(18001, L"not 32 characters", 0x0C07);
    library.SetString(18003, L"Anschlüsse von Beispiel & Söhne", 0x0C07);
    library.SetString(1, L"another table");
    return library;
}

// A sound library that tests damage in place and put back.
class HostileLibrary : public testing::Test {
  protected:
    void Use(const ResourceLibrary& library, ImageKind kind) {
        image_ = library.Build(kind);
        StampImage(&image_);
        sound_ = image_;
        ASSERT_TRUE(IsAccepted());
    }

    bool IsAccepted() {
        ++checks_;
        MemoryBytes bytes(image_);
        const bool accepted = VerifyCustomResource(bytes, nullptr, nullptr, 0);
        EXPECT_LT(bytes.reads(), kMaxReads);
        return accepted;
    }

    bool DamageIsNoticed() { return IsAccepted() == (image_ == sound_); }

    // Overwrites a little-endian field; the part behind the end of the file is dropped.
    void SetField(size_t position, size_t width, uint32_t value) {
        memcpy(image_.data() + position, &value, std::min(width, image_.size() - position));
    }
    void Restore(size_t position, size_t bytes) {
        const auto from = sound_.begin() + static_cast<ptrdiff_t>(position);
        std::copy_n(from, std::min(bytes, sound_.size() - position),
                    image_.begin() + static_cast<ptrdiff_t>(position));
    }

    Bytes image_;
    Bytes sound_;
    int checks_ = 0;
    std::mt19937 random_{20161207};
};

TEST_F(HostileLibrary, EveryFieldAtEveryPositionWithEveryExtreme) {
    for (const ImageKind kind : {ImageKind::k64Bit, ImageKind::k32Bit}) {
        Use(CustomerLibrary(), kind);
        for (size_t position = 0; position < image_.size(); ++position) {
            for (const size_t width : {1, 2, 4}) {
                for (const uint32_t value : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFFu, uint32_t{random_()}}) {
                    SetField(position, width, value);
                    ASSERT_TRUE(DamageIsNoticed()) << position << " width " << width << " value " << value;
                    Restore(position, width);
                }
            }
        }
    }
    EXPECT_GE(checks_, 100000);
}

TEST_F(HostileLibrary, CutAtEveryByte) {
    for (const ImageKind kind : {ImageKind::k64Bit, ImageKind::k32Bit}) {
        Use(SeveralLanguages(), kind);
        while (!image_.empty()) {
            image_.pop_back();
            ASSERT_TRUE(DamageIsNoticed()) << image_.size() << " bytes left";
        }
    }
}

// Headers and directories point into each other in ways that no single field does.
TEST_F(HostileLibrary, SeveralRandomFieldsAtOnce) {
    constexpr size_t kDirectoriesEnd = 0x200 + 0x200;
    for (const ImageKind kind : {ImageKind::k64Bit, ImageKind::k32Bit}) {
        Use(SeveralLanguages(), kind);
        std::uniform_int_distribution<size_t> anyPosition(0, kDirectoriesEnd - 4);
        std::uniform_int_distribution<uint32_t> anyCount(2, 6);
        // Values near those that a sound file has reach deeper than arbitrary ones.
        std::uniform_int_distribution<uint32_t> anySmall(0, 0x1400);
        for (int i = 0; i < 50000; ++i) {
            for (uint32_t left = anyCount(random_); left > 0; --left) {
                const uint32_t flag = random_() & 0x80000000;
                SetField(anyPosition(random_) & ~size_t{1}, random_() % 2 == 0 ? 2 : 4,
                         flag | anySmall(random_));
            }
            ASSERT_TRUE(DamageIsNoticed()) << "round " << i;
            Restore(0, kDirectoriesEnd + 4);
        }
    }
    EXPECT_GE(checks_, 100000);
}

// One piece of the file over another: directories overlap, strings become directories.
TEST_F(HostileLibrary, PiecesCopiedOverOthers) {
    Use(SeveralLanguages(), ImageKind::k64Bit);
    for (int i = 0; i < 20000; ++i) {
        const size_t bytes = 1 + random_() % 64;
        const size_t from = random_() % (image_.size() - bytes);
        const size_t to = random_() % (image_.size() - bytes);
        memmove(image_.data() + to, image_.data() + from, bytes);
        ASSERT_TRUE(DamageIsNoticed()) << "round " << i;
        Restore(to, bytes);
    }
}

}  // namespace
