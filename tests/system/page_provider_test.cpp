// The page provider, registered for a device as a package without a coinstaller does it, beside the
// coinstaller.
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <commctrl.h>
#include <prsht.h>

#include "resources/resource_ids.h"
#include "tests/support/leak_counters.h"
#include "tests/support/long_run.h"
#include "tests/support/timer_record.h"
#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"

namespace {

constexpr wchar_t kCoinstallerValue[] = L"CoInstallers32";
constexpr wchar_t kProviderValue[] = L"EnumPropPages32";
constexpr wchar_t kProvider[] = TAVIX_PROPPAGES_DLL L",TavixEnumPropPages";
constexpr wchar_t kCoinstallerModule[] = L"tavix_coinstaller.dll";
constexpr wchar_t kProviderModule[] = L"tavix_proppages.dll";
constexpr int kOpeningsInALongRun = 1000;

// What serves a device's sheet, as its driver key says; the key is as it was when the scope ends.
class Registration {
  public:
    enum Servers : unsigned { kNobody = 0, kCoinstaller = 1, kProviderDll = 2 };

    Registration(const std::wstring& instanceId, unsigned servers) : node_(instanceId) {
        key_.reset(SetupDiOpenDevRegKey(node_.set(), node_.element(), DICS_FLAG_GLOBAL, 0, DIREG_DRV,
                                        KEY_ALL_ACCESS));
        coinstallers_.resize(512);
        DWORD bytes = static_cast<DWORD>(coinstallers_.size());
        EXPECT_EQ(
            RegQueryValueExW(key_.get(), kCoinstallerValue, nullptr, nullptr, coinstallers_.data(), &bytes),
            ERROR_SUCCESS);
        coinstallers_.resize(bytes);
        if ((servers & kCoinstaller) == 0) RegDeleteValueW(key_.get(), kCoinstallerValue);
        if ((servers & kProviderDll) != 0)
            RegSetValueExW(key_.get(), kProviderValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(kProvider),
                           sizeof(kProvider));
    }
    ~Registration() {
        RegDeleteValueW(key_.get(), kProviderValue);
        RegSetValueExW(key_.get(), kCoinstallerValue, 0, REG_MULTI_SZ, coinstallers_.data(),
                       static_cast<DWORD>(coinstallers_.size()));
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

  private:
    OpenedNode node_;
    RegistryKey key_;
    std::vector<BYTE> coinstallers_;
};

// The pages that the installers and providers of one device add.
class CollectedPages {
  public:
    explicit CollectedPages(const std::wstring& instanceId) : node_(instanceId) {
        header_.dwSize = sizeof(header_);
        header_.phpage = pages_.data();
        EXPECT_TRUE(SetupDiGetClassDevPropertySheetsW(node_.set(), node_.element(), &header_,
                                                      static_cast<DWORD>(pages_.size()), nullptr,
                                                      DIGCDP_FLAG_ADVANCED));
    }
    ~CollectedPages() {
        for (UINT index = 0; index < header_.nPages; ++index)
            DestroyPropertySheetPage(pages_[index]);
    }
    CollectedPages(const CollectedPages&) = delete;
    CollectedPages& operator=(const CollectedPages&) = delete;

    UINT count() const { return header_.nPages; }
    // The sheet takes the pages.
    OwnedWindow Show() {
        header_.dwFlags = PSH_MODELESS;
        header_.pszCaption = L"Page provider test";
        OwnedWindow sheet(reinterpret_cast<HWND>(PropertySheetW(&header_)));
        header_.nPages = 0;
        PumpPendingMessages();
        return sheet;
    }

  private:
    OpenedNode node_;
    std::array<HPROPSHEETPAGE, 20> pages_ = {};
    PROPSHEETHEADERW header_ = {};
};

// A page as a user sees it: its tab's text, then class, ID, text, style and place of each control.
std::vector<std::wstring> DescribePage(HWND sheet) {
    wchar_t text[500] = {};
    TCITEMW tab = {};
    tab.mask = TCIF_TEXT;
    tab.pszText = text;
    tab.cchTextMax = 500;
    SendMessageW(PropSheet_GetTabControl(sheet), TCM_GETITEMW, 0, reinterpret_cast<LPARAM>(&tab));
    std::vector<std::wstring> lines = {text};
    const HWND page = PropSheet_GetCurrentPageHwnd(sheet);
    for (HWND control = GetWindow(page, GW_CHILD); control != nullptr;
         control = GetWindow(control, GW_HWNDNEXT)) {
        wchar_t name[100] = {};
        GetClassNameW(control, name, 100);
        GetWindowTextW(control, text, 500);
        RECT place = {};
        GetWindowRect(control, &place);
        MapWindowPoints(nullptr, page, reinterpret_cast<POINT*>(&place), 2);
        lines.push_back(std::wstring(name) + L" " + std::to_wstring(GetDlgCtrlID(control)) + L" \"" + text +
                        L"\" " + std::to_wstring(GetWindowLongW(control, GWL_STYLE)) + L" at " +
                        std::to_wstring(place.left) + L"," + std::to_wstring(place.top) + L" to " +
                        std::to_wstring(place.right) + L"," + std::to_wstring(place.bottom));
    }
    return lines;
}

using PageProvider = BOOL CALLBACK(LPVOID, LPFNADDPROPSHEETPAGE, LPARAM);

struct Sheet {
    bool takesPages = true;
    std::vector<HPROPSHEETPAGE> pages;
};
BOOL CALLBACK AddToSheet(HPROPSHEETPAGE page, LPARAM sheetParam) {
    auto& sheet = *reinterpret_cast<Sheet*>(sheetParam);
    sheet.pages.push_back(page);
    return sheet.takesPages;
}

class PageProviderTest : public PackageTest {
  protected:
    std::vector<std::wstring> Nodes() { return {VcomInstanceId(first), first.InstanceId(), kBusInstanceId}; }

    // What a user sees of the page and what the driver hears of it while the sheet opens and closes. Nothing
    // ticks.
    struct Opening {
        std::vector<std::wstring> page;
        std::vector<std::vector<uint8_t>> requests;
        std::vector<uint32_t> codes;
    };
    Opening Open(const std::wstring& instanceId, unsigned servers, const wchar_t* moduleName) {
        const Registration registration(instanceId, servers);
        Opening opening;
        NewRequests();
        {
            CollectedPages pages(instanceId);
            EXPECT_EQ(pages.count(), 1u);
            const HMODULE module = GetModuleHandleW(moduleName);
            EXPECT_NE(module, nullptr);
            if (pages.count() != 1 || module == nullptr) return opening;
            const TimerRecord timers(TimerRecord::Timers::kHeld, module);
            const OwnedWindow sheet = pages.Show();
            opening.page = DescribePage(sheet.get());
        }
        for (const LoggedRequest& request : NewRequests()) {
            opening.codes.push_back(request.record.code);
            opening.requests.push_back(request.input);
        }
        return opening;
    }

    // One call of the export itself.
    BOOL Ask(void* request, LPFNADDPROPSHEETPAGE addPage, Sheet& sheet) {
        auto* provider =
            reinterpret_cast<PageProvider*>(GetProcAddress(library_.get(), "TavixEnumPropPages"));
        EXPECT_NE(provider, nullptr);
        return provider(request, addPage, reinterpret_cast<LPARAM>(&sheet));
    }
    static SP_PROPSHEETPAGE_REQUEST RequestFor(OpenedNode& node) {
        return {sizeof(SP_PROPSHEETPAGE_REQUEST), SPPSR_ENUM_ADV_DEVICE_PROPERTIES, node.set(),
                node.element()};
    }

    const LoadedLibrary library_{LoadLibraryW(TAVIX_PROPPAGES_DLL)};
};

TEST_F(PageProviderTest, ThePageIsTheCoinstallersAndSendsTheSameRequests) {
    Plug(first);
    for (const std::wstring& node : Nodes()) {
        const Opening expected = Open(node, Registration::kCoinstaller, kCoinstallerModule);
        const Opening actual = Open(node, Registration::kProviderDll, kProviderModule);
        EXPECT_GT(expected.page.size(), 2u) << "the page was described";
        EXPECT_FALSE(expected.codes.empty()) << "its requests were seen";
        EXPECT_EQ(actual.page, expected.page);
        EXPECT_EQ(actual.codes, expected.codes);
        EXPECT_EQ(actual.requests, expected.requests);
    }
}

TEST_F(PageProviderTest, BesideTheCoinstallerEachPageIsAddedOnce) {
    Plug(first);
    for (const std::wstring& node : Nodes()) {
        const Registration registration(node, Registration::kCoinstaller | Registration::kProviderDll);
        EXPECT_EQ(CollectedPages(node).count(), 1u);
        OpenedNode opened(node);
        SP_PROPSHEETPAGE_REQUEST request = RequestFor(opened);
        Sheet sheet;
        EXPECT_FALSE(Ask(&request, AddToSheet, sheet));
        EXPECT_TRUE(sheet.pages.empty()) << "the page is the coinstaller's";
    }
}

TEST_F(PageProviderTest, WithoutAnyRegistrationThereIsNoPage) {
    Plug(first);
    const Registration registration(kBusInstanceId, Registration::kNobody);
    EXPECT_EQ(CollectedPages(kBusInstanceId).count(), 0u);
}

TEST_F(PageProviderTest, TheClassMayNameTheProviderToo) {
    Plug(first);
    const Registration registration(first.InstanceId(), Registration::kNobody);
    OpenedNode node(first.InstanceId());
    const RegistryKey classKey(SetupDiOpenClassRegKeyExW(&node.element()->ClassGuid, KEY_ALL_ACCESS,
                                                         DIOCR_INSTALLER, nullptr, nullptr));
    RegSetValueExW(classKey.get(), kProviderValue, 0, REG_SZ, reinterpret_cast<const BYTE*>(kProvider),
                   sizeof(kProvider));
    EXPECT_EQ(CollectedPages(first.InstanceId()).count(), 1u);
    RegDeleteValueW(classKey.get(), kProviderValue);
}

TEST_F(PageProviderTest, OpeningAUsbDeviceMakesTheBus) {
    Plug(first);
    const Registration registration(first.InstanceId(), Registration::kProviderDll);
    ASSERT_EQ(RemoveVbus(), ERROR_SUCCESS);
    ASSERT_FALSE(NodeExists(kBusInstanceId));
    EXPECT_EQ(CollectedPages(first.InstanceId()).count(), 1u);
    EXPECT_TRUE(NodeExists(kBusInstanceId));
}

TEST_F(PageProviderTest, OtherRequestsAreRefused) {
    Plug(first);
    const Registration registration(kBusInstanceId, Registration::kProviderDll);
    OpenedNode node(kBusInstanceId);
    const SP_PROPSHEETPAGE_REQUEST good = RequestFor(node);
    const auto changed = [&](auto change) {
        SP_PROPSHEETPAGE_REQUEST request = good;
        change(request);
        return request;
    };
    using Request = SP_PROPSHEETPAGE_REQUEST;
    const Request requests[] = {
        changed([](Request& request) { request.cbSize = 0; }),
        changed([](Request& request) { --request.cbSize; }),
        changed([](Request& request) { ++request.cbSize; }),
        changed([](Request& request) { request.PageRequested = 0; }),
        changed([](Request& request) { request.PageRequested = SPPSR_SELECT_DEVICE_RESOURCES; }),
        changed([](Request& request) { request.PageRequested = SPPSR_ENUM_BASIC_DEVICE_PROPERTIES; }),
        changed([](Request& request) { request.PageRequested = 4; }),
        changed([](Request& request) { request.DeviceInfoSet = nullptr; }),
        changed([](Request& request) { request.DeviceInfoSet = INVALID_HANDLE_VALUE; }),
        changed([](Request& request) { request.DeviceInfoData = nullptr; }),
    };
    ExpectNoLeaks([&] {
        Sheet sheet;
        for (Request request : requests)
            EXPECT_FALSE(Ask(&request, AddToSheet, sheet));
        EXPECT_FALSE(Ask(nullptr, AddToSheet, sheet));
        Request request = good;
        EXPECT_FALSE(Ask(&request, nullptr, sheet));
        EXPECT_TRUE(sheet.pages.empty());
    });
}

TEST_F(PageProviderTest, ADeviceThatIsNoneOfOursHasNoPage) {
    constexpr GUID kSystemClass = {
        0x4D36E97D, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
    const DeviceInfoList set(SetupDiCreateDeviceInfoList(nullptr, nullptr));
    SP_DEVINFO_DATA element = {};
    element.cbSize = sizeof(element);
    ASSERT_TRUE(SetupDiCreateDeviceInfoW(set.get(), L"PROVIDERTEST", &kSystemClass, L"Test", nullptr,
                                         DICD_GENERATE_ID, &element));
    SP_PROPSHEETPAGE_REQUEST request = {sizeof(request), SPPSR_ENUM_ADV_DEVICE_PROPERTIES, set.get(),
                                        &element};
    Sheet sheet;
    EXPECT_FALSE(Ask(&request, AddToSheet, sheet));
    EXPECT_TRUE(sheet.pages.empty());
}

TEST_F(PageProviderTest, APageThatTheSheetRefusesIsGone) {
    Plug(first);
    for (const std::wstring& instanceId : Nodes()) {
        const Registration registration(instanceId, Registration::kProviderDll);
        OpenedNode node(instanceId);
        ExpectNoLeaks([&] {
            SP_PROPSHEETPAGE_REQUEST request = RequestFor(node);
            Sheet sheet;
            sheet.takesPages = false;
            EXPECT_FALSE(Ask(&request, AddToSheet, sheet));
            EXPECT_EQ(sheet.pages.size(), 1u);
        });
    }
}

TEST_F(PageProviderTest, OpeningsLeaveNothingBehind) {
    Plug(first);
    for (const std::wstring& node : Nodes()) {
        const Registration registration(node, Registration::kProviderDll);
        ExpectNoLeaks(
            [&] {
                CollectedPages pages(node);
                EXPECT_EQ(pages.count(), 1u);
                EXPECT_TRUE(pages.Show());
            },
            RunsOf(3, kOpeningsInALongRun));
    }
}

TEST_F(PageProviderTest, TheVersionNamesItsOwnFile) {
    const HRSRC found = FindResourceW(library_.get(), MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
    ASSERT_NE(found, nullptr);
    const auto* text = static_cast<const wchar_t*>(LockResource(LoadResource(library_.get(), found)));
    const std::wstring whole(text, SizeofResource(library_.get(), found) / sizeof(wchar_t));
    EXPECT_NE(whole.find(kProviderModule), std::wstring::npos);
    EXPECT_EQ(whole.find(kCoinstallerModule), std::wstring::npos);
}

TEST_F(PageProviderTest, TheDeviceViewerShowsThePage) {
    Plug(first);
    const Registration registration(first.InstanceId(), Registration::kProviderDll);
    wchar_t folder[MAX_PATH] = {};
    GetSystemDirectoryW(folder, MAX_PATH);
    std::wstring commandLine =
        L"\"" + std::wstring(folder) + L"\\device_viewer.exe\" --device " + first.InstanceId();
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    ASSERT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &started));
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    HWND sheet = nullptr;
    EXPECT_TRUE(WaitUntil("the sheet to open", [&] {
        sheet = FindWindowW(L"#32770", L"First scanner Properties");
        return sheet != nullptr && IsWindowVisible(sheet);
    }));
    HWND page = nullptr;
    EXPECT_TRUE(WaitUntil("the page", [&] {
        page = PropSheet_GetCurrentPageHwnd(sheet);
        return page != nullptr && GetDlgItem(page, IDC_USBD_MAPPING) != nullptr;
    }));
    PostMessageW(sheet, WM_COMMAND, IDCANCEL, 0);
    EXPECT_EQ(WaitForSingleObject(process.get(), 10000), DWORD{WAIT_OBJECT_0});
}

}  // namespace
