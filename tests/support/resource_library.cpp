#include "tests/support/resource_library.h"

#include <gtest/gtest.h>

#include <cstring>

#include "base/windows_api.h"

#include <wincrypt.h>

namespace {

constexpr uint32_t kFileAlignment = 0x200;
constexpr uint32_t kSectionAlignment = 0x1000;
constexpr uint32_t kHeaderBytes = kFileAlignment;
constexpr uint16_t kIconType = 3;
constexpr uint16_t kStringType = 6;
constexpr uint16_t kIconGroupType = 14;
constexpr wchar_t kUnstampedDigest[] = L"00000000000000000000000000000000";

template <typename Value>
void Put(Bytes* out, const Value& value) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&value);
    out->insert(out->end(), bytes, bytes + sizeof(value));
}

template <typename Value>
void PutAt(Bytes* out, size_t position, const Value& value) {
    memcpy(out->data() + position, &value, sizeof(value));
}

uint32_t AlignUp(size_t value, uint32_t alignment) {
    return static_cast<uint32_t>((value + alignment - 1) / alignment * alignment);
}

Bytes StringTable(uint16_t table, const std::map<uint16_t, std::wstring>& strings) {
    Bytes content;
    for (uint32_t i = 0; i < 16; ++i) {
        const auto found = strings.find(static_cast<uint16_t>((table - 1) * 16 + i));
        const std::wstring text = found != strings.end() ? found->second : L"";
        Put(&content, static_cast<uint16_t>(text.size()));
        for (const wchar_t c : text)
            Put(&content, c);
    }
    return content;
}

using LanguageTree = std::map<uint16_t, Bytes>;
using IdTree = std::map<uint16_t, LanguageTree>;
using TypeTree = std::map<uint16_t, IdTree>;

// The directories of all three levels, then the data entries, then the data.
class DirectoryWriter {
  public:
    explicit DirectoryWriter(const TypeTree& tree) : tree_(tree) {}

    Bytes Write() {
        WriteDirectory(tree_);
        AppendDataEntries();
        return out_;
    }

  private:
    uint32_t Position() const { return static_cast<uint32_t>(out_.size()); }

    template <typename Tree>
    void WriteDirectory(const Tree& tree) {
        IMAGE_RESOURCE_DIRECTORY directory = {};
        directory.NumberOfIdEntries = static_cast<WORD>(tree.size());
        Put(&out_, directory);
        size_t entry = out_.size();
        for (const auto& child : tree)
            Put(&out_, IMAGE_RESOURCE_DIRECTORY_ENTRY{{{child.first}}, {{0}}});
        for (const auto& child : tree) {
            const size_t target = entry + offsetof(IMAGE_RESOURCE_DIRECTORY_ENTRY, OffsetToData);
            if constexpr (std::is_same_v<Tree, LanguageTree>) {
                dataEntryFields_.push_back(target);
                data_.push_back(&child.second);
            } else {
                PutAt(&out_, target, Position() | 0x80000000);
                WriteDirectory(child.second);
            }
            entry += sizeof(IMAGE_RESOURCE_DIRECTORY_ENTRY);
        }
    }

    void AppendDataEntries() {
        std::vector<size_t> entries;
        for (size_t i = 0; i < data_.size(); ++i) {
            entries.push_back(out_.size());
            PutAt(&out_, dataEntryFields_[i], Position());
            Put(&out_, IMAGE_RESOURCE_DATA_ENTRY{0, static_cast<DWORD>(data_[i]->size()), 0, 0});
        }
        for (size_t i = 0; i < data_.size(); ++i) {
            out_.resize(AlignUp(out_.size(), 4));
            PutAt(&out_, entries[i], kSectionAlignment + Position());
            out_.insert(out_.end(), data_[i]->begin(), data_[i]->end());
        }
    }

    const TypeTree& tree_;
    Bytes out_;
    std::vector<size_t> dataEntryFields_;
    std::vector<const Bytes*> data_;
};

template <typename OptionalHeader>
OptionalHeader MakeOptionalHeader(WORD magic, uint32_t resourceBytes) {
    OptionalHeader header = {};
    header.Magic = magic;
    header.ImageBase = 0x10000000;
    header.SectionAlignment = kSectionAlignment;
    header.FileAlignment = kFileAlignment;
    header.MajorOperatingSystemVersion = header.MajorSubsystemVersion = 5;
    header.SizeOfImage = kSectionAlignment + AlignUp(resourceBytes, kSectionAlignment);
    header.SizeOfHeaders = kHeaderBytes;
    header.Subsystem = IMAGE_SUBSYSTEM_WINDOWS_GUI;
    header.DllCharacteristics = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
    header.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    header.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE] = {kSectionAlignment, resourceBytes};
    return header;
}

Bytes Headers(ImageKind kind, uint32_t resourceBytes) {
    const bool wide = kind == ImageKind::k64Bit;
    Bytes out;
    IMAGE_DOS_HEADER dos = {};
    dos.e_magic = IMAGE_DOS_SIGNATURE;
    dos.e_lfanew = sizeof(dos);
    Put(&out, dos);
    Put(&out, DWORD{IMAGE_NT_SIGNATURE});
    IMAGE_FILE_HEADER file = {};
    file.Machine = wide ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386;
    file.NumberOfSections = 1;
    file.SizeOfOptionalHeader = wide ? sizeof(IMAGE_OPTIONAL_HEADER64) : sizeof(IMAGE_OPTIONAL_HEADER32);
    file.Characteristics = IMAGE_FILE_EXECUTABLE_IMAGE | IMAGE_FILE_DLL | IMAGE_FILE_LARGE_ADDRESS_AWARE;
    Put(&out, file);
    if (wide)
        Put(&out, MakeOptionalHeader<IMAGE_OPTIONAL_HEADER64>(IMAGE_NT_OPTIONAL_HDR64_MAGIC, resourceBytes));
    else
        Put(&out, MakeOptionalHeader<IMAGE_OPTIONAL_HEADER32>(IMAGE_NT_OPTIONAL_HDR32_MAGIC, resourceBytes));
    IMAGE_SECTION_HEADER section = {};
    memcpy(section.Name, ".rsrc", 5);
    section.Misc.VirtualSize = resourceBytes;
    section.VirtualAddress = kSectionAlignment;
    section.SizeOfRawData = AlignUp(resourceBytes, kFileAlignment);
    section.PointerToRawData = kHeaderBytes;
    section.Characteristics = IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ;
    Put(&out, section);
    out.resize(kHeaderBytes);
    return out;
}

Bytes SystemMd5(const std::vector<std::pair<const uint8_t*, size_t>>& pieces) {
    HCRYPTPROV provider = 0;
    HCRYPTHASH hash = 0;
    Bytes digest(16);
    auto bytes = static_cast<DWORD>(digest.size());
    EXPECT_TRUE(CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT));
    EXPECT_TRUE(CryptCreateHash(provider, CALG_MD5, 0, 0, &hash));
    for (const auto& [data, size] : pieces)
        EXPECT_TRUE(CryptHashData(hash, data, static_cast<DWORD>(size), 0));
    EXPECT_TRUE(CryptGetHashParam(hash, HP_HASHVAL, digest.data(), &bytes, 0));
    CryptDestroyHash(hash);
    CryptReleaseContext(provider, 0);
    return digest;
}

}  // namespace

void ResourceLibrary::SetString(uint16_t id, std::wstring_view text, uint16_t language) {
    const auto table = static_cast<uint16_t>(id / 16 + 1);
    auto& strings = strings_[{table, language}];
    strings[id] = text;
    SetResource(kStringType, table, language, StringTable(table, strings));
}

void ResourceLibrary::SetIcon(uint16_t id, uint8_t red, uint8_t green, uint8_t blue) {
    constexpr int kSide = 16;
    Bytes icon;
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = kSide;
    header.biHeight = kSide * 2;  // the colors, then the mask
    header.biPlanes = 1;
    header.biBitCount = 32;
    Put(&icon, header);
    for (int i = 0; i < kSide * kSide; ++i)
        icon.insert(icon.end(), {blue, green, red, 0xFF});
    icon.resize(icon.size() + kSide * 4);
    Bytes group;
    for (const int word : {0, 1, 1})
        Put(&group, static_cast<WORD>(word));  // reserved, icon, one image
    group.insert(group.end(), {kSide, kSide, 0, 0});
    for (const int word : {1, 32})
        Put(&group, static_cast<WORD>(word));
    Put(&group, static_cast<DWORD>(icon.size()));
    Put(&group, id);
    SetResource(kIconType, id, kEnglish, icon);
    SetResource(kIconGroupType, id, kEnglish, group);
}

void ResourceLibrary::SetResource(uint16_t type, uint16_t id, uint16_t language, Bytes content) {
    tree_[type][id][language] = std::move(content);
}

Bytes ResourceLibrary::Build(ImageKind kind) const {
    const Bytes resources = DirectoryWriter(tree_).Write();
    Bytes image = Headers(kind, static_cast<uint32_t>(resources.size()));
    image.insert(image.end(), resources.begin(), resources.end());
    image.resize(AlignUp(image.size(), kFileAlignment));
    return image;
}

ResourceLibrary CustomerLibrary() {
    ResourceLibrary library;
    library.SetString(18000, L"0");
    library.SetString(18001, kUnstampedDigest);
    library.SetString(18003, L"Ports by Example & Sons");
    library.SetString(18004, L"1");
    library.SetIcon(18001, 0xC0, 0x10, 0x20);
    library.SetIcon(18002, 0x20, 0x80, 0x30);
    return library;
}

size_t FindText(const Bytes& image, std::wstring_view text) {
    const std::string_view bytes(reinterpret_cast<const char*>(image.data()), image.size());
    const std::string_view wanted(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
    const size_t position = bytes.find(wanted);
    EXPECT_NE(position, std::string_view::npos);
    EXPECT_EQ(bytes.find(wanted, position + 1), std::string_view::npos);
    return position;
}

void StampImage(Bytes* image, DigestSuffix suffix) {
    static constexpr uint8_t kSuffix[] = "tavix_customres.dll";
    const size_t text = FindText(*image, kUnstampedDigest);
    const size_t slotEnd = text + 64;
    const Bytes digest = SystemMd5({{image->data(), text - 2},
                                    {image->data() + slotEnd, image->size() - slotEnd},
                                    {kSuffix, suffix == DigestSuffix::kLibraryName ? sizeof(kSuffix) : 0}});
    for (size_t i = 0; i < digest.size(); ++i) {
        static constexpr wchar_t kDigits[] = L"0123456789abcdef";
        PutAt(image, text + 4 * i, kDigits[digest[i] >> 4]);
        PutAt(image, text + 4 * i + 2, kDigits[digest[i] & 15]);
    }
}

bool MemoryBytes::ReadAt(uint64_t position, void* buffer, size_t bytes) noexcept {
    ++reads_;
    if (position > image_.size() || bytes > image_.size() - position) return false;
    memcpy(buffer, image_.data() + position, bytes);
    return true;
}
