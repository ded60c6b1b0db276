// Growable memory for plain elements. Growing can fail and says so; nothing here throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

template <typename T>
class HeapArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_default_constructible_v<T>);

  public:
    HeapArray() noexcept = default;
    HeapArray(HeapArray&& other) noexcept { Swap(other); }
    HeapArray& operator=(HeapArray&& other) noexcept {
        HeapArray(std::move(other)).Swap(*this);
        return *this;
    }
    ~HeapArray() { free(data_); }

    // The elements so far stay; new ones have no value. False, with everything as it was, when there is no
    // memory. Shrinking never fails and keeps the memory.
    [[nodiscard]] bool Resize(size_t count) noexcept {
        if (count > capacity_ && !Reserve(count)) return false;
        size_ = count;
        return true;
    }

    T* data() noexcept { return data_; }
    const T* data() const noexcept { return data_; }
    size_t size() const noexcept { return size_; }
    T* begin() noexcept { return data_; }
    T* end() noexcept { return data_ + size_; }
    const T* begin() const noexcept { return data_; }
    const T* end() const noexcept { return data_ + size_; }
    T& operator[](size_t index) noexcept { return data_[index]; }
    const T& operator[](size_t index) const noexcept { return data_[index]; }

  private:
    bool Reserve(size_t count) noexcept {
        if (count > SIZE_MAX / sizeof(T)) return false;
        T* const larger = static_cast<T*>(malloc(count * sizeof(T)));
        if (larger == nullptr) return false;
        if (size_ != 0) memcpy(larger, data_, size_ * sizeof(T));
        free(data_);
        data_ = larger;
        capacity_ = count;
        return true;
    }
    void Swap(HeapArray& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

    T* data_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
};
