// Commands about one simulated device: what it is, what it counts, how it fares.
#include <cstring>
#include <memory>
#include <vector>

#include "sim/simctl/commands.h"
#include "sim/simctl/console.h"

namespace {

DWORD List(SimulatedDriver& driver) {
    std::vector<SimDeviceState_st> devices;
    const DWORD error = driver.ListDevices(devices);
    for (const SimDeviceState_st& device : devices) {
        Print("%s\n", device.instanceId[0] != 0 ? Narrow(device.instanceId).c_str() : "(dangle VCOM)");
        Print("  Huid %s, %s, %s\n", Narrow(device.huid).c_str(),
              device.plugged != 0 ? "plugged" : "not plugged", device.online != 0 ? "online" : "offline");
        if (device.vcomInstanceId[0] == 0) continue;
        Print("  %s on %s (%s), lifemode %u, %s\n", Narrow(device.vcomInstanceId).c_str(),
              Narrow(device.portName).c_str(), Narrow(device.kernelName).c_str(), device.lifemode,
              device.vcomStarted != 0 ? "started" : "not started");
        Print("  opener %u, blind run %u, tweaks %u %u %u %u\n", device.openerPid, device.blindRun,
              device.tweakCounts[0], device.tweakCounts[1], device.tweakCounts[2], device.tweakCounts[3]);
    }
    return error;
}

struct FieldName {
    const char* name;
    SimDeviceFieldId field;
    bool isText;
    const char* meaning;
};

constexpr FieldName kFields[] = {
    {"speed", kSimFieldSpeed, false, "1 full, 2 high, 3 super, any number"},
    {"vid", kSimFieldVendorId, false, "idVendor"},
    {"pid", kSimFieldProductId, false, "idProduct"},
    {"bcd", kSimFieldBcdDevice, false, "bcdDevice"},
    {"manufacturer", kSimFieldManufacturer, true, "string"},
    {"product", kSimFieldProduct, true, "string"},
    {"serial", kSimFieldSerialNumber, true, "string"},
    {"reported-usb-path", kSimFieldReportedUsbdPath, true, "USB path that GetUsbdInfo tells, even offline"},
    {"reported-vcom-path", kSimFieldReportedVcomPath, true, "VCOM path that GetUsbdInfo tells"},
    {"devinst-answer", kSimFieldDevinstPathAnswer, true, "answer of QueryUsbdDevinstPath"},
    {"reported-kernel-name", kSimFieldReportedKernelName, true, "answer of QueryVcomFdoPdo"},
    {"lifemode", kSimFieldLifemode, false, "0 temporal, 1 friendly, 2 persistent"},
    {"port-name", kSimFieldPortName, true, "any text; a COM name moves the DOS link too"},
    {"cfg-result", kSimFieldCfgResult, false, "result word of GetVcomCfg"},
    {"set-cfg-result", kSimFieldSetCfgResult, false, "word returned by SetVcomCfg"},
    {"blind-run", kSimFieldBlindRun, false, "flag"},
    {"huid-value", kSimFieldHuid, true, "registry value NowHuid; empty removes it"},
    {"last-startup", kSimFieldLastStartup, false, "registry value, milliseconds since 1970"},
};

std::string FieldHelp() {
    std::string help = "Fields:";
    for (const FieldName& row : kFields)
        help.append("\n  ").append(row.name).append(": ").append(row.meaning);
    return help;
}

DWORD SetField(SimulatedDriver& driver, const std::string& device, const std::string& name,
               const std::string& value) {
    for (const FieldName& row : kFields) {
        if (name != row.name) continue;
        if (row.isText) return driver.SetText(Wide(device), row.field, Wide(value));
        return driver.SetNumber(Wide(device), row.field, std::strtoull(value.c_str(), nullptr, 0));
    }
    PrintHint(FieldHelp().c_str());
    return ERROR_INVALID_NAME;
}

// A named number inside a record.
struct RecordField {
    const char* name;
    size_t offset;
    size_t bytes;
};

#define TAVIX_FIELD(record, member) \
    { #member, offsetof(record, member), sizeof(record::member) }
constexpr RecordField kCounters[] = {
    TAVIX_FIELD(FlowpathStat_st, creationUemsec),        TAVIX_FIELD(FlowpathStat_st, histOfflineIncrease),
    TAVIX_FIELD(FlowpathStat_st, histOfflines),          TAVIX_FIELD(FlowpathStat_st, usbInActive),
    TAVIX_FIELD(FlowpathStat_st, usbReceivedBytes),      TAVIX_FIELD(FlowpathStat_st, vcomReadBytes),
    TAVIX_FIELD(FlowpathStat_st, vcomReadPendingBytes),  TAVIX_FIELD(FlowpathStat_st, readBufferBytes),
    TAVIX_FIELD(FlowpathStat_st, readBufferExtraBytes),  TAVIX_FIELD(FlowpathStat_st, readDiscardBytes),
    TAVIX_FIELD(FlowpathStat_st, histUsbReadBytes),      TAVIX_FIELD(FlowpathStat_st, histReadDiscardBytes),
    TAVIX_FIELD(FlowpathStat_st, readBufferLimitBytes),  TAVIX_FIELD(FlowpathStat_st, readBufferPeakBytes),
    TAVIX_FIELD(FlowpathStat_st, usbInErrors),           TAVIX_FIELD(FlowpathStat_st, histUsbInErrors),
    TAVIX_FIELD(FlowpathStat_st, usbOutActive),          TAVIX_FIELD(FlowpathStat_st, usbSentBytes),
    TAVIX_FIELD(FlowpathStat_st, vcomWrittenBytes),      TAVIX_FIELD(FlowpathStat_st, writeBufferBytes),
    TAVIX_FIELD(FlowpathStat_st, writeDiscardBytes),     TAVIX_FIELD(FlowpathStat_st, histUsbWrittenBytes),
    TAVIX_FIELD(FlowpathStat_st, histWriteDiscardBytes), TAVIX_FIELD(FlowpathStat_st, writeBufferLimitBytes),
    TAVIX_FIELD(FlowpathStat_st, writeBufferPeakBytes),  TAVIX_FIELD(FlowpathStat_st, usbOutErrors),
    TAVIX_FIELD(FlowpathStat_st, histUsbOutErrors),      TAVIX_FIELD(FlowpathStat_st, blindRun),
};
constexpr RecordField kErrorFields[] = {
    TAVIX_FIELD(UsbErrStat_st, headerWord),
    TAVIX_FIELD(UsbErrStat_st, evaluate),
    TAVIX_FIELD(UsbErrStat_st, lastInErrorTime),
    TAVIX_FIELD(UsbErrStat_st, lastOutErrorTime),
    TAVIX_FIELD(UsbErrStat_st, lastInRecoveredTime),
    TAVIX_FIELD(UsbErrStat_st, lastOutRecoveredTime),
    TAVIX_FIELD(UsbErrStat_st, sinceOnline.inPipeResets),
    TAVIX_FIELD(UsbErrStat_st, sinceOnline.outPipeResets),
    TAVIX_FIELD(UsbErrStat_st, sinceOnline.usbPortResets),
    TAVIX_FIELD(UsbErrStat_st, sinceOnline.usbPortCycles),
    TAVIX_FIELD(UsbErrStat_st, offlineCount),
    TAVIX_FIELD(UsbErrStat_st, lastOfflineTime),
    TAVIX_FIELD(UsbErrStat_st, totals.inPipeResets),
    TAVIX_FIELD(UsbErrStat_st, totals.outPipeResets),
    TAVIX_FIELD(UsbErrStat_st, totals.usbPortResets),
    TAVIX_FIELD(UsbErrStat_st, totals.usbPortCycles),
};
#undef TAVIX_FIELD

std::string NamesOf(std::span<const RecordField> fields) {
    std::string names = "Names:";
    for (const RecordField& field : fields)
        names.append("\n  ").append(field.name);
    return names;
}

uint64_t NowFiletime() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
}

// "NAME=NUMBER", where the number may be "now"; false when there is no such field.
bool Assign(std::span<const RecordField> fields, void* record, const std::string& assignment) {
    const size_t equals = assignment.find('=');
    if (equals == assignment.npos) return false;
    const std::string value = assignment.substr(equals + 1);
    const uint64_t number = value == "now" ? NowFiletime() : std::strtoull(value.c_str(), nullptr, 0);
    for (const RecordField& field : fields) {
        if (assignment.compare(0, equals, field.name) != 0) continue;
        std::memcpy(static_cast<uint8_t*>(record) + field.offset, &number, field.bytes);
        return true;
    }
    return false;
}

// "BUCKET=COUNT" with the bucket's index.
bool AssignBucket(UsbErrStat_st& stat, const std::string& assignment) {
    char* end = nullptr;
    const unsigned long bucket = std::strtoul(assignment.c_str(), &end, 10);
    if (end == assignment.c_str() || *end != '=' || bucket >= kUsbErrBucketCount) return false;
    stat.bucketCounts[bucket] = static_cast<uint32_t>(std::strtoul(end + 1, nullptr, 0));
    return true;
}

struct DeviceAndTexts {
    std::string device;
    std::vector<std::string> texts;
};

void AddCounters(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("counters", "Set the Flowpath counters of a device");
    command->footer(NamesOf(kCounters));
    auto arguments = std::make_shared<DeviceAndTexts>();
    command->add_option("DEVICE", arguments->device)->required();
    command->add_option("NAME=NUMBER", arguments->texts, "all others become 0")->required();
    OnDriver(command, session, [arguments](SimulatedDriver& driver) -> DWORD {
        FlowpathStat_st stat = {};
        for (const std::string& text : arguments->texts)
            if (!Assign(kCounters, &stat, text)) return ERROR_INVALID_NAME;
        return driver.SetFlowpath(Wide(arguments->device), stat);
    });
}

struct Transfer {
    std::string device;
    uint32_t up = 0;
    uint32_t down = 0;
    uint32_t taken = 0;
    uint32_t sent = 0;
    uint64_t miscount = 0;
};

DWORD StartTransfer(SimulatedDriver& driver, const Transfer& transfer) {
    const std::pair<SimDeviceFieldId, uint64_t> fields[] = {{kSimFieldReadRate, transfer.taken},
                                                            {kSimFieldSendRate, transfer.sent},
                                                            {kSimFieldUpstreamRate, transfer.up},
                                                            {kSimFieldDownstreamRate, transfer.down},
                                                            {kSimFieldMiscount, transfer.miscount}};
    for (const auto& [field, number] : fields) {
        const DWORD error = driver.SetNumber(Wide(transfer.device), field, number);
        if (error != ERROR_SUCCESS) return error;
    }
    return ERROR_SUCCESS;
}

void AddTransfer(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand(
        "transfer", "Let data flow through a device until the next \"transfer\"; without rates it stops");
    command->footer(
        "Both directions in a steady flow, then a reader that is too slow, then a stop:\n"
        "  simctl transfer 1&2 --up 200000 --down 50000\n"
        "  simctl transfer 1&2 --up 200000 --read 150000\n"
        "  simctl transfer 1&2");
    auto transfer = std::make_shared<Transfer>();
    command->add_option("DEVICE", transfer->device)->required();
    command->add_option("--up", transfer->up, "bytes per second that the device sends");
    command->add_option("--down", transfer->down, "bytes per second that are written to the VCOM");
    command->add_option("--read", transfer->taken,
                        "bytes per second that the VCOM's user reads; less than --up fills the buffer");
    command->add_option("--send", transfer->sent,
                        "bytes per second that the device takes; less than --down fills the buffer");
    command->add_option("--miscount", transfer->miscount,
                        "bytes that the driver counts too many in each direction");
    OnDriver(command, session,
             [transfer](SimulatedDriver& driver) { return StartTransfer(driver, *transfer); });
}

void AddErrors(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("errors", "Set the USB error statistics of a device");
    command->footer(NamesOf(kErrorFields));
    auto arguments = std::make_shared<DeviceAndTexts>();
    command->add_option("DEVICE", arguments->device)->required();
    command->add_option("NAME=NUMBER", arguments->texts,
                        "all others become 0; a bucket from 0 to 20 is a name too; a time may be \"now\"");
    OnDriver(command, session, [arguments](SimulatedDriver& driver) -> DWORD {
        UsbErrStat_st stat = {};
        stat.headerWord = kUsbErrStatHeaderWord;
        stat.evaluate = 1;
        for (const std::string& text : arguments->texts)
            if (!AssignBucket(stat, text) && !Assign(kErrorFields, &stat, text)) return ERROR_INVALID_NAME;
        return driver.SetUsbErrStat(Wide(arguments->device), stat);
    });
}

void AddHoldLog(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand(
        "hold-log", "Keep the error log of a USB device open for writing, or without ID none");
    auto id = std::make_shared<std::string>();
    auto locked = std::make_shared<bool>(false);
    command->add_option("ID", *id);
    command->add_flag("--locked", *locked, "nobody else may open the file");
    OnDriver(command, session, [id, locked](SimulatedDriver& driver) -> DWORD {
        return driver.HoldUsbErrorLog(Wide(*id), *locked);
    });
}

// A command on a device with one more argument.
template <typename Value, typename Function>
void AddOnDevice(CLI::App& app, Session& session, const char* name, const char* description,
                 const char* deviceLabel, const char* valueLabel, Function run) {
    CLI::App* command = app.add_subcommand(name, description);
    auto device = std::make_shared<std::string>();
    auto value = std::make_shared<Value>();
    command->add_option(deviceLabel, *device)->required();
    if (valueLabel != nullptr) command->add_option(valueLabel, *value)->required();
    OnDriver(command, session, [device, value, run](SimulatedDriver& driver) -> DWORD {
        return run(driver, Wide(*device), *value);
    });
}

}  // namespace

void AddDeviceCommands(CLI::App& app, Session& session) {
    OnDriver(app.add_subcommand("list", "List the devices that the driver knows"), session, List);
    AddOnDevice<std::string>(app, session, "forget",
                             "Let the driver forget a USB device with its Huid and port", "ID", nullptr,
                             [](SimulatedDriver& driver, const std::wstring& id, const std::string&) {
                                 return driver.Forget(id);
                             });
    AddOnDevice<std::string>(app, session, "offline", "Take a USB device offline; its VCOM stays", "DEVICE",
                             nullptr,
                             [](SimulatedDriver& driver, const std::wstring& device, const std::string&) {
                                 return driver.SetOnline(device, false);
                             });
    AddOnDevice<std::string>(app, session, "online", "Bring a USB device back", "DEVICE", nullptr,
                             [](SimulatedDriver& driver, const std::wstring& device, const std::string&) {
                                 return driver.SetOnline(device, true);
                             });
    AddOnDevice<uint32_t>(app, session, "opener",
                          "Declare the process that has the port open; 0: who really has it", "DEVICE", "PID",
                          [](SimulatedDriver& driver, const std::wstring& device, uint32_t pid) {
                              return driver.SetOpenerPid(device, pid);
                          });
    AddOnDevice<std::string>(app, session, "error-log", "Append an episode to the error log of a USB device",
                             "ID", "TEXT",
                             [](SimulatedDriver& driver, const std::wstring& id, const std::string& text) {
                                 return driver.WriteUsbErrorLog(id, Wide(text) + L"\r\n");
                             });
    AddHoldLog(app, session);
    CLI::App* set =
        app.add_subcommand("set", "Set a field of a device; an empty text gives it back to the model");
    set->footer(FieldHelp());
    auto arguments = std::make_shared<std::array<std::string, 3>>();
    set->add_option("DEVICE", (*arguments)[0])->required();
    set->add_option("FIELD", (*arguments)[1])->required();
    set->add_option("VALUE", (*arguments)[2])->required();
    OnDriver(set, session, [arguments](SimulatedDriver& driver) -> DWORD {
        return SetField(driver, (*arguments)[0], (*arguments)[1], (*arguments)[2]);
    });
    AddCounters(app, session);
    AddTransfer(app, session);
    AddErrors(app, session);
}
