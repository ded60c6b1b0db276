#include "sim/terminal/session.h"

#include <shellapi.h>

#include <cstdio>
#include <cwchar>

#include "base/win32_handle.h"

namespace {

constexpr wchar_t kSessionsKey[] = L"Software\\SimonTatham\\PuTTY\\Sessions\\";

std::wstring ReadText(HKEY key, const wchar_t* name) {
    wchar_t text[260] = {};
    DWORD bytes = sizeof(text) - sizeof(wchar_t);
    if (RegGetValueW(key, nullptr, name, RRF_RT_REG_SZ, nullptr, text, &bytes) != ERROR_SUCCESS) return {};
    return text;
}

COLORREF ReadColor(HKEY key, const wchar_t* name) {
    int red = 0;
    int green = 0;
    int blue = 0;
    if (swscanf(ReadText(key, name).c_str(), L"%d,%d,%d", &red, &green, &blue) != 3) return RGB(0, 0, 0);
    return RGB(red, green, blue);
}

}  // namespace

std::optional<SavedSession> ReadSavedSession(const std::wstring& name) {
    RegistryKey key;
    if (name.empty() || RegOpenKeyExW(HKEY_CURRENT_USER, (kSessionsKey + name).c_str(), 0, KEY_READ,
                                      key.put()) != ERROR_SUCCESS)
        return std::nullopt;
    SavedSession session;
    session.hostName = ReadText(key.get(), L"HostName");
    session.serialLine = ReadText(key.get(), L"SerialLine");
    session.windowTitle = ReadText(key.get(), L"WinTitle");
    session.background = ReadColor(key.get(), L"Colour2");
    return session;
}

std::wstring SessionNameOf(const wchar_t* commandLine) {
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(commandLine, &count);
    std::wstring name;
    for (int i = 1; arguments != nullptr && i + 1 < count; ++i)
        if (wcscmp(arguments[i], L"-load") == 0) name = arguments[i + 1];
    LocalFree(arguments);
    return name;
}
