#include "tests/torture/torture.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "tests/support/modal_driver.h"
#include "tests/support/wait_until.h"
#include "tests/torture/failures.h"
#include "tests/torture/lies.h"

namespace {

constexpr size_t kMostBoxes = 12;
constexpr DWORD kDriverWaitMs = 10000;

bool IsWatched(const std::string& function) {
    return FindFallible(function) != nullptr || HandleLedger::IsWatched(function) ||
           TorturedUser::IsWatched(function);
}

bool IsRead(uint32_t code) {
    const std::wstring_view name = RequestName(code);
    return name.starts_with(L"Get") || name.starts_with(L"Query");
}

BOOL CALLBACK AddTitle(HWND window, LPARAM titles) {
    if (!IsWindowVisible(window)) return TRUE;
    wchar_t title[100] = L"";
    GetWindowTextW(window, title, 100);
    reinterpret_cast<std::vector<std::wstring>*>(titles)->push_back(title);
    return TRUE;
}

std::vector<std::wstring> VisibleWindows() {
    std::vector<std::wstring> titles;
    EnumThreadWindows(GetCurrentThreadId(), AddTitle, reinterpret_cast<LPARAM>(&titles));
    return titles;
}

using EntryPoint = BOOL(WINAPI*)(HINSTANCE, DWORD, void*);

EntryPoint EntryPointOf(HMODULE module) {
    const auto* const base = reinterpret_cast<const char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    return reinterpret_cast<EntryPoint>(const_cast<char*>(base) +
                                        headers->OptionalHeader.AddressOfEntryPoint);
}

}  // namespace

std::string Mishap::Describe() const {
    std::ostringstream text;
    switch (kind) {
        case kNone:
            return "nothing goes wrong";
        case kFailingCall:
            text << function << " call " << call << " fails with " << code
                 << (forEver ? ", and all later ones" : "");
            break;
        case kLies:
            text << "the driver lies, seed " << seed;
            break;
        case kUnplugging:
            text << "the device is unplugged while request " << call << " waits";
            break;
    }
    return text.str();
}

Torture::Torture(const UsbIdentity& identity) : identity_(identity) {
    // A run that crashed may have left anything.
    driver.Connect(kDriverWaitMs);
    driver.Reset();
    driver.Plug(identity);
    driver.WaitForVcom(identity.InstanceId());
    ids_[static_cast<int>(Node::kUsb)] = identity.InstanceId();
    const SimDeviceState_st device = driver.FindDevice(identity.InstanceId()).value_or(SimDeviceState_st{});
    huid_ = device.huid;
    ids_[static_cast<int>(Node::kVcom)] = device.vcomInstanceId;
    ids_[static_cast<int>(Node::kBus)] = kBusInstanceId;
    for (const Node node : {Node::kUsb, Node::kVcom, Node::kBus})
        nodes_[static_cast<int>(node)] = std::make_unique<OpenedNode>(InstanceIdOf(node));
    driver.QueryGlobalCfg(globalCfg_);
    driver.QueryLogCfg(logCfg_);
}

OpenedNode& Torture::NodeOf(Node node) {
    return *nodes_[static_cast<int>(node)];
}

const std::wstring& Torture::InstanceIdOf(Node node) const {
    return ids_[static_cast<int>(node)];
}

DWORD Torture::CallExport(DI_FUNCTION function, Node node, bool postProcessing) {
    auto* const entry = reinterpret_cast<CoinstallerFunction*>(GetProcAddress(module_, "TavixCoInstaller"));
    COINSTALLER_CONTEXT_DATA context = {};
    context.PostProcessing = postProcessing;
    return entry(function, NodeOf(node).set(), NodeOf(node).element(), &context);
}

void Torture::Suffer(const std::function<void()>& body) {
    suffering_ = true;
    body();
    suffering_ = false;
    if (!unplugger_.joinable()) return;
    unplugger_.join();
    driver.Plug(identity_);
    driver.WaitForVcom(identity_.InstanceId());
}

void Torture::Expect(bool holds, const std::string& what) {
    if (!holds) problems_.push_back("not so: " + what);
}

void Torture::ExpectGlobalsUnchanged() {
    GlobalCfg_st now = {};
    driver.QueryGlobalCfg(now);
    Expect(std::memcmp(&now, &globalCfg_, sizeof(now)) == 0, "the settings are as before");
}

// ---- what goes wrong

bool Torture::Fails(const InterceptedCall& call, uint64_t& result) {
    const FallibleFunction* const function = FindFallible(call.function);
    if (function == nullptr) return false;
    const int number = ++calls_[call.function];
    if (mishap_.kind != Mishap::kFailingCall || mishap_.function != call.function || number < mishap_.call ||
        (number > mishap_.call && !mishap_.forEver))
        return false;
    met_ = true;
    result = ResultOfFailure(*function, mishap_.code, call.arguments);
    if (function->result != FailedResult::kCode) SetLastError(mishap_.code);
    return true;
}

bool Torture::Lies(const InterceptedCall& call, uint64_t& result) {
    if (mishap_.kind != Mishap::kLies || call.function != "DeviceIoControl") return false;
    met_ = true;
    ++liesTold_;
    const auto code = static_cast<uint32_t>(call.arguments[1]);
    const auto* const input = reinterpret_cast<const uint8_t*>(call.arguments[2]);
    if (!IsRead(code)) writes_.push_back({code, {input, input + static_cast<uint32_t>(call.arguments[3])}});
    result = TellLie(call, IsRead(code), random_);
    return true;
}

// The request waits in the driver while the device goes; then it is answered.
void Torture::Unplug(const InterceptedCall& call) {
    if (mishap_.kind != Mishap::kUnplugging || call.function != "DeviceIoControl" ||
        ++requests_ != mishap_.call)
        return;
    met_ = true;
    driver.HoldNext(0);
    unplugger_ = std::thread([identity = identity_] {
        SimulatedDriver other;
        other.Connect(kDriverWaitMs);
        other.WaitForHeld(1);
        other.Unplug(identity.InstanceId());
        other.ReleaseHeld();
    });
}

uint64_t Torture::OnCall(const InterceptedCall& call) {
    const DWORD before = GetLastError();
    uint64_t result = 0;
    if (suffering_ && (Fails(call, result) || Lies(call, result))) {
        if (call.function == "EndBufferedPaint") ledger_.BeforeCall(call.function, call.arguments, problems_);
        return result;
    }
    if (suffering_) Unplug(call);
    ledger_.BeforeCall(call.function, call.arguments, problems_);
    SetLastError(before);
    if (!user.Answers(call, result)) result = call.Proceed();
    const DWORD after = GetLastError();
    const bool lookedUp = call.function == "GetProcAddress" && result != 0 && call.arguments[1] > 0xFFFF;
    const auto* const name = reinterpret_cast<const char*>(call.arguments[1]);
    if (lookedUp && IsWatched(name))
        result = reinterpret_cast<uint64_t>(InterceptedAddress(name, reinterpret_cast<void*>(result)));
    ledger_.AfterCall(call.function, call.arguments, result);
    SetLastError(after);
    return result;
}

// ---- one run

void Torture::RestoreDriver() {
    driver.ClearFaults();
    driver.SetGlobalCfg(globalCfg_);
    driver.SetLogCfg(logCfg_);
    driver.SetNumber(huid_, kSimFieldBlindRun, 0);
}

// What loading has acquired is not in the ledger: the module is detached and attached again within it. The
// loader's own last detachment is made good by an attachment without it.
void Torture::RunInModule(const Flow& flow) {
    const LoadedLibrary library(LoadLibraryW(L"tavix_coinstaller.dll"));
    module_ = library.get();
    const EntryPoint entry = EntryPointOf(module_);
    entry(module_, DLL_PROCESS_DETACH, nullptr);
    {
        const Interception interception(module_, IsWatched,
                                        [this](const InterceptedCall& call) { return OnCall(call); });
        entry(module_, DLL_PROCESS_ATTACH, nullptr);
        flow.run(*this);
        entry(module_, DLL_PROCESS_DETACH, nullptr);
    }
    entry(module_, DLL_PROCESS_ATTACH, nullptr);
}

void Torture::RunOnce(const Flow& flow) {
    ledger_.Clear();
    calls_.clear();
    writes_.clear();
    allowed_.clear();
    problems_.clear();
    user = TorturedUser();
    user.ticks = Ticks();
    suffering_ = met_ = false;
    requests_ = liesTold_ = 0;
    random_.seed(mishap_.seed);
    RestoreDriver();
    TakeWrites();
    RunInModule(flow);
    PumpPendingMessages();
    problems_.insert(problems_.end(), user.problems.begin(), user.problems.end());
    for (const std::string& held : ledger_.Held())
        problems_.push_back(held);
    for (const std::wstring& title : VisibleWindows())
        problems_.push_back("left open: " + NarrowText(title));
}

std::vector<Torture::Request> Torture::TakeWrites() {
    std::vector<LoggedRequest> requests;
    driver.ReadRequests(requests, nextSequence_);
    if (!requests.empty()) nextSequence_ = requests.back().record.sequence + 1;
    std::vector<Request> writes = std::move(writes_);
    writes_.clear();
    for (const LoggedRequest& request : requests)
        if (!IsRead(request.record.code) && request.record.processId == GetCurrentProcessId())
            writes.push_back({request.record.code, request.input});
    return writes;
}

// The first run lets the system fill its caches.
const std::map<std::string, int>& Torture::Learn(const Flow& flow) {
    const auto [lesson, isNew] = lessons_.try_emplace(flow.name);
    if (isNew) {
        mishap_ = {};
        RunOnce(flow);
        RunOnce(flow);
        lesson->second = {calls_, TakeWrites(), user.boxes};
    }
    return lesson->second.calls;
}

std::vector<Mishap> Torture::FailingCalls(const Flow& flow) {
    std::vector<Mishap> mishaps;
    for (const auto& [function, count] : Learn(flow))
        for (int call = 1; call <= count; ++call)
            for (const DWORD code : FindFallible(function)->codes)
                for (const bool forEver : {false, true})
                    mishaps.push_back({Mishap::kFailingCall, function, call, code, forEver, 0});
    return mishaps;
}

std::vector<std::string> Torture::Run(const Flow& flow, const Mishap& mishap) {
    Learn(flow);
    mishap_ = mishap;
    RunOnce(flow);
    const Lesson& lesson = lessons_[flow.name];
    CheckBoxes(lesson);
    CheckWrites(lesson);
    return problems_;
}

// ---- what must hold

void Torture::CheckBoxes(const Lesson& lesson) {
    static const std::set<std::wstring> kTitles = {
        L"TAVIX Message", L"TAVIX meets error", L"Message",    L"TAVIX Self test",
        L"Self test",     L"USB error details", L"TAVIX error"};
    for (const ShownBox& box : user.boxes) {
        const bool usual = std::any_of(lesson.boxes.begin(), lesson.boxes.end(),
                                       [&](const ShownBox& shown) { return shown.title == box.title; });
        if (!usual && kTitles.count(box.title) == 0)
            problems_.push_back("unexpected box \"" + NarrowText(box.title) + "\": " + NarrowText(box.text));
    }
    if (user.boxes.size() > kMostBoxes)
        problems_.push_back("too many boxes: " + std::to_string(user.boxes.size()));
}

// Each write is one that the undisturbed flow sends too, and is sent as often at most. What is written after
// a lie follows from the lie.
void Torture::CheckWrites(const Lesson& lesson) {
    std::vector<Request> allowed = lesson.writes;
    for (const Request& write : TakeWrites()) {
        const auto match = std::find_if(allowed.begin(), allowed.end(), [&](const Request& known) {
            return known.code == write.code && (mishap_.kind == Mishap::kLies || known.input == write.input);
        });
        if (match == allowed.end() && allowed_.count(write.code) != 0) continue;
        if (match == allowed.end())
            problems_.push_back("nobody asked for the request " +
                                NarrowText(std::wstring(RequestName(write.code))));
        else
            allowed.erase(match);
    }
}
