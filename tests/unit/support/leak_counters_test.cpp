#include "tests/support/leak_counters.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <vector>

#include "base/windows_api.h"
#include "tests/support/wait_until.h"

namespace {

// What a leak of eleven objects adds to a counter, and that giving them back takes it away again.
template <typename Create, typename Destroy>
void ExpectCounts(long (*counter)(), Create create, Destroy destroy) {
    create();  // the first of a kind makes the system allocate more than itself
    const long before = counter();
    std::vector<decltype(create())> leaked;
    for (int i = 0; i < 11; ++i)
        leaked.push_back(create());
    EXPECT_TRUE(WaitUntil("eleven more", [&] { return counter() - before == 11; })) << counter() - before;
    for (auto& object : leaked)
        destroy(object);
    EXPECT_TRUE(WaitUntil("none left", [&] { return counter() == before; })) << counter() - before;
}

TEST(LeakCounters, EventsAreKernelHandles) {
    ExpectCounts(
        CountKernelHandles, [] { return CreateEventW(nullptr, TRUE, FALSE, nullptr); }, CloseHandle);
}

TEST(LeakCounters, RegistryKeysAreKernelHandles) {
    ExpectCounts(
        CountKernelHandles,
        [] {
            HKEY key = nullptr;
            RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key);
            return key;
        },
        RegCloseKey);
}

TEST(LeakCounters, BrushesAreGdiObjects) {
    ExpectCounts(
        CountGdiObjects, [] { return CreateSolidBrush(RGB(1, 2, 3)); }, DeleteObject);
}

TEST(LeakCounters, AnIconCountsByItsTwoBitmaps) {
    const HICON original = LoadIconW(nullptr, IDI_HAND);
    const long before = CountGdiObjects();
    const HICON icon = CopyIcon(original);
    EXPECT_GT(CountGdiObjects(), before);
    DestroyIcon(icon);
    EXPECT_EQ(CountGdiObjects(), before);
}

TEST(LeakCounters, MenusAreCounted) {
    ExpectCounts(
        CountMenus, [] { return CreatePopupMenu(); }, DestroyMenu);
}

TEST(LeakCounters, TopLevelWindowsAreCounted) {
    ExpectCounts(
        CountWindows,
        [] {
            return CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr,
                                   nullptr);
        },
        DestroyWindow);
}

TEST(LeakCounters, MessageOnlyWindowsAreCounted) {
    ExpectCounts(
        CountWindows,
        [] {
            return CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        },
        DestroyWindow);
}

TEST(LeakCounters, HeapBlocksAreCounted) {
    // Too large for the groups of small blocks.
    std::vector<void*> blocks(11);
    const long before = CountHeapBlocks();
    for (void*& block : blocks)
        block = HeapAlloc(GetProcessHeap(), 0, 100000);
    EXPECT_EQ(CountHeapBlocks() - before, 11);
    for (void* block : blocks)
        HeapFree(GetProcessHeap(), 0, block);
    EXPECT_EQ(CountHeapBlocks(), before);
}

TEST(LeakCounters, MemoryOfNewIsCounted) {
    const long before = CountHeapBlocks();
    void* const block = operator new(100000);
    EXPECT_EQ(CountHeapBlocks() - before, 1);
    operator delete(block);
}

TEST(ExpectNoLeaks, ABalancedBodyPasses) {
    ExpectNoLeaks([] { CloseHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr)); });
}

// The system makes each of its brushes when it is first asked for and keeps it.
TEST(ExpectNoLeaks, TheSystemsOwnBrushesDoNotCount) {
    int color = COLOR_SCROLLBAR;
    ExpectNoLeaks([&] { GetSysColorBrush(color++); }, COLOR_MENUBAR);
}

std::vector<HBRUSH> leakedBrushes;
std::vector<void*> leakedBlocks;

TEST(ExpectNoLeaks, ALeakOfOneObjectPerRunFails) {
    EXPECT_NONFATAL_FAILURE(ExpectNoLeaks([] { leakedBrushes.push_back(CreateSolidBrush(0)); }),
                            "leaked GDI objects");
    for (const HBRUSH brush : leakedBrushes)
        DeleteObject(brush);
}

// One small block in every run, allocated in each of the ways that there are. The blocks stay for good.
TEST(ExpectNoLeaks, ALeakOfOneSmallBlockPerRunFails) {
    static void* (*allocate)();
    for (const auto way : {+[] { return malloc(9); }, +[] { return calloc(3, 3); },
                           +[] { return realloc(nullptr, 9); }, +[]() -> void* { return operator new(9); }}) {
        allocate = way;
        leakedBlocks.reserve(100);
        EXPECT_NONFATAL_FAILURE(ExpectNoLeaks([] { leakedBlocks.push_back(allocate()); }),
                                "leaked heap blocks");
    }
}

TEST(ExpectNoLeaks, BlocksThatAreGivenBackDoNotCount) {
    ExpectNoLeaks([] {
        free(realloc(malloc(9), 99));
        EXPECT_EQ(realloc(malloc(9), 0), nullptr);
        delete new int;
        free(nullptr);
    });
}

TEST(LeakGuard, ALeakedMenuFailsAtTheEndOfTheScope) {
    HMENU menu = nullptr;
    static HMENU* place;
    place = &menu;
    EXPECT_NONFATAL_FAILURE(
        {
            const LeakGuard guard;
            *place = CreatePopupMenu();
        },
        "leaked menus");
    DestroyMenu(menu);
}

}  // namespace
