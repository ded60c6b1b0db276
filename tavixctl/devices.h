// The package's devices as the system and the driver know them.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/win32_handle.h"
#include "base/windows_api.h"

#include <setupapi.h>

#include "driver/protocol.h"
#include "tavixctl/output.h"

// A device node. The element belongs to a list that lives as long as the Devices object.
struct Node {
    HDEVINFO set = nullptr;
    SP_DEVINFO_DATA element = {};
    std::wstring instanceId;
    std::wstring name;
    std::wstring huid;  // empty for a bus, and for a USB device that the driver has not mapped to a VCOM
    bool present = false;
    uint32_t problem = 0;  // CM_PROB code, 0 for none
};

// What belongs together: a VCOM and its USB device. One of them may be missing, not both.
struct Device {
    Node* vcom = nullptr;
    Node* usb = nullptr;
    std::wstring portName;             // empty without a VCOM
    std::optional<uint32_t> lifemode;  // nothing when the driver was not asked or did not answer

    // The node that requests name: the VCOM if there is one.
    Node& node() const { return vcom != nullptr ? *vcom : *usb; }
    const std::wstring& huid() const { return node().huid; }
    bool IsPresent() const { return usb != nullptr && usb->present; }
};

class Devices {
  public:
    // Reads the nodes, and asks the driver for ports and lifemodes when it is ready.
    Devices();
    Devices(const Devices&) = delete;
    Devices& operator=(const Devices&) = delete;

    std::vector<Device>& all() { return devices_; }
    std::list<Node>& buses() { return buses_; }

    // By port name, Huid, instance ID of either node or its part after the first backslash. Of several the
    // one that is present is meant; fails when there is none, or not just one.
    Device& Find(const std::string& name);
    // The same, but the device must have a VCOM.
    Device& FindVcom(const std::string& name);

  private:
    void ReadNodes(const wchar_t* enumerator, std::list<Node>& nodes);
    void Pair();
    void AskDriver();

    std::list<DeviceInfoList> lists_;
    std::list<Node> vcoms_;
    std::list<Node> usbDevices_;
    std::list<Node> buses_;
    std::vector<Device> devices_;
};

Json ToJson(const Node* node);
Json ToJson(const Device& device);
// "present", "not present", or "problem 28 (...)".
std::string StateText(const Node* node);
