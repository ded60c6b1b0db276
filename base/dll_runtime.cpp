// The parts of the language runtime that the product's DLLs replace: the toolchain's throw, and so bring in
// the machinery of exceptions with its threads and its reserve of memory. Linked into the DLLs only.
#include <cstdlib>
#include <new>

// Null without memory: the product is compiled with -fcheck-new, so `new` is then null too.
void* operator new(size_t bytes) {
    return malloc(bytes);
}

void operator delete(void* block) noexcept {
    free(block);
}

void operator delete(void* block, size_t) noexcept {
    free(block);
}
