// What a command prints: a text for people or JSON for programs on the output stream, messages on the error
// stream.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

// Keys keep the order in which they are written.
using Json = nlohmann::ordered_json;

// UTF-16 on a console, UTF-8 with LF line ends anywhere else.
void WriteOutput(std::string_view utf8);
void WriteError(std::string_view utf8);

// The same for people and for programs.
struct Answer {
    const char* command;  // as the JSON names it
    Json json;
    std::string text;
};

// As --json prints it: with the schema's version and the command's name in front, and a line end. An indent
// of -1 puts all of it on one line.
std::string JsonText(const Answer& answer, int indent = 2);

class Output {
  public:
    bool isJson = false;

    void Show(const Answer& answer) const;
    // For one of many answers: one line of JSON.
    void ShowLine(const Answer& answer) const;
};
