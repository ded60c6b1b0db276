// customres_stamp: makes a customer's resource library acceptable to the product.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "hosttools/customres_stamp/stamp.h"

namespace {

std::string Utf8(const std::wstring& text) {
    const std::u8string utf8 = std::filesystem::path(text).u8string();
    return {utf8.begin(), utf8.end()};
}

int Report(const std::string& file, const std::wstring& path, const StampResult& result) {
    if (result.outcome == StampOutcome::kFailed) {
        std::fprintf(stderr, "%s: %s\n", file.c_str(), Utf8(result.error).c_str());
        return 1;
    }
    std::printf("%s: %s, digest %s\n", file.c_str(),
                result.outcome == StampOutcome::kStamped ? "stamped" : "intact", Utf8(result.digest).c_str());
    if (IsLibrarySwitchedOff(path))
        std::printf("%s: note: string 18000 switches this library off\n", file.c_str());
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i)
        arguments.push_back(Utf8(argv[i]));  // CLI11 takes them reversed

    CLI::App app(
        "Writes the integrity digest into string 18001 of a customer's resource library, "
        "tavix_customres.dll.",
        "customres_stamp");
    app.allow_windows_style_options(false);  // a path may begin with a slash
    bool checkOnly = false;
    std::string file;
    app.add_flag("--check", checkOnly, "only verify the digest; change nothing");
    app.add_option("file", file, "the library")->required();
    app.footer("Exit code: 0 the library is stamped and intact, 1 it is not, others: wrong usage.");
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    }
    const std::wstring path = std::filesystem::path(std::u8string(file.begin(), file.end())).wstring();
    return Report(file, path, checkOnly ? CheckLibrary(path) : StampLibrary(path));
}
