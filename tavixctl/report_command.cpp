// report: everything that support asks for, in one file or folder.
#include <functional>
#include <memory>

#include "base/files.h"
#include "base/product_version.h"
#include "base/time_text.h"
#include "tavixctl/answers.h"
#include "tavixctl/commands.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/report_sink.h"
#include "tavixctl/text.h"

namespace {

// The end of a log says what happened last.
constexpr int64_t kMostLogBytes = 16 << 20;

std::string VersionText(uint32_t major, uint32_t minor, uint32_t build) {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(build);
}

// The true version, which GetVersionEx hides from programs that do not name it.
std::string WindowsVersion() {
    using Function = LONG WINAPI(OSVERSIONINFOW*);
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    auto* get = reinterpret_cast<Function*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion"));
    if (get != nullptr) get(&version);
    return VersionText(version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber);
}

// Its writer may hold it.
std::string ReadLogFile(const std::wstring& path) {
    const FileHandle file(CreateFileW(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
    if (!file) RequireSuccess(GetLastError(), "opening " + Utf8(path));
    const int64_t fileBytes = GetFileSizeOf(file.get());
    const int64_t bytes = std::min(fileBytes, kMostLogBytes);
    std::string text(static_cast<size_t>(std::max<int64_t>(bytes, 0)), 0);
    const int64_t read =
        ReadFileAt(file.get(), fileBytes - bytes, static_cast<uint32_t>(text.size()), text.data());
    if (bytes < 0 || read < 0) RequireSuccess(ERROR_READ_FAULT, "reading " + Utf8(path));
    text.resize(static_cast<size_t>(read));
    return text;
}

std::wstring DriverLogPath() {
    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    return std::wstring(windows) + L"\\temp\\tavix.log";
}

class Report {
  public:
    explicit Report(const std::wstring& path) : sink_(OpenReport(path)) {}

    // Each as text and as JSON. What cannot be read is named in the report and does not end it.
    void AddAnswer(const std::string& name, const std::function<Answer()>& read) {
        Try(name, [&] {
            const Answer answer = read();
            sink_->Add(name + ".txt", answer.text);
            sink_->Add(name + ".json", JsonText(answer));
        });
    }
    void AddLog(const std::string& name, const std::wstring& path) {
        Try(name, [&] { sink_->Add(name, ReadLogFile(path)); });
    }
    Answer Finish(const std::string& file) {
        std::string text = "Saved to " + file + "\n";
        for (const Json& part : parts_)
            if (!part["error"].is_null())
                text += "without " + part["name"].get<std::string>() + ": " +
                        part["error"].get<std::string>() + "\n";
        const Answer answer = {
            "report",
            {{"file", file},
             {"createdUnixMs", time_now_unix_utc() * 1000},
             {"toolVersion", VersionText(kProductVersionMajor, kProductVersionMinor, kProductVersionBuild)},
             {"windowsVersion", WindowsVersion()},
             {"parts", parts_}},
            text};
        sink_->Add("report.json", JsonText(answer));
        sink_->Finish();
        return answer;
    }

  private:
    void Try(const std::string& name, const std::function<void()>& add) {
        Json error = nullptr;
        try {
            add();
        } catch (const Failure& failure) {
            error = failure.what();
        }
        parts_.push_back({{"name", name}, {"error", error}});
    }

    std::unique_ptr<ReportSink> sink_;
    Json parts_ = Json::array();
};

std::string FolderOf(const Device& device) {
    std::string id = Utf8(device.node().instanceId);
    std::replace(id.begin(), id.end(), '\\', '#');
    return "devices/" + id + "/";
}

void AddDevice(Report& report, Device& device) {
    const std::string folder = FolderOf(device);
    report.AddAnswer(folder + "show", [&] { return AnswerShow(device); });
    report.AddAnswer(folder + "stats", [&] { return AnswerStats(device); });
    report.AddAnswer(folder + "errors", [&] { return AnswerErrors(device); });
    report.AddAnswer(folder + "error-log", [&] { return AnswerErrorLog(device); });
}

void WriteReport(const Output& output, const std::string& file) {
    Report report(Utf16(file));
    Devices devices;
    report.AddAnswer("bus", AnswerBus);
    report.AddAnswer("list", [&] { return AnswerList(devices); });
    report.AddAnswer("ports", [&] { return AnswerPorts(devices, false); });
    report.AddAnswer("globals", [] { return AnswerGlobals(); });
    report.AddAnswer("log", AnswerLog);
    report.AddLog("tavix.log", DriverLogPath());
    for (Device& device : devices.all())
        AddDevice(report, device);
    output.Show(report.Finish(file));
}

}  // namespace

void AddReportCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("report", "Collect what support asks for: a zip file or a folder");
    auto file = std::make_shared<std::string>();
    command->add_option("FILE", *file, "FILE.zip, or a folder")->required();
    command->footer(
        "It holds versions, devices, settings, statistics, error logs and the driver's log; what it\n"
        "could not read it names.\n\nExample:\n  tavixctl report tavix-report.zip");
    command->callback([&output, file] { WriteReport(output, *file); });
}
