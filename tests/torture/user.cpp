#include "tests/torture/user.h"

#include <algorithm>
#include <string_view>

#include "tests/support/modal_driver.h"

namespace {

constexpr wchar_t kContextName[] = L"TavixTorture";
constexpr UINT kUseMessage = WM_APP + 0x77;
constexpr UINT_PTR kInfoBoxTimer = 1;

// One dialog of the DLL while it is open.
struct UsedDialog {
    TorturedUser* user;
    DLGPROC procedure;
    LPARAM initParam;
    std::function<void(HWND)> script;
};

bool Offers(HMENU menu, UINT command) {
    for (int position = 0; position < GetMenuItemCount(menu); ++position) {
        const HMENU submenu = GetSubMenu(menu, position);
        if (submenu != nullptr ? Offers(submenu, command) : GetMenuItemID(menu, position) == command)
            return true;
    }
    return false;
}

void WINAPI IgnoreLaunch(HWND, HINSTANCE, wchar_t*, int) {}

}  // namespace

INT_PTR CALLBACK UsedDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        auto* const used = reinterpret_cast<UsedDialog*>(lParam);
        SetPropW(dialog, kContextName, used);
        const INT_PTR result = used->procedure(dialog, message, wParam, used->initParam);
        PostMessageW(dialog, kUseMessage, 0, 0);
        return result;
    }
    auto* const used = static_cast<UsedDialog*>(GetPropW(dialog, kContextName));
    if (used == nullptr) return FALSE;
    if (message == kUseMessage) {
        used->user->Use(dialog, used->script);
        return TRUE;
    }
    const INT_PTR result = used->procedure(dialog, message, wParam, lParam);
    if (message == WM_DESTROY) RemovePropW(dialog, kContextName);
    return result;
}

bool TorturedUser::IsWatched(const std::string& function) {
    static const std::set<std::string> kWatched = {"Beep",
                                                   "CreateProcessW",
                                                   "DialogBoxIndirectParamW",
                                                   "DialogBoxParamW",
                                                   "GetExitCodeProcess",
                                                   "GetKeyState",
                                                   "GetProcAddress",
                                                   "KillTimer",
                                                   "MessageBoxW",
                                                   "SetForegroundWindow",
                                                   "SetTimer",
                                                   "SetupDiBuildDriverInfoList",
                                                   "SetupDiCallClassInstaller",
                                                   "ShellExecuteExW",
                                                   "TrackPopupMenu",
                                                   "TrackPopupMenuEx"};
    return kWatched.count(function) != 0;
}

bool TorturedUser::Answers(const InterceptedCall& call, uint64_t& result) {
    const std::string_view function = call.function;
    const uint64_t* const arguments = call.arguments;
    if (function == "MessageBoxW") {
        result = ShowBox(arguments);
    } else if (function == "TrackPopupMenu" || function == "TrackPopupMenuEx") {
        result = ChooseFrom(reinterpret_cast<HMENU>(arguments[0]));
    } else if (function == "DialogBoxParamW" || function == "DialogBoxIndirectParamW") {
        result = ShowDialog(call);
    } else if (function == "GetKeyState") {
        result = heldKeys.count(static_cast<int>(arguments[0])) != 0 ? 0xFF80 : 0;
    } else if (function == "SetTimer") {
        result = arguments[1];
    } else if (function == "CreateProcessW") {
        auto* const started = reinterpret_cast<PROCESS_INFORMATION*>(arguments[9]);
        *started = {CreateEventW(nullptr, TRUE, TRUE, nullptr), CreateEventW(nullptr, TRUE, TRUE, nullptr), 1,
                    1};
        result = TRUE;
    } else if (function == "GetExitCodeProcess") {
        *reinterpret_cast<DWORD*>(arguments[1]) = 0;
        result = TRUE;
    } else if (function == "GetProcAddress" && arguments[1] > 0xFFFF &&
               std::string_view(reinterpret_cast<const char*>(arguments[1])) == "DeviceProperties_RunDLLW") {
        result = reinterpret_cast<uint64_t>(&IgnoreLaunch);
    } else if (IsWatched(call.function) && function != "GetProcAddress") {
        result = TRUE;  // Beep, KillTimer, SetForegroundWindow, ShellExecuteExW, the steps of an installation
    } else {
        return false;
    }
    return true;
}

// A box that is owned by a window that is gone cannot be shown.
uint64_t TorturedUser::ShowBox(const uint64_t* arguments) {
    const HWND owner = reinterpret_cast<HWND>(arguments[0]);
    if (owner != nullptr && !IsWindow(owner)) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return 0;
    }
    const auto* const text = reinterpret_cast<const wchar_t*>(arguments[1]);
    const auto* const title = reinterpret_cast<const wchar_t*>(arguments[2]);
    boxes.push_back({title != nullptr ? title : L"", text != nullptr ? text : L""});
    if (boxes.back().text.empty() && boxes.back().title.empty())
        problems.push_back("a message box without text and title");
    const bool question = (arguments[3] & MB_TYPEMASK) == MB_YESNO;
    if (!question) return IDOK;
    return agrees ? IDYES : IDNO;
}

uint64_t TorturedUser::ChooseFrom(HMENU menu) {
    ++menus;
    if (menuChoices.empty()) return 0;
    const UINT command = menuChoices.front();
    menuChoices.pop_front();
    return Offers(menu, command) ? command : 0;
}

// The procedure and its parameter are the last two arguments of both functions.
uint64_t TorturedUser::ShowDialog(const InterceptedCall& call) {
    ++dialogs;
    UsedDialog used = {
        this, reinterpret_cast<DLGPROC>(call.arguments[3]), static_cast<LPARAM>(call.arguments[4]), {}};
    if (!dialogScripts.empty()) {
        used.script = std::move(dialogScripts.front());
        dialogScripts.pop_front();
    }
    call.arguments[3] = reinterpret_cast<uint64_t>(&UsedDialogProc);
    call.arguments[4] = reinterpret_cast<uint64_t>(&used);
    return call.Proceed();
}

// A dialog that does not close when asked is a problem, and is ended.
void TorturedUser::Use(HWND dialog, const std::function<void(HWND)>& script) {
    // The system shows a dialog once nothing else is to be done.
    ShowWindow(dialog, SW_SHOW);
    UpdateWindow(dialog);
    if (script) {
        script(dialog);
    } else {
        for (int tick = 0; tick < ticks; ++tick)
            Tick(dialog, kInfoBoxTimer);
    }
    const auto isOpen = [dialog] { return IsWindow(dialog) && GetPropW(dialog, kContextName) != nullptr; };
    if (!isOpen()) return;
    // Ended dialogs are still there until their loop has returned, and are hidden.
    if (IsWindowVisible(dialog)) SendMessageW(dialog, WM_CLOSE, 0, 0);
    if (!isOpen() || !IsWindowVisible(dialog)) return;
    SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    if (!isOpen() || !IsWindowVisible(dialog)) return;
    problems.push_back("a dialog does not close: " + NarrowText(ReadBox(dialog).title));
    EndDialog(dialog, 0);
}

void TorturedUser::Tick(HWND window, UINT_PTR timer) const {
    if (IsWindow(window)) SendMessageW(window, WM_TIMER, timer, 0);
}

// As a user can: a control that is hidden or disabled takes no click.
void TorturedUser::Click(HWND dialog, int controlId) const {
    const HWND control = GetDlgItem(dialog, controlId);
    if (control == nullptr || !IsWindowEnabled(control)) return;
    SendMessageW(control, BM_CLICK, 0, 0);
}
