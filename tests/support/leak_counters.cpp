#include "tests/support/leak_counters.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <vector>

#include "base/windows_api.h"

#include <winternl.h>

#include "tests/support/import_redirect.h"
#include "tests/support/wait_until.h"

namespace {

constexpr ULONG kSystemExtendedHandleInformation = 64;

constexpr DWORD kSettleMs = 300;

struct HandleEntry {
    void* object;
    ULONG_PTR processId;
    ULONG_PTR handle;
    ULONG access;
    USHORT creatorBackTraceIndex;
    USHORT objectTypeIndex;
    ULONG attributes;
    ULONG reserved;
};

struct HandleInformation {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry handles[1];
};

// The GDI handle table that the system maps into every process; its address stands in the process environment
// block.
constexpr size_t kGdiTableOffsetInPeb = 0xF8;
constexpr size_t kGdiTableEntries = 65536;
constexpr size_t kGdiEntryBytes = 24;
constexpr size_t kGdiEntryTypeOffset = 14;

const char* ProcessEnvironmentBlock() {
    PROCESS_BASIC_INFORMATION information = {};
    NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &information, sizeof(information),
                              nullptr);
    return reinterpret_cast<const char*>(information.PebBaseAddress);
}

// Otherwise the system makes each of them when a window first shows its color, and keeps it.
void MakeSystemBrushes() {
    for (int color = 0; color <= COLOR_MENUBAR; ++color)
        GetSysColorBrush(color);
}

BOOL CALLBACK CountChild(HWND, LPARAM count) {
    ++*reinterpret_cast<long*>(count);
    return TRUE;
}

BOOL CALLBACK CountTopLevel(HWND window, LPARAM count) {
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    if (processId != GetCurrentProcessId()) return TRUE;
    ++*reinterpret_cast<long*>(count);
    EnumChildWindows(window, CountChild, count);
    return TRUE;
}

long BusyBlocks(HANDLE heap) {
    long count = 0;
    PROCESS_HEAP_ENTRY entry = {};
    HeapLock(heap);
    while (HeapWalk(heap, &entry))
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) ++count;
    HeapUnlock(heap);
    return count;
}

// Counts the blocks that the test program has and nobody has freed since the ledger was opened. HeapWalk
// cannot tell: it shows groups of small blocks as one.
class AllocationLedger {
  public:
    // The replacements themselves allocate.
    AllocationLedger() { blocks_ = 0; }
    long blocks() const { return blocks_; }

  private:
    void* Added(void* block) {
        if (block != nullptr) ++blocks_;
        return block;
    }
    void Removed(const void* block) {
        if (block != nullptr) --blocks_;
    }

    std::atomic<long> blocks_ = 0;
    ReplacedCall<malloc> malloc_{"malloc", [this](size_t bytes) { return Added(malloc_.Outer(bytes)); },
                                 nullptr, ReplacedCall<malloc>::Threads::kAll};
    ReplacedCall<calloc> calloc_{
        "calloc", [this](size_t count, size_t bytes) { return Added(calloc_.Outer(count, bytes)); }, nullptr,
        ReplacedCall<calloc>::Threads::kAll};
    ReplacedCall<realloc> realloc_{"realloc",
                                   [this](void* old, size_t bytes) {
                                       void* const block = realloc_.Outer(old, bytes);
                                       if (block != nullptr || bytes == 0) Removed(old);
                                       return Added(block);
                                   },
                                   nullptr, ReplacedCall<realloc>::Threads::kAll};
    ReplacedCall<free> free_{"free",
                             [this](void* block) {
                                 Removed(block);
                                 free_.Outer(block);
                             },
                             nullptr, ReplacedCall<free>::Threads::kAll};
};

// Threads of the system come and go and hold a handle for a moment, so growth counts only when it stays.
void ExpectNoGrowth(const char* what, long (*counter)(), long allowed) {
    EXPECT_TRUE(WaitUntil(
        "the end of growth", [&] { return counter() <= allowed; }, kSettleMs))
        << "leaked " << what << ": " << counter() << " instead of " << allowed;
}

void ExpectNoGrowthSince(const LeakCounts& before) {
    ExpectNoGrowth("kernel handles", CountKernelHandles, before.kernelHandles);
    ExpectNoGrowth("GDI objects", CountGdiObjects, before.gdiObjects);
    ExpectNoGrowth("windows", CountWindows, before.windows);
    ExpectNoGrowth("menus", CountMenus, before.menus);
}

}  // namespace

long CountKernelHandles() {
    std::vector<char> buffer(1 << 18);
    ULONG needed = 0;
    // The class is not among the enumerators of the declaration.
    const auto query =
        reinterpret_cast<NTSTATUS(NTAPI*)(ULONG, void*, ULONG, ULONG*)>(NtQuerySystemInformation);
    while (query(kSystemExtendedHandleInformation, buffer.data(), static_cast<ULONG>(buffer.size()),
                 &needed) != 0)
        buffer.resize(buffer.size() * 2);
    const auto* information = reinterpret_cast<const HandleInformation*>(buffer.data());
    long count = 0;
    for (ULONG_PTR i = 0; i < information->count; ++i)
        if (information->handles[i].processId == GetCurrentProcessId()) ++count;
    return count;
}

long CountGdiObjects() {
    const char* table = *reinterpret_cast<char* const*>(ProcessEnvironmentBlock() + kGdiTableOffsetInPeb);
    if (table == nullptr) return 0;
    long count = 0;
    for (size_t i = 0; i < kGdiTableEntries; ++i)
        if (*reinterpret_cast<const WORD*>(table + i * kGdiEntryBytes + kGdiEntryTypeOffset) != 0) ++count;
    return count;
}

long CountWindows() {
    long count = 0;
    EnumWindows(CountTopLevel, reinterpret_cast<LPARAM>(&count));
    HWND window = nullptr;
    while ((window = FindWindowExW(HWND_MESSAGE, window, nullptr, nullptr)) != nullptr)
        CountTopLevel(window, reinterpret_cast<LPARAM>(&count));
    return count;
}

long CountMenus() {
    // A handle's lower half is its place in the table, and the system accepts it alone.
    long count = 0;
    for (ULONG_PTR handle = 0x20; handle < 0x10000; handle += 2)
        if (IsMenu(reinterpret_cast<HMENU>(handle))) ++count;
    return count;
}

long CountHeapBlocks() {
    const HANDLE processHeap = GetProcessHeap();
    const auto runtimeHeap = reinterpret_cast<HANDLE>(_get_heap_handle());
    return BusyBlocks(processHeap) + (runtimeHeap != processHeap ? BusyBlocks(runtimeHeap) : 0);
}

LeakCounts CountAll() {
    LeakCounts counts;
    // The first look at windows connects the process to the desktop, which costs handles and GDI objects.
    CountWindows();
    MakeSystemBrushes();
    counts.kernelHandles = CountKernelHandles();
    counts.gdiObjects = CountGdiObjects();
    counts.windows = CountWindows();
    counts.menus = CountMenus();
    counts.heapBlocks = CountHeapBlocks();
    return counts;
}

void ExpectNoLeaks(const std::function<void()>& body, int runs) {
    body();
    const LeakCounts before = CountAll();
    long blocks = 0;
    {
        const AllocationLedger ledger;
        for (int i = 0; i < runs; ++i)
            body();
        blocks = ledger.blocks();
    }
    ExpectNoGrowthSince(before);
    // The account of a failure is kept on the heap.
    if (testing::Test::HasFailure()) return;
    EXPECT_LT(blocks, runs) << "leaked heap blocks in " << runs << " runs";
}

LeakGuard::LeakGuard() {
    // The first use of windows and of the counters makes the system keep things for the rest of the process.
    static const bool warm = [] {
        DestroyWindow(CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, 9, 9, nullptr, nullptr,
                                      nullptr, nullptr));
        CountAll();
        return true;
    }();
    static_cast<void>(warm);
    before_ = CountAll();
}

LeakGuard::~LeakGuard() {
    ExpectNoGrowthSince(before_);
}
