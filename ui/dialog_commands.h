// The commands of a dialog as a table: one row for what each control does.
//
//   constexpr CommandRow<Page> kCommands[] = {{IDC_SAVE, BN_CLICKED, OnSave}, ...};
//   case WM_COMMAND: return RunCommand(kCommands, dialog, state, wParam);
#pragma once

#include <span>

#include "base/windows_api.h"

template <typename State>
struct CommandRow {
    WORD controlId;
    WORD notification;  // BN_CLICKED, 0, also stands for keys and menus that name the control
    void (*handler)(HWND dialog, State& state) noexcept;
};

// `command` is the wParam of WM_COMMAND. False when no row matches. The handler may have run a message loop,
// so the state may be gone afterwards.
template <typename State>
bool RunCommand(std::span<const CommandRow<State>> rows, HWND dialog, State& state, WPARAM command) noexcept {
    for (const CommandRow<State>& row : rows) {
        if (row.controlId != LOWORD(command) || row.notification != HIWORD(command)) continue;
        row.handler(dialog, state);
        return true;
    }
    return false;
}

template <typename State, size_t rowCount>
bool RunCommand(const CommandRow<State> (&rows)[rowCount], HWND dialog, State& state,
                WPARAM command) noexcept {
    return RunCommand(std::span<const CommandRow<State>>(rows), dialog, state, command);
}
