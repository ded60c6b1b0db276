#include "base/kernel_path.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "base/windows_api.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/import_redirect.h"

namespace {

// Answers for a system of three volumes.
DWORD WINAPI FakeQueryDosDevice(LPCWSTR name, LPWSTR target, DWORD chars) {
    const struct {
        const wchar_t* drive;
        const wchar_t* target;
    } drives[] = {
        {L"c:", L"\\Device\\HarddiskVolume2"},      {L"d:", L"\\Device\\HarddiskVolume12"},
        {L"e:", L"\\device\\HARDDISKVOLUME3"},      {L"f:", L"\\Device\\HarddiskVolume2"},
        {L"z:", L"\\Device\\HarddiskVolumeShadow"},
    };
    EXPECT_EQ(chars, 260u);
    for (const auto& drive : drives) {
        if (wcscmp(drive.drive, name) != 0) continue;
        wcscpy(target, drive.target);
        return static_cast<DWORD>(wcslen(target)) + 2;
    }
    SetLastError(ERROR_FILE_NOT_FOUND);
    return 0;
}

struct PathRow {
    const char* name;
    const wchar_t* kernel;
    const wchar_t* dos;  // null: no drive
};
void PrintTo(const PathRow& row, std::ostream* out) {
    *out << row.name;
}

class NtPath : public testing::TestWithParam<PathRow> {};

TEST_P(NtPath, BecomesADrivePath) {
    REPLACE_CALL(query, QueryDosDeviceW, FakeQueryDosDevice);
    wchar_t path[64] = L"untouched";
    EXPECT_EQ(NtPathToDosPath(GetParam().kernel, path, 64), GetParam().dos != nullptr);
    EXPECT_STREQ(path, GetParam().dos != nullptr ? GetParam().dos : L"untouched");
}

INSTANTIATE_TEST_SUITE_P(
    Table, NtPath,
    testing::Values(PathRow{"File", L"\\Device\\HarddiskVolume2\\dir\\a.exe", L"c:\\dir\\a.exe"},
                    PathRow{"RootOnly", L"\\Device\\HarddiskVolume2\\", L"c:\\"},
                    PathRow{"LongerNumber", L"\\Device\\HarddiskVolume12\\a", L"d:\\a"},
                    PathRow{"ShorterNumber", L"\\Device\\HarddiskVolume1\\a", nullptr},
                    PathRow{"AnyCase", L"\\DEVICE\\harddiskvolume2\\A", L"c:\\A"},
                    PathRow{"TargetInAnyCase", L"\\Device\\HarddiskVolume3\\a", L"e:\\a"},
                    PathRow{"LastDrive", L"\\Device\\HarddiskVolumeShadow\\a", L"z:\\a"},
                    PathRow{"NoNumber", L"\\Device\\HarddiskVolume\\a", nullptr},
                    PathRow{"UnknownVolume", L"\\Device\\HarddiskVolume9\\a", nullptr},
                    PathRow{"NoBackslash", L"\\Device\\HarddiskVolume2", nullptr},
                    PathRow{"OtherPrefix", L"\\Device\\Mup\\server\\a", nullptr},
                    PathRow{"PrefixCutShort", L"\\Device\\HarddiskVolum", nullptr},
                    PathRow{"DosPath", L"c:\\a", nullptr}, PathRow{"Empty", L"", nullptr}),
    [](const auto& row) { return std::string(row.param.name); });

// A name may have older targets, which follow the current one in the list.
TEST(NtPathToDosPath, OnlyTheCurrentTargetOfADriveCounts) {
    constexpr wchar_t kTargets[] = L"\\Device\\HarddiskVolume5\0\\Device\\HarddiskVolume4\0";
    REPLACE_CALL(query, QueryDosDeviceW, [&](LPCWSTR name, LPWSTR target, DWORD) {
        if (wcscmp(name, L"c:") != 0) return DWORD{0};
        memcpy(target, kTargets, sizeof(kTargets));
        return static_cast<DWORD>(std::size(kTargets));
    });
    wchar_t path[64] = L"untouched";
    EXPECT_FALSE(NtPathToDosPath(L"\\Device\\HarddiskVolume4\\a", path, 64));
    EXPECT_STREQ(path, L"untouched");
    EXPECT_TRUE(NtPathToDosPath(L"\\Device\\HarddiskVolume5\\a", path, 64));
    EXPECT_STREQ(path, L"c:\\a");
}

// The length decides before the characters do.
TEST(NtPathToDosPath, ATargetThatFillsItsBufferIsComparedWhole) {
    const std::wstring device = L"\\Device\\HarddiskVolume" + std::wstring(259 - 22, L'9');
    REPLACE_CALL(query, QueryDosDeviceW, [&](LPCWSTR, LPWSTR target, DWORD chars) {
        wcsncpy(target, device.c_str(), chars);
        return chars;
    });
    wchar_t path[8] = L"";
    EXPECT_TRUE(NtPathToDosPath((device + L"\\x").c_str(), path, 8));
    EXPECT_STREQ(path, L"a:\\x");
    EXPECT_FALSE(NtPathToDosPath((device + L"9\\x").c_str(), path, 8));
}

TEST(NtPathToDosPath, AsksForEveryLetterInOrder) {
    std::wstring asked;
    REPLACE_CALL(query, QueryDosDeviceW, [&](LPCWSTR name, LPWSTR, DWORD) {
        asked += name[0];
        EXPECT_STREQ(name + 1, L":");
        return DWORD{0};
    });
    wchar_t path[8] = L"";
    EXPECT_FALSE(NtPathToDosPath(L"\\Device\\HarddiskVolume2\\a", path, 8));
    EXPECT_EQ(asked, L"abcdefghijklmnopqrstuvwxyz");
}

TEST(NtPathToDosPath, IsCutToEveryCapacity) {
    REPLACE_CALL(query, QueryDosDeviceW, FakeQueryDosDevice);
    const std::wstring whole = L"c:\\dir\\a.exe";
    for (int32_t chars = 0; chars <= 15; ++chars) {
        GuardedBuffer<wchar_t> path(static_cast<size_t>(chars));
        EXPECT_TRUE(NtPathToDosPath(L"\\Device\\HarddiskVolume2\\dir\\a.exe", path.data(), chars));
        if (chars > 0) {
            EXPECT_EQ(std::wstring(path.data()), whole.substr(0, chars - 1u));
        }
    }
}

}  // namespace
