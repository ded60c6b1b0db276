#include "base/unicode_os.h"

#include <gtest/gtest.h>

#include <string>

#include "base/process.h"
#include "base/win32_handle.h"
#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"

namespace {

TEST(RequireUnicodeOs, HandsItsArgumentThrough) {
    EXPECT_EQ(RequireUnicodeOs(42), 42);
    const wchar_t* const text = L"text";
    EXPECT_EQ(RequireUnicodeOs(text), text);
}

TEST(RequireUnicodeOs, AsksForTheSizeOnly) {
    bool sizeQuery = false;
    REPLACE_CALL(directory, GetWindowsDirectoryW, [&](LPWSTR buffer, UINT chars) {
        sizeQuery = buffer == nullptr && chars == 0;
        return UINT{1};
    });
    EXPECT_EQ(RequireUnicodeOs(1), 1);
    EXPECT_TRUE(sizeQuery);
}

// What the caption is to be: a path longer than 128 characters that the system cuts without a terminator.
const std::string kLongPath = "C:\\" + std::string(200, 'p') + "\\host.exe";

// Runs only in the child process of the test below.
TEST(RequireUnicodeOsChild, DISABLED_OnASystemWithoutUnicode) {
    REPLACE_CALL(directory, GetWindowsDirectoryW, [](LPWSTR, UINT) { return UINT{0}; });
    REPLACE_CALL(name, GetModuleFileNameA, [](HMODULE module, LPSTR path, DWORD chars) {
        if (module != nullptr) return DWORD{0};
        kLongPath.copy(path, chars);
        return chars;
    });
    const OwnedWindow owner(CreateWindowExW(0, L"STATIC", L"owner", WS_POPUP | WS_VISIBLE, 0, 0, 200, 100,
                                            nullptr, nullptr, nullptr, nullptr));
    SetActiveWindow(owner.get());
    ModalDriver driver;
    driver.ExpectBox().Do([&owner](BoxView& box) {
        const BoxRecord record = box.Read();
        const bool right = record.text == L"This application requires an OS that supports Unicode." &&
                           NarrowText(record.title) == kLongPath.substr(0, 128) &&
                           record.owner == owner.get() && record.Buttons() == std::vector<int>{IDOK} &&
                           record.icon == 0;
        // A wrong box ends the child here, with another code than the one asked for.
        if (!right) TerminateProcess(GetCurrentProcess(), 99);
        box.Press(IDOK);
    });
    RequireUnicodeOs(1);
    TerminateProcess(GetCurrentProcess(), 98);
}

TEST(RequireUnicodeOs, EndsTheProcessWithCodeZeroAfterAMessage) {
    wchar_t path[MAX_PATH] = L"";
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring line = L"\"" + std::wstring(path) +
                              L"\" --gtest_also_run_disabled_tests --gtest_filter=RequireUnicodeOsChild.*";
    ASSERT_LT(line.size(), static_cast<size_t>(kCommandLineChars));
    EXPECT_EQ(RunProcess(line.c_str(), false, true), 0u);
}

}  // namespace
