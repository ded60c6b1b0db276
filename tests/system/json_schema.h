// Checks JSON against the part of JSON Schema that the command line's schema file uses: $ref within the file,
// type, const, enum, required, properties, additionalProperties, items, minimum, oneOf.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

// What is wrong and where; empty when nothing is. A keyword that is not known is wrong too.
std::string CheckJson(const nlohmann::json& schema, const nlohmann::json& value);
