// globals: the driver's settings for all devices.
#include <memory>

#include "base/bounded_text.h"
#include "driver/global_cfg.h"
#include "tavixctl/commands.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tavixctl/words.h"

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

void Get(const Output& output, const std::string& name) {
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
    output.Show("globals", json,
                name.empty() ? table.Text() : json["settings"][name].get<std::string>() + "\n");
}

}  // namespace

void AddGlobalsCommand(CLI::App& app, const Output& output) {
    CLI::App* command = app.add_subcommand("globals", "The driver's settings for all devices");
    command->require_subcommand(1);
    CLI::App* get = command->add_subcommand("get", "Show all settings, or the value of one");
    auto name = std::make_shared<std::string>();
    get->add_option("NAME", *name);
    get->callback([&output, name] { Get(output, *name); });
}
