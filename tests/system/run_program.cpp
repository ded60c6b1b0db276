#include "tests/system/run_program.h"

#include "base/win32_handle.h"

namespace {

std::wstring TemporaryFile() {
    wchar_t folder[MAX_PATH];
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    GetTempFileNameW(folder, L"run", 0, path);
    return path;
}

// Gone when it is closed; a program that is started writes into it.
FileHandle OpenTemporary() {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    return FileHandle(CreateFileW(TemporaryFile().c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherited,
                                  OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
}

std::string ReadWhole(const FileHandle& file) {
    SetFilePointer(file.get(), 0, nullptr, FILE_BEGIN);
    std::string text(GetFileSize(file.get(), nullptr), 0);
    DWORD read = 0;
    ReadFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr);
    text.resize(read);
    return text;
}

}  // namespace

RunResult RunProgram(const std::wstring& program, const std::wstring& arguments) {
    const FileHandle output = OpenTemporary();
    const FileHandle errors = OpenTemporary();
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.get();
    startup.hStdError = errors.get();
    PROCESS_INFORMATION process = {};
    std::wstring commandLine = L"\"" + program + L"\" " + arguments;
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process))
        return {};
    const KernelHandle owner(process.hProcess);
    const KernelHandle thread(process.hThread);
    WaitForSingleObject(process.hProcess, 30000);
    RunResult result;
    GetExitCodeProcess(process.hProcess, &result.exitCode);
    result.output = ReadWhole(output);
    result.errors = ReadWhole(errors);
    return result;
}
