// device_viewer: a small Device Manager.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "base/windows_api.h"

#include <commctrl.h>

#include "sim/shim/platform_shim.h"
#include "sim/viewer/device_nodes.h"
#include "sim/viewer/property_sheet.h"
#include "sim/viewer/tree_window.h"

namespace {

std::string Utf8(const std::wstring& text) {
    const int chars = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), chars, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), chars, utf8.data(), bytes, nullptr, nullptr);
    return utf8;
}

std::wstring Wide(const std::string& text) {
    const int bytes = static_cast<int>(text.size());
    const int chars = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), bytes, nullptr, 0);
    std::wstring wide(static_cast<size_t>(chars), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), bytes, wide.data(), chars);
    return wide;
}

struct Options {
    bool list = false;
    bool all = false;
    bool byConnection = false;
    std::string device;
    std::string screenshot;
    std::string treeScreenshot;
    int page = 0;
    unsigned settle = 1500;
    unsigned hold = 0;
};

void DeclareOptions(CLI::App& app, Options& options) {
    app.add_flag("--list", options.list,
                 "print the device nodes: instance ID, class, name, status; tab-separated");
    app.add_flag("--all", options.all, "show absent devices too, in the tree and in the list");
    app.add_flag("--by-connection", options.byConnection, "order the tree by connection instead of by type");
    CLI::Option* device =
        app.add_option("--device", options.device, "open the property sheet of this device instance ID only");
    app.add_option("--page", options.page,
                   "page of the sheet to open, 1 is the first; else the first added one")
        ->needs(device)
        ->check(CLI::PositiveNumber);
    app.add_option("--screenshot", options.screenshot, "save a picture of the sheet (PNG) and close it")
        ->needs(device);
    app.add_option("--settle", options.settle, "milliseconds before the picture is taken")
        ->capture_default_str();
    app.add_option("--hold", options.hold, "close the sheet after this many seconds")->needs(device);
    app.add_option("--tree-screenshot", options.treeScreenshot,
                   "save a picture of the tree (PNG) and close it")
        ->excludes(device);
}

int ListDevices(bool absentToo) {
    for (const DeviceNode& node : EnumerateDeviceNodes()) {
        if (!node.present && !absentToo) continue;
        std::printf("%s\t%s\t%s\t%s\n", Utf8(node.instanceId).c_str(), Utf8(node.className).c_str(),
                    Utf8(node.name).c_str(), Utf8(DeviceStatusText(node)).c_str());
    }
    return 0;
}

int ShowSheet(const Options& options) {
    SheetRequest request;
    request.instanceId = Wide(options.device);
    if (options.page > 0) request.page = options.page;
    request.picturePath = Wide(options.screenshot);
    request.settleMilliseconds = options.settle;
    if (options.hold > 0) request.closeAfterSeconds = options.hold;
    const SheetResult result = ShowDeviceSheet(request);
    if (result == SheetResult::Shown) return 0;
    std::fprintf(stderr, "%s: %s\n", options.device.c_str(), Utf8(SheetResultText(result)).c_str());
    return 1;
}

int Run(const Options& options) {
    if (options.list) return ListDevices(options.all);
    INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&controls);
    if (!options.device.empty()) return ShowSheet(options);
    TreeRequest request;
    request.picturePath = Wide(options.treeScreenshot);
    request.byConnection = options.byConnection;
    request.showHidden = options.all;
    return RunTreeWindow(request) ? 0 : 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    std::vector<std::string> arguments;
    for (int index = argc - 1; index > 0; --index)
        arguments.push_back(Utf8(argv[index]));  // CLI11 takes them reversed

    CLI::App app("A small Device Manager: a tree of device nodes and their property sheets.",
                 "device_viewer");
    Options options;
    DeclareOptions(app, options);
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    if (!InstallPlatformShim()) {
        std::fputs("this platform's device installer could not be completed\n", stderr);
        return 1;
    }
    return Run(options);
}
