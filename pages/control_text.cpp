#include "pages/control_text.h"

#include <cwchar>

bool SetControlText(HWND dialog, int controlId, const wchar_t* text) {
    constexpr int kComparedChars = 512;
    wchar_t shown[kComparedChars];
    const int shownChars = static_cast<int>(GetDlgItemTextW(dialog, controlId, shown, kComparedChars));
    // A text that may have been cut while it was read is not comparable.
    if (shownChars < kComparedChars - 1 && wcscmp(shown, text) == 0) return false;
    SetDlgItemTextW(dialog, controlId, text);
    return true;
}
