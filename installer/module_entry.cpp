// Load and unload of the module. Runs under the loader lock.
#include "base/module.h"
#include "base/windows_api.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) SetModuleInstance(instance);
    if (reason == DLL_PROCESS_DETACH) SetModuleInstance(nullptr);
    return TRUE;
}
