#include "tests/system/json_schema.h"

#include <algorithm>
#include <set>

using nlohmann::json;

namespace {

// Said about the schema, not about values.
const std::set<std::string> kRemarks = {"$schema", "$defs", "title", "description"};

class Checker {
  public:
    explicit Checker(const json& root) : root_(root) {}

    std::string Check(const json& schema, const json& value, const std::string& where) const {
        if (schema.is_boolean()) return schema.get<bool>() ? "" : where + " is not allowed";
        for (const auto& [keyword, rule] : schema.items()) {
            const std::string wrong = CheckKeyword(schema, keyword, rule, value, where);
            if (!wrong.empty()) return wrong;
        }
        return "";
    }

  private:
    std::string CheckKeyword(const json& schema, const std::string& keyword, const json& rule,
                             const json& value, const std::string& where) const {
        if (kRemarks.count(keyword) != 0) return "";
        if (keyword == "$ref")
            return Check(root_.at(json::json_pointer(rule.get<std::string>().substr(1))), value, where);
        if (keyword == "type") return HasType(rule, value) ? "" : where + " is not " + rule.dump();
        if (keyword == "const") return value == rule ? "" : where + " is not " + rule.dump();
        if (keyword == "enum")
            return std::find(rule.begin(), rule.end(), value) != rule.end() ? ""
                                                                            : where + " is not a known word";
        if (keyword == "minimum")
            return !value.is_number() || value >= rule ? "" : where + " is less than " + rule.dump();
        if (keyword == "items") return CheckItems(rule, value, where);
        if (keyword == "oneOf") return CheckOneOf(rule, value, where);
        if (keyword == "required") return CheckRequired(rule, value, where);
        if (keyword == "properties") return CheckProperties(rule, value, where);
        if (keyword == "additionalProperties") return CheckOthers(schema, rule, value, where);
        return "unknown keyword " + keyword;
    }
    static bool HasType(const json& types, const json& value) {
        if (types.is_array())
            return std::any_of(types.begin(), types.end(),
                               [&](const json& type) { return HasType(type, value); });
        if (types == "integer") return value.is_number_integer();
        return types == value.type_name();
    }
    std::string CheckItems(const json& rule, const json& value, const std::string& where) const {
        if (!value.is_array()) return "";
        for (size_t i = 0; i < value.size(); ++i) {
            const std::string wrong = Check(rule, value[i], where + "/" + std::to_string(i));
            if (!wrong.empty()) return wrong;
        }
        return "";
    }
    std::string CheckOneOf(const json& rules, const json& value, const std::string& where) const {
        int fitting = 0;
        std::string reasons;
        for (const json& rule : rules) {
            const std::string wrong = Check(rule, value, where);
            if (wrong.empty()) ++fitting;
            reasons += "\n  " + wrong;
        }
        return fitting == 1 ? "" : where + " fits " + std::to_string(fitting) + " of the forms:" + reasons;
    }
    static std::string CheckRequired(const json& names, const json& value, const std::string& where) {
        if (!value.is_object()) return "";
        for (const json& name : names)
            if (!value.contains(name.get<std::string>())) return where + " lacks " + name.dump();
        return "";
    }
    std::string CheckProperties(const json& rules, const json& value, const std::string& where) const {
        if (!value.is_object()) return "";
        for (const auto& [name, rule] : rules.items()) {
            if (!value.contains(name)) continue;
            const std::string wrong = Check(rule, value.at(name), where + "/" + name);
            if (!wrong.empty()) return wrong;
        }
        return "";
    }
    std::string CheckOthers(const json& schema, const json& rule, const json& value,
                            const std::string& where) const {
        if (!value.is_object()) return "";
        for (const auto& [name, member] : value.items()) {
            if (schema.contains("properties") && schema["properties"].contains(name)) continue;
            const std::string wrong = Check(rule, member, where + "/" + name);
            if (!wrong.empty()) return wrong;
        }
        return "";
    }

    const json& root_;
};

}  // namespace

std::string CheckJson(const json& schema, const json& value) {
    return Checker(schema).Check(schema, value, "");
}
