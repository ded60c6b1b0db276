// completion: a script that lets a shell complete the words of the command line. It is made from the commands
// themselves, so that it knows all of them.
#include <algorithm>
#include <memory>

#include "tavixctl/commands.h"

namespace {

constexpr char kHead[] = R"(# Completion of tavixctl. In a PowerShell profile:
#   tavixctl completion powershell | Out-String | Invoke-Expression
Register-ArgumentCompleter -Native -CommandName 'tavixctl', 'tavixctl.exe' -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)
    $words = @{
)";

constexpr char kMiddle[] = R"(    }
    $takesDevice = @()";

constexpr char kTail[] = R"()
    $command = ''
    foreach ($element in $commandAst.CommandElements | Select-Object -Skip 1) {
        $longer = "$command $element".Trim()
        if ($words.ContainsKey($longer)) { $command = $longer }
    }
    $candidates = @(@($words[$command]) + '--json' | Select-Object -Unique)
    if ($takesDevice -contains $command) {
        $devices = (tavixctl list --json | ConvertFrom-Json).devices
        $candidates += $devices | ForEach-Object { $_.port; $_.huid } | Where-Object { $_ }
    }
    $candidates | Where-Object { $_ -like "$wordToComplete*" } | ForEach-Object {
        $text = if ($_ -match '[&\\ ]') { "'$_'" } else { $_ }
        [System.Management.Automation.CompletionResult]::new($text, $_, 'ParameterValue', $_)
    }
}
)";

std::string Quoted(const std::string& word) {
    return "'" + word + "'";
}

std::vector<CLI::App*> CommandsOf(CLI::App& app) {
    return app.get_subcommands([](CLI::App*) { return true; });
}

// Commands, then options.
std::string WordsOf(CLI::App& app) {
    std::string words;
    const auto add = [&](const std::string& word) { words += (words.empty() ? "" : ", ") + Quoted(word); };
    for (const CLI::App* command : CommandsOf(app))
        add(command->get_name());
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames())
            add("--" + name);
    return words;
}

bool TakesDevice(CLI::App& app) {
    const auto options = app.get_options();
    return std::any_of(options.begin(), options.end(),
                       [](const CLI::Option* option) { return option->get_name() == "DEVICE"; });
}

void Collect(CLI::App& app, const std::string& path, std::string& table, std::string& devices) {
    table += "        " + Quoted(path) + " = @(" + WordsOf(app) + ")\n";
    if (TakesDevice(app)) devices += (devices.empty() ? "" : ", ") + Quoted(path);
    for (CLI::App* command : CommandsOf(app))
        Collect(*command, path.empty() ? command->get_name() : path + " " + command->get_name(), table,
                devices);
}

}  // namespace

void AddCompletionCommand(CLI::App& app, const Output& output) {
    CLI::App* completion = app.add_subcommand("completion", "Print a script that completes command lines");
    completion->require_subcommand(1);
    completion->footer("Example:\n  tavixctl completion powershell | Out-String | Invoke-Expression");
    completion->add_subcommand("powershell", "For Windows PowerShell and PowerShell 7")
        ->callback([&app, &output] {
            std::string table;
            std::string devices;
            Collect(app, "", table, devices);
            const std::string script = kHead + table + kMiddle + devices + kTail;
            output.Show({"completion", {{"shell", "powershell"}, {"script", script}}, script});
        });
}
