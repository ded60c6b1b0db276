// list and show.
#include <memory>

#include "driver/device_info.h"
#include "driver/process_search.h"
#include "driver/vcom_config.h"
#include "tavixctl/answers.h"
#include "tavixctl/commands.h"
#include "tavixctl/devices.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tavixctl/words.h"

namespace {

std::string OrDash(const std::string& text) {
    return text.empty() ? "-" : text;
}

}  // namespace

Answer AnswerList(Devices& devices) {
    Json json = {{"devices", Json::array()}};
    Table table({"PORT", "HUID", "LIFEMODE", "VCOM", "USB DEVICE", "NAME", "USB INSTANCE ID"});
    for (const Device& device : devices.all()) {
        json["devices"].push_back(ToJson(device));
        table.Add({OrDash(Utf8(device.portName)), OrDash(Utf8(device.huid())),
                   device.lifemode ? WordOf(kLifemodeWords, *device.lifemode) : "-", StateText(device.vcom),
                   StateText(device.usb), Utf8(device.node().name),
                   device.usb != nullptr ? Utf8(device.usb->instanceId) : "-"});
    }
    return {"list", json, devices.all().empty() ? "no devices\n" : table.Text()};
}

namespace {

// What the driver says of the device beyond the list; null where it did not answer.
struct Details {
    std::optional<UsbdInfo_st> info;
    std::optional<uint32_t> bindMode;
    DWORD openerPid = 0;
    std::wstring openerPath;
};

Details ReadDetails(Device& device) {
    Details details;
    Node& node = device.node();
    UsbdInfo_st info = {};
    if (GetUsbdInfo(node.set, &node.element, info) == ERROR_SUCCESS) details.info = info;
    VcomCfgReply_st reply = {};
    GlobalCfg_st global = {};
    if (tavo_GetVcomCfg(node.set, &node.element, reply, global) == UfAppErr_Success)
        details.bindMode = global.bindMode;
    if (device.vcom == nullptr) return details;
    details.openerPid = GetVcomOpenerPid(node.set, &node.element);
    wchar_t path[MAX_PATH] = {};
    if (details.openerPid != 0 && GetProcessExePath(details.openerPid, path, MAX_PATH))
        details.openerPath = path;
    return details;
}

Json ToJson(const UsbdInfo_st& info) {
    return {{"online", info.online != 0},
            {"speed", info.speed == kUsbSpeedUnknown ? Json(nullptr) : Json(WordOf(kSpeedWords, info.speed))},
            {"vendorId", info.idVendor},
            {"productId", info.idProduct},
            {"bcdDevice", info.bcdDevice},
            {"manufacturer", Utf8(info.manufacturer)},
            {"product", Utf8(info.product)},
            {"serialNumber", Utf8(info.serialNumber)}};
}

Json ToJson(const Device& device, const Details& details) {
    Json json = ToJson(device);
    json["bindMode"] = details.bindMode ? Json(WordOf(kBindModeWords, *details.bindMode)) : Json(nullptr);
    json["opener"] = nullptr;
    if (details.openerPid != 0)
        json["opener"] = {{"processId", details.openerPid}, {"path", Utf8(details.openerPath)}};
    json["information"] = details.info ? ToJson(*details.info) : Json(nullptr);
    return json;
}

std::string NodeText(const char* label, const Node* node) {
    if (node == nullptr) return "";
    return std::string(label) + Utf8(node->name) + "\n              " + Utf8(node->instanceId) + ", " +
           StateText(node) + "\n";
}

std::string ShownText(const Device& device, const Details& details) {
    std::string text = "Port:         " + OrDash(Utf8(device.portName)) + "\n";
    text += "Huid:         " + OrDash(Utf8(device.huid())) + "\n";
    if (device.lifemode) text += "Lifemode:     " + WordOf(kLifemodeWords, *device.lifemode) + "\n";
    if (details.bindMode) text += "Bind mode:    " + WordOf(kBindModeWords, *details.bindMode) + "\n";
    text += NodeText("VCOM:         ", device.vcom);
    text += NodeText("USB device:   ", device.usb);
    if (details.openerPid != 0)
        text += "Opened by:    process " + std::to_string(details.openerPid) + " " +
                Utf8(details.openerPath) + "\n";
    if (!details.info) return text;
    wchar_t information[kUsbdInfoTextChars];
    FormatUsbdInfo(*details.info, information);
    return text + "\n" + Utf8(information);
}

}  // namespace

Answer AnswerShow(Device& device) {
    const Details details = ReadDetails(device);
    return {"show", {{"device", ToJson(device, details)}}, ShownText(device, details)};
}

void AddDeviceCommands(CLI::App& app, const Output& output) {
    app.add_subcommand("list", "List the devices: port, mapping, presence, problem")->callback([&output] {
        Devices devices;
        output.Show(AnswerList(devices));
    });
    CLI::App* show = app.add_subcommand("show", "Show everything that is known of one device");
    auto name = std::make_shared<std::string>();
    show->add_option("DEVICE", *name)->required();
    show->callback([&output, name] {
        Devices devices;
        output.Show(AnswerShow(devices.Find(*name)));
    });
}
