#include <array>

#include "base/windows_api.h"

#include <prsht.h>

#include "tests/unit/sim_shim/scratch_device.h"

namespace {

class PropertySheetPagesTest : public ScratchDeviceTest {
  protected:
    PropertySheetPagesTest() {
        header.dwSize = sizeof(header);
        header.phpage = pages.data();
    }
    BOOL Collect(DWORD type = DIGCDP_FLAG_ADVANCED, DWORD capacity = 4) {
        SetLastError(0);
        return SetupDiGetClassDevPropertySheetsW(set.get(), &element, &header, capacity, &required, type);
    }
    std::array<HPROPSHEETPAGE, 4> pages = {};
    PROPSHEETHEADERW header = {};
    DWORD required = 12345;
};

TEST_F(PropertySheetPagesTest, ADeviceWithoutInstallersAddsNone) {
    header.nPages = 2;
    ASSERT_TRUE(Collect());
    EXPECT_EQ(header.nPages, 2u);
    EXPECT_EQ(required, 2u);
}

TEST_F(PropertySheetPagesTest, NoParametersStayBehind) {
    ASSERT_TRUE(Collect());
    SP_ADDPROPERTYPAGE_DATA params = {};
    params.ClassInstallHeader.cbSize = sizeof(params.ClassInstallHeader);
    EXPECT_FALSE(SetupDiGetClassInstallParamsW(set.get(), &element, &params.ClassInstallHeader,
                                               sizeof(params), nullptr));
    EXPECT_EQ(GetLastError(), ERROR_NO_CLASSINSTALL_PARAMS);
}

TEST_F(PropertySheetPagesTest, AnUnknownTypeIsRefused) {
    EXPECT_FALSE(Collect(0));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(PropertySheetPagesTest, MorePagesThanTheListHoldsAreRefused) {
    header.nPages = 5;
    EXPECT_FALSE(Collect());
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

}  // namespace
