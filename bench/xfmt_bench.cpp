// The format engine beside the C library and beside {fmt}, on the texts that the system makes most.
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <fmt/xchar.h>

#include "base/xfmt.h"
#include "bench/harness.h"

namespace {

constexpr int32_t kChars = 2000;
constexpr BenchAim kThreeTimes{3.0};
constexpr BenchAim kAsFast{1.0};

wchar_t ours[kChars];
wchar_t theirs[kChars];

// The same arguments for both sides; the C library takes wide text as %ls.
template <typename... Args>
void BenchText(const char* name, const wchar_t* format, const wchar_t* cFormat, const wchar_t* fmtFormat,
               Args... args) {
    const BenchWork engine = [=] { KeepResult(xfmt(ours, kChars, format, args...)); };
    const BenchWork library = [=] { KeepResult(_snwprintf(theirs, kChars, cFormat, args...)); };
    // What C++ code calls swprintf is linked in; the system's own stands in msvcrt.
    const BenchWork linked = [=] { KeepResult(swprintf(theirs, kChars, cFormat, args...)); };
    // Its wide formats are read at run time, as the engine's are.
    const BenchWork fmtLibrary = [=] {
        const auto result = fmt::format_to_n(theirs, kChars - 1, fmtFormat, args...);
        *result.out = 0;
        KeepResult(result.size);
    };
    engine();
    library();
    if (wcscmp(ours, theirs) != 0) printf("%s: _snwprintf differs: %ls | %ls\n", name, ours, theirs);
    fmtLibrary();
    if (wcscmp(ours, theirs) != 0) printf("%s: {fmt} differs: %ls | %ls\n", name, ours, theirs);
    BenchCompare((std::string(name) + " / _snwprintf").c_str(), engine, library, kThreeTimes);
    BenchCompare((std::string(name) + " / swprintf").c_str(), engine, linked, kThreeTimes);
    BenchCompare((std::string(name) + " / {fmt}").c_str(), engine, fmtLibrary, kAsFast);
}

void BenchTexts() {
    PrintBenchHeader("texts", "xfmt", "peer");
    BenchText("COM%d %s", L"COM%d %s", L"COM%d %ls", L"COM{} {}", 12, L"(#)");
    BenchText("WinErr=%d(%s)", L"WinErr=%d(%s)", L"WinErr=%d(%ls)", L"WinErr={}({})", 1167,
              L"ERROR_DEVICE_NOT_CONNECTED");
    BenchText("Error in %s(). UfAppErr=%d(%s).", L"Error in %s(). UfAppErr=%d(%s).",
              L"Error in %ls(). UfAppErr=%d(%ls).", L"Error in {}(). UfAppErr={}({}).", L"tavo_GetVcomCfg", 7,
              L"UfAppErr_VbusNotReady");
    BenchText("%s\\%s", L"%s\\%s", L"%ls\\%ls", L"{}\\{}", L"QRV_VBUS\\Qrv_vcom", L"1&79F5D87&0&0001");
    BenchText("%s:%s", L"%s:%s", L"%ls:%ls", L"{}:{}", L"VCOM", L"DIF_ADDPROPERTYPAGE_ADVANCED");
    BenchText("time stamp", L"%04d-%02d-%02d %02d:%02d:%02d", L"%04d-%02d-%02d %02d:%02d:%02d",
              L"{:04}-{:02}-{:02} {:02}:{:02}:{:02}", 2024, 3, 5, 9, 7, 2);
    BenchText("0x%08X %6u|%-10s|", L"0x%08X %6u|%-10s|", L"0x%08X %6u|%-10ls|", L"0x{:08X} {:6}|{:<10}|",
              0xC0000011u, 4711u, L"bucket");
    BenchText("64-bit counters", L"%lld of %lld bytes, %u errors\n", L"%lld of %lld bytes, %u errors\n",
              L"{} of {} bytes, {} errors\n", 123456789012LL, 9876543210987LL, 42u);
}

// What a caller of the other two would write for digit groups.
std::wstring GroupByHand(const wchar_t* digits) {
    std::wstring text = digits;
    for (int at = static_cast<int>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<size_t>(at), 1, L',');
    return text;
}

void BenchStatistics() {
    PrintBenchHeader("statistics text with digit groups", "xfmt", "peer");
    const long long in = 1234567890123, out = 987654321;
    const unsigned errors = 4321;
    const BenchWork engine = [=] {
        KeepResult(xfmt(ours, kChars, L"%tRead : %lld bytes\nWrite: %lld bytes\nErrors: %u\n", L",", in, out,
                        errors));
    };
    const BenchWork library = [=] {
        wchar_t digits[3][24];
        _snwprintf(digits[0], 24, L"%lld", in);
        _snwprintf(digits[1], 24, L"%lld", out);
        _snwprintf(digits[2], 24, L"%u", errors);
        KeepResult(_snwprintf(theirs, kChars, L"Read : %ls bytes\nWrite: %ls bytes\nErrors: %ls\n",
                              GroupByHand(digits[0]).c_str(), GroupByHand(digits[1]).c_str(),
                              GroupByHand(digits[2]).c_str()));
    };
    const BenchWork fmtLibrary = [=] {
        const auto result = fmt::format_to_n(
            theirs, kChars - 1, L"Read : {} bytes\nWrite: {} bytes\nErrors: {}\n",
            GroupByHand(fmt::to_wstring(in).c_str()), GroupByHand(fmt::to_wstring(out).c_str()),
            GroupByHand(fmt::to_wstring(errors).c_str()));
        *result.out = 0;
        KeepResult(result.size);
    };
    engine();
    library();
    if (wcscmp(ours, theirs) != 0) printf("statistics: _snwprintf differs\n");
    fmtLibrary();
    if (wcscmp(ours, theirs) != 0) printf("statistics: {fmt} differs\n");
    BenchCompare("statistics / _snwprintf", engine, library, kThreeTimes);
    BenchCompare("statistics / {fmt}", engine, fmtLibrary, kAsFast);
}

void DumpByHand(wchar_t* out, const unsigned char* bytes, int count) {
    for (int i = 0; i < count; ++i) {
        *out++ = static_cast<wchar_t>("0123456789abcdef"[bytes[i] >> 4]);
        *out++ = static_cast<wchar_t>("0123456789abcdef"[bytes[i] & 15]);
        *out++ = i + 1 < count ? L' ' : L'\0';
    }
}

void BenchDump() {
    PrintBenchHeader("hex dump of 256 bytes", "xfmt", "peer");
    static unsigned char bytes[256];
    for (int i = 0; i < 256; ++i)
        bytes[i] = static_cast<unsigned char>(i * 37);
    const BenchWork engine = [] { KeepResult(xfmt(ours, kChars, L"%k%256m", L" ", bytes)); };
    const BenchWork byHand = [] {
        DumpByHand(theirs, bytes, 256);
        KeepResult(theirs[0]);
    };
    const BenchWork library = [] {
        wchar_t* at = theirs;
        for (int i = 0; i < 256; ++i)
            at += _snwprintf(at, 8, i + 1 < 256 ? L"%02x " : L"%02x", bytes[i]);
        KeepResult(at);
    };
    engine();
    byHand();
    if (wcscmp(ours, theirs) != 0) printf("dump differs\n");
    BenchCompare("dump / hand loop", engine, byHand);
    BenchCompare("dump / _snwprintf", engine, library, kThreeTimes);
}

void BenchLongCopy() {
    PrintBenchHeader("%s of 64,000 characters", "xfmt", "peer");
    constexpr int32_t kLong = 64000;
    static std::vector<wchar_t> source(kLong + 1, L'x'), target(kLong + 1), other(kLong + 1);
    source[kLong] = 0;
    const BenchWork engine = [] { KeepResult(xfmt(target.data(), kLong + 1, L"%s", source.data())); };
    const BenchWork copy = [] {
        memcpy(other.data(), source.data(), (kLong + 1) * sizeof(wchar_t));
        KeepResult(other[0]);
    };
    const BenchWork library = [] { KeepResult(_snwprintf(other.data(), kLong + 1, L"%ls", source.data())); };
    BenchCompare("long copy / memcpy", engine, copy);
    BenchCompare("long copy / _snwprintf", engine, library, kAsFast);
}

}  // namespace

int main() {
    BenchTexts();
    BenchStatistics();
    BenchDump();
    BenchLongCopy();
    return 0;
}
