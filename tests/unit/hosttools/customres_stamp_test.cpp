#include <gtest/gtest.h>

#include <string>

#include "base/files.h"
#include "base/win32_handle.h"
#include "hosttools/customres_stamp/stamp.h"
#include "tests/support/import_redirect.h"
#include "tests/support/resource_library.h"
#include "tests/support/temporary_file.h"
#include "ui/custom_resource_check.h"

namespace {

Bytes Unstamped() {
    return CustomerLibrary().Build();
}

Bytes Stamped() {
    Bytes image = Unstamped();
    StampImage(&image);
    return image;
}

bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsAccepted(const std::wstring& path) {
    const KernelHandle file = OpenFileRw(path.c_str(), false);
    return VerifyCustomResourceFile(file.get());
}

// The file and the tool's temporary file beside it.
void ExpectFileIs(const TemporaryFile& file, const Bytes& content) {
    EXPECT_EQ(ReadWholeFile(file.path()), content);
    EXPECT_FALSE(Exists(file.path() + L".stamping"));
}

TEST(CustomresStamp, AStampedLibraryIsAcceptedByTheProduct) {
    const TemporaryFile file(Unstamped());
    const StampResult result = StampLibrary(file.path());
    EXPECT_EQ(result.outcome, StampOutcome::kStamped) << testing::PrintToString(result.error);
    EXPECT_TRUE(IsAccepted(file.path()));
    ExpectFileIs(file, Stamped());
}

TEST(CustomresStamp, TellsTheDigest) {
    const TemporaryFile file(Unstamped());
    const StampResult result = StampLibrary(file.path());
    EXPECT_EQ(result.digest.size(), size_t{32});
    EXPECT_EQ(FindText(Stamped(), result.digest), FindText(Unstamped(), std::wstring(32, L'0')));
}

TEST(CustomresStamp, AWrongDigestIsReplaced) {
    Bytes image = Unstamped();
    image[FindText(image, std::wstring(32, L'0'))] = L'7';
    const TemporaryFile file(image);
    EXPECT_EQ(StampLibrary(file.path()).outcome, StampOutcome::kStamped);
    ExpectFileIs(file, Stamped());
}

TEST(CustomresStamp, AStampedLibraryIsLeftAsItIs) {
    const TemporaryFile file(Stamped());
    REPLACE_CALL(move, MoveFileExW, [](auto...) { return FALSE; });
    const StampResult result = StampLibrary(file.path());
    EXPECT_EQ(result.outcome, StampOutcome::kAlreadyStamped);
    EXPECT_EQ(move.calls(), 0);
    ExpectFileIs(file, Stamped());
}

TEST(CustomresStamp, CheckingChangesNothing) {
    const TemporaryFile unstamped(Unstamped());
    EXPECT_EQ(CheckLibrary(unstamped.path()).outcome, StampOutcome::kFailed);
    EXPECT_EQ(CheckLibrary(unstamped.path()).error, L"the digest in string 18001 is not that of the file");
    ExpectFileIs(unstamped, Unstamped());
    const TemporaryFile stamped(Stamped());
    EXPECT_EQ(CheckLibrary(stamped.path()).outcome, StampOutcome::kAlreadyStamped);
}

// Files that cannot be stamped stay as they are, and the error says why.
struct Unfit {
    const char* name;
    Bytes content;
    const wchar_t* error;
};
void PrintTo(const Unfit& row, std::ostream* out) {
    *out << row.name;
}

Bytes LibraryWithDigestString(const wchar_t* text) {
    ResourceLibrary library;
    library.SetString(18000, L"0");
    library.SetString(18001, text);
    return library.Build();
}

Bytes LibraryWithoutStrings() {
    ResourceLibrary library;
    library.SetIcon(18001, 1, 2, 3);
    return library.Build();
}

constexpr wchar_t kNoTable[] =
    L"there is no string 18001: either this is no PE file or it has no string table 1126";

class CustomresStampUnfit : public testing::TestWithParam<Unfit> {};

TEST_P(CustomresStampUnfit, IsRefusedAndUntouched) {
    const TemporaryFile file(GetParam().content);
    const StampResult result = StampLibrary(file.path());
    EXPECT_EQ(result.outcome, StampOutcome::kFailed);
    EXPECT_EQ(result.error, GetParam().error);
    EXPECT_EQ(result.digest, L"");
    EXPECT_EQ(CheckLibrary(file.path()).error, GetParam().error);
    ExpectFileIs(file, GetParam().content);
}

INSTANTIATE_TEST_SUITE_P(
    Files, CustomresStampUnfit,
    testing::Values(Unfit{"Empty", {}, kNoTable}, Unfit{"Text", Bytes(5000, 'x'), kNoTable},
                    Unfit{"NoStrings", LibraryWithoutStrings(), kNoTable},
                    Unfit{"NoDigestString", LibraryWithDigestString(L""),
                          L"string 18001 has 0 characters; it needs 32 (for example 32 zeros)"},
                    Unfit{"ShortDigestString", LibraryWithDigestString(L"0123456789abcdef0123456789abcde"),
                          L"string 18001 has 31 characters; it needs 32 (for example 32 zeros)"},
                    Unfit{"LongDigestString", LibraryWithDigestString(L"0123456789abcdef0123456789abcdef0"),
                          L"string 18001 has 33 characters; it needs 32 (for example 32 zeros)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(CustomresStamp, AMissingFileIsAnError) {
    const TemporaryFile file({});
    const std::wstring missing = file.path() + L".no such file";
    EXPECT_EQ(StampLibrary(missing).error, L"there is no such file (Windows error 2)");
    EXPECT_EQ(CheckLibrary(missing).error, L"there is no such file (Windows error 2)");
    EXPECT_EQ(StampLibrary(L"C:\\no such folder\\tavix_customres.dll").error,
              L"there is no such file (Windows error 3)");
}

TEST(CustomresStamp, AFileThatCannotBeOpenedIsAnError) {
    const TemporaryFile file(Unstamped());
    const KernelHandle inUse = OpenFileRw(file.path().c_str(), true);
    const StampResult result = StampLibrary(file.path());
    EXPECT_EQ(result.outcome, StampOutcome::kFailed);
    EXPECT_EQ(result.error, L"the file cannot be opened (Windows error 32)");
}

// Nothing of that size is read or asked for as memory.
TEST(CustomresStamp, ALibraryTooLargeToBeLoadedIsRefusedAndUntouched) {
    const TemporaryFile file(Unstamped());
    for (const int64_t bytes : {int64_t{1} << 31, int64_t{1} << 47}) {
        REPLACE_CALL(size, GetFileSizeEx, [&](HANDLE, LARGE_INTEGER* answer) {
            answer->QuadPart = bytes;
            return TRUE;
        });
        const StampResult result = StampLibrary(file.path());
        EXPECT_EQ(result.outcome, StampOutcome::kFailed);
        EXPECT_EQ(result.error, L"the file cannot be read in full, or it is larger than a library can be");
    }
    ExpectFileIs(file, Unstamped());
}

TEST(CustomresStamp, AReadOnlyFileIsRefusedAndUntouched) {
    const TemporaryFile file(Unstamped());
    SetFileAttributesW(file.path().c_str(), FILE_ATTRIBUTE_READONLY);
    const StampResult result = StampLibrary(file.path());
    SetFileAttributesW(file.path().c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(result.outcome, StampOutcome::kFailed);
    EXPECT_EQ(result.error, L"the file is read-only");
    ExpectFileIs(file, Unstamped());
}

TEST(CustomresStamp, WhatAnInterruptedRunLeftIsOverwritten) {
    const TemporaryFile file(Unstamped());
    WriteWholeFile(file.path() + L".stamping", Bytes(100000, 'x'));
    EXPECT_EQ(StampLibrary(file.path()).outcome, StampOutcome::kStamped);
    ExpectFileIs(file, Stamped());
}

// A kill at any moment before the rename leaves the old file, after it the new one.
TEST(CustomresStamp, AtTheRenameTheOldFileIsWholeAndTheNewOneComplete) {
    const TemporaryFile file(Unstamped());
    REPLACE_CALL(move, MoveFileExW, [&](const wchar_t* from, const wchar_t* to, DWORD flags) {
        EXPECT_EQ(ReadWholeFile(file.path()), Unstamped());
        EXPECT_EQ(ReadWholeFile(from), Stamped());
        EXPECT_EQ(to, file.path());
        return MoveFileExW(from, to, flags);
    });
    EXPECT_EQ(StampLibrary(file.path()).outcome, StampOutcome::kStamped);
    EXPECT_EQ(move.calls(), 1);
}

TEST(CustomresStamp, ANewFileThatDoesNotVerifyIsThrownAway) {
    const TemporaryFile file(Unstamped());
    REPLACE_CALL(write, WriteFile,
                 [](HANDLE target, const void* data, DWORD bytes, DWORD* written, OVERLAPPED* overlapped) {
                     const auto* const first = static_cast<const uint8_t*>(data);
                     Bytes damaged(first, first + bytes);
                     damaged.back() ^= 1;
                     return WriteFile(target, damaged.data(), bytes, written, overlapped);
                 });
    const StampResult result = StampLibrary(file.path());
    EXPECT_EQ(result.outcome, StampOutcome::kFailed);
    EXPECT_EQ(result.error, L"the stamped file does not verify");
    ExpectFileIs(file, Unstamped());
}

TEST(CustomresStamp, WhateverFailsTheFileIsTheOldOrTheNewOne) {
    CallFaults faults;
    WATCH_CALL(faults, CreateFileW, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, ReadFile, FALSE, ERROR_CRC);
    WATCH_CALL(faults, SetFilePointerEx, FALSE, ERROR_SEEK);
    WATCH_CALL(faults, GetFileSizeEx, FALSE, ERROR_CRC);
    WATCH_CALL(faults, WriteFile, FALSE, ERROR_DISK_FULL);
    WATCH_CALL(faults, FlushFileBuffers, FALSE, ERROR_DISK_FULL);
    WATCH_CALL(faults, MoveFileExW, FALSE, ERROR_ACCESS_DENIED);
    const Bytes before = Unstamped();
    const Bytes after = Stamped();
    const int calls = ForEachFailingCall(faults, [&] {
        const TemporaryFile file(before);
        StampResult result;
        faults.During([&] { result = StampLibrary(file.path()); });
        ExpectFileIs(file, result.outcome == StampOutcome::kStamped ? after : before);
        EXPECT_EQ(result.error.empty(), result.outcome != StampOutcome::kFailed);
        EXPECT_TRUE(faults.CallFailed() || result.outcome == StampOutcome::kStamped);
    });
    EXPECT_GT(calls, 10);
}

TEST(CustomresStamp, KnowsALibraryThatIsSwitchedOff) {
    for (const wchar_t* text : {L"", L"0", L"x", L"0123"}) {
        ResourceLibrary library = CustomerLibrary();
        library.SetString(18000, text);
        EXPECT_FALSE(IsLibrarySwitchedOff(TemporaryFile(library.Build()).path()))
            << testing::PrintToString(text);
    }
    for (const wchar_t* text : {L"1", L"9", L"2x"}) {
        ResourceLibrary library = CustomerLibrary();
        library.SetString(18000, text);
        EXPECT_TRUE(IsLibrarySwitchedOff(TemporaryFile(library.Build()).path()))
            << testing::PrintToString(text);
    }
    EXPECT_FALSE(IsLibrarySwitchedOff(TemporaryFile(Bytes(10, 'x')).path()));
}

}  // namespace
