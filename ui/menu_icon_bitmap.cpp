// The two ways from an icon to a menu item's bitmap: with transparency, and opaque for menus without themes.
#include "ui/menu_icons.h"

#include <algorithm>

#include "base/heap_array.h"
#include "base/win32_handle.h"
#include "ui/theme.h"

namespace {

class SelectedBitmap {
  public:
    SelectedBitmap(HDC dc, HBITMAP bitmap) noexcept : dc_(dc), previous_(SelectObject(dc, bitmap)) {}
    ~SelectedBitmap() {
        if (*this) SelectObject(dc_, previous_);
    }
    SelectedBitmap(const SelectedBitmap&) = delete;
    SelectedBitmap& operator=(const SelectedBitmap&) = delete;
    explicit operator bool() const noexcept { return previous_ != nullptr && previous_ != HGDI_ERROR; }

  private:
    HDC dc_;
    HGDIOBJ previous_;
};

// Rows run bottom-up, as in every bitmap and buffer here.
BITMAPINFO ArgbInfo(SIZE size) noexcept {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = size.cx;
    info.bmiHeader.biHeight = size.cy;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    return info;
}

HRESULT CreateArgbBitmap(HDC dc, SIZE size, OwnedBitmap& bitmap) noexcept {
    const BITMAPINFO info = ArgbInfo(size);
    void* bits = nullptr;
    bitmap.reset(CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    return bitmap ? S_OK : E_OUTOFMEMORY;
}

bool HasAlpha(const RGBQUAD* bits, int32_t rowPixels, SIZE size) noexcept {
    for (LONG y = 0; y < size.cy; ++y, bits += rowPixels)
        for (LONG x = 0; x < size.cx; ++x)
            if (bits[x].rgbReserved != 0) return true;
    return false;
}

HRESULT TakeAlphaFromMask(RGBQUAD* bits, int32_t rowPixels, HBITMAP mask, SIZE size) noexcept {
    const auto pixels = static_cast<size_t>(size.cx) * static_cast<size_t>(size.cy);
    HeapArray<uint32_t> maskBits;
    const MemoryDc dc(CreateCompatibleDC(nullptr));
    if (!maskBits.Resize(pixels) || !dc) return E_OUTOFMEMORY;
    // Pixels beyond a smaller mask stay clear.
    std::fill(maskBits.begin(), maskBits.end(), 0u);
    BITMAPINFO info = ArgbInfo(size);
    if (GetDIBits(dc.get(), mask, 0, static_cast<UINT>(size.cy), maskBits.data(), &info, DIB_RGB_COLORS) == 0)
        return E_UNEXPECTED;

    const uint32_t* maskPixel = maskBits.data();
    for (LONG y = 0; y < size.cy; ++y, bits += rowPixels)
        for (LONG x = 0; x < size.cx; ++x, ++maskPixel)
            if (*maskPixel != 0)
                bits[x] = {};
            else
                bits[x].rgbReserved = 0xFF;
    return S_OK;
}

// Draws the icon into a paint buffer over `target`, which preserves alpha.
int32_t DrawWithAlpha(HDC target, HICON icon, SIZE size) noexcept {
    BLENDFUNCTION blend = {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
    BP_PAINTPARAMS params = {};
    params.cbSize = sizeof(params);
    params.dwFlags = BPPF_ERASE;
    params.pBlendFunction = &blend;
    const RECT area = {0, 0, size.cx, size.cy};
    HDC paint = nullptr;
    const HPAINTBUFFER buffer = ThemeBeginBufferedPaint(target, &area, BPBF_DIB, &params, &paint);
    if (buffer == nullptr) return kMenuIconNoBuffer;

    int32_t result = kMenuIconOk;
    RGBQUAD* bits = nullptr;
    int rowPixels = 0;
    if (!DrawIconEx(paint, 0, 0, icon, size.cx, size.cy, 0, nullptr, DI_NORMAL)) {
        result = kMenuIconBitmapFailed;
    } else if (FAILED(ThemeGetBufferedPaintBits(buffer, &bits, &rowPixels))) {
        result = kMenuIconNoBits;
    } else if (const HRESULT converted = menu_make_premultiplied(bits, rowPixels, icon, size);
               FAILED(converted)) {
        result = converted == E_FAIL ? kMenuIconNoIconInfo : kMenuIconBitmapFailed;
    }
    const HRESULT ended = ThemeEndBufferedPaint(buffer, result == kMenuIconOk);
    return result == kMenuIconOk && FAILED(ended) ? kMenuIconBitmapFailed : result;
}

int32_t MakeArgbBitmap(HICON icon, OwnedBitmap& bitmap) noexcept {
    const SIZE size = {GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON)};
    const MemoryDc dc(CreateCompatibleDC(nullptr));
    if (!dc || FAILED(CreateArgbBitmap(dc.get(), size, bitmap))) return kMenuIconBitmapFailed;
    const SelectedBitmap selected(dc.get(), bitmap.get());
    return selected ? DrawWithAlpha(dc.get(), icon, size) : kMenuIconNotSelected;
}

int32_t MakeOpaqueBitmap(HICON icon, OwnedBitmap& bitmap) noexcept {
    const DWORD dimensions = static_cast<DWORD>(GetMenuCheckMarkDimensions());
    const RECT area = {0, 0, LOWORD(dimensions), HIWORD(dimensions)};
    const ScreenDc screen(GetDC(nullptr));
    const MemoryDc dc(CreateCompatibleDC(screen.get()));
    bitmap.reset(CreateCompatibleBitmap(screen.get(), area.right, area.bottom));
    if (!screen || !dc || !bitmap) return kMenuIconLegacyFailed;
    const SelectedBitmap selected(dc.get(), bitmap.get());
    if (!selected) return kMenuIconNotSelected;
    const bool drawn = FillRect(dc.get(), &area, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH))) &&
                       DrawIconEx(dc.get(), 0, 0, icon, area.right, area.bottom, 0, nullptr, DI_NORMAL);
    return drawn ? kMenuIconOk : kMenuIconLegacyFailed;
}

// Gives the bitmap to the caller, who keeps it as long as the menu item shows it.
int32_t Finish(int32_t result, OwnedBitmap& made, HBITMAP* bitmap) noexcept {
    *bitmap = result == kMenuIconOk ? made.release() : nullptr;
    return result;
}

}  // namespace

HRESULT menu_make_premultiplied(RGBQUAD* bits, int32_t rowPixels, HICON icon, SIZE size) noexcept {
    if (HasAlpha(bits, rowPixels, size)) return S_OK;
    ICONINFO info = {};
    if (!GetIconInfo(icon, &info)) return E_FAIL;
    const OwnedBitmap color(info.hbmColor);
    const OwnedBitmap mask(info.hbmMask);
    return TakeAlphaFromMask(bits, rowPixels, mask.get(), size);
}

int32_t menu_set_item_icon_argb(HMENU menu, UINT item, bool byPosition, HICON icon, bool destroyIcon,
                                HBITMAP* bitmap) noexcept {
    const OwnedIcon toDestroy(destroyIcon ? icon : nullptr);
    OwnedBitmap made;
    const int32_t error = MakeArgbBitmap(icon, made);
    if (error != kMenuIconOk) return Finish(error, made, bitmap);
    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_BITMAP;
    info.hbmpItem = made.get();
    const bool updated = SetMenuItemInfoW(menu, item, byPosition, &info) != FALSE;
    return Finish(updated ? kMenuIconOk : kMenuIconItemNotUpdated, made, bitmap);
}

int32_t menu_set_item_icon_legacy(HINSTANCE module, const wchar_t* icon, HMENU menu, UINT item,
                                  HBITMAP* bitmap) noexcept {
    OwnedBitmap made;
    // Shared by the system, not to be destroyed.
    const HICON loaded = LoadIconW(module, icon);
    if (loaded == nullptr) return Finish(kMenuIconNotLoaded, made, bitmap);
    const int32_t error = MakeOpaqueBitmap(loaded, made);
    if (error != kMenuIconOk) return Finish(error, made, bitmap);
    const bool updated = SetMenuItemBitmaps(menu, item, MF_BYCOMMAND, made.get(), made.get()) != FALSE;
    return Finish(updated ? kMenuIconOk : kMenuIconItemNotUpdated, made, bitmap);
}
