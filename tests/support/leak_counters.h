// Counts what this process holds. The usual calls (GetProcessHandleCount, GetGuiResources) answer 0 under
// Wine, so the counters read the system's own tables; each proves itself by a deliberate leak in its test.
#pragma once

#include <functional>
#include <string>

struct LeakCounts {
    long kernelHandles = 0;  // registry keys included
    long gdiObjects = 0;     // the two bitmaps of every icon and cursor included
    long windows = 0;        // top-level, message-only and child windows of this process
    long menus = 0;
    // Coarse: Wine shows a group of small blocks as one. ExpectNoLeaks counts calls instead.
    long heapBlocks = 0;  // busy blocks of the process heap and of the C runtime's (malloc and new)
};

long CountKernelHandles();
long CountGdiObjects();
long CountWindows();
long CountMenus();
long CountHeapBlocks();
LeakCounts CountAll();

// Runs `body` once to let the system fill its caches, then `runs` times more, and fails the test for each
// count that has grown. Blocks that the test program allocates and does not free may grow by less than one
// per run, because the C runtime keeps some.
void ExpectNoLeaks(const std::function<void()>& body, int runs = 5);

// Fails the test when its scope ends with more kernel handles, GDI objects, windows or menus than at its
// start.
class LeakGuard {
  public:
    LeakGuard();
    ~LeakGuard();
    LeakGuard(const LeakGuard&) = delete;
    LeakGuard& operator=(const LeakGuard&) = delete;

  private:
    LeakCounts before_;
};
