// The state icon of the USB device page, by its image.
#include <gtest/gtest.h>

#include <array>

#include "base/windows_api.h"

#include "base/win32_handle.h"
#include "tests/system/usbd_page_fixture.h"

namespace {

constexpr int kIconSide = 32;

std::vector<DWORD> PixelsOf(HICON icon) {
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(info.bmiHeader), kIconSide, -kIconSide, 1, 32, BI_RGB};
    void* bits = nullptr;
    const MemoryDc memory(CreateCompatibleDC(nullptr));
    const OwnedBitmap bitmap(CreateDIBSection(memory.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    const HGDIOBJ before = SelectObject(memory.get(), bitmap.get());
    PatBlt(memory.get(), 0, 0, kIconSide, kIconSide, WHITENESS);
    EXPECT_TRUE(DrawIconEx(memory.get(), 0, 0, icon, kIconSide, kIconSide, 0, nullptr, DI_NORMAL));
    GdiFlush();
    const auto* pixels = static_cast<const DWORD*>(bits);
    std::vector<DWORD> copy(pixels, pixels + kIconSide * kIconSide);
    SelectObject(memory.get(), before);
    return copy;
}

enum class Log { kNone, kPast, kRecent };

struct IconRow {
    const char* name;
    bool present;
    uint32_t problem;
    Log log;
    WORD moduleIcon;  // 0: the system's
    const wchar_t* systemIcon;

    friend void PrintTo(const IconRow& row, std::ostream* out) { *out << row.name; }
};

class UsbdPageIconTest : public UsbdPageTest, public testing::WithParamInterface<IconRow> {};

TEST_P(UsbdPageIconTest, TheIconTellsTheState) {
    const IconRow& row = GetParam();
    SetPresence(row.present, row.problem);
    if (row.log != Log::kNone) WriteLog(kTwoEpisodes);
    if (row.log == Log::kPast) SetStartupStamp(kLogTime);
    OpenPage();
    const HICON expected = row.moduleIcon != 0
                               ? LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(row.moduleIcon))
                               : LoadIconW(nullptr, row.systemIcon);
    ASSERT_NE(StateIcon(), nullptr);
    EXPECT_EQ(PixelsOf(StateIcon()), PixelsOf(expected));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UsbdPageIconTest,
    testing::Values(IconRow{"Works", true, 0, Log::kNone, 115, nullptr},
                    IconRow{"WorksWithPastErrors", true, 0, Log::kPast, 0, IDI_INFORMATION},
                    IconRow{"WorksWithRecentErrors", true, 0, Log::kRecent, 0, IDI_WARNING},
                    IconRow{"ProblemWithRecentErrors", true, 10, Log::kRecent, 114, nullptr},
                    IconRow{"Problem", true, 10, Log::kNone, 114, nullptr},
                    IconRow{"Absent", false, 0, Log::kNone, 114, nullptr},
                    IconRow{"AbsentWithPastErrors", false, 0, Log::kPast, 114, nullptr}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(UsbdPageIcons, AllDiffer) {
    const std::array pixels = {PixelsOf(LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(114))),
                               PixelsOf(LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(115))),
                               PixelsOf(LoadIconW(nullptr, IDI_INFORMATION)),
                               PixelsOf(LoadIconW(nullptr, IDI_WARNING))};
    for (size_t one = 0; one < pixels.size(); ++one)
        for (size_t other = one + 1; other < pixels.size(); ++other)
            EXPECT_NE(pixels[one], pixels[other]) << one << " and " << other;
}

}  // namespace
