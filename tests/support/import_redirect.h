// Replaces single platform calls of one loaded module (the test program or a DLL) by patching its import
// table. Only calls made by that module are touched, and by default only those of the thread that asked for
// it, so that helper threads keep the real system. Everything is put back at the end of the scope. The
// compiler may load an import's address once per function, so the calls to replace must stand in another
// function than the patch.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/windows_api.h"

// Patches every import slot of `function` in `module` (null: the test program). `dll` may be null: any DLL. A
// function that the module does not import fails the test.
class ImportRedirect {
  public:
    ImportRedirect(HMODULE module, const char* dll, const char* function, void* replacement);
    // Every import that `replacementOf` has one for; it is asked with the function's name and address.
    using ReplacementOf = std::function<void*(const char* function, void* real)>;
    ImportRedirect(HMODULE module, const ReplacementOf& replacementOf);
    ~ImportRedirect();
    ImportRedirect(const ImportRedirect&) = delete;
    ImportRedirect& operator=(const ImportRedirect&) = delete;

    bool found() const { return !slots_.empty(); }

  private:
    struct Slot {
        void** address;
        void* previous;
    };
    std::vector<Slot> slots_;
};

// Every function that `module` imports by name.
std::vector<std::string> ImportedFunctions(HMODULE module);

// Where `module` (null: the test program) finds the function now; null when it does not import it.
void* ImportedFunction(HMODULE module, const char* function);

// Read from the thread's own block: any call made here could be a replaced one, and thread-local variables
// would allocate.
DWORD ThreadIdWithoutCalls();

class ReplacedCallBase {
  public:
    virtual ~ReplacedCallBase() = default;
};

template <auto function>
class ReplacedCall;

// Sends calls of `function` to a callable while it lives:
//   ReplacedCall<GetVersionExW> version("GetVersionExW", [&](OSVERSIONINFOW* info) { ...; return TRUE; });
// Inside the callable every call goes to the real system; Original() does so from anywhere. Replacements of
// the same function nest.
template <typename Result, typename... Arguments, Result (*function)(Arguments...)>
class ReplacedCall<function> : public ReplacedCallBase {
  public:
    using Replacement = std::function<Result(Arguments...)>;
    enum class Threads { kMine, kAll };

    ReplacedCall(const char* name, Replacement replacement, HMODULE module = nullptr,
                 Threads threads = Threads::kMine)
        : outer_(current_),
          replacement_(std::move(replacement)),
          thread_(threads == Threads::kMine ? ThreadIdWithoutCalls() : 0),
          // Known before the patch, because other threads may call at once.
          known_(outer_ != nullptr || RememberReal(module, name)),
          redirect_(module, nullptr, name, reinterpret_cast<void*>(&Trampoline)) {
        current_ = this;
    }
    ~ReplacedCall() override { current_ = outer_; }

    static Result Original(Arguments... arguments) { return real_(arguments...); }
    // What answers when this replacement does not: the one around it, or the real system.
    Result Outer(Arguments... arguments) {
        for (ReplacedCall* next = outer_; next != nullptr; next = next->outer_) {
            if (next->thread_ != 0 && next->thread_ != ThreadIdWithoutCalls()) continue;
            ++next->calls_;
            return next->replacement_(arguments...);
        }
        return real_(arguments...);
    }
    int calls() const { return calls_; }

  private:
    using Function = Result (*)(Arguments...);

    static bool RememberReal(HMODULE module, const char* name) {
        real_ = reinterpret_cast<Function>(ImportedFunction(module, name));
        return real_ != nullptr;
    }
    static Result Trampoline(Arguments... arguments) {
        ReplacedCall* self = current_;
        const DWORD thread = ThreadIdWithoutCalls();
        if (self == nullptr || insideThread_ == thread || (self->thread_ != 0 && self->thread_ != thread))
            return real_(arguments...);
        struct Inside {
            explicit Inside(DWORD id) { insideThread_ = id; }
            ~Inside() { insideThread_ = 0; }
        } inside(thread);
        ++self->calls_;
        return self->replacement_(arguments...);
    }

    inline static ReplacedCall* current_ = nullptr;
    inline static Function real_ = nullptr;
    inline static volatile DWORD insideThread_ = 0;

    ReplacedCall* outer_;
    Replacement replacement_;
    DWORD thread_;
    int calls_ = 0;
    bool known_;
    // Last member: the patch is undone before the rest goes.
    ImportRedirect redirect_;
};

// Declares `variable`, which replaces the calls of `function` by the callable for the rest of the scope.
#define REPLACE_CALL(variable, function, ...) ReplacedCall<function> variable(#function, __VA_ARGS__)

// Counts the watched calls made inside During() and makes chosen ones fail with the result and last error
// given for them. Nothing is counted outside During(), so the test itself may use the same functions. The
// calls that do not fail go to the replacement around the watch, when there is one, or to the real system.
class CallFaults {
  public:
    explicit CallFaults(HMODULE module = nullptr);

    template <auto function, typename Failure>
    void Watch(const char* name, Failure failure, DWORD error) {
        watched_.push_back(MakeWatch<function>(name, failure, error, function));
    }

    // Call number `number` (from 1) fails, or with `forEver` that one and all later ones; 0: none.
    void FailAt(int number, bool forEver = false);

    void During(const std::function<void()>& body);

    // The watched calls of the last During(), in order.
    std::vector<std::string> calls() const { return {calls_.begin(), calls_.end()}; }
    bool CallFailed() const { return failedName_ != nullptr; }
    // The call that failed first, empty when none did.
    std::string FailedName() const { return failedName_ != nullptr ? failedName_ : ""; }
    // "call 3 (CreateFileW) failed once", for SCOPED_TRACE.
    std::string Describe() const;

  private:
    template <auto function, typename Failure, typename Result, typename... Arguments>
    std::unique_ptr<ReplacedCallBase> MakeWatch(const char* name, Failure failure, DWORD error,
                                                Result (*)(Arguments...)) {
        // Known to its own replacement once it exists.
        auto self = std::make_shared<ReplacedCall<function>*>(nullptr);
        auto watch = std::make_unique<ReplacedCall<function>>(
            name,
            [this, name, failure, error, self](Arguments... arguments) -> Result {
                if (!ShouldFail(name)) {
                    return *self != nullptr ? (*self)->Outer(arguments...)
                                            : ReplacedCall<function>::Original(arguments...);
                }
                SetLastError(error);
                return (Result)failure;
            },
            module_);
        *self = watch.get();
        return watch;
    }
    bool ShouldFail(const char* name);

    HMODULE module_;
    std::vector<std::unique_ptr<ReplacedCallBase>> watched_;
    // Of fixed capacity: keeping the account must not allocate, which may be watched too.
    std::vector<const char*> calls_;
    const char* failedName_ = nullptr;
    bool active_ = false;
    int failAt_ = 0;
    bool forEver_ = false;
};

#define WATCH_CALL(faults, function, failure, error) (faults).Watch<function>(#function, failure, error)

// One run of `body` without failures, which counts; then one run per call with that call failing, once and
// for ever. `body` puts the code under test into faults.During(...) and checks the outcome, asking
// faults.CallFailed(). Returns the number of calls counted.
int ForEachFailingCall(CallFaults& faults, const std::function<void()>& body);
