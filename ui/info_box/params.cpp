#include "ui/info_box/params.h"

namespace {

constexpr int32_t kDefaultPointSize = 9;
constexpr int32_t kMinPointSize = 6;
constexpr int32_t kDefaultHintSeconds = 2;

uint32_t NothingToRefresh(void*, FlexiInfoEvent*, wchar_t*, uint32_t) noexcept {
    return FIR_NormalIcon;
}

uint32_t DefaultButton(const FlexiInfoParams& params) noexcept {
    if (params.defaultButtonId != 0) return params.defaultButtonId;
    if (params.okText != nullptr) return kInfoBoxOkId;
    return params.cancelText != nullptr ? kInfoBoxCancelId : 0;
}

}  // namespace

int32_t InfoBoxFontPointSize(int32_t requested) noexcept {
    if (requested < 1) return kDefaultPointSize;
    return requested < kMinPointSize ? kMinPointSize : requested;
}

FlexiInfoParams WithInfoBoxDefaults(const FlexiInfoParams* params, bool hasTextBuffer) noexcept {
    FlexiInfoParams full = params != nullptr ? *params : FlexiInfoParams{};
    if (full.title == nullptr) full.title = L"FlexiInfo";
    // System icons are shared and never destroyed.
    if (full.normalIcon == nullptr) full.normalIcon = LoadIconW(nullptr, IDI_INFORMATION);
    if (full.alertIcon == nullptr) full.alertIcon = LoadIconW(nullptr, IDI_WARNING);
    if (full.refreshProc == nullptr) {
        full.refreshProc = NothingToRefresh;
        full.autoRefreshAtStart = 0;
    }
    if (!hasTextBuffer) full.textBufferChars = 1;
    full.fontPointSize = InfoBoxFontPointSize(full.fontPointSize);
    if (full.refreshText == nullptr) full.refreshText = L"&Refresh";
    if (full.autoText == nullptr) full.autoText = L"&Auto";
    full.defaultButtonId = DefaultButton(full);
    if (full.hintSeconds == 0) full.hintSeconds = kDefaultHintSeconds;
    if (full.hintText == nullptr) full.hintText = L"Right-click blank area to get context menu.";
    if (full.menuItems == nullptr || full.menuItemCount < 1) {
        full.menuItems = nullptr;
        full.menuItemCount = 0;
    }
    return full;
}
