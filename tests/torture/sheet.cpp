#include "tests/torture/sheet.h"

#include <commctrl.h>

#include "resources/resource_ids.h"
#include "tests/support/modal_driver.h"
#include "tests/support/wait_until.h"

namespace {

constexpr UINT_PTR kVcomTimer = 51;
constexpr UINT_PTR kUsbTimer = 68;
constexpr LRESULT kPortNames = 128;

}  // namespace

Sheet::Sheet(Torture& torture, Node node) : torture_(torture), node_(node) {
    header_.dwSize = sizeof(header_);
    header_.phpage = pages_.data();
    header_.dwFlags = PSH_MODELESS;
    header_.pszCaption = L"Torture";
    AskForPage();
    Show();
}

void Sheet::AskForPage() {
    OpenedNode& node = torture_.NodeOf(node_);
    SP_ADDPROPERTYPAGE_DATA data = {};
    data.ClassInstallHeader = {sizeof(data.ClassInstallHeader), DIF_ADDPROPERTYPAGE_ADVANCED};
    SetupDiSetClassInstallParamsW(node.set(), node.element(), &data.ClassInstallHeader, sizeof(data));
    torture_.Expect(torture_.CallExport(DIF_ADDPROPERTYPAGE_ADVANCED, node_) == NO_ERROR,
                    "a page request succeeds");
    SetupDiGetClassInstallParamsW(node.set(), node.element(), &data.ClassInstallHeader, sizeof(data),
                                  nullptr);
    SetupDiSetClassInstallParamsW(node.set(), node.element(), nullptr, 0);
    header_.nPages = data.NumDynamicPages;
    std::copy_n(data.DynamicPages, data.NumDynamicPages, pages_.begin());
}

void Sheet::Show() {
    if (header_.nPages == 0) return;
    const auto shown = PropertySheetW(&header_);
    if (shown > 0) window_.reset(reinterpret_cast<HWND>(shown));
    if (window_) UpdateWindow(window_.get());
    PumpPendingMessages();
}

HWND Sheet::page() const {
    return window_ ? PropSheet_GetCurrentPageHwnd(window_.get()) : nullptr;
}

void Sheet::Close() {
    window_.reset();
    PumpPendingMessages();
}

void Sheet::Tick() const {
    SendMessageW(page(), WM_TIMER, node_ == Node::kUsb ? kUsbTimer : kVcomTimer, 0);
    PumpPendingMessages();
}

void Sheet::Click(int controlId) const {
    torture_.user.Click(page(), controlId);
    PumpPendingMessages();
}

void Sheet::DoubleClick(int controlId) const {
    SendMessageW(page(), WM_COMMAND, MAKEWPARAM(controlId, STN_DBLCLK),
                 reinterpret_cast<LPARAM>(GetDlgItem(page(), controlId)));
}

void Sheet::CheckBox(int controlId, bool checked) const {
    CheckDlgButton(page(), controlId, checked ? BST_CHECKED : BST_UNCHECKED);
}

void Sheet::Notify(UINT code) const {
    NMHDR header = {window_.get(), 0, code};
    SendMessageW(page(), WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&header));
}

std::wstring Sheet::Text(int controlId) const {
    wchar_t text[400] = L"";
    GetDlgItemTextW(page(), controlId, text, 400);
    return text;
}

void Sheet::ExpectUsable() const {
    if (page() == nullptr) return;
    const size_t boxesBefore = torture_.user.boxes.size();
    if (node_ == Node::kUsb) {
        Tick();
        torture_.Expect(!Text(IDC_USBD_STATUS).empty(), "the page shows the device's state");
        torture_.Expect(!Text(IDC_USBD_MAPPING).empty(), "the page shows the VCOM");
    }
    if (node_ == Node::kVcom) {
        Click(IDC_VCOM_REFRESH);
        Tick();
        torture_.Expect(IsWindowEnabled(GetDlgItem(page(), IDC_VCOM_SAVE)) || torture_.WasWritingDenied(),
                        "the page can save");
        torture_.Expect(SendDlgItemMessageW(page(), IDC_VCOM_PORT_NAME, CB_GETCOUNT, 0, 0) == kPortNames,
                        "the page offers all port names");
        torture_.Expect(!Text(IDC_VCOM_DRIVER_VERSION).empty(), "the page shows the version");
        torture_.Expect(!Text(IDC_VCOM_FRIENDLY_NAME).empty(), "the page shows the name");
    }
    torture_.Expect(IsWindowEnabled(GetDlgItem(page(), IDC_FILE_LOGGING)), "the logging box can be used");
    for (size_t box = boxesBefore; box < torture_.user.boxes.size(); ++box)
        torture_.Expect(false, "no box once all is well: " + NarrowText(torture_.user.boxes[box].text));
}
