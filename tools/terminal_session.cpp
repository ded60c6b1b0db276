#include "tools/terminal_session.h"

#include <cwchar>

#include "base/bounded_text.h"
#include "base/files.h"
#include "base/heap_array.h"
#include "base/message_box.h"
#include "base/process.h"
#include "base/xfmt.h"
#include "tools/terminal_files.h"

namespace {

constexpr COLORREF kColors[] = {RGB(80, 0, 80), RGB(80, 80, 0), RGB(0, 80, 80), RGB(0, 0, 80)};
constexpr size_t kQuotedChars = 2 * kTerminalTitleChars;

// As a registry export writes it. A control character would end the line, so it is left out.
void QuoteForExport(const wchar_t* text, wchar_t (&quoted)[kQuotedChars]) noexcept {
    size_t length = 0;
    for (; *text != L'\0' && length + 2 < kQuotedChars; ++text) {
        if (*text < L' ') continue;
        if (*text == L'"' || *text == L'\\') quoted[length++] = L'\\';
        quoted[length++] = *text;
    }
    quoted[length] = L'\0';
}

// Created empty, and deleted at the end of the scope.
class TemporaryFile {
  public:
    TemporaryFile() noexcept { MakeTempFileName(L"Tavix", nullptr, path_, MAX_PATH); }
    ~TemporaryFile() {
        if (path_[0] != L'\0') DeleteFileW(path_);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // Empty when no file could be made.
    const wchar_t* path() const noexcept { return path_; }

  private:
    wchar_t path_[MAX_PATH] = L"";
};

// A registry export begins with a Latin letter, before which a byte-order mark may stand. reg.exe also takes
// an export in single bytes, but would skip the values appended to it and still report success.
bool BeginsInUtf16(const wchar_t* text) noexcept {
    constexpr wchar_t kByteOrderMark = 0xFEFF;
    return text[0] == kByteOrderMark || text[0] < 0x100;
}

// The characters read, at most kTemplateMaxChars; -1 when the file cannot be read or is not UTF-16.
int32_t ReadTemplate(const wchar_t* path, wchar_t* text) noexcept {
    const KernelHandle file = OpenFileRw(path, false);
    const int64_t bytes = ReadFileAt(file.get(), 0, kTemplateMaxChars * sizeof(wchar_t), text);
    if (bytes < 0) return -1;
    const int32_t chars = static_cast<int32_t>(bytes / static_cast<int64_t>(sizeof(wchar_t)));
    return chars == 0 || BeginsInUtf16(text) ? chars : -1;
}

bool WriteText(const wchar_t* path, const wchar_t* text, int32_t chars) noexcept {
    const uint32_t bytes = static_cast<uint32_t>(chars) * static_cast<uint32_t>(sizeof(wchar_t));
    const KernelHandle file = OpenFileRw(path, true);
    return WriteFileAt(file.get(), 0, bytes, text) == bytes;
}

void ReportUnwritten(HWND page, const wchar_t* path) noexcept {
    wchar_t folder[MAX_PATH] = L"";
    if (path[0] == L'\0') GetTempPathW(MAX_PATH, folder);
    ErrorBox(page, L"Error writing file %s", path[0] != L'\0' ? path : folder);
}

// A path with blanks is quoted. A command line that would be cut is not run.
DWORD ImportFile(const wchar_t* path) noexcept {
    wchar_t command[kCommandLineChars + 1];
    const bool quote = wcschr(path, L' ') != nullptr;
    const int32_t length =
        xfmt(command, kCommandLineChars + 1, quote ? L"reg.exe import \"%s\"" : L"reg.exe import %s", path);
    return length <= kCommandLineChars ? RunProcess(command, false, true) : ERROR_FILENAME_EXCED_RANGE;
}

struct ImportResult {
    bool written;
    DWORD exitCode;  // of reg.exe, or the error that kept it from running
    wchar_t path[MAX_PATH];
};

// The file is gone before its result is shown.
ImportResult ImportText(const wchar_t* text, int32_t chars) noexcept {
    const TemporaryFile file;
    ImportResult result = {};
    CopyBounded(result.path, MAX_PATH, file.path());
    result.written = WriteText(file.path(), text, chars);
    if (result.written) result.exitCode = ImportFile(file.path());
    return result;
}

}  // namespace

// Every fourth port has the same one.
COLORREF TerminalColor(const wchar_t* portName) noexcept {
    uint32_t number = 0;
    if (wcsncmp(portName, L"COM", 3) == 0)
        for (const wchar_t* digit = portName + 3; *digit >= L'0' && *digit <= L'9'; ++digit)
            number = number * 10 + static_cast<uint32_t>(*digit - L'0');
    return kColors[number % std::size(kColors)];
}

void FormatTerminalTitle(const wchar_t* portName, wchar_t (&title)[kTerminalTitleChars]) noexcept {
    xfmt(title, kTerminalTitleChars, L"PuTTY - TAVIX %s", portName);
}

int32_t FormatSessionValues(const wchar_t* portName, const wchar_t* title,
                            wchar_t (&values)[kSessionValuesChars]) noexcept {
    wchar_t quotedPort[kQuotedChars];
    wchar_t quotedTitle[kQuotedChars];
    QuoteForExport(portName, quotedPort);
    QuoteForExport(title, quotedTitle);
    const COLORREF color = TerminalColor(portName);
    return xfmt(values, kSessionValuesChars,
                L"\"HostName\"=\"%s\"\r\n\"SerialLine\"=\"%s\"\r\n\"WinTitle\"=\"%s\"\r\n"
                L"\"Colour2\"=\"%d,%d,%d\"\r\n",
                quotedPort, quotedPort, quotedTitle, GetRValue(color), GetGValue(color), GetBValue(color));
}

bool WriteTerminalSession(HWND page, const wchar_t* portName, const wchar_t* title) noexcept {
    wchar_t templatePath[MAX_PATH];
    HeapArray<wchar_t> text;
    const bool readable =
        FindSessionTemplate(templatePath) && text.Resize(kTemplateMaxChars + kSessionValuesChars);
    const int32_t templateChars = readable ? ReadTemplate(templatePath, text.data()) : -1;
    if (templateChars < 0) {
        ErrorBox(page, L"Cannot read file %s", templatePath);
        return false;
    }
    if (templateChars == 0) return false;
    wchar_t values[kSessionValuesChars];
    const int32_t valuesChars = FormatSessionValues(portName, title, values);
    wmemcpy(text.data() + templateChars, values, static_cast<size_t>(valuesChars));
    const ImportResult result = ImportText(text.data(), templateChars + valuesChars);
    if (!result.written)
        ReportUnwritten(page, result.path);
    else if (result.exitCode != 0)
        ErrorBox(page, L"Cannot import the terminal session from %s\n\nreg.exe result=%u", templatePath,
                 result.exitCode);
    return result.written && result.exitCode == 0;
}
