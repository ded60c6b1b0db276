#include "state/driver_params.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "state/registry.h"
#include "tests/support/heap_texts.h"
#include "tests/unit/state/scratch_key.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

// HKEY_LOCAL_MACHINE of this process is a scratch key, so that the real Parameters key stays as it is.
class DriverParams : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_.get()), ERROR_SUCCESS);
    }
    void TearDown() override { RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr); }

    void MakeKey() {
        ASSERT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE,
                                L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters", key_.put()),
                  ERROR_SUCCESS);
    }
    void Store(const wchar_t* name, DWORD type, const void* data, DWORD dataBytes) {
        ASSERT_EQ(RegSetValueExW(key_.get(), name, 0, type, static_cast<const BYTE*>(data), dataBytes),
                  ERROR_SUCCESS);
    }

    static std::optional<std::vector<std::wstring>> ReadList(const wchar_t* name) {
        HeapText list;
        if (!ReadParamStringList(name, list)) return std::nullopt;
        return ItemsOf(list);
    }

    ScratchKey machine_;
    RegistryKey key_;
};

TEST_F(DriverParams, ReadsANumber) {
    MakeKey();
    Store(L"GPV_VcomLifemode", REG_DWORD, "\2\0\0\0", 4);
    EXPECT_EQ(ReadParamDword(kParamVcomLifemode, kVcomLifemodeDefault), 2u);
}

TEST_F(DriverParams, AMissingKeyOrNumberYieldsTheDefault) {
    EXPECT_EQ(ReadParamDword(kParamVcomLifemode, 1), 1u);
    MakeKey();
    EXPECT_EQ(ReadParamDword(kParamVcomLifemode, 1), 1u);
    EXPECT_EQ(ReadParamDword(kParamVmDetectDone, 0), 0u);
}

TEST_F(DriverParams, ANumberStoredAsATextYieldsTheDefault) {
    MakeKey();
    Store(L"GPV_VcomLifemode", REG_SZ, L"2", 4);
    EXPECT_EQ(ReadParamDword(kParamVcomLifemode, kVcomLifemodeDefault), 1u);
}

TEST_F(DriverParams, ANumberOfAnotherSizeYieldsTheDefault) {
    MakeKey();
    Store(L"GPV_VcomLifemode", REG_DWORD, "\2", 1);
    EXPECT_EQ(ReadParamDword(kParamVcomLifemode, 1), 1u);
    Store(L"GPV_VcomLifemode", REG_QWORD, "\2\0\0\0\0\0\0\0", 8);
    EXPECT_EQ(ReadParamDword(kParamVcomLifemode, 1), 1u);
}

TEST_F(DriverParams, WritesANumber) {
    MakeKey();
    EXPECT_EQ(WriteParamDword(kParamClearInputDelayMinimum, 300), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(ReadParamDword(L"ClearInputDelayMillisecMinimum", 0), 300u);
}

TEST_F(DriverParams, WritesALongNumberAndAText) {
    MakeKey();
    EXPECT_EQ(WriteParamQword(kParamExportUnixEpoch, 0x123456789), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(WriteParamText(kParamExportVersion, L"TAVIX 1.7.11"), DWORD{ERROR_SUCCESS});
    uint64_t number = 0;
    DWORD bytes = sizeof(number);
    EXPECT_EQ(
        RegGetValueW(key_.get(), nullptr, L"ExportUnixEpoch", RRF_RT_REG_QWORD, nullptr, &number, &bytes),
        ERROR_SUCCESS);
    EXPECT_EQ(number, 0x123456789u);
    wchar_t text[32] = L"";
    bytes = sizeof(text);
    EXPECT_EQ(RegGetValueW(key_.get(), nullptr, L"ExportVersion", RRF_RT_REG_SZ, nullptr, text, &bytes),
              ERROR_SUCCESS);
    EXPECT_STREQ(text, L"TAVIX 1.7.11");
}

TEST_F(DriverParams, WritingWithoutTheKeyFailsAndCreatesNothing) {
    EXPECT_EQ(WriteParamQword(kParamExportUnixEpoch, 1), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(WriteParamText(kParamExportVersion, L""), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(WriteParamDword(kParamVmDetectDone, 1), DWORD{ERROR_PATH_NOT_FOUND});
    RegistryKey key;
    EXPECT_NE(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM", 0, KEY_READ, key.put()), ERROR_SUCCESS);
}

TEST_F(DriverParams, ReadsAList) {
    MakeKey();
    Store(L"ListVMwareProcessNames", REG_MULTI_SZ, L"vmtoolsd.exe\0vmware.exe\0", 50);
    EXPECT_THAT(ReadList(kParamVmwareProcesses), Optional(ElementsAre(L"vmtoolsd.exe", L"vmware.exe")));
}

TEST_F(DriverParams, AnEmptyListIsAList) {
    MakeKey();
    Store(L"ListVMwareProcessNames", REG_MULTI_SZ, L"", 2);
    EXPECT_THAT(ReadList(kParamVmwareProcesses), Optional(IsEmpty()));
}

TEST_F(DriverParams, AMissingListOrOneOfAnotherTypeIsNone) {
    EXPECT_EQ(ReadList(kParamVirtualboxProcesses), std::nullopt);
    MakeKey();
    EXPECT_EQ(ReadList(kParamVirtualboxProcesses), std::nullopt);
    Store(L"ListVirtualboxProcessNames", REG_SZ, L"VBoxService.exe", 32);
    EXPECT_EQ(ReadList(kParamVirtualboxProcesses), std::nullopt);
}

TEST(DriverParamNames, AreSpelledAsTheDriverReadsThem) {
    EXPECT_STREQ(kDriverParametersKey, L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters");
    EXPECT_STREQ(kParamVmDetectDone, L"InitVMDetectDone");
    EXPECT_STREQ(kParamVmwareProcesses, L"ListVMwareProcessNames");
    EXPECT_STREQ(kParamVirtualboxProcesses, L"ListVirtualboxProcessNames");
    EXPECT_STREQ(kParamDropPartialBytes, L"isDropPartialBytesOnUsbError");
    EXPECT_STREQ(kParamClearInputDelayMinimum, L"ClearInputDelayMillisecMinimum");
    EXPECT_STREQ(kParamVcomLifemode, L"GPV_VcomLifemode");
    EXPECT_STREQ(kParamPersistentLogFile, L"UsePersistentLogFile");
    EXPECT_STREQ(kParamExportVersion, L"ExportVersion");
    EXPECT_STREQ(kParamExportUnixEpoch, L"ExportUnixEpoch");
}

}  // namespace
