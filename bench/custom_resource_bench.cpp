// What a customer's resource library costs whenever the module is loaded, and the speed of its digest beside
// the system's own providers.
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <bcrypt.h>
#include <psapi.h>
#include <wincrypt.h>

#include "base/files.h"
#include "base/md5.h"
#include "base/win32_handle.h"
#include "bench/harness.h"
#include "hosttools/customres_stamp/stamp.h"
#include "ui/custom_resource_check.h"

namespace {

std::string BytesName(size_t bytes) {
    if (bytes < 1024) return std::to_string(bytes) + " bytes";
    if (bytes < 1024 * 1024) return std::to_string(bytes / 1024) + " KB";
    return std::to_string(bytes / (1024 * 1024)) + " MB";
}

// MD5 -------------------------------------------------------------------------------------------------------

Md5::Digest OwnDigest(const std::vector<uint8_t>& data) {
    Md5 md5;
    md5.Add(data.data(), data.size());
    return md5.Finish();
}

class CryptoApi {
  public:
    CryptoApi() { CryptAcquireContextW(&provider_, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT); }
    ~CryptoApi() { CryptReleaseContext(provider_, 0); }
    CryptoApi(const CryptoApi&) = delete;
    CryptoApi& operator=(const CryptoApi&) = delete;

    Md5::Digest operator()(const std::vector<uint8_t>& data) const {
        Md5::Digest digest = {};
        DWORD bytes = digest.size();
        HCRYPTHASH hash = 0;
        CryptCreateHash(provider_, CALG_MD5, 0, 0, &hash);
        CryptHashData(hash, data.data(), static_cast<DWORD>(data.size()), 0);
        CryptGetHashParam(hash, HP_HASHVAL, digest.data(), &bytes, 0);
        CryptDestroyHash(hash);
        return digest;
    }

  private:
    HCRYPTPROV provider_ = 0;
};

class Cng {
  public:
    Cng() { BCryptOpenAlgorithmProvider(&provider_, BCRYPT_MD5_ALGORITHM, nullptr, 0); }
    ~Cng() { BCryptCloseAlgorithmProvider(provider_, 0); }
    Cng(const Cng&) = delete;
    Cng& operator=(const Cng&) = delete;

    Md5::Digest operator()(const std::vector<uint8_t>& data) const {
        Md5::Digest digest = {};
        BCRYPT_HASH_HANDLE hash = nullptr;
        BCryptCreateHash(provider_, &hash, nullptr, 0, nullptr, 0, 0);
        BCryptHashData(hash, const_cast<PUCHAR>(data.data()), static_cast<ULONG>(data.size()), 0);
        BCryptFinishHash(hash, digest.data(), static_cast<ULONG>(digest.size()), 0);
        BCryptDestroyHash(hash);
        return digest;
    }

  private:
    BCRYPT_ALG_HANDLE provider_ = nullptr;
};

template <typename Peer>
bool BenchDigest(const char* peerName) {
    const Peer peer;
    PrintBenchHeader("MD5", "ours", peerName);
    for (const size_t bytes : {size_t{64}, size_t{1024}, size_t{16} << 10, size_t{1} << 20}) {
        const std::vector<uint8_t> data(bytes, 0x5A);
        if (OwnDigest(data) != peer(data)) return false;
        BenchCompare(
            BytesName(bytes).c_str(), [&] { KeepResult(OwnDigest(data)); }, [&] { KeepResult(peer(data)); },
            {1.0});
    }
    const std::vector<uint8_t> data(size_t{1} << 20, 0x5A);
    const double seconds = MeasureMedian([&] { KeepResult(OwnDigest(data)); });
    std::printf("  ours: %.0f MB/s\n", static_cast<double>(data.size()) / seconds / 1e6);
    return true;
}

// Loading the module ----------------------------------------------------------------------------------------

// The sample library in the package folder, stamped and filled up with zeros to the wanted size. A library
// that is there already is put aside meanwhile.
class InstalledSample {
  public:
    explicit InstalledSample(size_t bytes) {
        wchar_t folder[MAX_PATH];
        GetPackageFolder(folder, MAX_PATH);
        madeFolder_ = CreateDirectoryW(folder, nullptr);
        folder_ = folder;
        path_ = folder_ + L"\\" + kCustomResourceFileName;
        MoveFileExW(path_.c_str(), (path_ + L".aside").c_str(), MOVEFILE_REPLACE_EXISTING);
        CopyFileW(TAVIX_CUSTOMRES_SAMPLE, path_.c_str(), FALSE);
        if (const KernelHandle file = OpenFileRw(path_.c_str(), true); file) {
            const uint8_t end = 0;
            if (GetFileSizeOf(file.get()) < static_cast<int64_t>(bytes))
                WriteFileAt(file.get(), static_cast<int64_t>(bytes) - 1, 1, &end);
        }
        stamped_ = StampLibrary(path_).outcome != StampOutcome::kFailed;
    }
    ~InstalledSample() {
        DeleteFileW(path_.c_str());
        MoveFileW((path_ + L".aside").c_str(), path_.c_str());
        if (madeFolder_) RemoveDirectoryW(folder_.c_str());
    }
    InstalledSample(const InstalledSample&) = delete;
    InstalledSample& operator=(const InstalledSample&) = delete;

    bool stamped() const { return stamped_; }
    bool IsIntact() const {
        const KernelHandle file = OpenFileRw(path_.c_str(), false);
        return VerifyCustomResourceFile(file.get());
    }
    void LoadAndFree() const { const LoadedLibrary library(LoadLibraryW(path_.c_str())); }

  private:
    std::wstring folder_;
    std::wstring path_;
    bool madeFolder_ = false;
    bool stamped_ = false;
};

void LoadAndFreeModule() {
    const LoadedLibrary module(LoadLibraryW(TAVIX_COINSTALLER_DLL));
    KeepResult(module.get());
}

// The system's libraries are there already in the processes that load the module.
void KeepSystemLibraries() {
    const LoadedLibrary module(LoadLibraryW(TAVIX_COINSTALLER_DLL));
    HMODULE modules[200];
    DWORD bytes = 0;
    if (!EnumProcessModules(GetCurrentProcess(), modules, sizeof(modules), &bytes)) return;
    for (size_t i = 0; i < std::min(bytes / sizeof(HMODULE), std::size(modules)); ++i) {
        wchar_t path[MAX_PATH];
        if (modules[i] != module.get() && GetModuleFileNameW(modules[i], path, MAX_PATH)) LoadLibraryW(path);
    }
}

bool BenchModuleLoad() {
    KeepSystemLibraries();
    std::printf("\nLoading and unloading the module\n");
    const double bare = MeasureMedian(LoadAndFreeModule);
    PrintBenchTime("without a customer library", bare);
    for (const size_t bytes : {size_t{0}, size_t{1} << 20, size_t{16} << 20}) {
        const InstalledSample sample(bytes);
        if (!sample.stamped() || !sample.IsIntact()) return false;
        const std::string name = bytes == 0 ? "the sample" : "one of " + BytesName(bytes);
        const double loaded = MeasureMedian(LoadAndFreeModule);
        PrintBenchTime(("with " + name).c_str(), loaded);
        PrintBenchTime("  which is more by", loaded - bare);
        PrintBenchTime("  of it the system's loading", MeasureMedian([&] { sample.LoadAndFree(); }));
        PrintBenchTime("  of it the digest", MeasureMedian([&] { KeepResult(sample.IsIntact()); }));
    }
    return true;
}

}  // namespace

int main() {
    const bool done = BenchDigest<CryptoApi>("CryptoAPI") && BenchDigest<Cng>("CNG") && BenchModuleLoad();
    if (!done) std::printf("a result is wrong; nothing of it is measured\n");
    return done ? 0 : 1;
}
