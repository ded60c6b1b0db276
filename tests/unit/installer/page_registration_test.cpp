#include "installer/page_registration.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "base/module.h"
#include "base/xfmt.h"
#include "pages/device_page.h"
#include "resources/resource_ids.h"
#include "tests/unit/installer/fake_element.h"
#include "tests/unit/installer/trace_recorder.h"

namespace {

using AddPageParams = SP_ADDPROPERTYPAGE_DATA;

const auto kPage = reinterpret_cast<HPROPSHEETPAGE>(0xABCD0);
const auto kIcon = reinterpret_cast<HICON>(0x10C0);

int destroyedParams;
struct CountedParams : TavixProspageParam_base {
    ~CountedParams() override { ++destroyedParams; }
};

INT_PTR CALLBACK SomeDialogProcedure(HWND, UINT, WPARAM, LPARAM) {
    return FALSE;
}

class PageRegistrationTest : public testing::Test {
  protected:
    PageRegistrationTest() {
        destroyedParams = 0;
        AddPageParams sheet = {};
        sheet.ClassInstallHeader = {8, DIF_ADDPROPERTYPAGE_ADVANCED};
        element_.SetClassParams(sheet);
    }

    void FillSheet(DWORD pages) {
        auto sheet = element_.ClassParams<AddPageParams>();
        sheet.NumDynamicPages = pages;
        element_.SetClassParams(sheet);
    }

    DWORD Add(HDEVINFO set = FakeElement::kSet) {
        return tavix_DIF_ADDPROPERTYPAGE_ADVANCED(
            {DIF_ADDPROPERTYPAGE_ADVANCED, set, &element_.data, nullptr}, IDD_USBD_PAGE, SomeDialogProcedure,
            params_);
    }

    FakeElement element_;
    TraceRecorder trace_;
    bool pageCanBeCreated_ = true;
    int pagesCreated_ = 0;
    int activeContexts_ = 0;
    int contextsAtCreation_ = 0;
    BYTE description_[104] = {};
    std::unique_ptr<TavixProspageParam_base> params_ = std::make_unique<CountedParams>();
    TavixProspageParam_base* const object_ = params_.get();

  private:
    ReplacedCall<CreatePropertySheetPageW> createPage_{
        "CreatePropertySheetPageW", [this](const PROPSHEETPAGEW* description) -> HPROPSHEETPAGE {
            ++pagesCreated_;
            contextsAtCreation_ = activeContexts_;
            std::memcpy(description_, description, sizeof(description_));
            return pageCanBeCreated_ ? kPage : nullptr;
        }};
    ReplacedCall<ActivateActCtx> activate_{"ActivateActCtx", [this](HANDLE context, ULONG_PTR* cookie) {
                                               ++activeContexts_;
                                               return ActivateActCtx(context, cookie);
                                           }};
    ReplacedCall<DeactivateActCtx> deactivate_{"DeactivateActCtx", [this](DWORD flags, ULONG_PTR cookie) {
                                                   --activeContexts_;
                                                   return DeactivateActCtx(flags, cookie);
                                               }};
    ReplacedCall<LoadIconW> loadIcon_{"LoadIconW", [](HINSTANCE instance, const wchar_t* name) {
                                          EXPECT_EQ(instance, ModuleInstance());
                                          EXPECT_EQ(name, MAKEINTRESOURCEW(104));
                                          return kIcon;
                                      }};
};

TEST_F(PageRegistrationTest, DescribesThePageFieldByField) {
    EXPECT_EQ(Add(), DWORD{NO_ERROR});
    PROPSHEETPAGEW page;
    std::memcpy(&page, description_, sizeof(page));
    EXPECT_EQ(page.dwSize, DWORD{104});
    EXPECT_EQ(page.dwFlags, DWORD{0x82});
    EXPECT_EQ(page.hInstance, ModuleInstance());
    EXPECT_EQ(page.pszTemplate, MAKEINTRESOURCEW(201));
    EXPECT_EQ(page.hIcon, kIcon);
    EXPECT_EQ(page.pszTitle, nullptr);
    EXPECT_EQ(page.pfnDlgProc, &SomeDialogProcedure);
    EXPECT_EQ(page.lParam, reinterpret_cast<LPARAM>(object_));
    EXPECT_EQ(reinterpret_cast<void*>(page.pfnCallback), reinterpret_cast<void*>(ProspageCallback));
    EXPECT_EQ(page.pcRefParent, nullptr);
    EXPECT_EQ(page.pszHeaderTitle, nullptr);
    EXPECT_EQ(page.pszHeaderSubTitle, nullptr);
    EXPECT_EQ(page.hActCtx, nullptr);
    for (size_t place = sizeof(page); place < sizeof(description_); ++place)
        EXPECT_EQ(description_[place], 0) << place;
}

TEST_F(PageRegistrationTest, ThePageIsCreatedInTheModulesActivationContext) {
    Add();
    EXPECT_EQ(contextsAtCreation_, 1);
    EXPECT_EQ(activeContexts_, 0);
}

TEST_F(PageRegistrationTest, TheObjectRemembersTheCall) {
    Add();
    EXPECT_EQ(object_->deviceInfoSet, FakeElement::kSet);
    EXPECT_EQ(object_->deviceInfoData, &element_.data);
}

TEST_F(PageRegistrationTest, TheObjectIsTraced) {
    wchar_t line[200];
    xfmt(line, 200, L"In tavix_DIF_ADDPROPERTYPAGE_ADVANCED(), TavixProspageParam_base @ 0x%p", object_);
    pageCanBeCreated_ = false;
    Add();
    EXPECT_EQ(trace_.lines(), std::vector<std::wstring>{line});
}

TEST_F(PageRegistrationTest, APageThatExistsOwnsTheObject) {
    Add();
    EXPECT_EQ(params_, nullptr);
    EXPECT_EQ(destroyedParams, 0);
}

TEST_F(PageRegistrationTest, ReadsAndWritesTheWholeParameters) {
    Add();
    EXPECT_EQ(element_.classParamsReadBytes, DWORD{192});
    EXPECT_EQ(element_.classParamsHeaderBytes, DWORD{8});
    EXPECT_EQ(element_.classParams.size(), 192u);
}

TEST_F(PageRegistrationTest, ThePageTakesTheNextPlace) {
    auto before = element_.ClassParams<AddPageParams>();
    before.Flags = 5;
    before.DynamicPages[0] = reinterpret_cast<HPROPSHEETPAGE>(0x1);
    before.NumDynamicPages = 1;
    before.hwndWizardDlg = reinterpret_cast<HWND>(0x99);
    element_.SetClassParams(before);
    Add();
    const auto after = element_.ClassParams<AddPageParams>();
    EXPECT_EQ(after.NumDynamicPages, DWORD{2});
    EXPECT_EQ(after.DynamicPages[0], reinterpret_cast<HPROPSHEETPAGE>(0x1));
    EXPECT_EQ(after.DynamicPages[1], kPage);
    EXPECT_EQ(after.DynamicPages[2], nullptr);
    EXPECT_EQ(after.Flags, DWORD{5});
    EXPECT_EQ(after.hwndWizardDlg, reinterpret_cast<HWND>(0x99));
}

TEST_F(PageRegistrationTest, TheTwentiethPageIsTheLast) {
    FillSheet(19);
    EXPECT_EQ(Add(), DWORD{NO_ERROR});
    const auto sheet = element_.ClassParams<AddPageParams>();
    EXPECT_EQ(sheet.NumDynamicPages, DWORD{20});
    EXPECT_EQ(sheet.DynamicPages[19], kPage);
}

TEST_F(PageRegistrationTest, AFullSheetGetsNoPage) {
    for (const DWORD pages : {20ul, 21ul, 0x7FFFFFFFul, 0xFFFFFFFFul}) {
        FillSheet(pages);
        EXPECT_EQ(Add(), DWORD{NO_ERROR});
        EXPECT_EQ(element_.ClassParams<AddPageParams>().NumDynamicPages, pages);
    }
    EXPECT_EQ(pagesCreated_, 0);
    EXPECT_EQ(element_.classParamsWrites, 0);
    EXPECT_NE(params_, nullptr) << "the caller keeps the object";
}

TEST_F(PageRegistrationTest, ANullSetGetsNoPage) {
    EXPECT_EQ(Add(nullptr), DWORD{NO_ERROR});
    EXPECT_EQ(pagesCreated_, 0);
    EXPECT_NE(params_, nullptr);
    EXPECT_EQ(trace_.lines(), std::vector<std::wstring>{
                                  L"DIF_ADDPROPERTYPAGE_ADVANCED: DeviceInfoSet==NULL. Will do nothing."});
}

TEST_F(PageRegistrationTest, UnreadableParametersGetNoPage) {
    element_.classParams.clear();
    EXPECT_EQ(Add(), DWORD{NO_ERROR});
    EXPECT_EQ(pagesCreated_, 0);
    EXPECT_NE(params_, nullptr);
}

TEST_F(PageRegistrationTest, ParametersThatAreTooLargeGetNoPage) {
    element_.classParams.resize(200);
    EXPECT_EQ(Add(), DWORD{NO_ERROR});
    EXPECT_EQ(pagesCreated_, 0);
    EXPECT_NE(params_, nullptr);
}

TEST_F(PageRegistrationTest, ParametersThatAreTooSmallReadAsAnEmptySheet) {
    element_.classParams.resize(12);
    EXPECT_EQ(Add(), DWORD{NO_ERROR});
    EXPECT_EQ(element_.ClassParams<AddPageParams>().NumDynamicPages, DWORD{1});
}

TEST_F(PageRegistrationTest, APageThatCannotBeCreatedLeavesTheObjectToTheCaller) {
    pageCanBeCreated_ = false;
    EXPECT_EQ(Add(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_NE(params_, nullptr);
    EXPECT_EQ(destroyedParams, 0);
    EXPECT_EQ(element_.classParamsWrites, 0);
}

TEST_F(PageRegistrationTest, ARefusedWriteBackIsIgnored) {
    element_.classParamsWritable = false;
    EXPECT_EQ(Add(), DWORD{NO_ERROR});
    EXPECT_EQ(element_.classParamsWrites, 1);
    EXPECT_EQ(params_, nullptr);
    delete object_;
}

TEST_F(PageRegistrationTest, APageMayBeCreatedWithoutAnObject) {
    params_.reset();
    EXPECT_EQ(Add(), DWORD{NO_ERROR});
    PROPSHEETPAGEW page;
    std::memcpy(&page, description_, sizeof(page));
    EXPECT_EQ(page.lParam, 0);
    EXPECT_EQ(element_.ClassParams<AddPageParams>().NumDynamicPages, DWORD{1});
}

}  // namespace
