// What loading and unloading the module does, and in which order. The entry is called as a function: this
// program has the module's code inside.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/module.h"
#include "tests/support/import_redirect.h"
#include "tests/support/scratch_system_directory.h"
#include "ui/activation_context.h"
#include "ui/custom_resource.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* reserved);

namespace {

using Steps = std::vector<std::string>;

const auto kLibrary = reinterpret_cast<HMODULE>(0x5550);

class ModuleEntryTest : public testing::Test {
  protected:
    ModuleEntryTest() {
        FreeCustomResourceLibrary();
        IsolationAwareCleanup();
    }
    ~ModuleEntryTest() override {
        FreeCustomResourceLibrary();
        IsolationAwareCleanup();
        SetModuleInstance(nullptr);
    }

    BOOL Notify(DWORD reason) {
        steps_.clear();
        return DllMain(GetModuleHandleW(nullptr), reason, nullptr);
    }

    ScratchSystemDirectory system_;
    bool libraryThere_ = true;
    Steps steps_;

  private:
    bool IsCustomLibrary(const wchar_t* path) const { return path == system_.CustomLibraryPath(); }

    ReplacedCall<QueryActCtxW> query_{"QueryActCtxW", [this](auto... arguments) {
                                          steps_.push_back("context");
                                          return ReplacedCall<QueryActCtxW>::Original(arguments...);
                                      }};
    ReplacedCall<GetProcAddress> lookUp_{"GetProcAddress", [this](HMODULE module, const char* name) {
                                             if (std::string(name) == "InitCommonControls")
                                                 steps_.push_back(name);
                                             return ReplacedCall<GetProcAddress>::Original(module, name);
                                         }};
    ReplacedCall<LoadLibraryW> load_{"LoadLibraryW", [this](const wchar_t* name) -> HMODULE {
                                         if (!IsCustomLibrary(name))
                                             return ReplacedCall<LoadLibraryW>::Original(name);
                                         EXPECT_EQ(ModuleInstance(), GetModuleHandleW(nullptr));
                                         steps_.push_back("load library");
                                         return libraryThere_ ? kLibrary : nullptr;
                                     }};
    ReplacedCall<LoadStringW> text_{"LoadStringW", [](HINSTANCE, UINT, wchar_t* text, int) {
                                        text[0] = L'1';  // the switch that leaves the library unused
                                        return 1;
                                    }};
    ReplacedCall<FreeLibrary> free_{"FreeLibrary", [this](HMODULE module) {
                                        if (module != kLibrary)
                                            return ReplacedCall<FreeLibrary>::Original(module);
                                        EXPECT_NE(ModuleInstance(), nullptr);
                                        steps_.push_back("free library");
                                        return TRUE;
                                    }};
};

TEST_F(ModuleEntryTest, LoadingKeepsTheHandleThenInitializesTheControlsThenLoadsTheCustomersLibrary) {
    EXPECT_EQ(Notify(DLL_PROCESS_ATTACH), TRUE);
    EXPECT_EQ(ModuleInstance(), GetModuleHandleW(nullptr));
    EXPECT_EQ(steps_, (Steps{"context", "InitCommonControls", "load library"}));
}

TEST_F(ModuleEntryTest, UnloadingFreesTheLibraryAndForgetsTheHandle) {
    Notify(DLL_PROCESS_ATTACH);
    EXPECT_EQ(Notify(DLL_PROCESS_DETACH), TRUE);
    EXPECT_EQ(steps_, Steps{"free library"});
    EXPECT_EQ(ModuleInstance(), nullptr);
}

TEST_F(ModuleEntryTest, AMissingLibraryIsNoReasonNotToLoad) {
    libraryThere_ = false;
    EXPECT_EQ(Notify(DLL_PROCESS_ATTACH), TRUE);
    EXPECT_EQ(Notify(DLL_PROCESS_DETACH), TRUE);
    EXPECT_EQ(steps_, Steps{});
}

TEST_F(ModuleEntryTest, ThreadsThatComeAndGoChangeNothing) {
    Notify(DLL_PROCESS_ATTACH);
    for (const DWORD reason : {DLL_THREAD_ATTACH, DLL_THREAD_DETACH}) {
        EXPECT_EQ(Notify(reason), TRUE);
        EXPECT_EQ(steps_, Steps{});
        EXPECT_EQ(ModuleInstance(), GetModuleHandleW(nullptr));
    }
}

}  // namespace
