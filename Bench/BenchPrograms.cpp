// Whole programs: vlanctl in a process of its own, beside one that walks the network class once and prints the same.

#include "Bench/BarePrograms.h"
#include "Bench/BenchApply.h"
#include "Bench/BenchHost.h"
#include "Bench/ProgramRun.h"

#include "Tools/vlanctl/Commands.h"

namespace
{
constexpr size_t VLANS_PER_PORT = 63;
constexpr double RATIO_GOAL = 1.5;
constexpr double GROWTH_GOAL = 1.2;

// vlanctl without the parser of its command line.
void RunVlanctl(bool parents)
{
    CSession session;
    parents ? RunParents(session, {}) : RunList(session, {});
}

struct Program
{
    const char* name;
    void (*run)();
};
const Program PROGRAMS[] = {{"list", [] { RunVlanctl(false); }}, {"parents", [] { RunVlanctl(true); }},
                            {"bare-list", PrintBareList},        {"bare-parents", PrintBareParents},
                            {"apply", ApplyBenchFile},           {"create", CreateBenchVlans},
                            {"export", ExportToBenchFile}};

// The time of the whole process; 0 when it took too long.
double ProgramRow(const CBenchHost& host, const std::string& verb, size_t ports, int rounds)
{
    const std::string name = "vlanctl " + verb + ", " + std::to_string(ports) + " x 63 VLANs";
    const auto measure = [&](const std::string& program) {
        return Measure([&](bool count) { return RunProgram(host, program, count); }, rounds);
    };
    const MeasuredProgram ours = measure(verb);
    const MeasuredProgram bare = ours.best ? measure("bare-" + verb) : MeasuredProgram();
    if (!ours.best || !bare.best)
    {
        BenchText(name + ": stopped after " + std::to_string(PROGRAM_PATIENCE / 1000) + " s");
        return 0;
    }
    BenchRow(name, {ours.best->whole, bare.best->whole}, {RATIO_GOAL}, ours.cost, bare.cost);
    BenchRow("  without the start of the process", {ours.best->inside, bare.best->inside});
    if (ours.best->output.empty() || ours.best->output != bare.best->output)
        BenchText("  the two do not print the same");
    return ours.best->whole;
}
} // namespace

void BenchPrograms()
{
    constexpr size_t FEW = 2;
    constexpr size_t MANY = 32;
    BenchHeading("Whole programs");
    double few[2] = {};
    const char* const verbs[] = {"list", "parents"};
    {
        const CBenchHost host(FEW * VLANS_PER_PORT, VLANS_PER_PORT);
        for (size_t verb = 0; verb < std::size(verbs); ++verb)
            few[verb] = ProgramRow(host, verbs[verb], FEW, 3);
    }
    const CBenchHost host(MANY * VLANS_PER_PORT, VLANS_PER_PORT);
    for (size_t verb = 0; verb < std::size(verbs); ++verb)
    {
        char line[128];
        const double many = ProgramRow(host, verbs[verb], MANY, 1);
        std::snprintf(line, sizeof(line), "  %.2f times what 16 times as many VLANs would cost (goal: %.1f)",
                      few[verb] > 0 ? many / few[verb] * FEW / MANY : 0, GROWTH_GOAL);
        if (many > 0)
            BenchText(line);
    }
}

int RunProgramHere(const std::string& name, bool count, const std::string& hive)
{
    const auto program = std::find_if(std::begin(PROGRAMS), std::end(PROGRAMS),
                                      [&](const Program& candidate) { return candidate.name == name; });
    return program != std::end(PROGRAMS) ? MeasureHere(program->run, count, hive) : 1;
}
