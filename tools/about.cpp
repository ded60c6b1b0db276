#include "tools/about.h"

#include "base/xfmt.h"
#include "driver/driver_info.h"
#include "ui/custom_resource.h"
#include "ui/dialog_controls.h"
#include "ui/info_box.h"

namespace {

constexpr int32_t kAboutChars = 400;
constexpr wchar_t kCopyright[] = L"Copyright (C) 2016-2026 Holmark Auto-ID. All rights reserved.\r\n";
constexpr wchar_t kCredits[] = L"\r\nMade by people who once waited for a COM port.\r\n";

bool AreCreditKeysHeld() {
    return IsKeyHeld(VK_MENU) && IsKeyHeld(VK_CONTROL) && IsKeyHeld(VK_SHIFT);
}

}  // namespace

void ShowAbout(HWND owner) noexcept {
    const bool withCredits = AreCreditKeysHeld();
    wchar_t version[kDriverVersionTextChars] = L"[TAVIX]";
    GetDriverVersionText(nullptr, version);
    wchar_t text[kAboutChars];
    xfmt(text, kAboutChars, L"TAVIX port driver (%s)\r\n\r\n%s", version,
         IsCustomResourceActive() ? CustomAboutText() : kCopyright);
    if (withCredits) xfmt_append(text, kAboutChars, L"%s", kCredits);
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = L"About TAVIX";
    params.normalIcon = CustomSmallIcon();
    params.okText = L"OK";
    params.textBufferChars = kAboutChars;
    FlexiInfoBox(owner, &params, text);
}
