// What the tests of menu icons share: a pop-up menu on a window, icons made to order, and functions of the
// system replaced where they are looked up by name.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "base/win32_handle.h"
#include "tests/support/import_redirect.h"
#include "ui/menu_icons.h"
#include "ui/theme.h"

// One of the system's icons, in the small size.
inline OwnedIcon SmallIcon() {
    return OwnedIcon(
        static_cast<HICON>(CopyImage(LoadIconW(nullptr, IDI_HAND), IMAGE_ICON, GetSystemMetrics(SM_CXSMICON),
                                     GetSystemMetrics(SM_CYSMICON), 0)));
}

// The answer for an icon that does not exist.
inline HRESULT WINAPI NoIcon(HINSTANCE, PCWSTR, int, HICON*) {
    return static_cast<HRESULT>(0x80070715);
}

// Gives another function of the system, or none, to the look-up by name.
class ReplacedLookup {
  public:
    ReplacedLookup(const char* name, FARPROC function)
        : lookup_("GetProcAddress", [name, function](HMODULE module, LPCSTR wanted) {
              const bool ours = HIWORD(wanted) != 0 && strcmp(wanted, name) == 0;
              return ours ? function : GetProcAddress(module, wanted);
          }) {
        ResetThemeLookups();
    }
    ~ReplacedLookup() { ResetThemeLookups(); }

  private:
    ReplacedCall<GetProcAddress> lookup_;
};

template <typename Function>
FARPROC AsFarProc(Function* function) {
    return reinterpret_cast<FARPROC>(function);
}

class MenuIcons : public testing::Test {
  protected:
    MenuIcons()
        : owner_(CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 20, 20, 300, 200, nullptr, nullptr,
                                 nullptr, nullptr)),
          menu_(CreatePopupMenu()) {
        SetForegroundWindow(owner_.get());
        AppendMenuW(menu_.get(), MF_STRING, 10, L"Information");
        AppendMenuW(menu_.get(), MF_STRING, 11, L"Warning");
        AppendMenuW(menu_.get(), MF_STRING | MF_CHECKED, 12, L"Missing icon");
    }
    HBITMAP ItemBitmap(UINT item) const {
        MENUITEMINFOW info = {};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_BITMAP;
        GetMenuItemInfoW(menu_.get(), item, FALSE, &info);
        return info.hbmpItem;
    }
    BOOL Track(bool force, int32_t* error) {
        return menu_track_popup_with_icons(menu_.get(), TPM_RETURNCMD, 40, 50, owner_.get(), nullptr,
                                           items_.data(), static_cast<int32_t>(items_.size()), error, force);
    }

    OwnedWindow owner_;
    OwnedMenu menu_;
    std::vector<MenuIconItem> items_ = {{10, nullptr, IDI_ASTERISK, nullptr},
                                        {11, nullptr, IDI_EXCLAMATION, nullptr}};
};
