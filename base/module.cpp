#include "base/module.h"

namespace {
HINSTANCE moduleInstance = nullptr;
}

void SetModuleInstance(HINSTANCE instance) noexcept {
    moduleInstance = instance;
}

HINSTANCE ModuleInstance() noexcept {
    return moduleInstance;
}
