// Which calls of the module's entry tune the driver and check the customer's library, and in which order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/module.h"
#include "base/trace_line.h"
#include "installer/coinstaller.h"
#include "state/driver_params.h"
#include "tests/support/import_redirect.h"
#include "tests/support/resource_library.h"
#include "tests/support/scratch_system_directory.h"
#include "tests/support/temporary_file.h"
#include "tests/unit/state/scratch_key.h"
#include "ui/custom_resource.h"

namespace {

using testing::Contains;
using testing::Not;

constexpr wchar_t kUsbd[] = L"USB\\VID_1234&PID_5678\\SN01";
constexpr wchar_t kVcom[] = L"QRV_VBUS\\Qrv_vcom\\1&2";
constexpr wchar_t kVbus[] = L"ROOT\\QRV_VBUS\\0000";
constexpr wchar_t kUnkn[] = L"ACPI\\PNP0501\\1";
constexpr wchar_t kCheckingError[] = L"Usbd:DIF_INSTALLDEVICE : tavix_customres.dll checking error!";

const auto kPage = reinterpret_cast<HPROPSHEETPAGE>(0x1230);
const auto kSet = reinterpret_cast<HDEVINFO>(0x4560);

std::vector<std::wstring> traced;

// One device node in a system whose bus node exists already; the registry and the system directory are the
// test's own.
class InstallSteps : public testing::Test {
  protected:
    InstallSteps() {
        SetModuleInstance(GetModuleHandleW(nullptr));
        // The system's digest needs the real registry.
        StampImage(&stamped_);
        traced.clear();
        SetTraceLineHook([](const wchar_t* line) { traced.emplace_back(line); });
    }
    ~InstallSteps() override {
        FreeCustomResourceLibrary();
        SetTraceLineHook(nullptr);
        SetModuleInstance(nullptr);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    }
    void SetUp() override {
        ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_.get()), ERROR_SUCCESS);
        RegistryKey bus;
        ASSERT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Enum\\Root\\QRV_VBUS\\0000",
                                bus.put()),
                  ERROR_SUCCESS);
        ASSERT_EQ(RegSetValueExW(bus.get(), L"ConfigFlags", 0, REG_DWORD,
                                 reinterpret_cast<const BYTE*>("\0\0\0"), 4),
                  ERROR_SUCCESS);
        RegistryKey parameters;
        ASSERT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, kDriverParametersKey, parameters.put()), ERROR_SUCCESS);
    }

    DWORD Call(const wchar_t* node, DI_FUNCTION function) {
        node_ = node;
        SP_DEVINFO_DATA element = {};
        COINSTALLER_CONTEXT_DATA context = {};
        context.PostProcessing = TRUE;
        return TavixCoInstaller(function, kSet, &element, &context);
    }
    bool WasTuned() const { return ReadParamDword(L"InitVMDetectDone", 0) != 0; }

    void InstallLibrary(bool intact) {
        WriteWholeFile(system_.CustomLibraryPath(), intact ? stamped_ : CustomerLibrary().Build());
    }

    ScratchKey machine_;
    ScratchSystemDirectory system_;
    Bytes stamped_ = CustomerLibrary().Build();
    std::wstring node_;
    int pages_ = 0;
    bool tunedBeforePage_ = false;
    bool checkedBeforePage_ = false;
    HICON pageIcon_ = nullptr;

  private:
    ReplacedCall<SetupDiGetDeviceInstanceIdW> instanceId_{
        "SetupDiGetDeviceInstanceIdW", [this](HDEVINFO, PSP_DEVINFO_DATA, PWSTR buffer, DWORD, PDWORD) {
            node_.copy(buffer, node_.size());
            return TRUE;
        }};
    ReplacedCall<SetupDiGetClassInstallParamsW> getParams_{
        "SetupDiGetClassInstallParamsW",
        [](HDEVINFO, PSP_DEVINFO_DATA, PSP_CLASSINSTALL_HEADER, DWORD, PDWORD) { return TRUE; }};
    ReplacedCall<SetupDiSetClassInstallParamsW> setParams_{
        "SetupDiSetClassInstallParamsW",
        [](HDEVINFO, PSP_DEVINFO_DATA, PSP_CLASSINSTALL_HEADER, DWORD) { return TRUE; }};
    ReplacedCall<SetupDiGetDeviceInstallParamsW> installParams_{
        "SetupDiGetDeviceInstallParamsW",
        [](HDEVINFO, PSP_DEVINFO_DATA, PSP_DEVINSTALL_PARAMS_W) { return FALSE; }};
    ReplacedCall<CreatePropertySheetPageW> createPage_{
        "CreatePropertySheetPageW", [this](LPCPROPSHEETPAGEW page) {
            ++pages_;
            tunedBeforePage_ = WasTuned();
            checkedBeforePage_ = std::find(traced.begin(), traced.end(), kCheckingError) != traced.end();
            pageIcon_ = page->hIcon;
            PROPSHEETPAGEW released = *page;
            page->pfnCallback(nullptr, PSPCB_RELEASE, &released);
            return kPage;
        }};
};

// Tuning ----------------------------------------------------------------------------------------------------

TEST_F(InstallSteps, InstallingAnyNodeButAPortTunesTheDriver) {
    EXPECT_EQ(Call(kVcom, DIF_INSTALLDEVICE), DWORD{NO_ERROR});
    EXPECT_FALSE(WasTuned());
    for (const wchar_t* node : {kUsbd, kVbus, kUnkn}) {
        WriteParamDword(L"InitVMDetectDone", 0);
        EXPECT_EQ(Call(node, DIF_INSTALLDEVICE), DWORD{NO_ERROR});
        EXPECT_TRUE(WasTuned());
    }
}

TEST_F(InstallSteps, OpeningAUsbPageTunesTheDriverFirst) {
    EXPECT_EQ(Call(kUsbd, DIF_ADDPROPERTYPAGE_ADVANCED), DWORD{NO_ERROR});
    EXPECT_EQ(pages_, 1);
    EXPECT_TRUE(tunedBeforePage_);
}

TEST_F(InstallSteps, OpeningAnotherPageTunesNothing) {
    for (const wchar_t* node : {kVcom, kVbus, kUnkn})
        Call(node, DIF_ADDPROPERTYPAGE_ADVANCED);
    EXPECT_EQ(pages_, 2);
    EXPECT_FALSE(WasTuned());
}

TEST_F(InstallSteps, NoOtherEventTunesTheDriver) {
    for (DI_FUNCTION function = 0; function <= 45; ++function) {
        if (function == DIF_INSTALLDEVICE || function == DIF_ADDPROPERTYPAGE_ADVANCED ||
            function == DIF_REMOVE)
            continue;
        for (const wchar_t* node : {kUsbd, kVcom, kVbus, kUnkn})
            Call(node, function);
        EXPECT_FALSE(WasTuned()) << function;
    }
}

// The customer's library ------------------------------------------------------------------------------------

TEST_F(InstallSteps, ADamagedLibraryIsReportedAfterTheUsbPage) {
    InstallLibrary(false);
    EXPECT_EQ(Call(kUsbd, DIF_ADDPROPERTYPAGE_ADVANCED), DWORD{NO_ERROR});
    EXPECT_EQ(pages_, 1);
    EXPECT_FALSE(checkedBeforePage_);
    EXPECT_THAT(traced, Contains(std::wstring(kCheckingError)));
}

TEST_F(InstallSteps, AnIntactOrMissingLibraryIsNotReported) {
    Call(kUsbd, DIF_ADDPROPERTYPAGE_ADVANCED);
    InstallLibrary(true);
    Call(kUsbd, DIF_ADDPROPERTYPAGE_ADVANCED);
    EXPECT_THAT(traced, Not(Contains(std::wstring(kCheckingError))));
}

TEST_F(InstallSteps, OnlyTheUsbPageChecksTheLibrary) {
    InstallLibrary(false);
    for (const wchar_t* node : {kVcom, kVbus, kUnkn})
        Call(node, DIF_ADDPROPERTYPAGE_ADVANCED);
    for (const wchar_t* node : {kUsbd, kVcom, kVbus, kUnkn})
        Call(node, DIF_INSTALLDEVICE);
    EXPECT_THAT(traced, Not(Contains(std::wstring(kCheckingError))));
}

TEST_F(InstallSteps, EveryPageShowsTheLibrarysIcon) {
    for (const bool custom : {false, true}) {
        if (custom) {
            InstallLibrary(true);
            LoadCustomResourceLibrary();
        }
        for (const wchar_t* node : {kUsbd, kVcom, kVbus}) {
            Call(node, DIF_ADDPROPERTYPAGE_ADVANCED);
            EXPECT_NE(pageIcon_, nullptr);
            EXPECT_EQ(pageIcon_, CustomPageIcon());
            EXPECT_EQ(pageIcon_ == LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(104)), !custom);
        }
    }
}

}  // namespace
