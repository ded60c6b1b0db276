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

class Output {
  public:
    bool isJson = false;

    // One result: the JSON, with the schema's version and the command's name in front, or the text.
    void Show(const char* command, const Json& json, std::string_view text) const;
    // The same for one of many results, on one line of JSON.
    void ShowLine(const char* command, const Json& json, std::string_view text) const;
};
