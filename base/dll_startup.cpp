// Where a DLL of the product starts and ends. Linked into the DLLs only, as their entry point.
#include "base/windows_api.h"

extern "C" {

BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD reason, void* reserved);

// At the end of the process nothing is freed and nothing is destroyed: other threads were stopped wherever
// they were, perhaps inside the heap, and the system takes everything back anyway. The language runtime would
// free its own memory even then, so it is not called.
BOOL WINAPI DllStartup(HINSTANCE instance, DWORD reason, void* reserved) {
    const bool processEnds = reason == DLL_PROCESS_DETACH && reserved != nullptr;
    return processEnds ? TRUE : DllMainCRTStartup(instance, reason, reserved);
}

// The runtime's hook for destroying thread-local objects, which the product does not have. It too would free
// memory at the end of the process.
BOOL WINAPI __mingw_TLScallback(HANDLE, DWORD, void*) {
    return TRUE;
}
}
