#include "hosttools/customres_stamp/stamp.h"

#include <cstring>
#include <optional>
#include <vector>

#include "base/last_error.h"
#include "base/win32_handle.h"
#include "ui/custom_resource_check.h"

namespace {

constexpr uint16_t kSwitchString = 18000;

std::wstring SystemText(const wchar_t* what, DWORD error) {
    return std::wstring(what) + L" (Windows error " + std::to_wstring(error) + L")";
}

// Of opening the library.
std::wstring OpenFailure() {
    const DWORD error = FailureCode();
    const bool isMissing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    return SystemText(isMissing ? L"there is no such file" : L"the file cannot be opened", error);
}

StampResult Failed(std::wstring error) {
    return {StampOutcome::kFailed, L"", std::move(error)};
}

FileHandle OpenForReading(const std::wstring& path) {
    return FileHandle(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

struct Library {
    std::vector<uint8_t> content;
    uint64_t slotPosition = 0;
    CustomResourceDigest digest = {};
};

// Nothing when the library can be stamped, otherwise what is wrong with it.
std::optional<std::wstring> ReadLibrary(HANDLE file, Library* library) {
    HandleBytes bytes(file);
    PeString slot;
    if (!FindPeString(bytes, kCustomResourceDigestString, slot))
        return L"there is no string 18001: either this is no PE file or it has no string table 1126";
    if (slot.chars != kCustomResourceDigestChars)
        return L"string 18001 has " + std::to_wstring(slot.chars) +
               L" characters; it needs 32 (for example 32 zeros)";
    library->slotPosition = slot.position;
    // Refuses what no memory would hold, before that memory is asked for.
    if (!ComputeCustomResourceDigest(bytes, slot.position, library->digest))
        return L"the file cannot be read in full, or it is larger than a library can be";
    library->content.resize(bytes.SizeInBytes());
    if (library->content.size() < slot.position + kCustomResourceSlotBytes ||
        !bytes.ReadAt(0, library->content.data(), library->content.size()))
        return SystemText(L"the file cannot be read", FailureCode());
    return std::nullopt;
}

// Deletes the file at the end of the scope unless it was renamed away.
class TemporaryFile {
  public:
    explicit TemporaryFile(std::wstring path) : path_(std::move(path)) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!renamed_) DeleteFileW(path_.c_str());
    }

    bool Write(const std::vector<uint8_t>& content) const {
        const FileHandle file(CreateFileW(path_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD written = 0;
        return file &&
               WriteFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr) &&
               written == content.size() && FlushFileBuffers(file.get());
    }
    bool IsIntactLibrary() const {
        const FileHandle file = OpenForReading(path_);
        return file && VerifyCustomResourceFile(file.get());
    }
    bool RenameTo(const std::wstring& target) {
        renamed_ =
            MoveFileExW(path_.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
        return renamed_;
    }

  private:
    std::wstring path_;
    bool renamed_ = false;
};

StampResult ReplaceLibrary(const std::wstring& path, const Library& library) {
    TemporaryFile replacement(path + L".stamping");
    if (!replacement.Write(library.content))
        return Failed(SystemText(L"the stamped file cannot be written", FailureCode()));
    if (!replacement.IsIntactLibrary()) return Failed(L"the stamped file does not verify");
    if (!replacement.RenameTo(path))
        return Failed(SystemText(L"the file cannot be replaced; is it in use or read-only?", FailureCode()));
    return {StampOutcome::kStamped, library.digest, L""};
}

}  // namespace

StampResult CheckLibrary(const std::wstring& path) {
    const FileHandle file = OpenForReading(path);
    if (!file) return Failed(OpenFailure());
    Library library;
    if (const auto error = ReadLibrary(file.get(), &library)) return Failed(*error);
    if (!VerifyCustomResourceFile(file.get()))
        return Failed(L"the digest in string 18001 is not that of the file");
    return {StampOutcome::kAlreadyStamped, library.digest, L""};
}

StampResult StampLibrary(const std::wstring& path) {
    Library library;
    {
        const FileHandle file = OpenForReading(path);
        if (!file) return Failed(OpenFailure());
        if (const auto error = ReadLibrary(file.get(), &library)) return Failed(*error);
        if (VerifyCustomResourceFile(file.get())) return {StampOutcome::kAlreadyStamped, library.digest, L""};
    }
    if (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) return Failed(L"the file is read-only");
    std::memcpy(&library.content[library.slotPosition + sizeof(uint16_t)], library.digest,
                kCustomResourceDigestChars * sizeof(wchar_t));
    return ReplaceLibrary(path, library);
}

bool IsLibrarySwitchedOff(const std::wstring& path) {
    const FileHandle file = OpenForReading(path);
    HandleBytes bytes(file.get());
    PeString found;
    wchar_t first = L'0';
    return file && FindPeString(bytes, kSwitchString, found) && found.chars > 0 &&
           bytes.ReadAt(found.position + sizeof(uint16_t), &first, sizeof(first)) && first >= L'1' &&
           first <= L'9';
}
