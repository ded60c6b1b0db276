#include "sim/viewer/tree_window.h"

#include <vector>

#include <commctrl.h>
#include <windowsx.h>

#include "base/win32_handle.h"
#include "sim/control/control_protocol.h"
#include "sim/viewer/device_actions.h"
#include "sim/viewer/device_nodes.h"
#include "sim/viewer/device_tree.h"
#include "sim/viewer/property_sheet.h"
#include "sim/viewer/registry_watch.h"
#include "sim/viewer/tree_images.h"
#include "sim/viewer/viewer_resources.h"
#include "sim/viewer/window_picture.h"

namespace {

constexpr wchar_t kWindowClass[] = L"TavixDeviceViewer";
constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT_PTR kPictureTimer = 2;
constexpr UINT kRefreshDelayMilliseconds = 300;  // one plug causes several notifications
constexpr UINT kPictureDelayMilliseconds = 700;
constexpr UINT kOpenSheetMessage =
    WM_APP;  // the sheet opens after the tree has finished with the click or key

std::wstring ComputerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = L"Computer";
    DWORD chars = MAX_COMPUTERNAME_LENGTH + 1;
    GetComputerNameW(name, &chars);
    return name;
}

class TreeWindow {
  public:
    explicit TreeWindow(const TreeRequest& request)
        : request_(request),
          order_(request.byConnection ? TreeOrder::ByConnection : TreeOrder::ByType),
          showHidden_(request.showHidden) {}

    bool Run();

  private:
    void RunMessageLoop(HACCEL keys);
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);
    bool OnCreate();
    void OnSize(int width, int height);
    void OnCommand(UINT command);
    LRESULT OnNotify(const NMHDR& notice);
    void OnTimer(UINT_PTR timer);
    LRESULT OnCustomDraw(NMTVCUSTOMDRAW& draw) const;

    void Refresh();
    void ShowLines(const std::vector<TreeLine>& lines, const std::wstring& selectedId);
    HTREEITEM InsertLine(HTREEITEM parent, size_t index);
    void UpdateMenu() const;
    const TreeLine* SelectedLine() const;
    void OpenSelectedSheet();
    void UninstallSelected();
    // Does it with the wait cursor and says when it failed.
    void Do(DWORD (*action)(const std::wstring& selectedId));

    const TreeRequest& request_;
    TreeOrder order_;
    bool showHidden_;
    HWND window_ = nullptr;
    HWND tree_ = nullptr;
    TreeImages images_;
    RegistryWatch nodesWatch_{L"SYSTEM\\CurrentControlSet\\Enum"};
    RegistryWatch presenceWatch_{kSimNodesKey};
    std::vector<DeviceNode> nodes_;
    std::vector<TreeLine> lines_;
    bool pictureSaved_ = false;
};

bool TreeWindow::Run() {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = WindowProc;
    windowClass.hInstance = instance;
    windowClass.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(IDI_COMPUTER));
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    windowClass.lpszMenuName = MAKEINTRESOURCEW(IDR_TREE_MENU);
    windowClass.lpszClassName = kWindowClass;
    RegisterClassExW(&windowClass);
    if (!CreateWindowExW(0, kWindowClass, L"Device Viewer", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 40, 40,
                         620, 640, nullptr, nullptr, instance, this))
        return false;
    ShowWindow(window_, SW_SHOWNORMAL);
    SetForegroundWindow(window_);
    if (!request_.picturePath.empty()) SetTimer(window_, kPictureTimer, kPictureDelayMilliseconds, nullptr);

    RunMessageLoop(LoadAcceleratorsW(instance, MAKEINTRESOURCEW(IDR_TREE_KEYS)));
    return request_.picturePath.empty() || pictureSaved_;
}

// Messages, and between them the changes of device nodes.
void TreeWindow::RunMessageLoop(HACCEL keys) {
    const HANDLE changes[] = {nodesWatch_.event(), presenceWatch_.event()};
    for (;;) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (message.message == WM_QUIT) return;
            if (TranslateAcceleratorW(window_, keys, &message)) continue;
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        const DWORD reason =
            MsgWaitForMultipleObjectsEx(2, changes, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        if (reason >= WAIT_OBJECT_0 + 2) continue;
        (reason == WAIT_OBJECT_0 ? nodesWatch_ : presenceWatch_).Arm();
        SetTimer(window_, kRefreshTimer, kRefreshDelayMilliseconds, nullptr);
    }
}

LRESULT CALLBACK TreeWindow::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        auto* created = static_cast<TreeWindow*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
        created->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created));
    }
    auto* self = reinterpret_cast<TreeWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self ? self->OnMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT TreeWindow::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE:
            return OnCreate() ? 0 : -1;
        case WM_SIZE:
            OnSize(GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam));
            return 0;
        case WM_SETFOCUS:
            SetFocus(tree_);
            return 0;
        case WM_COMMAND:
            OnCommand(LOWORD(wParam));
            return 0;
        case WM_NOTIFY:
            return OnNotify(*reinterpret_cast<const NMHDR*>(lParam));
        case WM_DEVICECHANGE:
            SetTimer(window_, kRefreshTimer, kRefreshDelayMilliseconds, nullptr);
            return TRUE;
        case WM_TIMER:
            OnTimer(wParam);
            return 0;
        case kOpenSheetMessage:
            OpenSelectedSheet();
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcW(window_, message, wParam, lParam);
    }
}

bool TreeWindow::OnCreate() {
    tree_ = CreateWindowExW(0, WC_TREEVIEWW, nullptr,
                            WS_CHILD | WS_VISIBLE | WS_TABSTOP | TVS_HASLINES | TVS_HASBUTTONS |
                                TVS_LINESATROOT | TVS_SHOWSELALWAYS,
                            0, 0, 0, 0, window_, nullptr, GetModuleHandleW(nullptr), nullptr);
    if (!tree_) return false;
    TreeView_SetImageList(tree_, images_.list(), TVSIL_NORMAL);
    Refresh();
    UpdateMenu();
    return true;
}

void TreeWindow::OnSize(int width, int height) {
    MoveWindow(tree_, 0, 0, width, height, TRUE);
}

void TreeWindow::OnCommand(UINT command) {
    switch (command) {
        case IDM_PROPERTIES:
            PostMessageW(window_, kOpenSheetMessage, 0, 0);
            return;
        case IDM_EXIT:
            DestroyWindow(window_);
            return;
        case IDM_BY_TYPE:
            order_ = TreeOrder::ByType;
            break;
        case IDM_BY_CONNECTION:
            order_ = TreeOrder::ByConnection;
            break;
        case IDM_SHOW_HIDDEN:
            showHidden_ = !showHidden_;
            break;
        case IDM_REFRESH:
            break;
        case IDM_UNINSTALL:
            UninstallSelected();
            break;
        case IDM_SCAN:
            // Where the system cannot, the tree is read anew all the same.
            ScanForHardwareChanges();
            break;
        case IDM_PLUG:
            Do([](const std::wstring&) { return PlugNextDevice(); });
            break;
        case IDM_UNPLUG:
            Do(UnplugDevice);
            break;
        case IDM_FAIL_NEXT:
            Do([](const std::wstring&) { return FailNextRequest(); });
            break;
        default:
            return;
    }
    Refresh();
    UpdateMenu();
}

LRESULT TreeWindow::OnNotify(const NMHDR& notice) {
    if (notice.hwndFrom != tree_) return 0;
    if (notice.code == static_cast<UINT>(NM_DBLCLK)) {
        const TreeLine* line = SelectedLine();
        if (!line || line->instanceId.empty()) return 0;
        PostMessageW(window_, kOpenSheetMessage, 0, 0);
        return TRUE;
    }
    if (notice.code == static_cast<UINT>(NM_CUSTOMDRAW))
        return OnCustomDraw(*reinterpret_cast<NMTVCUSTOMDRAW*>(const_cast<NMHDR*>(&notice)));
    return 0;
}

// Absent devices are gray; devices with a problem have a mark on their icon and are dark red.
LRESULT TreeWindow::OnCustomDraw(NMTVCUSTOMDRAW& draw) const {
    if (draw.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
    if (draw.nmcd.dwDrawStage != CDDS_ITEMPREPAINT || (draw.nmcd.uItemState & CDIS_SELECTED))
        return CDRF_DODEFAULT;
    const auto index = static_cast<size_t>(draw.nmcd.lItemlParam);
    if (index >= lines_.size()) return CDRF_DODEFAULT;
    if (lines_[index].dimmed) draw.clrText = GetSysColor(COLOR_GRAYTEXT);
    if (lines_[index].warned) draw.clrText = RGB(160, 0, 0);
    return CDRF_DODEFAULT;
}

void TreeWindow::OnTimer(UINT_PTR timer) {
    KillTimer(window_, timer);
    if (timer == kRefreshTimer) Refresh();
    if (timer != kPictureTimer) return;
    RedrawWindow(window_, nullptr, nullptr, RDW_ALLCHILDREN | RDW_UPDATENOW);
    GdiFlush();
    pictureSaved_ = SaveWindowPicture(window_, request_.picturePath);
    DestroyWindow(window_);
}

void TreeWindow::Refresh() {
    if (!presenceWatch_.IsArmed()) presenceWatch_.Arm();  // the simulator's key comes with its first device
    nodes_ = EnumerateDeviceNodes();
    const TreeLine* selected = SelectedLine();
    const std::wstring selectedId = selected ? selected->instanceId : std::wstring();
    ShowLines(ArrangeTree(nodes_, order_, showHidden_, ComputerName()), selectedId);
}

void TreeWindow::ShowLines(const std::vector<TreeLine>& lines, const std::wstring& selectedId) {
    SetWindowRedraw(tree_, FALSE);
    TreeView_DeleteAllItems(tree_);
    lines_ = lines;
    std::vector<HTREEITEM> path;  // the last item of each depth
    HTREEITEM selected = nullptr;
    for (size_t index = 0; index < lines_.size(); ++index) {
        const auto depth = static_cast<size_t>(lines_[index].depth);
        path.resize(depth + 1);
        path[depth] = InsertLine(depth == 0 ? TVI_ROOT : path[depth - 1], index);
        if (!selected || (!selectedId.empty() && lines_[index].instanceId == selectedId))
            selected = path[depth];
    }
    for (HTREEITEM item = TreeView_GetRoot(tree_); item; item = TreeView_GetNextVisible(tree_, item))
        TreeView_Expand(tree_, item, TVE_EXPAND);
    TreeView_SelectItem(tree_, selected);
    SetWindowRedraw(tree_, TRUE);
}

HTREEITEM TreeWindow::InsertLine(HTREEITEM parent, size_t index) {
    const TreeLine& line = lines_[index];
    std::wstring text = line.text;
    TVINSERTSTRUCTW insert = {};
    insert.hParent = parent;
    insert.hInsertAfter = TVI_LAST;
    insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE;
    insert.item.pszText = text.data();
    insert.item.iImage = line.depth == 0 ? images_.computer()
                         : line.warned   ? images_.OfProblem(line.classGuid)
                                         : images_.OfClass(line.classGuid);
    insert.item.iSelectedImage = insert.item.iImage;
    insert.item.stateMask = TVIS_CUT;
    if (line.dimmed) insert.item.state |= TVIS_CUT;
    insert.item.lParam = static_cast<LPARAM>(index);
    return reinterpret_cast<HTREEITEM>(
        SendMessageW(tree_, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&insert)));
}

void TreeWindow::UpdateMenu() const {
    const HMENU menu = GetMenu(window_);
    CheckMenuRadioItem(menu, IDM_BY_TYPE, IDM_BY_CONNECTION,
                       order_ == TreeOrder::ByType ? IDM_BY_TYPE : IDM_BY_CONNECTION, MF_BYCOMMAND);
    CheckMenuItem(menu, IDM_SHOW_HIDDEN, showHidden_ ? MF_CHECKED : MF_UNCHECKED);
}

const TreeLine* TreeWindow::SelectedLine() const {
    TVITEMW item = {};
    item.mask = TVIF_PARAM;
    item.hItem = TreeView_GetSelection(tree_);
    if (!item.hItem || !SendMessageW(tree_, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item))) return nullptr;
    const auto index = static_cast<size_t>(item.lParam);
    return index < lines_.size() ? &lines_[index] : nullptr;
}

void TreeWindow::OpenSelectedSheet() {
    const TreeLine* line = SelectedLine();
    if (!line || line->instanceId.empty()) return;
    SheetRequest sheet;
    sheet.instanceId = line->instanceId;
    sheet.owner = window_;
    const SheetResult result = ShowDeviceSheet(sheet);
    if (result != SheetResult::Shown)
        MessageBoxW(window_, SheetResultText(result), L"Device Viewer", MB_OK | MB_ICONWARNING);
    Refresh();
}

void TreeWindow::UninstallSelected() {
    const TreeLine* line = SelectedLine();
    if (!line || line->instanceId.empty()) return;
    const std::wstring question =
        L"Uninstall \"" + line->text +
        L"\" from this computer? A simulated device comes back when it is plugged again.";
    if (MessageBoxW(window_, question.c_str(), L"Device Viewer", MB_OKCANCEL | MB_ICONWARNING) == IDOK)
        Do(UninstallDevice);
}

void TreeWindow::Do(DWORD (*action)(const std::wstring& selectedId)) {
    const TreeLine* line = SelectedLine();
    const std::wstring selectedId = line ? line->instanceId : std::wstring();
    const HCURSOR before = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    const DWORD error = action(selectedId);
    SetCursor(before);
    if (error == ERROR_SUCCESS) return;
    const std::wstring text = L"That did not work, error " + std::to_wstring(error) + L".";
    MessageBoxW(window_, text.c_str(), L"Device Viewer", MB_OK | MB_ICONWARNING);
}

}  // namespace

bool RunTreeWindow(const TreeRequest& request) {
    return TreeWindow(request).Run();
}
