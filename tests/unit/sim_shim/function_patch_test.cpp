#include "sim/shim/function_patch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>

namespace {

using NumberFunction = int(int);

int Answer42(int) {
    return 42;
}

NumberFunction* wrapped = nullptr;
int AnswerOneMore(int number) {
    return wrapped(number) + 1;
}

// A function made of the given bytes, in memory of its own.
class MachineCode {
  public:
    explicit MachineCode(std::initializer_list<uint8_t> bytes)
        : memory_(static_cast<uint8_t*>(
              VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE))) {
        std::copy(bytes.begin(), bytes.end(), memory_);
        DWORD before = 0;
        VirtualProtect(memory_, 4096, PAGE_EXECUTE_READ, &before);
    }
    ~MachineCode() { VirtualFree(memory_, 0, MEM_RELEASE); }
    MachineCode(const MachineCode&) = delete;
    MachineCode& operator=(const MachineCode&) = delete;

    FunctionAddress address() const { return reinterpret_cast<FunctionAddress>(memory_); }
    int operator()(int number) const { return reinterpret_cast<NumberFunction*>(memory_)(number); }
    DWORD Protection() const {
        MEMORY_BASIC_INFORMATION information = {};
        VirtualQuery(memory_, &information, sizeof(information));
        return information.Protect;
    }

  private:
    uint8_t* memory_;
};

// push rdi; push rbx; sub rsp, 28h; mov rdi, rcx; lea eax, [rdi + 7]; add rsp, 28h; pop rbx; pop rdi; ret
const std::initializer_list<uint8_t> kAddsSeven = {0x57, 0x53, 0x48, 0x83, 0xEC, 0x28, 0x48, 0x89, 0xCF, 0x8D,
                                                   0x47, 0x07, 0x48, 0x83, 0xC4, 0x28, 0x5B, 0x5F, 0xC3};
// lea eax, [rcx + 7]; ret; then nothing that could be moved
const std::initializer_list<uint8_t> kBeginsWithWork = {0x8D, 0x41, 0x07, 0xC3, 0x90, 0x90, 0x90,
                                                        0x90, 0x90, 0x90, 0x90, 0x90, 0x90};

FunctionAddress AddressOf(NumberFunction* function) {
    return reinterpret_cast<FunctionAddress>(function);
}

TEST(FunctionPatch, AReplacedFunctionAnswersAsItsReplacement) {
    const MachineCode code(kAddsSeven);
    EXPECT_EQ(code(1), 8);
    ASSERT_TRUE(ReplaceFunction(code.address(), AddressOf(Answer42)));
    EXPECT_EQ(code(1), 42);
}

TEST(FunctionPatch, AWrappedFunctionCanStillBeCalled) {
    const MachineCode code(kAddsSeven);
    wrapped = reinterpret_cast<NumberFunction*>(WrapFunction(code.address(), AddressOf(AnswerOneMore)));
    ASSERT_NE(wrapped, nullptr);
    EXPECT_EQ(code(1), 9);
    EXPECT_EQ(wrapped(1), 8);
}

TEST(FunctionPatch, AFunctionThatBeginsWithOtherWorkIsNotWrapped) {
    const MachineCode code(kBeginsWithWork);
    EXPECT_EQ(WrapFunction(code.address(), AddressOf(Answer42)), nullptr);
    EXPECT_EQ(code(1), 8);
}

TEST(FunctionPatch, TheCodeIsProtectedAgain) {
    const MachineCode code(kAddsSeven);
    ASSERT_TRUE(ReplaceFunction(code.address(), AddressOf(Answer42)));
    EXPECT_EQ(code.Protection(), static_cast<DWORD>(PAGE_EXECUTE_READ));
}

}  // namespace
