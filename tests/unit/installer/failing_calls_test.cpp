// Each call that the entry makes to the system fails in turn, once and from then on: for every event that
// acts and every kind of node the entry survives, leaves nothing behind and answers as it should.
#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>
#include <thread>

#include "base/windows_api.h"

#include <prsht.h>
#include <psapi.h>
#include <setupapi.h>

#include "base/module.h"
#include "driver/vbus.h"
#include "installer/coinstaller.h"
#include "pages/device_page.h"
#include "state/driver_params.h"
#include "tests/support/import_redirect.h"
#include "tests/support/leak_counters.h"
#include "tests/support/resource_library.h"
#include "tests/support/scratch_system_directory.h"
#include "tests/support/temporary_file.h"
#include "tests/unit/state/scratch_key.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"

namespace {

constexpr DWORD kPostProcessingRequired = 0xE0000226;
const auto kPage = reinterpret_cast<HPROPSHEETPAGE>(0x1230);

struct EventRow {
    const char* name;
    DI_FUNCTION code;
    const wchar_t* instanceId;
    int atLeastCalls;  // so that the test notices when its system keeps the entry from working
};
void PrintTo(const EventRow& row, std::ostream* out) {
    *out << row.name;
}

// A system of major version 5 on which all goes well: the bus driver answers, the bus node is missing and can
// be made, a listed guest tool runs (this very program), a customer's library is there. None of the answers
// allocates: what is allocated during a call is the entry's.
class FailingCallsTest : public testing::TestWithParam<EventRow> {
  protected:
    void SetUp() override {
        WriteWholeFile(system_.CustomLibraryPath(), CustomerLibrary().Build());
        SetModuleInstance(GetModuleHandleW(nullptr));
        ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_.get()), ERROR_SUCCESS);
        ASSERT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, kDriverParametersKey, parameters_.put()), ERROR_SUCCESS);
        wchar_t program[MAX_PATH + 1] = {};
        const DWORD chars = GetModuleFileNameW(nullptr, program, MAX_PATH);
        const wchar_t* const name = wcsrchr(program, L'\\') + 1;
        const auto bytes = static_cast<DWORD>((program + chars + 2 - name) * sizeof(wchar_t));
        RegSetValueExW(parameters_.get(), kParamVirtualboxProcesses, 0, REG_MULTI_SZ,
                       reinterpret_cast<const BYTE*>(name), bytes);
    }
    void TearDown() override {
        IsolationAwareCleanup();
        SetModuleInstance(nullptr);
        SetVbusReadOnly(false);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    }

    // One call of the entry, as a process makes it that has just loaded the module.
    void MakeCall(CallFaults& faults) {
        IsolationAwareCleanup();
        SetVbusReadOnly(false);
        WriteParamDword(kParamVmDetectDone, 0);
        WriteParamDword(kParamClearInputDelayMinimum, 0);
        SP_DEVINFO_DATA element = {};
        element.cbSize = sizeof(element);
        pageExists_ = false;
        const long blocksBefore = blocks_;
        DWORD result = 0;
        faults.During([&] { result = TavixCoInstaller(GetParam().code, kSet, &element, nullptr); });
        if (pageExists_) page_.pfnCallback(nullptr, PSPCB_RELEASE, &page_);
        EXPECT_TRUE(!countBlocks_ || blocks_ == blocksBefore) << blocks_ - blocksBefore;
        const bool mayAskForMore =
            GetParam().code == DIF_INSTALLDEVICE && wcsncmp(GetParam().instanceId, L"QRV_VBUS", 8) == 0;
        EXPECT_TRUE(result == NO_ERROR || (mayAskForMore && result == kPostProcessingRequired)) << result;
    }

    inline static const HDEVINFO kSet = reinterpret_cast<HDEVINFO>(0x4560);

    ScratchKey machine_;
    ScratchSystemDirectory system_;
    RegistryKey parameters_;
    PROPSHEETPAGEW page_ = {};
    bool pageExists_ = false;
    long blocks_ = 0;
    bool countBlocks_ = false;

  private:
    ReplacedCall<malloc> malloc_{"malloc", [this](size_t bytes) {
                                     ++blocks_;
                                     return ReplacedCall<malloc>::Original(bytes);
                                 }};
    ReplacedCall<free> free_{"free", [this](void* block) {
                                 if (block != nullptr) --blocks_;
                                 ReplacedCall<free>::Original(block);
                             }};
    ReplacedCall<GetVersionExW> version_{"GetVersionExW", [](OSVERSIONINFOW* version) {
                                             version->dwMajorVersion = 5;
                                             return TRUE;
                                         }};
    ReplacedCall<CopyFileW> copy_{"CopyFileW", [](const wchar_t*, const wchar_t*, BOOL) { return TRUE; }};
    ReplacedCall<SetupDiGetDeviceInstanceIdW> instanceId_{
        "SetupDiGetDeviceInstanceIdW", [](HDEVINFO, SP_DEVINFO_DATA*, wchar_t* id, DWORD chars, DWORD*) {
            wcsncpy(id, GetParam().instanceId, chars);
            return TRUE;
        }};
    ReplacedCall<SetupDiGetDeviceRegistryPropertyW> service_{
        "SetupDiGetDeviceRegistryPropertyW",
        [](HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD*, BYTE* buffer, DWORD, DWORD*) {
            std::memcpy(buffer, L"Qrv_tavix", sizeof(L"Qrv_tavix"));
            return TRUE;
        }};
    ReplacedCall<SetupDiEnumDeviceInterfaces> interfaces_{
        "SetupDiEnumDeviceInterfaces",
        [](HDEVINFO, SP_DEVINFO_DATA*, const GUID*, DWORD, SP_DEVICE_INTERFACE_DATA*) { return TRUE; }};
    ReplacedCall<SetupDiGetDeviceInterfaceDetailW> detail_{
        "SetupDiGetDeviceInterfaceDetailW",
        [](HDEVINFO, SP_DEVICE_INTERFACE_DATA*, SP_DEVICE_INTERFACE_DETAIL_DATA_W* detail, DWORD, DWORD*,
           SP_DEVINFO_DATA*) {
            std::memcpy(detail->DevicePath, L"NUL", sizeof(L"NUL"));
            return TRUE;
        }};
    ReplacedCall<DeviceIoControl> ioctl_{"DeviceIoControl", [](HANDLE, DWORD, void*, DWORD, void*, DWORD,
                                                               DWORD*, OVERLAPPED*) { return TRUE; }};
    ReplacedCall<SetupDiCreateDeviceInfoW> createElement_{
        "SetupDiCreateDeviceInfoW", [](HDEVINFO, const wchar_t*, const GUID*, const wchar_t*, HWND, DWORD,
                                       SP_DEVINFO_DATA*) { return TRUE; }};
    ReplacedCall<SetupDiSetDeviceRegistryPropertyW> setProperty_{
        "SetupDiSetDeviceRegistryPropertyW",
        [](HDEVINFO, SP_DEVINFO_DATA*, DWORD, const BYTE*, DWORD) { return TRUE; }};
    ReplacedCall<SetupDiCallClassInstaller> callInstaller_{
        "SetupDiCallClassInstaller", [](DI_FUNCTION, HDEVINFO, SP_DEVINFO_DATA*) { return TRUE; }};
    ReplacedCall<SetupDiBuildDriverInfoList> buildDrivers_{
        "SetupDiBuildDriverInfoList", [](HDEVINFO, SP_DEVINFO_DATA*, DWORD) { return TRUE; }};
    ReplacedCall<SetupDiGetDeviceInstallParamsW> getInstallParams_{
        "SetupDiGetDeviceInstallParamsW",
        [](HDEVINFO, SP_DEVINFO_DATA*, SP_DEVINSTALL_PARAMS_W*) { return TRUE; }};
    ReplacedCall<SetupDiSetDeviceInstallParamsW> setInstallParams_{
        "SetupDiSetDeviceInstallParamsW",
        [](HDEVINFO, SP_DEVINFO_DATA*, SP_DEVINSTALL_PARAMS_W*) { return TRUE; }};
    ReplacedCall<SetupDiGetClassInstallParamsW> getClassParams_{
        "SetupDiGetClassInstallParamsW",
        [](HDEVINFO, SP_DEVINFO_DATA*, SP_CLASSINSTALL_HEADER*, DWORD, DWORD*) { return TRUE; }};
    ReplacedCall<SetupDiSetClassInstallParamsW> setClassParams_{
        "SetupDiSetClassInstallParamsW",
        [](HDEVINFO, SP_DEVINFO_DATA*, SP_CLASSINSTALL_HEADER*, DWORD) { return TRUE; }};
    ReplacedCall<CreatePropertySheetPageW> createPage_{"CreatePropertySheetPageW",
                                                       [this](const PROPSHEETPAGEW* page) {
                                                           page_ = *page;
                                                           pageExists_ = true;
                                                           return kPage;
                                                       }};
};

void WatchEveryCall(CallFaults& faults) {
    WATCH_CALL(faults, ActivateActCtx, FALSE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, CopyFileW, FALSE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, CreateActCtxW, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, CreateFileW, INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, CreatePropertySheetPageW, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, DeviceIoControl, FALSE, ERROR_GEN_FAILURE);
    WATCH_CALL(faults, EnumProcesses, FALSE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, FindActCtxSectionStringW, FALSE, ERROR_SXS_KEY_NOT_FOUND);
    WATCH_CALL(faults, GetFileAttributesW, INVALID_FILE_ATTRIBUTES, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, GetFileSizeEx, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, GetModuleFileNameW, 0, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, GetProcAddress, nullptr, ERROR_PROC_NOT_FOUND);
    WATCH_CALL(faults, GetProcessImageFileNameW, 0, ERROR_GEN_FAILURE);
    WATCH_CALL(faults, GetSystemDirectoryW, 0, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, GetVersionExW, FALSE, ERROR_INVALID_PARAMETER);
    WATCH_CALL(faults, LoadIconW, nullptr, ERROR_RESOURCE_NAME_NOT_FOUND);
    WATCH_CALL(faults, LoadLibraryW, nullptr, ERROR_MOD_NOT_FOUND);
    WATCH_CALL(faults, OpenProcess, nullptr, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, QueryActCtxW, FALSE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, ReadFile, FALSE, ERROR_READ_FAULT);
    WATCH_CALL(faults, RegOpenKeyExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, RegQueryValueExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, RegSetValueExW, ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, SetFilePointerEx, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, SetupDiBuildDriverInfoList, FALSE, ERROR_GEN_FAILURE);
    WATCH_CALL(faults, SetupDiCallClassInstaller, FALSE, ERROR_GEN_FAILURE);
    WATCH_CALL(faults, SetupDiCreateDeviceInfoList, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, SetupDiCreateDeviceInfoW, FALSE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, SetupDiDestroyDeviceInfoList, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, SetupDiEnumDeviceInterfaces, FALSE, ERROR_NO_MORE_ITEMS);
    WATCH_CALL(faults, SetupDiGetClassDevsW, INVALID_HANDLE_VALUE, ERROR_NOT_ENOUGH_MEMORY);
    WATCH_CALL(faults, SetupDiGetClassInstallParamsW, FALSE, ERROR_NO_CLASSINSTALL_PARAMS);
    WATCH_CALL(faults, SetupDiGetDeviceInstallParamsW, FALSE, ERROR_INVALID_HANDLE);
    WATCH_CALL(faults, SetupDiGetDeviceInstanceIdW, FALSE, ERROR_INSUFFICIENT_BUFFER);
    WATCH_CALL(faults, SetupDiGetDeviceInterfaceDetailW, FALSE, ERROR_INSUFFICIENT_BUFFER);
    WATCH_CALL(faults, SetupDiGetDeviceRegistryPropertyW, FALSE, ERROR_INSUFFICIENT_BUFFER);
    WATCH_CALL(faults, SetupDiSetClassInstallParamsW, FALSE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, SetupDiSetDeviceInstallParamsW, FALSE, ERROR_ACCESS_DENIED);
    WATCH_CALL(faults, SetupDiSetDeviceRegistryPropertyW, FALSE, ERROR_ACCESS_DENIED);
}

TEST_P(FailingCallsTest, HarmNothing) {
    CallFaults faults;
    WatchEveryCall(faults);
    // The first round fills what the system and the runtime keep for the rest of the process.
    ForEachFailingCall(faults, [&] { MakeCall(faults); });
    const LeakGuard guard;
    countBlocks_ = true;
    const int calls = ForEachFailingCall(faults, [&] { MakeCall(faults); });
    EXPECT_GE(calls, GetParam().atLeastCalls);
}

TEST_P(FailingCallsTest, HarmsNothingWhenItIsAnAllocation) {
    CallFaults faults;
    WATCH_CALL(faults, malloc, nullptr, ERROR_NOT_ENOUGH_MEMORY);
    for (const bool counted : {false, true}) {
        countBlocks_ = counted;
        faults.FailAt(0);
        MakeCall(faults);
        const int allocations = static_cast<int>(faults.calls().size());
        for (int number = 1; number <= allocations; ++number) {
            faults.FailAt(number);
            SCOPED_TRACE(faults.Describe());
            MakeCall(faults);
        }
    }
}

// On a thread of its own: a thread that has thrown before has what the runtime needs.
TEST_P(FailingCallsTest, NoMemoryAtAllEndsNoProcess) {
    const auto param = GetParam();
    DWORD result = 0;
    std::thread([&] {
        REPLACE_CALL(id, SetupDiGetDeviceInstanceIdW,
                     [&](HDEVINFO, SP_DEVINFO_DATA*, wchar_t* text, DWORD chars, DWORD*) {
                         wcsncpy(text, param.instanceId, chars);
                         return TRUE;
                     });
        REPLACE_CALL(service, SetupDiGetDeviceRegistryPropertyW,
                     [](HDEVINFO, SP_DEVINFO_DATA*, DWORD, DWORD*, BYTE* buffer, DWORD, DWORD*) {
                         std::memcpy(buffer, L"Qrv_tavix", sizeof(L"Qrv_tavix"));
                         return TRUE;
                     });
        REPLACE_CALL(install, SetupDiGetDeviceInstallParamsW,
                     [](HDEVINFO, SP_DEVINFO_DATA*, SP_DEVINSTALL_PARAMS_W*) { return FALSE; });
        REPLACE_CALL(sheet, SetupDiGetClassInstallParamsW,
                     [](HDEVINFO, SP_DEVINFO_DATA*, SP_CLASSINSTALL_HEADER*, DWORD, DWORD*) { return TRUE; });
        REPLACE_CALL(bus, SetupDiGetClassDevsW,
                     [](const GUID*, const wchar_t*, HWND, DWORD) { return INVALID_HANDLE_VALUE; });
        REPLACE_CALL(list, SetupDiCreateDeviceInfoList,
                     [](const GUID*, HWND) { return INVALID_HANDLE_VALUE; });
        REPLACE_CALL(page, CreatePropertySheetPageW,
                     [](const PROPSHEETPAGEW*) -> HPROPSHEETPAGE { return nullptr; });
        SP_DEVINFO_DATA element = {};
        REPLACE_CALL(memory, malloc, [](size_t) -> void* { return nullptr; });
        result = TavixCoInstaller(param.code, kSet, &element, nullptr);
    }).join();
    EXPECT_TRUE(result == NO_ERROR || result == kPostProcessingRequired) << result;
}

constexpr wchar_t kUsbd[] = L"USB\\VID_1234&PID_5678\\SN01";
constexpr wchar_t kVcom[] = L"QRV_VBUS\\Qrv_vcom\\1&2";
constexpr wchar_t kVbus[] = L"ROOT\\SYSTEM\\0001";
constexpr wchar_t kUnkn[] = L"ACPI\\PNP0501\\1";

INSTANTIATE_TEST_SUITE_P(Events, FailingCallsTest,
                         testing::Values(EventRow{"InstallUsbd", DIF_INSTALLDEVICE, kUsbd, 35},
                                         EventRow{"InstallVcom", DIF_INSTALLDEVICE, kVcom, 8},
                                         EventRow{"InstallVbus", DIF_INSTALLDEVICE, kVbus, 25},
                                         EventRow{"InstallUnkn", DIF_INSTALLDEVICE, kUnkn, 20},
                                         EventRow{"RemoveUsbd", DIF_REMOVE, kUsbd, 13},
                                         EventRow{"RemoveVcom", DIF_REMOVE, kVcom, 13},
                                         EventRow{"RemoveVbus", DIF_REMOVE, kVbus, 13},
                                         EventRow{"RemoveUnkn", DIF_REMOVE, kUnkn, 13},
                                         EventRow{"ChangeUsbd", DIF_PROPERTYCHANGE, kUsbd, 7},
                                         EventRow{"ChangeVcom", DIF_PROPERTYCHANGE, kVcom, 10},
                                         EventRow{"ChangeVbus", DIF_PROPERTYCHANGE, kVbus, 8},
                                         EventRow{"ChangeUnkn", DIF_PROPERTYCHANGE, kUnkn, 7},
                                         EventRow{"PageUsbd", DIF_ADDPROPERTYPAGE_ADVANCED, kUsbd, 45},
                                         EventRow{"PageVcom", DIF_ADDPROPERTYPAGE_ADVANCED, kVcom, 12},
                                         EventRow{"PageVbus", DIF_ADDPROPERTYPAGE_ADVANCED, kVbus, 13},
                                         EventRow{"PageUnkn", DIF_ADDPROPERTYPAGE_ADVANCED, kUnkn, 7},
                                         EventRow{"OtherCode", DIF_SELECTDEVICE, kUsbd, 7}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
