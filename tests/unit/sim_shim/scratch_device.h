// A device node that exists only while the test runs: registered nowhere, gone with its set.
#pragma once

#include <gtest/gtest.h>

#include "base/win32_handle.h"
#include "sim/shim/platform_shim.h"

class ScratchDeviceTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(InstallPlatformShim());
        set.reset(SetupDiCreateDeviceInfoList(nullptr, nullptr));
        ASSERT_TRUE(set);
        element.cbSize = sizeof(element);
        ASSERT_TRUE(SetupDiCreateDeviceInfoW(set.get(), L"SHIMTEST", &kSystemClass, L"Shim test", nullptr,
                                             DICD_GENERATE_ID, &element));
    }

    static constexpr GUID kSystemClass = {
        0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    DeviceInfoList set;
    SP_DEVINFO_DATA element = {};
};
