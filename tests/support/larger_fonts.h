// The dialogs of this thread with fonts one and a half times as large, as a user with enlarged texts has
// them: a dialog measures everything in its font.
#pragma once

#include <cstdint>
#include <cwchar>
#include <vector>

#include "base/windows_api.h"

#include "tests/support/import_redirect.h"

class LargerFonts {
  private:
    // A menu or class: nothing, a number or a name.
    static uint16_t* After(uint16_t* part) {
        if (*part == 0xFFFF) return part + 2;
        return part + wcslen(reinterpret_cast<const wchar_t*>(part)) + 1;
    }
    static void Enlarge(void* dialogTemplate) {
        auto* words = static_cast<uint16_t*>(dialogTemplate);
        const bool extended = words[0] == 1 && words[1] == 0xFFFF;
        uint16_t* const caption = After(After(words + (extended ? 13 : 9)));
        uint16_t* const points = After(caption);
        *points = static_cast<uint16_t>(*points * 3 / 2);
    }

    ReplacedCall<DialogBoxParamW> resource_{
        "DialogBoxParamW", [](HINSTANCE instance, LPCWSTR name, HWND owner, DLGPROC procedure, LPARAM param) {
            const HRSRC place = FindResourceW(instance, name, RT_DIALOG);
            const auto* words = static_cast<const uint16_t*>(LockResource(LoadResource(instance, place)));
            std::vector<uint16_t> copy(words, words + SizeofResource(instance, place) / sizeof(uint16_t));
            Enlarge(copy.data());
            return DialogBoxIndirectParamW(instance, reinterpret_cast<const DLGTEMPLATE*>(copy.data()), owner,
                                           procedure, param);
        }};
    ReplacedCall<DialogBoxIndirectParamW> inMemory_{
        "DialogBoxIndirectParamW",
        [](HINSTANCE instance, LPCDLGTEMPLATEW built, HWND owner, DLGPROC procedure, LPARAM param) {
            Enlarge(const_cast<DLGTEMPLATE*>(built));
            return DialogBoxIndirectParamW(instance, built, owner, procedure, param);
        }};
};
