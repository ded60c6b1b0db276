// The user guide: where it is looked for, and what is said when it cannot be shown.
#include "tools/user_guide.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "base/windows_api.h"

#include <shellapi.h>

#include "base/win32_handle.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/support/screenshot.h"

namespace {

constexpr wchar_t kKey[] = L"SOFTWARE\\Wow6432Node\\Holmark Auto-ID\\TAVIX";
constexpr wchar_t kValue[] = L"InstallTargetDir_";

class UserGuideTest : public testing::Test {
  protected:
    // What an installed package left comes back afterwards.
    UserGuideTest() {
        wchar_t folder[MAX_PATH] = L"";
        DWORD bytes = sizeof(folder);
        if (RegGetValueW(HKEY_LOCAL_MACHINE, kKey, kValue, RRF_RT_REG_SZ, nullptr, folder, &bytes) ==
            ERROR_SUCCESS)
            installed_ = folder;
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
    }
    ~UserGuideTest() override {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
        if (!installed_.empty()) SetFolder(installed_);
    }
    void SetFolder(const std::wstring& folder, DWORD type = REG_SZ) {
        ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, kValue, type, folder.c_str(),
                                  static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
    }
    // Every file is there, or none; the shell's answer, 0 for success.
    void Open(bool fileExists, DWORD shellError = ERROR_SUCCESS) {
        ReplacedCall<GetFileAttributesW> attributes("GetFileAttributesW", [&](LPCWSTR path) {
            lookedFor_ = path;
            return fileExists ? DWORD{FILE_ATTRIBUTE_NORMAL} : INVALID_FILE_ATTRIBUTES;
        });
        ReplacedCall<ShellExecuteExW> shell("ShellExecuteExW", [&](SHELLEXECUTEINFOW* execution) {
            opened_ = *execution;
            openedFile_ = execution->lpFile;
            SetLastError(shellError);
            return shellError == ERROR_SUCCESS ? TRUE : FALSE;
        });
        OpenUserGuide(owner_.get());
    }
    std::wstring BoxText(size_t index) const {
        const std::vector<BoxRecord> boxes = modal_.boxes();
        return index < boxes.size() ? boxes[index].text : L"";
    }

    OwnedWindow owner_{CreateWindowExW(0, L"STATIC", L"Owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 40, 40, 300,
                                       200, nullptr, nullptr, nullptr, nullptr)};
    ModalDriver modal_;
    std::wstring installed_;
    std::wstring lookedFor_;
    std::optional<SHELLEXECUTEINFOW> opened_;
    std::wstring openedFile_;
};

std::wstring RegistryText(DWORD error) {
    return std::wstring(L"Unexpect! Error reading registry item:\n\n  [HKLM\\") + kKey + L"] " + kValue +
           L" \n\nWinErr=" + std::to_wstring(error);
}

TEST_F(UserGuideTest, IsOpenedByTheShellFromTheInstallersFolder) {
    SetFolder(L"C:\\Program Files\\TAVIX\\");
    Open(true);
    ASSERT_TRUE(opened_.has_value());
    EXPECT_EQ(lookedFor_, L"C:\\Program Files\\TAVIX\\tavix-inf-pkg\\TAVIX user guide - ENG.pdf");
    EXPECT_EQ(openedFile_, lookedFor_);
    EXPECT_STREQ(opened_->lpVerb, L"open");
    EXPECT_EQ(opened_->hwnd, owner_.get());
    EXPECT_EQ(opened_->nShow, SW_SHOWNORMAL);
    EXPECT_TRUE(modal_.boxes().empty());
}

struct CodePageRow {
    UINT codePage;
    const wchar_t* language;
};

TEST_F(UserGuideTest, IsChineseOnCodePage936Alone) {
    SetFolder(L"C:\\T\\");
    for (const CodePageRow& row :
         {CodePageRow{936, L"CHS"}, CodePageRow{935, L"ENG"}, CodePageRow{937, L"ENG"},
          CodePageRow{950, L"ENG"}, CodePageRow{1252, L"ENG"}, CodePageRow{65001, L"ENG"}}) {
        ReplacedCall<GetACP> codePage("GetACP", [&] { return row.codePage; });
        Open(true);
        EXPECT_EQ(lookedFor_,
                  std::wstring(L"C:\\T\\tavix-inf-pkg\\TAVIX user guide - ") + row.language + L".pdf")
            << row.codePage;
    }
}

TEST_F(UserGuideTest, AMissingValueIsReportedWithTheError) {
    modal_.ExpectBox(L"TAVIX Message").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"user_guide_no_value");
        box.Press(IDOK);
    });
    Open(true);
    EXPECT_EQ(BoxText(0), RegistryText(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(modal_.boxes()[0].icon, static_cast<UINT>(MB_ICONERROR));
    EXPECT_EQ(modal_.boxes()[0].owner, owner_.get());
    EXPECT_FALSE(opened_.has_value());
}

TEST_F(UserGuideTest, AValueThatIsNoPlainTextIsReported) {
    for (const DWORD type : {DWORD{REG_EXPAND_SZ}, DWORD{REG_MULTI_SZ}, DWORD{REG_BINARY}}) {
        SetFolder(L"C:\\T\\", type);
        modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
        Open(true);
        EXPECT_EQ(modal_.boxes().back().text, RegistryText(ERROR_INVALID_DATATYPE)) << type;
    }
    EXPECT_FALSE(opened_.has_value());
}

TEST_F(UserGuideTest, AMissingFileIsReportedWithItsPath) {
    SetFolder(L"C:\\Nowhere\\");
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    Open(false);
    EXPECT_EQ(BoxText(0),
              L"Error: User guide pdf not found:\n\nC:\\Nowhere\\tavix-inf-pkg\\TAVIX user guide - ENG.pdf");
    EXPECT_EQ(modal_.boxes()[0].icon, static_cast<UINT>(MB_ICONERROR));
    EXPECT_EQ(modal_.boxes()[0].owner, owner_.get());
    EXPECT_FALSE(opened_.has_value());
}

TEST_F(UserGuideTest, AFolderOfThatNameIsNoGuide) {
    wchar_t folder[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, folder);
    const std::wstring package = std::wstring(folder) + L"tavix-inf-pkg";
    const std::wstring guide = package + L"\\TAVIX user guide - ENG.pdf";
    ASSERT_TRUE(CreateDirectoryW(package.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(guide.c_str(), nullptr));
    SetFolder(folder);
    modal_.ExpectBox(L"TAVIX Message").Press(IDOK);
    OpenUserGuide(owner_.get());
    EXPECT_EQ(BoxText(0), L"Error: User guide pdf not found:\n\n" + guide);
    RemoveDirectoryW(guide.c_str());
    RemoveDirectoryW(package.c_str());
}

// Room for 259 characters of the whole path; what is beyond is cut, and such a file is not there.
TEST_F(UserGuideTest, ALongPathIsCutAt259Characters) {
    const std::wstring tail = L"tavix-inf-pkg\\TAVIX user guide - ENG.pdf";
    for (const size_t chars : {size_t{259}, size_t{260}, size_t{400}}) {
        const std::wstring folder = L"C:\\" + std::wstring(chars - tail.size() - 4, L'f') + L"\\";
        SetFolder(folder);
        Open(true);
        EXPECT_EQ(lookedFor_, (folder + tail).substr(0, 259)) << chars;
    }
}

TEST_F(UserGuideTest, WithoutAReaderTheUserIsToldToInstallOne) {
    SetFolder(L"C:\\T\\");
    modal_.ExpectBox(L"FlexiInfo").Do([](BoxView& box) {
        SaveScreenshot(box.window(), L"user_guide_no_reader");
        box.Press(IDOK);
    });
    Open(true, ERROR_NO_ASSOCIATION);
    ASSERT_EQ(modal_.boxes().size(), 1u);
    EXPECT_EQ(modal_.boxes()[0].ControlText(100),
              L"You need to install a PDF reader software to view the user guide.");
    EXPECT_EQ(modal_.boxes()[0].Buttons(), std::vector<int>{IDOK});
    EXPECT_EQ(modal_.boxes()[0].owner, owner_.get());
}

TEST_F(UserGuideTest, OtherFailuresAreSilentAndTheShellIsToldToBeSilentToo) {
    SetFolder(L"C:\\T\\");
    for (const DWORD error :
         {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_FILE_NOT_FOUND}, DWORD{ERROR_CANCELLED}, DWORD{999999}}) {
        Open(true, error);
        ASSERT_TRUE(opened_.has_value());
        EXPECT_NE(opened_->fMask & SEE_MASK_FLAG_NO_UI, 0u);
    }
    EXPECT_TRUE(modal_.boxes().empty());
}

}  // namespace
