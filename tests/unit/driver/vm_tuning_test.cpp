#include "driver/vm_tuning.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/trace_line.h"
#include "base/windows_api.h"

#include <psapi.h>

#include "state/driver_params.h"
#include "tests/support/import_redirect.h"
#include "tests/unit/state/scratch_key.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::vector<std::wstring> traced;

// The file name of this very program, which is certain to run.
std::wstring OwnName() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::wstring(path).substr(std::wstring(path).rfind(L'\\') + 1);
}

// HKEY_LOCAL_MACHINE of this process is a scratch key, so that the real Parameters key stays as it is.
class VmTuning : public testing::Test {
  protected:
    void SetUp() override {
        traced.clear();
        SetTraceLineHook([](const wchar_t* line) { traced.emplace_back(line); });
        ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_.get()), ERROR_SUCCESS);
        ASSERT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, kDriverParametersKey, key_.put()), ERROR_SUCCESS);
    }
    void TearDown() override {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        SetTraceLineHook(nullptr);
    }

    void StoreDword(const wchar_t* name, DWORD number) {
        ASSERT_EQ(RegSetValueExW(key_.get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4),
                  ERROR_SUCCESS);
    }
    void StoreText(const wchar_t* name, DWORD type, const std::wstring& text) {
        ASSERT_EQ(RegSetValueExW(key_.get(), name, 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
    }
    // One text after the other, each with its end, then one more end.
    void StoreList(const wchar_t* name, const std::vector<std::wstring>& texts) {
        std::wstring list;
        for (const std::wstring& text : texts)
            list += text + L'\0';
        StoreText(name, REG_MULTI_SZ, list);
    }

    // The numbers of the key, except those that the test stored itself as lists or texts.
    std::map<std::wstring, DWORD> Numbers() {
        std::map<std::wstring, DWORD> numbers;
        for (DWORD index = 0;; ++index) {
            wchar_t name[100];
            DWORD nameChars = 100, type = 0, number = 0, bytes = sizeof(number);
            const LSTATUS status = RegEnumValueW(key_.get(), index, name, &nameChars, nullptr, &type,
                                                 reinterpret_cast<BYTE*>(&number), &bytes);
            if (status == ERROR_NO_MORE_ITEMS) return numbers;
            if (status == ERROR_SUCCESS && type == REG_DWORD) numbers[name] = number;
        }
    }

    ScratchKey machine_;
    RegistryKey key_;
};

// IsVmHostProcessRunning ------------------------------------------------------------------------------------

TEST_F(VmTuning, AListedProgramThatRunsIsFound) {
    StoreList(L"ListVMwareProcessNames", {L"no such program.exe", OwnName()});
    EXPECT_TRUE(IsVmHostProcessRunning(L"ListVMwareProcessNames"));
}

TEST_F(VmTuning, CaseAndTheEndOfTheFileNameDoNotMatter) {
    std::wstring name = OwnName();
    std::transform(name.begin(), name.end(), name.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(towupper(c)); });
    StoreList(L"ListVMwareProcessNames", {name});
    EXPECT_TRUE(IsVmHostProcessRunning(L"ListVMwareProcessNames"));
    StoreList(L"ListVMwareProcessNames", {name.substr(0, name.rfind(L'.'))});
    EXPECT_TRUE(IsVmHostProcessRunning(L"ListVMwareProcessNames"));
}

TEST_F(VmTuning, TheStartOfTheFileNameMatters) {
    StoreList(L"ListVMwareProcessNames", {OwnName().substr(1)});
    EXPECT_FALSE(IsVmHostProcessRunning(L"ListVMwareProcessNames"));
}

TEST_F(VmTuning, NoListedProgramRuns) {
    StoreList(L"ListVMwareProcessNames", {L"no such program.exe"});
    EXPECT_FALSE(IsVmHostProcessRunning(L"ListVMwareProcessNames"));
}

TEST_F(VmTuning, AMissingOrEmptyListMatchesNothing) {
    EXPECT_FALSE(IsVmHostProcessRunning(L"ListVMwareProcessNames"));
    StoreList(L"ListVMwareProcessNames", {});
    EXPECT_FALSE(IsVmHostProcessRunning(L"ListVMwareProcessNames"));
}

// The end of a list is an empty text: nothing behind one belongs to it, and an empty name, which every path
// would contain behind some backslash, is none of its names.
TEST_F(VmTuning, AnEmptyTextEndsTheListAndMatchesNothing) {
    for (const std::vector<std::wstring>& list : {std::vector<std::wstring>{L""},
                                                  {L"", L""},
                                                  {L"", OwnName()},
                                                  {L"no such program.exe", L"", OwnName()}}) {
        StoreList(L"ListVMwareProcessNames", list);
        EXPECT_FALSE(IsVmHostProcessRunning(L"ListVMwareProcessNames")) << testing::PrintToString(list);
    }
}

TEST_F(VmTuning, AListOfAnotherTypeMatchesNothing) {
    for (const DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_BINARY}) {
        StoreText(L"ListVMwareProcessNames", type, OwnName() + L'\0');
        EXPECT_FALSE(IsVmHostProcessRunning(L"ListVMwareProcessNames")) << type;
    }
}

// DetectVmHost ----------------------------------------------------------------------------------------------

TEST_F(VmTuning, WithoutAListedProcessThereIsNoHost) {
    EXPECT_EQ(DetectVmHost(), VmHost::kNone);
    EXPECT_THAT(traced, IsEmpty());
}

TEST_F(VmTuning, TheVmwareListTellsVmware) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    EXPECT_EQ(DetectVmHost(), VmHost::kVmware);
    EXPECT_EQ(static_cast<int>(DetectVmHost()), 1);
    EXPECT_EQ(traced.at(0), L"Tavix:VMware VM env detected");
}

TEST_F(VmTuning, TheVirtualboxListTellsVirtualbox) {
    StoreList(L"ListVirtualboxProcessNames", {OwnName()});
    EXPECT_EQ(DetectVmHost(), VmHost::kVirtualbox);
    EXPECT_EQ(static_cast<int>(DetectVmHost()), 2);
    EXPECT_EQ(traced.at(0), L"Tavix:VirtualBox VM env detected");
}

TEST_F(VmTuning, VmwareIsLookedForFirst) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    StoreList(L"ListVirtualboxProcessNames", {OwnName()});
    EXPECT_EQ(DetectVmHost(), VmHost::kVmware);
    EXPECT_EQ(traced.size(), size_t{1});
}

// ApplyVmTuningOnce -----------------------------------------------------------------------------------------

TEST_F(VmTuning, WithoutAHostOnlyTheMarkIsWritten) {
    ApplyVmTuningOnce();
    EXPECT_THAT(Numbers(), ElementsAre(Pair(L"InitVMDetectDone", 1)));
}

TEST_F(VmTuning, EitherHostTunesBothParameters) {
    for (const wchar_t* list : {L"ListVMwareProcessNames", L"ListVirtualboxProcessNames"}) {
        RegDeleteValueW(key_.get(), L"InitVMDetectDone");
        RegDeleteValueW(key_.get(), L"isDropPartialBytesOnUsbError");
        RegDeleteValueW(key_.get(), L"ClearInputDelayMillisecMinimum");
        StoreList(list, {OwnName()});
        ApplyVmTuningOnce();
        EXPECT_THAT(Numbers(),
                    ElementsAre(Pair(L"ClearInputDelayMillisecMinimum", 300), Pair(L"InitVMDetectDone", 1),
                                Pair(L"isDropPartialBytesOnUsbError", 1)));
        RegDeleteValueW(key_.get(), list);
    }
}

struct DelayRow {
    const char* name;
    DWORD before;
    DWORD after;
    int writes;  // of all values
};
void PrintTo(const DelayRow& row, std::ostream* out) {
    *out << row.name;
}

class VmTuningDelay : public VmTuning, public testing::WithParamInterface<DelayRow> {};

TEST_P(VmTuningDelay, IsRaisedToThreeHundredButNeverLowered) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    StoreDword(L"ClearInputDelayMillisecMinimum", GetParam().before);
    REPLACE_CALL(write, RegSetValueExW,
                 [](auto... arguments) { return ReplacedCall<RegSetValueExW>::Original(arguments...); });
    ApplyVmTuningOnce();
    EXPECT_EQ(Numbers().at(L"ClearInputDelayMillisecMinimum"), GetParam().after);
    EXPECT_EQ(Numbers().at(L"isDropPartialBytesOnUsbError"), DWORD{1});
    EXPECT_EQ(write.calls(), GetParam().writes);
}

INSTANTIATE_TEST_SUITE_P(Values, VmTuningDelay,
                         testing::Values(DelayRow{"Zero", 0, 300, 3}, DelayRow{"OneHundred", 100, 300, 3},
                                         DelayRow{"JustBelow", 299, 300, 3}, DelayRow{"Equal", 300, 300, 2},
                                         DelayRow{"JustAbove", 301, 301, 2},
                                         DelayRow{"FiveHundred", 500, 500, 2},
                                         DelayRow{"Highest", 0xFFFFFFFF, 0xFFFFFFFF, 2}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(VmTuning, ADelayOfAnotherTypeCountsAsZero) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    StoreText(L"ClearInputDelayMillisecMinimum", REG_SZ, L"500");
    ApplyVmTuningOnce();
    EXPECT_EQ(Numbers().at(L"ClearInputDelayMillisecMinimum"), DWORD{300});
}

TEST_F(VmTuning, AnyMarkButZeroEndsItBeforeAProcessIsLookedAt) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    REPLACE_CALL(enumerate, EnumProcesses,
                 [](auto... arguments) { return ReplacedCall<EnumProcesses>::Original(arguments...); });
    for (const DWORD mark : {1ul, 2ul, 0xFFFFFFFFul}) {
        StoreDword(L"InitVMDetectDone", mark);
        ApplyVmTuningOnce();
        EXPECT_THAT(Numbers(), ElementsAre(Pair(L"InitVMDetectDone", mark)));
    }
    EXPECT_EQ(enumerate.calls(), 0);
    StoreDword(L"InitVMDetectDone", 0);
    ApplyVmTuningOnce();
    EXPECT_EQ(enumerate.calls(), 1);
}

// The character and the terminator of the text are four bytes, as a number has.
TEST_F(VmTuning, AMarkOfAnotherTypeCountsAsNone) {
    for (const DWORD type : {REG_SZ, REG_BINARY, REG_MULTI_SZ, REG_DWORD_BIG_ENDIAN, REG_QWORD}) {
        StoreText(L"InitVMDetectDone", type, L"1");
        ApplyVmTuningOnce();
        EXPECT_THAT(Numbers(), ElementsAre(Pair(L"InitVMDetectDone", 1))) << type;
    }
}

TEST_F(VmTuning, AMarkThatIsNoWholeNumberCountsAsNone) {
    StoreText(L"InitVMDetectDone", REG_DWORD, L"123");
    ApplyVmTuningOnce();
    EXPECT_THAT(Numbers(), ElementsAre(Pair(L"InitVMDetectDone", 1)));
}

TEST_F(VmTuning, DeletingTheMarkMakesItRunAgain) {
    ApplyVmTuningOnce();
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    ApplyVmTuningOnce();
    EXPECT_EQ(Numbers().count(L"isDropPartialBytesOnUsbError"), size_t{0});
    RegDeleteValueW(key_.get(), L"InitVMDetectDone");
    ApplyVmTuningOnce();
    EXPECT_EQ(Numbers().count(L"isDropPartialBytesOnUsbError"), size_t{1});
}

TEST_F(VmTuning, TheMarkIsSetBeforeTheDetection) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    std::map<std::wstring, DWORD> atDetection;
    REPLACE_CALL(enumerate, EnumProcesses, [&](auto...) {
        atDetection = Numbers();
        return FALSE;
    });
    ApplyVmTuningOnce();
    EXPECT_THAT(atDetection, ElementsAre(Pair(L"InitVMDetectDone", 1)));
}

TEST_F(VmTuning, ADetectionThatFailedIsNotTriedAgain) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    REPLACE_CALL(enumerate, EnumProcesses, [](auto...) { return FALSE; });
    ApplyVmTuningOnce();
    ApplyVmTuningOnce();
    EXPECT_EQ(enumerate.calls(), 1);
    EXPECT_THAT(Numbers(), ElementsAre(Pair(L"InitVMDetectDone", 1)));
}

TEST_F(VmTuning, WritesTheMarkThenThePartialBytesThenTheDelay) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    std::vector<std::wstring> written;
    REPLACE_CALL(
        write, RegSetValueExW,
        [&](HKEY key, const wchar_t* name, DWORD reserved, DWORD type, const BYTE* data, DWORD bytes) {
            EXPECT_EQ(type, DWORD{REG_DWORD});
            written.emplace_back(name);
            return ReplacedCall<RegSetValueExW>::Original(key, name, reserved, type, data, bytes);
        });
    ApplyVmTuningOnce();
    EXPECT_THAT(written, ElementsAre(L"InitVMDetectDone", L"isDropPartialBytesOnUsbError",
                                     L"ClearInputDelayMillisecMinimum"));
}

TEST_F(VmTuning, AFailedWriteEndsNothing) {
    StoreList(L"ListVMwareProcessNames", {OwnName()});
    for (int failing = 1; failing <= 3; ++failing) {
        int writes = 0;
        REPLACE_CALL(write, RegSetValueExW, [&](auto... arguments) -> LSTATUS {
            if (++writes == failing) return ERROR_ACCESS_DENIED;
            return ReplacedCall<RegSetValueExW>::Original(arguments...);
        });
        ApplyVmTuningOnce();
        EXPECT_EQ(writes, 3);
        EXPECT_EQ(Numbers().size(), size_t{2});
        for (const wchar_t* name :
             {L"InitVMDetectDone", L"isDropPartialBytesOnUsbError", L"ClearInputDelayMillisecMinimum"})
            RegDeleteValueW(key_.get(), name);
    }
}

TEST_F(VmTuning, WithoutTheParametersKeyNothingIsMade) {
    key_.reset();
    ASSERT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, kDriverParametersKey), ERROR_SUCCESS);
    ApplyVmTuningOnce();
    EXPECT_NE(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDriverParametersKey, 0, KEY_READ, key_.put()),
              ERROR_SUCCESS);
}

}  // namespace
