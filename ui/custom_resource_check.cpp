#include "ui/custom_resource_check.h"

#include <algorithm>
#include <iterator>

#include "base/bounded_text.h"
#include "base/files.h"
#include "base/heap_array.h"
#include "base/md5.h"
#include "base/xfmt.h"

namespace {

// Appended before digesting, terminator included, so that the plain digest of a file never matches.
constexpr char kDigestSuffix[] = "tavix_customres.dll";
static_assert(sizeof(kDigestSuffix) == 20);

// An image of 2 GB or more cannot be loaded.
constexpr uint64_t kMaxImageBytes = INT32_MAX;

}  // namespace

uint64_t HandleBytes::SizeInBytes() noexcept {
    const int64_t bytes = GetFileSizeOf(file_);
    return bytes > 0 ? static_cast<uint64_t>(bytes) : 0;
}

bool HandleBytes::ReadAt(uint64_t position, void* buffer, size_t bytes) noexcept {
    if (bytes > kMaxImageBytes || position > kMaxImageBytes) return false;
    const auto wanted = static_cast<uint32_t>(bytes);
    return ReadFileAt(file_, static_cast<int64_t>(position), wanted, buffer) == int64_t{wanted};
}

bool FindCustomResourceSlot(FileBytes& file, uint64_t& slotPosition) noexcept {
    PeString string;
    if (!FindPeString(file, kCustomResourceDigestString, string)) return false;
    if (string.chars != kCustomResourceDigestChars) return false;
    slotPosition = string.position;
    return true;
}

bool ComputeCustomResourceDigest(FileBytes& file, uint64_t slotPosition,
                                 CustomResourceDigest& digest) noexcept {
    const uint64_t fileBytes = file.SizeInBytes();
    if (fileBytes > kMaxImageBytes || slotPosition > fileBytes ||
        fileBytes - slotPosition < kCustomResourceSlotBytes)
        return false;
    HeapArray<uint8_t> content;
    if (!content.Resize(fileBytes) || !file.ReadAt(0, content.data(), fileBytes)) return false;
    const uint64_t slotEnd = slotPosition + kCustomResourceSlotBytes;
    Md5 md5;
    md5.Add(content.data(), slotPosition);
    md5.Add(content.data() + slotEnd, fileBytes - slotEnd);
    md5.Add(kDigestSuffix, sizeof(kDigestSuffix));
    const Md5::Digest bytes = md5.Finish();
    xfmt(digest, kCustomResourceDigestChars + 1, L"%16m", bytes.data());
    return true;
}

bool VerifyCustomResource(FileBytes& file, int32_t* digestChars, wchar_t* text,
                          int32_t textCapacity) noexcept {
    uint64_t slotPosition;
    const bool hasSlot = FindCustomResourceSlot(file, slotPosition);
    if (digestChars != nullptr) *digestChars = hasSlot ? kCustomResourceDigestChars : 0;
    wchar_t stored[kCustomResourceDigestChars];
    CustomResourceDigest actual;
    if (!hasSlot || !file.ReadAt(slotPosition + sizeof(uint16_t), stored, sizeof(stored)) ||
        !ComputeCustomResourceDigest(file, slotPosition, actual))
        return false;
    if (text != nullptr && textCapacity > 0)
        CopyBounded(text, static_cast<size_t>(textCapacity), {actual, kCustomResourceDigestChars});
    return std::equal(std::begin(stored), std::end(stored), actual);
}

bool VerifyCustomResourceFile(HANDLE file, int32_t* digestChars, wchar_t* text,
                              int32_t textCapacity) noexcept {
    HandleBytes bytes(file);
    return VerifyCustomResource(bytes, digestChars, text, textCapacity);
}
