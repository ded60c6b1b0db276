#include "tools/terminal_session.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/import_redirect.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/temporary_file.h"

namespace {

struct ColorRow {
    const wchar_t* port;
    COLORREF color;
};
void PrintTo(const ColorRow& row, std::ostream* out) {
    *out << std::string(row.port, row.port + wcslen(row.port));
}

class TerminalColorTest : public testing::TestWithParam<ColorRow> {};

TEST_P(TerminalColorTest, FollowsThePortNumber) {
    EXPECT_EQ(TerminalColor(GetParam().port), GetParam().color);
}

constexpr COLORREF kColor0 = RGB(80, 0, 80);
constexpr COLORREF kColor1 = RGB(80, 80, 0);
constexpr COLORREF kColor2 = RGB(0, 80, 80);
constexpr COLORREF kColor3 = RGB(0, 0, 80);

INSTANTIATE_TEST_SUITE_P(
    Ports, TerminalColorTest,
    testing::Values(ColorRow{L"COM0", kColor0}, ColorRow{L"COM1", kColor1}, ColorRow{L"COM2", kColor2},
                    ColorRow{L"COM3", kColor3}, ColorRow{L"COM4", kColor0}, ColorRow{L"COM5", kColor1},
                    ColorRow{L"COM6", kColor2}, ColorRow{L"COM7", kColor3}, ColorRow{L"COM8", kColor0},
                    ColorRow{L"COM9", kColor1}, ColorRow{L"COM10", kColor2}, ColorRow{L"COM127", kColor3},
                    ColorRow{L"COM", kColor0}, ColorRow{L"LPT1", kColor0}, ColorRow{L"COM-1", kColor0},
                    ColorRow{L"COM5A", kColor1}, ColorRow{L"", kColor0}, ColorRow{L"xCOM1", kColor0},
                    ColorRow{L"COM99999999999", kColor3}));

std::wstring TitleOf(const wchar_t* port) {
    wchar_t title[kTerminalTitleChars];
    FormatTerminalTitle(port, title);
    return title;
}

TEST(TerminalTitle, NamesThePort) {
    EXPECT_EQ(TitleOf(L"COM5"), L"PuTTY - TAVIX COM5");
}

TEST(TerminalTitle, IsCutAtItsCapacity) {
    EXPECT_EQ(TitleOf(std::wstring(60, L'x').c_str()), L"PuTTY - TAVIX " + std::wstring(25, L'x'));
}

std::wstring ValuesOf(const std::wstring& port) {
    wchar_t values[kSessionValuesChars];
    FormatSessionValues(port.c_str(), TitleOf(port.c_str()).c_str(), values);
    return values;
}

TEST(SessionValues, AreFourLines) {
    EXPECT_EQ(ValuesOf(L"COM5"),
              L"\"HostName\"=\"COM5\"\r\n\"SerialLine\"=\"COM5\"\r\n\"WinTitle\"=\"PuTTY - TAVIX COM5\"\r\n"
              L"\"Colour2\"=\"80,80,0\"\r\n");
}

TEST(SessionValues, QuotesAndBackslashesAreWrittenAsInAnExport) {
    EXPECT_EQ(ValuesOf(L"C\"O\\M").rfind(L"\"HostName\"=\"C\\\"O\\\\M\"\r\n", 0), 0u);
}

TEST(SessionValues, ANameCannotEndItsLine) {
    EXPECT_EQ(ValuesOf(L"COM5\r\n[X]").substr(0, 24), L"\"HostName\"=\"COM5[X]\"\r\n\"S");
}

TEST(SessionValues, ANameOfFullWidthFitsWhateverItsCharacters) {
    const std::wstring values = ValuesOf(std::wstring(16, L'"'));
    EXPECT_EQ(values.substr(values.size() - 21), L"\"Colour2\"=\"80,0,80\"\r\n");
}

TEST(SessionValues, ANameThatIsTooLongIsCut) {
    const std::wstring values = ValuesOf(std::wstring(100, L'"'));
    std::wstring quoted;
    for (int i = 1; i < kTerminalTitleChars; ++i)
        quoted += L"\\\"";
    EXPECT_EQ(values.rfind(L"\"HostName\"=\"" + quoted + L"\"\r\n\"SerialLine\"=\"" + quoted + L"\"\r\n", 0),
              0u);
}

// ---- writing the session

constexpr wchar_t kHead[] = L"\xFEFFWindows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\X]\r\n";
constexpr wchar_t kTemplateName[] = L"putty-session.reg.template";

std::vector<uint8_t> BytesOf(const std::wstring& text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    return {bytes, bytes + text.size() * sizeof(wchar_t)};
}

std::wstring TextOf(const std::vector<uint8_t>& bytes) {
    return {reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t)};
}

// The library's folder and the temporary folder are the test's own; reg.exe is not started.
class TerminalSession : public testing::Test {
  protected:
    bool Write(const wchar_t* port = L"COM5") {
        boxes_.clear();
        return WriteTerminalSession(nullptr, port, TitleOf(port).c_str());
    }
    void WriteTemplate(const std::wstring& text) {
        WriteWholeFile(package_.File(kTemplateName), BytesOf(text));
    }
    void ExpectBox(const std::wstring& text) {
        ASSERT_EQ(boxes_.size(), 1u);
        EXPECT_EQ(boxes_[0], text);
    }
    // Of what is in the temporary folder, that which is no folder.
    std::vector<std::wstring> TemporaryFiles() const {
        std::vector<std::wstring> names = temporary_.Entries();
        std::erase_if(names, [this](const std::wstring& name) {
            return (GetFileAttributesW(temporary_.File(name).c_str()) & FILE_ATTRIBUTE_DIRECTORY) != 0;
        });
        return names;
    }
    // What reg.exe would have imported.
    std::wstring imported_;
    bool readImported_ = true;
    std::wstring command_;
    int imports_ = 0;
    DWORD importError_ = ERROR_SUCCESS;
    std::wstring temporaryFolder_;
    std::vector<std::wstring> boxes_;
    ScratchFolder package_{L"package"};
    ScratchFolder temporary_{L"temporary"};
    std::wstring library_ = package_.File(L"tavix_coinstaller.dll");
    ReplacedCall<GetModuleFileNameW> moduleName_{
        "GetModuleFileNameW", [this](HMODULE, LPWSTR path, DWORD chars) {
            const size_t length = std::min<size_t>(library_.size(), chars - 1);
            wmemcpy(path, library_.c_str(), length);
            path[length] = L'\0';
            return static_cast<DWORD>(length < library_.size() ? chars : length);
        }};
    ReplacedCall<GetTempPathW> temporaryPath_{"GetTempPathW", [this](DWORD, LPWSTR path) {
                                                  const std::wstring folder =
                                                      temporary_.path() + temporaryFolder_ + L"\\";
                                                  wmemcpy(path, folder.c_str(), folder.size() + 1);
                                                  return static_cast<DWORD>(folder.size());
                                              }};
    // The error is what RunProcess returns, so it also stands for the exit code.
    ReplacedCall<CreateProcessW> process_{
        "CreateProcessW", [this](LPCWSTR, LPWSTR line, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL,
                                 DWORD, LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) {
            ++imports_;
            command_ = line;
            if (readImported_)
                for (const std::wstring& name : TemporaryFiles())
                    imported_ = TextOf(ReadWholeFile(temporary_.File(name)));
            SetLastError(importError_);
            return FALSE;
        }};
    ReplacedCall<MessageBoxW> box_{"MessageBoxW", [this](HWND, LPCWSTR text, LPCWSTR, UINT style) {
                                       EXPECT_EQ(style & 0xF0, static_cast<UINT>(MB_ICONERROR));
                                       EXPECT_TRUE(TemporaryFiles().empty()) << "while a box is shown";
                                       boxes_.push_back(text);
                                       return IDOK;
                                   }};
};

TEST_F(TerminalSession, IsTheTemplateWithTheFourValues) {
    WriteTemplate(kHead);
    EXPECT_TRUE(Write());
    EXPECT_EQ(imported_, kHead + ValuesOf(L"COM5"));
    EXPECT_TRUE(boxes_.empty());
}

TEST_F(TerminalSession, IsImportedFromATemporaryFileThatIsGoneAfterwards) {
    WriteTemplate(kHead);
    EXPECT_TRUE(Write());
    EXPECT_EQ(command_.rfind(L"reg.exe import " + temporary_.path() + L"\\Tav", 0), 0u) << command_.c_str();
    EXPECT_TRUE(temporary_.Entries().empty());
}

TEST_F(TerminalSession, ATemporaryFolderWithBlanksIsQuoted) {
    ScratchFolder withBlank(L"a b");
    WriteTemplate(kHead);
    REPLACE_CALL(path, GetTempPathW, [&](DWORD, LPWSTR out) {
        wmemcpy(out, withBlank.path().c_str(), withBlank.path().size() + 1);
        return static_cast<DWORD>(withBlank.path().size());
    });
    EXPECT_TRUE(Write());
    EXPECT_EQ(command_.rfind(L"reg.exe import \"" + withBlank.path() + L"\\Tav", 0), 0u) << command_.c_str();
    EXPECT_EQ(command_.back(), L'"');
    EXPECT_TRUE(withBlank.Entries().empty());
}

TEST_F(TerminalSession, ACommandLineThatWouldBeCutIsNotRun) {
    WriteTemplate(kHead);
    const std::wstring command = L"reg.exe import ";
    for (const size_t chars : {259u, 260u}) {
        const std::wstring path = temporary_.path() + L"\\" +
                                  std::wstring(chars - command.size() - temporary_.path().size() - 1, L'd');
        REPLACE_CALL(name, GetTempFileNameW, [&](LPCWSTR, LPCWSTR, UINT, LPWSTR out) {
            wmemcpy(out, path.c_str(), path.size() + 1);
            WriteWholeFile(path, {});
            return UINT{1};
        });
        EXPECT_EQ(Write(), chars == 259);
        EXPECT_EQ(imports_, 1);
        EXPECT_EQ(command_, command + path.substr(0, 259 - command.size())) << "the one that fits";
        EXPECT_TRUE(temporary_.Entries().empty());
    }
    ExpectBox(L"Cannot import the terminal session from " + package_.File(kTemplateName) +
              L"\n\nreg.exe result=206");
}

TEST_F(TerminalSession, WithoutMemoryTheTemplateCannotBeRead) {
    WriteTemplate(kHead);
    {
        REPLACE_CALL(allocate, malloc, [](size_t bytes) {
            return bytes > kTemplateMaxChars * sizeof(wchar_t) ? nullptr : malloc(bytes);
        });
        EXPECT_FALSE(Write());
    }
    ExpectBox(L"Cannot read file " + package_.File(kTemplateName));
    EXPECT_EQ(imports_, 0);
}

TEST_F(TerminalSession, AMissingTemplateIsSaid) {
    EXPECT_FALSE(Write());
    ExpectBox(L"Cannot read file " + package_.File(kTemplateName));
    EXPECT_EQ(imports_, 0);
}

TEST_F(TerminalSession, AFolderInTheTemplatesPlaceIsSaid) {
    ASSERT_TRUE(CreateDirectoryW(package_.File(kTemplateName).c_str(), nullptr));
    EXPECT_FALSE(Write());
    ExpectBox(L"Cannot read file " + package_.File(kTemplateName));
}

TEST_F(TerminalSession, ATemplateThatCannotBeReadIsSaid) {
    WriteTemplate(kHead);
    REPLACE_CALL(read, ReadFile, [](auto...) { return FALSE; });
    EXPECT_FALSE(Write());
    ExpectBox(L"Cannot read file " + package_.File(kTemplateName));
}

TEST_F(TerminalSession, AnEmptyTemplateFailsSilently) {
    for (const std::vector<uint8_t>& content : {std::vector<uint8_t>{}, std::vector<uint8_t>{'x'}}) {
        WriteWholeFile(package_.File(kTemplateName), content);
        EXPECT_FALSE(Write());
        EXPECT_TRUE(boxes_.empty());
        EXPECT_EQ(imports_, 0);
    }
}

struct LengthRow {
    const char* name;
    size_t chars;
    size_t kept;
};
void PrintTo(const LengthRow& row, std::ostream* out) {
    *out << row.name;
}

class TerminalTemplateTest : public TerminalSession, public testing::WithParamInterface<LengthRow> {};

TEST_P(TerminalTemplateTest, IsReadUpToItsLimit) {
    const std::wstring text(GetParam().chars, L';');
    WriteTemplate(text);
    EXPECT_TRUE(Write());
    EXPECT_EQ(imported_, text.substr(0, GetParam().kept) + ValuesOf(L"COM5"));
    EXPECT_TRUE(temporary_.Entries().empty());
}

INSTANTIATE_TEST_SUITE_P(Lengths, TerminalTemplateTest,
                         testing::Values(LengthRow{"One", 1, 1}, LengthRow{"BelowTheLimit", 31998, 31998},
                                         LengthRow{"AtTheLimit", 31999, 31999},
                                         LengthRow{"AboveTheLimit", 32000, 31999},
                                         LengthRow{"AMegabyte", 524288, 31999}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(TerminalSession, TheTemplatesBytesGoOutAsTheyAre) {
    WriteTemplate(std::wstring(L"no mark\0\xD800 x", 12));
    EXPECT_TRUE(Write());
    EXPECT_EQ(imported_, std::wstring(L"no mark\0\xD800 x", 12) + ValuesOf(L"COM5"));
}

// reg.exe would import the head alone and report success.
TEST_F(TerminalSession, ATemplateInAnotherEncodingIsNotImported) {
    for (const std::string head : {"REGEDIT4\r\n", "\xEF\xBB\xBFWindows Registry", "\xFE\xFF\0W"}) {
        WriteWholeFile(package_.File(kTemplateName), {head.begin(), head.end()});
        EXPECT_FALSE(Write());
        ExpectBox(L"Cannot read file " + package_.File(kTemplateName));
        EXPECT_EQ(imports_, 0);
    }
}

TEST_F(TerminalSession, AMissingTemporaryFolderIsSaid) {
    WriteTemplate(kHead);
    temporaryFolder_ = L"\\missing";
    EXPECT_FALSE(Write());
    ExpectBox(L"Error writing file " + temporary_.path() + L"\\missing\\");
    EXPECT_EQ(imports_, 0);
}

TEST_F(TerminalSession, ATemporaryFileThatCannotBeOpenedIsSaidAndDeleted) {
    WriteTemplate(kHead);
    std::wstring refused;
    REPLACE_CALL(open, CreateFileW,
                 [&](LPCWSTR path, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES security,
                     DWORD disposition, DWORD flags, HANDLE file) {
                     if ((access & GENERIC_WRITE) == 0)
                         return CreateFileW(path, access, sharing, security, disposition, flags, file);
                     refused = path;
                     SetLastError(ERROR_ACCESS_DENIED);
                     return INVALID_HANDLE_VALUE;
                 });
    EXPECT_FALSE(Write());
    ExpectBox(L"Error writing file " + refused);
    EXPECT_EQ(imports_, 0);
    EXPECT_TRUE(temporary_.Entries().empty());
}

TEST_F(TerminalSession, AFullFolderIsSaidAndTheFileDeleted) {
    WriteTemplate(kHead);
    REPLACE_CALL(write, WriteFile,
                 [](HANDLE file, LPCVOID bytes, DWORD count, LPDWORD done, LPOVERLAPPED overlapped) {
                     return WriteFile(file, bytes, count / 2, done, overlapped);
                 });
    EXPECT_FALSE(Write());
    ASSERT_EQ(boxes_.size(), 1u);
    EXPECT_EQ(boxes_[0].rfind(L"Error writing file " + temporary_.path() + L"\\Tav", 0), 0u);
    EXPECT_EQ(imports_, 0);
    EXPECT_TRUE(temporary_.Entries().empty());
}

TEST_F(TerminalSession, AnImportThatDoesNotStartIsSaid) {
    WriteTemplate(kHead);
    importError_ = ERROR_FILE_NOT_FOUND;
    EXPECT_FALSE(Write());
    ExpectBox(L"Cannot import the terminal session from " + package_.File(kTemplateName) +
              L"\n\nreg.exe result=2");
    EXPECT_TRUE(temporary_.Entries().empty());
}

TEST_F(TerminalSession, APackageFolderTooLongForTheTemplateIsSaid) {
    library_ = L"C:\\" + std::wstring(235, L'f') + L"\\tavix_coinstaller.dll";
    EXPECT_FALSE(Write());
    ExpectBox(
        (L"Cannot read file C:\\" + std::wstring(235, L'f') + L"\\" + kTemplateName).substr(0, 17 + 259));
}

TEST_F(TerminalSession, LeavesNothingBehindWhicheverCallFails) {
    WriteTemplate(kHead);
    readImported_ = false;  // those calls would be counted
    CallFaults faults;
    WATCH_CALL(faults, GetTempFileNameW, 0, ERROR_DISK_FULL);
    WATCH_CALL(faults, CreateFileW, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, ReadFile, FALSE, ERROR_READ_FAULT);
    WATCH_CALL(faults, WriteFile, FALSE, ERROR_DISK_FULL);
    WATCH_CALL(faults, SetFilePointerEx, FALSE, ERROR_SEEK);
    const int calls = ForEachFailingCall(faults, [&] {
        SCOPED_TRACE(faults.Describe());
        bool written = false;
        boxes_.clear();
        faults.During([&] { written = WriteTerminalSession(nullptr, L"COM5", L"title"); });
        EXPECT_EQ(written, !faults.CallFailed());
        EXPECT_EQ(boxes_.size(), faults.CallFailed() ? 1u : 0u);
        EXPECT_TRUE(temporary_.Entries().empty());
    });
    EXPECT_GE(calls, 6);
}

}  // namespace
