// Load and unload of the module. Runs under the loader lock.
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

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* reserved) {
    const bool processEnds = reserved != nullptr;  // of a detachment
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            OnProcessAttach(instance);
            break;
        case DLL_PROCESS_DETACH:
            if (!processEnds) OnProcessDetach();
            break;
        default:
            break;
    }
    return TRUE;
}
