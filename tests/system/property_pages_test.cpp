// The pages that the DLL adds to a device's sheet, asked for and shown the way Device Manager does it.
#include <array>
#include <vector>

#include "base/windows_api.h"

#include <commctrl.h>
#include <prsht.h>

#include "resources/resource_ids.h"
#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"

namespace {

constexpr int kIconSide = 16;  // what a sheet shows on a tab

// The pixels of a list's image on white ground.
std::vector<DWORD> PixelsOf(HIMAGELIST list, int image) {
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(info.bmiHeader), kIconSide, -kIconSide, 1, 32, BI_RGB};
    void* bits = nullptr;
    const MemoryDc memory(CreateCompatibleDC(nullptr));
    const OwnedBitmap bitmap(CreateDIBSection(memory.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    const HGDIOBJ before = SelectObject(memory.get(), bitmap.get());
    PatBlt(memory.get(), 0, 0, kIconSide, kIconSide, WHITENESS);
    EXPECT_TRUE(ImageList_Draw(list, image, memory.get(), 0, 0, ILD_NORMAL));
    GdiFlush();
    const auto* pixels = static_cast<const DWORD*>(bits);
    std::vector<DWORD> copy(pixels, pixels + kIconSide * kIconSide);
    SelectObject(memory.get(), before);
    return copy;
}

// The tab's image is the DLL's icon, as far as the sheet's own list keeps colors.
void ExpectModuleIcon(HIMAGELIST list, int image, WORD iconId) {
    const LoadedLibrary library(LoadLibraryW(L"tavix_coinstaller.dll"));
    const HICON icon = LoadIconW(library.get(), MAKEINTRESOURCEW(iconId));
    ASSERT_NE(icon, nullptr);
    const HIMAGELIST both = ImageList_Duplicate(list);
    const int expected = ImageList_ReplaceIcon(both, -1, icon);
    EXPECT_EQ(PixelsOf(both, image), PixelsOf(both, expected));
    ImageList_Destroy(both);
}

class PropertyPagesTest : public PackageTest {
  protected:
    void CollectPages(OpenedNode& node) {
        header.dwSize = sizeof(header);
        header.phpage = pages.data();
        ASSERT_TRUE(SetupDiGetClassDevPropertySheetsW(node.set(), node.element(), &header,
                                                      static_cast<DWORD>(pages.size()), nullptr,
                                                      DIGCDP_FLAG_ADVANCED))
            << "error " << GetLastError();
    }

    HWND ShowSheet() {
        header.dwFlags = PSH_MODELESS;
        header.pszCaption = L"Property pages test";
        return reinterpret_cast<HWND>(PropertySheetW(&header));
    }

    void ExpectPage(const std::wstring& instanceId, const wchar_t* title, int ownControl) {
        OpenedNode node(instanceId);
        ASSERT_TRUE(node);
        CollectPages(node);
        ASSERT_EQ(header.nPages, 1u);
        const OwnedWindow sheet(ShowSheet());
        ASSERT_TRUE(sheet);
        PumpPendingMessages();

        const HWND page = PropSheet_GetCurrentPageHwnd(sheet.get());
        ASSERT_NE(page, nullptr);
        EXPECT_NE(GetDlgItem(page, IDC_FILE_LOGGING), nullptr);
        EXPECT_NE(GetDlgItem(page, ownControl), nullptr);
        ExpectTab(PropSheet_GetTabControl(sheet.get()), title);
    }

    static void ExpectTab(HWND tabs, const wchar_t* title) {
        wchar_t text[100] = {};
        TCITEMW tab = {};
        tab.mask = TCIF_TEXT | TCIF_IMAGE;
        tab.pszText = text;
        tab.cchTextMax = 100;
        ASSERT_TRUE(SendMessageW(tabs, TCM_GETITEMW, 0, reinterpret_cast<LPARAM>(&tab)));
        EXPECT_STREQ(text, title);
        ExpectModuleIcon(TabCtrl_GetImageList(tabs), tab.iImage, IDI_TAVIX_PAGE);
    }

    std::array<HPROPSHEETPAGE, 20> pages = {};
    PROPSHEETHEADERW header = {};
};

TEST_F(PropertyPagesTest, ThePortHasTheVcomPage) {
    Plug(first);
    ExpectPage(VcomInstanceId(first), L"VCOM Settings", IDC_VCOM_PORT_NAME);
}

TEST_F(PropertyPagesTest, TheUsbDeviceHasItsPage) {
    Plug(first);
    ExpectPage(first.InstanceId(), L"USB Device Settings", IDC_USBD_MAPPING);
}

TEST_F(PropertyPagesTest, TheBusHasItsPage) {
    Plug(first);
    ExpectPage(kBusInstanceId, L"Virtual Bus Settings", IDC_VBUS_DEVELOPER_MENU);
}

TEST_F(PropertyPagesTest, APageStandsBehindThoseThatAreThere) {
    Plug(first);
    OpenedNode node(kBusInstanceId);
    ASSERT_TRUE(node);
    PROPSHEETPAGEW own = {};
    own.dwSize = sizeof(own);
    own.pszTemplate = MAKEINTRESOURCEW(1);  // never shown
    own.hInstance = GetModuleHandleW(nullptr);
    pages[0] = CreatePropertySheetPageW(&own);
    const HPROPSHEETPAGE before = pages[0];
    header.nPages = 1;
    CollectPages(node);
    EXPECT_EQ(header.nPages, 2u);
    EXPECT_EQ(pages[0], before);
    EXPECT_NE(pages[1], nullptr);
    for (UINT index = 0; index < header.nPages; ++index)
        DestroyPropertySheetPage(pages[index]);
}

TEST_F(PropertyPagesTest, AFullSheetGetsNoPage) {
    Plug(first);
    OpenedNode node(VcomInstanceId(first));
    ASSERT_TRUE(node);
    SP_ADDPROPERTYPAGE_DATA params = {};
    params.ClassInstallHeader = {sizeof(params.ClassInstallHeader), DIF_ADDPROPERTYPAGE_ADVANCED};
    params.NumDynamicPages = MAX_INSTALLWIZARD_DYNAPAGES;
    ASSERT_TRUE(SetupDiSetClassInstallParamsW(node.set(), node.element(), &params.ClassInstallHeader,
                                              sizeof(params)));
    EXPECT_EQ(CallExport(DIF_ADDPROPERTYPAGE_ADVANCED, node), static_cast<DWORD>(NO_ERROR));
    ASSERT_TRUE(SetupDiGetClassInstallParamsW(node.set(), node.element(), &params.ClassInstallHeader,
                                              sizeof(params), nullptr));
    EXPECT_EQ(params.NumDynamicPages, static_cast<DWORD>(MAX_INSTALLWIZARD_DYNAPAGES));
    for (const HPROPSHEETPAGE page : params.DynamicPages)
        EXPECT_EQ(page, nullptr);
}

TEST_F(PropertyPagesTest, TheDllStaysLoadedAsLongAsThePagesSet) {
    Plug(first);
    {
        OpenedNode node(kBusInstanceId);
        ASSERT_TRUE(node);
        CollectPages(node);
        ASSERT_EQ(header.nPages, 1u);
        EXPECT_NE(GetModuleHandleW(L"tavix_coinstaller.dll"), nullptr);
        DestroyPropertySheetPage(pages[0]);
    }
    EXPECT_EQ(GetModuleHandleW(L"tavix_coinstaller.dll"), nullptr);
}

}  // namespace
