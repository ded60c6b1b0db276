#include "tavixctl/devices.h"

#include <algorithm>

#include "base/bounded_text.h"
#include "driver/device_info.h"
#include "driver/error_names.h"
#include "driver/mapping.h"
#include "driver/vbus.h"
#include "state/device_values.h"
#include "tavixctl/exit_code.h"
#include "tavixctl/text.h"
#include "tavixctl/words.h"

namespace {

constexpr DWORD kInstanceIdChars = 260;
constexpr DWORD kTextChars = 256;
// Windows' own value for a port's name; the driver sets it too. It serves when the driver cannot be asked.
constexpr wchar_t kPortNameValue[] = L"PortName";

std::wstring ReadValue(Node& node, const wchar_t* value) {
    wchar_t text[kTextChars] = {};
    return ReadDevString(node.set, &node.element, DIREG_DEV, value, text, kTextChars) != nullptr ? text : L"";
}

std::wstring NameOf(Node& node) {
    wchar_t name[kFriendlyNameChars] = {};
    if (GetDeviceFriendlyName(node.set, &node.element, name)) return name;
    wchar_t description[kTextChars] = {};
    SetupDiGetDeviceRegistryPropertyW(node.set, &node.element, SPDRP_DEVICEDESC, nullptr,
                                      reinterpret_cast<BYTE*>(description), sizeof(description) - 2, nullptr);
    return description;
}

std::wstring Tail(const std::wstring& instanceId) {
    const size_t backslash = instanceId.find(L'\\');
    return backslash == std::wstring::npos ? L"" : instanceId.substr(backslash + 1);
}

bool IsNamed(const Node* node, std::wstring_view name) {
    if (node == nullptr) return false;
    return IsSameText(node->instanceId, name) || IsSameText(Tail(node->instanceId), name) ||
           (!node->huid.empty() && IsSameText(node->huid, name));
}

bool IsNamed(const Device& device, std::wstring_view name) {
    return IsNamed(device.vcom, name) || IsNamed(device.usb, name) ||
           (!device.portName.empty() && IsSameText(device.portName, name));
}

}  // namespace

Devices::Devices() {
    ReadNodes(L"QRV_VBUS", vcoms_);
    ReadNodes(L"USB", usbDevices_);
    ReadNodes(L"ROOT", buses_);
    const std::wstring stem = std::wstring(kVcomInstanceIdStem) + L"\\";
    vcoms_.remove_if([&](const Node& node) { return !BeginsWith(node.instanceId, stem); });
    for (Node& vcom : vcoms_)
        vcom.huid = vcom.instanceId.substr(stem.size());
    for (Node& usb : usbDevices_)
        usb.huid = ReadValue(usb, kDevNowHuid);
    // The system lists every USB device; ours are those that the driver has served.
    usbDevices_.remove_if([](Node& usb) {
        return usb.huid.empty() &&
               ReadDevQword(usb.set, &usb.element, DIREG_DEV, kDevLastStartupSuccess, 0) == 0;
    });
    buses_.remove_if([](const Node& node) { return !BeginsWith(node.instanceId, L"ROOT\\QRV_VBUS"); });
    Pair();
    AskDriver();
}

void Devices::ReadNodes(const wchar_t* enumerator, std::list<Node>& nodes) {
    const HDEVINFO set =
        lists_.emplace_back(SetupDiGetClassDevsW(nullptr, enumerator, nullptr, DIGCF_ALLCLASSES)).get();
    Node node;
    node.set = set;
    node.element.cbSize = sizeof(node.element);
    for (DWORD index = 0; SetupDiEnumDeviceInfo(set, index, &node.element); ++index) {
        wchar_t id[kInstanceIdChars] = {};
        if (!SetupDiGetDeviceInstanceIdW(set, &node.element, id, kInstanceIdChars, nullptr)) continue;
        node.instanceId = id;
        node.name = NameOf(node);
        ULONG problem = 0;
        node.present = GetDevNodeStatus(node.element, &problem);
        node.problem = problem;
        nodes.push_back(node);
    }
}

void Devices::Pair() {
    std::vector<Node*> unpaired;
    for (Node& usb : usbDevices_)
        unpaired.push_back(&usb);
    for (Node& vcom : vcoms_) {
        const auto usb = std::find_if(unpaired.begin(), unpaired.end(),
                                      [&](const Node* node) { return IsSameText(node->huid, vcom.huid); });
        Device device;
        device.vcom = &vcom;
        device.portName = ReadValue(vcom, kPortNameValue);
        if (usb != unpaired.end()) {
            device.usb = *usb;
            unpaired.erase(usb);
        }
        devices_.push_back(device);
    }
    for (Node* usb : unpaired) {
        Device device;
        device.usb = usb;
        devices_.push_back(device);
    }
}

// One opening for all of them, since there may be many.
void Devices::AskDriver() {
    if (vcoms_.empty()) return;
    const FileHandle vbus = OpenVbus();
    if (!vbus) return;
    for (Device& device : devices_) {
        DeviceName_st name;
        if (device.vcom == nullptr || !GetDeviceName(device.vcom->set, &device.vcom->element, name)) continue;
        VcomCfgReply_st reply = {};
        if (VbusQuery(vbus.get(), IOCTL_TAVIX_GetVcomCfg, &name, sizeof(name), reply) != ERROR_SUCCESS ||
            reply.result != UfAppErr_Success)
            continue;
        device.portName = std::wstring(BoundedText(reply.portName));
        device.lifemode = reply.lifemode;
    }
}

Device& Devices::Find(const std::string& name) {
    const std::wstring wide = Utf16(name);
    std::vector<Device*> named;
    for (Device& device : devices_)
        if (IsNamed(device, wide)) named.push_back(&device);
    if (named.empty()) throw Failure(ExitCode::kNoSuchDevice, "no device is named \"" + name + "\"");
    // A device that is there goes before those that only left their name behind.
    const auto isAbsent = [](const Device* device) { return !device->node().present; };
    if (named.size() > 1) std::erase_if(named, isAbsent);
    if (named.size() != 1)
        throw Failure(ExitCode::kNoSuchDevice, "several devices are named \"" + name + "\"");
    return *named.front();
}

Device& Devices::FindVcom(const std::string& name) {
    Device& device = Find(name);
    if (device.vcom == nullptr)
        throw Failure(ExitCode::kNoSuchDevice, "\"" + name + "\" is not mapped to a VCOM");
    return device;
}

Json ToJson(const Node* node) {
    if (node == nullptr) return nullptr;
    return {{"instanceId", Utf8(node->instanceId)},
            {"name", Utf8(node->name)},
            {"present", node->present},
            {"problem", node->problem},
            {"problemName", node->problem != 0 ? Json(Utf8(CmProbName(node->problem))) : Json(nullptr)}};
}

Json ToJson(const Device& device) {
    return {{"port", device.portName.empty() ? Json(nullptr) : Json(Utf8(device.portName))},
            {"huid", device.huid().empty() ? Json(nullptr) : Json(Utf8(device.huid()))},
            {"lifemode", device.lifemode ? Json(WordOf(kLifemodeWords, *device.lifemode)) : Json(nullptr)},
            {"vcom", ToJson(device.vcom)},
            {"usb", ToJson(device.usb)}};
}

std::string StateText(const Node* node) {
    if (node == nullptr) return "-";
    if (!node->present) return "not present";
    if (node->problem == 0) return "present";
    return "problem " + std::to_string(node->problem) + " (" + Utf8(CmProbName(node->problem)) + ")";
}
