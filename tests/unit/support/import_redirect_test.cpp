#include "tests/support/import_redirect.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <thread>

#include "base/windows_api.h"

namespace {

// Stands for code under test: one function must not call through the import table on both sides of a patch.
[[gnu::noinline]] DWORD ProcessIdSeen() {
    return GetCurrentProcessId();
}

TEST(ReplacedCall, TheCallableAnswersInsteadOfTheSystem) {
    REPLACE_CALL(ticks, GetTickCount, [] { return DWORD{4711}; });
    EXPECT_EQ(GetTickCount(), 4711u);
    EXPECT_EQ(ticks.calls(), 1);
}

TEST(ReplacedCall, TheSystemAnswersAgainAfterTheScope) {
    {
        REPLACE_CALL(process, GetCurrentProcessId, [] { return DWORD{1}; });
    }
    EXPECT_NE(ProcessIdSeen(), 1u);
}

TEST(ReplacedCall, InsideTheCallableTheSystemAnswers) {
    const DWORD real = ProcessIdSeen();
    REPLACE_CALL(process, GetCurrentProcessId, [] { return GetCurrentProcessId() + 1; });
    EXPECT_EQ(ProcessIdSeen(), real + 1);
    EXPECT_EQ(process.Original(), real);
}

TEST(ReplacedCall, OtherThreadsKeepTheSystem) {
    const DWORD real = ProcessIdSeen();
    REPLACE_CALL(process, GetCurrentProcessId, [] { return DWORD{1}; });
    DWORD seen = 0;
    std::thread([&] { seen = ProcessIdSeen(); }).join();
    EXPECT_EQ(seen, real);
}

TEST(ReplacedCall, AllThreadsCanBeAskedFor) {
    using Replaced = ReplacedCall<GetCurrentProcessId>;
    Replaced process(
        "GetCurrentProcessId", [] { return DWORD{1}; }, nullptr, Replaced::Threads::kAll);
    DWORD seen = 0;
    std::thread([&] { seen = ProcessIdSeen(); }).join();
    EXPECT_EQ(seen, 1u);
}

TEST(ReplacedCall, ReplacementsOfOneFunctionNest) {
    REPLACE_CALL(outer, GetCurrentProcessId, [] { return DWORD{1}; });
    {
        REPLACE_CALL(inner, GetCurrentProcessId, [] { return DWORD{2}; });
        EXPECT_EQ(ProcessIdSeen(), 2u);
    }
    EXPECT_EQ(ProcessIdSeen(), 1u);
}

TEST(ReplacedCall, AnInnerReplacementCanAskTheOuterOne) {
    REPLACE_CALL(outer, GetCurrentProcessId, [] { return DWORD{1}; });
    ReplacedCall<GetCurrentProcessId>* self = nullptr;
    REPLACE_CALL(inner, GetCurrentProcessId, [&] { return self->Outer() + 1; });
    self = &inner;
    EXPECT_EQ(ProcessIdSeen(), 2u);
    EXPECT_EQ(outer.calls(), 1);
}

TEST(ImportRedirect, AFunctionThatIsNotImportedFailsTheTest) {
    EXPECT_NONFATAL_FAILURE(ImportRedirect(nullptr, nullptr, "NoSuchFunction", nullptr), "NoSuchFunction");
}

TEST(ImportRedirect, ALoadedLibraryCanBePatched) {
    const HMODULE library = LoadLibraryW(L"version.dll");
    ASSERT_NE(library, nullptr);
    void* const before = ImportedFunction(library, "GetLastError");
    if (before != nullptr) {
        const ImportRedirect redirect(library, nullptr, "GetLastError", library);
        EXPECT_EQ(ImportedFunction(library, "GetLastError"), library);
    }
    EXPECT_EQ(ImportedFunction(library, "GetLastError"), before);
    FreeLibrary(library);
}

// Three fallible calls of two functions.
bool MakeTwoEventsAndAMutex() {
    const HANDLE first = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE second = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE third = CreateMutexW(nullptr, FALSE, nullptr);
    const bool all = first != nullptr && second != nullptr && third != nullptr;
    for (const HANDLE handle : {first, second, third})
        if (handle != nullptr) CloseHandle(handle);
    return all;
}

class CallFaultsTest : public testing::Test {
  protected:
    CallFaultsTest() {
        WATCH_CALL(faults, CreateEventW, nullptr, ERROR_ACCESS_DENIED);
        WATCH_CALL(faults, CreateMutexW, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    }
    CallFaults faults;
};

TEST_F(CallFaultsTest, CallsAreNamedInOrder) {
    faults.During([] { EXPECT_TRUE(MakeTwoEventsAndAMutex()); });
    EXPECT_EQ(faults.calls(), (std::vector<std::string>{"CreateEventW", "CreateEventW", "CreateMutexW"}));
    EXPECT_FALSE(faults.CallFailed());
}

TEST_F(CallFaultsTest, NothingIsCountedOutside) {
    faults.During([] {});
    EXPECT_TRUE(MakeTwoEventsAndAMutex());
    EXPECT_TRUE(faults.calls().empty());
}

TEST_F(CallFaultsTest, TheNthCallFailsOnceWithItsError) {
    faults.FailAt(2);
    faults.During([] {
        EXPECT_NE(CreateEventW(nullptr, TRUE, FALSE, nullptr), nullptr);
        EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, nullptr), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
        EXPECT_NE(CreateEventW(nullptr, TRUE, FALSE, nullptr), nullptr);
    });
    EXPECT_EQ(faults.Describe(), "call 2 (CreateEventW) failing once");
}

TEST_F(CallFaultsTest, FromTheNthCallOnAllFail) {
    faults.FailAt(2, true);
    faults.During([] {
        EXPECT_NE(CreateEventW(nullptr, TRUE, FALSE, nullptr), nullptr);
        EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, nullptr), nullptr);
        EXPECT_EQ(CreateMutexW(nullptr, FALSE, nullptr), nullptr);
    });
}

TEST_F(CallFaultsTest, CallsThatDoNotFailGoToTheReplacementAround) {
    REPLACE_CALL(outer, GetCurrentProcessId, [] { return DWORD{42}; });
    WATCH_CALL(faults, GetCurrentProcessId, 0, ERROR_ACCESS_DENIED);
    faults.FailAt(1);
    faults.During([] {
        EXPECT_EQ(GetCurrentProcessId(), DWORD{0});
        EXPECT_EQ(GetCurrentProcessId(), DWORD{42});
    });
    EXPECT_EQ(outer.calls(), 1);
}

TEST_F(CallFaultsTest, WatchingMallocDoesNotCountTheAccount) {
    WATCH_CALL(faults, malloc, nullptr, 0);
    faults.FailAt(1, true);
    faults.During([] { EXPECT_FALSE(MakeTwoEventsAndAMutex()); });
    EXPECT_EQ(faults.calls(), (std::vector<std::string>{"CreateEventW", "CreateEventW", "CreateMutexW"}));
}

TEST_F(CallFaultsTest, EachCallFailsInTurnOnceAndForEver) {
    int runs = 0;
    int failures = 0;
    const int calls = ForEachFailingCall(faults, [&] {
        bool done = false;
        faults.During([&] { done = MakeTwoEventsAndAMutex(); });
        EXPECT_EQ(done, !faults.CallFailed());
        ++runs;
        failures += done ? 0 : 1;
    });
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(runs, 7);
    EXPECT_EQ(failures, 6);
}

}  // namespace
