// Commands about the product's requests: what arrived, and what the next ones meet.
#include <algorithm>
#include <memory>
#include <set>
#include <vector>

#include "sim/simctl/commands.h"
#include "sim/simctl/console.h"

namespace {

constexpr DWORD kFollowMs = 100;

void PrintHex(const std::vector<uint8_t>& bytes) {
    for (size_t row = 0; row < bytes.size(); row += 16) {
        Print("    %04zX ", row);
        for (size_t i = row; i < row + 16 && i < bytes.size(); ++i)
            Print(" %02X", bytes[i]);
        Print("\n");
    }
}

std::string NameOf(uint32_t code) {
    const std::wstring_view name = RequestName(code);
    if (!name.empty()) return Narrow(name);
    char text[16];
    snprintf(text, sizeof(text), "0x%08X", code);
    return text;
}

// Only names are shown as texts; other inputs begin with something else.
std::string DeviceOf(const LoggedRequest& request) {
    const std::wstring name = request.DeviceName();
    const bool isName = !name.empty() && name[0] >= L' ' && request.record.code != IOCTL_TAVIX_SetGlobalCfg;
    return isName ? " \"" + Narrow(name) + "\"" : "";
}

void PrintRequest(const LoggedRequest& request, bool isHex) {
    const SimRequest_st& record = request.record;
    const DWORD error = request.Error();
    Print("%6llu  pid %5u  %-26s in %4u  out %4u  ", static_cast<unsigned long long>(record.sequence),
          record.processId, NameOf(record.code).c_str(), record.inputBytes, record.outputBytes);
    if (error == ERROR_IO_PENDING)
        Print("waiting");
    else
        Print("error %lu, %llu bytes", error, static_cast<unsigned long long>(record.returnedBytes));
    Print("%s\n", DeviceOf(request).c_str());
    if (isHex) PrintHex(request.input);
}

// Shows requests once, and those that waited again when they are answered.
class RequestPrinter {
  public:
    RequestPrinter(uint64_t first, bool isHex) : next_(first), isHex_(isHex) {}

    DWORD PrintNew(SimulatedDriver& driver) {
        std::vector<LoggedRequest> requests;
        const DWORD error = driver.ReadRequests(requests, waiting_.empty() ? next_ : *waiting_.begin());
        for (const LoggedRequest& request : requests)
            PrintOnce(request);
        return error;
    }

  private:
    void PrintOnce(const LoggedRequest& request) {
        const uint64_t sequence = request.record.sequence;
        const bool isWaiting = request.Error() == ERROR_IO_PENDING;
        const bool wasWaiting = waiting_.count(sequence) != 0;
        if (sequence < next_ && (!wasWaiting || isWaiting)) return;
        PrintRequest(request, isHex_ && !wasWaiting);
        if (isWaiting)
            waiting_.insert(sequence);
        else
            waiting_.erase(sequence);
        next_ = std::max(next_, sequence + 1);
    }

    uint64_t next_;
    bool isHex_;
    std::set<uint64_t> waiting_;
};

DWORD PrintRequests(SimulatedDriver& driver, uint64_t first, bool isHex, bool isFollowing) {
    RequestPrinter printer(first, isHex);
    DWORD error = printer.PrintNew(driver);
    while (isFollowing && error == ERROR_SUCCESS) {
        Sleep(kFollowMs);
        error = printer.PrintNew(driver);
    }
    return error;
}

void AddRequests(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("requests", "Show the requests that the product sent");
    auto first = std::make_shared<uint64_t>(0);
    auto isHex = std::make_shared<bool>(false);
    auto isFollowing = std::make_shared<bool>(false);
    auto clears = std::make_shared<bool>(false);
    command->add_option("--from", *first, "first number to show");
    command->add_flag("--hex", *isHex, "show the input bytes");
    command->add_flag("--follow", *isFollowing, "go on showing what arrives until stopped");
    command->add_flag("--clear", *clears, "clear the log afterwards");
    OnDriver(command, session, [first, isHex, isFollowing, clears](SimulatedDriver& driver) {
        const DWORD error = PrintRequests(driver, *first, *isHex, *isFollowing);
        return error == ERROR_SUCCESS && *clears ? driver.ClearRequests() : error;
    });
}

struct FaultArguments {
    std::string request;
    std::string status;
    std::string reply;
    std::string count = "1";
    int64_t replyBytes = -1;
    int64_t delayMs = -1;
    uint32_t skip = 0;
    bool isHeld = false;
};

std::string RequestHelp() {
    std::string help = "Requests:";
    for (const std::wstring_view name : RequestNames())
        help.append("\n  ").append(Narrow(name));
    return help;
}

bool ParseHex(const std::string& text, std::vector<uint8_t>& bytes) {
    if (text.size() % 2 != 0 || text.find_first_not_of("0123456789abcdefABCDEF") != text.npos) return false;
    for (size_t i = 0; i < text.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
    return true;
}

DWORD AddFault(SimulatedDriver& driver, const FaultArguments& arguments) {
    SimFault_st fault = {};
    fault.code = arguments.request == "any" ? 0 : RequestCode(Wide(arguments.request));
    if (fault.code == 0 && arguments.request != "any") {
        PrintHint(RequestHelp().c_str());
        return ERROR_INVALID_NAME;
    }
    fault.skip = arguments.skip;
    fault.count = arguments.count == "forever"
                      ? kSimForever
                      : static_cast<uint32_t>(std::strtoul(arguments.count.c_str(), nullptr, 0));
    std::vector<uint8_t> reply;
    if (!ParseHex(arguments.reply, reply)) return ERROR_INVALID_DATA;
    if (!reply.empty()) fault.flags |= kSimFaultReplyData;
    if (!arguments.status.empty()) {
        fault.flags |= kSimFaultStatus;
        fault.ntStatus = static_cast<int32_t>(std::strtoul(arguments.status.c_str(), nullptr, 0));
    }
    if (arguments.replyBytes >= 0) {
        fault.flags |= kSimFaultReplyBytes;
        fault.replyBytes = static_cast<uint32_t>(arguments.replyBytes);
    }
    if (arguments.delayMs >= 0) {
        fault.flags |= kSimFaultDelay;
        fault.delayMs = static_cast<uint32_t>(arguments.delayMs);
    }
    if (arguments.isHeld) fault.flags |= kSimFaultHold;
    return driver.AddFault(fault, reply);
}

void AddFail(CLI::App& app, Session& session) {
    CLI::App* command = app.add_subcommand("fail", "Declare what the next requests of a kind meet");
    command->footer(std::string("Some statuses: 0xC0000022 access denied, 0xC000020C not connected,\n") +
                    "0xC0000010 invalid function, 0xC000009A no resources\n\n" + RequestHelp());
    auto arguments = std::make_shared<FaultArguments>();
    command->add_option("REQUEST", arguments->request, "one of the names below, or \"any\"")->required();
    command->add_option("--status", arguments->status, "fail with an NTSTATUS");
    command->add_option("--reply-bytes", arguments->replyBytes, "claim so many bytes of reply");
    command->add_option("--reply", arguments->reply, "answer with these bytes, hexadecimal");
    command->add_option("--delay", arguments->delayMs, "carry out and answer after so many milliseconds");
    command->add_flag("--hold", arguments->isHeld, "carry out and answer at the next \"release\"");
    command->add_option("--skip", arguments->skip, "let so many requests pass before");
    command->add_option("--count", arguments->count, "requests to meet, or \"forever\"")
        ->capture_default_str();
    OnDriver(command, session, [arguments](SimulatedDriver& driver) { return AddFault(driver, *arguments); });
}

DWORD Release(SimulatedDriver& driver) {
    uint32_t released = 0;
    const DWORD error = driver.ReleaseHeld(&released);
    if (error == ERROR_SUCCESS) Print("released %u\n", released);
    return error;
}

}  // namespace

void AddRequestCommands(CLI::App& app, Session& session) {
    AddRequests(app, session);
    AddFail(app, session);
    OnDriver(app.add_subcommand("release", "Answer the requests that are held"), session, Release);
    OnDriver(app.add_subcommand("clear-faults", "Forget the declared faults and answer what waits"), session,
             [](SimulatedDriver& driver) { return driver.ClearFaults(); });
}
