// The sample customer library, stamped by the tool that is shipped for it, as the installed DLL takes it.
#include <gmock/gmock.h>

#include <string>

#include "base/windows_api.h"

#include <commctrl.h>

#include "base/files.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/loading_probe.h"
#include "tests/support/temporary_file.h"
#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"

namespace {

constexpr WORD kPageIcon = 104;
constexpr WORD kCustomPageIcon = 18001;

// Exit code of the tool.
DWORD RunStampTool(const std::wstring& arguments) {
    return RunProgram(std::wstring(L"\"") + TAVIX_CUSTOMRES_STAMP + L"\" " + arguments);
}

// The package folder with the unstamped sample in it.
class InstalledSample {
  public:
    InstalledSample() {
        wchar_t folder[MAX_PATH];
        EXPECT_NE(GetPackageFolder(folder, MAX_PATH), nullptr);
        folder_ = folder;
        madeFolder_ = CreateDirectoryW(folder, nullptr) != FALSE;
        path_ = folder_ + L"\\tavix_customres.dll";
        EXPECT_TRUE(CopyFileW(TAVIX_CUSTOMRES_SAMPLE, path_.c_str(), FALSE));
    }
    ~InstalledSample() {
        EXPECT_TRUE(WaitUntil("the library to be free", [&] { return DeleteFileW(path_.c_str()) != FALSE; }));
        if (madeFolder_) RemoveDirectoryW(folder_.c_str());
    }
    InstalledSample(const InstalledSample&) = delete;
    InstalledSample& operator=(const InstalledSample&) = delete;

    const std::wstring& path() const { return path_; }
    void Stamp() const { EXPECT_EQ(RunStampTool(L"\"" + path_ + L"\""), 0u); }
    HMODULE LoadedModule() const { return GetModuleHandleW(path_.c_str()); }

  private:
    std::wstring folder_;
    std::wstring path_;
    bool madeFolder_ = false;
};

class CustomResourceFlow : public PackageTest {
  protected:
    // What the property page of the node is created with by the DLL, and by which module its icon comes.
    enum class IconOwner { kNobody, kModule, kCustomer };
    IconOwner PageIconOf(const std::wstring& instanceId, const InstalledSample* sample) {
        const LoadedLibrary module(LoadLibraryW(L"tavix_coinstaller.dll"));
        EXPECT_TRUE(module);
        HICON icon = nullptr;
        ReplacedCall<CreatePropertySheetPageW> create(
            "CreatePropertySheetPageW",
            [&](LPCPROPSHEETPAGEW page) {
                icon = page->hIcon;
                return HPROPSHEETPAGE{nullptr};
            },
            module.get());
        OpenedNode node(instanceId);
        SP_ADDPROPERTYPAGE_DATA sheet = {};
        sheet.ClassInstallHeader = {sizeof(sheet.ClassInstallHeader), DIF_ADDPROPERTYPAGE_ADVANCED};
        EXPECT_TRUE(SetupDiSetClassInstallParamsW(node.set(), node.element(), &sheet.ClassInstallHeader,
                                                  sizeof(sheet)));
        EXPECT_EQ(CallExport(DIF_ADDPROPERTYPAGE_ADVANCED, node), 0u);
        EXPECT_EQ(create.calls(), 1);
        if (icon != nullptr && icon == LoadIconW(module.get(), MAKEINTRESOURCEW(kPageIcon)))
            return IconOwner::kModule;
        const HMODULE custom = sample != nullptr ? sample->LoadedModule() : nullptr;
        const bool isCustom = icon != nullptr && custom != nullptr &&
                              icon == LoadIconW(custom, MAKEINTRESOURCEW(kCustomPageIcon));
        return isCustom ? IconOwner::kCustomer : IconOwner::kNobody;
    }
};

TEST_F(CustomResourceFlow, WithoutALibraryEveryPageHasTheModulesIcon) {
    Plug(first);
    for (const std::wstring& id : {first.InstanceId(), VcomInstanceId(first), std::wstring(kBusInstanceId)})
        EXPECT_EQ(PageIconOf(id, nullptr), IconOwner::kModule);
}

TEST_F(CustomResourceFlow, WithTheStampedSampleEveryPageHasTheCustomersIcon) {
    Plug(first);
    const InstalledSample sample;
    sample.Stamp();
    for (const std::wstring& id : {first.InstanceId(), VcomInstanceId(first), std::wstring(kBusInstanceId)})
        EXPECT_EQ(PageIconOf(id, &sample), IconOwner::kCustomer);
}

TEST_F(CustomResourceFlow, AnUnstampedSampleChangesNothing) {
    Plug(first);
    const InstalledSample sample;
    for (const std::wstring& id : {first.InstanceId(), VcomInstanceId(first), std::wstring(kBusInstanceId)})
        EXPECT_EQ(PageIconOf(id, &sample), IconOwner::kModule);
}

TEST_F(CustomResourceFlow, TheLibraryComesAndGoesWithTheModule) {
    const InstalledSample sample;
    sample.Stamp();
    for (int cycle = 0; cycle < 3; ++cycle) {
        const LoadedLibrary module(LoadLibraryW(TAVIX_COINSTALLER_DLL));
        ASSERT_TRUE(module);
        EXPECT_NE(sample.LoadedModule(), nullptr);
    }
    EXPECT_EQ(sample.LoadedModule(), nullptr);
}

// Neither for its digest nor for its texts is another library loaded under the loader lock. The new process
// installs and stamps the sample once more, which changes nothing.
TEST(CustomResourceLoading, BringsTheLibraryAndNothingElse) {
    const InstalledSample sample;
    sample.Stamp();
    EXPECT_EXIT(TellWhatLoadingBrings(TAVIX_COINSTALLER_DLL), testing::ExitedWithCode(0),
                testing::EndsWith("brings: [tavix_coinstaller.dll][tavix_customres.dll]"));
}

TEST_F(CustomResourceFlow, LoadingWithALibraryLeavesNothingBehind) {
    const InstalledSample sample;
    sample.Stamp();
    ExpectNoLeaks([] { const LoadedLibrary module(LoadLibraryW(TAVIX_COINSTALLER_DLL)); }, 20);
}

TEST_F(CustomResourceFlow, TheToolTellsItsResultByTheExitCode) {
    const InstalledSample sample;
    const std::wstring file = L"\"" + sample.path() + L"\"";
    EXPECT_EQ(RunStampTool(L"--check " + file), 1u);
    EXPECT_EQ(RunStampTool(file), 0u);
    EXPECT_EQ(RunStampTool(L"--check " + file), 0u);
    EXPECT_EQ(RunStampTool(file), 0u);
    const TemporaryFile text(std::vector<uint8_t>(100, 'x'));
    EXPECT_EQ(RunStampTool(L"\"" + text.path() + L"\""), 1u);
    EXPECT_GT(RunStampTool(L""), 1u);
}

}  // namespace
