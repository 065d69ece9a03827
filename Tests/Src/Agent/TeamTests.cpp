// VLANs over teams: created, kept in step with members that come and go, removed. The doctor, which knows what every
// member has to say, is asked after each step.

#include "Plan/RavExamine.h"
#include "Plan/RavRepair.h"
#include "Suite/Lab/TeamAgent/LabTeams.h"
#include "Tests/Src/Agent/VlanScenario.h"

#include <functional>
#include <random>

namespace
{
// Four ports, the first of them in the team, which is {5} and has the instance 0005.
std::string HostWith(size_t members, const std::string& ids = "")
{
    std::string adapters;
    std::string names;
    for (size_t port = 1; port <= 4; ++port)
    {
        const std::string name = "Port " + std::to_string(port);
        adapters += (port > 1 ? ", " : "") + (R"({ "name": ")" + name) + R"(", "mac": "001B2100000)" +
                    std::to_string(port) + R"(", "parameters": { "VlanFiltering": "0", "TaggingMode": "0" } })";
        names += port > members ? "" : (port > 1 ? ", \"" : "\"") + name + "\"";
    }
    std::string vlans;
    std::istringstream text(ids);
    for (std::string id; text >> id;)
        vlans += (vlans.empty() ? "" : ", ") + (R"({ "parent": "Team", "name": "N)" + id) + R"(", "id": )" + id + " }";
    return R"({ "adapters": [ )" + adapters + R"( ], "teams": [ { "name": "Team", "mode": 2, "members": [ )" + names +
           R"( ] } ], "vlans": [ )" + vlans +
           R"( ], "templates": [ { "name": "*NumRssQueues", "type": "int", "description": "Queues", "default": 2, "min": 1, "max": 8 } ] })";
}

// Without validation, which would not let an untagged VLAN come first; the team agent is told all the same.
CResult CreateOver(CLabHost& host, DWORD id)
{
    CResult result;
    if (const auto team = host.Agent().GetTeamAgentPvtIntf())
        team->PrepareForNewVlan(host.Key("Team"), host.Lock());
    host.Agent().CreateSingleVlan(result, host.Key("Team"), id, (L"N" + std::to_wstring(id)).c_str(), 0);
    return result;
}

std::string Findings()
{
    CRavNetCfgInterface netCfg;
    RAV_HOST host;
    EXPECT_LE(0, netCfg.Initialize());
    EXPECT_LE(0, RavReadHost(netCfg, host));
    std::string text;
    for (const RAV_FINDING& finding : RavExamine(host))
        text +=
            Utf8(RavFindingText(finding.kind).name) + " on " + Utf8(finding.where) + ": " + Utf8(finding.detail) + "\n";
    return text;
}

void Mend(CLabHost& host, RAV_RELOADS reloads = RAV_RELOADS::WhereNeeded, const CRavString& where = {})
{
    const auto isChosen = [&](const RAV_FINDING& finding) { return where.IsEmpty() || finding.where == where; };
    RavRepairHost(host.Agent(), *host.Agent().GetCoreAgentPvt(), host.Lock(), isChosen, reloads);
}

DWORD Stops(CLabHost& host, const char* port)
{
    return LabNumber(LabPath(LAB_DEVICES, host.Key(port)), L"Stops", 0);
}

CResult Join(CLabHost& host, const char* port, const CRavString& vlan = {})
{
    CResult result;
    host.Agent().AddVlanToTeamMember(result, host.Key("Team"), host.Key(port), vlan);
    return result;
}

CResult Leave(CLabHost& host, const char* port, const CRavString& vlan = {})
{
    CResult result;
    host.Agent().RemoveVlanFromTeamMember(result, host.Key("Team"), host.Key(port), vlan);
    return result;
}

// What a member has of the VLANs, in one line.
std::string Carried(CLabHost& host, const char* port)
{
    const CRavString entry = LabPath(XMS_ADAPTERS_KEY, host.Key(port));
    const CRavString instance = LabInstancePath(host.Key(port));
    const auto number = [](const CRavString& path, const wchar_t* name) {
        const DWORD value = LabNumber(path, name, 9);
        return value == 9 ? std::string("-") : std::to_string(value);
    };
    std::string text;
    for (const CRavString& id : LabList(instance, L"VLANID"))
        text += Utf8(id) + " ";
    return text + number(instance, L"VlanMode") + number(instance, L"TaggingMode") + " " +
           std::to_string(LabList(entry, L"MiniportBindingList").size()) + number(entry, L"MiniportBindingListCount") +
           number(entry, L"TaggingMode");
}

CLabTeamsIntf& Teams()
{
    const FARPROC get = GetProcAddress(GetModuleHandleW(L"TeamAgent.dll"), LAB_GET_TEAMS_NAME);
    return *reinterpret_cast<LAB_GET_TEAMS>(reinterpret_cast<void (*)()>(get))();
}
} // namespace

// Each row: the VLANs that are there, the one that is created, and what that changes in a member's key (#), in a
// member's entry (@) and for the team itself.
TEST(Teams, ChangesOfTheRegistry)
{
    const std::tuple<const char*, DWORD, const char*, const char*, const char*> CASES[] = {
        {"", 10, R"(~ # TaggingMode SZ "0" -> DWORD 1; + # VLANID MULTI_SZ "10"; + # VlanMode DWORD 1; )",
         R"(~ @ MiniportBindingList MULTI_SZ "\Device\{5}" -> "\Device\{5}", "\Device\{V1}"; )"
         R"(~ @ MiniportBindingListCount DWORD 1 -> 2; ~ @ TaggingMode DWORD 0 -> 1; )",
         R"(+ XMS\Configuration\{5} EnableDHCP DWORD 1; ~ TcpIp\{5} EnableDHCP DWORD 1 -> 0; )"},
        {"", 0, R"(~ # TaggingMode SZ "0" -> DWORD 0; )",
         R"(~ @ MiniportBindingList MULTI_SZ "\Device\{5}" -> "\Device\{5}", "\Device\{V1}"; )"
         R"(~ @ MiniportBindingListCount DWORD 1 -> 2; )",
         R"(+ XMS\Configuration\{5} EnableDHCP DWORD 1; ~ TcpIp\{5} EnableDHCP DWORD 1 -> 0; )"},
        {"10", 20, R"(~ # VLANID MULTI_SZ "10" -> "10", "20"; )",
         R"(~ @ MiniportBindingList MULTI_SZ "\Device\{5}", "\Device\{V1}" -> "\Device\{5}", "\Device\{V1}", "\Device\{V2}"; )"
         R"(~ @ MiniportBindingListCount DWORD 2 -> 3; )",
         ""},
        {"10", 0, "",
         R"(~ @ MiniportBindingList MULTI_SZ "\Device\{5}", "\Device\{V1}" -> "\Device\{5}", "\Device\{V1}", "\Device\{V2}"; )"
         R"(~ @ MiniportBindingListCount DWORD 2 -> 3; ~ @ TaggingMode DWORD 1 -> 3; )",
         ""},
        {"0", 10, R"(~ # TaggingMode DWORD 0 -> 1; + # VLANID MULTI_SZ "10"; + # VlanMode DWORD 1; )",
         R"(~ @ MiniportBindingList MULTI_SZ "\Device\{5}", "\Device\{V1}" -> "\Device\{5}", "\Device\{V1}", "\Device\{V2}"; )"
         R"(~ @ MiniportBindingListCount DWORD 2 -> 3; ~ @ TaggingMode DWORD 0 -> 3; )",
         ""},
    };
    for (const size_t members : {2u, 3u})
        for (const auto& [others, id, key, entry, team] : CASES)
        {
            SCOPED_TRACE(std::to_string(members) + " members with " + others + ", " + std::to_string(id));
            CVlanLab host(HostWith(members));
            std::istringstream text(others);
            for (DWORD other = 0; text >> other;)
                ASSERT_TRUE(CreateOver(host, other).Succeeded());
            host.CLabHost::Agent();
            const CRegistryChange change;
            s_trace->Forget();
            ASSERT_TRUE(CreateOver(host, id).Succeeded()) << s_trace->Text();
            const std::vector<CRavString> vlans = host.Vlans();
            const std::string number = "000" + std::to_string(5 + vlans.size());
            const std::string own = "{V" + std::to_string(vlans.size()) + "}";
            std::string keys;
            std::string entries;
            for (size_t member = 1; member <= members; ++member)
            {
                keys += Replaced(key, "#", "000" + std::to_string(member));
                entries += Replaced(entry, "@", "{" + std::to_string(member) + "}");
            }
            const std::string tag = id == 0 ? "" : "+ # VLANID DWORD " + std::to_string(id) + "; ";
            const std::string name = "N" + std::to_string(id);
            const std::string vlan =
                R"(+ # LogicalGroupID DWORD 0; + # MediaType SZ "0"; + # NetworkAddress SZ "001B21000001"; )"
                R"(+ # RavVlanParentKey SZ "{5}"; + # RavVlanType DWORD 1; + # RavXmsMiniportKey SZ ")" +
                own + R"("; + # SupportedFeatures DWORD 9; + # TeamMode DWORD 2; + # TotalPhysicalAdapters DWORD )" +
                std::to_string(members) + R"(; + # VLANDisplayName SZ "Team - VLAN : )" + name + R"("; )" + tag +
                R"(+ # VLANName SZ ")" + name + R"("; )";
            std::string expected = keys + Replaced(vlan, "#", number) + entries + team;
            expected.resize(expected.size() - 2);
            EXPECT_EQ(expected, CVlanLab::Short(Format(change, vlans)));
            EXPECT_EQ("", id != 0 ? Findings() : "");
        }
}

// Through the agent, as clients do: names, limits and the rule of the untagged VLAN are those of an adapter, and with
// the last VLAN the team and its members are as they were.
TEST(Teams, FromTheFirstVlanToTheLast)
{
    CLabHost host(HostWith(3));
    host.Agent();
    const CRegistryChange change;
    EXPECT_EQ(RAV_MSG_UNTAGGED_ALONE, host.Create("Team", 0, L"Alone").ulErrCode);
    CResult result;
    host.Agent().CreateMultipleVLANs(result, host.Key("Team"), L"0-3", RAV_AUTO_VLAN_NAMES, 0, nullptr, host.Lock());
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(4u, host.Vlans("Team").size());
    EXPECT_EQ("1 2 3 11 553", Carried(host, "Port 3"));
    EXPECT_EQ("", Findings());
    host.Agent().CreateMultipleVLANs(result, host.Key("Team"), L"5-65", RAV_AUTO_VLAN_NAMES, 0, nullptr, host.Lock());
    EXPECT_EQ(RAV_MSG_PARENT_OVERFULL, result.ulErrCode);
    for (const DWORD id : {2, 1, 3})
    {
        EXPECT_EQ(0u, host.Remove(host.Vlan("Team", id)).ulErrCode);
        const DWORD stops = Stops(host, "Port 3");
        Mend(host, RAV_RELOADS::None); // what the members keep of one of several
        EXPECT_EQ(stops, Stops(host, "Port 3"));
        EXPECT_EQ("", Findings());
    }
    EXPECT_EQ(0u, CLabHost::Miniports());
    EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
}

// The driver is told through every loaded member; one that is not in the machine, or not loaded, is no obstacle.
TEST(Teams, MembersThatAreNotThere)
{
    const std::tuple<const char*, const char*, const char*> CASES[] = {
        {"", "10 11 221", "10 11 221"},
        {R"(Lab\Devices\{1} Problem DWORD 10)", "10 11 221", "10 11 221"},
        {R"(Lab\Adapters\{2} Corvo DWORD 0)", "10 11 221", "10 11 221"},
        {"- 0001", "-- 110", "10 11 221"},
        {R"(- {1} TotalPhysicalAdapters; - {2} TotalPhysicalAdapters)", "10 11 221", "10 11 221"},
    };
    for (const auto& [change, first, second] : CASES)
    {
        CVlanLab host(HostWith(2));
        host.Change(change);
        EXPECT_TRUE(CreateOver(host, 10).Succeeded()) << change;
        EXPECT_EQ(first, Carried(host, "Port 1")) << change;
        EXPECT_EQ(second, Carried(host, "Port 2")) << change;
        EXPECT_EQ(0u, LabNumber(LabInstancePath(host.Vlans("Team")[0]), L"LogicalGroupID", 9)) << change;
        // The flag that it had before it joined.
        EXPECT_EQ(1u, LabNumber(LabPath(XMS_CONFIGURATION_KEY, host.Key("Port 2")), L"EnableDHCP", 9)) << change;
    }
}

// Joining and leaving are each other's inverse: with all VLANs at once, and one by one. Each reloads the adapter once.
// No removal touches the key of another maker's adapter: what joining wrote there the doctor takes back.
TEST(Teams, JoiningIsTheInverseOfLeaving)
{
    for (const auto& [ids, make] : std::initializer_list<std::pair<const char*, const char*>>{
             {"10", ""}, {"10 20", ""}, {"10 0", ""}, {"20 10 0", ""}, {"10 0", R"(Lab\Adapters\{2} Corvo DWORD 0)"}})
    {
        SCOPED_TRACE(ids);
        CVlanLab lab(HostWith(2, ids));
        CLabHost& host = lab;
        lab.Change(make);
        const std::string before = Carried(host, "Port 2");
        const auto leave = [&, isOurs = *make == '\0'] {
            ASSERT_TRUE(Leave(host, "Port 2").Succeeded() && host.IsSuiteLockFree());
            EXPECT_EQ(isOurs, Findings().find("Port 2") == std::string::npos) << Findings();
            if (!isOurs)
                Mend(host, RAV_RELOADS::None, L"Port 2");
            EXPECT_EQ(std::string::npos, Findings().find("Port 2")) << Findings();
        };
        leave();
        const CRavString address = LabText(LabInstancePath(host.Key("Port 2")), L"NetworkAddress");
        const CRegistryChange change;
        s_trace->Forget();
        ASSERT_TRUE(Join(host, "Port 2").Succeeded()) << s_trace->Text();
        EXPECT_EQ(before, Carried(host, "Port 2"));
        EXPECT_EQ(address, LabText(LabInstancePath(host.Key("Port 2")), L"NetworkAddress")); // the team's business
        EXPECT_EQ("", Findings());
        ASSERT_TRUE(host.IsSuiteLockFree()); // with which what is queued is reloaded
        const DWORD stops = Stops(host, "Port 2");
        leave();
        EXPECT_EQ(stops + 1, Stops(host, "Port 2"));
        EXPECT_EQ("", CLabHost::Readable(change.Text(), {}));
        ASSERT_TRUE(Join(host, "Port 2").Succeeded());
        const CRegistryChange single;
        const CRavString last = host.Vlans("Team").back();
        if (host.Vlans("Team").size() < 2)
            continue;
        ASSERT_TRUE(Leave(host, "Port 2", last).Succeeded());
        ASSERT_TRUE(Join(host, "Port 2", last).Succeeded());
        EXPECT_EQ("", CLabHost::Readable(single.Text(), {}));
    }
}

// Whatever fails: the other member stays as it was, and done again it is what it would have been at once.
TEST(Teams, JoiningCanBeRepeated)
{
    std::string usual;
    for (size_t k = 0, failed = true; failed && !HasFailure(); k += k == 0 ? 1 : 5)
    {
        CLabHost host(HostWith(2, "10 0"));
        ASSERT_TRUE(Leave(host, "Port 2").Succeeded());
        const std::string other = Carried(host, "Port 1");
        const CRegistryChange change;
        CJournal journal;
        journal.FailCall(k);
        journal.Start();
        const CResult result = Join(host, "Port 2");
        failed = k == 0 || journal.HasFailed();
        journal.Stop();
        EXPECT_EQ(other, Carried(host, "Port 1")) << k;
        EXPECT_TRUE(result.Succeeded() || Join(host, "Port 2").Succeeded()) << k;
        const std::string changes = CLabHost::Readable(change.Text(), {});
        usual = k == 0 ? changes : usual;
        EXPECT_EQ(usual, changes) << k << journal.Calls();
    }
}

// Every platform call of a first creation fails once: no miniport stays, the locks are free, the trace names what was
// left on which member, and the doctor brings back the rest.
TEST(Teams, EveryPlatformCallOfAFirstCreation)
{
#ifdef _GLIBCXX_ASSERTIONS
    size_t k = 2;
#else
    size_t k = 1;
#endif
    for (bool failed = true; failed && !HasFailure(); k += 8)
    {
        SCOPED_TRACE("call " + std::to_string(k));
        CLabHost host(HostWith(2));
        host.Agent();
        const CRegistryChange change;
        CJournal journal;
        s_trace->Forget();
        journal.FailCall(k);
        journal.Start();
        const bool created = host.Create("Team", 10, L"Ten").Succeeded();
        failed = journal.HasFailed();
        journal.Stop();
        EXPECT_EQ(created ? 1u : 0u, CLabHost::Miniports());
        EXPECT_TRUE(host.IsSuiteLockFree() && CLabHost::IsNetworkLockFree());
        const bool isLeft = !created && change.Text().find("Class\\0001  VLANID") != std::string::npos;
        EXPECT_TRUE(!isLeft || s_trace->Text().find("left on member {A0000001-0000-4000-8000-000000000001}: VLANID") !=
                                   std::string::npos);
        Mend(host);
        EXPECT_EQ("", Findings());
        EXPECT_TRUE(created || !std::regex_search(change.Text(), std::regex("TaggingMode.*1\""))) << change.Text();
        EXPECT_TRUE(created || host.Create("Team", 10, L"Ten").Succeeded());
        EXPECT_EQ("10 11 221", Carried(host, "Port 2"));
    }
    EXPECT_LT(100u, k);
}

// The lab's team agent, as an administrator uses it.
TEST(Teams, OfTheLab)
{
    CLabHost host(HostWith(2, "10 0"));
    const LAB_TEAM_CALLER caller{host.Agent(), host.Lock()};
    CRavString other;
    EXPECT_NE(L"", Teams().Add(caller, host.Key("Team"), host.Key("Port 1")));
    EXPECT_NE(L"", Teams().Create(caller, L"Team", 1, {host.Key("Port 3")}, other));
    EXPECT_NE(L"", Teams().SetMode(caller, host.Key("Team"), 7));
    const CRegistryChange change;
    EXPECT_EQ(L"", Teams().Create(caller, L"Other", 1, {host.Key("Port 3"), host.Key("Port 4")}, other));
    EXPECT_EQ("", Findings());
    CResult result;
    host.Agent().CreateVlan(result, other, 30, L"Thirty", 0, host.Lock());
    EXPECT_EQ(0u, result.ulErrCode);
    EXPECT_EQ(L"", Teams().SetMode(caller, other, 4));
    EXPECT_EQ("", Findings());
    EXPECT_EQ("30 11 221", Carried(host, "Port 4"));
    EXPECT_EQ(L"", Teams().Delete(caller, other));
    EXPECT_EQ("", Findings());
    for (const std::string& line : SplitLines(CLabHost::Readable(change.Text(), {})))
        EXPECT_TRUE(std::regex_search(line, std::regex("NetworkAddress|Linkage"))) << line;
}

// VLANs and members that come and go in random order.
TEST(Teams, StayWholeAtRandom)
{
    CLabHost host(HostWith(2));
    const LAB_TEAM_CALLER caller{host.Agent(), host.Lock()};
    const CRavString team = host.Key("Team");
    std::mt19937 random(17);
    for (size_t step = 0; step < 80 && !HasFailure(); ++step)
    {
        SCOPED_TRACE("step " + std::to_string(step));
        const bool tagged =
            !LabList(LabInstancePath(LabList(LabPath(LAB_TEAMS, team), L"Members")[0]), L"VLANID").empty();
        if (random() % 2 == 0)
        {
            const DWORD id = random() % 4 == 0 && tagged ? 0 : 1 + random() % 4;
            const CRavString vlan = host.Vlan("Team", id);
            EXPECT_EQ(
                0u, (vlan.IsEmpty() ? host.Create("Team", id, (L"N" + std::to_wstring(id)).c_str()) : host.Remove(vlan))
                        .ulErrCode);
            if (!vlan.IsEmpty())
                Mend(host);
        }
        else
        {
            const CRavString port = LabGuid(1 + random() % 4);
            const size_t members = LabList(LabPath(LAB_TEAMS, team), L"Members").size();
            const bool isFree = LabTeamOf(port).IsEmpty();
            const CRavString why = isFree ? Teams().Add(caller, team, port) : Teams().Remove(caller, team, port);
            EXPECT_EQ(!isFree && members == 1, !why.IsEmpty()) << Utf8(why);
        }
        EXPECT_EQ("", Findings());
        const std::vector<CRavString> vlans = host.Vlans("Team");
        for (const CRavString& member : LabList(LabPath(LAB_TEAMS, team), L"Members"))
        {
            std::vector<CRavString> bindings = LabList(LabPath(XMS_ADAPTERS_KEY, member), L"MiniportBindingList");
            EXPECT_EQ(vlans.size() + 1, bindings.size());
            for (const CRavString& vlan : vlans)
                EXPECT_EQ(1, std::count(bindings.begin(), bindings.end(), CRavString(L"\\Device\\") + vlan));
        }
    }
}
