#include "base/can_throw.h"

#include <cstdlib>

namespace {

// More than the runtime's block for the thread, its lock and the exception together.
constexpr size_t kProbeBytes = 4096;

}  // namespace

bool CanThrow() noexcept {
    void* probe = malloc(kProbeBytes);
    // The compiler would take the block for unused and leave the question out.
    asm volatile("" : "+r"(probe));
    const bool there = probe != nullptr;
    free(probe);
    return there;
}
