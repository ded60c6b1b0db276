// Keys that are down for the code of this thread that asks for them.
#pragma once

#include <initializer_list>

#include "base/windows_api.h"

class HeldKeys {
  public:
    explicit HeldKeys(std::initializer_list<int> virtualKeys) {
        BYTE keys[256] = {};
        for (const int key : virtualKeys)
            keys[key] = 0x80;
        SetKeyboardState(keys);
    }
    ~HeldKeys() {
        BYTE keys[256] = {};
        SetKeyboardState(keys);
    }
    HeldKeys(const HeldKeys&) = delete;
    HeldKeys& operator=(const HeldKeys&) = delete;
};
