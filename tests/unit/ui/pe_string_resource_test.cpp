#include "ui/pe_string_resource.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <optional>
#include <string>

#include "base/windows_api.h"
#include "tests/support/resource_library.h"

namespace {

constexpr uint16_t kId = 18001;
constexpr wchar_t kText[] = L"the wanted string";
constexpr uint16_t kChars = 17;

std::optional<PeString> Find(const Bytes& image, uint16_t id = kId) {
    MemoryBytes bytes(image);
    PeString found;
    if (!FindPeString(bytes, id, found)) return std::nullopt;
    return found;
}

Bytes LibraryWith(std::wstring_view text, ImageKind kind = ImageKind::k64Bit) {
    ResourceLibrary library;
    library.SetString(18000, L"0");
    library.SetString(kId, text);
    library.SetIcon(7, 1, 2, 3);
    return library.Build(kind);
}

// Views of the parts of an image that ResourceLibrary built.
template <typename Record>
Record& At(Bytes& image, size_t position) {
    return *reinterpret_cast<Record*>(image.data() + position);
}
IMAGE_FILE_HEADER& FileHeader(Bytes& image) {
    return At<IMAGE_FILE_HEADER>(image, sizeof(IMAGE_DOS_HEADER) + 4);
}
IMAGE_OPTIONAL_HEADER64& OptionalHeader(Bytes& image) {
    return At<IMAGE_OPTIONAL_HEADER64>(image, sizeof(IMAGE_DOS_HEADER) + 4 + sizeof(IMAGE_FILE_HEADER));
}
IMAGE_SECTION_HEADER& Section(Bytes& image) {
    return At<IMAGE_SECTION_HEADER>(image, sizeof(IMAGE_DOS_HEADER) + sizeof(IMAGE_NT_HEADERS64));
}
void SetEntry(Bytes& image, size_t position, uint32_t id, uint32_t target) {
    auto& entry = At<IMAGE_RESOURCE_DIRECTORY_ENTRY>(image, position);
    entry.Name = id;
    entry.OffsetToData = target;
}
constexpr size_t kResources = 0x200;
constexpr size_t kRootEntries = kResources + sizeof(IMAGE_RESOURCE_DIRECTORY);
constexpr uint32_t kSubdirectory = 0x80000000;

IMAGE_RESOURCE_DIRECTORY_ENTRY& Entry(Bytes& image, size_t directory, size_t index) {
    return At<IMAGE_RESOURCE_DIRECTORY_ENTRY>(
        image, kResources + directory + sizeof(IMAGE_RESOURCE_DIRECTORY) + index * 8);
}
// The entries on the way to the string table in LibraryWith's images: strings are the second of three types.
IMAGE_RESOURCE_DIRECTORY_ENTRY& TypeEntry(Bytes& image) {
    return Entry(image, 0, 1);
}
IMAGE_RESOURCE_DIRECTORY_ENTRY& TableEntry(Bytes& image) {
    return Entry(image, TypeEntry(image).OffsetToData & ~kSubdirectory, 0);
}
IMAGE_RESOURCE_DIRECTORY_ENTRY& LanguageEntry(Bytes& image) {
    return Entry(image, TableEntry(image).OffsetToData & ~kSubdirectory, 0);
}
IMAGE_RESOURCE_DATA_ENTRY& DataEntry(Bytes& image) {
    return At<IMAGE_RESOURCE_DATA_ENTRY>(image, kResources + LanguageEntry(image).OffsetToData);
}
uint16_t& FirstLength(Bytes& image) {
    return At<uint16_t>(image, kResources + DataEntry(image).OffsetToData - 0x1000);
}

TEST(PeStringResource, TellsLengthAndPositionOfTheLengthWord) {
    for (const ImageKind kind : {ImageKind::k64Bit, ImageKind::k32Bit}) {
        const Bytes image = LibraryWith(kText, kind);
        const auto found = Find(image);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->chars, kChars);
        EXPECT_EQ(found->position, FindText(image, kText) - 2);
    }
}

TEST(PeStringResource, FindsEveryStringOfATable) {
    ResourceLibrary library;
    for (uint16_t i = 0; i < 16; ++i)
        library.SetString(static_cast<uint16_t>(18000 + i), L"string " + std::to_wstring(i) + L".");
    const Bytes image = library.Build();
    for (uint16_t i = 0; i < 16; ++i) {
        const auto found = Find(image, static_cast<uint16_t>(18000 + i));
        ASSERT_TRUE(found) << i;
        EXPECT_EQ(found->position, FindText(image, L"string " + std::to_wstring(i) + L".") - 2) << i;
    }
}

TEST(PeStringResource, FindsTheFirstAndTheLastId) {
    ResourceLibrary library;
    library.SetString(0, L"first");
    library.SetString(0xFFFF, L"last one");
    const Bytes image = library.Build();
    EXPECT_EQ(Find(image, 0)->chars, 5);
    EXPECT_EQ(Find(image, 0xFFFF)->chars, 8);
}

TEST(PeStringResource, AStringMissingFromItsTableHasNoCharacters) {
    const auto found = Find(LibraryWith(kText), 18002);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->chars, 0);
}

TEST(PeStringResource, AMissingTableIsNotFound) {
    EXPECT_FALSE(Find(LibraryWith(kText), 18016));
    EXPECT_FALSE(Find(LibraryWith(kText), 17999));
}

TEST(PeStringResource, AnImageWithoutStringsIsNotFound) {
    ResourceLibrary library;
    library.SetIcon(kId, 1, 2, 3);
    EXPECT_FALSE(Find(library.Build()));
}

TEST(PeStringResource, OfSeveralLanguagesTheFirstListedCounts) {
    ResourceLibrary library;
    library.SetString(kId, L"English", ResourceLibrary::kEnglish);
    library.SetString(kId, L"Deutsch, hier", ResourceLibrary::kGerman);
    EXPECT_EQ(Find(library.Build())->chars, 13);
    library.SetString(kId, L"neutral and longer", ResourceLibrary::kNeutral);
    EXPECT_EQ(Find(library.Build())->chars, 18);
}

TEST(PeStringResource, FindsTheStringBehindThousandsOfTables) {
    ResourceLibrary library;
    for (uint16_t table = 0; table < 1200; ++table)
        library.SetString(static_cast<uint16_t>(table * 16), L"x");
    library.SetString(kId, kText);
    EXPECT_EQ(Find(library.Build())->chars, kChars);
}

TEST(PeStringResource, NeitherAnEmptyFileNorTextIsAnImage) {
    EXPECT_FALSE(Find({}));
    EXPECT_FALSE(Find(Bytes(4000, 'x')));
}

// One change to a sound image each, after which nothing is found.
struct Damage {
    const char* name;
    std::function<void(Bytes&)> apply;
};
void PrintTo(const Damage& damage, std::ostream* out) {
    *out << damage.name;
}

class PeStringResourceDamage : public testing::TestWithParam<Damage> {};

TEST_P(PeStringResourceDamage, IsNotFound) {
    Bytes image = LibraryWith(kText);
    ASSERT_TRUE(Find(image));
    GetParam().apply(image);
    EXPECT_FALSE(Find(image));
}

INSTANTIATE_TEST_SUITE_P(
    Headers, PeStringResourceDamage,
    testing::Values(
        Damage{"DosSignature", [](Bytes& i) { i[0] = 'N'; }},
        Damage{"NegativeHeaderOffset", [](Bytes& i) { At<IMAGE_DOS_HEADER>(i, 0).e_lfanew = -1; }},
        Damage{"HeaderOffsetPastTheEnd", [](Bytes& i) { At<IMAGE_DOS_HEADER>(i, 0).e_lfanew = 0x7FFFFFFF; }},
        Damage{"PeSignature", [](Bytes& i) { i[sizeof(IMAGE_DOS_HEADER)] = 'Q'; }},
        Damage{"NoSections", [](Bytes& i) { FileHeader(i).NumberOfSections = 0; }},
        Damage{"NoOptionalHeader", [](Bytes& i) { FileHeader(i).SizeOfOptionalHeader = 0; }},
        // The section table follows the shorter header, so that nothing else is wrong.
        Damage{"OptionalHeaderEndsBeforeTheDirectory",
               [](Bytes& i) {
                   constexpr WORD kBytes = offsetof(IMAGE_OPTIONAL_HEADER64, DataDirectory) + 23;
                   const IMAGE_SECTION_HEADER section = Section(i);
                   FileHeader(i).SizeOfOptionalHeader = kBytes;
                   memcpy(reinterpret_cast<uint8_t*>(&OptionalHeader(i)) + kBytes, &section, sizeof(section));
               }},
        Damage{"UnknownMagic", [](Bytes& i) { OptionalHeader(i).Magic = 0x107; }},
        Damage{"MagicOfTheOtherKind",
               [](Bytes& i) { OptionalHeader(i).Magic = IMAGE_NT_OPTIONAL_HDR32_MAGIC; }},
        Damage{"TooFewDirectories", [](Bytes& i) { OptionalHeader(i).NumberOfRvaAndSizes = 2; }},
        Damage{"NoResourceDirectory",
               [](Bytes& i) { OptionalHeader(i).DataDirectory[2].VirtualAddress = 0; }},
        Damage{"DirectoryBeforeTheSection",
               [](Bytes& i) { OptionalHeader(i).DataDirectory[2].VirtualAddress = 0xFFF; }},
        Damage{"DirectoryBehindTheSection",
               [](Bytes& i) { OptionalHeader(i).DataDirectory[2].VirtualAddress = 0x80000000; }}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Section, PeStringResourceDamage,
    testing::Values(
        Damage{"StartsPastTheEndOfTheFile", [](Bytes& i) { Section(i).PointerToRawData = 0x10000; }},
        Damage{"StartsAtTheHighestPosition", [](Bytes& i) { Section(i).PointerToRawData = 0xFFFFFFFF; }},
        Damage{"HasNoBytes", [](Bytes& i) { Section(i).SizeOfRawData = 0; }},
        Damage{"EndsWithinTheStrings",
               [](Bytes& i) {
                   Section(i).SizeOfRawData = static_cast<DWORD>(FindText(i, kText) - kResources + 4);
               }},
        Damage{"BeginsBehindTheDirectory", [](Bytes& i) { Section(i).VirtualAddress = 0x1001; }}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Directory, PeStringResourceDamage,
    testing::Values(
        Damage{"TypeIsALoopToTheRoot", [](Bytes& i) { TypeEntry(i).OffsetToData = kSubdirectory; }},
        Damage{"TableIsALoopToTheRoot", [](Bytes& i) { TableEntry(i).OffsetToData = kSubdirectory; }},
        Damage{"LanguageIsALoopToTheRoot", [](Bytes& i) { LanguageEntry(i).OffsetToData = kSubdirectory; }},
        Damage{"TypeIsNoSubdirectory", [](Bytes& i) { TypeEntry(i).OffsetToData &= ~kSubdirectory; }},
        Damage{"TableIsNoSubdirectory", [](Bytes& i) { TableEntry(i).OffsetToData &= ~kSubdirectory; }},
        Damage{"LanguageIsASubdirectory", [](Bytes& i) { LanguageEntry(i).OffsetToData |= kSubdirectory; }},
        Damage{"TypePastTheSection", [](Bytes& i) { TypeEntry(i).OffsetToData = 0xFFFFFFFF; }},
        Damage{"TableJustPastTheSection",
               [](Bytes& i) { TableEntry(i).OffsetToData = kSubdirectory | Section(i).SizeOfRawData; }},
        Damage{"LanguagePastTheSection", [](Bytes& i) { LanguageEntry(i).OffsetToData = 0x7FFFFFFF; }},
        Damage{"TypeHasAName", [](Bytes& i) { TypeEntry(i).Name |= 0x80000000; }},
        Damage{"MoreEntriesThanTheSectionHolds",
               [](Bytes& i) { At<IMAGE_RESOURCE_DIRECTORY>(i, kResources).NumberOfIdEntries = 0xFFFF; }},
        Damage{"NoEntries",
               [](Bytes& i) { At<IMAGE_RESOURCE_DIRECTORY>(i, kResources).NumberOfIdEntries = 0; }}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Table, PeStringResourceDamage,
    testing::Values(
        Damage{"IsBeforeTheSection", [](Bytes& i) { DataEntry(i).OffsetToData = 0xFFC; }},
        Damage{"IsPastTheSection", [](Bytes& i) { DataEntry(i).OffsetToData = 0x1000 + 0x10000; }},
        Damage{"IsAtTheHighestAddress", [](Bytes& i) { DataEntry(i).OffsetToData = 0xFFFFFFFF; }},
        Damage{"IsLongerThanTheSection", [](Bytes& i) { DataEntry(i).Size = 0xFFFFFFFF; }},
        Damage{"IsEmpty", [](Bytes& i) { DataEntry(i).Size = 0; }},
        Damage{"EndsBeforeTheString", [](Bytes& i) { DataEntry(i).Size = 5; }},
        Damage{"EndsWithinTheString", [](Bytes& i) { DataEntry(i).Size = 4 + 2 + 2 * kChars - 1; }},
        Damage{"FirstStringCoversTheRest", [](Bytes& i) { FirstLength(i) = 0xFFFF; }}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PeStringResource, ATableThatEndsWithTheStringIsEnough) {
    Bytes image = LibraryWith(kText);
    DataEntry(image).Size = 4 + 2 + 2 * kChars;
    EXPECT_TRUE(Find(image));
}

// The root as the directory of all three levels: the same entries are looked at three times, no more.
TEST(PeStringResource, DirectoriesMayOverlap) {
    Bytes image = LibraryWith(kText);
    const DWORD data = LanguageEntry(image).OffsetToData;
    SetEntry(image, kRootEntries, ResourceLibrary::kEnglish, data);
    SetEntry(image, kRootEntries + 8, 6, kSubdirectory);
    SetEntry(image, kRootEntries + 16, kId / 16 + 1, kSubdirectory);
    EXPECT_EQ(Find(image)->chars, kChars);
    SetEntry(image, kRootEntries, ResourceLibrary::kEnglish, kSubdirectory);
    EXPECT_FALSE(Find(image));
}

// The worst that 16-bit counts allow: 65535 sections, then three directories of 131070 entries each.
TEST(PeStringResource, TheLargestCountsCostFewReads) {
    constexpr uint32_t kSections = 0xFFFF;
    constexpr uint32_t kEntries = 2 * 0xFFFF;
    Bytes image = LibraryWith(kText);
    const size_t table = reinterpret_cast<uint8_t*>(&Section(image)) - image.data();
    IMAGE_SECTION_HEADER section = Section(image);
    const size_t resources = table + size_t{kSections} * sizeof(section);
    constexpr uint32_t kDirectoryBytes = sizeof(IMAGE_RESOURCE_DIRECTORY) + kEntries * 8;
    image.resize(resources + 4 * kDirectoryBytes);
    FileHeader(image).NumberOfSections = kSections;
    memset(&At<uint8_t>(image, table), 0, resources - table);
    section.PointerToRawData = static_cast<DWORD>(resources);
    section.SizeOfRawData = static_cast<DWORD>(image.size() - resources);
    At<IMAGE_SECTION_HEADER>(image, resources - sizeof(section)) = section;
    for (uint32_t level = 0; level < 3; ++level) {
        const size_t directory = resources + level * kDirectoryBytes;
        At<IMAGE_RESOURCE_DIRECTORY>(image, directory).NumberOfNamedEntries = 0xFFFF;
        At<IMAGE_RESOURCE_DIRECTORY>(image, directory).NumberOfIdEntries = 0xFFFF;
        const uint32_t id = level == 0 ? 6 : kId / 16 + 1;
        SetEntry(image, directory + kDirectoryBytes - 8, id, kSubdirectory | (level + 1) * kDirectoryBytes);
    }
    MemoryBytes bytes(image);
    PeString found;
    EXPECT_FALSE(FindPeString(bytes, kId, found));
    EXPECT_GT(bytes.reads(), 10000) << "the tables were not searched to their ends";
    EXPECT_LT(bytes.reads(), 15000);
}

}  // namespace
