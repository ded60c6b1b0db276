#include "base/module.h"

namespace {
HINSTANCE g_moduleInstance = nullptr;
}

void SetModuleInstance(HINSTANCE instance) noexcept {
    g_moduleInstance = instance;
}

HINSTANCE ModuleInstance() noexcept {
    return g_moduleInstance;
}
