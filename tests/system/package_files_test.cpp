// What the driver package leaves on the machine, beside the devices: the INF files are the samples of the
// guide for package authors.
#include <string>

#include "base/files.h"
#include "tests/system/package_fixture.h"

namespace {

constexpr wchar_t kInstallKey[] = L"SOFTWARE\\Wow6432Node\\Holmark Auto-ID\\TAVIX";
constexpr wchar_t kInstallValue[] = L"InstallTargetDir_";
constexpr wchar_t kServiceKey[] = L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters";

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::wstring SystemFile(const wchar_t* name) {
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    return std::wstring(folder) + L"\\" + name;
}

// The texts of a REG_MULTI_SZ joined with blanks.
std::wstring JoinedList(const wchar_t* value) {
    wchar_t texts[256] = {};
    DWORD bytes = sizeof(texts);
    EXPECT_EQ(
        RegGetValueW(HKEY_LOCAL_MACHINE, kServiceKey, value, RRF_RT_REG_MULTI_SZ, nullptr, texts, &bytes),
        ERROR_SUCCESS);
    std::wstring joined;
    for (const wchar_t* text = texts; *text != L'\0'; text += std::wcslen(text) + 1)
        joined += std::wstring(joined.empty() ? L"" : L" ") + text;
    return joined;
}

class PackageFilesTest : public PackageTest {
  protected:
    void TearDown() override {
        PackageTest::TearDown();
        if (!usedCustomers_) return;
        EXPECT_EQ(InstallPackage(TAVIX_PACKAGE_DIR), static_cast<DWORD>(ERROR_SUCCESS));
        DeleteFileW(CustomerLibrary().c_str());
    }
    void UseCustomersPackage() {
        usedCustomers_ = true;
        ASSERT_EQ(InstallPackage(TAVIX_CUSTOMER_PACKAGE_DIR), static_cast<DWORD>(ERROR_SUCCESS));
    }
    static std::wstring CustomerLibrary() { return SystemFile(L"QrvTavix\\tavix_customres.dll"); }

  private:
    bool usedCustomers_ = false;
};

TEST_F(PackageFilesTest, TheListsOfVirtualMachineProgramsStandInTheServicesParameters) {
    RemoveVbus();
    for (const wchar_t* value : {L"ListVMwareProcessNames", L"ListVirtualboxProcessNames"})
        RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kServiceKey, value);
    Plug(first);
    EXPECT_EQ(JoinedList(L"ListVMwareProcessNames"), L"vmtoolsd.exe VMwareTray.exe VMwareUser.exe");
    EXPECT_EQ(JoinedList(L"ListVirtualboxProcessNames"), L"VBoxTray.exe VBoxService.exe");
}

TEST_F(PackageFilesTest, TheInstallationFolderIsNamedWithItsLastBackslash) {
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kInstallKey, kInstallValue);
    Plug(first);
    wchar_t folder[MAX_PATH] = L"";
    DWORD bytes = sizeof(folder);
    EXPECT_EQ(
        RegGetValueW(HKEY_LOCAL_MACHINE, kInstallKey, kInstallValue, RRF_RT_REG_SZ, nullptr, folder, &bytes),
        ERROR_SUCCESS);
    EXPECT_STREQ(folder, L"C:\\Program Files\\TAVIX\\");
}

TEST_F(PackageFilesTest, TheTerminalAndTheGuidesComeWithTheUsbDevice) {
    const std::wstring guide = L"C:\\Program Files\\TAVIX\\tavix-inf-pkg\\TAVIX user guide - ";
    const std::wstring files[] = {SystemFile(L"putty-x64.exe"), SystemFile(L"putty-session.reg.template"),
                                  guide + L"ENG.pdf", guide + L"CHS.pdf"};
    for (const std::wstring& file : files)
        DeleteFileW(file.c_str());
    Plug(first);
    for (const std::wstring& file : files)
        EXPECT_TRUE(Exists(file)) << file;
}

TEST_F(PackageFilesTest, OnlyACustomersPackageBringsALibrary) {
    DeleteFileW(CustomerLibrary().c_str());
    Plug(first);
    EXPECT_FALSE(Exists(CustomerLibrary()));
    RemoveNode(first.InstanceId());
    UseCustomersPackage();
    Plug(first);
    EXPECT_TRUE(Exists(CustomerLibrary()));
}

}  // namespace
