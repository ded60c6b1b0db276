// Buffered painting and the loader of small icons, which Windows lacked before Vista, and the theme query.
// All are looked up at run time, so that the module still loads on older systems.
#pragma once

#include "base/windows_api.h"

#include <uxtheme.h>

// False also on a system without themes.
bool ThemeIsAppThemed() noexcept;

// The platform's functions; null, or kErrorFunctionMissing as the HRESULT, on a system without them.
HPAINTBUFFER ThemeBeginBufferedPaint(HDC target, const RECT* area, BP_BUFFERFORMAT format,
                                     BP_PAINTPARAMS* params, HDC* paint) noexcept;
HRESULT ThemeGetBufferedPaintBits(HPAINTBUFFER buffer, RGBQUAD** bits, int* rowPixels) noexcept;
HRESULT ThemeEndBufferedPaint(HPAINTBUFFER buffer, bool update) noexcept;

// The icon in the size of small icons, from an icon resource; the caller destroys it. Its loader belongs to
// the common controls that the module's activation context binds.
HRESULT ThemeLoadSmallIcon(HINSTANCE module, const wchar_t* name, HICON* icon) noexcept;

// Forgets the cached look-ups, for tests.
void ResetThemeLookups() noexcept;
