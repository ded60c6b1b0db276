// Load and unload of the module. Runs under the loader lock.
#include "base/module.h"
#include "base/windows_api.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"

// The C++ runtime's own: gives back its reserve of memory for exceptions, which it takes when it is loaded
// and otherwise keeps when it is unloaded, 70 KB each time.
namespace __gnu_cxx {
void __freeres();
}

namespace {

void OnProcessAttach(HINSTANCE instance) noexcept {
    SetModuleInstance(instance);
    IsolationAwareInitCommonControls();
    LoadCustomResourceLibrary();
}

void OnProcessDetach(bool processEnds) noexcept {
    FreeCustomResourceLibrary();
    IsolationAwareCleanup();
    SetModuleInstance(nullptr);
    if (!processEnds) __gnu_cxx::__freeres();
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* reserved) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            OnProcessAttach(instance);
            break;
        case DLL_PROCESS_DETACH:
            OnProcessDetach(reserved != nullptr);
            break;
        default:
            break;
    }
    return TRUE;
}
