// Whole programs: vlanctl in a process of its own, beside one that walks the network class once and prints the same.

#include "Bench/BarePrograms.h"
#include "Bench/BenchHost.h"
#include "Bench/BenchTable.h"

#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"
#include "Tests/Harness/RegistryText.h"
#include "Tools/vlanctl/Commands.h"
#include "Tools/vlanctl/Output.h"

#include <optional>

namespace
{
constexpr size_t VLANS_PER_PORT = 63;
constexpr DWORD PATIENCE = 20000; // milliseconds for one process
constexpr double RATIO_GOAL = 1.5;
constexpr double GROWTH_GOAL = 1.2;

// Where a process notes what it has measured.
constexpr wchar_t NOTES[] = L"SOFTWARE\\VlanLab\\Bench";

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
const Program PROGRAMS[] = {{"list", [] { RunVlanctl(false); }},
                            {"parents", [] { RunVlanctl(true); }},
                            {"bare-list", PrintBareList},
                            {"bare-parents", PrintBareParents}};

class Handle
{
  public:
    explicit Handle(HANDLE handle = nullptr) : m_handle(handle) {}
    ~Handle()
    {
        if (m_handle != nullptr)
            CloseHandle(m_handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    HANDLE Get() const { return m_handle; }

  private:
    HANDLE m_handle;
};

HANDLE Inheritable(HANDLE handle)
{
    HANDLE inherited = nullptr;
    DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &inherited, 0, TRUE, DUPLICATE_SAME_ACCESS);
    return inherited;
}

CRavString OutputFile()
{
    CRavString path;
    path.FormatString(L"%s\\bench-%u.txt", _wgetenv(L"TEMP"), GetCurrentProcessId());
    return path;
}

struct Run
{
    double whole = 0;  // nanoseconds
    double inside = 0; // the same without the start and the end of the process
    BenchCost cost;
    std::string output;
};

std::string ContentOf(const CRavString& path)
{
    std::string content;
    char buffer[4096];
    FILE* const file = _wfopen(path, L"rb");
    while (const size_t size = std::fread(buffer, 1, sizeof(buffer), file))
        content.append(buffer, size);
    std::fclose(file);
    return content;
}

// Nothing when it takes too long.
std::optional<Run> RunProgram(const CBenchHost& host, const std::string& name, bool count)
{
    const Handle hive(Inheritable(host.Root()));
    const CRavString path = OutputFile();
    std::optional<Run> run(std::in_place);
    bool done = false;
    {
        SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
        const Handle output(CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
        STARTUPINFOW startup = {};
        PROCESS_INFORMATION child = {};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = startup.hStdError = output.Get();
        std::wstring line = L"bench --program " + Wide(name) + (count ? L" count " : L" time ") +
                            std::to_wstring(reinterpret_cast<size_t>(hive.Get()));
        wchar_t program[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        const auto start = [&] {
            CreateProcessW(program, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &child);
            const Handle process(child.hProcess);
            const Handle thread(child.hThread);
            done = WaitForSingleObject(process.Get(), PATIENCE) == WAIT_OBJECT_0;
            if (!done)
            {
                TerminateProcess(process.Get(), 1);
                WaitForSingleObject(process.Get(), INFINITE);
            }
        };
        run->whole = BestTime(start, 1, 1);
    }
    run->inside = LabNumber(NOTES, L"Microseconds", 0) * 1e3;
    run->cost = {LabNumber(NOTES, L"Calls", 0), LabNumber(NOTES, L"Sessions", 0)};
    run->output = ContentOf(path);
    DeleteFileW(path);
    return done ? run : std::nullopt;
}

struct Measured
{
    std::optional<Run> best;
    BenchCost cost;
};

Measured Measure(const CBenchHost& host, const std::string& name, int rounds)
{
    Measured measured{RunProgram(host, name, false), {}};
    for (int round = 1; measured.best && round < rounds; ++round)
    {
        const std::optional<Run> run = RunProgram(host, name, false);
        if (run && run->whole < measured.best->whole)
            measured.best = run;
    }
    if (const auto counted = measured.best ? RunProgram(host, name, true) : std::nullopt)
        measured.cost = counted->cost;
    return measured;
}

// The time of the whole process; 0 when it took too long.
double ProgramRow(const CBenchHost& host, const std::string& verb, size_t ports, int rounds)
{
    const std::string name = "vlanctl " + verb + ", " + std::to_string(ports) + " x 63 VLANs";
    const Measured ours = Measure(host, verb, rounds);
    const Measured bare = ours.best ? Measure(host, "bare-" + verb, rounds) : Measured();
    if (!ours.best || !bare.best)
    {
        BenchText(name + ": stopped after " + std::to_string(PATIENCE / 1000) + " s");
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
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, reinterpret_cast<HKEY>(std::stoull(hive)));
    const auto program = std::find_if(std::begin(PROGRAMS), std::end(PROGRAMS),
                                      [&](const Program& candidate) { return candidate.name == name; });
    if (program == std::end(PROGRAMS))
        return 1;
    if (count)
    {
        const BenchCost cost = CostOf([&] { program->run(); }, LoadLibraryW(L"VlanAgent.dll"));
        LabSetNumber(NOTES, L"Calls", static_cast<DWORD>(cost.calls));
        LabSetNumber(NOTES, L"Sessions", static_cast<DWORD>(cost.sessions));
        return 0;
    }
    const double time = BestTime([&] { program->run(); }, 1, 1);
    LabSetNumber(NOTES, L"Microseconds", static_cast<DWORD>(time / 1e3));
    return 0;
}
