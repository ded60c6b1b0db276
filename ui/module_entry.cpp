// Loading and unloading the module, under the loader lock. The end of the process does not come here
// (base/dll_startup.cpp).
#include "base/module.h"
#include "base/windows_api.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"

namespace {

void OnProcessAttach(HINSTANCE instance) noexcept {
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
