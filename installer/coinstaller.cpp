#include "installer/coinstaller.h"

extern "C" DWORD CALLBACK TavixCoInstaller(DI_FUNCTION, HDEVINFO, SP_DEVINFO_DATA*,
                                           COINSTALLER_CONTEXT_DATA*) {
    return NO_ERROR;
}
