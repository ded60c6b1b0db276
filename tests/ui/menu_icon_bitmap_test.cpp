// The two ways from an icon to a menu item's bitmap.
#include "ui/menu_icons.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/win32_handle.h"
#include "tests/support/leak_counters.h"
#include "tests/ui/menu_icons_fixture.h"

namespace {

// An icon whose pixels have the color and alpha given; its mask is set (transparent) in `masked`.
OwnedIcon MaskedIcon(int width, int height, uint32_t pixel, const RECT& masked) {
    const HDC screen = GetDC(nullptr);
    const OwnedBitmap color(CreateCompatibleBitmap(screen, width, height));
    ReleaseDC(nullptr, screen);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height), pixel);
    const MemoryDc dc(CreateCompatibleDC(nullptr));
    SetDIBits(dc.get(), color.get(), 0, static_cast<UINT>(height), pixels.data(), &info, DIB_RGB_COLORS);
    const OwnedBitmap mask(CreateBitmap(width, height, 1, 1, nullptr));
    const HGDIOBJ before = SelectObject(dc.get(), mask.get());
    PatBlt(dc.get(), 0, 0, width, height, BLACKNESS);
    PatBlt(dc.get(), masked.left, masked.top, masked.right - masked.left, masked.bottom - masked.top,
           WHITENESS);
    SelectObject(dc.get(), before);
    ICONINFO icon = {TRUE, 0, 0, mask.get(), color.get()};
    return OwnedIcon(CreateIconIndirect(&icon));
}

OwnedIcon HalfMaskedIcon(int width, int height, uint32_t pixel) {
    return MaskedIcon(width, height, pixel, {0, 0, width / 2, height});
}

uint32_t AsNumber(const RGBQUAD& pixel) {
    return static_cast<uint32_t>(pixel.rgbReserved) << 24 | static_cast<uint32_t>(pixel.rgbRed) << 16 |
           static_cast<uint32_t>(pixel.rgbGreen) << 8 | pixel.rgbBlue;
}

constexpr RGBQUAD kRed = {0, 0, 0xFF, 0};

TEST(MenuMakePremultiplied, AnImageWithoutAlphaTakesItFromTheMask) {
    const OwnedIcon icon = HalfMaskedIcon(16, 16, 0x00FF0000);
    // Rows longer than the image, as a paint buffer may have them.
    std::vector<RGBQUAD> bits(20 * 16, kRed);
    EXPECT_EQ(menu_make_premultiplied(bits.data(), 20, icon.get(), {16, 16}), S_OK);
    for (size_t y = 0; y < 16; ++y)
        for (size_t x = 0; x < 20; ++x) {
            const uint32_t expected = x < 8 ? 0 : x < 16 ? 0xFFFF0000 : 0x00FF0000;
            ASSERT_EQ(AsNumber(bits[y * 20 + x]), expected) << x << "," << y;
        }
}

TEST(MenuMakePremultiplied, TheRowsOfTheImageRunBottomUpAsThoseOfTheMask) {
    const OwnedIcon icon = MaskedIcon(16, 16, 0x00FF0000, {0, 0, 16, 4});
    std::vector<RGBQUAD> bits(16 * 16, kRed);
    EXPECT_EQ(menu_make_premultiplied(bits.data(), 16, icon.get(), {16, 16}), S_OK);
    EXPECT_EQ(AsNumber(bits[0]), 0xFFFF0000u);
    EXPECT_EQ(AsNumber(bits[12 * 16 - 1]), 0xFFFF0000u);
    EXPECT_EQ(AsNumber(bits[12 * 16]), 0u);
    EXPECT_EQ(AsNumber(bits[16 * 16 - 1]), 0u);
}

TEST(MenuMakePremultiplied, WhatASmallerMaskDoesNotReachBecomesOpaque) {
    const OwnedIcon icon = HalfMaskedIcon(16, 16, 0x00FF0000);
    REPLACE_CALL(allocate, malloc, [](size_t bytes) {
        void* const block = malloc(bytes);
        if (block != nullptr) memset(block, 0xA5, bytes);
        return block;
    });
    REPLACE_CALL(read, GetDIBits, [](HDC, HBITMAP, UINT, UINT, LPVOID bits, LPBITMAPINFO, UINT) {
        memset(bits, 0xFF, 16 * sizeof(uint32_t));
        return 1;
    });
    std::vector<RGBQUAD> bits(16 * 16, kRed);
    EXPECT_EQ(menu_make_premultiplied(bits.data(), 16, icon.get(), {16, 16}), S_OK);
    EXPECT_EQ(AsNumber(bits[15]), 0u);
    EXPECT_EQ(AsNumber(bits[16]), 0xFFFF0000u);
    EXPECT_EQ(AsNumber(bits[16 * 16 - 1]), 0xFFFF0000u);
}

TEST(MenuMakePremultiplied, ASinglePixelWithAlphaKeepsTheImageAsItIs) {
    const OwnedIcon icon = HalfMaskedIcon(16, 16, 0x00FF0000);
    std::vector<RGBQUAD> bits(16 * 16, kRed);
    bits[255].rgbReserved = 1;
    EXPECT_EQ(menu_make_premultiplied(bits.data(), 16, icon.get(), {16, 16}), S_OK);
    EXPECT_EQ(AsNumber(bits[0]), 0x00FF0000u);
    EXPECT_EQ(AsNumber(bits[255]), 0x01FF0000u);
}

TEST(MenuMakePremultiplied, AlphaBeyondTheImageInTheRowDoesNotCount) {
    const OwnedIcon icon = HalfMaskedIcon(16, 16, 0x00FF0000);
    std::vector<RGBQUAD> bits(20 * 16, kRed);
    bits[16].rgbReserved = 0xFF;
    EXPECT_EQ(menu_make_premultiplied(bits.data(), 20, icon.get(), {16, 16}), S_OK);
    EXPECT_EQ(AsNumber(bits[15]), 0xFFFF0000u);
}

TEST(MenuMakePremultiplied, EachFailureHasItsCodeAndLeavesNothing) {
    const OwnedIcon icon = HalfMaskedIcon(16, 16, 0x00FF0000);
    CallFaults faults;
    WATCH_CALL(faults, GetIconInfo, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, malloc, nullptr, 0);
    WATCH_CALL(faults, CreateCompatibleDC, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, GetDIBits, 0, ERROR_INVALID_HANDLE);
    const HRESULT expected[] = {S_OK,   E_FAIL,        E_OUTOFMEMORY, E_OUTOFMEMORY, E_UNEXPECTED,
                                E_FAIL, E_OUTOFMEMORY, E_OUTOFMEMORY, E_UNEXPECTED};
    std::vector<RGBQUAD> bits(16 * 16);
    ExpectNoLeaks(
        [&] {
            size_t run = 0;
            EXPECT_EQ(ForEachFailingCall(
                          faults,
                          [&] {
                              bits.assign(bits.size(), kRed);
                              HRESULT result = S_FALSE;
                              faults.During([&] {
                                  result = menu_make_premultiplied(bits.data(), 16, icon.get(), {16, 16});
                              });
                              EXPECT_EQ(result, expected[run++]);
                          }),
                      4);
        },
        2);
}

std::vector<uint32_t> PixelsOf(HBITMAP bitmap, int width, int height) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    std::vector<uint32_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height));
    const MemoryDc dc(CreateCompatibleDC(nullptr));
    GetDIBits(dc.get(), bitmap, 0, static_cast<UINT>(height), pixels.data(), &info, DIB_RGB_COLORS);
    return pixels;
}

TEST_F(MenuIcons, AnIconWithoutAlphaBecomesABitmapWithAlpha) {
    const OwnedIcon icon =
        HalfMaskedIcon(GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), 0x00FF0000);
    HBITMAP bitmap = nullptr;
    ASSERT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, icon.get(), false, &bitmap), 0);
    const OwnedBitmap owned(bitmap);
    EXPECT_EQ(ItemBitmap(10), bitmap);
    DIBSECTION section = {};
    ASSERT_EQ(GetObjectW(bitmap, sizeof(section), &section), static_cast<int>(sizeof(section)));
    EXPECT_EQ(section.dsBmih.biSize, 40u);
    EXPECT_EQ(section.dsBmih.biPlanes, 1);
    EXPECT_EQ(section.dsBmih.biBitCount, 32);
    EXPECT_EQ(section.dsBmih.biCompression, DWORD{BI_RGB});
    const int width = GetSystemMetrics(SM_CXSMICON);
    const int height = GetSystemMetrics(SM_CYSMICON);
    EXPECT_EQ(section.dsBmih.biWidth, width);
    EXPECT_EQ(section.dsBmih.biHeight, height);
    const std::vector<uint32_t> pixels = PixelsOf(bitmap, width, height);
    const auto middleRow = static_cast<size_t>(height / 2 * width);
    EXPECT_EQ(pixels[middleRow], 0u);
    EXPECT_EQ(pixels[middleRow + static_cast<size_t>(width) - 1], 0xFFFF0000u);
}

TEST_F(MenuIcons, AnItemCanBeGivenByItsPosition) {
    const OwnedIcon icon = SmallIcon();
    HBITMAP bitmap = nullptr;
    ASSERT_EQ(menu_set_item_icon_argb(menu_.get(), 1, true, icon.get(), false, &bitmap), 0);
    const OwnedBitmap owned(bitmap);
    EXPECT_EQ(ItemBitmap(11), bitmap);
}

// Buffered painting is reached by look-up, so its functions are replaced where they are looked up.
HPAINTBUFFER WINAPI NoBuffer(HDC, const RECT*, BP_BUFFERFORMAT, BP_PAINTPARAMS*, HDC*) {
    return nullptr;
}
HRESULT WINAPI NoBits(HPAINTBUFFER, RGBQUAD**, int*) {
    return E_FAIL;
}
HRESULT WINAPI EndFails(HPAINTBUFFER buffer, BOOL update) {
    EndBufferedPaint(buffer, update);
    return E_FAIL;
}

// What buffered painting was asked for; it goes on to the system.
struct PaintCall {
    BP_BUFFERFORMAT format;
    BP_PAINTPARAMS params;
    BLENDFUNCTION blend;
    RECT area;
} paintCall;
BOOL endedWithUpdate;

HPAINTBUFFER WINAPI RecordedBegin(HDC target, const RECT* area, BP_BUFFERFORMAT format,
                                  BP_PAINTPARAMS* params, HDC* paint) {
    paintCall = {format, *params, *params->pBlendFunction, *area};
    return BeginBufferedPaint(target, area, format, params, paint);
}
HRESULT WINAPI RecordedEnd(HPAINTBUFFER buffer, BOOL update) {
    endedWithUpdate = update;
    return EndBufferedPaint(buffer, update);
}

TEST_F(MenuIcons, TheIconIsDrawnIntoAnErasedBufferThatIsBlendedByItsAlpha) {
    const ReplacedLookup begin("BeginBufferedPaint", AsFarProc(RecordedBegin));
    UINT drawFlags = 0;
    REPLACE_CALL(
        draw, DrawIconEx,
        [&](HDC dc, int x, int y, HICON icon, int width, int height, UINT step, HBRUSH brush, UINT flags) {
            drawFlags = flags;
            return DrawIconEx(dc, x, y, icon, width, height, step, brush, flags);
        });
    const OwnedIcon icon = SmallIcon();
    HBITMAP bitmap = nullptr;
    ASSERT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, icon.get(), false, &bitmap), 0);
    const OwnedBitmap owned(bitmap);
    EXPECT_EQ(paintCall.format, BPBF_DIB);
    EXPECT_EQ(paintCall.params.cbSize, sizeof(BP_PAINTPARAMS));
    EXPECT_EQ(paintCall.params.dwFlags, DWORD{BPPF_ERASE});
    EXPECT_EQ(paintCall.blend.BlendOp, AC_SRC_OVER);
    EXPECT_EQ(paintCall.blend.SourceConstantAlpha, 255);
    EXPECT_EQ(paintCall.blend.AlphaFormat, AC_SRC_ALPHA);
    EXPECT_EQ(paintCall.area.right, GetSystemMetrics(SM_CXSMICON));
    EXPECT_EQ(paintCall.area.bottom, GetSystemMetrics(SM_CYSMICON));
    EXPECT_EQ(drawFlags, UINT{DI_NORMAL});
}

TEST_F(MenuIcons, TheTopOfTheIconIsTheTopOfTheBitmap) {
    const int width = GetSystemMetrics(SM_CXSMICON);
    const int height = GetSystemMetrics(SM_CYSMICON);
    const OwnedIcon icon = MaskedIcon(width, height, 0x00FF0000, {0, 0, width, height / 4});
    HBITMAP bitmap = nullptr;
    ASSERT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, icon.get(), false, &bitmap), 0);
    const OwnedBitmap owned(bitmap);
    const std::vector<uint32_t> bottomUp = PixelsOf(bitmap, width, height);
    EXPECT_EQ(bottomUp.front(), 0xFFFF0000u);
    EXPECT_EQ(bottomUp.back(), 0u);
}

TEST_F(MenuIcons, AnIconWithAlphaKeepsIt) {
    const int width = GetSystemMetrics(SM_CXSMICON);
    const int height = GetSystemMetrics(SM_CYSMICON);
    const OwnedIcon icon = HalfMaskedIcon(width, height, 0x80FF0000);
    HBITMAP bitmap = nullptr;
    ASSERT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, icon.get(), false, &bitmap), 0);
    const OwnedBitmap owned(bitmap);
    const std::vector<uint32_t> pixels = PixelsOf(bitmap, width, height);
    // The mask's clear half is as transparent as its set half: the icon's own alpha counts.
    EXPECT_EQ(pixels.front() >> 24, 0x80u);
    EXPECT_EQ(pixels[static_cast<size_t>(width) - 1] >> 24, 0x80u);
}

TEST_F(MenuIcons, AnIconIsDestroyedOnlyWhenAsked) {
    int destroyed = 0;
    REPLACE_CALL(destroy, DestroyIcon, [&](HICON icon) {
        ++destroyed;
        return DestroyIcon(icon);
    });
    HBITMAP bitmap = nullptr;
    HICON icon = SmallIcon().release();
    ASSERT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, icon, false, &bitmap), 0);
    const OwnedBitmap first(bitmap);
    EXPECT_EQ(menu_set_item_icon_argb(menu_.get(), 77, false, icon, false, &bitmap), -11);
    EXPECT_EQ(destroyed, 0);
    ASSERT_EQ(menu_set_item_icon_argb(menu_.get(), 11, false, icon, true, &bitmap), 0);
    const OwnedBitmap second(bitmap);
    EXPECT_EQ(destroyed, 1);
}

TEST_F(MenuIcons, TheBufferReachesTheBitmapOnlyOnSuccess) {
    const ReplacedLookup end("EndBufferedPaint", AsFarProc(RecordedEnd));
    const OwnedIcon icon = SmallIcon();
    HBITMAP bitmap = nullptr;
    endedWithUpdate = FALSE;
    ASSERT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, icon.get(), false, &bitmap), 0);
    const OwnedBitmap owned(bitmap);
    EXPECT_TRUE(endedWithUpdate);
    EXPECT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, nullptr, false, &bitmap), -4);
    EXPECT_FALSE(endedWithUpdate);
}

struct ThemeFailureRow {
    const char* name;
    const char* function;
    FARPROC replacement;
    int32_t error;
};
void PrintTo(const ThemeFailureRow& row, std::ostream* out) {
    *out << row.name;
}

class ThemeFailure : public MenuIcons, public testing::WithParamInterface<ThemeFailureRow> {};

TEST_P(ThemeFailure, HasItsCodeAndLeavesNothing) {
    const OwnedIcon icon =
        HalfMaskedIcon(GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), 0x00FF0000);
    const ReplacedLookup lookup(GetParam().function, GetParam().replacement);
    ExpectNoLeaks([&] {
        HBITMAP bitmap = reinterpret_cast<HBITMAP>(ULONG_PTR{1});
        EXPECT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, icon.get(), false, &bitmap),
                  GetParam().error);
        EXPECT_EQ(bitmap, nullptr);
        EXPECT_EQ(ItemBitmap(10), nullptr);
    });
}

INSTANTIATE_TEST_SUITE_P(
    Calls, ThemeFailure,
    testing::Values(ThemeFailureRow{"NoBuffer", "BeginBufferedPaint", AsFarProc(NoBuffer), -10},
                    ThemeFailureRow{"NoBufferedPaintingAtAll", "BeginBufferedPaint", nullptr, -10},
                    ThemeFailureRow{"NoBits", "GetBufferedPaintBits", AsFarProc(NoBits), -8},
                    ThemeFailureRow{"BitsMissing", "GetBufferedPaintBits", nullptr, -8},
                    ThemeFailureRow{"NoEnd", "EndBufferedPaint", AsFarProc(EndFails), -4},
                    ThemeFailureRow{"EndMissing", "EndBufferedPaint", nullptr, -10}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(MenuIcons, EachFailingCallOfTheThemedWayHasItsCodeAndLeavesNothing) {
    CallFaults faults;
    WATCH_CALL(faults, CreateCompatibleDC, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, CreateDIBSection, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, DrawIconEx, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, GetIconInfo, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, malloc, nullptr, 0);
    WATCH_CALL(faults, GetDIBits, 0, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, SetMenuItemInfoW, FALSE, ERROR_INVALID_PARAMETER);
    int destroyed = 0;
    REPLACE_CALL(destroy, DestroyIcon, [&](HICON icon) {
        ++destroyed;
        return DestroyIcon(icon);
    });
    const auto codeOf = [&]() -> int32_t {
        const std::string name = faults.FailedName();
        if (name == "GetIconInfo") return -7;
        if (name == "SetMenuItemInfoW") return -11;
        return name.empty() ? 0 : -4;
    };
    const auto failEachCall = [&] {
        ForEachFailingCall(faults, [&] {
            HICON icon =
                HalfMaskedIcon(GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), 0x00FF0000)
                    .release();
            HBITMAP bitmap = reinterpret_cast<HBITMAP>(ULONG_PTR{1});
            int32_t result = 1;
            destroyed = 0;
            faults.During(
                [&] { result = menu_set_item_icon_argb(menu_.get(), 10, false, icon, true, &bitmap); });
            EXPECT_EQ(destroyed, 1);
            EXPECT_EQ(result == 0, bitmap != nullptr);
            EXPECT_EQ(result, codeOf());
            if (bitmap != nullptr) DeleteObject(bitmap);
        });
    };
    ExpectNoLeaks(failEachCall, 2);
}

TEST_F(MenuIcons, TheOldWayDrawsTheIconOnWhiteForBothStates) {
    HBITMAP bitmap = nullptr;
    ASSERT_EQ(menu_set_item_icon_legacy(nullptr, IDI_HAND, menu_.get(), 11, &bitmap), 0);
    const OwnedBitmap owned(bitmap);
    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_CHECKMARKS;
    ASSERT_TRUE(GetMenuItemInfoW(menu_.get(), 11, FALSE, &info));
    EXPECT_EQ(info.hbmpChecked, bitmap);
    EXPECT_EQ(info.hbmpUnchecked, bitmap);
    BITMAP size = {};
    GetObjectW(bitmap, sizeof(size), &size);
    const DWORD dimensions = static_cast<DWORD>(GetMenuCheckMarkDimensions());
    EXPECT_EQ(size.bmWidth, LOWORD(dimensions));
    EXPECT_EQ(size.bmHeight, HIWORD(dimensions));
    const std::vector<uint32_t> pixels = PixelsOf(bitmap, size.bmWidth, size.bmHeight);
    EXPECT_EQ(pixels[0] & 0xFFFFFF, 0xFFFFFFu);  // a corner that the round icon leaves free
    EXPECT_NE(pixels[static_cast<size_t>(size.bmHeight / 2 * size.bmWidth + size.bmWidth / 2)] & 0xFFFFFF,
              0xFFFFFFu);
}

TEST_F(MenuIcons, EachFailingCallOfTheOldWayHasItsCodeAndLeavesNothing) {
    CallFaults faults;
    WATCH_CALL(faults, LoadIconW, nullptr, ERROR_RESOURCE_NAME_NOT_FOUND);
    WATCH_CALL(faults, GetDC, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, CreateCompatibleDC, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, CreateCompatibleBitmap, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, FillRect, 0, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, DrawIconEx, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, SetMenuItemBitmaps, FALSE, ERROR_INVALID_PARAMETER);
    const int32_t codes[] = {0,  -5,  -12, -12, -12, -12, -12, -11,  // one call fails
                             -5, -12, -12, -12, -12, -12, -11};      // it and all later ones
    const auto failEachCall = [&] {
        size_t run = 0;
        const int calls = ForEachFailingCall(faults, [&] {
            HBITMAP bitmap = reinterpret_cast<HBITMAP>(ULONG_PTR{1});
            int32_t result = 1;
            faults.During(
                [&] { result = menu_set_item_icon_legacy(nullptr, IDI_HAND, menu_.get(), 11, &bitmap); });
            EXPECT_EQ(result, codes[run++]);
            EXPECT_EQ(result == 0, bitmap != nullptr);
            if (bitmap != nullptr) DeleteObject(bitmap);
        });
        EXPECT_EQ(calls, 7);
    };
    ExpectNoLeaks(failEachCall, 2);
}

TEST_F(MenuIcons, ABitmapThatCannotBeSelectedIsMinusNineInBothWays) {
    const OwnedIcon icon = SmallIcon();
    REPLACE_CALL(select, SelectObject, [](HDC, HGDIOBJ) { return HGDIOBJ{nullptr}; });
    ExpectNoLeaks([&] {
        HBITMAP bitmap = reinterpret_cast<HBITMAP>(ULONG_PTR{1});
        EXPECT_EQ(menu_set_item_icon_argb(menu_.get(), 10, false, icon.get(), false, &bitmap), -9);
        EXPECT_EQ(bitmap, nullptr);
        bitmap = reinterpret_cast<HBITMAP>(ULONG_PTR{1});
        EXPECT_EQ(menu_set_item_icon_legacy(nullptr, IDI_HAND, menu_.get(), 11, &bitmap), -9);
        EXPECT_EQ(bitmap, nullptr);
    });
}

}  // namespace
