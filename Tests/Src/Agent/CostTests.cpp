// What operations may cost. Platform calls are exact, so these ceilings tell at once when somebody asks again for each
// VLAN what was known already; times are the benchmark's business.

#include "Common/Settings/RavSetting.h"
#include "Tests/Src/LabFixture.h"

#include <map>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

constexpr size_t FEW = 8;
constexpr size_t MANY = 63; // and one that is created

struct COST
{
    size_t calls = 0;
    size_t sessions = 0; // of the network configuration
};

// What an operation costs at most. Lower these when it costs less: looking at each VLAN that is present once is enough.
struct CEILING
{
    size_t calls;           // without VLANs
    size_t perVlan;         // more for each that is present
    size_t perVlanBelow;    // with those that the COM server of the network configuration makes for them
    size_t sessions;        // of one operation
    size_t sessionsPerVlan; // more for each that is present
};
const std::map<std::string, CEILING> CEILINGS = {
    // clang-format off
    //           calls  per VLAN  below  sessions  per VLAN
    {"create",   { 150,        4,    12,        1,        0}},
    {"list",     {   5,       13,    18,        1,        1}},
    {"parents",  {  16,        0,     1,        1,        0}},
    {"remove",   { 100,        3,    16,        1,        0}},
    {"rename",   { 150,        4,    16,        3,        0}},
    {"set",      { 150,        4,    16,        3,        0}},
    {"set-id",   { 150,        4,    16,        3,        0}},
    {"validate", {  13,        4,     9,        1,        0}},
    // clang-format on
};

std::string HostWith(size_t vlans)
{
    std::string list;
    for (size_t id = 1; id <= vlans; ++id)
        list += std::string(list.empty() ? "" : ",") + R"({ "parent": "Port A", "id": )" + std::to_string(id) +
                R"(, "name": "N)" + std::to_string(id) + R"(" })";
    return R"({ "adapters": [ { "name": "Port A", "mac": "001B21000001" }, { "name": "Port B", "mac": "001B21000002" } ],
                "vlans": [)" +
           list + "] }";
}

// Each operation from where a fresh process would start; the VLAN that is created is the one that is removed.
std::map<std::string, COST> CostsOn(CLabHost& host, HMODULE below)
{
    std::map<std::string, COST> costs;
    CVlanAgentWin& agent = host.Agent();
    const auto measure = [&](const char* name, const auto& operation) {
        CResult result;
        CJournal journal;
        if (below != nullptr)
            journal.Hook(below);
        agent.ClearVlanCache();
        journal.Start();
        operation(result);
        journal.Stop();
        EXPECT_EQ(0u, result.ulErrCode) << name;
        const std::string calls = journal.Calls();
        costs[name] = {static_cast<size_t>(std::count(calls.begin(), calls.end(), '\n')),
                       journal.Count("CoCreateInstance")};
    };
    std::vector<CRavString> keys;
    measure("list", [&](CResult& result) {
        RAV_VLAN_INFO info;
        agent.EnumerateVlans(result, L"", keys);
        for (const CRavString& key : keys)
            agent.GetVlanInfo(result, key, info);
    });
    measure("parents", [&](CResult& result) { agent.EnumerateVlanSupportingParents(result, keys, host.Client()); });
    measure("validate", [&](CResult& result) {
        std::vector<RAV_VALIDATION_MESSAGE> messages;
        agent.ValidateNewVlan(result, host.Key("Port A"), L"100", L"New", messages, host.Client());
    });
    measure("create", [&](CResult& result) { result = host.Create("Port A", 100, L"New"); });
    const CRavString created = host.Vlan("Port A", 100);
    const CRavString description = LabPath(LabInstancePath(created), L"Ndi\\Params\\Rate");
    const RAV_SETTING_VAL_INT three(3);
    LabSetText(description, L"Type", L"int");
    LabSetText(description, L"Max", L"8");
    measure("rename", [&](CResult& result) { agent.SetVLANName(result, created, L"Newer", host.Lock()); });
    measure("set-id", [&](CResult& result) { agent.SetVLANId(result, created, 101, host.Lock()); });
    measure("set", [&](CResult& result) { agent.SetSetting(result, created, L"Rate", &three, host.Lock()); });
    measure("remove", [&](CResult& result) { result = host.Remove(created); });
    return costs;
}

double PerVlan(size_t few, size_t many)
{
    return (static_cast<double>(many) - static_cast<double>(few)) / static_cast<double>(MANY - FEW);
}
} // namespace

TEST(Cost, StaysBelowTheCeilings)
{
    const HMODULE netCfg = GetModuleHandleW(L"NetCfg.dll");
    const auto costs = [&](size_t vlans) {
        CLabHost host(HostWith(vlans));
        auto own = CostsOn(host, nullptr);
        return std::pair(own, CostsOn(host, netCfg));
    };
    auto [few, fewBelow] = costs(FEW);
    auto [many, manyBelow] = costs(MANY);
    for (const auto& [name, ceiling] : CEILINGS)
    {
        SCOPED_TRACE(name);
        EXPECT_LE(few[name].calls, ceiling.calls + FEW * ceiling.perVlan);
        EXPECT_LE(PerVlan(few[name].calls, many[name].calls), static_cast<double>(ceiling.perVlan));
        EXPECT_LE(PerVlan(fewBelow[name].calls, manyBelow[name].calls), static_cast<double>(ceiling.perVlanBelow));
        EXPECT_LE(few[name].sessions, ceiling.sessions + FEW * ceiling.sessionsPerVlan);
        EXPECT_LE(many[name].sessions, ceiling.sessions + MANY * ceiling.sessionsPerVlan);
    }
}

namespace
{
// Each member of a team costs what an adapter does, and each VLAN that is present is looked at once.
constexpr size_t PER_MEMBER = 60;
constexpr size_t PER_VLAN_OF_TEAM = 4;

size_t CallsOverTeam(size_t members, size_t vlans)
{
    std::string adapters;
    std::string names;
    std::string list;
    for (size_t number = 1; number <= members; ++number)
    {
        const std::string name = "\"Port " + std::to_string(number) + '"';
        names += (names.empty() ? "" : ", ") + name;
        adapters += (adapters.empty() ? R"({ "name": )" : R"(, { "name": )") + name + R"(, "mac": "001B2100000)" +
                    std::to_string(number) + "\" }";
    }
    for (size_t id = 1; id <= vlans; ++id)
        list += (list.empty() ? R"({ "parent": "Team", "id": )" : R"(, { "parent": "Team", "id": )") +
                std::to_string(id) + R"(, "name": "N)" + std::to_string(id) + "\" }";
    CLabHost host(R"({ "adapters": [)" + adapters + R"(], "teams": [ { "name": "Team", "members": [)" + names +
                  R"(] } ], "vlans": [)" + list + "] }");
    host.Agent();
    CJournal journal;
    journal.Start();
    EXPECT_EQ(0u, host.Create("Team", 100, L"New").ulErrCode);
    journal.Stop();
    const std::string calls = journal.Calls();
    return static_cast<size_t>(std::count(calls.begin(), calls.end(), '\n'));
}
} // namespace

TEST(Cost, OfACreationOverATeam)
{
    const size_t first = CallsOverTeam(4, 0);
    const size_t few = CallsOverTeam(4, FEW);
    const size_t many = CallsOverTeam(4, MANY);
    EXPECT_LE(PerVlan(few, many), static_cast<double>(PER_VLAN_OF_TEAM)) << few << " " << many;
    EXPECT_LE(first, CallsOverTeam(2, 0) + 2 * PER_MEMBER) << first;
    EXPECT_LE(few, CallsOverTeam(2, FEW) + 2 * PER_MEMBER) << few;
}
