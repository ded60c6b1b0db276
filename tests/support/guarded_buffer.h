// Memory for tests of functions that write into a caller's buffer: one step beyond a border of it faults at
// the offending instruction, because the neighboring page is reserved but has no memory.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "base/windows_api.h"

enum class GuardSide {
    kBehind,   // the buffer's end touches the inaccessible page
    kInFront,  // the buffer's start touches it
};

// A buffer of `count` elements, filled with kFillByte. Ends the test program when memory runs out.
template <typename T>
class GuardedBuffer {
  public:
    static_assert(std::is_trivially_copyable_v<T>);
    static constexpr unsigned char kFillByte = 0xA5;

    explicit GuardedBuffer(size_t count, GuardSide side = GuardSide::kBehind) : count_(count) {
        const size_t bytes = count * sizeof(T);
        const size_t pages = (bytes + kPageBytes - 1) / kPageBytes;
        const size_t usable = (pages == 0 ? 1 : pages) * kPageBytes;
        base_ = static_cast<char*>(VirtualAlloc(nullptr, usable + kPageBytes, MEM_RESERVE, PAGE_NOACCESS));
        char* const start = side == GuardSide::kBehind ? base_ : base_ + kPageBytes;
        if (base_ == nullptr || VirtualAlloc(start, usable, MEM_COMMIT, PAGE_READWRITE) == nullptr) abort();
        data_ = reinterpret_cast<T*>(side == GuardSide::kBehind ? start + usable - bytes : start);
        Refill();
    }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;
    ~GuardedBuffer() { VirtualFree(base_, 0, MEM_RELEASE); }

    T* data() noexcept { return data_; }
    const T* data() const noexcept { return data_; }
    size_t size() const noexcept { return count_; }
    // For functions that take an array of exactly this size.
    template <size_t count>
    T (&AsArray() noexcept)
    [count] {
        if (count != count_) abort();
        return *reinterpret_cast<T(*)[count]>(data_);
    }
    T& operator[](size_t index) noexcept { return data_[index]; }
    const T& operator[](size_t index) const noexcept { return data_[index]; }

    // What an element holds that nobody has written yet.
    static T FillValue() noexcept {
        T value;
        memset(&value, kFillByte, sizeof(value));
        return value;
    }
    void Refill() noexcept { memset(static_cast<void*>(data_), kFillByte, count_ * sizeof(T)); }

    // One past the index of the last element that no longer holds the fill value; 0 when nothing was written.
    size_t WrittenExtent() const noexcept {
        const T fill = FillValue();
        size_t extent = count_;
        while (extent > 0 && memcmp(&data_[extent - 1], &fill, sizeof(T)) == 0)
            --extent;
        return extent;
    }

  private:
    static constexpr size_t kPageBytes = 4096;

    size_t count_;
    char* base_ = nullptr;
    T* data_ = nullptr;
};
