#include "pages/port_names.h"

#include <cwchar>

#include "base/xfmt.h"

const wchar_t kPortLegend[] =
    L"VCOM PortName legend help:\r\n"
    L"\r\n"
    L"  (#) Currently used by this VCOM itself.\r\n"
    L"  (!) Now being occupied by other COM port devices.\r\n"
    L"  (+) Another unplugged TAVIX device is assigned this portname.\r\n"
    L"  (-) Other provider's device is assigned this portname, marked by ComDB.\r\n"
    L"\r\n"
    L"How to release unused(but unplugged) COM ports?\r\n"
    L"Step 1: Set environment variable DEVMGR_SHOW_NONPRESENT_DEVICES=1. (not required on Win8+)\r\n"
    L"Step 2: Open Device Manager, View -> Show hidden devices, find those ghosted device nodes, Uninstall "
    L"them.\r\n";

std::optional<int32_t> ParsePortNumber(const wchar_t* name) noexcept {
    constexpr int32_t kLongestDigits = 9;  // always fit a 32-bit number
    if (wcsncmp(name, L"COM", 3) != 0) return std::nullopt;
    int32_t number = 0;
    int32_t digits = 0;
    for (const wchar_t* digit = name + 3; *digit >= L'0' && *digit <= L'9'; ++digit) {
        if (++digits > kLongestDigits) return std::nullopt;
        number = number * 10 + (*digit - L'0');
    }
    if (digits == 0) return std::nullopt;
    return number;
}

const wchar_t* PortStateMark(uint32_t state) noexcept {
    switch (state) {
        case kPortFree:
            return L"";
        case kPortOfOtherProvider:
            return L"(-)";
        case kPortOfUnpluggedVcom:
            return L"(+)";
        case kPortOfPresentDevice:
            return L"(!)";
        case kPortOfThisVcom:
            return L"(#)";
        default:
            return L"(?)";
    }
}

void FormatPortEntry(int32_t number, uint32_t state, wchar_t (&text)[kPortEntryChars]) noexcept {
    xfmt(text, kPortEntryChars, L"COM%d %s", number, PortStateMark(state));
}

bool MayConflict(const wchar_t* entryText) noexcept {
    return wcsstr(entryText, L"(-)") != nullptr || wcsstr(entryText, L"(+)") != nullptr ||
           wcsstr(entryText, L"(!)") != nullptr;
}
