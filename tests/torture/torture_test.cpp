// Every call that the DLL makes fails once and for ever, and the driver lies: whatever happens, the product
// comes back with its documented result, gives back what it holds, shows nothing that it does not
// have to say, writes nothing that nobody asked for, and works again.
//
// scripts/torture runs it: a sample, which TAVIX_TORTURE_SEED chooses, or with TAVIX_LONG_TESTS=1 everything.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/import_redirect.h"
#include "tests/support/modal_driver.h"
#include "tests/system/package_fixture.h"
#include "tests/torture/child.h"
#include "tests/torture/failures.h"
#include "tests/torture/flows.h"

namespace {

constexpr DWORD kSampleSeconds = 50;
constexpr DWORD kHangMs = 120'000;
constexpr uint32_t kRoundsOfLies = 60;  // for each flow: more than 100,000 replies in all

uint32_t NumberFromEnvironment(const wchar_t* name, uint32_t otherwise) {
    wchar_t text[20] = L"";
    return GetEnvironmentVariableW(name, text, 20) != 0 ? static_cast<uint32_t>(wcstoul(text, nullptr, 10))
                                                        : otherwise;
}

std::wstring TemporaryPath(const wchar_t* name) {
    wchar_t folder[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, folder);
    return folder + std::wstring(L"tavix-torture-") + name;
}

struct Total {
    int cases = 0;
    int met = 0;
    int lies = 0;

    void Add(const Total& other) {
        cases += other.cases;
        met += other.met;
        lies += other.lies;
    }
};

class TortureTest : public PackageTest {
  protected:
    // `wish` is the variable of the environment that asks for the test.
    explicit TortureTest(const wchar_t* wish) : wish_(wish) {}

    void SetUp() override {
        if (GetEnvironmentVariableW(wish_, nullptr, 0) == 0) GTEST_SKIP() << "scripts/torture runs this";
        Plug(TorturedDevice());
        PrintFlowsOnce();
    }

    static void PrintFlowsOnce() {
        if (GetEnvironmentVariableW(L"TAVIX_TORTURE_WORK", nullptr, 0) == 0) return;
        int number = 0;
        for (const Flow& flow : AllFlows())
            printf("%2d %s\n", number++, flow.name.c_str());
    }

    // Runs children until the work is done; one that crashes or hangs is a failure, and the next one goes on
    // after the case that it was at.
    Total RunChildren(const std::wstring& work) {
        Total total;
        int from = 0;
        for (int attempts = 0; attempts < 200; ++attempts) {
            const Ending end = RunOneChild(work + L" " + std::to_wstring(from));
            total.Add(end.total);
            if (end.done || end.index < 0) break;
            from = end.index + 1;
        }
        return total;
    }

    const std::vector<Flow> flows_ = AllFlows();

  private:
    const wchar_t* const wish_;

    struct Ending {
        Total total;
        int index;
        bool done;
    };

    Ending RunOneChild(const std::wstring& work) {
        const std::wstring progressFile = TemporaryPath(L"progress");
        const std::wstring reportFile = TemporaryPath(L"report");
        DeleteFileW(reportFile.c_str());
        ChildProgress* const progress = OpenProgress(progressFile);
        ZeroMemory(progress, sizeof(*progress));
        progress->index = -1;
        const std::string end = WaitForChild(progressFile + L" " + reportFile + L" " + work, *progress);
        const Ending ending = {
            {progress->cases, progress->met, progress->lies}, progress->index, progress->done != 0};
        if (!ending.done) ADD_FAILURE() << progress->what << ": " << end;
        UnmapViewOfFile(progress);
        std::ifstream report(std::filesystem::path(reportFile).c_str());
        for (std::string line; std::getline(report, line);)
            ADD_FAILURE() << line;
        return ending;
    }

    // How the child ended.
    static std::string WaitForChild(const std::wstring& arguments, const ChildProgress& progress) {
        wchar_t program[MAX_PATH] = L"";
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        std::wstring line = std::wstring(program) + L" child " + arguments;
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION started = {};
        if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                            &started))
            return "the child does not start, error " + std::to_string(GetLastError());
        const KernelHandle thread(started.hThread);
        const KernelHandle process(started.hProcess);
        int cases = -1;
        DWORD since = GetTickCount();
        while (WaitForSingleObject(process.get(), 200) == WAIT_TIMEOUT) {
            if (progress.cases != cases) since = GetTickCount();
            cases = progress.cases;
            if (GetTickCount() - since < kHangMs) continue;
            TerminateProcess(process.get(), 1);
            return "it hangs";
        }
        DWORD code = 0;
        GetExitCodeProcess(process.get(), &code);
        return "it crashes, exit code " + std::to_string(code);
    }
};

void Print(const std::string& what, const Total& total, DWORD start) {
    printf("%-45s %6d cases, %6d met, %6d lies, %lu s\n", what.c_str(), total.cases, total.met, total.lies,
           (GetTickCount() - start) / 1000);
    fflush(stdout);
}

TEST(TortureTable, KnowsEveryFunctionThatTheDllImports) {
    const LoadedLibrary library(LoadLibraryExW(TAVIX_COINSTALLER_DLL, nullptr, DONT_RESOLVE_DLL_REFERENCES));
    ASSERT_TRUE(library);
    for (const std::string& function : ImportedFunctions(library.get()))
        EXPECT_NE(FindFallible(function) != nullptr, IsKnownInfallible(function)) << function;
}

class TortureWork : public TortureTest {
  protected:
    TortureWork() : TortureTest(L"TAVIX_TORTURE_WORK") {}
};

// Some work alone, as child.h has it: TAVIX_TORTURE_WORK="calls 7".
TEST_F(TortureWork, WhatTheEnvironmentAsksFor) {
    wchar_t work[200] = L"";
    GetEnvironmentVariableW(L"TAVIX_TORTURE_WORK", work, 200);
    const DWORD start = GetTickCount();
    Print(NarrowText(work), RunChildren(work), start);
}

class TortureSample : public TortureTest {
  protected:
    TortureSample() : TortureTest(L"TAVIX_TORTURE_SEED") {}
};

TEST_F(TortureSample, ASampleOfEverythingLeavesTheProductWhole) {
    const uint32_t seed = NumberFromEnvironment(L"TAVIX_TORTURE_SEED", 0);
    const DWORD start = GetTickCount();
    printf("seed %u\n", seed);
    const Total total =
        RunChildren(L"sample " + std::to_wstring(seed) + L" " +
                    std::to_wstring(NumberFromEnvironment(L"TAVIX_TORTURE_SECONDS", kSampleSeconds)));
    Print("sample with seed " + std::to_string(seed), total, start);
    EXPECT_GT(total.cases, 0);
}

class LongTortureTest : public TortureTest {
  protected:
    LongTortureTest() : TortureTest(L"TAVIX_LONG_TESTS") {}

    // All, or those that TAVIX_TORTURE_FLOWS names as "first-last".
    std::pair<size_t, size_t> ChosenFlows() const {
        wchar_t text[20] = L"";
        if (GetEnvironmentVariableW(L"TAVIX_TORTURE_FLOWS", text, 20) == 0) return {0, flows_.size() - 1};
        wchar_t* dash = nullptr;
        const size_t from = wcstoul(text, &dash, 10);
        const size_t to = *dash == L'-' ? wcstoul(dash + 1, nullptr, 10) : from;
        return {from, std::min(to, flows_.size() - 1)};
    }
    // Runs the work for each flow and prints what it came to.
    int ForEachFlow(const wchar_t* kind, const std::wstring& argument) {
        Total all;
        const DWORD start = GetTickCount();
        const auto [from, to] = ChosenFlows();
        for (size_t flow = from; flow <= to; ++flow) {
            const DWORD flowStart = GetTickCount();
            const Total total = RunChildren(std::wstring(kind) + L" " + std::to_wstring(flow) + argument);
            Print(flows_[flow].name, total, flowStart);
            all.Add(total);
        }
        Print(std::to_string(to - from + 1) + " flows", all, start);
        return kind == std::wstring(L"lies") ? all.lies : all.cases;
    }
};

TEST_F(LongTortureTest, EveryCallFailsOnceAndForEver) {
    EXPECT_GT(ForEachFlow(L"calls", L""), 0);
}

TEST_F(LongTortureTest, TheDriverTellsNonsense) {
    EXPECT_GT(ForEachFlow(L"lies", L" " + std::to_wstring(kRoundsOfLies)), 0);
}

TEST_F(LongTortureTest, TheDeviceGoesWhileARequestWaits) {
    EXPECT_GT(ForEachFlow(L"unplug", L""), 0);
}

}  // namespace
