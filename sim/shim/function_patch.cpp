#include "sim/shim/function_patch.h"

#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace {

constexpr size_t kFarJumpBytes = 12;
constexpr size_t kNearJumpBytes = 5;

uint8_t* CodeOf(FunctionAddress function) {
    return reinterpret_cast<uint8_t*>(function);
}

// mov rax, destination; jmp rax. The register is free at the start of every function.
void WriteFarJump(uint8_t* place, const uint8_t* destination) {
    const auto address = reinterpret_cast<uint64_t>(destination);
    place[0] = 0x48;
    place[1] = 0xB8;
    std::memcpy(place + 2, &address, sizeof(address));
    place[10] = 0xFF;
    place[11] = 0xE0;
}

// jmp destination, which lies within 2 GB.
void WriteNearJump(uint8_t* place, const uint8_t* destination) {
    const auto distance = static_cast<int32_t>(destination - (place + kNearJumpBytes));
    place[0] = 0xE9;
    std::memcpy(place + 1, &distance, sizeof(distance));
}

class WritableCode {
  public:
    WritableCode(uint8_t* code, size_t bytes) : code_(code), bytes_(bytes) {
        writable_ = VirtualProtect(code, bytes, PAGE_EXECUTE_READWRITE, &protection_) != FALSE;
    }
    ~WritableCode() {
        if (!writable_) return;
        VirtualProtect(code_, bytes_, protection_, &protection_);
        FlushInstructionCache(GetCurrentProcess(), code_, bytes_);
    }
    WritableCode(const WritableCode&) = delete;
    WritableCode& operator=(const WritableCode&) = delete;
    explicit operator bool() const { return writable_; }

  private:
    uint8_t* code_;
    size_t bytes_;
    DWORD protection_ = 0;
    bool writable_ = false;
};

// Length of an instruction that saves a register, makes room on the stack or moves a register: the ones that
// mean the same at another address. 0 for any other.
size_t MovableInstructionBytes(const uint8_t* code) {
    const bool hasPrefix = (code[0] & 0xF0) == 0x40;
    const uint8_t* opcode = hasPrefix ? code + 1 : code;
    const size_t prefixBytes = hasPrefix ? 1 : 0;
    if ((opcode[0] & 0xF8) == 0x50) return prefixBytes + 1;              // push
    if (opcode[0] == 0x83 && opcode[1] == 0xEC) return prefixBytes + 3;  // sub rsp, 8 bit
    if (opcode[0] == 0x81 && opcode[1] == 0xEC) return prefixBytes + 6;  // sub rsp, 32 bit
    if ((opcode[0] == 0x89 || opcode[0] == 0x8B) && opcode[1] >= 0xC0) return prefixBytes + 2;  // mov
    return 0;
}

// Bytes of whole movable instructions that make room for a near jump, 0 when there is no such run.
size_t MovablePrologueBytes(const uint8_t* code) {
    size_t bytes = 0;
    while (bytes < kNearJumpBytes) {
        const size_t next = MovableInstructionBytes(code + bytes);
        if (next == 0) return 0;
        bytes += next;
    }
    return bytes;
}

uint8_t* AllocateNear(const uint8_t* code, size_t bytes) {
    constexpr intptr_t kStep = 0x10000;  // allocation granularity
    constexpr intptr_t kReach = 0x40000000;
    const auto base = reinterpret_cast<intptr_t>(code) & ~(kStep - 1);
    for (intptr_t distance = kStep; distance < kReach; distance += kStep) {
        for (const intptr_t address : {base - distance, base + distance}) {
            if (address <= 0) continue;
            void* block = VirtualAlloc(reinterpret_cast<void*>(address), bytes, MEM_RESERVE | MEM_COMMIT,
                                       PAGE_EXECUTE_READWRITE);
            if (block) return static_cast<uint8_t*>(block);
        }
    }
    return nullptr;
}

}  // namespace

bool ReplaceFunction(FunctionAddress target, FunctionAddress replacement) {
    const WritableCode writable(CodeOf(target), kFarJumpBytes);
    if (!writable) return false;
    WriteFarJump(CodeOf(target), CodeOf(replacement));
    return true;
}

// The near block holds the far jump to the replacement, then the moved prologue and the jump to the rest.
FunctionAddress WrapFunction(FunctionAddress target, FunctionAddress replacement) {
    uint8_t* code = CodeOf(target);
    const size_t prologueBytes = MovablePrologueBytes(code);
    if (prologueBytes == 0) return nullptr;
    uint8_t* block = AllocateNear(code, kFarJumpBytes + prologueBytes + kNearJumpBytes);
    if (!block) return nullptr;
    uint8_t* original = block + kFarJumpBytes;
    WriteFarJump(block, CodeOf(replacement));
    std::memcpy(original, code, prologueBytes);
    WriteNearJump(original + prologueBytes, code + prologueBytes);

    const WritableCode writable(code, kNearJumpBytes);
    if (!writable) {
        VirtualFree(block, 0, MEM_RELEASE);
        return nullptr;
    }
    WriteNearJump(code, block);
    return reinterpret_cast<FunctionAddress>(original);
}
