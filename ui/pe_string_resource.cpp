#include "ui/pe_string_resource.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>

#include "base/windows_api.h"

namespace {

constexpr uint32_t kStringsPerTable = 16;
constexpr uint16_t kStringTableType = 6;
constexpr uint32_t kSubdirectoryFlag = 0x80000000;

template <typename Record>
bool ReadRecord(FileBytes& file, uint64_t position, Record* record) noexcept {
    return file.ReadAt(position, record, sizeof(*record));
}

// The first record of a table for which `matches` is true. Reads a few at a time: a damaged count costs at
// most some thousand reads and no memory.
template <typename Record, typename Predicate>
bool FindRecord(FileBytes& file, uint64_t position, uint32_t count, Predicate matches,
                Record* found) noexcept {
    Record batch[32];
    for (uint32_t done = 0; done < count;) {
        const uint32_t taken = std::min(count - done, static_cast<uint32_t>(std::size(batch)));
        if (!file.ReadAt(position + uint64_t{done} * sizeof(Record), batch, taken * sizeof(Record)))
            return false;
        const Record* const match = std::find_if(batch, batch + taken, matches);
        if (match != batch + taken) {
            *found = *match;
            return true;
        }
        done += taken;
    }
    return false;
}

struct ImageHeaders {
    uint64_t optionalHeader;  // file position
    uint64_t sectionTable;    // file position
    uint32_t optionalHeaderBytes;
    uint32_t sections;
};

bool ReadImageHeaders(FileBytes& file, ImageHeaders* headers) noexcept {
    IMAGE_DOS_HEADER dos;
    if (!ReadRecord(file, 0, &dos) || dos.e_magic != IMAGE_DOS_SIGNATURE) return false;
    const uint64_t start = static_cast<uint32_t>(dos.e_lfanew);
    DWORD signature;
    if (!ReadRecord(file, start, &signature) || signature != IMAGE_NT_SIGNATURE) return false;
    IMAGE_FILE_HEADER image;
    if (!ReadRecord(file, start + sizeof(signature), &image)) return false;
    headers->optionalHeader = start + sizeof(signature) + sizeof(image);
    headers->optionalHeaderBytes = image.SizeOfOptionalHeader;
    headers->sectionTable = headers->optionalHeader + image.SizeOfOptionalHeader;
    headers->sections = image.NumberOfSections;
    return true;
}

// Where the data directories begin in the optional header; 32-bit and 64-bit images differ in it.
std::optional<uint32_t> DataDirectoriesOffset(WORD magic) noexcept {
    if (magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC) return offsetof(IMAGE_OPTIONAL_HEADER64, DataDirectory);
    if (magic == IMAGE_NT_OPTIONAL_HDR32_MAGIC) return offsetof(IMAGE_OPTIONAL_HEADER32, DataDirectory);
    return std::nullopt;
}

bool ReadResourceDataDirectory(FileBytes& file, const ImageHeaders& headers,
                               IMAGE_DATA_DIRECTORY* directory) noexcept {
    WORD magic;
    if (!ReadRecord(file, headers.optionalHeader, &magic)) return false;
    const std::optional<uint32_t> directories = DataDirectoriesOffset(magic);
    if (!directories) return false;
    constexpr uint32_t kEntryBytes = sizeof(IMAGE_DATA_DIRECTORY);
    const uint32_t entry = *directories + IMAGE_DIRECTORY_ENTRY_RESOURCE * kEntryBytes;
    if (entry + kEntryBytes > headers.optionalHeaderBytes) return false;
    DWORD count;  // just before the directories in both kinds
    return ReadRecord(file, headers.optionalHeader + *directories - sizeof(count), &count) &&
           count > IMAGE_DIRECTORY_ENTRY_RESOURCE &&
           ReadRecord(file, headers.optionalHeader + entry, directory) && directory->VirtualAddress != 0;
}

// The resource section from the resource directory's first byte to the section's end in the file. Offsets
// count from that byte.
struct ResourceSection {
    FileBytes& file;
    uint64_t position;  // in the file
    uint32_t bytes;
    uint32_t address;  // in the loaded image

    bool Holds(uint32_t offset, uint64_t length) const noexcept {
        return offset <= bytes && length <= bytes - offset;
    }
    template <typename Record>
    bool Read(uint32_t offset, Record* record) const noexcept {
        return Holds(offset, sizeof(*record)) && ReadRecord(file, position + offset, record);
    }
};

std::optional<ResourceSection> FindResourceSection(FileBytes& file) noexcept {
    ImageHeaders headers;
    IMAGE_DATA_DIRECTORY directory;
    if (!ReadImageHeaders(file, &headers) || !ReadResourceDataDirectory(file, headers, &directory))
        return std::nullopt;
    const DWORD address = directory.VirtualAddress;
    const auto holdsAddress = [address](const IMAGE_SECTION_HEADER& section) {
        return address >= section.VirtualAddress && address - section.VirtualAddress < section.SizeOfRawData;
    };
    IMAGE_SECTION_HEADER section;
    if (!FindRecord(file, headers.sectionTable, headers.sections, holdsAddress, &section))
        return std::nullopt;
    const uint32_t before = address - section.VirtualAddress;
    return ResourceSection{file, uint64_t{section.PointerToRawData} + before, section.SizeOfRawData - before,
                           address};
}

enum class EntryKind { kSubdirectory, kData };

// Finds the entry with that ID, or without an ID the first entry, in the directory at *offset, and replaces
// *offset by the entry's target. False also when the target is of the other kind.
bool FollowEntry(const ResourceSection& section, std::optional<uint16_t> id, EntryKind kind,
                 uint32_t* offset) noexcept {
    IMAGE_RESOURCE_DIRECTORY directory;
    if (!section.Read(*offset, &directory)) return false;
    const uint32_t count = uint32_t{directory.NumberOfNamedEntries} + directory.NumberOfIdEntries;
    const uint32_t entries = *offset + static_cast<uint32_t>(sizeof(directory));
    if (!section.Holds(entries, uint64_t{count} * sizeof(IMAGE_RESOURCE_DIRECTORY_ENTRY))) return false;
    // The highest bit marks an entry that has a name instead of an ID.
    const auto matches = [id](const IMAGE_RESOURCE_DIRECTORY_ENTRY& entry) {
        return !id || entry.Name == *id;
    };
    IMAGE_RESOURCE_DIRECTORY_ENTRY entry;
    if (!FindRecord(section.file, section.position + entries, count, matches, &entry)) return false;
    *offset = entry.OffsetToData & ~kSubdirectoryFlag;
    const bool isSubdirectory = (entry.OffsetToData & kSubdirectoryFlag) != 0;
    return isSubdirectory == (kind == EntryKind::kSubdirectory);
}

// The tree has exactly three levels (type, table, language). Taking one step per level ends even when the
// offsets form a loop.
bool FindStringTable(const ResourceSection& section, uint16_t table,
                     IMAGE_RESOURCE_DATA_ENTRY* data) noexcept {
    uint32_t offset = 0;
    return FollowEntry(section, kStringTableType, EntryKind::kSubdirectory, &offset) &&
           FollowEntry(section, table, EntryKind::kSubdirectory, &offset) &&
           FollowEntry(section, std::nullopt, EntryKind::kData, &offset) && section.Read(offset, data);
}

// The table's strings follow each other, so each is found by skipping those before it.
bool FindInTable(const ResourceSection& section, const IMAGE_RESOURCE_DATA_ENTRY& data, uint32_t index,
                 PeString& found) noexcept {
    // An address before the section wraps to an offset far beyond it.
    const uint32_t table = data.OffsetToData - section.address;
    if (!section.Holds(table, data.Size)) return false;
    uint32_t used = 0;
    for (uint32_t i = 0;; ++i) {
        uint16_t chars;
        if (data.Size - used < sizeof(chars) || !section.Read(table + used, &chars)) return false;
        const uint32_t stringBytes = static_cast<uint32_t>(sizeof(chars)) + chars * 2u;
        if (data.Size - used < stringBytes) return false;
        if (i == index) {
            found = {section.position + table + used, chars};
            return true;
        }
        used += stringBytes;
    }
}

}  // namespace

bool FindPeString(FileBytes& file, uint16_t stringId, PeString& found) noexcept {
    const std::optional<ResourceSection> section = FindResourceSection(file);
    IMAGE_RESOURCE_DATA_ENTRY table;
    return section &&
           FindStringTable(*section, static_cast<uint16_t>(stringId / kStringsPerTable + 1), &table) &&
           FindInTable(*section, table, stringId % kStringsPerTable, found);
}
