// One run of the program.
#pragma once

#include <string>
#include <vector>

// The words after the program's name, in UTF-8. Returns the exit code.
int RunCommandLine(std::vector<std::string> arguments);
