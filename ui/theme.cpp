#include "ui/theme.h"

#include <commctrl.h>

#include "base/system_function.h"
#include "ui/activation_context.h"

namespace {

constexpr const wchar_t* kThemeLibrary = L"uxtheme.dll";
constexpr HRESULT kMissing = static_cast<HRESULT>(kErrorFunctionMissing);

SystemFunction<decltype(&IsAppThemed)> g_isAppThemed(kThemeLibrary, "IsAppThemed");
SystemFunction<decltype(&BeginBufferedPaint)> g_beginBufferedPaint(kThemeLibrary, "BeginBufferedPaint");
SystemFunction<decltype(&GetBufferedPaintBits)> g_getBufferedPaintBits(kThemeLibrary, "GetBufferedPaintBits");
SystemFunction<decltype(&EndBufferedPaint)> g_endBufferedPaint(kThemeLibrary, "EndBufferedPaint");

}  // namespace

bool ThemeIsAppThemed() noexcept {
    const auto function = g_isAppThemed.get();
    return function != nullptr && function();
}

HPAINTBUFFER ThemeBeginBufferedPaint(HDC target, const RECT* area, BP_BUFFERFORMAT format,
                                     BP_PAINTPARAMS* params, HDC* paint) noexcept {
    const auto function = g_beginBufferedPaint.get();
    // What cannot be ended is not begun.
    if (function == nullptr || g_endBufferedPaint.get() == nullptr) return nullptr;
    return function(target, area, format, params, paint);
}

HRESULT ThemeGetBufferedPaintBits(HPAINTBUFFER buffer, RGBQUAD** bits, int* rowPixels) noexcept {
    const auto function = g_getBufferedPaintBits.get();
    return function != nullptr ? function(buffer, bits, rowPixels) : kMissing;
}

HRESULT ThemeEndBufferedPaint(HPAINTBUFFER buffer, bool update) noexcept {
    const auto function = g_endBufferedPaint.get();
    return function != nullptr ? function(buffer, update) : kMissing;
}

HRESULT ThemeLoadSmallIcon(HINSTANCE module, const wchar_t* name, HICON* icon) noexcept {
    const auto function =
        reinterpret_cast<decltype(&LoadIconMetric)>(IsolationAwareCommonControlsFunction("LoadIconMetric"));
    return function != nullptr ? function(module, name, LIM_SMALL, icon) : kMissing;
}

void ResetThemeLookups() noexcept {
    g_isAppThemed.Reset();
    g_beginBufferedPaint.Reset();
    g_getBufferedPaintBits.Reset();
    g_endBufferedPaint.Reset();
}
