#include "ui/theme.h"

#include <commctrl.h>

#include "base/system_function.h"

namespace {

constexpr const wchar_t* kThemeLibrary = L"uxtheme.dll";
constexpr const wchar_t* kControlsLibrary = L"comctl32.dll";
constexpr HRESULT kMissing = static_cast<HRESULT>(kErrorFunctionMissing);

SystemFunction<decltype(&IsAppThemed)> isAppThemed(kThemeLibrary, "IsAppThemed");
SystemFunction<decltype(&BeginBufferedPaint)> beginBufferedPaint(kThemeLibrary, "BeginBufferedPaint");
SystemFunction<decltype(&GetBufferedPaintBits)> getBufferedPaintBits(kThemeLibrary, "GetBufferedPaintBits");
SystemFunction<decltype(&EndBufferedPaint)> endBufferedPaint(kThemeLibrary, "EndBufferedPaint");

using LoadIconMetricFunction = decltype(&LoadIconMetric);
SystemFunction<LoadIconMetricFunction> loadIconMetric(kControlsLibrary, "LoadIconMetric");

// Version 6 of the controls, which has the loader, does not stand in the system directory itself; the process
// has it loaded wherever its windows are themed.
LoadIconMetricFunction SmallIconLoader() noexcept {
    if (const HMODULE loaded = GetModuleHandleW(kControlsLibrary))
        if (const FARPROC function = GetProcAddress(loaded, "LoadIconMetric"))
            return reinterpret_cast<LoadIconMetricFunction>(function);
    return loadIconMetric.get();
}

}  // namespace

bool ThemeIsAppThemed() noexcept {
    const auto function = isAppThemed.get();
    return function != nullptr && function();
}

HPAINTBUFFER ThemeBeginBufferedPaint(HDC target, const RECT* area, BP_BUFFERFORMAT format,
                                     BP_PAINTPARAMS* params, HDC* paint) noexcept {
    const auto function = beginBufferedPaint.get();
    return function != nullptr ? function(target, area, format, params, paint) : nullptr;
}

HRESULT ThemeGetBufferedPaintBits(HPAINTBUFFER buffer, RGBQUAD** bits, int* rowPixels) noexcept {
    const auto function = getBufferedPaintBits.get();
    return function != nullptr ? function(buffer, bits, rowPixels) : kMissing;
}

HRESULT ThemeEndBufferedPaint(HPAINTBUFFER buffer, bool update) noexcept {
    const auto function = endBufferedPaint.get();
    return function != nullptr ? function(buffer, update) : kMissing;
}

HRESULT ThemeLoadSmallIcon(HINSTANCE module, const wchar_t* name, HICON* icon) noexcept {
    const auto function = SmallIconLoader();
    return function != nullptr ? function(module, name, LIM_SMALL, icon) : kMissing;
}

void ResetThemeLookups() noexcept {
    isAppThemed.Reset();
    beginBufferedPaint.Reset();
    getBufferedPaintBits.Reset();
    endBufferedPaint.Reset();
    loadIconMetric.Reset();
}
