// The device installer loads and unloads the DLL for every event: nothing may stay behind. And what the DLL
// says of itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <vector>

#include "base/product_version.h"
#include "base/win32_handle.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/loading_probe.h"

namespace {

constexpr int kCycles = 1000;

// Bytes of memory that the process holds for itself, whoever asked for them.
size_t CountPrivateBytes() {
    size_t bytes = 0;
    MEMORY_BASIC_INFORMATION block = {};
    for (const char* address = nullptr; VirtualQuery(address, &block, sizeof(block));
         address = static_cast<const char*>(block.BaseAddress) + block.RegionSize) {
        if (block.State == MEM_COMMIT && block.Type == MEM_PRIVATE) bytes += block.RegionSize;
    }
    return bytes;
}

void LoadAndUnload() {
    const LoadedLibrary library(LoadLibraryW(TAVIX_COINSTALLER_DLL));
    ASSERT_TRUE(library) << "error " << GetLastError();
    ASSERT_NE(GetProcAddress(library.get(), "TavixCoInstaller"), nullptr);
}

TEST(ModuleLoad, TheMemoryCounterSeesAnAllocation) {
    const size_t before = CountPrivateBytes();
    void* block = VirtualAlloc(nullptr, 1 << 20, MEM_COMMIT, PAGE_READWRITE);
    EXPECT_EQ(CountPrivateBytes() - before, size_t{1} << 20);
    VirtualFree(block, 0, MEM_RELEASE);
}

// The heap shows small blocks in groups, but a group holds far fewer than the cycles below would leak, so
// that one small block per load is seen too.
TEST(ModuleLoad, TheBlockCounterSeesASmallBlockLeakedInEveryCycle) {
    void* (*const ways[])(size_t) = {+[](size_t bytes) { return malloc(bytes); },
                                     +[](size_t bytes) { return HeapAlloc(GetProcessHeap(), 0, bytes); }};
    void (*const back[])(void*) = {+[](void* block) { free(block); },
                                   +[](void* block) { HeapFree(GetProcessHeap(), 0, block); }};
    for (size_t way = 0; way < std::size(ways); ++way) {
        for (const size_t bytes : {1u, 16u, 72u, 400u, 2000u}) {
            std::vector<void*> leaked(kCycles);
            const long before = CountHeapBlocks();
            for (void*& block : leaked)
                block = ways[way](bytes);
            EXPECT_GT(CountHeapBlocks(), before) << bytes << " bytes, way " << way;
            for (void* block : leaked)
                back[way](block);
        }
    }
}

TEST(ModuleLoad, UnloadsWithItsLastReference) {
    LoadAndUnload();
    EXPECT_EQ(GetModuleHandleW(L"tavix_coinstaller.dll"), nullptr);
}

// Whatever the DLL loads while it is loaded itself, it loads under the loader lock.
TEST(ModuleLoad, BringsNoFurtherLibraryAndNoWindow) {
    EXPECT_EXIT(TellWhatLoadingBrings(TAVIX_COINSTALLER_DLL), testing::ExitedWithCode(0),
                testing::EndsWith("brings: [tavix_coinstaller.dll]"));
}

TEST(ModuleLoad, AThousandLoadsLeaveNothingBehind) {
    // A device installer has both loaded itself; loading them anew takes 20 ms each time.
    const LoadedLibrary setupApi(LoadLibraryW(L"setupapi.dll"));
    const LoadedLibrary commonControls(LoadLibraryW(L"comctl32.dll"));
    // The system's own caches fill in the first rounds; counting windows makes the first connection to the
    // desktop.
    CountAll();
    for (int cycle = 0; cycle < 20; ++cycle)
        LoadAndUnload();
    const LeakCounts before = CountAll();
    const size_t bytesBefore = CountPrivateBytes();
    for (int cycle = 0; cycle < kCycles; ++cycle)
        LoadAndUnload();
    const LeakCounts after = CountAll();
    const size_t bytesAfter = CountPrivateBytes();

    EXPECT_EQ(after.kernelHandles, before.kernelHandles);
    EXPECT_EQ(after.gdiObjects, before.gdiObjects);
    EXPECT_EQ(after.windows, before.windows);
    EXPECT_EQ(after.menus, before.menus);
    EXPECT_EQ(after.heapBlocks, before.heapBlocks);
    EXPECT_LE(bytesAfter, bytesBefore + 64 * 1024);
}

constexpr int kFreed = 7;

void WINAPI NoticeFreeing() {
    TerminateProcess(GetCurrentProcess(), kFreed);
}

// Ends the process with the module loaded, or unloads it first: with kFreed when the module then calls the
// function. The call stays replaced, as nothing is destroyed on the way to ExitProcess.
[[noreturn]] void EndProcessWatching(const char* function, bool unload) {
    const HMODULE module = LoadLibraryW(TAVIX_COINSTALLER_DLL);
    if (module == nullptr) ExitProcess(1);
    const ImportRedirect watched(module, nullptr, function, reinterpret_cast<void*>(&NoticeFreeing));
    if (unload) FreeLibrary(module);
    ExitProcess(watched.found() ? 0 : 2);
}

TEST(ModuleLoad, TheEndOfTheProcessFreesNothing) {
    for (const char* function : {"free", "FreeLibrary", "ReleaseActCtx", "DeleteCriticalSection"}) {
        SCOPED_TRACE(function);
        EXPECT_EXIT(EndProcessWatching(function, false), testing::ExitedWithCode(0), "");
    }
}

// The same watch, where something is freed.
TEST(ModuleLoad, UnloadingFreesHeapBlocksAndLibraries) {
    for (const char* function : {"free", "FreeLibrary"}) {
        SCOPED_TRACE(function);
        EXPECT_EXIT(EndProcessWatching(function, true), testing::ExitedWithCode(kFreed), "");
    }
}

TEST(ModuleVersion, InItsResourcesIsTheOneThatItsTextsShow) {
    const LoadedLibrary library(LoadLibraryW(TAVIX_COINSTALLER_DLL));
    const HRSRC found = FindResourceW(library.get(), MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
    ASSERT_NE(found, nullptr);
    constexpr size_t kFixedPart = 40;  // after three words and the padded key "VS_VERSION_INFO"
    ASSERT_GE(SizeofResource(library.get(), found), kFixedPart + sizeof(VS_FIXEDFILEINFO));
    VS_FIXEDFILEINFO info;
    const void* bytes = LockResource(LoadResource(library.get(), found));
    std::memcpy(&info, static_cast<const BYTE*>(bytes) + kFixedPart, sizeof(info));
    EXPECT_EQ(info.dwFileVersionMS, DWORD{kProductVersionMajor << 16 | kProductVersionMinor});
    EXPECT_EQ(info.dwFileVersionLS, DWORD{kProductVersionBuild << 16});
    EXPECT_EQ(info.dwProductVersionMS, info.dwFileVersionMS);
    EXPECT_EQ(info.dwProductVersionLS, info.dwFileVersionLS);
}

}  // namespace
