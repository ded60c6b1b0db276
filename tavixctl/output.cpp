#include "tavixctl/output.h"

#include "base/windows_api.h"
#include "tavixctl/text.h"

namespace {

constexpr int kSchemaVersion = 1;

void WriteAll(HANDLE file, const char* bytes, size_t count) {
    while (count != 0) {
        DWORD written = 0;
        if (!WriteFile(file, bytes, static_cast<DWORD>(count), &written, nullptr) || written == 0) return;
        bytes += written;
        count -= written;
    }
}

void Write(DWORD stream, std::string_view utf8) {
    const HANDLE file = GetStdHandle(stream);
    DWORD mode = 0;
    if (!GetConsoleMode(file, &mode)) {
        WriteAll(file, utf8.data(), utf8.size());
        return;
    }
    const std::wstring wide = Utf16(utf8);
    DWORD written = 0;
    WriteConsoleW(file, wide.c_str(), static_cast<DWORD>(wide.size()), &written, nullptr);
}

}  // namespace

void WriteOutput(std::string_view utf8) {
    Write(STD_OUTPUT_HANDLE, utf8);
}

void WriteError(std::string_view utf8) {
    Write(STD_ERROR_HANDLE, utf8);
}

// Texts of devices and drivers may hold half a surrogate pair; it is replaced, not refused.
std::string JsonText(const Answer& answer, int indent) {
    Json whole = {{"schema", kSchemaVersion}, {"command", answer.command}};
    whole.update(answer.json);
    return whole.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

void Output::Show(const Answer& answer) const {
    WriteOutput(isJson ? JsonText(answer) : answer.text);
}

void Output::ShowLine(const Answer& answer) const {
    WriteOutput(isJson ? JsonText(answer, -1) : answer.text);
}
