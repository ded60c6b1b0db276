#include "state/device_values.h"

#include <gtest/gtest.h>

#include <string>

#include "base/win32_handle.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/heap_texts.h"
#include "tests/support/import_redirect.h"
#include "tests/unit/state/scratch_key.h"

namespace {

// The device's key is a scratch key.
class DeviceValues : public testing::Test {
  protected:
    DeviceValues()
        : open_("SetupDiOpenDevRegKey",
                [this](HDEVINFO set, SP_DEVINFO_DATA* device, DWORD scope, DWORD profile, DWORD keyType,
                       REGSAM access) -> HKEY {
                    EXPECT_EQ(set, kSet);
                    EXPECT_EQ(device, &device_);
                    EXPECT_EQ(scope, DWORD{DICS_FLAG_GLOBAL});
                    EXPECT_EQ(profile, 0u);
                    EXPECT_EQ(access, REGSAM{KEY_READ});
                    keyType_ = keyType;
                    SetLastError(openError_);
                    if (!hasKey_) return static_cast<HKEY>(INVALID_HANDLE_VALUE);
                    RegistryKey key;
                    RegOpenKeyExW(HKEY_CURRENT_USER, scratch_.path().c_str(), 0, access, key.put());
                    return key.release();
                }) {}

    wchar_t* ReadHuid(wchar_t* buffer, DWORD chars) {
        return ReadDevString(kSet, &device_, DIREG_DEV, kDevNowHuid, buffer, chars);
    }

    inline static const HDEVINFO kSet = reinterpret_cast<HDEVINFO>(size_t{0x5E7});
    SP_DEVINFO_DATA device_ = {};
    ScratchKey scratch_;
    bool hasKey_ = true;
    DWORD openError_ = ERROR_SUCCESS;
    DWORD keyType_ = 0;
    ReplacedCall<SetupDiOpenDevRegKey> open_;
};

TEST_F(DeviceValues, AreReadFromTheKeyAskedFor) {
    scratch_.Store(L"d", REG_DWORD, "\7\0\0\0", 4);
    EXPECT_EQ(ReadDevDword(kSet, &device_, DIREG_DEV, L"d", 1), 7u);
    EXPECT_EQ(keyType_, DWORD{DIREG_DEV});
    EXPECT_EQ(ReadDevDword(kSet, &device_, DIREG_DRV, L"d", 1), 7u);
    EXPECT_EQ(keyType_, DWORD{DIREG_DRV});
}

TEST_F(DeviceValues, ReadsARecord) {
    scratch_.Store(L"m", REG_MULTI_SZ, L"a\0b\0", 10);
    RegValue value;
    EXPECT_EQ(ReadDevRegValue(kSet, &device_, DIREG_DEV, L"m", value), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(value.type, DWORD{REG_MULTI_SZ});
    EXPECT_EQ(ItemsOf(value.list).size(), 2u);
}

TEST_F(DeviceValues, ReadsA64BitNumber) {
    scratch_.Store(kDevLastStartupSuccess, REG_QWORD, "\1\2\3\4\5\6\7\x8", 8);
    EXPECT_EQ(ReadDevQword(kSet, &device_, DIREG_DEV, kDevLastStartupSuccess, 0), 0x0807060504030201u);
}

TEST_F(DeviceValues, AMissingValueOrOneOfAnotherTypeYieldsTheDefault) {
    EXPECT_EQ(ReadDevDword(kSet, &device_, DIREG_DEV, L"v", 11), 11u);
    EXPECT_EQ(ReadDevQword(kSet, &device_, DIREG_DEV, L"v", 12), 12u);
    scratch_.Store(L"v", REG_QWORD, "\1\0\0\0\0\0\0\0", 8);
    EXPECT_EQ(ReadDevDword(kSet, &device_, DIREG_DEV, L"v", 11), 11u);
    scratch_.Store(L"v", REG_DWORD, "\1\0\0\0", 4);
    EXPECT_EQ(ReadDevQword(kSet, &device_, DIREG_DEV, L"v", 12), 12u);
    scratch_.Store(L"v", REG_BINARY, "\1\0\0\0\0\0\0\0", 8);
    EXPECT_EQ(ReadDevQword(kSet, &device_, DIREG_DEV, L"v", 12), 12u);
}

TEST_F(DeviceValues, AKeyThatCannotBeOpenedYieldsTheDefaultAndItsCode) {
    hasKey_ = false;
    openError_ = ERROR_KEY_DOES_NOT_EXIST;
    RegValue value = RegValue::Dword(7);
    EXPECT_EQ(ReadDevRegValue(kSet, &device_, DIREG_DEV, L"v", value), DWORD{ERROR_KEY_DOES_NOT_EXIST});
    EXPECT_EQ(value.number32, 7u);
    EXPECT_EQ(ReadDevDword(kSet, &device_, DIREG_DEV, L"v", 11), 11u);
    EXPECT_EQ(ReadDevQword(kSet, &device_, DIREG_DEV, L"v", 12), 12u);
    wchar_t buffer[8] = L"kept";
    EXPECT_EQ(ReadHuid(buffer, 8), nullptr);
    EXPECT_STREQ(buffer, L"kept");
    openError_ = ERROR_SUCCESS;
    EXPECT_NE(ReadDevRegValue(kSet, &device_, DIREG_DEV, L"v", value), DWORD{ERROR_SUCCESS});
}

TEST_F(DeviceValues, CopiesATextCutToTheBuffer) {
    scratch_.Store(kDevNowHuid, REG_SZ, L"1&2", 8);
    for (const DWORD chars : {1u, 2u, 3u, 4u, 5u}) {
        GuardedBuffer<wchar_t> buffer(chars);
        EXPECT_EQ(ReadHuid(buffer.data(), chars), buffer.data());
        EXPECT_EQ(std::wstring(buffer.data()), std::wstring(L"1&2").substr(0, chars - 1));
    }
    EXPECT_EQ(ReadHuid(nullptr, 0), nullptr);
}

TEST_F(DeviceValues, CopiesATextStoredWithoutATerminator) {
    scratch_.Store(kDevNowHuid, REG_SZ, L"1&2", 6);
    wchar_t buffer[16];
    EXPECT_EQ(ReadHuid(buffer, 16), buffer);
    EXPECT_STREQ(buffer, L"1&2");
}

TEST_F(DeviceValues, OnlyAPlainTextIsAText) {
    wchar_t buffer[16] = L"kept";
    EXPECT_EQ(ReadHuid(buffer, 16), nullptr);
    for (const DWORD type : {REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY}) {
        scratch_.Store(kDevNowHuid, type, L"1&2\0", 10);
        EXPECT_EQ(ReadHuid(buffer, 16), nullptr);
    }
    EXPECT_STREQ(buffer, L"kept");
}

TEST(DeviceValueNames, AreSpelledAsTheDriverWritesThem) {
    EXPECT_STREQ(kDevNowHuid, L"NowHuid");
    EXPECT_STREQ(kDevLastStartupSuccess, L"UsbdLastStartupSuccessUemsec");
    EXPECT_STREQ(kDevHistOfflines, L"histUsbdOfflines");
    EXPECT_STREQ(kDevHistUsbOutErrors, L"histUsbOUTerrors");
    EXPECT_STREQ(kDevHistUsbInErrors, L"histUsbINerrors");
    EXPECT_STREQ(kDevHistVcomWriteDiscards, L"histVcomWriteDiscards");
    EXPECT_STREQ(kDevHistUsbWrittenBytes, L"histUsbWrittenBytes");
    EXPECT_STREQ(kDevHistUsbReadDiscards, L"histUsbReadDiscards");
    EXPECT_STREQ(kDevHistUsbReadBytes, L"histUsbReadBytes");
}

}  // namespace
