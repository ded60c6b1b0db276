#include "pages/vbus_page.h"

#include "pages/prospage_params.h"

INT_PTR CALLBACK VbusProspageDlgProc(HWND dialog, UINT message, WPARAM, LPARAM lParam) noexcept {
    switch (message) {
        case WM_INITDIALOG:
            StorePageParams(dialog, lParam);
            return TRUE;
        case WM_NOTIFY:
        case WM_HELP:
        case WM_CONTEXTMENU:
            return TRUE;
        default:
            return FALSE;
    }
}
