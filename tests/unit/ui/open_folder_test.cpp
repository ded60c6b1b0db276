#include "ui/open_folder.h"

#include <gtest/gtest.h>

#include <string>

#include <shellapi.h>

#include "tests/support/import_redirect.h"

namespace {

TEST(OpenFolder, ShowsTheFileInTheFileManager) {
    const HWND owner = reinterpret_cast<HWND>(size_t{0x77});
    REPLACE_CALL(execute, ShellExecuteExW, [&](SHELLEXECUTEINFOW* request) {
        EXPECT_EQ(request->cbSize, sizeof(*request));
        EXPECT_EQ(request->hwnd, owner);
        EXPECT_STREQ(request->lpFile, L"Explorer.exe");
        EXPECT_STREQ(request->lpParameters, L"/select,C:\\users\\one\\saved file.log");
        EXPECT_EQ(request->lpVerb, nullptr);
        EXPECT_EQ(request->nShow, SW_SHOW);
        return TRUE;
    });
    OpenFolderOf(owner, L"C:\\users\\one\\saved file.log");
    EXPECT_EQ(execute.calls(), 1);
}

TEST(OpenFolder, TakesTheLongestPath) {
    const std::wstring path(MAX_PATH - 1, L'p');
    std::wstring parameters;
    REPLACE_CALL(execute, ShellExecuteExW, [&](SHELLEXECUTEINFOW* request) {
        parameters = request->lpParameters;
        return TRUE;
    });
    OpenFolderOf(nullptr, path.c_str());
    EXPECT_EQ(parameters, L"/select," + path);
}

}  // namespace
