// tavixctl: what the property pages show and change, from a shell.
#include "tavixctl/command_line.h"
#include "tavixctl/text.h"

int wmain(int count, wchar_t** arguments) {
    std::vector<std::string> words;
    for (int i = 1; i < count; ++i)
        words.push_back(Utf8(arguments[i]));
    return RunCommandLine(std::move(words));
}
