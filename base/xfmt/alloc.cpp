// The front ends that allocate what they need.
#include <cstdarg>
#include <cstdlib>

#include "base/xfmt.h"

namespace {

constexpr int32_t kAllocationFailed = -1;
constexpr int32_t kMeasuringFailed = -2;

int32_t Measure(const wchar_t* format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const int32_t count = xfmt_v(nullptr, 0, format, copy);
    va_end(copy);
    return count;
}

int32_t AllocateAndFormat(wchar_t** out, int64_t maxChars, const wchar_t* format, va_list args) {
    *out = nullptr;
    const int32_t count = Measure(format, args);
    if (count < 0) return kMeasuringFailed;
    const int64_t wanted = int64_t{count} + 1;
    const int64_t cap = wanted < maxChars ? wanted : maxChars;
    if (cap <= 0) return count;
    *out = static_cast<wchar_t*>(malloc(static_cast<size_t>(cap) * sizeof(wchar_t)));
    if (*out == nullptr) return kAllocationFailed;
    return xfmt_v(*out, cap > INT32_MAX ? INT32_MAX : static_cast<int32_t>(cap), format, args);
}

}  // namespace

int32_t xfmt_valloc(wchar_t** out, const wchar_t* format, va_list args) noexcept {
    return AllocateAndFormat(out, INT64_MAX, format, args);
}

int32_t xfmt_alloc(wchar_t** out, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int32_t count = AllocateAndFormat(out, INT64_MAX, format, args);
    va_end(args);
    return count;
}

int32_t xfmt_valloc_max(wchar_t** out, int32_t max, const wchar_t* format, va_list args) noexcept {
    return AllocateAndFormat(out, max, format, args);
}

int32_t xfmt_alloc_max(wchar_t** out, int32_t max, const wchar_t* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const int32_t count = AllocateAndFormat(out, max, format, args);
    va_end(args);
    return count;
}
