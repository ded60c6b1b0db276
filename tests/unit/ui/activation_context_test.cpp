#include "ui/activation_context.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/import_redirect.h"

namespace {

const auto kPage = reinterpret_cast<HPROPSHEETPAGE>(0x1230);
const auto kLoadersContext = reinterpret_cast<HANDLE>(0x4560);
const auto kOwnContext = reinterpret_cast<HANDLE>(0x7890);

// A system whose answers the test chooses and whose calls it sees in order. Starts as one in which the loader
// has made a context for the module.
class ActivationContextTest : public testing::Test {
  protected:
    ActivationContextTest() { IsolationAwareCleanup(); }
    ~ActivationContextTest() override { IsolationAwareCleanup(); }

    static INT_PTR CALLBACK NoDialog(HWND, UINT, WPARAM, LPARAM) { return FALSE; }

    HPROPSHEETPAGE CreatePage() {
        calls_.clear();
        const PROPSHEETPAGEW description = {};
        return IsolationAwareCreatePropertySheetPageW(&description);
    }

    BOOL queryResult_ = TRUE;
    HANDLE loadersContext_ = kLoadersContext;
    HANDLE createdContext_ = INVALID_HANDLE_VALUE;
    DWORD createError_ = ERROR_RESOURCE_NAME_NOT_FOUND;
    BOOL activateResult_ = TRUE;
    BOOL redirected_ = TRUE;
    HANDLE activated_ = nullptr;
    ACTCTXW request_ = {};
    std::vector<std::string> calls_;
    std::vector<std::string> debugTexts_;

  private:
    ReplacedCall<QueryActCtxW> query_{
        "QueryActCtxW",
        [this](DWORD flags, HANDLE address, PVOID, ULONG what, PVOID buffer, SIZE_T, SIZE_T*) {
            calls_.push_back("query");
            EXPECT_EQ(flags, DWORD{QUERY_ACTCTX_FLAG_ACTCTX_IS_ADDRESS | QUERY_ACTCTX_FLAG_NO_ADDREF});
            EXPECT_EQ(what, ULONG{ActivationContextBasicInformation});
            MEMORY_BASIC_INFORMATION place = {};
            VirtualQuery(address, &place, sizeof(place));
            EXPECT_EQ(place.AllocationBase, GetModuleHandleW(nullptr));
            static_cast<ACTIVATION_CONTEXT_BASIC_INFORMATION*>(buffer)->hActCtx = loadersContext_;
            return queryResult_;
        }};
    ReplacedCall<CreateActCtxW> create_{"CreateActCtxW", [this](PCACTCTXW request) {
                                            calls_.push_back("create");
                                            request_ = *request;
                                            SetLastError(createError_);
                                            return createdContext_;
                                        }};
    ReplacedCall<ReleaseActCtx> release_{"ReleaseActCtx", [this](HANDLE context) {
                                             calls_.push_back("release");
                                             EXPECT_EQ(context, kOwnContext);
                                         }};
    ReplacedCall<ActivateActCtx> activate_{"ActivateActCtx", [this](HANDLE context, ULONG_PTR* cookie) {
                                               calls_.push_back("activate");
                                               activated_ = context;
                                               *cookie = 77;
                                               return activateResult_;
                                           }};
    ReplacedCall<DeactivateActCtx> deactivate_{"DeactivateActCtx", [this](DWORD, ULONG_PTR cookie) {
                                                   calls_.push_back("deactivate");
                                                   EXPECT_EQ(cookie, ULONG_PTR{77});
                                                   SetLastError(1);
                                                   return TRUE;
                                               }};
    ReplacedCall<FindActCtxSectionStringW> find_{
        "FindActCtxSectionStringW",
        [this](DWORD, const GUID*, ULONG section, const wchar_t* name, PACTCTX_SECTION_KEYED_DATA) {
            calls_.push_back("find");
            EXPECT_EQ(section, ULONG{ACTIVATION_CONTEXT_SECTION_DLL_REDIRECTION});
            EXPECT_STREQ(name, L"Comctl32.dll");
            return redirected_;
        }};
    ReplacedCall<LoadLibraryW> load_{"LoadLibraryW", [this](const wchar_t* name) {
                                         calls_.push_back("load");
                                         return ReplacedCall<LoadLibraryW>::Original(name);
                                     }};
    ReplacedCall<OutputDebugStringA> debug_{"OutputDebugStringA",
                                            [this](const char* text) { debugTexts_.push_back(text); }};
    ReplacedCall<CreatePropertySheetPageW> page_{"CreatePropertySheetPageW", [this](const PROPSHEETPAGEW*) {
                                                     calls_.push_back("page");
                                                     SetLastError(4711);
                                                     return kPage;
                                                 }};
    ReplacedCall<DialogBoxParamW> box_{"DialogBoxParamW",
                                       [this](HINSTANCE, const wchar_t*, HWND, DLGPROC, LPARAM param) {
                                           calls_.push_back("box");
                                           return static_cast<INT_PTR>(param);
                                       }};
};

using Calls = std::vector<std::string>;

TEST_F(ActivationContextTest, TheFirstUseFindsTheLoadersContextAndBindsTheRedirectedControls) {
    EXPECT_EQ(CreatePage(), kPage);
    EXPECT_EQ(calls_,
              (Calls{"query", "activate", "find", "load", "deactivate", "activate", "page", "deactivate"}));
    EXPECT_EQ(activated_, kLoadersContext);
}

TEST_F(ActivationContextTest, LaterUsesKeepWhatIsSettled) {
    CreatePage();
    EXPECT_EQ(CreatePage(), kPage);
    EXPECT_EQ(calls_, (Calls{"activate", "page", "deactivate"}));
}

TEST_F(ActivationContextTest, NothingIsLoadedWithoutARedirection) {
    redirected_ = FALSE;
    CreatePage();
    EXPECT_EQ(calls_, (Calls{"query", "activate", "find", "deactivate", "activate", "page", "deactivate"}));
}

TEST_F(ActivationContextTest, AModuleWithoutAContextTriesItsManifestResource3) {
    loadersContext_ = nullptr;
    createdContext_ = kOwnContext;
    EXPECT_EQ(CreatePage(), kPage);
    EXPECT_EQ(request_.dwFlags, DWORD{ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID});
    EXPECT_EQ(request_.hModule, GetModuleHandleW(nullptr));
    EXPECT_EQ(request_.lpResourceName, MAKEINTRESOURCEW(3));
    EXPECT_EQ(activated_, kOwnContext);
    calls_.clear();
    IsolationAwareCleanup();
    EXPECT_EQ(calls_, Calls{"release"});
}

TEST_F(ActivationContextTest, WithoutAManifestTheCallsRunInTheDefaultContext) {
    loadersContext_ = nullptr;
    for (const DWORD error : {ERROR_RESOURCE_DATA_NOT_FOUND, ERROR_RESOURCE_TYPE_NOT_FOUND,
                              ERROR_RESOURCE_NAME_NOT_FOUND, ERROR_RESOURCE_LANG_NOT_FOUND}) {
        createError_ = error;
        activated_ = kOwnContext;
        IsolationAwareCleanup();
        EXPECT_EQ(CreatePage(), kPage) << error;
        EXPECT_EQ(activated_, nullptr) << error;
    }
}

TEST_F(ActivationContextTest, AContextThatCannotBeMadeFailsTheCalls) {
    loadersContext_ = nullptr;
    createError_ = ERROR_NOT_ENOUGH_MEMORY;
    EXPECT_EQ(CreatePage(), nullptr);
    EXPECT_EQ(calls_, (Calls{"query", "create"}));
}

TEST_F(ActivationContextTest, AnUnansweredQueryFailsTheCallsAndIsAskedAgain) {
    queryResult_ = FALSE;
    EXPECT_EQ(CreatePage(), nullptr);
    EXPECT_EQ(calls_, Calls{"query"});
    queryResult_ = TRUE;
    EXPECT_EQ(CreatePage(), kPage);
}

TEST_F(ActivationContextTest, AContextThatCannotBeActivatedFailsEachCallItsOwnWay) {
    CreatePage();
    activateResult_ = FALSE;
    calls_.clear();
    EXPECT_EQ(CreatePage(), nullptr);
    EXPECT_EQ(IsolationAwareDialogBoxParamW(nullptr, nullptr, nullptr, NoDialog, 5), -1);
    EXPECT_EQ(IsolationAwareLoadLibraryW(L"version.dll"), nullptr);
    IsolationAwareInitCommonControls();
    EXPECT_EQ(calls_, (Calls{"activate", "activate", "activate", "activate"}));
}

TEST_F(ActivationContextTest, ADialogBoxReturnsItsOwnResult) {
    EXPECT_EQ(IsolationAwareDialogBoxParamW(nullptr, nullptr, nullptr, NoDialog, 42), 42);
    EXPECT_EQ(calls_.back(), "deactivate");
}

TEST_F(ActivationContextTest, TheCallsLastErrorOutlivesTheDeactivation) {
    CreatePage();
    EXPECT_EQ(GetLastError(), DWORD{4711});
}

TEST_F(ActivationContextTest, ALibraryIsLoadedInsideTheContext) {
    CreatePage();
    calls_.clear();
    const HMODULE library = IsolationAwareLoadLibraryW(L"version.dll");
    EXPECT_NE(library, nullptr);
    FreeLibrary(library);
    EXPECT_EQ(calls_, (Calls{"activate", "load", "deactivate"}));
}

TEST_F(ActivationContextTest, CommonControlsAreLookedUpOnce) {
    redirected_ = FALSE;
    int lookUps = 0;
    REPLACE_CALL(lookUp, GetProcAddress, [&](HMODULE module, const char* name) {
        EXPECT_STREQ(name, "InitCommonControls");
        ++lookUps;
        return ReplacedCall<GetProcAddress>::Original(module, name);
    });
    IsolationAwareInitCommonControls();
    EXPECT_EQ(calls_, (Calls{"query", "activate", "find", "deactivate", "activate", "load", "deactivate"}));
    calls_.clear();
    IsolationAwareInitCommonControls();
    EXPECT_EQ(calls_, (Calls{"activate", "deactivate"}));
    EXPECT_EQ(lookUps, 1);
}

TEST_F(ActivationContextTest, OtherFunctionsAreLookedUpInTheSameLibrary) {
    std::vector<HMODULE> asked;
    REPLACE_CALL(lookUp, GetProcAddress, [&](HMODULE module, const char* name) {
        EXPECT_STREQ(name, "ImageList_Create");
        asked.push_back(module);
        return ReplacedCall<GetProcAddress>::Original(module, name);
    });
    EXPECT_NE(IsolationAwareCommonControlsFunction("ImageList_Create"), nullptr);
    EXPECT_EQ(calls_, (Calls{"query", "activate", "find", "load", "deactivate", "activate", "deactivate"}));
    EXPECT_EQ(asked, std::vector<HMODULE>{GetModuleHandleW(L"comctl32.dll")});
    activateResult_ = FALSE;
    EXPECT_EQ(IsolationAwareCommonControlsFunction("ImageList_Create"), nullptr);
}

TEST_F(ActivationContextTest, AMissingInitFunctionIsNotCalled) {
    REPLACE_CALL(lookUp, GetProcAddress, [](HMODULE, const char*) -> FARPROC { return nullptr; });
    IsolationAwareInitCommonControls();
    EXPECT_EQ(calls_.back(), "deactivate");
}

TEST_F(ActivationContextTest, AUseAfterCleanUpComplainsAndSettlesTheContextAgain) {
    CreatePage();
    debugTexts_.clear();
    IsolationAwareCleanup();
    EXPECT_EQ(CreatePage(), kPage);
    EXPECT_EQ(debugTexts_, (Calls{"IsolationAware function called after IsolationAwareCleanup\n"}));
    EXPECT_EQ(calls_.front(), "query");
    CreatePage();
    EXPECT_EQ(debugTexts_.size(), 1u);
}

}  // namespace
