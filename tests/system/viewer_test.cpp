// The device viewer as its user meets it, from outside its process, and the launcher that starts it.
#include <string>

#include "base/windows_api.h"

#include <commctrl.h>

#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "sim/viewer/viewer_resources.h"
#include "tests/support/screenshot.h"
#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"
#include "tests/system/viewer_sheet.h"

namespace {

// A running viewer with its tree; ended with its scope.
class RunningViewer {
  public:
    RunningViewer() {
        process_ = StartViewer(L"");
        if (!process_) return;
        EXPECT_TRUE(WaitUntil("the viewer's window", [&] {
            window_ = FindWindowW(L"TavixDeviceViewer", nullptr);
            return window_ && IsWindowVisible(window_);
        }));
        tree_ = FindWindowExW(window_, nullptr, WC_TREEVIEWW, nullptr);
    }
    ~RunningViewer() {
        PostMessageW(window_, WM_CLOSE, 0, 0);
        if (process_ && WaitForSingleObject(process_.get(), 10000) == WAIT_OBJECT_0) return;
        ADD_FAILURE() << "the viewer did not end";
        TerminateProcess(process_.get(), 1);
    }
    RunningViewer(const RunningViewer&) = delete;
    RunningViewer& operator=(const RunningViewer&) = delete;

    HWND window() const { return window_; }
    HWND tree() const { return tree_; }
    LRESULT Lines() const { return SendMessageW(tree_, TVM_GETCOUNT, 0, 0); }

    // The first device below the last class, which is that of USB devices.
    void SelectFirstDeviceOfLastClass() const {
        LRESULT item = Next(TVGN_CHILD, Next(TVGN_ROOT, 0));
        for (LRESULT next = item; next; next = Next(TVGN_NEXT, item))
            item = next;
        SendMessageW(tree_, TVM_SELECTITEM, TVGN_CARET, Next(TVGN_CHILD, item));
    }

  private:
    LRESULT Next(WPARAM relation, LRESULT item) const {
        return SendMessageW(tree_, TVM_GETNEXTITEM, relation, item);
    }
    KernelHandle process_;
    HWND window_ = nullptr;
    HWND tree_ = nullptr;
};

class ViewerTest : public PackageTest {
  protected:
    // Of one harmless request.
    static DWORD DriverRequestError() {
        DriverVersion_st version = {};
        return cu_VbusDoSimpleIoctl(IOCTL_TAVIX_GetDriverVersion, nullptr, 0, &version, sizeof(version));
    }
};

TEST_F(ViewerTest, TheTreeFollowsADeviceThatIsPluggedIn) {
    Plug(first);
    const RunningViewer viewer;
    const LRESULT before = viewer.Lines();
    Plug(second);
    // One line for the device, one for its port.
    EXPECT_TRUE(WaitUntil("the tree to grow", [&] { return viewer.Lines() == before + 2; }));
}

TEST_F(ViewerTest, EnterOpensTheSheetOfTheSelectedDevice) {
    Plug(first);
    const RunningViewer viewer;
    viewer.SelectFirstDeviceOfLastClass();
    PostMessageW(viewer.tree(), WM_KEYDOWN, VK_RETURN, 0);
    CloseSheet(WaitForSheet(L"First scanner Properties"));
}

TEST_F(ViewerTest, ADoubleClickOpensTheSheetToo) {
    Plug(first);
    const RunningViewer viewer;
    viewer.SelectFirstDeviceOfLastClass();
    // The line stands last of those that are all expanded.
    const auto height = static_cast<int>(SendMessageW(viewer.tree(), TVM_GETITEMHEIGHT, 0, 0));
    const int y = (static_cast<int>(viewer.Lines()) - 1) * height + height / 2;
    PostMessageW(viewer.tree(), WM_LBUTTONDBLCLK, MK_LBUTTON, MAKELPARAM(80, y));
    CloseSheet(WaitForSheet(L"First scanner Properties"));
}

// ---- the menus ----

TEST_F(ViewerTest, PluggingFromTheMenuAddsADeviceAndUnpluggingTakesItAway) {
    Plug(first);
    const RunningViewer viewer;
    const LRESULT before = viewer.Lines();
    PostMessageW(viewer.window(), WM_COMMAND, IDM_PLUG, 0);
    EXPECT_TRUE(WaitUntil("the tree to grow", [&] { return viewer.Lines() == before + 2; }));
    PostMessageW(viewer.window(), WM_COMMAND, IDM_UNPLUG, 0);
    EXPECT_TRUE(WaitUntil("the tree to shrink", [&] { return viewer.Lines() == before; }));
    EXPECT_EQ(driver.FindDevice(first.InstanceId())->plugged, 1u) << "the last one goes first";
    const UsbIdentity plugged;
    EXPECT_EQ(RemoveNode(plugged.InstanceId()), ERROR_SUCCESS);
}

TEST_F(ViewerTest, TheNextRequestFailsWhenTold) {
    Plug(first);
    const RunningViewer viewer;
    SendMessageW(viewer.window(), WM_COMMAND, IDM_FAIL_NEXT, 0);
    EXPECT_EQ(DriverRequestError(), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(DriverRequestError(), DWORD{ERROR_SUCCESS});
}

TEST_F(ViewerTest, UninstallingTakesTheSelectedDeviceOutOfTheSystem) {
    Plug(first);
    const RunningViewer viewer;
    viewer.SelectFirstDeviceOfLastClass();
    for (const int answer : {IDCANCEL, IDOK}) {
        PostMessageW(viewer.window(), WM_COMMAND, IDM_UNINSTALL, 0);
        HWND question = nullptr;
        ASSERT_TRUE(WaitUntil("the question", [&] {
            question = FindWindowW(L"#32770", L"Device Viewer");
            return question && IsWindowVisible(question);
        }));
        EXPECT_TRUE(NodeExists(first.InstanceId()));
        PostMessageW(question, WM_COMMAND, static_cast<WPARAM>(answer), 0);
        EXPECT_TRUE(WaitUntil("the question to close", [&] { return !IsWindow(question); }));
    }
    EXPECT_TRUE(WaitUntil("the node to go", [&] { return !NodeExists(first.InstanceId()); }));
}

// ---- pictures without a person ----

// The file that the viewer has written, and whether it could.
bool SavesPicture(const std::wstring& arguments, const wchar_t* name) {
    const std::wstring file = ScreenshotFolder() + L"\\" + name + L".png";
    DeleteFileW(file.c_str());
    const std::wstring program = ViewerFolder() + L"\\device_viewer.exe ";
    return RunProgram(program + arguments + L" \"" + file + L"\"") == 0 &&
           GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
}

TEST_F(ViewerTest, ThePageOfEachDeviceIsSavedAsAPicture) {
    Plug(first);
    EXPECT_TRUE(SavesPicture(L"--device " + VcomInstanceId(first) + L" --screenshot", L"sheet_vcom"));
    EXPECT_TRUE(SavesPicture(L"--device " + first.InstanceId() + L" --screenshot", L"sheet_usb"));
    EXPECT_TRUE(SavesPicture(std::wstring(L"--device ") + kBusInstanceId + L" --screenshot", L"sheet_bus"));
    EXPECT_FALSE(SavesPicture(L"--device USB\\NO_SUCH_DEVICE --screenshot", L"sheet_none"));
}

TEST_F(ViewerTest, TheTreeIsSavedAsAPictureWithAbsentDevicesAndProblems) {
    constexpr uint32_t kCannotStart = 10;
    Plug(first);
    Plug(second);
    ASSERT_EQ(driver.SetPresence(first.InstanceId(), true, kCannotStart), ERROR_SUCCESS);
    ASSERT_EQ(UnplugUsbDevice(second.InstanceId()), ERROR_SUCCESS);
    EXPECT_TRUE(SavesPicture(L"--all --tree-screenshot", L"device_viewer"));
}

TEST_F(ViewerTest, TheLauncherOfDevicePropertiesOpensASheet) {
    Plug(first);
    const LoadedLibrary library(LoadLibraryW((ViewerFolder() + L"\\devmgr.dll").c_str()));
    ASSERT_TRUE(library) << "error " << GetLastError();
    using Launcher = void WINAPI(HWND, HINSTANCE, const wchar_t*, int);
    auto* launch = reinterpret_cast<Launcher*>(GetProcAddress(library.get(), "DeviceProperties_RunDLLW"));
    ASSERT_NE(launch, nullptr);
    launch(nullptr, nullptr, (L"/DeviceID " + first.InstanceId()).c_str(), SW_SHOWNORMAL);
    CloseSheet(WaitForSheet(L"First scanner Properties"));
}

HWND VisibleMenu() {
    const HWND menu = FindWindowW(L"#32768", nullptr);
    return menu != nullptr && IsWindowVisible(menu) ? menu : nullptr;
}

TEST_F(ViewerTest, TheToolsMenuOpensOverTheSheet) {
    Plug(first);
    const KernelHandle viewer = StartViewer(L"--device " + VcomInstanceId(first));
    const HWND sheet =
        WaitForSheet(OpenedNode(VcomInstanceId(first)).Text(SPDRP_FRIENDLYNAME) + L" Properties");
    const HWND page = FindWindowExW(sheet, nullptr, L"#32770", L"VCOM Settings");
    ASSERT_NE(page, nullptr);
    SaveScreenshot(sheet, L"sheet_below_tools_menu");  // which waits until it is painted
    PostMessageW(GetDlgItem(page, IDC_VCOM_TOOLS), BM_CLICK, 0, 0);
    EXPECT_TRUE(WaitUntil("the menu to open", [] { return VisibleMenu() != nullptr; }));
    SaveScreenshot(nullptr, L"sheet_tools_menu");
    PostMessageW(page, WM_CANCELMODE, 0, 0);
    EXPECT_TRUE(WaitUntil("the menu to close", [] { return VisibleMenu() == nullptr; }));
    CloseSheet(sheet);
}

}  // namespace
