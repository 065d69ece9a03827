// Applying files, beside the verbs that do as much.

#include "Bench/BenchApply.h"

#include "Bench/BenchHost.h"
#include "Bench/ProgramRun.h"

#include "Tools/vlanctl/Commands.h"
#include "Tools/vlanctl/Output.h"

namespace
{
constexpr size_t VLANS = 60;
constexpr double CREATION_GOAL = 1.1;
constexpr double LISTING_GOAL = 1.3;
constexpr int ROUNDS = 3;

std::string BenchFile()
{
    return ToUtf8(_wgetenv(L"TEMP")) + "\\bench-vlans.json";
}

// The VLANs that `create` makes of a range of ids.
void WriteBenchFile(const std::string& prefix)
{
    std::string vlans;
    for (size_t id = 1; id <= VLANS; ++id)
        vlans += std::string(id > 1 ? "," : "") + R"({ "id": )" + std::to_string(id) + R"(, "name": ")" + prefix +
                 std::to_string(id) + R"(" })";
    FILE* const file = _wfopen(FromUtf8(BenchFile()), L"wb");
    std::fputs((R"({ "parents": { "Port 1": { "vlans": [)" + vlans + "] } } }").c_str(), file);
    std::fclose(file);
}

// Each run on a host of its own when it changes it.
MeasuredProgram MeasureOn(size_t vlans, const std::string& program)
{
    return Measure(
        [&](bool count) {
            const CBenchHost host(vlans);
            return RunProgram(host, program, count);
        },
        ROUNDS);
}

void ApplyRow(const std::string& name, size_t vlans, const std::string& floor, double goal)
{
    const MeasuredProgram ours = MeasureOn(vlans, "apply");
    const MeasuredProgram other = MeasureOn(vlans, floor);
    if (!ours.best || !other.best)
        return BenchText(name + ": stopped after " + std::to_string(PROGRAM_PATIENCE / 1000) + " s");
    BenchRow(name, {ours.best->inside, other.best->inside}, {goal, goal * static_cast<double>(other.cost.calls)},
             ours.cost, other.cost);
    const char* const expected = vlans == 0 ? ": done" : "no difference";
    if (ours.best->output.find(expected) == std::string::npos)
        BenchText("  it has not done what it should: " + ours.best->output);
}
} // namespace

void ApplyBenchFile()
{
    CSession session;
    ApplyOptions options;
    options.file = BenchFile();
    options.yes = true;
    RunApply(session, options);
}

void CreateBenchVlans()
{
    CSession session;
    CreateOptions options;
    options.parent = "Port 1";
    options.ids = "1-" + std::to_string(VLANS);
    options.autoNames = true;
    options.yes = true;
    RunCreate(session, options);
}

void ExportToBenchFile()
{
    CSession session;
    RunExport(session, {{}, BenchFile()});
}

void BenchApply()
{
    BenchHeading("Applying a file, beside another verb");
    WriteBenchFile("VLAN");
    ApplyRow("60 VLANs on an empty parent, beside create", 0, "create", CREATION_GOAL);
    WriteBenchFile("N");
    ApplyRow("no difference in 60 VLANs, beside list", VLANS, "list", LISTING_GOAL);
    MeasureOn(VLANS, "export");
    ApplyRow("no difference to an export of them, beside list", VLANS, "list", LISTING_GOAL);
    DeleteFileW(FromUtf8(BenchFile()));
}
