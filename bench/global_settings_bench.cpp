// What opening the global settings dialog costs beside an empty dialog of its size, and what of it is the
// rich edit control with the help text.
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/windows_api.h"

#include <commctrl.h>
#include <richedit.h>

#include "base/module.h"
#include "base/system_function.h"
#include "base/win32_handle.h"
#include "bench/harness.h"
#include "resources/resource_ids.h"
#include "sim/client/plugging.h"
#include "tools/global_settings.h"

namespace {

constexpr double kOpeningAddsAtMost = 0.040;  // seconds
constexpr BenchEffort kWindows = {.turns = 31, .turnSeconds = 0.02};
constexpr wchar_t kBusNode[] = L"ROOT\\QRV_VBUS\\0000";
constexpr wchar_t kOwnerClass[] = L"GlobalSettingsBenchOwner";

struct EmptyTemplate {
    DLGTEMPLATE head = {DS_CENTER | WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME, 0, 0, 0, 0, 317, 251};
    WORD menuClassTitle[3] = {0, 0, 0};
};

// Takes the text as the dialog does.
DWORD CALLBACK TakeText(DWORD_PTR text, BYTE* buffer, LONG bytes, LONG* taken) {
    auto& rest = *reinterpret_cast<std::string_view*>(text);
    const size_t count = rest.size() < static_cast<size_t>(bytes) ? rest.size() : static_cast<size_t>(bytes);
    std::memcpy(buffer, rest.data(), count);
    rest.remove_prefix(count);
    *taken = static_cast<LONG>(count);
    return 0;
}

void AddHelp(HWND dialog) {
    RECT area = {182, 86, 310, 224};
    MapDialogRect(dialog, &area);
    const HWND help = CreateWindowExW(
        0, L"RichEdit20W", L"", WS_CHILD | WS_VISIBLE | WS_BORDER | WS_VSCROLL | ES_MULTILINE | ES_READONLY,
        area.left, area.top, area.right - area.left, area.bottom - area.top, dialog, nullptr, nullptr,
        nullptr);
    const HRSRC place = FindResourceW(nullptr, MAKEINTRESOURCEW(IDR_GLOBAL_SETTINGS_HELP), L"RTF");
    std::string_view text(static_cast<const char*>(LockResource(LoadResource(nullptr, place))),
                          SizeofResource(nullptr, place));
    EDITSTREAM stream = {reinterpret_cast<DWORD_PTR>(&text), 0, TakeText};
    SendMessageW(help, EM_STREAMIN, SF_RTF, reinterpret_cast<LPARAM>(&stream));
}

INT_PTR CALLBACK PeerProc(HWND dialog, UINT message, WPARAM wParam, LPARAM withHelp) {
    if (message == WM_INITDIALOG && withHelp != 0) AddHelp(dialog);
    if (message == WM_COMMAND && wParam == IDCANCEL) EndDialog(dialog, 0);
    return message == WM_INITDIALOG;
}

// Cancels a dialog once it has been shown and painted.
LRESULT CALLBACK OwnerProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_ENTERIDLE && wParam == MSGF_DIALOGBOX)
        PostMessageW(reinterpret_cast<HWND>(lParam), WM_COMMAND, IDCANCEL, 0);
    return DefWindowProcW(window, message, wParam, lParam);
}

void OpenPeer(HWND owner, bool withHelp) {
    const EmptyTemplate empty;
    const LoadedLibrary richEdit(withHelp ? LoadSystemLibrary(L"Riched20.dll") : nullptr);
    DialogBoxIndirectParamW(GetModuleHandleW(nullptr), &empty.head, owner, PeerProc, withHelp ? 1 : 0);
}

void CompareOpening() {
    WNDCLASSW description = {};
    description.lpfnWndProc = OwnerProc;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = kOwnerClass;
    RegisterClassW(&description);
    const OwnedWindow owner(CreateWindowExW(0, kOwnerClass, L"Bench", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                            400, 300, nullptr, nullptr, nullptr, nullptr));
    PrintBenchHeader("a modal dialog, opened, painted and closed", "settings", "empty");
    const BenchPair opening = MeasurePair([&] { ShowGlobalSettings(owner.get()); },
                                          [&] { OpenPeer(owner.get(), false); }, kWindows);
    PrintBenchRow("open and close", opening);
    PrintBenchTime("added by the settings", opening.ours - opening.peer, kOpeningAddsAtMost);
    const BenchPair help =
        MeasurePair([&] { OpenPeer(owner.get(), true); }, [&] { OpenPeer(owner.get(), false); }, kWindows);
    PrintBenchTime("of it the rich edit and its text", help.ours - help.peer);
}

}  // namespace

int main() {
    SetModuleInstance(GetModuleHandleW(nullptr));
    InitCommonControls();
    const bool busWasThere = NodeExists(kBusNode);
    SimulatedDriver driver;
    const bool ready = InstallPackage(TAVIX_PACKAGE_DIR) == ERROR_SUCCESS && InstallVbus() == ERROR_SUCCESS &&
                       driver.Connect(5000) == ERROR_SUCCESS && driver.Reset() == ERROR_SUCCESS;
    if (ready) {
        CompareOpening();
    } else {
        std::printf("the simulated driver cannot be reached\n");
    }
    if (!busWasThere) RemoveVbus();
    return ready ? 0 : 1;
}
