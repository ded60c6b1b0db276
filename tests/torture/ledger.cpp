#include "tests/torture/ledger.h"

#include <cstring>
#include <cwchar>

#include "base/windows_api.h"

namespace {

enum Kind : int {
    kActivation,
    kActivationContext,
    kClipboard,
    kDc,
    kDeviceList,
    kGdiObject,
    kGlobalBlock,
    kIcon,
    kKernelHandle,
    kLibrary,
    kMemory,
    kMemoryDc,
    kMenu,
    kPaintBuffer,
    kRegistryKey,
};

enum class Success { kNonZero, kZero, kNotNegative, kHandle };

constexpr int kResult = -1;
constexpr int kOnly = -2;  // there is only one: the clipboard

struct AcquiringFunction {
    const char* name;
    Kind kind;
    Success success;
    int place;  // kResult, kOnly, or the argument that points to the handle
    size_t offset = 0;
};

constexpr AcquiringFunction kAcquiring[] = {
    {"ActivateActCtx", kActivation, Success::kNonZero, 1},
    {"BeginBufferedPaint", kPaintBuffer, Success::kHandle, kResult},
    {"CreateActCtxW", kActivationContext, Success::kHandle, kResult},
    {"CreateCompatibleBitmap", kGdiObject, Success::kHandle, kResult},
    {"CreateCompatibleDC", kMemoryDc, Success::kHandle, kResult},
    {"CreateDIBSection", kGdiObject, Success::kHandle, kResult},
    {"CreateFileW", kKernelHandle, Success::kHandle, kResult},
    {"CreateFontIndirectW", kGdiObject, Success::kHandle, kResult},
    {"CreatePopupMenu", kMenu, Success::kHandle, kResult},
    {"CreateProcessW", kKernelHandle, Success::kNonZero, 9, 0},
    {"CreateProcessW", kKernelHandle, Success::kNonZero, 9, sizeof(HANDLE)},
    {"CreateRectRgn", kGdiObject, Success::kHandle, kResult},
    {"CreateRectRgnIndirect", kGdiObject, Success::kHandle, kResult},
    {"CreateSolidBrush", kGdiObject, Success::kHandle, kResult},
    {"GetDC", kDc, Success::kHandle, kResult},
    {"GetIconInfo", kGdiObject, Success::kNonZero, 1, offsetof(ICONINFO, hbmMask)},
    {"GetIconInfo", kGdiObject, Success::kNonZero, 1, offsetof(ICONINFO, hbmColor)},
    {"GlobalAlloc", kGlobalBlock, Success::kHandle, kResult},
    {"LoadIconMetric", kIcon, Success::kNotNegative, 3},
    {"LoadLibraryW", kLibrary, Success::kHandle, kResult},
    {"OpenClipboard", kClipboard, Success::kNonZero, kOnly},
    {"OpenProcess", kKernelHandle, Success::kHandle, kResult},
    {"RegCreateKeyW", kRegistryKey, Success::kZero, 2},
    {"RegOpenKeyExW", kRegistryKey, Success::kZero, 4},
    {"SetupDiCreateDeviceInfoList", kDeviceList, Success::kHandle, kResult},
    {"SetupDiGetClassDevsW", kDeviceList, Success::kHandle, kResult},
    {"SetupDiOpenDevRegKey", kRegistryKey, Success::kHandle, kResult},
    {"calloc", kMemory, Success::kHandle, kResult},
    {"malloc", kMemory, Success::kHandle, kResult},
    {"realloc", kMemory, Success::kHandle, kResult},
};

struct ReleasingFunction {
    const char* name;
    Kind kind;
    int argument;
    bool takesNull = false;
};

constexpr ReleasingFunction kReleasing[] = {
    {"CloseClipboard", kClipboard, kOnly},
    {"CloseHandle", kKernelHandle, 0},
    {"DeactivateActCtx", kActivation, 1},
    {"DeleteDC", kMemoryDc, 0},
    {"DeleteObject", kGdiObject, 0},
    {"DestroyIcon", kIcon, 0},
    {"DestroyMenu", kMenu, 0},
    {"EndBufferedPaint", kPaintBuffer, 0},
    {"FreeLibrary", kLibrary, 0},
    {"GlobalFree", kGlobalBlock, 0},
    {"RegCloseKey", kRegistryKey, 0},
    {"ReleaseActCtx", kActivationContext, 0},
    {"ReleaseDC", kDc, 1},
    {"SetupDiDestroyDeviceInfoList", kDeviceList, 0},
    {"free", kMemory, 0, true},
    {"realloc", kMemory, 0, true},
};

// Calls after whose success another owner releases what they were given.
struct HandingOver {
    const char* name;
    Kind kind;
    int argument;
};

constexpr HandingOver kHandingOver[] = {
    {"AppendMenuW", kMenu, 2},
    {"SetClipboardData", kGlobalBlock, 1},
};

bool Succeeded(Success success, uint64_t result) {
    switch (success) {
        case Success::kNonZero:
            return static_cast<uint32_t>(result) != 0;
        case Success::kZero:
            return static_cast<uint32_t>(result) == 0;
        case Success::kNotNegative:
            return static_cast<int32_t>(result) >= 0;
        case Success::kHandle:
            return result != 0 && result != ~uint64_t{0};
    }
    return false;
}

uint64_t ValueAt(const AcquiringFunction& row, const uint64_t* arguments, uint64_t result) {
    if (row.place == kResult) return result;
    if (row.place == kOnly) return 1;
    uint64_t value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(arguments[row.place]) + row.offset, sizeof(value));
    return value;
}

// Libraries of the system whose functions are looked up at run time stay for good.
bool StaysLoaded(const AcquiringFunction& row, const uint64_t* arguments) {
    if (row.kind != kLibrary) return false;
    const auto* const path = reinterpret_cast<const wchar_t*>(arguments[0]);
    return wcsstr(path, L"\\uxtheme.dll") != nullptr || wcsstr(path, L"\\devmgr.dll") != nullptr;
}

}  // namespace

bool HandleLedger::IsWatched(const std::string& function) {
    for (const AcquiringFunction& row : kAcquiring)
        if (function == row.name) return true;
    for (const ReleasingFunction& row : kReleasing)
        if (function == row.name) return true;
    for (const HandingOver& row : kHandingOver)
        if (function == row.name) return true;
    return false;
}

void HandleLedger::BeforeCall(const std::string& function, const uint64_t* arguments,
                              std::vector<std::string>& problems) {
    for (const ReleasingFunction& row : kReleasing) {
        if (function != row.name) continue;
        const uint64_t value = row.argument == kOnly ? 1 : arguments[row.argument];
        if (value == 0 && row.takesNull) continue;
        const auto held = held_.find({row.kind, value});
        if (held == held_.end())
            problems.push_back(function + " of something that is not held (" + std::to_string(value) + ")");
        else
            held_.erase(held);
    }
}

void HandleLedger::AfterCall(const std::string& function, const uint64_t* arguments, uint64_t result) {
    for (const AcquiringFunction& row : kAcquiring) {
        if (function != row.name || !Succeeded(row.success, result) || StaysLoaded(row, arguments)) continue;
        const uint64_t value = ValueAt(row, arguments, result);
        if (value != 0) held_.insert({{row.kind, value}, function});
    }
    for (const HandingOver& row : kHandingOver)
        if (function == row.name && result != 0) held_.erase({row.kind, arguments[row.argument]});
}

std::vector<std::string> HandleLedger::Held() const {
    std::map<std::string, int> counts;
    for (const auto& [key, function] : held_)
        ++counts[function];
    std::vector<std::string> lines;
    for (const auto& [function, count] : counts)
        lines.push_back("not given back: what " + function + " had acquired (" + std::to_string(count) + ")");
    return lines;
}
