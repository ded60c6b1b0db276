#include "pages/vcom_page.h"

#include "pages/prospage_params.h"

INT_PTR CALLBACK VcomProspageDlgProc(HWND dialog, UINT message, WPARAM, LPARAM lParam) noexcept {
    switch (message) {
        case WM_INITDIALOG:
            StorePageParams(dialog, lParam);
            return TRUE;
        case WM_HELP:
        case WM_CONTEXTMENU:
        case WM_CHAR:
            return TRUE;
        default:
            return FALSE;
    }
}
