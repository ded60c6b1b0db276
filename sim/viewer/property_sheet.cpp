#include "sim/viewer/property_sheet.h"

#include <algorithm>
#include <array>

#include <commctrl.h>
#include <prsht.h>
#include <setupapi.h>

#include "base/win32_handle.h"
#include "sim/viewer/device_nodes.h"
#include "sim/viewer/device_pages.h"
#include "sim/viewer/window_picture.h"

namespace {

constexpr size_t kMostPages = 32;

// The pages belong to this list until the sheet has taken them.
struct PageList {
    std::array<HPROPSHEETPAGE, kMostPages> pages = {};
    UINT count = 0;

    PageList() = default;
    PageList(const PageList&) = delete;
    PageList& operator=(const PageList&) = delete;
    ~PageList() {
        for (UINT index = 0; index < count; ++index)
            DestroyPropertySheetPage(pages[index]);
    }
    void Add(HPROPSHEETPAGE page) {
        if (page) pages[count++] = page;
    }
};

// One sheet is open at a time and its callbacks take no parameter.
struct OpenSheet {
    const SheetRequest* request = nullptr;
    HWND window = nullptr;
    bool pictureSaved = false;
};
OpenSheet* openSheet = nullptr;

void CloseSheet() {
    PostMessageW(openSheet->window, WM_COMMAND, IDCANCEL, 0);
}

void CALLBACK OnCloseTimer(HWND, UINT, UINT_PTR timer, DWORD) {
    KillTimer(nullptr, timer);
    if (openSheet) CloseSheet();
}

void CALLBACK OnPictureTimer(HWND, UINT, UINT_PTR timer, DWORD) {
    KillTimer(nullptr, timer);
    if (!openSheet) return;
    RedrawWindow(openSheet->window, nullptr, nullptr, RDW_ALLCHILDREN | RDW_UPDATENOW);
    GdiFlush();
    openSheet->pictureSaved = SaveWindowPicture(openSheet->window, openSheet->request->picturePath);
    if (!openSheet->request->closeAfterSeconds) CloseSheet();
}

constexpr int kSheetLeft = 40;  // the same place in every picture, wholly on the screen
constexpr int kSheetTop = 40;

int CALLBACK SheetCallback(HWND sheet, UINT message, LPARAM) {
    if (message != PSCB_INITIALIZED) return 0;
    openSheet->window = sheet;
    const SheetRequest& request = *openSheet->request;
    if (!request.owner) SetWindowPos(sheet, nullptr, kSheetLeft, kSheetTop, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    if (!request.picturePath.empty()) SetTimer(nullptr, 0, request.settleMilliseconds, OnPictureTimer);
    if (request.closeAfterSeconds) SetTimer(nullptr, 0, *request.closeAfterSeconds * 1000, OnCloseTimer);
    return 0;
}

SheetResult RunSheet(const SheetRequest& request, const std::wstring& name, PageList& list, UINT firstPage) {
    // Under Wine the first window of a process is never drawn as the active one; this one comes before the
    // sheet.
    const OwnedWindow firstWindow(
        CreateWindowExW(0, L"STATIC", nullptr, WS_POPUP, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr));
    SetForegroundWindow(firstWindow.get());
    OpenSheet state;
    state.request = &request;
    openSheet = &state;
    const std::wstring title = name + L" Properties";
    PROPSHEETHEADERW header = {};
    header.dwSize = sizeof(header);
    header.dwFlags = PSH_NOAPPLYNOW | PSH_USECALLBACK | PSH_NOCONTEXTHELP;
    header.hwndParent = request.owner;
    header.pszCaption = title.c_str();
    header.nPages = list.count;
    header.nStartPage = firstPage;
    header.phpage = list.pages.data();
    header.pfnCallback = SheetCallback;
    list.count = 0;  // the sheet destroys them, also when it fails
    const INT_PTR result = PropertySheetW(&header);
    openSheet = nullptr;
    if (result < 0 || !state.window) return SheetResult::NotShown;
    return request.picturePath.empty() || state.pictureSaved ? SheetResult::Shown : SheetResult::NoPicture;
}

}  // namespace

SheetResult ShowDeviceSheet(const SheetRequest& request) {
    const DeviceInfoList set(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    SP_DEVINFO_DATA element = {};
    element.cbSize = sizeof(element);
    if (!set || !SetupDiOpenDeviceInfoW(set.get(), request.instanceId.c_str(), nullptr, 0, &element))
        return SheetResult::NoSuchDevice;
    const SheetDevice device{set.get(), &element};

    PageList list;
    list.Add(CreateGeneralPage(device));
    list.Add(CreateDetailsPage(device));
    const UINT ownPages = list.count;
    PROPSHEETHEADERW header = {};
    header.dwSize = sizeof(header);
    header.phpage = list.pages.data();
    header.nPages = list.count;
    SetupDiGetClassDevPropertySheetsW(set.get(), &element, &header, kMostPages, nullptr,
                                      DIGCDP_FLAG_ADVANCED);
    list.count = header.nPages;

    UINT firstPage = ownPages < list.count ? ownPages : 0;
    if (request.page) {
        if (*request.page < 1 || static_cast<UINT>(*request.page) > list.count)
            return SheetResult::NoSuchPage;
        firstPage = static_cast<UINT>(*request.page - 1);
    }
    return RunSheet(request, DescribeDeviceNode(set.get(), element).name, list, firstPage);
}

const wchar_t* SheetResultText(SheetResult result) {
    switch (result) {
        case SheetResult::Shown:
            return L"shown";
        case SheetResult::NoSuchDevice:
            return L"no such device";
        case SheetResult::NoSuchPage:
            return L"the sheet has no page of this number";
        case SheetResult::NotShown:
            return L"the sheet could not be shown";
        case SheetResult::NoPicture:
            return L"the picture could not be saved";
    }
    return L"unknown";
}
