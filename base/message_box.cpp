#include "base/message_box.h"

#include <cstdarg>

#include "base/xfmt.h"

namespace {

int ShowBox(const wchar_t* title, UINT style, HWND owner, const wchar_t* format, va_list* args) noexcept {
    wchar_t text[kMessageChars];
    XfmtNested message = {kXfmtNestedMagic, format, args};
    xfmt(text, kMessageChars, L"%w", &message);
    return MessageBoxW(owner, text, title != nullptr ? title : kMessageTitle, style);
}

UINT IconOfKind(int32_t kind) noexcept {
    switch (kind) {
        case kMessageInformation:
            return MB_ICONINFORMATION;
        case kMessageWarning:
            return MB_ICONWARNING;
        case kMessageError:
            return MB_ICONERROR;
        default:
            return 0;
    }
}

}  // namespace

int MsgBoxFmt(const wchar_t* title, UINT style, HWND owner, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int result = ShowBox(title, style, owner, format, &args);
    va_end(args);
    return result;
}

int MsgBoxKind(const wchar_t* title, int32_t kind, HWND owner, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int result = ShowBox(title, IconOfKind(kind), owner, format, &args);
    va_end(args);
    return result;
}

void ErrorBox(HWND owner, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    ShowBox(nullptr, MB_ICONERROR, owner, format, &args);
    va_end(args);
}

int AskYesNo(HWND owner, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int result = ShowBox(kMessageTitle, MB_YESNO | MB_ICONQUESTION, owner, format, &args);
    va_end(args);
    return result;
}

int AskYesNoDefaultNo(HWND owner, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int result =
        ShowBox(kMessageTitle, MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2, owner, format, &args);
    va_end(args);
    return result;
}
