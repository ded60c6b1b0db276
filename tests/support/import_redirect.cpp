#include "tests/support/import_redirect.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr size_t kMaxRecordedCalls = 10000;

struct ImportSlot {
    const char* dll;
    const char* function;
    void** address;
};

template <typename T>
T* AtOffset(HMODULE module, DWORD offset) {
    return reinterpret_cast<T*>(reinterpret_cast<char*>(module) + offset);
}

const IMAGE_IMPORT_DESCRIPTOR* FirstImportDescriptor(HMODULE module) {
    const auto* dos = AtOffset<IMAGE_DOS_HEADER>(module, 0);
    const auto* headers = AtOffset<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
    const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (directory.VirtualAddress == 0) return nullptr;
    return AtOffset<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress);
}

std::vector<ImportSlot> ImportSlots(HMODULE module) {
    std::vector<ImportSlot> slots;
    const auto* descriptor = FirstImportDescriptor(module);
    for (; descriptor != nullptr && descriptor->Name != 0; ++descriptor) {
        const char* dll = AtOffset<char>(module, descriptor->Name);
        const auto* name = AtOffset<IMAGE_THUNK_DATA>(module, descriptor->OriginalFirstThunk);
        auto* slot = AtOffset<IMAGE_THUNK_DATA>(module, descriptor->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
            const auto* byName =
                AtOffset<IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData));
            slots.push_back({dll, reinterpret_cast<const char*>(byName->Name),
                             reinterpret_cast<void**>(&slot->u1.Function)});
        }
    }
    return slots;
}

HMODULE OrTestProgram(HMODULE module) {
    return module != nullptr ? module : GetModuleHandleW(nullptr);
}

void WriteSlot(void** slot, void* value) {
    // Fetched by name, because our own import of it may be the one that is replaced.
    using Protect = BOOL(WINAPI*)(void*, SIZE_T, DWORD, DWORD*);
    static const auto protect =
        reinterpret_cast<Protect>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "VirtualProtect"));
    DWORD before = 0;
    protect(slot, sizeof(*slot), PAGE_READWRITE, &before);
    *slot = value;
    protect(slot, sizeof(*slot), before, &before);
}

}  // namespace

ImportRedirect::ImportRedirect(HMODULE module, const char* dll, const char* function, void* replacement) {
    for (const ImportSlot& slot : ImportSlots(OrTestProgram(module))) {
        if (std::strcmp(slot.function, function) != 0) continue;
        if (dll != nullptr && _stricmp(slot.dll, dll) != 0) continue;
        slots_.push_back({slot.address, *slot.address});
        WriteSlot(slot.address, replacement);
    }
    if (slots_.empty()) ADD_FAILURE() << function << " is not imported by the module under test";
}

ImportRedirect::ImportRedirect(HMODULE module, const ReplacementOf& replacementOf) {
    for (const ImportSlot& slot : ImportSlots(OrTestProgram(module))) {
        void* const replacement = replacementOf(slot.function, *slot.address);
        if (replacement == nullptr) continue;
        slots_.push_back({slot.address, *slot.address});
        WriteSlot(slot.address, replacement);
    }
}

ImportRedirect::~ImportRedirect() {
    for (const Slot& slot : slots_)
        WriteSlot(slot.address, slot.previous);
}

DWORD ThreadIdWithoutCalls() {
    DWORD id;
    __asm__("movl %%gs:0x48, %0" : "=r"(id));
    return id;
}

std::vector<std::string> ImportedFunctions(HMODULE module) {
    std::vector<std::string> names;
    for (const ImportSlot& slot : ImportSlots(OrTestProgram(module)))
        names.emplace_back(slot.function);
    return names;
}

void* ImportedFunction(HMODULE module, const char* function) {
    for (const ImportSlot& slot : ImportSlots(OrTestProgram(module)))
        if (std::strcmp(slot.function, function) == 0) return *slot.address;
    return nullptr;
}

CallFaults::CallFaults(HMODULE module) : module_(module) {
    calls_.reserve(kMaxRecordedCalls);
}

void CallFaults::FailAt(int number, bool forEver) {
    failAt_ = number;
    forEver_ = forEver;
}

void CallFaults::During(const std::function<void()>& body) {
    calls_.clear();
    failedName_ = nullptr;
    active_ = true;
    body();
    active_ = false;
}

bool CallFaults::ShouldFail(const char* name) {
    if (!active_) return false;
    if (calls_.size() == kMaxRecordedCalls) abort();
    calls_.push_back(name);
    const int number = static_cast<int>(calls_.size());
    if (failAt_ == 0 || number < failAt_ || (number > failAt_ && !forEver_)) return false;
    if (failedName_ == nullptr) failedName_ = name;
    return true;
}

std::string CallFaults::Describe() const {
    if (failAt_ == 0) return "no call failing";
    return "call " + std::to_string(failAt_) + (CallFailed() ? " (" + FailedName() + ")" : "") +
           (forEver_ ? " and all later ones failing" : " failing once");
}

int ForEachFailingCall(CallFaults& faults, const std::function<void()>& body) {
    faults.FailAt(0);
    body();
    const std::vector<std::string> calls = faults.calls();
    for (const bool forEver : {false, true}) {
        for (int number = 1; number <= static_cast<int>(calls.size()); ++number) {
            faults.FailAt(number, forEver);
            SCOPED_TRACE(calls[static_cast<size_t>(number) - 1] + ": " + faults.Describe());
            body();
        }
    }
    faults.FailAt(0);
    return static_cast<int>(calls.size());
}
