// Runs one flow of the product with something going wrong in it: a call that fails, a reply of the driver
// that is nonsense, or a device that goes away while a request waits. Then checks what must hold whatever
// happens.
//
// The DLL is the installed one, loaded anew for every run, so that nothing is remembered from the run before.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/system/package_fixture.h"
#include "tests/torture/interception.h"
#include "tests/torture/ledger.h"
#include "tests/torture/user.h"

enum class Node { kUsb, kVcom, kBus };

// One thing that goes wrong.
struct Mishap {
    enum Kind { kNone, kFailingCall, kLies, kUnplugging } kind = kNone;
    std::string function;  // kFailingCall
    int call = 0;          // its call, or the request that is held, from 1
    DWORD code = 0;
    bool forEver = false;
    uint32_t seed = 0;  // kLies

    std::string Describe() const;
};

class Torture;

// A way through the product. It prepares what it needs, does what is tortured inside Torture::Suffer, and
// then checks with Torture::Expect that things work again.
struct Flow {
    std::string name;
    std::function<void(Torture&)> run;
};

class Torture {
  public:
    // The simulated bus is there and has the device `identity`.
    explicit Torture(const UsbIdentity& identity);

    // The calls that the flow makes by itself, by function; what it does then is what it is allowed to do
    // later.
    const std::map<std::string, int>& Learn(const Flow& flow);
    // All that goes wrong with the flow's calls, once and for ever.
    std::vector<Mishap> FailingCalls(const Flow& flow);
    // What was wrong; empty when all was well.
    std::vector<std::string> Run(const Flow& flow, const Mishap& mishap);
    // Whether the last run came to the call that was to fail.
    bool WasMet() const { return met_; }
    int LiesTold() const { return liesTold_; }

    // ---- for flows
    void Suffer(const std::function<void()>& body);
    // How often something that repeats is done: the more, the more is lied.
    int Ticks() const { return mishap_.kind == Mishap::kLies ? 60 : 2; }
    // The user has asked for this request, although the undisturbed flow finds nothing to write.
    void AllowWrite(uint32_t code) { allowed_.insert(code); }
    void ExpectGlobalsUnchanged();
    // The bus refused to be opened for writing, which the module remembers until it is unloaded.
    bool WasWritingDenied() const {
        return met_ && mishap_.function == "CreateFileW" && mishap_.code == ERROR_ACCESS_DENIED;
    }
    void Expect(bool holds, const std::string& what);
    const std::wstring& huid() const { return huid_; }
    OpenedNode& NodeOf(Node node);
    const std::wstring& InstanceIdOf(Node node) const;
    DWORD CallExport(DI_FUNCTION function, Node node, bool postProcessing = false);

    TorturedUser user;
    SimulatedDriver driver;

  private:
    struct Request {
        uint32_t code;
        std::vector<uint8_t> input;
        bool operator==(const Request&) const = default;
    };
    struct Lesson {
        std::map<std::string, int> calls;
        std::vector<Request> writes;
        std::vector<ShownBox> boxes;
    };

    uint64_t OnCall(const InterceptedCall& call);
    bool Fails(const InterceptedCall& call, uint64_t& result);
    bool Lies(const InterceptedCall& call, uint64_t& result);
    void Unplug(const InterceptedCall& call);
    void RunOnce(const Flow& flow);
    void RunInModule(const Flow& flow);
    void RestoreDriver();
    void CheckBoxes(const Lesson& lesson);
    void CheckWrites(const Lesson& lesson);
    std::vector<Request> TakeWrites();

    UsbIdentity identity_;
    std::wstring huid_;
    std::wstring ids_[3];
    std::unique_ptr<OpenedNode> nodes_[3];
    GlobalCfg_st globalCfg_ = {};
    LogCfg_st logCfg_ = {};

    std::map<std::string, Lesson> lessons_;
    HMODULE module_ = nullptr;
    HandleLedger ledger_;
    std::map<std::string, int> calls_;
    std::set<uint32_t> allowed_;
    std::vector<Request> writes_;  // that were answered with a lie
    std::vector<std::string> problems_;
    Mishap mishap_;
    std::mt19937 random_;
    bool suffering_ = false;
    bool met_ = false;
    int liesTold_ = 0;
    int requests_ = 0;
    std::thread unplugger_;
    uint64_t nextSequence_ = 0;
};
