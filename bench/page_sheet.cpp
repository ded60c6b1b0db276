#include "bench/page_sheet.h"

#include <cstdio>
#include <string>
#include <vector>

#include <commctrl.h>

namespace {

struct EmptyTemplate {
    DLGTEMPLATE head = {DS_CONTROL | WS_CHILD | WS_CAPTION, 0, 0, 0, 0, 257, 215};
    WORD menuClassTitle[3] = {0, 0, 0};
};
EmptyTemplate g_emptyTemplate;

INT_PTR CALLBACK EmptyPageProc(HWND, UINT message, WPARAM, LPARAM) {
    return message == WM_INITDIALOG;
}

}  // namespace

HWND OpenSheetWith(const PROPSHEETPAGEW& page) {
    PROPSHEETHEADERW header = {};
    header.dwSize = sizeof(header);
    header.dwFlags = PSH_MODELESS | PSH_PROPSHEETPAGE | PSH_NOAPPLYNOW;
    header.pszCaption = L"Bench";
    header.nPages = 1;
    header.ppsp = &page;
    return reinterpret_cast<HWND>(PropertySheetW(&header));
}

PROPSHEETPAGEW PageOf(DLGPROC procedure, WORD templateId, const void* params) {
    PROPSHEETPAGEW page = {};
    page.dwSize = sizeof(page);
    page.hInstance = GetModuleHandleW(nullptr);
    page.pszTemplate = MAKEINTRESOURCEW(templateId);
    page.pfnDlgProc = procedure;
    page.lParam = reinterpret_cast<LPARAM>(params);
    return page;
}

HWND OpenEmptySheet() {
    PROPSHEETPAGEW page = PageOf(EmptyPageProc, 0, nullptr);
    page.dwFlags = PSP_DLGINDIRECT;
    page.pResource = &g_emptyTemplate.head;
    return OpenSheetWith(page);
}

void PrintRequests(SimulatedDriver& driver, const char* what) {
    std::vector<LoggedRequest> requests;
    driver.ReadRequests(requests);
    driver.ClearRequests();
    std::printf("  %-34s %zu:", what, requests.size());
    for (const LoggedRequest& request : requests)
        std::printf(" %ls", std::wstring(RequestName(request.record.code)).c_str());
    std::printf("\n");
}
