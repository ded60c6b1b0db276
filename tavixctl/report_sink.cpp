#include "tavixctl/report_sink.h"

#include <array>

#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"

namespace {

std::string Tried(const char* what, const std::wstring& path) {
    return std::string(what) + " " + Utf8(path);
}

FileHandle CreateNewFile(const std::wstring& path) {
    FileHandle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr));
    if (!file) RequireSuccess(GetLastError(), Tried("creating", path));
    return file;
}

void WriteWhole(const FileHandle& file, std::string_view bytes, const std::wstring& path) {
    DWORD written = 0;
    if (!WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        RequireSuccess(GetLastError(), Tried("writing", path));
    if (written != bytes.size()) RequireSuccess(ERROR_DISK_FULL, Tried("writing", path));
}

void CreateFolder(const std::wstring& path) {
    if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        RequireSuccess(GetLastError(), Tried("creating", path));
}

class FolderSink final : public ReportSink {
  public:
    explicit FolderSink(std::wstring folder) : folder_(std::move(folder)) { CreateFolder(folder_); }

    void Add(const std::string& name, std::string_view bytes) override {
        std::wstring path = folder_ + L"\\";
        for (const wchar_t c : Utf16(name)) {
            if (c == L'/') CreateFolder(path);
            path += c == L'/' ? L'\\' : c;
        }
        WriteWhole(CreateNewFile(path), bytes, path);
    }

  private:
    std::wstring folder_;
};

// Little-endian, as the format has all its numbers.
void Put(std::string& bytes, uint32_t number, int count) {
    for (int i = 0; i < count; ++i)
        bytes += static_cast<char>(number >> (8 * i) & 0xFF);
}

// The parts are stored as they are: reports are small, and every program can read them.
class ZipSink final : public ReportSink {
  public:
    explicit ZipSink(std::wstring path) : path_(std::move(path)), file_(CreateNewFile(path_)) {
        SYSTEMTIME now;
        GetLocalTime(&now);
        time_ = static_cast<uint32_t>(now.wHour << 11 | now.wMinute << 5 | now.wSecond / 2);
        date_ = static_cast<uint32_t>((now.wYear - 1980) << 9 | now.wMonth << 5 | now.wDay);
    }

    void Add(const std::string& name, std::string_view bytes) override {
        const std::string facts = Facts(name, bytes);
        Put(directory_, 0x02014B50, 4);
        Put(directory_, kVersion, 2);  // made by
        directory_ += facts;
        Put(directory_, 0, 2);        // comment
        Put(directory_, 0, 2);        // disk
        Put(directory_, 0, 2);        // internal attributes
        Put(directory_, 0, 4);        // external attributes
        Put(directory_, offset_, 4);  // of the part
        directory_ += name;
        ++parts_;
        std::string head;
        Put(head, 0x04034B50, 4);
        Write(head + facts + name);
        Write(bytes);
    }

    void Finish() override {
        std::string end;
        Put(end, 0x06054B50, 4);
        Put(end, 0, 2);  // this disk
        Put(end, 0, 2);  // the directory's disk
        Put(end, parts_, 2);
        Put(end, parts_, 2);
        Put(end, static_cast<uint32_t>(directory_.size()), 4);
        Put(end, offset_, 4);
        Put(end, 0, 2);  // comment
        Write(directory_ + end);
    }

  private:
    static constexpr uint32_t kVersion = 20;
    static constexpr uint32_t kNamesAreUtf8 = 1 << 11;

    // What a part's head and its line of the directory have in common.
    std::string Facts(const std::string& name, std::string_view bytes) const {
        std::string facts;
        Put(facts, kVersion, 2);  // needed
        Put(facts, kNamesAreUtf8, 2);
        Put(facts, 0, 2);  // not compressed
        Put(facts, time_, 2);
        Put(facts, date_, 2);
        Put(facts, Crc32(bytes), 4);
        Put(facts, static_cast<uint32_t>(bytes.size()), 4);
        Put(facts, static_cast<uint32_t>(bytes.size()), 4);
        Put(facts, static_cast<uint32_t>(name.size()), 2);
        Put(facts, 0, 2);  // extra
        return facts;
    }
    void Write(std::string_view bytes) {
        WriteWhole(file_, bytes, path_);
        offset_ += static_cast<uint32_t>(bytes.size());
    }

    std::wstring path_;
    FileHandle file_;
    uint32_t time_ = 0;
    uint32_t date_ = 0;
    uint32_t offset_ = 0;
    uint32_t parts_ = 0;
    std::string directory_;
};

constexpr std::array<uint32_t, 256> MakeCrcTable() {
    std::array<uint32_t, 256> table = {};
    for (uint32_t i = 0; i < table.size(); ++i) {
        uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320 : 0);
        table[i] = value;
    }
    return table;
}

constexpr std::array<uint32_t, 256> kCrcTable = MakeCrcTable();

}  // namespace

std::unique_ptr<ReportSink> OpenReport(const std::wstring& path) {
    constexpr std::wstring_view ending = L".zip";
    const bool isZip = path.size() > ending.size() &&
                       IsSameText(std::wstring_view(path).substr(path.size() - ending.size()), ending);
    if (isZip) return std::make_unique<ZipSink>(path);
    return std::make_unique<FolderSink>(path);
}

uint32_t Crc32(std::string_view bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes)
        crc = crc >> 8 ^ kCrcTable[(crc ^ static_cast<uint8_t>(byte)) & 0xFF];
    return ~crc;
}
