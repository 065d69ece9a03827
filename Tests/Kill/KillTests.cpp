// An operation whose process is killed at one of its platform calls: whichever it is, the locks are free, and the
// doctor's repair brings the host to a state before the operation or after it.
//
//     KillTests                   a spread sample of all points
//     KillTests --list            the names of the operations
//     KillTests --sweep NAME      every point of one operation: a line of figures, and before it what was not mended

#include "Plan/RavRepair.h"
#include "Tests/Kill/HostState.h"
#include "Tests/Kill/Operations.h"
#include "Tests/Src/LabFixture.h"

#include <iomanip>
#include <iostream>
#include <optional>

namespace
{
testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

const char* const PORT = R"({ "name": "Port A", "mac": "001B21000001", "vmq": true,
    "parameters": { "VlanFiltering": "0", "TaggingMode": "0", "*PriorityVLANTag": "1" } })";
const char* const MEMBERS =
    R"({ "name": "Member 1", "mac": "001B21000001" }, { "name": "Member 2", "mac": "001B21000002" })";
const char* const TEMPLATES =
    R"("templates": [ { "name": "*NumRssQueues", "type": "int", "description": "Queues", "default": 2, "min": 1, "max": 8 } ])";

std::vector<std::string> Words(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

bool IsOnTeam(const RAV_KILL_OPERATION& operation)
{
    return operation.parent == std::string("Team");
}

// VLANs over a team come with the host.
std::string HostOf(const RAV_KILL_OPERATION& operation)
{
    if (!IsOnTeam(operation))
        return std::string(R"({ "adapters": [ )") + PORT + " ], " + TEMPLATES + " }";
    std::string vlans;
    for (const std::string& id : Words(operation.prepared))
        vlans +=
            (vlans.empty() ? "" : ", ") + (R"({ "parent": "Team", "name": "VLAN )" + id) + R"(", "id": )" + id + " }";
    return std::string(R"({ "adapters": [ )") + MEMBERS + R"( ], "teams": [ { "name": "Team", )" +
           R"("members": ["Member 1", "Member 2"], "mode": 2 } ], )" + TEMPLATES + R"(, "vlans": [ )" + vlans + " ] }";
}

// Where a process can be killed: before each platform call of the module, or before each write of what lies beneath it.
struct RAV_KILL_LEVEL
{
    const char* name;
    std::vector<std::wstring> modules; // none: the program itself, which has the module in it
    std::vector<std::string_view> calls;
};
const std::vector<RAV_KILL_LEVEL>& Levels()
{
    static const std::vector<RAV_KILL_LEVEL> levels = {
        {"module", {}, {}},
        {"beneath",
         {L"NetCfg.dll", L"CoreAgent.dll", L"TeamAgent.dll"},
         {"RegSetValueExW", "RegCreateKeyExW", "RegDeleteValueW", "RegDeleteKeyW", "RegDeleteTreeW"}},
    };
    return levels;
}

// What may differ from a whole state: docs/doctor.md tells why.
const std::regex HARMLESS(
    R"(\+ (XMS\\Configuration|SOFTWARE\\.*\\Bindings)|)"               // empty keys
    R"(\+ Class\\000([12])  NetworkAddress  REG_SZ  "001B2100000\2"|)" // the adapter's own address
    R"(- Class\\000[12]  NetworkAddress  REG_SZ  ""|)"                 // where an empty one says the same
    R"([-+] Class\\000\d  TaggingMode  REG_(SZ  "0"|DWORD  0)|)"       // ways of saying no
    R"([-+] Class\\000\d  VlanFiltering  REG_SZ  "0"|)"
    R"(\+ SOFTWARE\\.*\\Bindings  .*00[12]\}  REG_MULTI_SZ  "ms_tcpip", "ms_tcpip6"|)" // a member's
    R"([-+] XMS\\Adapters\\.*  TaggingMode  REG_DWORD  0)");

constexpr UINT KILLED = 99;

// --- the process that is killed

CResult Perform(CVlanAgentWin& agent, const CRavString& parent, const std::string& request, const RAV_KILL_LEVEL* level,
                size_t k, size_t* calls)
{
    const auto perform = MakeRequest(agent, {{GetCurrentProcessId(), 1}, 0}, parent, request);
    if (level == nullptr)
        return perform();
    std::optional<CJournal> journal;
    for (const std::wstring& module : level->modules)
        journal ? journal->Hook(GetModuleHandleW(module.c_str()))
                : void(journal.emplace(GetModuleHandleW(module.c_str())));
    if (!journal)
        journal.emplace();
    journal->FailCall(
        k, 0, [] { TerminateProcess(GetCurrentProcess(), KILLED); }, level->calls);
    journal->Start();
    const CResult result = perform();
    if (calls != nullptr)
        *calls = journal->FailableCalls();
    return result;
}

// Arguments: the number of the operation, that of the level, the call, and the handle of the hive.
int RunKilled(char** arguments)
{
    const RAV_KILL_OPERATION& operation = KillOperations().at(std::stoul(arguments[0]));
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, reinterpret_cast<HKEY>(std::stoull(arguments[3])));
    s_server->SetUp();
    CResult result;
    CVlanAgentWin agent;
    agent.Initialize(result);
    LabSetNumber(CLabHost::ClientKey(), L"Cookie", 1);
    result = Perform(agent, LabGuid(IsOnTeam(operation) ? 3 : 1), operation.request,
                     &Levels().at(std::stoul(arguments[1])), std::stoul(arguments[2]), nullptr);
    return result.Succeeded() ? 0 : 1;
}

// --- its parent

class CKillSweep
{
  public:
    explicit CKillSweep(size_t operation) : m_number(operation), m_operation(KillOperations().at(operation))
    {
        {
            CLabHost host(HostOf(m_operation));
            for (const std::string& id : Words(IsOnTeam(m_operation) ? "" : m_operation.prepared))
                Do(host, "create " + id);
            if (*m_operation.preparing != '\0')
            {
                Do(host, m_operation.preparing);
                Repair(host, true);
            }
            host.CloseAgent();
            m_image.emplace(host.Hive());
        }
        AddWhole("before", {});
        AddWhole("after", {m_operation.request});
        for (const char* const request : m_operation.between)
            AddWhole("between", {request});
        AddWhole("", m_operation.undone);
    }

    size_t Calls(size_t level)
    {
        CLabHost host(HostOf(m_operation), *m_image);
        size_t calls = 0;
        Perform(host.Agent(), host.Key(m_operation.parent), m_operation.request, &Levels()[level], 0, &calls);
        return calls;
    }

    // Kills at one point, and mends. Answers where the host is then: "before", "after", "between", or what is wrong
    // with it; and nothing when the operation has no such call.
    std::string Kill(size_t level, size_t k)
    {
        DWORD status = ~0u;
        for (size_t attempt = 0; attempt < ATTEMPTS; ++attempt)
        {
            CLabHost host(HostOf(m_operation), *m_image);
            status = Run(host, level, k);
            if (status == 0)
                return "";
            if (status == KILLED)
                return Mend(host);
        }
        throw std::runtime_error("the operation ends with " + std::to_string(status));
    }

  private:
    static constexpr size_t ATTEMPTS = 3; // on a busy machine a lock's file may be late to go

    std::string Mend(CLabHost& host)
    {
        if (!CLabHost::IsNetworkLockFree() || !host.IsSuiteLockFree())
            return "a lock is not free";
        const RAV_REPAIR repair = Repair(host, true);
        std::string fault = repair.result.Succeeded() ? "" : "the repair fails\n";
        for (const RAV_STEP& step : repair.failed)
            fault += "not done: " + Utf8(RavStepText(step)) + "\n";
        for (const RAV_FINDING& finding : Repair(host, false).left)
            fault += "left: " + Utf8(finding.where) + ": " + Utf8(finding.detail) + "\n";
        const std::string end = End(CHostState(&m_whole.front().state));
        if (fault.empty() && end.find('\n') == std::string::npos && !IsUsable(host))
            fault = "the next command fails";
        return fault.empty() ? end : fault + end;
    }

    struct WHOLE
    {
        const char* name;
        CHostState state;
    };

    void AddWhole(const char* name, const std::vector<const char*>& requests)
    {
        CLabHost host(HostOf(m_operation), *m_image);
        for (const char* const request : requests)
            if (!Do(host, request).Succeeded())
                throw std::runtime_error(request);
        if (!requests.empty()) // over a team some leave work for the doctor even when nothing goes wrong
            Repair(host, true);
        m_whole.push_back({name, CHostState(m_whole.empty() ? nullptr : &m_whole.front().state)});
    }

    CResult Do(CLabHost& host, const std::string& request)
    {
        return Perform(host.Agent(), host.Key(m_operation.parent), request, nullptr, 0, nullptr);
    }

    static RAV_REPAIR Repair(CLabHost& host, bool choose)
    {
        return RavRepairHost(host.Agent(), *host.Agent().GetCoreAgentPvt(), host.Lock(),
                             [choose](const RAV_FINDING&) { return choose; });
    }

    // A host may come back to what it was before with what the operation leaves when it is undone.
    std::string End(const CHostState& state) const
    {
        std::string nearest;
        size_t least = SIZE_MAX;
        for (const WHOLE& whole : m_whole)
        {
            std::vector<std::string> lines = state.Since(whole.state);
            if (whole.name == std::string("before"))
                std::erase_if(lines, [&](const std::string& line) {
                    return m_whole.back().state.Has(line.substr(2)) == (line[0] == '+');
                });
            std::erase_if(lines, [](const std::string& line) { return std::regex_match(line, HARMLESS); });
            if (lines.empty())
                return *whole.name == '\0' ? "before" : whole.name;
            if (lines.size() >= least || *whole.name == '\0')
                continue;
            least = lines.size();
            nearest = std::string("nearest: ") + whole.name + "\n";
            for (const std::string& line : lines)
                nearest += line + "\n";
        }
        return nearest;
    }

    bool IsUsable(CLabHost& host)
    {
        if (!IsOnTeam(m_operation))
            return Do(host, "create 99").Succeeded() && Do(host, "remove 99").Succeeded();
        const std::vector<CRavString> vlans = host.Vlans(m_operation.parent);
        return vlans.empty() || host.Remove(vlans.front()).Succeeded();
    }

    DWORD Run(CLabHost& host, size_t level, size_t k) const
    {
        HANDLE hive = nullptr;
        DuplicateHandle(GetCurrentProcess(), host.Hive().Root(), GetCurrentProcess(), &hive, 0, TRUE,
                        DUPLICATE_SAME_ACCESS);
        std::wstring command = L"KillTests --killed " + std::to_wstring(m_number) + L" " + std::to_wstring(level) +
                               L" " + std::to_wstring(k) + L" " + std::to_wstring(reinterpret_cast<size_t>(hive));
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        DWORD status = ~0u;
        if (CreateProcessW(path, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        {
            WaitForSingleObject(process.hProcess, INFINITE);
            GetExitCodeProcess(process.hProcess, &status);
            CloseHandle(process.hThread);
            CloseHandle(process.hProcess);
        }
        CloseHandle(hive);
        return status;
    }

    const size_t m_number;
    const RAV_KILL_OPERATION& m_operation;
    std::optional<CHiveImage> m_image;
    std::vector<WHOLE> m_whole; // before, after, those between, and undone
};

bool IsMended(const std::string& end)
{
    return end == "before" || end == "after" || end == "between";
}

int Sweep(const std::string& name)
{
    const auto& operations = KillOperations();
    const auto found = std::find_if(operations.begin(), operations.end(),
                                    [&name](const RAV_KILL_OPERATION& operation) { return operation.name == name; });
    if (found == operations.end())
        return 2;
    s_server->SetUp();
    CKillSweep sweep(static_cast<size_t>(found - operations.begin()));
    std::map<std::string, size_t> ends;
    for (size_t level = 0; level < Levels().size(); ++level)
        for (size_t k = 1;; ++k)
        {
            const std::string end = sweep.Kill(level, k);
            if (end.empty())
                break;
            ++ends[IsMended(end) ? end : "not mended"];
            ++ends["points"];
            if (!IsMended(end))
                std::cout << name << ", call " << k << ", " << Levels()[level].name << "\n" << end << "\n";
        }
    std::cout << std::left << std::setw(24) << name << std::right;
    for (const char* const column : {"points", "before", "after", "between", "not mended"})
        std::cout << std::setw(12) << ends[column];
    std::cout << std::endl;
    return ends["not mended"] == 0 ? 0 : 1;
}

// The plain and the hardened build share the points.
#ifdef _GLIBCXX_ASSERTIONS
constexpr size_t FIRST_CALL = 3;
#else
constexpr size_t FIRST_CALL = 20;
#endif
constexpr size_t SAMPLES = 3;      // of each operation on each level
constexpr size_t FEWEST_CALLS = 5; // fewer mean that calls are not seen
} // namespace

class Killed : public testing::TestWithParam<size_t>
{
};

TEST_P(Killed, ComesBack)
{
    CKillSweep sweep(GetParam());
    for (size_t level = 0; level < Levels().size(); ++level)
    {
        const size_t calls = sweep.Calls(level);
        ASSERT_LT(FEWEST_CALLS, calls);
        for (size_t sample = 0; sample < SAMPLES; ++sample)
        {
            const size_t k = 1 + (FIRST_CALL + 7 * GetParam() + sample * calls / SAMPLES) % calls;
            const std::string end = sweep.Kill(level, k);
            EXPECT_TRUE(IsMended(end)) << Levels()[level].name << " call " << k << " of " << calls << "\n" << end;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, Killed, testing::Range<size_t>(0, KillOperations().size()),
                         [](const auto& info) { return Replaced(KillOperations()[info.param].name, "-", "_"); });

int main(int count, char** arguments)
try
{
    const std::string mode = count > 1 ? arguments[1] : "";
    if (mode == "--killed" && count == 6)
        return RunKilled(arguments + 2);
    testing::InitGoogleTest(&count, arguments);
    if (mode == "--list")
    {
        for (const RAV_KILL_OPERATION& operation : KillOperations())
            std::cout << operation.name << "\n";
        return 0;
    }
    if (mode == "--sweep" && count == 3)
        return Sweep(arguments[2]);
    return RUN_ALL_TESTS();
}
catch (const std::exception& error)
{
    std::fputs(error.what(), stderr);
    return 1;
}
