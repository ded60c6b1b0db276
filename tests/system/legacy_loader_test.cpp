// On the oldest systems the installation keeps a copy of the system's framework loader in the package folder.
#include <string>

#include "tests/support/import_redirect.h"
#include "tests/support/temporary_file.h"
#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"

namespace {

using Content = std::vector<uint8_t>;

// A file at a place of the system: absent at first, as the test writes it, and afterwards as before.
class SystemFile {
  public:
    explicit SystemFile(std::wstring path) : path_(std::move(path)) {
        wasThere_ = MoveFileExW(path_.c_str(), Aside().c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
    }
    ~SystemFile() {
        DeleteFileW(path_.c_str());
        if (wasThere_) MoveFileW(Aside().c_str(), path_.c_str());
    }
    SystemFile(const SystemFile&) = delete;
    SystemFile& operator=(const SystemFile&) = delete;

    void Write(const Content& content) const { WriteWholeFile(path_, content); }
    bool Exists() const { return GetFileAttributesW(path_.c_str()) != INVALID_FILE_ATTRIBUTES; }
    Content Read() const { return ReadWholeFile(path_); }

  private:
    std::wstring Aside() const { return path_ + L".aside"; }

    std::wstring path_;
    bool wasThere_ = false;
};

std::wstring SystemDirectory() {
    wchar_t path[MAX_PATH] = L"";
    GetSystemDirectoryW(path, MAX_PATH);
    return path;
}

// There during the test, and afterwards only if it was there before.
class PackageFolder {
  public:
    PackageFolder() : path_(SystemDirectory() + L"\\QrvTavix") {
        made_ = CreateDirectoryW(path_.c_str(), nullptr) != FALSE;
    }
    ~PackageFolder() {
        if (made_) RemoveDirectoryW(path_.c_str());
    }
    PackageFolder(const PackageFolder&) = delete;
    PackageFolder& operator=(const PackageFolder&) = delete;

  private:
    std::wstring path_;
    bool made_ = false;
};

// A copy of the demonstration's installing program to which the system says that it is version 5.2, as
// Windows XP x64 does. Wine decides that by the program's file name.
class LegacyInstaller {
  public:
    LegacyInstaller() {
        wchar_t folder[MAX_PATH] = L"";
        GetTempPathW(MAX_PATH, folder);
        path_ = std::wstring(folder) + kName;
        EXPECT_TRUE(CopyFileW(TAVIX_DEMO_STEPS, path_.c_str(), FALSE));
        constexpr wchar_t kVersion[] = L"winxp64";
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, kSettings.c_str(), L"Version", REG_SZ, kVersion,
                                  sizeof(kVersion)),
                  ERROR_SUCCESS);
    }
    ~LegacyInstaller() {
        RegDeleteKeyW(HKEY_CURRENT_USER, kSettings.c_str());
        EXPECT_TRUE(
            WaitUntil("the program file to be free", [&] { return DeleteFileW(path_.c_str()) != FALSE; }));
    }
    LegacyInstaller(const LegacyInstaller&) = delete;
    LegacyInstaller& operator=(const LegacyInstaller&) = delete;

    DWORD Run(const std::wstring& arguments) const { return RunProgram(L"\"" + path_ + L"\" " + arguments); }

  private:
    static constexpr wchar_t kName[] = L"tavix_legacy_installer.exe";
    inline static const std::wstring kSettings = std::wstring(L"Software\\Wine\\AppDefaults\\") + kName;

    std::wstring path_;
};

class LegacyLoader : public PackageTest {
  protected:
    // Installs the node's driver on a system of that version, as far as the DLL can tell.
    void InstallOn(DWORD majorVersion, const std::wstring& instanceId) {
        const LoadedLibrary module(LoadLibraryW(L"tavix_coinstaller.dll"));
        ASSERT_TRUE(module);
        ReplacedCall<GetVersionExW> version(
            "GetVersionExW",
            [majorVersion](OSVERSIONINFOW* information) {
                information->dwMajorVersion = majorVersion;
                information->dwMinorVersion = 2;
                return TRUE;
            },
            module.get());
        OpenedNode node(instanceId);
        EXPECT_EQ(CallExport(DIF_INSTALLDEVICE, node), 0u);
        EXPECT_GT(version.calls(), 0);
    }

    const PackageFolder folder_;
    const SystemFile source_{SystemDirectory() + L"\\drivers\\WDFLDR.SYS"};
    const SystemFile copy_{SystemDirectory() + L"\\QrvTavix\\WDFLDR.SYS"};
    const Content loader_ = Content(5000, 0x5A);
};

TEST_F(LegacyLoader, OnMajorVersionFiveItIsCopied) {
    Plug(first);
    for (const std::wstring& id : {std::wstring(kBusInstanceId), first.InstanceId()}) {
        source_.Write(loader_);
        copy_.Write({1, 2, 3});
        InstallOn(5, id);
        EXPECT_EQ(copy_.Read(), loader_);
        EXPECT_EQ(source_.Read(), loader_);
    }
}

// The DLL is loaded, and installs the bus, in a process that sees version 5.2.
TEST_F(LegacyLoader, TheWholeInstallationOnSuchASystemCopiesIt) {
    const LegacyInstaller installer;
    source_.Write(loader_);
    EXPECT_EQ(installer.Run(std::wstring(L"plug \"") + TAVIX_PACKAGE_DIR + L"\""), 0u);
    EXPECT_TRUE(NodeExists(kBusInstanceId));
    EXPECT_EQ(copy_.Read(), loader_);
    EXPECT_EQ(installer.Run(L"remove"), 0u);
}

TEST_F(LegacyLoader, OnLaterVersionsNoFileIsTouched) {
    Plug(first);
    source_.Write(loader_);
    for (const DWORD majorVersion : {6ul, 10ul}) {
        InstallOn(majorVersion, kBusInstanceId);
        EXPECT_FALSE(copy_.Exists());
    }
}

TEST_F(LegacyLoader, WithoutALoaderTheInstallationGoesOn) {
    Plug(first);
    InstallOn(5, kBusInstanceId);
    EXPECT_FALSE(copy_.Exists());
}

TEST_F(LegacyLoader, APortNeedsNoLoader) {
    Plug(first);
    source_.Write(loader_);
    const LoadedLibrary module(LoadLibraryW(L"tavix_coinstaller.dll"));
    ReplacedCall<CopyFileW> copy(
        "CopyFileW", [](auto...) { return FALSE; }, module.get());
    OpenedNode node(VcomInstanceId(first));
    CallExport(DIF_INSTALLDEVICE, node, true);
    EXPECT_EQ(copy.calls(), 0);
}

}  // namespace
