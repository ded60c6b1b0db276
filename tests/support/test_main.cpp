// main() of every test program: crashes end the process at once instead of opening a dialog.
#include <gmock/gmock.h>

#include "base/windows_api.h"

int main(int argc, char** argv) {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
