// vmtoolsd.exe: makes the simulated machine a virtual one. It does nothing but run under a name that the
// driver package lists; whoever starts it ends it, or it ends by itself after the seconds given (60).
#include <cstdio>
#include <cwchar>

#include "base/windows_api.h"

int wmain(int argc, wchar_t** argv) {
    const unsigned long seconds = argc > 1 ? std::wcstoul(argv[1], nullptr, 10) : 60;
    std::puts("running");
    std::fflush(stdout);
    Sleep(seconds * 1000);
    return 0;
}
