// globals: the driver's settings for all devices.
#include <cstring>
#include <memory>

#include "base/bounded_text.h"
#include "driver/driver_info.h"
#include "driver/global_cfg.h"
#include "tavixctl/answers.h"
#include "tavixctl/commands.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tavixctl/words.h"
#include "tools/global_fields.h"
#include "tools/parameters_export.h"

namespace {

constexpr Word kFlagWords[] = {{0, "off"}, {1, "on"}};

// One setting by its name on the command line and in JSON.
struct Setting {
    const char* name;
    const char* meaning;
    std::span<const Word> words;  // empty for a text
    uint32_t (*get)(const GlobalCfg_st& cfg);
    void (*set)(GlobalCfg_st& cfg, uint32_t number);
};

template <auto member>
uint32_t GetMember(const GlobalCfg_st& cfg) {
    return cfg.*member;
}
template <auto member>
void SetMember(GlobalCfg_st& cfg, uint32_t number) {
    auto& field = cfg.*member;
    field = static_cast<std::remove_reference_t<decltype(field)>>(number);
}
template <auto member>
constexpr Setting MemberSetting(const char* name, const char* meaning, std::span<const Word> words) {
    return {name, meaning, words, GetMember<member>, SetMember<member>};
}

constexpr char kPreferredPortsName[] = "preferred-ports";

const Setting kSettings[] = {
    MemberSetting<&GlobalCfg_st::bindMode>("bind-mode", "what a port name is bound to", kBindModeWords),
    MemberSetting<&GlobalCfg_st::newVcomLifemode>("lifemode", "lifemode of new VCOMs", kLifemodeWords),
    MemberSetting<&GlobalCfg_st::prefetchMode>("prefetch", "input before the port is opened", kPrefetchWords),
    MemberSetting<&GlobalCfg_st::clearInputOnOpen>("clear-input", "clear input when a port is opened",
                                                   kFlagWords),
    MemberSetting<&GlobalCfg_st::preferProductText>("product-text", "USB product text in device names",
                                                    kFlagWords),
    MemberSetting<&GlobalCfg_st::serialNumberOnNames>("serial-number-on-names",
                                                      "USB serial number in device names", kFlagWords),
    MemberSetting<&GlobalCfg_st::requireUniqueSerial>(
        "unique-serial-number", "bind by serial number only when it is unique", kFlagWords),
    {"virtual-machine", "settings for a virtual machine", kFlagWords,
     [](const GlobalCfg_st& cfg) -> uint32_t { return IsVirtualMachineSettingOn(cfg) ? 1 : 0; },
     [](GlobalCfg_st& cfg, uint32_t number) { SetVirtualMachineSetting(cfg, number != 0); }},
    MemberSetting<&GlobalCfg_st::datapipeLifemode>("datapipe-lifemode", "legacy datapipe devices",
                                                   kDatapipeWords),
    MemberSetting<&GlobalCfg_st::robPort>("rob-port", "take a preferred port from another driver",
                                          kFlagWords),
};

GlobalCfg_st Read() {
    GlobalCfg_st cfg = {};
    RequireUfSuccess(GetGlobalCfg(cfg), "reading the global settings");
    return cfg;
}

std::string PreferredPorts(const GlobalCfg_st& cfg) {
    // Not through the field itself, which stands on an odd address of the record.
    wchar_t ports[kPreferredPortsChars];
    std::memcpy(ports, reinterpret_cast<const char*>(&cfg) + offsetof(GlobalCfg_st, preferredPorts),
                sizeof(ports));
    return Utf8(BoundedText(ports));
}

void SetPreferredPorts(GlobalCfg_st& cfg, const std::string& value) {
    const std::wstring ports = Utf16(value);
    if (ports.size() > kPreferredPortsChars)
        throw Failure(ExitCode::kUsage,
                      "port names take at most " + std::to_string(kPreferredPortsChars) + " characters");
    wchar_t field[kPreferredPortsChars] = {};
    std::copy(ports.begin(), ports.end(), field);
    std::memcpy(reinterpret_cast<char*>(&cfg) + offsetof(GlobalCfg_st, preferredPorts), field, sizeof(field));
}

const Setting& FindSetting(const std::string& name) {
    for (const Setting& setting : kSettings)
        if (name == setting.name) return setting;
    throw Failure(ExitCode::kUsage, "there is no setting \"" + name + "\"");
}

uint32_t ParseNumber(const Setting& setting, const std::string& value) {
    const std::optional<uint32_t> number = NumberOf(setting.words, value);
    for (const Word& word : setting.words)
        if (number == word.number) return word.number;
    throw Failure(ExitCode::kUsage,
                  "\"" + value + "\" is no value of " + setting.name + ": " + AllWords(setting.words));
}

// A mode that discards the input clears it too; the driver then wants that flag off.
void KeepClearingRule(const GlobalCfg_st& before, GlobalCfg_st& cfg) {
    if (cfg.prefetchMode != kPrefetchAndDiscard) return;
    if (cfg.prefetchMode != before.prefetchMode) {
        cfg.clearInputOnOpen = 0;
    } else if (before.clearInputOnOpen == 0 && cfg.clearInputOnOpen != 0) {
        throw Failure(ExitCode::kConflict,
                      "clear-input stays off while prefetch is \"discard\", which clears");
    }
}

void Change(GlobalCfg_st& cfg, const std::string& name, const std::string& value) {
    const GlobalCfg_st before = cfg;
    if (name == kPreferredPortsName) return SetPreferredPorts(cfg, value);
    const Setting& setting = FindSetting(name);
    const uint32_t number = ParseNumber(setting, value);
    if (setting.get(cfg) != number) setting.set(cfg, number);
    KeepClearingRule(before, cfg);
}

// Settings that stay as they are are not sent.
void Write(const GlobalCfg_st& before, const GlobalCfg_st& cfg) {
    if (std::memcmp(&before, &cfg, sizeof(cfg)) == 0) return;
    RequireUfSuccess(SetGlobalCfg(cfg), "writing the global settings");
}

void Set(const Output& output, const std::string& name, const std::string& value) {
    const GlobalCfg_st before = Read();
    GlobalCfg_st cfg = before;
    Change(cfg, name, value);
    Write(before, cfg);
    output.Show(AnswerGlobals(name));
}

// What the dialog's button of that name chooses.
void SetDefault(const Output& output) {
    const GlobalCfg_st before = Read();
    GlobalCfg_st cfg = before;
    ApplyGlobalChoices(GlobalChoicesOf(before), DefaultGlobalChoices(), cfg);
    Write(before, cfg);
    output.Show(AnswerGlobals());
}

void Export(const Output& output, const std::string& file) {
    wchar_t version[kDriverVersionTextChars];
    DWORD error = ERROR_SUCCESS;
    if (!GetDriverVersionText(nullptr, version, &error))
        RequireSuccess(error, "reading the driver's version");
    MarkParametersExport(version);
    wchar_t command[kExportCommandChars];
    FormatParametersExport(Utf16(file).c_str(), command);
    if (!RunParametersExport(command))
        throw Failure(ExitCode::kRequestFailed, "this command failed: " + Utf8(command));
    output.Show({"globals-export", {{"file", file}}, "Exported to " + file + "\n"});
}

}  // namespace

Answer AnswerGlobals(const std::string& name) {
    const GlobalCfg_st cfg = Read();
    Json json = {{"settings", Json::object()}, {"prefetchBufferBytes", cfg.prefetchBufferBytes}};
    Table table({"NAME", "VALUE", "MEANING"});
    const auto add = [&](const std::string& setting, const std::string& value, const char* meaning) {
        if (!name.empty() && name != setting) return;
        json["settings"][setting] = value;
        table.Add({setting, value, meaning});
    };
    for (const Setting& setting : kSettings)
        add(setting.name, WordOf(setting.words, setting.get(cfg)), setting.meaning);
    add(kPreferredPortsName, PreferredPorts(cfg), "port names for new VCOMs");
    if (json["settings"].empty()) throw Failure(ExitCode::kUsage, "there is no setting \"" + name + "\"");
    return {"globals", json, name.empty() ? table.Text() : json["settings"][name].get<std::string>() + "\n"};
}

namespace {

std::string SettingsHelp() {
    std::string text = "Settings:\n";
    for (const Setting& setting : kSettings)
        text += "  " + std::string(setting.name) + ": " + AllWords(setting.words) + "\n";
    return text + "  " + kPreferredPortsName + ": port names with commas between them, \"\" for none\n";
}

void AddGet(CLI::App& globals, const Output& output) {
    CLI::App* get = globals.add_subcommand("get", "Show all settings, or the value of one");
    auto name = std::make_shared<std::string>();
    get->add_option("NAME", *name);
    get->callback([&output, name] { output.Show(AnswerGlobals(*name)); });
}

void AddSet(CLI::App& globals, const Output& output) {
    CLI::App* set = globals.add_subcommand("set", "Change one setting, and nothing else");
    auto name = std::make_shared<std::string>();
    auto value = std::make_shared<std::string>();
    set->add_option("NAME", *name)->required();
    set->add_option("VALUE", *value)->required();
    set->footer(SettingsHelp() + "\nExample:\n  tavixctl globals set lifemode persistent");
    set->callback([&output, name, value] { Set(output, *name, *value); });
}

void AddExport(CLI::App& globals, const Output& output) {
    CLI::App* command = globals.add_subcommand("export", "Save the driver's parameters as a registry file");
    auto file = std::make_shared<std::string>();
    command->add_option("FILE", *file)->required();
    command->footer("Example:\n  tavixctl globals export tavix-global.reg");
    command->callback([&output, file] { Export(output, *file); });
}

}  // namespace

void AddGlobalsCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("globals", "The driver's settings for all devices");
    command->require_subcommand(1);
    AddGet(*command, output);
    AddSet(*command, output);
    AddExport(*command, output);
    command->add_subcommand("default", "Set what the settings dialog calls the default")->callback([&output] {
        SetDefault(output);
    });
}
