#include "sim/viewer/device_pages.h"

#include <string>
#include <utility>
#include <vector>

#include <commctrl.h>

#include "base/win32_handle.h"
#include "sim/viewer/device_nodes.h"
#include "sim/viewer/viewer_resources.h"

namespace {

const SheetDevice& DeviceOfPage(LPARAM initParam) {
    const auto* page = reinterpret_cast<const PROPSHEETPAGEW*>(initParam);
    return *reinterpret_cast<const SheetDevice*>(page->lParam);
}

std::wstring OrUnknown(std::wstring text) {
    return text.empty() ? L"Unknown" : text;
}

void OnGeneralInit(HWND page, const SheetDevice& device) {
    const DeviceNode node = DescribeDeviceNode(device.set, *device.element);
    const auto text = [&](DWORD property) {
        return OrUnknown(DeviceText(device.set, *device.element, property));
    };
    SendDlgItemMessageW(page, IDC_DEVICE_ICON, STM_SETICON,
                        reinterpret_cast<WPARAM>(LoadIconW(nullptr, IDI_APPLICATION)), 0);
    SetDlgItemTextW(page, IDC_DEVICE_NAME, node.name.c_str());
    SetDlgItemTextW(page, IDC_DEVICE_CLASS, node.className.c_str());
    SetDlgItemTextW(page, IDC_DEVICE_MANUFACTURER, text(SPDRP_MFG).c_str());
    SetDlgItemTextW(page, IDC_DEVICE_LOCATION, text(SPDRP_LOCATION_INFORMATION).c_str());
    SetDlgItemTextW(page, IDC_DEVICE_STATUS, DeviceStatusText(node).c_str());
    // The dialog manager selects the whole text when it gives the focus.
    PostMessageW(GetDlgItem(page, IDC_DEVICE_STATUS), EM_SETSEL, 0, 0);
}

INT_PTR CALLBACK GeneralPageProc(HWND page, UINT message, WPARAM, LPARAM lParam) {
    if (message != WM_INITDIALOG) return FALSE;
    OnGeneralInit(page, DeviceOfPage(lParam));
    return TRUE;
}

std::wstring DriverKeyText(const SheetDevice& device, const wchar_t* value) {
    const HKEY opened =
        SetupDiOpenDevRegKey(device.set, device.element, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
    if (opened == INVALID_HANDLE_VALUE) return {};
    const RegistryKey key(opened);
    wchar_t text[512] = {};
    DWORD bytes = sizeof(text);
    constexpr DWORD kTypes = RRF_RT_REG_SZ | RRF_RT_REG_MULTI_SZ;
    return RegGetValueW(opened, nullptr, value, kTypes, nullptr, text, &bytes) == ERROR_SUCCESS
               ? text
               : std::wstring();
}

using DetailRow = std::pair<const wchar_t*, std::wstring>;

std::vector<DetailRow> DetailRows(const SheetDevice& device) {
    const auto text = [&](DWORD property) { return DeviceText(device.set, *device.element, property); };
    return {
        {L"Device instance ID", DeviceInstanceId(device.set, *device.element)},
        {L"Description", text(SPDRP_DEVICEDESC)},
        {L"Friendly name", text(SPDRP_FRIENDLYNAME)},
        {L"Hardware IDs", text(SPDRP_HARDWAREID)},
        {L"Compatible IDs", text(SPDRP_COMPATIBLEIDS)},
        {L"Class", text(SPDRP_CLASS)},
        {L"Class GUID", text(SPDRP_CLASSGUID)},
        {L"Service", text(SPDRP_SERVICE)},
        {L"Driver key", text(SPDRP_DRIVER)},
        {L"INF file", DriverKeyText(device, L"InfPath")},
        {L"Coinstallers", DriverKeyText(device, L"CoInstallers32")},
    };
}

void OnDetailsInit(HWND page, const SheetDevice& device) {
    const HWND list = GetDlgItem(page, IDC_DETAILS_LIST);
    ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT | LVS_EX_LABELTIP);
    RECT area = {};
    GetClientRect(list, &area);
    wchar_t headings[2][16] = {L"Property", L"Value"};
    const int widths[2] = {area.right * 3 / 10, area.right * 7 / 10};
    for (int index = 0; index < 2; ++index) {
        LVCOLUMNW column{LVCF_TEXT | LVCF_WIDTH};
        column.pszText = headings[index];
        column.cx = widths[index];
        SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&column));
    }
    int row = 0;
    for (auto& [name, value] : DetailRows(device)) {
        if (value.empty()) continue;
        LVITEMW item{LVIF_TEXT, row++};
        item.pszText = const_cast<wchar_t*>(name);
        SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        item.iSubItem = 1;
        item.pszText = value.data();
        SendMessageW(list, LVM_SETITEMTEXTW, static_cast<WPARAM>(item.iItem),
                     reinterpret_cast<LPARAM>(&item));
    }
}

INT_PTR CALLBACK DetailsPageProc(HWND page, UINT message, WPARAM, LPARAM lParam) {
    if (message != WM_INITDIALOG) return FALSE;
    OnDetailsInit(page, DeviceOfPage(lParam));
    return TRUE;
}

HPROPSHEETPAGE CreatePage(WORD dialog, DLGPROC procedure, const SheetDevice& device) {
    PROPSHEETPAGEW page = {};
    page.dwSize = sizeof(page);
    page.hInstance = GetModuleHandleW(nullptr);
    page.pszTemplate = MAKEINTRESOURCEW(dialog);
    page.pfnDlgProc = procedure;
    page.lParam = reinterpret_cast<LPARAM>(&device);
    return CreatePropertySheetPageW(&page);
}

}  // namespace

HPROPSHEETPAGE CreateGeneralPage(const SheetDevice& device) {
    return CreatePage(IDD_GENERAL_PAGE, GeneralPageProc, device);
}

HPROPSHEETPAGE CreateDetailsPage(const SheetDevice& device) {
    return CreatePage(IDD_DETAILS_PAGE, DetailsPageProc, device);
}
