// The user in front of the DLL's windows: answers message boxes, chooses from menus, uses dialogs and holds
// keys. Everything happens on the DLL's own thread, inside the calls that would wait for a person.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include "tests/torture/interception.h"

struct ShownBox {
    std::wstring title;
    std::wstring text;
};

class TorturedUser {
  public:
    // What the user is going to do. A dialog without a script of its own is ticked and closed.
    std::set<int> heldKeys;
    std::deque<UINT> menuChoices;  // of the menus to come; a menu beyond them is dismissed
    bool agrees = true;            // to every question
    int ticks = 2;
    std::deque<std::function<void(HWND)>> dialogScripts;  // of the dialogs to come

    // What the user has seen.
    std::vector<ShownBox> boxes;
    int dialogs = 0;
    int menus = 0;

    // Does the call in the system's place when it is one that waits for the user or leaves the process.
    // Problems are added to `problems`.
    bool Answers(const InterceptedCall& call, uint64_t& result);
    static bool IsWatched(const std::string& function);

    std::vector<std::string> problems;

    // Used by scripts and flows.
    void Tick(HWND window, UINT_PTR timer) const;
    void Click(HWND dialog, int controlId) const;

  private:
    friend INT_PTR CALLBACK UsedDialogProc(HWND, UINT, WPARAM, LPARAM);

    uint64_t ShowBox(const uint64_t* arguments);
    uint64_t ChooseFrom(HMENU menu);
    uint64_t ShowDialog(const InterceptedCall& call);
    void Use(HWND dialog, const std::function<void(HWND)>& script);
};
