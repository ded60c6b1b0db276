#include "driver/vbus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

TEST(DeviceName, IsZeroFilledBehindTheText) {
    const DeviceName_st name = DeviceNameFromText(L"1&2");
    EXPECT_STREQ(name.chars, L"1&2");
    EXPECT_TRUE(std::all_of(name.chars + 3, name.chars + kDeviceNameChars, [](wchar_t c) { return c == 0; }));
}

TEST(DeviceName, IsCutToTheFieldWithItsTerminator) {
    for (const size_t chars : {size_t{0}, size_t{126}, size_t{127}, size_t{128}, size_t{1000}}) {
        const DeviceName_st name = DeviceNameFromText(std::wstring(chars, L'x'));
        EXPECT_EQ(std::wstring(name.chars), std::wstring(std::min<size_t>(chars, 127), L'x'));
    }
}

}  // namespace
