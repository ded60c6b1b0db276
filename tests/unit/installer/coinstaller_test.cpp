#include "installer/coinstaller.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <prsht.h>

#include "driver/device_kind.h"
#include "driver/vbus.h"
#include "installer/dif_names.h"
#include "pages/device_page.h"
#include "pages/usbd_page.h"
#include "pages/vbus_page.h"
#include "pages/vcom_page.h"
#include "resources/resource_ids.h"
#include "tests/support/leak_counters.h"
#include "tests/unit/installer/fake_element.h"
#include "tests/unit/installer/trace_recorder.h"

namespace {

using AddPageParams = SP_ADDPROPERTYPAGE_DATA;
using Events = std::vector<std::string>;

constexpr DWORD kNoFailure = 0;
const auto kPage = reinterpret_cast<HPROPSHEETPAGE>(0xABCD0);

struct KindId {
    DeviceKind kind;
    const wchar_t* label;
    const wchar_t* instanceId;
};
constexpr KindId kKinds[] = {
    {DeviceKind::Unkn, L"Unkn", L"ACPI\\PNP0501\\1"},
    {DeviceKind::Usbd, L"Usbd", L"USB\\VID_1234&PID_5678\\SN01"},
    {DeviceKind::Vcom, L"Vcom", L"QRV_VBUS\\Qrv_vcom\\1&2"},
    {DeviceKind::Vbus, L"Vbus", L"ROOT\\QRV_VBUS\\0000"},
};

// What a call of the entry does to the world, as events: "ensure bus", "copy loader", "tune", "notice",
// "mark", "page 200". Nothing of it reaches the real system.
class CoinstallerTest : public testing::Test {
  protected:
    CoinstallerTest() {
        SetVbusReadOnly(false);
        AddPageParams sheet = {};
        sheet.ClassInstallHeader = {8, DIF_ADDPROPERTYPAGE_ADVANCED};
        element_.SetClassParams(sheet);
    }
    ~CoinstallerTest() override { ReleasePages(); }

    DWORD Call(DI_FUNCTION code, const wchar_t* instanceId, COINSTALLER_CONTEXT_DATA* context = nullptr) {
        instanceId_ = instanceId;
        return TavixCoInstaller(code, FakeElement::kSet, &element_.data, context);
    }

    Events TakeEvents() {
        Events events;
        std::swap(events, events_);
        if (element_.flagsEx != 0) events.push_back("mark");
        element_.flagsEx = 0;
        return events;
    }

    // As the property sheet does with every page that it was given.
    void ReleasePages() {
        for (PROPSHEETPAGEW& page : pages_)
            ProspageCallback(nullptr, PSPCB_RELEASE, &page);
        pages_.clear();
    }

    FakeElement element_;
    std::wstring instanceId_;
    bool instanceIdReadable_ = true;
    bool busExists_ = true;
    DWORD noticeError_ = kNoFailure;
    DWORD noticeCode_ = 0;
    DWORD noticeOutputBytes_ = 0;
    std::vector<BYTE> notice_;
    TraceRecorder trace_;
    bool pageCanBeCreated_ = true;
    std::vector<PROPSHEETPAGEW> pages_;

  private:
    Events events_;

    ReplacedCall<SetupDiGetDeviceInstanceIdW> instanceIdCall_{
        "SetupDiGetDeviceInstanceIdW", [this](HDEVINFO, SP_DEVINFO_DATA*, wchar_t* id, DWORD chars, DWORD*) {
            if (!instanceIdReadable_ || instanceId_.size() >= chars) return FALSE;
            std::memcpy(id, instanceId_.c_str(), (instanceId_.size() + 1) * sizeof(wchar_t));
            return TRUE;
        }};
    ReplacedCall<SetupDiEnumDeviceInterfaces> enumInterfaces_{
        "SetupDiEnumDeviceInterfaces",
        [this](HDEVINFO, SP_DEVINFO_DATA*, const GUID*, DWORD, SP_DEVICE_INTERFACE_DATA*) -> BOOL {
            SetLastError(ERROR_NO_MORE_ITEMS);
            return busExists_;
        }};
    ReplacedCall<SetupDiGetDeviceInterfaceDetailW> interfaceDetail_{
        "SetupDiGetDeviceInterfaceDetailW",
        [](HDEVINFO, SP_DEVICE_INTERFACE_DATA*, SP_DEVICE_INTERFACE_DETAIL_DATA_W* detail, DWORD, DWORD*,
           SP_DEVINFO_DATA*) {
            std::memcpy(detail->DevicePath, L"bus", sizeof(L"bus"));
            return TRUE;
        }};
    ReplacedCall<CreateFileW> createFile_{
        "CreateFileW",
        [](const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
           DWORD flags, HANDLE pattern) -> HANDLE {
            if (wcscmp(name, L"bus") == 0) return CreateEventW(nullptr, FALSE, FALSE, nullptr);
            return ReplacedCall<CreateFileW>::Original(name, access, share, security, disposition, flags,
                                                       pattern);
        }};
    ReplacedCall<DeviceIoControl> ioctl_{"DeviceIoControl",
                                         [this](HANDLE, DWORD code, void* input, DWORD inputBytes, void*,
                                                DWORD outputBytes, DWORD*, OVERLAPPED*) -> BOOL {
                                             events_.push_back("notice");
                                             noticeCode_ = code;
                                             notice_.assign(static_cast<BYTE*>(input),
                                                            static_cast<BYTE*>(input) + inputBytes);
                                             noticeOutputBytes_ = outputBytes;
                                             SetLastError(noticeError_);
                                             return noticeError_ == kNoFailure;
                                         }};
    ReplacedCall<RegOpenKeyExW> openKey_{"RegOpenKeyExW",
                                         [this](HKEY, const wchar_t* path, DWORD, REGSAM, HKEY*) -> LSTATUS {
                                             const bool busProbe = wcsstr(path, L"QRV_VBUS") != nullptr;
                                             events_.push_back(busProbe ? "probe bus" : "tune");
                                             return ERROR_FILE_NOT_FOUND;
                                         }};
    ReplacedCall<SetupDiCreateDeviceInfoList> createList_{"SetupDiCreateDeviceInfoList",
                                                          [this](const GUID*, HWND parent) -> HDEVINFO {
                                                              EXPECT_EQ(parent, nullptr);
                                                              events_.push_back("create list");
                                                              return INVALID_HANDLE_VALUE;
                                                          }};
    ReplacedCall<GetVersionExW> version_{"GetVersionExW", [this](OSVERSIONINFOW* version) {
                                             version->dwMajorVersion = 5;
                                             return TRUE;
                                         }};
    ReplacedCall<CopyFileW> copy_{"CopyFileW", [this](const wchar_t*, const wchar_t*, BOOL) {
                                      events_.push_back("copy loader");
                                      return TRUE;
                                  }};
    ReplacedCall<CreatePropertySheetPageW> createPage_{
        "CreatePropertySheetPageW", [this](const PROPSHEETPAGEW* page) -> HPROPSHEETPAGE {
            const auto id = static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(page->pszTemplate));
            events_.push_back("page " + std::to_string(id));
            if (!pageCanBeCreated_) return nullptr;
            pages_.push_back(*page);
            return kPage;
        }};
};

// The tuning reads and writes its parameters through several openings of one key.
Events Condense(const Events& events) {
    Events condensed;
    for (const std::string& event : events)
        if (condensed.empty() || condensed.back() != event) condensed.push_back(event);
    return condensed;
}

const Events kEnsureBus = {"copy loader", "probe bus", "create list"};

Events operator+(Events left, const Events& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

struct DispatchRow {
    const char* name;
    DI_FUNCTION code;
    size_t kind;  // index into kKinds
    Events events;
};
void PrintTo(const DispatchRow& row, std::ostream* out) {
    *out << row.name;
}

std::vector<DispatchRow> DispatchRows() {
    const Events tune = {"tune"};
    return {
        {"InstallUnkn", DIF_INSTALLDEVICE, 0, tune},
        {"InstallUsbd", DIF_INSTALLDEVICE, 1, kEnsureBus + tune},
        {"InstallVbus", DIF_INSTALLDEVICE, 3, Events{"copy loader"} + tune},
        {"RemoveUnkn", DIF_REMOVE, 0, {"notice"}},
        {"RemoveUsbd", DIF_REMOVE, 1, {"notice"}},
        {"RemoveVcom", DIF_REMOVE, 2, {"notice"}},
        {"RemoveVbus", DIF_REMOVE, 3, {"notice"}},
        {"ChangeUnkn", DIF_PROPERTYCHANGE, 0, {}},
        {"ChangeUsbd", DIF_PROPERTYCHANGE, 1, {}},
        {"ChangeVcom", DIF_PROPERTYCHANGE, 2, {"mark"}},
        {"ChangeVbus", DIF_PROPERTYCHANGE, 3, {}},
        {"PageUnkn", DIF_ADDPROPERTYPAGE_ADVANCED, 0, {}},
        {"PageUsbd", DIF_ADDPROPERTYPAGE_ADVANCED, 1, kEnsureBus + tune + Events{"page 201"}},
        {"PageVcom", DIF_ADDPROPERTYPAGE_ADVANCED, 2, {"page 200"}},
        {"PageVbus", DIF_ADDPROPERTYPAGE_ADVANCED, 3, {"page 202"}},
    };
}

class DispatchTest : public CoinstallerTest, public testing::WithParamInterface<DispatchRow> {};

TEST_P(DispatchTest, DoesWhatTheKindAsksForAndReturnsSuccess) {
    EXPECT_EQ(Call(GetParam().code, kKinds[GetParam().kind].instanceId), DWORD{NO_ERROR});
    EXPECT_EQ(Condense(TakeEvents()), GetParam().events);
}

TEST_P(DispatchTest, IsTracedFirst) {
    const KindId& kind = kKinds[GetParam().kind];
    Call(GetParam().code, kind.instanceId);
    ASSERT_FALSE(trace_.lines().empty());
    const std::wstring event = std::wstring(kind.label) + L":" + DifName(GetParam().code);
    if (GetParam().code == DIF_INSTALLDEVICE) {
        EXPECT_EQ(trace_.lines()[0].substr(0, event.size() + 10), event + L" from pid=");
    } else {
        EXPECT_EQ(trace_.lines()[0], event);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, DispatchTest, testing::ValuesIn(DispatchRows()),
                         [](const auto& row) { return row.param.name; });

TEST_F(CoinstallerTest, EveryOtherCodeIsOnlyTraced) {
    const std::set<DI_FUNCTION> acting = {DIF_INSTALLDEVICE, DIF_REMOVE, DIF_PROPERTYCHANGE,
                                          DIF_ADDPROPERTYPAGE_ADVANCED};
    size_t calls = 0;
    for (const KindId& kind : kKinds) {
        for (const DI_FUNCTION code :
             {0u,  1u,  3u,  4u,  6u,  7u,  8u,  9u,  10u, 11u, 12u, 13u,     14u,
              15u, 16u, 17u, 19u, 20u, 21u, 22u, 23u, 24u, 25u, 26u, 27u,     28u,
              29u, 30u, 31u, 32u, 33u, 34u, 36u, 37u, 38u, 39u, 40u, 0x8000u, 0xFFFFFFFFu}) {
            ASSERT_FALSE(acting.contains(code));
            EXPECT_EQ(Call(code, kind.instanceId), DWORD{NO_ERROR}) << code;
            ++calls;
            ASSERT_EQ(trace_.lines().size(), calls);
            EXPECT_EQ(trace_.lines().back(), std::wstring(kind.label) + L":" + DifName(code));
        }
    }
    EXPECT_EQ(TakeEvents(), Events{});
}

// With the module's activation context; the node is looked at afterwards.
TEST_F(CoinstallerTest, EveryCallInitializesTheCommonControlsFirst) {
    REPLACE_CALL(activate, ActivateActCtx,
                 [](HANDLE context, ULONG_PTR* cookie) { return ActivateActCtx(context, cookie); });
    int activationsBefore = 0;
    REPLACE_CALL(service, SetupDiGetDeviceRegistryPropertyW, [&](auto...) {
        EXPECT_GT(activate.calls(), activationsBefore);
        return FALSE;
    });
    for (DI_FUNCTION code = DIF_ADDPROPERTYPAGE_BASIC; code <= DIF_POWERMESSAGEWAKE; ++code) {
        activationsBefore = activate.calls();
        Call(code, L"ROOT\\SYSTEM\\0001");
    }
    EXPECT_EQ(service.calls(), 4);
}

TEST_F(CoinstallerTest, TheFirstPassOfAVcomAsksForPostProcessingAndDoesNothing) {
    COINSTALLER_CONTEXT_DATA context = {};
    EXPECT_EQ(Call(DIF_INSTALLDEVICE, kKinds[2].instanceId, &context), DWORD{0xE0000226});
    EXPECT_EQ(TakeEvents(), Events{});
}

TEST_F(CoinstallerTest, TheSecondPassOfAVcomSucceedsWhateverTheInstallationCameTo) {
    COINSTALLER_CONTEXT_DATA context = {};
    context.PostProcessing = TRUE;
    context.InstallResult = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Call(DIF_INSTALLDEVICE, kKinds[2].instanceId, &context), DWORD{NO_ERROR});
    EXPECT_EQ(TakeEvents(), Events{});
    EXPECT_EQ(trace_.lines().back(), L"Vcom:DIF_INSTALLDEVICE PostProcessing");
}

TEST_F(CoinstallerTest, AVcomWithoutAContextCountsAsTheFirstPass) {
    EXPECT_EQ(Call(DIF_INSTALLDEVICE, kKinds[2].instanceId, nullptr), DWORD{0xE0000226});
}

TEST_F(CoinstallerTest, OnlyAVcomsInstallationAsksForPostProcessing) {
    COINSTALLER_CONTEXT_DATA context = {};
    for (const size_t kind : {0u, 1u, 3u})
        EXPECT_EQ(Call(DIF_INSTALLDEVICE, kKinds[kind].instanceId, &context), DWORD{NO_ERROR}) << kind;
}

TEST_F(CoinstallerTest, AnInstallationIsTracedWithTheProcessItComesFrom) {
    wchar_t executable[MAX_PATH];
    GetModuleFileNameW(nullptr, executable, MAX_PATH);
    Call(DIF_INSTALLDEVICE, kKinds[3].instanceId);
    ASSERT_FALSE(trace_.lines().empty());
    EXPECT_EQ(trace_.lines()[0], L"Vbus:DIF_INSTALLDEVICE from pid=" +
                                     std::to_wstring(GetCurrentProcessId()) + L", EXE: " + executable);
}

// In every call, though only one line shows it.
TEST_F(CoinstallerTest, EachCallReadsTheProcessItComesFromAndInitializesTheControlsFirst) {
    Call(DIF_SELECTDEVICE, kKinds[0].instanceId);  // settles what is settled once
    SetTraceLineHook(nullptr);
    for (const DI_FUNCTION code : {DIF_SELECTDEVICE, DIF_INSTALLDEVICE, DIF_REMOVE, DIF_PROPERTYCHANGE}) {
        Events order;
        REPLACE_CALL(activate, ActivateActCtx, [&](HANDLE context, ULONG_PTR* cookie) {
            order.push_back("controls");
            return ReplacedCall<ActivateActCtx>::Original(context, cookie);
        });
        REPLACE_CALL(path, GetModuleFileNameW, [&](HMODULE module, wchar_t* buffer, DWORD chars) {
            EXPECT_EQ(module, nullptr);
            EXPECT_EQ(chars, DWORD{260});
            order.push_back("path");
            return ReplacedCall<GetModuleFileNameW>::Original(module, buffer, chars);
        });
        REPLACE_CALL(id, GetCurrentProcessId, [&] {
            order.push_back("process");
            return ReplacedCall<GetCurrentProcessId>::Original();
        });
        REPLACE_CALL(instanceId, SetupDiGetDeviceInstanceIdW,
                     [&](HDEVINFO, SP_DEVINFO_DATA*, wchar_t*, DWORD chars, DWORD*) {
                         if (chars == 260) order.push_back("instance ID");
                         return FALSE;
                     });
        Call(code, kKinds[0].instanceId);
        Events sorted = order;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, (Events{"controls", "instance ID", "path", "process"})) << code;
        EXPECT_EQ(order.front(), "controls") << code;
        EXPECT_EQ(order.back(), "instance ID") << code;
    }
}

TEST_F(CoinstallerTest, TheRemoveNoticeCarriesTheDevicesNameAlone) {
    EXPECT_EQ(Call(DIF_REMOVE, L"USB\\VID_1234&PID_5678\\SN01"), DWORD{NO_ERROR});
    EXPECT_EQ(noticeCode_, DWORD{0x1612B01C});
    EXPECT_EQ(noticeOutputBytes_, DWORD{0});
    const wchar_t name[128] = L"VID_1234&PID_5678\\SN01";
    ASSERT_EQ(notice_.size(), sizeof(name));
    EXPECT_EQ(std::memcmp(notice_.data(), name, sizeof(name)), 0);
}

TEST_F(CoinstallerTest, ARemovalGoesOnWhenTheBusCannotBeOpened) {
    busExists_ = false;
    EXPECT_EQ(Call(DIF_REMOVE, kKinds[1].instanceId), DWORD{NO_ERROR});
    EXPECT_EQ(TakeEvents(), Events{});
}

TEST_F(CoinstallerTest, ARemovalGoesOnWhenTheDriverRefuses) {
    noticeError_ = ERROR_ACCESS_DENIED;
    EXPECT_EQ(Call(DIF_REMOVE, kKinds[1].instanceId), DWORD{NO_ERROR});
    EXPECT_EQ(TakeEvents(), Events{"notice"});
}

TEST_F(CoinstallerTest, EachPageHasItsOwnDialogProcedure) {
    const struct {
        size_t kind;
        DLGPROC procedure;
    } rows[] = {{1, UsbdProspageDlgProc}, {2, VcomProspageDlgProc}, {3, VbusProspageDlgProc}};
    for (const auto& row : rows) {
        Call(DIF_ADDPROPERTYPAGE_ADVANCED, kKinds[row.kind].instanceId);
        ASSERT_EQ(pages_.size(), 1u);
        EXPECT_EQ(pages_[0].pfnDlgProc, row.procedure) << row.kind;
        ReleasePages();
        AddPageParams sheet = {};
        sheet.ClassInstallHeader = {8, DIF_ADDPROPERTYPAGE_ADVANCED};
        element_.SetClassParams(sheet);
    }
}

// The installer runs where nobody may see a window.
TEST_F(CoinstallerTest, TheBusIsInstalledWithoutAParentWindow) {
    std::vector<HWND> parents;
    REPLACE_CALL(list, SetupDiCreateDeviceInfoList, [](const GUID*, HWND) { return HDEVINFO(0x1157); });
    REPLACE_CALL(destroy, SetupDiDestroyDeviceInfoList, [](HDEVINFO) { return TRUE; });
    REPLACE_CALL(element, SetupDiCreateDeviceInfoW,
                 [&](HDEVINFO, const wchar_t*, const GUID*, const wchar_t*, HWND parent, auto...) {
                     parents.push_back(parent);
                     return FALSE;
                 });
    Call(DIF_INSTALLDEVICE, kKinds[1].instanceId);
    Call(DIF_ADDPROPERTYPAGE_ADVANCED, kKinds[1].instanceId);
    EXPECT_EQ(parents, (std::vector<HWND>{nullptr, nullptr}));
}

TEST_F(CoinstallerTest, ARemovalOfANodeWithoutAReadableIdSendsNothing) {
    instanceIdReadable_ = false;
    EXPECT_EQ(Call(DIF_REMOVE, L""), DWORD{NO_ERROR});
    EXPECT_EQ(TakeEvents(), Events{});
    EXPECT_EQ(trace_.lines(), std::vector<std::wstring>{L"Unkn:DIF_REMOVE"});
}

struct PageRow {
    const char* name;
    size_t kind;
};
void PrintTo(const PageRow& row, std::ostream* out) {
    *out << row.name;
}

// Counts the objects that the entry makes by what they are destroyed through: the page's release or the
// entry.
class PageOwnershipTest : public CoinstallerTest, public testing::WithParamInterface<PageRow> {
  protected:
    const wchar_t* InstanceId() const { return kKinds[GetParam().kind].instanceId; }
};

TEST_P(PageOwnershipTest, ThePageIsGivenAnObjectOfTheCall) {
    Call(DIF_ADDPROPERTYPAGE_ADVANCED, InstanceId());
    ASSERT_EQ(pages_.size(), 1u);
    const auto* params = reinterpret_cast<const TavixProspageParam_base*>(pages_[0].lParam);
    ASSERT_NE(params, nullptr);
    EXPECT_EQ(params->deviceInfoSet, FakeElement::kSet);
    EXPECT_EQ(params->deviceInfoData, &element_.data);
}

TEST_P(PageOwnershipTest, FailuresOfThePageAreNotReported) {
    pageCanBeCreated_ = false;
    EXPECT_EQ(Call(DIF_ADDPROPERTYPAGE_ADVANCED, InstanceId()), DWORD{NO_ERROR});
    element_.classParams.clear();
    EXPECT_EQ(Call(DIF_ADDPROPERTYPAGE_ADVANCED, InstanceId()), DWORD{NO_ERROR});
}

// Without an object left over, and without one destroyed twice: either shows in the heap.
TEST_P(PageOwnershipTest, NothingIsLeftBehindWhetherThePageExistsOrNot) {
    const auto countAfter = [this](bool pageCanBeCreated, DWORD pagesOfTheSheet) {
        AddPageParams sheet = {};
        sheet.ClassInstallHeader = {8, DIF_ADDPROPERTYPAGE_ADVANCED};
        sheet.NumDynamicPages = pagesOfTheSheet;
        element_.SetClassParams(sheet);
        pageCanBeCreated_ = pageCanBeCreated;
        trace_.Clear();
        Call(DIF_ADDPROPERTYPAGE_ADVANCED, InstanceId());
        ReleasePages();
        TakeEvents();
        trace_.Clear();
        return CountHeapBlocks();
    };
    for (const auto& [created, pages] : {std::pair{true, 0}, {false, 0}, {true, 20}}) {
        const auto number = static_cast<DWORD>(pages);
        const long before = countAfter(created, number);
        EXPECT_EQ(countAfter(created, number), before) << created << " " << pages;
    }
}

TEST_P(PageOwnershipTest, WithoutMemoryForItsObjectThePageIsAskedForWithoutOne) {
    // Only the object has this size.
    const size_t objectBytes[] = {0, sizeof(UsbdProspageParams_st), sizeof(VcomProspageParams_st),
                                  sizeof(VbusProspageParams_st)};
    int refused = 0;
    {
        REPLACE_CALL(allocation, malloc, [&](size_t bytes) -> void* {
            if (bytes != objectBytes[GetParam().kind]) return malloc(bytes);
            ++refused;
            return nullptr;
        });
        EXPECT_EQ(Call(DIF_ADDPROPERTYPAGE_ADVANCED, InstanceId()), DWORD{NO_ERROR});
    }
    EXPECT_EQ(refused, 1);
    ASSERT_EQ(pages_.size(), 1u);
    EXPECT_EQ(pages_[0].lParam, 0);
    EXPECT_EQ(pages_[0].pfnCallback(nullptr, PSPCB_RELEASE, &pages_[0]), 0u);
}

INSTANTIATE_TEST_SUITE_P(Kinds, PageOwnershipTest,
                         testing::Values(PageRow{"Usbd", 1}, PageRow{"Vcom", 2}, PageRow{"Vbus", 3}),
                         [](const auto& row) { return row.param.name; });

TEST_F(CoinstallerTest, NullsEverywhereAreSurvived) {
    for (DI_FUNCTION code = 0; code <= 40; ++code) {
        const DWORD result = TavixCoInstaller(code, nullptr, nullptr, nullptr);
        EXPECT_EQ(result, DWORD{NO_ERROR}) << code;
    }
    EXPECT_TRUE(pages_.empty());
}

}  // namespace
