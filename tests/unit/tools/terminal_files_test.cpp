#include "tools/terminal_files.h"

#include <gtest/gtest.h>

#include <string>

#include "base/module.h"
#include "tests/support/import_redirect.h"

namespace {

const HINSTANCE kLibrary = GetModuleHandleW(L"kernel32.dll");

// The library has a path of the test's choice, and every file is there.
class TerminalFiles : public testing::Test {
  protected:
    void SetUp() override { SetModuleInstance(kLibrary); }
    void TearDown() override { SetModuleInstance(nullptr); }

    static std::wstring Folder(size_t chars) { return L"C:\\" + std::wstring(chars - 3, L'f'); }
    bool FindProgram() { return FindTerminalProgram(path_); }

    std::wstring library_ = L"C:\\some folder\\tavix_coinstaller.dll";
    bool moduleKnown_ = true;
    WORD processor_ = PROCESSOR_ARCHITECTURE_AMD64;
    DWORD attributes_ = FILE_ATTRIBUTE_NORMAL;
    wchar_t path_[MAX_PATH] = L"";
    // Without a terminator when the path does not fit, as older systems do it.
    ReplacedCall<GetModuleFileNameW> moduleName_{
        "GetModuleFileNameW", [this](HMODULE module, LPWSTR path, DWORD chars) {
            EXPECT_EQ(module, kLibrary);
            if (!moduleKnown_) return DWORD{0};
            const DWORD length = static_cast<DWORD>(std::min<size_t>(library_.size() + 1, chars));
            wmemcpy(path, library_.c_str(), length);
            return length == library_.size() + 1 ? length - 1 : length;
        }};
    ReplacedCall<GetNativeSystemInfo> system_{"GetNativeSystemInfo", [this](SYSTEM_INFO* info) {
                                                  *info = {};
                                                  info->wProcessorArchitecture = processor_;
                                              }};
    ReplacedCall<GetFileAttributesW> file_{"GetFileAttributesW", [this](LPCWSTR) { return attributes_; }};
};

TEST_F(TerminalFiles, StandBesideTheLibrary) {
    EXPECT_TRUE(FindProgram());
    EXPECT_STREQ(path_, L"C:\\some folder\\putty-x64.exe");
    EXPECT_TRUE(FindSessionTemplate(path_));
    EXPECT_STREQ(path_, L"C:\\some folder\\putty-session.reg.template");
}

TEST_F(TerminalFiles, TheProgramsNameFollowsTheSystem) {
    processor_ = PROCESSOR_ARCHITECTURE_INTEL;
    EXPECT_TRUE(FindProgram());
    EXPECT_STREQ(path_, L"C:\\some folder\\putty.exe");
    processor_ = PROCESSOR_ARCHITECTURE_ARM64;
    EXPECT_TRUE(FindProgram());
    EXPECT_STREQ(path_, L"C:\\some folder\\putty-x64.exe");
}

TEST_F(TerminalFiles, ThatAreMissingHaveAPathAllTheSame) {
    attributes_ = INVALID_FILE_ATTRIBUTES;
    EXPECT_FALSE(FindProgram());
    EXPECT_STREQ(path_, L"C:\\some folder\\putty-x64.exe");
}

TEST_F(TerminalFiles, AnswerToAPathOf259Characters) {
    library_ = Folder(245) + L"\\x.dll";
    EXPECT_TRUE(FindProgram());
    EXPECT_EQ(path_, Folder(245) + L"\\putty-x64.exe");
    library_ = Folder(246) + L"\\x.dll";
    EXPECT_FALSE(FindProgram()) << "the cut path may be that of another file";
}

TEST_F(TerminalFiles, OfALibraryWhoseOwnPathIsCutAreUnknown) {
    library_ = L"C:\\short\\" + std::wstring(300, L'x') + L".dll";
    EXPECT_FALSE(FindProgram());
}

TEST_F(TerminalFiles, OfALibraryWithoutAPathAreUnknown) {
    moduleKnown_ = false;
    EXPECT_FALSE(FindProgram());
}

}  // namespace
