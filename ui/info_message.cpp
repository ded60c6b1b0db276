#include "ui/info_message.h"

#include <cstdarg>

#include "base/xfmt.h"
#include "ui/info_box.h"

namespace {

constexpr const wchar_t* kTitle = L"TAVIX";
constexpr int32_t kWarning = 2;
constexpr int32_t kError = 3;

HICON KindIcon(int32_t kind) noexcept {
    if (kind == kWarning) return LoadIconW(nullptr, IDI_EXCLAMATION);
    if (kind == kError) return LoadIconW(nullptr, IDI_HAND);
    return LoadIconW(nullptr, IDI_ASTERISK);
}

}  // namespace

uint32_t InfoBoxKind(int32_t kind, HWND owner, const wchar_t* format, ...) noexcept {
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = kTitle;
    params.normalIcon = KindIcon(kind);
    params.okText = L"OK";
    va_list args;
    va_start(args, format);
    XfmtNested message{kXfmtNestedMagic, format, &args};
    const uint32_t result = FlexiInfoBoxF(owner, &params, L"%w", &message);
    va_end(args);
    return result;
}

uint32_t InfoBoxAskYes(HWND owner, bool firstIsDefault, const wchar_t* format, ...) noexcept {
    FlexiInfoParams params = {};
    params.cbSize = sizeof(params);
    params.title = kTitle;
    params.normalIcon = LoadIconW(nullptr, IDI_QUESTION);
    params.okText = L"&Yes";
    params.cancelText = L"&No";
    params.defaultButtonId = firstIsDefault ? kInfoBoxOkId : kInfoBoxCancelId;
    va_list args;
    va_start(args, format);
    XfmtNested question{kXfmtNestedMagic, format, &args};
    const uint32_t result = FlexiInfoBoxF(owner, &params, L"%w", &question);
    va_end(args);
    return result == kInfoBoxOk ? kInfoBoxOk : kInfoBoxCancel;
}
