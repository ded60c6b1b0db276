// Every allocation of the module fails from some number on: whatever the device installer or the VCOM page
// asks of it, it comes back, does what needs no memory and has nothing left afterwards.
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <commctrl.h>
#include <prsht.h>

#include "resources/resource_ids.h"
#include "tests/support/import_redirect.h"
#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"

namespace {

constexpr DWORD kPostProcessingRequired = 0xE0000226;
constexpr wchar_t kParametersKey[] = L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters";
constexpr wchar_t kUnknownInstanceId[] = L"ACPI\\TAVIXTEST\\1";
constexpr UINT_PTR kVcomTimer = 51;

// The VCOM's sheet, as Device Manager makes it.
class VcomSheet {
  public:
    explicit VcomSheet(const std::wstring& instanceId) : node_(instanceId) {
        header_.dwSize = sizeof(header_);
        header_.phpage = pages_.data();
        SetupDiGetClassDevPropertySheetsW(node_.set(), node_.element(), &header_,
                                          static_cast<DWORD>(pages_.size()), nullptr, DIGCDP_FLAG_ADVANCED);
        header_.dwFlags = PSH_MODELESS;
        header_.pszCaption = L"Out of memory";
        if (header_.nPages == 1) window_.reset(reinterpret_cast<HWND>(PropertySheetW(&header_)));
    }
    explicit operator bool() const { return static_cast<bool>(window_); }
    HWND page() const { return PropSheet_GetCurrentPageHwnd(window_.get()); }
    void Click(int id) const { SendDlgItemMessageW(page(), id, BM_CLICK, 0, 0); }

  private:
    OpenedNode node_;
    std::array<HPROPSHEETPAGE, 20> pages_ = {};
    PROPSHEETHEADERW header_ = {};
    OwnedWindow window_;
};

class NoMemoryTest : public PackageTest {
  protected:
    void SetUp() override { ASSERT_TRUE(module_); }

    // Runs `flow` with memory for no allocation, for one, for two, until it has enough. `flow` learns whether
    // it has. What it allocates it must free.
    void WithEverMoreMemory(const std::function<void(const std::function<bool()>& refused)>& flow) {
        for (int granted = 0;; ++granted) {
            SCOPED_TRACE("memory for " + std::to_string(granted) + " allocations");
            int asked = 0;
            long blocks = 0;
            boxes_.clear();
            {
                ReplacedCall<malloc> allocate(
                    "malloc",
                    [&](size_t bytes) -> void* {
                        if (++asked > granted) return nullptr;
                        ++blocks;
                        return ReplacedCall<malloc>::Original(bytes);
                    },
                    module_.get());
                ReplacedCall<free> release(
                    "free",
                    [&](void* block) {
                        if (block != nullptr) --blocks;
                        ReplacedCall<free>::Original(block);
                    },
                    module_.get());
                flow([&] { return asked > granted; });
            }
            EXPECT_EQ(blocks, 0);
            if (asked <= granted) break;
            ASSERT_LT(granted, 1000) << "it asks for ever";
        }
    }

    DWORD Call(DI_FUNCTION function, const std::wstring& instanceId) {
        OpenedNode node =
            instanceId == kUnknownInstanceId ? OpenedNode::Unregistered(instanceId) : OpenedNode(instanceId);
        EXPECT_TRUE(node);
        return CallExport(function, node);
    }

    // The DLL that the package installs with the first device stays loaded, so that its calls can be
    // replaced.
    const LoadedLibrary module_ = LoadInstalledModule();
    std::vector<std::wstring> boxes_;

  private:
    LoadedLibrary LoadInstalledModule() {
        Plug(first);
        return LoadedLibrary(LoadLibraryW(L"tavix_coinstaller.dll"));
    }

    ReplacedCall<MessageBoxW> box_{"MessageBoxW",
                                   [this](HWND, const wchar_t* text, const wchar_t*, UINT style) {
                                       boxes_.emplace_back(text);
                                       return (style & MB_YESNO) != 0 ? IDYES : IDOK;
                                   },
                                   module_.get()};
};

TEST_F(NoMemoryTest, InstallingAnyDeviceComesBackAndMarksTheDetection) {
    struct Row {
        std::wstring node;
        DWORD result;
        bool tunes;
    };
    const Row rows[] = {{first.InstanceId(), NO_ERROR, true},
                        {VcomInstanceId(first), kPostProcessingRequired, false},
                        {kBusInstanceId, NO_ERROR, true},
                        {kUnknownInstanceId, NO_ERROR, true}};
    for (const Row& row : rows) {
        WithEverMoreMemory([&](const auto&) {
            RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kParametersKey, L"InitVMDetectDone");
            EXPECT_EQ(Call(DIF_INSTALLDEVICE, row.node), row.result);
            const LSTATUS marked = RegGetValueW(HKEY_LOCAL_MACHINE, kParametersKey, L"InitVMDetectDone",
                                                RRF_RT_REG_DWORD, nullptr, nullptr, nullptr);
            EXPECT_EQ(marked == ERROR_SUCCESS, row.tunes);
        });
    }
    const DWORD done = 1;
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, kParametersKey, L"InitVMDetectDone", REG_DWORD, &done, sizeof(done));
}

TEST_F(NoMemoryTest, EveryOtherEventComesBackToo) {
    for (const DI_FUNCTION function : {DIF_PROPERTYCHANGE, DIF_SELECTDEVICE, DIF_DESTROYPRIVATEDATA})
        for (const std::wstring& node :
             {first.InstanceId(), VcomInstanceId(first), std::wstring(kBusInstanceId)})
            WithEverMoreMemory([&](const auto&) { EXPECT_EQ(Call(function, node), DWORD{NO_ERROR}); });
}

TEST_F(NoMemoryTest, EveryDeviceGetsItsPage) {
    for (const std::wstring& node :
         {first.InstanceId(), VcomInstanceId(first), std::wstring(kBusInstanceId)}) {
        WithEverMoreMemory([&](const auto&) {
            OpenedNode opened(node);
            std::array<HPROPSHEETPAGE, 20> pages = {};
            PROPSHEETHEADERW header = {};
            header.dwSize = sizeof(header);
            header.phpage = pages.data();
            SetupDiGetClassDevPropertySheetsW(opened.set(), opened.element(), &header, 20, nullptr,
                                              DIGCDP_FLAG_ADVANCED);
            ASSERT_EQ(header.nPages, 1u);
            DestroyPropertySheetPage(pages[0]);
        });
    }
}

TEST_F(NoMemoryTest, TheVcomPageOpensAndCloses) {
    WithEverMoreMemory([&](const auto& refused) {
        {
            const VcomSheet sheet(VcomInstanceId(first));
            ASSERT_TRUE(sheet);
            EXPECT_NE(GetDlgItem(sheet.page(), IDC_VCOM_PORT_NAME), nullptr);
        }
        if (!refused()) {
            EXPECT_TRUE(boxes_.empty());
        }
    });
}

TEST_F(NoMemoryTest, TheVcomPagesTickAndRefreshSayWhenTheyCannotReadTheName) {
    const VcomSheet sheet(VcomInstanceId(first));
    ASSERT_TRUE(sheet);
    const std::vector<std::wstring> failed = {L"Error fetching device friendly name!"};
    const std::vector<std::wstring> none;
    WithEverMoreMemory([&](const auto& refused) {
        SendMessageW(sheet.page(), WM_TIMER, kVcomTimer, 0);
        EXPECT_EQ(boxes_, refused() ? failed : none);
    });
    WithEverMoreMemory([&](const auto& refused) {
        sheet.Click(IDC_VCOM_REFRESH);
        EXPECT_EQ(boxes_, refused() ? failed : none);
    });
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(sheet.page(), IDC_VCOM_SAVE))) << "the page works again";
}

TEST_F(NoMemoryTest, TheVcomPageSaves) {
    const VcomSheet sheet(VcomInstanceId(first));
    ASSERT_TRUE(sheet);
    WithEverMoreMemory([&](const auto&) {
        sheet.Click(IDC_VCOM_SERIAL_IN_NAMES);
        sheet.Click(IDC_VCOM_SAVE);
        ASSERT_FALSE(boxes_.empty());
        EXPECT_EQ(boxes_[0], L"TAVIX configuration save success.");
    });
}

}  // namespace
