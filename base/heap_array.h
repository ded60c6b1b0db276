// Memory whose allocation can fail quietly. In this toolchain even the non-throwing new throws and catches
// inside, and throwing for the first time in a thread needs memory itself and ends the process when there is
// none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

struct FreeBlock {
    void operator()(void* block) const noexcept { free(block); }
};

template <typename T>
using HeapArray = std::unique_ptr<T[], FreeBlock>;

// `count` elements without values; null when there is no memory.
template <typename T>
HeapArray<T> AllocateArray(size_t count) noexcept {
    static_assert(std::is_trivially_default_constructible_v<T> && std::is_trivially_destructible_v<T>);
    if (count > SIZE_MAX / sizeof(T)) return nullptr;
    return HeapArray<T>(static_cast<T*>(malloc(count * sizeof(T))));
}

// Base of classes whose objects are made by `new (std::nothrow)`, which then gives null without memory.
struct QuietlyAllocated {
    static void* operator new(size_t bytes) {
        void* const block = malloc(bytes);
        if (block == nullptr) throw std::bad_alloc();
        return block;
    }
    static void* operator new(size_t bytes, const std::nothrow_t&) noexcept { return malloc(bytes); }
    static void* operator new(size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { free(block); }
    // Called when a constructor throws.
    static void operator delete(void* block, const std::nothrow_t&) noexcept { free(block); }
};
