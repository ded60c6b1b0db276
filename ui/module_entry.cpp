// Loading and unloading the module, under the loader lock. The end of the process does not come here
// (base/dll_startup.cpp).
#include "base/module.h"
#include "base/process.h"
#include "base/trace_line.h"
#include "base/windows_api.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"

namespace {

// Debug builds alone: what ships discards its trace.
[[maybe_unused]] void ShowToDebugger(const wchar_t* line) noexcept {
    DebugOutFmt(L"tavix: %s", line);
}

void OnProcessAttach(HINSTANCE instance) noexcept {
#ifdef TAVIX_TRACE_TO_DEBUGGER
    SetTraceLineHook(ShowToDebugger);
#endif
    SetModuleInstance(instance);
    IsolationAwareInitCommonControls();
    LoadCustomResourceLibrary();
}

void OnProcessDetach() noexcept {
    FreeCustomResourceLibrary();
    IsolationAwareCleanup();
    SetModuleInstance(nullptr);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void*) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            OnProcessAttach(instance);
            break;
        case DLL_PROCESS_DETACH:
            OnProcessDetach();
            break;
        default:
            break;
    }
    return TRUE;
}
