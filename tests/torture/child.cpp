#include "tests/torture/child.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>

#include <commctrl.h>

#include "sim/shim/platform_shim.h"
#include "tests/torture/flows.h"

namespace {

// One after the other, as the seed says.
constexpr int kLiesInASample = 4;  // of ten cases
constexpr int kPluggingInASample = 1;

class Child {
  public:
    Child(ChildProgress& progress, FILE* report)
        : progress_(progress), report_(report), torture_(TorturedDevice()) {}

    void RunAll(const Flow& flow, const std::vector<Mishap>& mishaps, int from) {
        for (int index = from; index < static_cast<int>(mishaps.size()); ++index)
            Run(flow, mishaps[static_cast<size_t>(index)], index);
    }

    void Run(const Flow& flow, const Mishap& mishap, int index) {
        const std::string what = flow.name + " #" + std::to_string(index) + ", " + mishap.Describe();
        snprintf(progress_.what, sizeof(progress_.what), "%s", what.c_str());
        progress_.index = index;
        for (const std::string& problem : torture_.Run(flow, mishap))
            fprintf(report_, "%s: %s\n", what.c_str(), problem.c_str());
        fflush(report_);
        ++progress_.cases;
        progress_.met += torture_.WasMet() ? 1 : 0;
        progress_.lies += torture_.LiesTold();
    }

    Torture& torture() { return torture_; }

  private:
    ChildProgress& progress_;
    FILE* report_;
    Torture torture_;
};

std::vector<Mishap> Lies(int rounds) {
    std::vector<Mishap> mishaps;
    for (int round = 0; round < rounds; ++round)
        mishaps.push_back({Mishap::kLies, {}, 0, 0, false, static_cast<uint32_t>(round)});
    return mishaps;
}

std::vector<Mishap> Unpluggings(Torture& torture, const Flow& flow) {
    std::vector<Mishap> mishaps;
    const auto& calls = torture.Learn(flow);
    const auto requests = calls.find("DeviceIoControl");
    for (int call = 1; requests != calls.end() && call <= requests->second; ++call)
        mishaps.push_back({Mishap::kUnplugging, {}, call, 0, false, 0});
    return mishaps;
}

std::vector<Mishap> MishapsOfKind(Torture& torture, const Flow& flow, uint32_t number) {
    const int kind = static_cast<int>(number % 10);
    if (kind < kLiesInASample) return {{Mishap::kLies, {}, 0, 0, false, number}};
    if (kind < kLiesInASample + kPluggingInASample) return Unpluggings(torture, flow);
    return torture.FailingCalls(flow);
}

// Each case follows from the seed and its number alone.
void RunSample(Child& child, const std::vector<Flow>& flows, uint32_t seed, DWORD seconds, int from) {
    const DWORD start = GetTickCount();
    for (int index = from; GetTickCount() - start < seconds * 1000; ++index) {
        std::seed_seq sequence = {seed, static_cast<uint32_t>(index)};
        std::mt19937 random(sequence);
        const Flow& flow = flows[random() % flows.size()];
        const std::vector<Mishap> mishaps = MishapsOfKind(child.torture(), flow, random());
        if (!mishaps.empty()) child.Run(flow, mishaps[random() % mishaps.size()], index);
    }
}

}  // namespace

UsbIdentity TorturedDevice() {
    UsbIdentity identity;
    identity.serial = L"SYSTEST1";
    identity.product = L"First scanner";
    return identity;
}

ChildProgress* OpenProgress(const std::wstring& file) {
    const FileHandle handle(CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0,
                                        nullptr));
    const KernelHandle mapping(
        CreateFileMappingW(handle.get(), nullptr, PAGE_READWRITE, 0, sizeof(ChildProgress), nullptr));
    return static_cast<ChildProgress*>(
        MapViewOfFile(mapping.get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(ChildProgress)));
}

int RunChild(const std::wstring& progressFile, const std::wstring& reportFile, int argc, wchar_t** argv) {
    ChildProgress* const progress = OpenProgress(progressFile);
    FILE* const report = _wfopen(reportFile.c_str(), L"ab");
    if (progress == nullptr || report == nullptr || argc < 3) return 2;
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    InstallPlatformShim();
    InitCommonControls();
    const std::vector<Flow> flows = AllFlows();
    Child child(*progress, report);
    const std::wstring kind = argv[0];
    const auto number = [&](int index) {
        return index < argc ? static_cast<int>(wcstoul(argv[index], nullptr, 10)) : 0;
    };
    const Flow& flow = flows[static_cast<size_t>(number(1)) % flows.size()];
    snprintf(progress->what, sizeof(progress->what), "%s, while it is learned", flow.name.c_str());
    if (kind == L"sample")
        RunSample(child, flows, static_cast<uint32_t>(number(1)), static_cast<DWORD>(number(2)), number(3));
    if (kind == L"lie" && number(3) == 0)
        child.Run(flow, {Mishap::kLies, {}, 0, 0, false, static_cast<uint32_t>(number(2))}, 0);
    if (kind == L"calls") child.RunAll(flow, child.torture().FailingCalls(flow), number(2));
    if (kind == L"lies") child.RunAll(flow, Lies(number(2)), number(3));
    if (kind == L"unplug") child.RunAll(flow, Unpluggings(child.torture(), flow), number(2));
    fclose(report);
    progress->done = 1;
    return 0;
}
