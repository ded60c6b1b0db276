// Keys and the mouse as a person uses them: through the system's input, so that they go where the system
// sends them, to the window in the foreground or under the pointer. They are handled in order, some time
// after.
#pragma once

#include <initializer_list>
#include <vector>

#include "base/windows_api.h"

// Keys that are down for everything typed and clicked in the scope.
class KeysDown {
  public:
    explicit KeysDown(std::initializer_list<WORD> keys);
    ~KeysDown();
    KeysDown(const KeysDown&) = delete;
    KeysDown& operator=(const KeysDown&) = delete;

  private:
    std::vector<WORD> keys_;
};

// One key after the other; letters as their upper-case character.
void TypeKeys(std::initializer_list<WORD> keys);

// With the left button, at a place of the screen; a double click is two of them at one moment.
void ClickAt(POINT place, int clicks = 1);
void ClickOn(HWND window, int clicks = 1);
