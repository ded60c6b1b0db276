// main() of the torture: the tests, or with "child" the part that may crash.
#include <gmock/gmock.h>

#include "base/windows_api.h"

#include <shellapi.h>

#include "tests/torture/child.h"

int main(int argc, char** argv) {
    int wideCount = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &wideCount);
    if (wideCount > 4 && std::wstring(wide[1]) == L"child")
        return RunChild(wide[2], wide[3], wideCount - 4, wide + 4);
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
