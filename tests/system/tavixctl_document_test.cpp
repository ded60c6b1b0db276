// The examples of docs/automation.md, run as they stand there: a line that begins with "> " is a command, the
// lines after it are what it prints, and "[4]" is an exit code that is not 0.
#include <fstream>

#include "tests/system/tavixctl_fixture.h"

namespace {

constexpr char kPrompt[] = "> tavixctl ";

struct Example {
    std::string arguments;
    std::string expected;
};

std::vector<Example> ReadExamples() {
    std::vector<Example> examples;
    std::ifstream document(TAVIX_CTL_DOCUMENT);
    bool isInside = false;
    for (std::string line; std::getline(document, line);) {
        if (line.rfind("```", 0) == 0) {
            isInside = line == "```console";
        } else if (isInside && line.rfind(kPrompt, 0) == 0) {
            examples.push_back({line.substr(sizeof(kPrompt) - 1), ""});
        } else if (isInside && !examples.empty()) {
            examples.back().expected += line + "\n";
        }
    }
    return examples;
}

TEST_F(Tavixctl, TheExamplesOfTheDocumentDoWhatItSays) {
    ASSERT_EQ(driver_.SetPortState(119, kPortOfPresentDevice), ERROR_SUCCESS);
    const std::vector<Example> examples = ReadExamples();
    EXPECT_GT(examples.size(), 10u);
    for (const Example& example : examples) {
        SCOPED_TRACE(example.arguments);
        const RunResult result = RunCtl(std::wstring(example.arguments.begin(), example.arguments.end()));
        std::string printed = result.output + result.errors;
        if (result.exitCode != kSuccess) printed += "[" + std::to_string(result.exitCode) + "]\n";
        EXPECT_EQ(printed, example.expected);
    }
}

}  // namespace
