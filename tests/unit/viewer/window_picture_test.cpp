#include "sim/viewer/window_picture.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "base/win32_handle.h"

namespace {

std::wstring PicturePath() {
    wchar_t folder[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, folder);
    return std::wstring(folder) + L"window_picture_test.png";
}

uint32_t BigEndian(const BYTE* bytes) {
    return static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
           static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
}

TEST(WindowPicture, IsAPngOfTheWindowsSize) {
    const OwnedWindow window(CreateWindowExW(0, L"STATIC", L"picture", WS_POPUP | WS_VISIBLE, 10, 20, 123, 45,
                                             nullptr, nullptr, nullptr, nullptr));
    ASSERT_TRUE(window);
    const std::wstring path = PicturePath();
    ASSERT_TRUE(SaveWindowPicture(window.get(), path));

    std::array<BYTE, 24> head = {};
    {
        const FileHandle file(
            CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        DWORD bytes = 0;
        EXPECT_TRUE(ReadFile(file.get(), head.data(), head.size(), &bytes, nullptr));
    }
    DeleteFileW(path.c_str());
    EXPECT_EQ(memcmp(head.data(), "\x89PNG\r\n\x1A\n", 8), 0);
    EXPECT_EQ(BigEndian(&head[16]), 123u);
    EXPECT_EQ(BigEndian(&head[20]), 45u);
}

TEST(WindowPicture, OfNoWindowIsNotSaved) {
    EXPECT_FALSE(SaveWindowPicture(nullptr, PicturePath()));
    EXPECT_EQ(GetFileAttributesW(PicturePath().c_str()), INVALID_FILE_ATTRIBUTES);
}

}  // namespace
