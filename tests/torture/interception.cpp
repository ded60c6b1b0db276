#include "tests/torture/interception.h"

#include <cstring>
#include <map>

namespace {

// Enough for every function that the DLL calls; those after the last one of a call are the caller's own
// words.
constexpr size_t kMaxArguments = 12;

struct Target {
    std::string function;
    void* real;
};

CallObserver g_observer;
DWORD g_thread = 0;

uint64_t CallReal(void* real, const uint64_t* a) {
    using Any = uint64_t (*)(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                             uint64_t, uint64_t, uint64_t, uint64_t);
    static_assert(kMaxArguments == 12);
    return reinterpret_cast<Any>(real)(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10],
                                       a[11]);
}

// mov rax, target; mov r11, TortureEntry; jmp r11
constexpr uint8_t kStubCode[] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0,    0,    0x49, 0xBB,
                                 0,    0,    0, 0, 0, 0, 0, 0, 0x41, 0xFF, 0xE3};
constexpr size_t kTargetOffset = 2;
constexpr size_t kEntryOffset = 12;
constexpr size_t kStubBytes = 32;
constexpr size_t kMaxStubs = 2048;

}  // namespace

extern "C" uint64_t TortureDispatch(const Target* target, uint64_t* arguments) {
    if (ThreadIdWithoutCalls() != g_thread || !g_observer) return CallReal(target->real, arguments);
    return g_observer({target->function, arguments, target->real});
}

// The four arguments in registers are laid before those on the stack, where the caller has left room for
// them.
extern "C" void TortureEntry();
__asm__(
    ".globl TortureEntry\n"
    "TortureEntry:\n"
    "  movq %rcx, 8(%rsp)\n"
    "  movq %rdx, 16(%rsp)\n"
    "  movq %r8, 24(%rsp)\n"
    "  movq %r9, 32(%rsp)\n"
    "  movq %rax, %rcx\n"
    "  leaq 8(%rsp), %rdx\n"
    "  subq $40, %rsp\n"
    "  call TortureDispatch\n"
    "  addq $40, %rsp\n"
    "  ret\n");

namespace {

// Stubs live as long as the process: the DLL keeps what it has looked up.
void* StubFor(const std::string& function, void* real) {
    static auto* const code = static_cast<uint8_t*>(
        VirtualAlloc(nullptr, kStubBytes * kMaxStubs, MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE));
    static std::map<std::pair<std::string, void*>, void*> stubs;
    void*& stub = stubs[{function, real}];
    if (stub != nullptr) return stub;
    if (stubs.size() > kMaxStubs) abort();
    stub = code + kStubBytes * (stubs.size() - 1);
    const auto* const target = new Target{function, real};
    void* const entry = reinterpret_cast<void*>(&TortureEntry);
    auto* const bytes = static_cast<uint8_t*>(stub);
    std::memcpy(bytes, kStubCode, sizeof(kStubCode));
    std::memcpy(bytes + kTargetOffset, &target, sizeof(target));
    std::memcpy(bytes + kEntryOffset, &entry, sizeof(entry));
    return stub;
}

}  // namespace

uint64_t InterceptedCall::Proceed() const {
    return CallReal(real, arguments);
}

Interception::Interception(HMODULE module, const std::function<bool(const std::string&)>& chosen,
                           CallObserver observer)
    : redirect_(module, [&](const char* function, void* real) {
          return chosen(function) ? StubFor(function, real) : nullptr;
      }) {
    g_thread = GetCurrentThreadId();
    g_observer = std::move(observer);
}

Interception::~Interception() {
    g_observer = nullptr;
}

void* InterceptedAddress(const std::string& function, void* real) {
    return StubFor(function, real);
}
