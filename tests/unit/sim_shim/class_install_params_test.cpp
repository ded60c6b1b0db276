#include "tests/unit/sim_shim/scratch_device.h"

namespace {

SP_PROPCHANGE_PARAMS DisableParams() {
    SP_PROPCHANGE_PARAMS params = {};
    params.ClassInstallHeader = {sizeof(params.ClassInstallHeader), DIF_PROPERTYCHANGE};
    params.StateChange = DICS_DISABLE;
    params.Scope = DICS_FLAG_GLOBAL;
    return params;
}

class ClassInstallParamsTest : public ScratchDeviceTest {
  protected:
    BOOL Set(PSP_CLASSINSTALL_HEADER params, DWORD bytes) {
        SetLastError(0);
        return SetupDiSetClassInstallParamsW(set.get(), &element, params, bytes);
    }
    BOOL Get(SP_PROPCHANGE_PARAMS& params, DWORD bytes = sizeof(SP_PROPCHANGE_PARAMS),
             DWORD* required = nullptr) {
        SetLastError(0);
        return SetupDiGetClassInstallParamsW(set.get(), &element, &params.ClassInstallHeader, bytes,
                                             required);
    }
    DWORD InstallFlags() {
        SP_DEVINSTALL_PARAMS_W installParams = {};
        installParams.cbSize = sizeof(installParams);
        EXPECT_TRUE(SetupDiGetDeviceInstallParamsW(set.get(), &element, &installParams));
        return installParams.Flags;
    }
};

TEST_F(ClassInstallParamsTest, ThereAreNoneAtFirst) {
    SP_PROPCHANGE_PARAMS read = DisableParams();
    EXPECT_FALSE(Get(read));
    EXPECT_EQ(GetLastError(), ERROR_NO_CLASSINSTALL_PARAMS);
    EXPECT_EQ(GetLastError(), 0xE0000215u);
}

TEST_F(ClassInstallParamsTest, WhatWasSetIsRead) {
    SP_PROPCHANGE_PARAMS params = DisableParams();
    ASSERT_TRUE(Set(&params.ClassInstallHeader, sizeof(params)));
    SP_PROPCHANGE_PARAMS read = {};
    read.ClassInstallHeader.cbSize = sizeof(read.ClassInstallHeader);
    DWORD required = 0;
    ASSERT_TRUE(Get(read, sizeof(read), &required));
    EXPECT_EQ(required, sizeof(params));
    EXPECT_EQ(memcmp(&read, &params, sizeof(params)), 0);
}

TEST_F(ClassInstallParamsTest, TheInstallParametersTellWhetherThereAreSome) {
    EXPECT_EQ(InstallFlags() & DI_CLASSINSTALLPARAMS, 0u);
    SP_PROPCHANGE_PARAMS params = DisableParams();
    ASSERT_TRUE(Set(&params.ClassInstallHeader, sizeof(params)));
    EXPECT_NE(InstallFlags() & DI_CLASSINSTALLPARAMS, 0u);
    ASSERT_TRUE(Set(nullptr, 0));
    EXPECT_EQ(InstallFlags() & DI_CLASSINSTALLPARAMS, 0u);
}

TEST_F(ClassInstallParamsTest, RemovedOnesAreGone) {
    SP_PROPCHANGE_PARAMS params = DisableParams();
    ASSERT_TRUE(Set(&params.ClassInstallHeader, sizeof(params)));
    ASSERT_TRUE(Set(nullptr, 0));
    EXPECT_FALSE(Get(params));
    EXPECT_EQ(GetLastError(), ERROR_NO_CLASSINSTALL_PARAMS);
}

TEST_F(ClassInstallParamsTest, TheSetHasItsOwn) {
    SP_PROPCHANGE_PARAMS params = DisableParams();
    ASSERT_TRUE(
        SetupDiSetClassInstallParamsW(set.get(), nullptr, &params.ClassInstallHeader, sizeof(params)));
    EXPECT_FALSE(Get(params));
    EXPECT_TRUE(SetupDiGetClassInstallParamsW(set.get(), nullptr, &params.ClassInstallHeader, sizeof(params),
                                              nullptr));
}

TEST_F(ClassInstallParamsTest, TheyEndWithTheSet) {
    SP_PROPCHANGE_PARAMS params = DisableParams();
    ASSERT_TRUE(Set(&params.ClassInstallHeader, sizeof(params)));
    const HDEVINFO destroyed = set.get();
    set.reset();
    // What is kept goes by the handle's value, which a later set may have again.
    EXPECT_FALSE(SetupDiGetClassInstallParamsW(destroyed, &element, &params.ClassInstallHeader,
                                               sizeof(params), nullptr));
    EXPECT_EQ(GetLastError(), ERROR_NO_CLASSINSTALL_PARAMS);
}

TEST_F(ClassInstallParamsTest, AHeaderOfAnotherSizeIsRefused) {
    SP_PROPCHANGE_PARAMS params = DisableParams();
    params.ClassInstallHeader.cbSize = sizeof(params);
    EXPECT_FALSE(Set(&params.ClassInstallHeader, sizeof(params)));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_USER_BUFFER);
    EXPECT_FALSE(Get(params));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_USER_BUFFER);
}

TEST_F(ClassInstallParamsTest, ASmallBufferIsToldTheSizeAndLeftAlone) {
    SP_PROPCHANGE_PARAMS params = DisableParams();
    ASSERT_TRUE(Set(&params.ClassInstallHeader, sizeof(params)));
    SP_PROPCHANGE_PARAMS read = {};
    read.ClassInstallHeader.cbSize = sizeof(read.ClassInstallHeader);
    DWORD required = 0;
    EXPECT_FALSE(Get(read, sizeof(read) - 1, &required));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(required, sizeof(params));
    EXPECT_EQ(read.StateChange, 0u);
}

TEST_F(ClassInstallParamsTest, TheSizeCanBeAskedForWithoutABuffer) {
    SP_PROPCHANGE_PARAMS params = DisableParams();
    ASSERT_TRUE(Set(&params.ClassInstallHeader, sizeof(params)));
    DWORD required = 0;
    EXPECT_FALSE(SetupDiGetClassInstallParamsW(set.get(), &element, nullptr, 0, &required));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(required, sizeof(params));
}

struct TooSmallRow {
    const char* name;
    DI_FUNCTION function;
    DWORD bytes;
};
void PrintTo(const TooSmallRow& row, std::ostream* out) {
    *out << row.name;
}

class TooSmallParamsTest : public ClassInstallParamsTest, public testing::WithParamInterface<TooSmallRow> {};

TEST_P(TooSmallParamsTest, AreRefused) {
    BYTE params[256] = {};
    auto* header = reinterpret_cast<SP_CLASSINSTALL_HEADER*>(params);
    *header = {sizeof(*header), GetParam().function};
    EXPECT_FALSE(Set(header, GetParam().bytes - 1));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(Set(header, GetParam().bytes));
}

INSTANTIATE_TEST_SUITE_P(EachFunction, TooSmallParamsTest,
                         testing::Values(TooSmallRow{"PropertyChange", DIF_PROPERTYCHANGE, 20},
                                         TooSmallRow{"Remove", DIF_REMOVE, 16},
                                         TooSmallRow{"AdvancedPages", DIF_ADDPROPERTYPAGE_ADVANCED, 192},
                                         TooSmallRow{"BasicPages", DIF_ADDPROPERTYPAGE_BASIC, 192},
                                         TooSmallRow{"AnyOther", DIF_SELECTDEVICE, 8}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ClassInstallParamsTest, NoSetIsRefused) {
    SP_PROPCHANGE_PARAMS params = DisableParams();
    EXPECT_FALSE(
        SetupDiSetClassInstallParamsW(nullptr, &element, &params.ClassInstallHeader, sizeof(params)));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_FALSE(SetupDiGetClassInstallParamsW(nullptr, &element, &params.ClassInstallHeader, sizeof(params),
                                               nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

}  // namespace
