// pdf_reader.exe: stands where a user has a program for PDF files. Shows which file it was given and whether
// it is one.
#include <cstring>
#include <string>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <shellapi.h>

namespace {

std::wstring FirstArgument() {
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    const std::wstring first = count > 1 ? arguments[1] : L"";
    LocalFree(arguments);
    return first;
}

bool IsPdf(const std::wstring& path) {
    constexpr char kMark[] = {'%', 'P', 'D', 'F', '-'};
    const FileHandle file(
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    char start[sizeof(kMark)] = {};
    DWORD bytes = 0;
    return file && ReadFile(file.get(), start, sizeof(start), &bytes, nullptr) && bytes == sizeof(start) &&
           std::memcmp(start, kMark, sizeof(start)) == 0;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    const std::wstring path = FirstArgument();
    const std::wstring text = path + (IsPdf(path) ? L"" : L"\n\nThis is no PDF file.");
    MessageBoxW(nullptr, text.c_str(), L"PDF reader", MB_OK);
    return 0;
}
