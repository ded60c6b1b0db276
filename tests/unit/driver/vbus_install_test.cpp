#include "driver/vbus_install.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include <setupapi.h>

#include "tests/support/import_redirect.h"

namespace {

using Calls = std::vector<std::string>;

const auto kList = reinterpret_cast<HDEVINFO>(0x1157);
const auto kParent = reinterpret_cast<HWND>(0x2244);
const auto kKey = reinterpret_cast<HKEY>(0x3366);

// The device installer and the registry as the test wants them; every call in order. Starts as a system
// without a bus node, on which everything succeeds.
class VbusInstallTest : public testing::Test {
  protected:
    bool nodeExists_ = false;
    DWORD probedType_ = REG_BINARY;
    std::string failing_;
    DWORD majorVersion_ = 6;
    Calls calls_;
    std::vector<BYTE> hardwareId_;
    std::wstring copySource_, copyDestination_;
    BOOL copyFailsIfExists_ = TRUE;

    BOOL Answer(const std::string& call) {
        calls_.push_back(call);
        if (call != failing_) return TRUE;
        SetLastError(ERROR_GEN_FAILURE);
        return FALSE;
    }

  private:
    static bool IsSystemClass(const GUID* guid) {
        const GUID system = {0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
        return std::memcmp(guid, &system, sizeof(system)) == 0;
    }

    ReplacedCall<RegOpenKeyExW> openKey_{
        "RegOpenKeyExW", [this](HKEY root, const wchar_t* path, DWORD, REGSAM, HKEY* key) -> LSTATUS {
            EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
            EXPECT_STREQ(path, L"SYSTEM\\CurrentControlSet\\Enum\\Root\\QRV_VBUS\\0000");
            calls_.push_back("probe");
            *key = kKey;
            return nodeExists_ ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
        }};
    ReplacedCall<RegQueryValueExW> queryValue_{
        "RegQueryValueExW",
        [this](HKEY, const wchar_t* name, DWORD*, DWORD* type, BYTE* data, DWORD* bytes) -> LSTATUS {
            EXPECT_STREQ(name, L"ConfigFlags");
            if (type != nullptr) *type = probedType_;
            const DWORD capacity = *bytes;
            *bytes = 3;
            if (data == nullptr) return ERROR_SUCCESS;
            if (capacity < 3) return ERROR_MORE_DATA;
            std::memcpy(data, "abc", 3);
            return ERROR_SUCCESS;
        }};
    ReplacedCall<RegCloseKey> closeKey_{"RegCloseKey", [](HKEY) -> LSTATUS { return ERROR_SUCCESS; }};
    ReplacedCall<SetupDiCreateDeviceInfoList> createList_{
        "SetupDiCreateDeviceInfoList", [this](const GUID* guid, HWND parent) -> HDEVINFO {
            EXPECT_TRUE(IsSystemClass(guid));
            EXPECT_EQ(parent, nullptr);
            return Answer("create list") ? kList : INVALID_HANDLE_VALUE;
        }};
    ReplacedCall<SetupDiDestroyDeviceInfoList> destroyList_{"SetupDiDestroyDeviceInfoList",
                                                            [this](HDEVINFO list) {
                                                                EXPECT_EQ(list, kList);
                                                                return Answer("destroy list");
                                                            }};
    ReplacedCall<SetupDiCreateDeviceInfoW> createElement_{
        "SetupDiCreateDeviceInfoW",
        [this](HDEVINFO list, const wchar_t* name, const GUID* guid, const wchar_t* text, HWND parent,
               DWORD flags, SP_DEVINFO_DATA* element) {
            EXPECT_EQ(list, kList);
            EXPECT_STREQ(name, L"QRV_VBUS");
            EXPECT_TRUE(IsSystemClass(guid));
            EXPECT_STREQ(text, L"<Holmark TAVIX VBus>");
            EXPECT_EQ(parent, kParent);
            EXPECT_EQ(flags, DWORD{DICD_GENERATE_ID});
            EXPECT_EQ(element->cbSize, sizeof(SP_DEVINFO_DATA));
            return Answer("create element");
        }};
    ReplacedCall<SetupDiSetDeviceRegistryPropertyW> setProperty_{
        "SetupDiSetDeviceRegistryPropertyW",
        [this](HDEVINFO, SP_DEVINFO_DATA*, DWORD property, const BYTE* data, DWORD bytes) {
            EXPECT_EQ(property, DWORD{SPDRP_HARDWAREID});
            hardwareId_.assign(data, data + bytes);
            return Answer("set hardware ID");
        }};
    ReplacedCall<SetupDiCallClassInstaller> callInstaller_{
        "SetupDiCallClassInstaller", [this](DI_FUNCTION code, HDEVINFO list, SP_DEVINFO_DATA* element) {
            EXPECT_EQ(list, kList);
            EXPECT_NE(element, nullptr);
            return Answer("installer " + std::to_string(code));
        }};
    ReplacedCall<SetupDiBuildDriverInfoList> buildDrivers_{"SetupDiBuildDriverInfoList",
                                                           [this](HDEVINFO, SP_DEVINFO_DATA*, DWORD kind) {
                                                               EXPECT_EQ(kind, DWORD{SPDIT_COMPATDRIVER});
                                                               return Answer("build driver list");
                                                           }};
    ReplacedCall<SetupDiGetDeviceInstallParamsW> installParams_{
        "SetupDiGetDeviceInstallParamsW",
        [this](HDEVINFO, SP_DEVINFO_DATA*, SP_DEVINSTALL_PARAMS_W* parameters) {
            EXPECT_EQ(parameters->cbSize, sizeof(*parameters));
            return Answer("read install parameters");
        }};
    ReplacedCall<GetVersionExW> version_{"GetVersionExW", [this](OSVERSIONINFOW* version) {
                                             calls_.push_back("version");
                                             EXPECT_EQ(version->dwOSVersionInfoSize, sizeof(*version));
                                             version->dwMajorVersion = majorVersion_;
                                             return TRUE;
                                         }};
    ReplacedCall<CopyFileW> copy_{
        "CopyFileW", [this](const wchar_t* source, const wchar_t* destination, BOOL failIfExists) {
            copySource_ = source;
            copyDestination_ = destination;
            copyFailsIfExists_ = failIfExists;
            return Answer("copy");
        }};
};

const Calls kWholeInstall = {"version",
                             "probe",
                             "create list",
                             "create element",
                             "set hardware ID",
                             "installer 25",
                             "build driver list",
                             "installer 23",
                             "installer 34",
                             "installer 2",
                             "read install parameters",
                             "destroy list"};

TEST_F(VbusInstallTest, CreatesAndInstallsAMissingNodeStepByStep) {
    EXPECT_TRUE(EnsureVbusDevice(kParent));
    EXPECT_EQ(calls_, kWholeInstall);
}

// The value's three bytes fit no kind of flags: only its being there counts.
TEST_F(VbusInstallTest, AnExistingNodeIsLeftAsItIsWhateverTheProbedValueHolds) {
    nodeExists_ = true;
    for (const DWORD type :
         {REG_NONE, REG_SZ, REG_BINARY, REG_DWORD, REG_LINK, REG_MULTI_SZ, REG_QWORD, 99}) {
        probedType_ = type;
        calls_.clear();
        EXPECT_TRUE(EnsureVbusDevice(kParent)) << type;
        EXPECT_EQ(calls_, (Calls{"version", "probe"})) << type;
    }
}

TEST_F(VbusInstallTest, TheHardwareIdHas36BytesWithOneTerminator) {
    EnsureVbusDevice(kParent);
    ASSERT_EQ(hardwareId_.size(), 36u);
    EXPECT_EQ(std::memcmp(hardwareId_.data(), L"qrvtek_tavix_vbus", 36), 0);
}

struct FailureRow {
    const char* name;
    const char* step;
    size_t callsMade;  // of the whole installation, the failing one included
    bool listExists;
};
void PrintTo(const FailureRow& row, std::ostream* out) {
    *out << row.name;
}

class VbusInstallFailureTest : public VbusInstallTest, public testing::WithParamInterface<FailureRow> {};

TEST_P(VbusInstallFailureTest, EndsTheInstallationAndDestroysTheList) {
    failing_ = GetParam().step;
    EXPECT_FALSE(EnsureVbusDevice(kParent));
    Calls expected(kWholeInstall.begin(),
                   kWholeInstall.begin() + static_cast<ptrdiff_t>(GetParam().callsMade));
    if (GetParam().listExists) expected.push_back("destroy list");
    EXPECT_EQ(calls_, expected);
}

INSTANTIATE_TEST_SUITE_P(Steps, VbusInstallFailureTest,
                         testing::Values(FailureRow{"CreateList", "create list", 3, false},
                                         FailureRow{"CreateElement", "create element", 4, true},
                                         FailureRow{"SetHardwareId", "set hardware ID", 5, true},
                                         FailureRow{"Register", "installer 25", 6, true},
                                         FailureRow{"BuildDriverList", "build driver list", 7, true},
                                         FailureRow{"Install", "installer 2", 10, true}),
                         [](const auto& row) { return row.param.name; });

class VbusInstallIgnoredFailureTest : public VbusInstallTest,
                                      public testing::WithParamInterface<const char*> {};

TEST_P(VbusInstallIgnoredFailureTest, DoesNotEndTheInstallation) {
    failing_ = GetParam();
    EXPECT_TRUE(EnsureVbusDevice(kParent));
    EXPECT_EQ(calls_, kWholeInstall);
}

INSTANTIATE_TEST_SUITE_P(Steps, VbusInstallIgnoredFailureTest,
                         testing::Values("installer 23", "installer 34", "read install parameters"));

TEST_F(VbusInstallTest, TheFrameworkLoaderIsCopiedIntoThePackageFolderOnVersion5) {
    majorVersion_ = 5;
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    CopyWdfLoaderForLegacyOs();
    EXPECT_EQ(calls_, (Calls{"version", "copy"}));
    EXPECT_EQ(copySource_, std::wstring(system) + L"\\drivers\\WDFLDR.SYS");
    EXPECT_EQ(copyDestination_, std::wstring(system) + L"\\QrvTavix\\WDFLDR.SYS");
    EXPECT_FALSE(copyFailsIfExists_);
}

TEST_F(VbusInstallTest, NoFileIsCopiedOnOtherVersions) {
    for (const DWORD version : {4, 6, 10}) {
        majorVersion_ = version;
        CopyWdfLoaderForLegacyOs();
    }
    EXPECT_EQ(calls_, (Calls{"version", "version", "version"}));
}

TEST_F(VbusInstallTest, AFailedCopyDoesNotKeepTheNodeFromBeingMade) {
    majorVersion_ = 5;
    failing_ = "copy";
    EXPECT_TRUE(EnsureVbusDevice(kParent));
    EXPECT_EQ(calls_.size(), kWholeInstall.size() + 1);
    EXPECT_EQ(calls_[1], "copy");
}

TEST_F(VbusInstallTest, WithoutASystemDirectoryNothingIsCopied) {
    majorVersion_ = 5;
    UINT answer = 0;
    REPLACE_CALL(directory, GetSystemDirectoryW, [&](wchar_t*, UINT) { return answer; });
    CopyWdfLoaderForLegacyOs();
    answer = 300;  // the length that a longer buffer would need
    CopyWdfLoaderForLegacyOs();
    EXPECT_EQ(calls_, (Calls{"version", "version"}));
}

}  // namespace
