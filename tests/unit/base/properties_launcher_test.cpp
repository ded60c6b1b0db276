#include "base/properties_launcher.h"

#include <gtest/gtest.h>

#include <string>

#include "base/system_function.h"
#include "tests/support/import_redirect.h"

namespace {

HWND ownerGiven;
HINSTANCE instanceGiven;
int showGiven;
std::wstring argumentsGiven;
int shown;

void WINAPI FakeDeviceProperties(HWND owner, HINSTANCE instance, wchar_t* arguments, int show) {
    ownerGiven = owner;
    instanceGiven = instance;
    showGiven = show;
    argumentsGiven = arguments;
    ++shown;
}

const HMODULE kFakeLibrary = reinterpret_cast<HMODULE>(ULONG_PTR{0x10000});

class DeviceProperties : public testing::Test {
  protected:
    DeviceProperties() {
        shown = 0;
        ResetDeviceManagerLookup();
    }
    ~DeviceProperties() override { ResetDeviceManagerLookup(); }

    std::wstring pathLoaded_;
    std::string nameLookedUp_;
    bool libraryThere_ = true;
    bool functionThere_ = true;
    ReplacedCall<LoadLibraryW> load_{"LoadLibraryW", [this](LPCWSTR path) {
                                         pathLoaded_ = path;
                                         return libraryThere_ ? kFakeLibrary : nullptr;
                                     }};
    ReplacedCall<GetProcAddress> lookup_{
        "GetProcAddress", [this](HMODULE library, LPCSTR name) {
            EXPECT_EQ(library, kFakeLibrary);
            nameLookedUp_ = name;
            return functionThere_ ? reinterpret_cast<FARPROC>(FakeDeviceProperties) : nullptr;
        }};
};

TEST_F(DeviceProperties, TheSystemsFunctionGetsOwnerAndDevice) {
    const HWND owner = reinterpret_cast<HWND>(ULONG_PTR{0x77});
    EXPECT_TRUE(ShowDeviceManagerProperties(owner, L"USB\\VID_1234&PID_5678\\7"));
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(ownerGiven, owner);
    EXPECT_EQ(instanceGiven, nullptr);
    EXPECT_EQ(showGiven, SW_SHOW);
    EXPECT_EQ(argumentsGiven, L"/DeviceID USB\\VID_1234&PID_5678\\7");
    EXPECT_EQ(nameLookedUp_, "DeviceProperties_RunDLLW");
}

TEST_F(DeviceProperties, TheLibraryComesFromTheSystemDirectoryOnly) {
    ShowDeviceManagerProperties(nullptr, L"x");
    wchar_t system[MAX_PATH] = L"";
    GetSystemDirectoryW(system, MAX_PATH);
    EXPECT_EQ(pathLoaded_, std::wstring(system) + L"\\devmgr.dll");
}

TEST_F(DeviceProperties, TheLookUpIsMadeOnce) {
    EXPECT_TRUE(ShowDeviceManagerProperties(nullptr, L"x"));
    EXPECT_TRUE(ShowDeviceManagerProperties(nullptr, L"y"));
    EXPECT_EQ(shown, 2);
    EXPECT_EQ(load_.calls(), 1);
    EXPECT_EQ(lookup_.calls(), 1);
}

TEST_F(DeviceProperties, TheArgumentIsCutAt260CharactersTerminatorIncluded) {
    const std::wstring id(300, L'a');
    ShowDeviceManagerProperties(nullptr, id.c_str());
    EXPECT_EQ(argumentsGiven, L"/DeviceID " + id.substr(0, 249));
}

TEST_F(DeviceProperties, WithoutTheLibraryNothingIsShown) {
    libraryThere_ = false;
    EXPECT_FALSE(ShowDeviceManagerProperties(nullptr, L"x"));
    EXPECT_EQ(GetLastError(), DWORD{0xE00000EE});
    EXPECT_EQ(shown, 0);
}

TEST_F(DeviceProperties, WithoutTheFunctionNothingIsShown) {
    functionThere_ = false;
    EXPECT_FALSE(ShowDeviceManagerProperties(nullptr, L"x"));
    EXPECT_EQ(GetLastError(), DWORD{0xE00000EE});
    EXPECT_EQ(shown, 0);
}

TEST_F(DeviceProperties, WithoutASystemDirectoryNothingIsLoaded) {
    REPLACE_CALL(directory, GetSystemDirectoryW, [](LPWSTR, UINT) { return UINT{0}; });
    EXPECT_FALSE(ShowDeviceManagerProperties(nullptr, L"x"));
    EXPECT_EQ(load_.calls(), 0);
}

TEST(LoadSystemLibrary, FindsALibraryOfTheSystem) {
    EXPECT_EQ(LoadSystemLibrary(L"kernel32.dll"), GetModuleHandleW(L"kernel32.dll"));
    EXPECT_EQ(LoadSystemLibrary(L"no-such-library.dll"), nullptr);
}

}  // namespace
