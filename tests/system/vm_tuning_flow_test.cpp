// The whole installation, from the first plug on, on a real and on a virtual machine.
#include <string>

#include "tests/support/wait_until.h"
#include "tests/system/package_fixture.h"

namespace {

constexpr wchar_t kParametersKey[] = L"SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters";
constexpr DWORD kAbsent = MAXDWORD;

DWORD ReadParameter(const wchar_t* name) {
    DWORD value = kAbsent;
    DWORD bytes = sizeof(value);
    RegGetValueW(HKEY_LOCAL_MACHINE, kParametersKey, name, RRF_RT_REG_DWORD, nullptr, &value, &bytes);
    return value;
}

void WriteParameter(const wchar_t* name, DWORD value) {
    if (value == kAbsent)
        RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kParametersKey, name);
    else
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, kParametersKey, name, REG_DWORD, &value, sizeof(value));
}

// A number of the Parameters key: absent during the test, afterwards as before.
class Parameter {
  public:
    explicit Parameter(const wchar_t* name) : name_(name), before_(ReadParameter(name)) { Set(kAbsent); }
    ~Parameter() { Set(before_); }
    Parameter(const Parameter&) = delete;
    Parameter& operator=(const Parameter&) = delete;

    void Set(DWORD value) const { WriteParameter(name_, value); }
    DWORD Get() const { return ReadParameter(name_); }

  private:
    const wchar_t* name_;
    DWORD before_;
};

// A running program of that file name.
class GuestProcess {
  public:
    explicit GuestProcess(const wchar_t* fileName) {
        wchar_t folder[MAX_PATH] = L"";
        GetTempPathW(MAX_PATH, folder);
        path_ = std::wstring(folder) + fileName;
        EXPECT_TRUE(CopyFileW(TAVIX_GUEST_PROCESS, path_.c_str(), FALSE));
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION started = {};
        EXPECT_TRUE(CreateProcessW(path_.c_str(), nullptr, nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                                   nullptr, &startup, &started));
        CloseHandle(started.hThread);
        process_.reset(started.hProcess);
    }
    ~GuestProcess() {
        TerminateProcess(process_.get(), 0);
        WaitForSingleObject(process_.get(), kDefaultWaitMs);
        EXPECT_TRUE(
            WaitUntil("the program file to be free", [&] { return DeleteFileW(path_.c_str()) != FALSE; }));
    }
    GuestProcess(const GuestProcess&) = delete;
    GuestProcess& operator=(const GuestProcess&) = delete;

  private:
    std::wstring path_;
    KernelHandle process_;
};

class VmTuningFlow : public PackageTest {
  protected:
    // As after the installation of the driver's service: nothing was detected yet.
    const Parameter done_{L"InitVMDetectDone"};
    const Parameter dropPartialBytes_{L"isDropPartialBytesOnUsbError"};
    const Parameter clearInputDelay_{L"ClearInputDelayMillisecMinimum"};
};

TEST_F(VmTuningFlow, OnARealMachineOnlyTheDetectionIsMarked) {
    RemoveVbus();
    Plug(first);
    EXPECT_EQ(done_.Get(), 1u);
    EXPECT_EQ(dropPartialBytes_.Get(), kAbsent);
    EXPECT_EQ(clearInputDelay_.Get(), kAbsent);
}

TEST_F(VmTuningFlow, OnAVirtualMachineTheDriverIsTuned) {
    for (const wchar_t* program : {L"vmtoolsd.exe", L"VBoxTray.exe"}) {
        const GuestProcess guest(program);
        done_.Set(kAbsent);
        dropPartialBytes_.Set(kAbsent);
        clearInputDelay_.Set(kAbsent);
        RemoveNode(first.InstanceId());
        RemoveVbus();
        Plug(first);
        EXPECT_EQ(done_.Get(), 1u);
        EXPECT_EQ(dropPartialBytes_.Get(), 1u);
        EXPECT_EQ(clearInputDelay_.Get(), 300u);
    }
}

TEST_F(VmTuningFlow, AVirtualMachineThatStartsLaterIsNotNoticed) {
    RemoveVbus();
    Plug(first);
    const GuestProcess guest(L"vmtoolsd.exe");
    Plug(second);
    EXPECT_EQ(dropPartialBytes_.Get(), kAbsent);
    EXPECT_EQ(clearInputDelay_.Get(), kAbsent);
}

TEST_F(VmTuningFlow, ALongerDelayIsKept) {
    const GuestProcess guest(L"vmtoolsd.exe");
    Plug(first);
    done_.Set(kAbsent);
    clearInputDelay_.Set(500);
    Plug(second);
    EXPECT_EQ(done_.Get(), 1u);
    EXPECT_EQ(clearInputDelay_.Get(), 500u);
}

}  // namespace
