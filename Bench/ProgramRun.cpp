#include "Bench/ProgramRun.h"

#include "Bench/BenchHost.h"
#include "Suite/Lab/State/LabState.h"
#include "Tests/Harness/RegistryText.h"

namespace
{
// Where a process notes what it has measured.
constexpr wchar_t NOTES[] = L"SOFTWARE\\VlanLab\\Bench";

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

} // namespace

std::optional<ProgramRun> RunProgram(const CBenchHost& host, const std::string& name, bool count)
{
    const Handle hive(Inheritable(host.Root()));
    const CRavString path = OutputFile();
    std::optional<ProgramRun> run(std::in_place);
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
            done = WaitForSingleObject(process.Get(), PROGRAM_PATIENCE) == WAIT_OBJECT_0;
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

MeasuredProgram Measure(const MAKE_RUN& run, int rounds)
{
    MeasuredProgram measured{run(false), {}};
    for (int round = 1; measured.best && round < rounds; ++round)
    {
        const std::optional<ProgramRun> other = run(false);
        if (other && other->whole < measured.best->whole)
            measured.best = other;
    }
    if (const auto counted = measured.best ? run(true) : std::nullopt)
        measured.cost = counted->cost;
    return measured;
}

int MeasureHere(void (*run)(), bool count, const std::string& hive)
{
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, reinterpret_cast<HKEY>(std::stoull(hive)));
    if (count)
    {
        const BenchCost cost = CostOf(run, LoadLibraryW(L"VlanAgent.dll"));
        LabSetNumber(NOTES, L"Calls", static_cast<DWORD>(cost.calls));
        LabSetNumber(NOTES, L"Sessions", static_cast<DWORD>(cost.sessions));
        return 0;
    }
    const double time = BestTime(run, 1, 1);
    LabSetNumber(NOTES, L"Microseconds", static_cast<DWORD>(time / 1e3));
    return 0;
}
