// The one way the kernel's interface comes in, and the few helpers that freestanding code needs.
#pragma once

#include <cstddef>
#include <cstdint>

// The toolchain defines these two functions twice for C++: in its intrinsics and in the kernel header.
#include <intrin.h>
#define InterlockedBitTestAndSet KernelHeaderBitTestAndSet
#define InterlockedBitTestAndReset KernelHeaderBitTestAndReset
#include <ntddk.h>
#undef InterlockedBitTestAndSet
#undef InterlockedBitTestAndReset

constexpr ULONG kPoolTag = 0x78766154;  // "Tavx"

// Memory that the system or an interrupt may free; null when there is none. Zero-filled.
inline void* AllocatePool(size_t bytes) {
    void* memory = ExAllocatePoolWithTag(NonPagedPool, bytes, kPoolTag);
    if (memory != nullptr) RtlZeroMemory(memory, bytes);
    return memory;
}

template <typename T>
class PoolPointer {
  public:
    explicit PoolPointer(size_t bytes) : memory_(static_cast<T*>(AllocatePool(bytes))) {}
    PoolPointer(const PoolPointer&) = delete;
    PoolPointer& operator=(const PoolPointer&) = delete;
    ~PoolPointer() {
        if (memory_ != nullptr) ExFreePoolWithTag(memory_, kPoolTag);
    }
    explicit operator bool() const { return memory_ != nullptr; }
    T* get() const { return memory_; }
    T* operator->() const { return memory_; }

  private:
    T* memory_;
};

// One lock guards the whole simulation. It is never held while an IRP is sent or completed, nor while the
// plug and play manager is told something.
class ModelLock {
  public:
    ModelLock();
    ~ModelLock();
    ModelLock(const ModelLock&) = delete;
    ModelLock& operator=(const ModelLock&) = delete;
};
void InitializeModelLock();

struct KernelHandleOwner {
    HANDLE handle = nullptr;
    KernelHandleOwner() = default;
    KernelHandleOwner(const KernelHandleOwner&) = delete;
    KernelHandleOwner& operator=(const KernelHandleOwner&) = delete;
    ~KernelHandleOwner() {
        if (handle != nullptr) ZwClose(handle);
    }
};

// System time in 100-nanosecond units since 1601-01-01 UTC, as a FILETIME counts.
inline uint64_t NowFiletime() {
    LARGE_INTEGER now;
    KeQuerySystemTime(&now);
    return static_cast<uint64_t>(now.QuadPart);
}

// Milliseconds since 1970-01-01 UTC.
inline int64_t UemsecFromFiletime(uint64_t filetime) {
    return static_cast<int64_t>(filetime / 10000) - 11644473600000;
}
