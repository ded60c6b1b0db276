// "&Export .reg" of the global settings dialog, with the platform's own reg.exe and with one that misbehaves.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/windows_api.h"

#include <shellapi.h>
#include <shlobj.h>

#include "base/win32_handle.h"
#include "driver/vbus.h"
#include "resources/resource_ids.h"
#include "state/driver_params.h"
#include "tests/support/temporary_file.h"
#include "tests/system/global_settings_fixture.h"
#include "tools/registry_export.h"

namespace {

using Names = std::vector<std::wstring>;
using Content = std::map<std::wstring, std::pair<DWORD, std::vector<BYTE>>>;

constexpr wchar_t kMessage[] = L"TAVIX Message";
constexpr wchar_t kErrorTitle[] = L"TAVIX meets error";
constexpr wchar_t kWholeKey[] = L"HKLM\\SYSTEM\\CurrentControlSet\\services\\Qrv_tavix\\Parameters";
constexpr wchar_t kSaveFailed[] = L"Save TAVIX global settings error. No .reg exported.";
constexpr wchar_t kFailed[] = L"Error exporting registry file. The following command failed:\n\n";

RegistryKey OpenParameters() {
    RegistryKey key;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDriverParametersKey, 0, KEY_ALL_ACCESS, key.put());
    return key;
}

// Every value of the Parameters key with its type.
Content ReadParameters() {
    Content content;
    const RegistryKey key = OpenParameters();
    std::vector<BYTE> data(65536);
    for (DWORD index = 0;; ++index) {
        wchar_t name[256] = L"";
        DWORD nameChars = 256;
        DWORD type = 0;
        auto dataBytes = static_cast<DWORD>(data.size());
        if (RegEnumValueW(key.get(), index, name, &nameChars, nullptr, &type, data.data(), &dataBytes) !=
            ERROR_SUCCESS)
            return content;
        content[name] = {type, {data.begin(), data.begin() + dataBytes}};
    }
}

std::wstring ProfileFile() {
    wchar_t folder[MAX_PATH] = L"";
    SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, SHGFP_TYPE_CURRENT, folder);
    return std::wstring(folder) + L"\\tavix-global.reg";
}

std::wstring CommandFor(const std::wstring& file, const wchar_t* last) {
    return std::wstring(L"reg.exe export \"") + kWholeKey + L"\" \"" + file + L"\" " + last;
}

DWORD RunCommand(std::wstring command) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                        &startup, &started))
        return GetLastError();
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    EXPECT_EQ(WaitForSingleObject(process.get(), 20000), WAIT_OBJECT_0);
    DWORD exitCode = 1;
    GetExitCodeProcess(process.get(), &exitCode);
    return exitCode;
}

class RegistryExport : public GlobalSettingsTest {
  protected:
    void SetUp() override {
        GlobalSettingsTest::SetUp();
        DeleteFileW(ProfileFile().c_str());
    }
    void TearDown() override {
        DeleteFileW(ProfileFile().c_str());
        if (const RegistryKey key = OpenParameters()) {
            RegDeleteValueW(key.get(), kParamExportVersion);
            RegDeleteValueW(key.get(), kParamExportUnixEpoch);
        }
        GlobalSettingsTest::TearDown();
    }

    // Opens the dialog and presses the button.
    void Export(const std::function<void()>& before = [] {}) {
        Open([&] {
            before();
            dialog_.Click(IDC_GLOBAL_EXPORT);
            EXPECT_TRUE(IsOpen());
        });
    }
    void ExpectQuestion(int answer) { modal_.ExpectBox(kMessage).Press(answer); }
    void ExpectError() { modal_.ExpectBox(kErrorTitle).Press(IDOK); }
};

// reg.exe that only writes down how it is called, or another program in its place.
class ReplacedReg {
  public:
    explicit ReplacedReg(std::wstring program = {}) : program_(std::move(program)) {}
    const std::vector<std::wstring>& commands() const { return commands_; }

  private:
    BOOL OnStart(LPCWSTR application, LPWSTR command, LPSECURITY_ATTRIBUTES process,
                 LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment, LPCWSTR folder,
                 LPSTARTUPINFOW startup, LPPROCESS_INFORMATION started) {
        commands_.emplace_back(command);
        if (program_.empty()) {
            SetLastError(ERROR_FILE_NOT_FOUND);
            return FALSE;
        }
        std::wstring writable = program_;
        return CreateProcessW(application, writable.data(), process, thread, inherit, flags, environment,
                              folder, startup, started);
    }

    std::wstring program_;
    std::vector<std::wstring> commands_;
    ReplacedCall<CreateProcessW> start_{"CreateProcessW",
                                        [this](auto... arguments) { return OnStart(arguments...); }};
};

TEST_F(RegistryExport, WritesAFileThatImportsToTheSameKey) {
    const std::wstring file = ProfileFile();
    ExpectQuestion(IDNO);
    Export();
    EXPECT_EQ(LastBoxText(), L"TAVIX global settings export success. Exported registry file is:\n\n" + file +
                                 L"\n\nOpen that folder?");
    const Content exported = ReadParameters();
    ASSERT_GE(exported.size(), 4u);
    ASSERT_EQ(exported.count(kParamExportVersion), 1u);

    // Lost and changed values come back.
    const RegistryKey key = OpenParameters();
    ASSERT_EQ(RegDeleteValueW(key.get(), kParamExportVersion), ERROR_SUCCESS);
    ASSERT_EQ(RegDeleteValueW(key.get(), kParamVmwareProcesses), ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExW(key.get(), kParamExportUnixEpoch, 0, REG_SZ, nullptr, 0), ERROR_SUCCESS);
    ASSERT_NE(ReadParameters(), exported);
    EXPECT_EQ(RunCommand(L"reg.exe import \"" + file + L"\""), 0u);
    EXPECT_EQ(ReadParameters(), exported);
}

TEST_F(RegistryExport, MarksTheKeyWithVersionAndTime) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    DriverVersion_st version = {};
    version.major = 1;
    version.minor = 7;
    version.build = 42;
    version.debugBuild = 1;
    ASSERT_EQ(driver_.SetVersion(version), ERROR_SUCCESS);
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    const uint64_t before =
        ((uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime) / 10000000) - 11644473600;
    ExpectQuestion(IDNO);
    Export();
    const Content content = ReadParameters();
    const auto& [versionType, versionData] = content.at(L"ExportVersion");
    EXPECT_EQ(versionType, DWORD{REG_SZ});
    EXPECT_STREQ(reinterpret_cast<const wchar_t*>(versionData.data()), L"TAVIX 1.7.42 (Debug)");
    const auto& [timeType, timeData] = content.at(L"ExportUnixEpoch");
    EXPECT_EQ(timeType, DWORD{REG_QWORD});
    ASSERT_EQ(timeData.size(), 8u);
    const uint64_t seconds = *reinterpret_cast<const uint64_t*>(timeData.data());
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, before + 60);
}

TEST_F(RegistryExport, SavesFirst) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    GlobalCfg_st global = {};
    ASSERT_EQ(driver_.SetGlobalCfg(global), ERROR_SUCCESS);
    ExpectQuestion(IDNO);
    Export([this] {
        dialog_.Click(IDC_GLOBAL_IPRODUCT_IN_NAMES);
        TakeRequests();
    });
    EXPECT_EQ(SentRecord().preferProductText, 1);
    EXPECT_EQ(TakeRequests(), (Names{L"SetGlobalCfg", L"GetDriverVersion"}));
    ASSERT_EQ(reg.commands().size(), 1u);
    EXPECT_EQ(reg.commands()[0], CommandFor(ProfileFile(), L"/y"));
}

// What was saved is what the next save starts from.
TEST_F(RegistryExport, LeavesTheDialogReadyForTheNextSave) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    GlobalCfg_st global = {};
    global.clearInputOnOpen = 1;
    global.preferredPorts[0] = L'C';
    ASSERT_EQ(driver_.SetGlobalCfg(global), ERROR_SUCCESS);
    ExpectQuestion(IDNO);
    const GlobalCfg_st sent = OpenAndSave([this] {
        dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 1);
        dialog_.Click(IDC_GLOBAL_PREFER_PORT_NAMES);
        dialog_.Click(IDC_GLOBAL_EXPORT);
        EXPECT_EQ(SentRecord().clearInputOnOpen, 0);
        EXPECT_EQ(SentRecord().preferredPorts[0], L'\0');
        dialog_.Select(IDC_GLOBAL_PREFETCH_MODE, 0);
        EXPECT_EQ(CheckOf(IDC_GLOBAL_CLEAR_INPUT), UINT{BST_CHECKED});
        dialog_.Click(IDC_GLOBAL_PREFER_PORT_NAMES);
        EXPECT_EQ(dialog_.Text(IDC_GLOBAL_PORT_NAMES), L"C");
    });
    EXPECT_EQ(sent.clearInputOnOpen, 1);
    EXPECT_EQ(sent.preferredPorts[0], L'C');
    EXPECT_EQ(sent.preferredPorts[1], L'\0');
}

// Left alone the two fields would keep the short delay; switched off they are zeros.
TEST_F(RegistryExport, SwitchingBackAfterItIsAChange) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    GlobalCfg_st global = {};
    global.clearInputDelayMinimumMs = 77;
    ASSERT_EQ(driver_.SetGlobalCfg(global), ERROR_SUCCESS);
    ExpectQuestion(IDNO);
    const GlobalCfg_st sent = OpenAndSave([this] {
        dialog_.Click(IDC_GLOBAL_VIRTUAL_MACHINE);
        dialog_.Click(IDC_GLOBAL_EXPORT);
        EXPECT_EQ(SentRecord().clearInputDelayMinimumMs, 300u);
        while (CheckOf(IDC_GLOBAL_VIRTUAL_MACHINE) != BST_UNCHECKED)
            dialog_.Click(IDC_GLOBAL_VIRTUAL_MACHINE);
    });
    EXPECT_EQ(sent.dropPartialBytes, 0u);
    EXPECT_EQ(sent.clearInputDelayMinimumMs, 0u);
}

TEST_F(RegistryExport, AnOldRegReplacesWithoutBeingTold) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    REPLACE_CALL(version, GetVersionExW, [](OSVERSIONINFOW* information) {
        information->dwMajorVersion = 5;
        return TRUE;
    });
    ExpectQuestion(IDNO);
    Export();
    ASSERT_EQ(reg.commands().size(), 1u);
    EXPECT_EQ(reg.commands()[0], CommandFor(ProfileFile(), L""));
}

TEST_F(RegistryExport, YesShowsTheFileInItsFolder) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    std::wstring program;
    std::wstring parameters;
    REPLACE_CALL(execute, ShellExecuteExW, [&](SHELLEXECUTEINFOW* request) {
        program = request->lpFile;
        parameters = request->lpParameters;
        return TRUE;
    });
    ExpectQuestion(IDYES);
    Export();
    EXPECT_EQ(program, L"Explorer.exe");
    EXPECT_EQ(parameters, L"/select," + ProfileFile());
}

TEST_F(RegistryExport, NoOpensNothing) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    REPLACE_CALL(execute, ShellExecuteExW, [](SHELLEXECUTEINFOW*) { return TRUE; });
    ExpectQuestion(IDNO);
    Export();
    EXPECT_EQ(execute.calls(), 0);
    EXPECT_EQ(modal_.boxes().back().Buttons(), (std::vector<int>{IDYES, IDNO}));
}

// ---- failures ----

TEST_F(RegistryExport, StopsWhenSavingFails) {
    const ReplacedReg reg;
    Export([this] {
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetGlobalCfg, static_cast<int32_t>(0xC0000001)),
                  ERROR_SUCCESS);
        modal_.ExpectBox(kMessage).Press(IDOK);
        ExpectError();
        TakeRequests();
    });
    const std::vector<BoxRecord> boxes = modal_.boxes();
    ASSERT_EQ(boxes.size(), 2u);
    EXPECT_EQ(boxes[0].text, L"Error calling AllGlb_SaveDlgInfo(). UfAppErr=2(UfAppErr_Unknown).");
    EXPECT_EQ(boxes[1].text, kSaveFailed);
    EXPECT_EQ(boxes[1].icon, UINT{MB_ICONERROR});
    EXPECT_EQ(TakeRequests(), (Names{L"SetGlobalCfg"}));
    EXPECT_TRUE(reg.commands().empty());
    EXPECT_EQ(ReadParameters().count(kParamExportVersion), 0u);
}

// The owner goes and takes the dialog with it while the message about the save is open.
TEST_F(RegistryExport, ADialogThatIsGoneAfterTheSaveExportsNothing) {
    const ReplacedReg reg;
    SetExportAfterFailedSave(true);
    Open([this] {
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetGlobalCfg, static_cast<int32_t>(0xC0000001)),
                  ERROR_SUCCESS);
        modal_.ExpectBox(kMessage).Do([this, thread = GetCurrentThreadId()](BoxView&) {
            SendMessageW(owner_.release(), WM_CLOSE, 0, 0);
            // The box's loop looks for its window only after a message.
            PostThreadMessageW(thread, WM_NULL, 0, 0);
        });
        dialog_.Click(IDC_GLOBAL_EXPORT);
    });
    EXPECT_EQ(modal_.boxes().size(), 1u);
    EXPECT_TRUE(reg.commands().empty());
}

TEST_F(RegistryExport, GoesOnAfterAFailedSaveWhenTold) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    SetExportAfterFailedSave(true);
    Export([this] {
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_SetGlobalCfg, static_cast<int32_t>(0xC0000001)),
                  ERROR_SUCCESS);
        modal_.ExpectBox(kMessage).Press(IDOK);
        ExpectQuestion(IDNO);
    });
    EXPECT_EQ(reg.commands().size(), 1u);
}

TEST_F(RegistryExport, StopsWithoutAVersion) {
    const ReplacedReg reg;
    Export([this] {
        ASSERT_EQ(driver_.FailNext(IOCTL_TAVIX_GetDriverVersion, static_cast<int32_t>(0xC0000001)),
                  ERROR_SUCCESS);
        modal_.ExpectBox(kMessage).Press(IDOK);
    });
    EXPECT_EQ(LastBoxText(), L"Get TAVIX version fail. WinErr=31");
    EXPECT_TRUE(reg.commands().empty());
}

struct BadRegRow {
    const char* name;
    const wchar_t* program;
};
void PrintTo(const BadRegRow& row, std::ostream* out) {
    *out << row.name;
}

class BadReg : public RegistryExport, public testing::WithParamInterface<BadRegRow> {};

TEST_P(BadReg, ShowsTheCommand) {
    const ReplacedReg reg(GetParam().program);
    ExpectError();
    Export();
    EXPECT_EQ(LastBoxText(), kFailed + CommandFor(ProfileFile(), L"/y"));
    EXPECT_EQ(modal_.boxes().back().icon, UINT{MB_ICONERROR});
}

INSTANTIATE_TEST_SUITE_P(Rows, BadReg,
                         testing::Values(BadRegRow{"Missing", L""},
                                         BadRegRow{"Failing", L"cmd.exe /c exit 1"},
                                         BadRegRow{"FailingInItsOwnWay", L"cmd.exe /c exit -1"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(RegistryExport, WaitsForASlowReg) {
    const ReplacedReg reg(std::wstring(L"\"") + TAVIX_GUEST_PROCESS + L"\" 2");
    const DWORD start = GetTickCount();
    ExpectQuestion(IDNO);
    Export();
    EXPECT_GE(GetTickCount() - start, 1900u);
}

TEST_F(RegistryExport, AMissingKeyShowsTheCommand) {
    const TemporaryFile kept({});
    ASSERT_EQ(RunCommand(std::wstring(L"reg.exe export \"") + kWholeKey + L"\" \"" + kept.path() + L"\" /y"),
              0u);
    const Content before = ReadParameters();
    Open([&] {
        ASSERT_EQ(RegDeleteTreeW(HKEY_LOCAL_MACHINE, kDriverParametersKey), ERROR_SUCCESS);
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, kDriverParametersKey);
        ExpectError();
        dialog_.Click(IDC_GLOBAL_EXPORT);
        EXPECT_FALSE(OpenParameters()) << "nothing creates the key";
        EXPECT_EQ(RunCommand(L"reg.exe import \"" + kept.path() + L"\""), 0u);
    });
    EXPECT_EQ(LastBoxText(), kFailed + CommandFor(ProfileFile(), L"/y"));
    EXPECT_EQ(ReadParameters(), before);
}

class ProfileFolder {
  public:
    explicit ProfileFolder(std::wstring folder, HRESULT result = S_OK)
        : query_("SHGetFolderPathW", [=](HWND, int, HANDLE, DWORD, LPWSTR path) {
              std::copy(folder.begin(), folder.end(), path);
              path[folder.size()] = L'\0';
              return result;
          }) {}

  private:
    ReplacedCall<SHGetFolderPathW> query_;
};

TEST_F(RegistryExport, AFolderThatTakesNoFileShowsTheCommand) {
    const TemporaryFile file({});
    for (const std::wstring& path : {std::wstring(L"C:\\no such folder"), file.path()}) {
        const ProfileFolder folder(path);
        ExpectError();
        Export();
        EXPECT_EQ(LastBoxText(), kFailed + CommandFor(path + L"\\tavix-global.reg", L"/y"));
    }
}

// The one folder that refuses new files to every user of this platform, however privileged.
TEST_F(RegistryExport, AFolderWithoutPermissionShowsTheCommand) {
    const std::wstring path = L"Z:\\sys";
    const FileHandle refused(CreateFileW((path + L"\\tavix-global.reg").c_str(), GENERIC_WRITE, 0, nullptr,
                                         CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD error = GetLastError();
    ASSERT_FALSE(refused);
    ASSERT_EQ(error, DWORD{ERROR_ACCESS_DENIED});
    const ProfileFolder folder(path);
    ExpectError();
    Export();
    EXPECT_EQ(LastBoxText(), kFailed + CommandFor(path + L"\\tavix-global.reg", L"/y"));
}

// Another program keeps the earlier export to itself.
TEST_F(RegistryExport, AFileThatIsInUseShowsTheCommand) {
    const FileHandle kept(CreateFileW(ProfileFile().c_str(), GENERIC_READ, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(kept);
    ExpectError();
    Export();
    EXPECT_EQ(LastBoxText(), kFailed + CommandFor(ProfileFile(), L"/y"));
}

TEST_F(RegistryExport, WithoutAFolderNothingIsRun) {
    const ProfileFolder folder(L"", E_FAIL);
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    ExpectError();
    Export();
    EXPECT_EQ(LastBoxText(), kFailed + CommandFor(L"tavix-global.reg", L"/y"));
    EXPECT_TRUE(reg.commands().empty());
}

// The longest line that is run whole has 259 characters.
TEST_F(RegistryExport, ALineThatWouldBeCutIsNotRun) {
    const ReplacedReg reg(L"cmd.exe /c exit 0");
    const size_t fixed = CommandFor(L"\\tavix-global.reg", L"/y").size();
    {
        const ProfileFolder folder(std::wstring(259 - fixed, L'p'));
        ExpectQuestion(IDNO);
        Export();
        ASSERT_EQ(reg.commands().size(), 1u);
        EXPECT_EQ(reg.commands()[0].size(), 259u);
    }
    for (const size_t chars : {259 - fixed + 1, size_t{250}, size_t{259}}) {
        const std::wstring path(chars, L'p');
        const ProfileFolder folder(path);
        ExpectError();
        Export();
        EXPECT_EQ(LastBoxText(), kFailed + CommandFor(path + L"\\tavix-global.reg", L"/y"));
        EXPECT_EQ(reg.commands().size(), 1u);
    }
}

TEST_F(RegistryExport, AUserWhoMayNotSaveGetsBothMessages) {
    const ReplacedReg reg;
    ASSERT_EQ(driver_.SetAccess({.refuseWrite = 1}), ERROR_SUCCESS);
    modal_.ExpectBox(kMessage).Press(IDOK);
    ExpectError();
    Export();
    const std::vector<BoxRecord> boxes = modal_.boxes();
    ASSERT_EQ(boxes.size(), 2u);
    EXPECT_EQ(boxes[0].text, L"Cannot make the change, probably because you are not the Administrator.");
    EXPECT_EQ(boxes[1].text, kSaveFailed);
}

}  // namespace
