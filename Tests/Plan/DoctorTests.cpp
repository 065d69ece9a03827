// What an examination finds on hosts that were broken in each way, and what a repair makes of them.

#include "Plan/RavExamine.h"
#include "Plan/RavRepair.h"
#include "Suite/Lab/LabTool/HostBreaker.h"
#include "Tests/Src/LabFixture.h"

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

const char* const HOST = R"({
    "adapters": [
        { "name": "Port A", "mac": "001B21000001" },
        { "name": "Port B", "mac": "001B21000002" },
        { "name": "Port C", "mac": "001B21000003" },
        { "name": "Port D", "mac": "001B21000004", "vmq": true,
          "parameters": { "VlanFiltering": "0", "TaggingMode": "0", "*PriorityVLANTag": "1" } },
        { "name": "Off", "mac": "001B21000005", "driverLoaded": false },
        { "name": "Member 1", "mac": "001B21000008" },
        { "name": "Member 2", "mac": "001B21000009" },
        { "name": "Member 3", "mac": "001B2100000A" }
    ],
    "teams": [ { "name": "Team", "members": ["Member 1", "Member 2"], "mode": 2 },
               { "name": "Bare", "members": ["Member 3"] } ],
    "vlans": [
        { "parent": "Port A", "id": 10, "name": "Sales" },
        { "parent": "Port A", "id": 20, "name": "Voice" },
        { "parent": "Port B", "id": 30, "name": "Storage" },
        { "parent": "Port C", "id": 35, "name": "Tagged" },
        { "parent": "Port C", "id": 0, "name": "Untagged" },
        { "parent": "Team", "id": 40, "name": "Backup" },
        { "parent": "Team", "id": 50, "name": "Guests" }
    ],
    "templates": [ { "name": "*NumRssQueues", "type": "int", "description": "Queues", "default": 2, "min": 1, "max": 8 } ]
})";

std::vector<RAV_FINDING> Examine()
{
    CRavNetCfgInterface netCfg;
    RAV_HOST host;
    EXPECT_LE(0, netCfg.Initialize());
    EXPECT_LE(0, RavReadHost(netCfg, host));
    return RavExamine(host);
}

// "name on where", one a line.
std::string Names(const std::vector<RAV_FINDING>& findings)
{
    std::string text;
    for (const RAV_FINDING& finding : findings)
        text += Utf8(RavFindingText(finding.kind).name) + " on " + Utf8(finding.where) + "\n";
    return text;
}

RAV_REPAIR Repair(CLabHost& host, const std::string& name = "")
{
    RAV_REPAIR repair =
        RavRepairHost(host.Agent(), *host.Agent().GetCoreAgentPvt(), host.Lock(), [&](const RAV_FINDING& finding) {
            return name.empty() || name == Utf8(RavFindingText(finding.kind).name);
        });
    EXPECT_EQ(0u, repair.result.ulErrCode);
    EXPECT_TRUE(host.IsSuiteLockFree() && host.IsNetworkLockFree());
    return repair;
}

struct BREAK
{
    const char* what;
    const char* where;   // an adapter, or PARENT/ID
    const char* found;   // what is found, the break's own name aside: "; " between
    const char* left;    // what only an administrator can decide: "; " between
    const char* changed; // what the repaired host differs in from the one that was broken
};

class DoctorTests : public testing::Test
{
  protected:
    CRavString Subject(CLabHost& host, const std::string& where)
    {
        const size_t slash = where.find('/');
        return slash == std::string::npos
                   ? host.Key(where)
                   : host.Vlan(where.substr(0, slash), static_cast<DWORD>(std::stoul(where.substr(slash + 1))));
    }
};
} // namespace

// What the operations of the module leave is healthy, whatever was there before.
TEST_F(DoctorTests, FindsNothingOnAHostThatTheModuleHasMade)
{
    CLabHost host(HOST);
    ASSERT_EQ("", Names(Examine()));
    const struct
    {
        const char* parent;
        DWORD id;
    } CREATED[] = {{"Port A", 21}, {"Port B", 0}, {"Port D", 60}, {"Port D", 61},
                   {"Port D", 0},  {"Team", 60},  {"Team", 0},    {"Bare", 70}};
    for (const auto& [parent, id] : CREATED)
    {
        EXPECT_EQ(0u, host.Create(parent, id, (L"Name " + std::to_wstring(id)).c_str()).ulErrCode);
        EXPECT_EQ("", Names(Examine())) << parent << " with " << id;
    }
    const struct
    {
        const char* parent;
        DWORD id;
    } REMOVED[] = {{"Port D", 0},  {"Port D", 60}, {"Port D", 61}, {"Port A", 10},
                   {"Port B", 30}, {"Port C", 35}, {"Bare", 70}};
    for (const auto& [parent, id] : REMOVED)
    {
        EXPECT_EQ(0u, host.Remove(host.Vlan(parent, id)).ulErrCode);
        EXPECT_EQ("", Names(Examine())) << parent << " without " << id;
    }
}

TEST_F(DoctorTests, NamesAndMendsEachBreak)
{
    const BREAK BREAKS[] = {
        {"parent-unknown", "Port A/10", "", "", ""},
        {"damaged-vlan", "Port A/20", "", "", ""},
        {"display-name", "Team/40", "", "", ""},
        {"team-values", "Team/50", "", "", ""},
        {"no-driver-entry", "Port A", "", "", ""},
        {"no-driver-entry", "Member 1", "", "", ""},
        {"driver-entry", "Port B", "", "", ""},
        {"driver-entry", "Member 2", "", "", ""},
        {"binding-list", "Port A", "", "", ""},
        {"binding-list", "Member 2", "", "", ""},
        {"binding-count", "Port C", "", "", ""},
        {"binding-count", "Member 1", "", "", ""},
        {"stale-driver-entry", "Port D", "", "", ""},
        {"id-list", "Port A", "", "", ""},
        {"id-list", "Member 1", "", "", ""},
        {"id-list", "Port D", "", "", ""},
        {"vlan-mode", "Port A", "", "", ""},
        {"vlan-mode", "Member 2", "", "", ""},
        {"vlan-mode", "Port D", "", "", ""},
        {"tagging-mode", "Member 2", "", "", ""},
        {"driver-tagging-mode", "Port C", "", "", ""},
        {"priority-tag", "Port B", "", "", "PriorityVLANTag"},
        {"parent-mark", "Port B", "", "", ""},
        {"parent-mark", "Port D", "", "", ""},
        {"parent-address", "Port A", "", "", ""},
        {"not-bound", "Port A", "", "", "Linkage|Bindings"},
        {"not-bound", "Port B", "", "", "Linkage|Bindings"}, // its only VLAN stays
        {"still-bound", "Port D", "", "", "Linkage"},
        {"protocols-bound", "Port A", "", "", "Linkage|Bindings"},
        {"protocols-missing", "Port D", "", "", "Linkage"},
        {"protocols-missing", "Bare", "", "", "Linkage"},
        {"dhcp-flag", "Port C", "", "", ""},
        {"not-loaded", "Port D", "", "", ""},
        // A VLAN that is lost goes wholly.
        {"ghost-miniport", "Port A/20", "binding-list on Port A; binding-count on Port A; id-list on Port A", "", "-"},
        {"unfinished-vlan", "Port A/10", "binding-list on Port A; binding-count on Port A; id-list on Port A", "", "-"},
        {"abandoned-vlan", "Port A/20", "binding-count on Port A", "", "-"},
        {"parent-gone", "Port A/10", "binding-count on Port A", "", "-"},
        // What only an administrator knows.
        {"unknown-id", "Port A/20", "", "unknown-id", "-"},
        {"same-id", "Port A/20", "id-list on Port A", "same-id", "-"},
        {"same-name", "Port A/20", "display-name on Port A - VLAN : Voice", "same-name", "-"},
        {"same-device", "Port A/20", "same-device on Port A - VLAN : Sales", "same-device; same-device", "-"},
        {"untagged-alone", "Port B/30",
         "id-list on Port B; vlan-mode on Port B; tagging-mode on Port B; driver-tagging-mode on Port B",
         "untagged-alone", "-"},
    };
    std::set<std::string> made;
    for (const BREAK& row : BREAKS)
    {
        SCOPED_TRACE(std::string(row.what) + " on " + row.where);
        CLabHost host(HOST);
        const CRegistryChange change;
        made.insert(row.what);
        ASSERT_TRUE(BreakHost(row.what, Subject(host, row.where)));
        host.CloseAgent();
        const std::string found = Names(Examine());
        EXPECT_NE(std::string::npos, found.find(std::string(row.what) + " on ")) << found;
        for (const std::string& other : SplitLines(Replaced(row.found, "; ", "\n")))
            EXPECT_NE(std::string::npos, found.find(other + "\n")) << found;
        EXPECT_EQ(std::count(found.begin(), found.end(), '\n'),
                  1 + (*row.found != '\0' ? 1 + std::count(row.found, row.found + strlen(row.found), ';') : 0))
            << found;
        const RAV_REPAIR repair = Repair(host);
        EXPECT_EQ(0u, repair.failed.size());
        const std::string left = Names(repair.left);
        const std::vector<std::string> leftLines = SplitLines(left);
        const std::vector<std::string> expected = SplitLines(Replaced(row.left, "; ", "\n"));
        ASSERT_EQ(expected.size(), leftLines.size()) << left;
        for (size_t index = 0; index < expected.size(); ++index)
            EXPECT_TRUE(leftLines[index].starts_with(expected[index])) << left;
        EXPECT_EQ(left, Names(Examine()));
        if (*row.changed == '-')
            continue;
        for (const std::string& line : SplitLines(CLabHost::Readable(change.Text(), {})))
            EXPECT_TRUE(*row.changed != '\0' && std::regex_search(line, std::regex(row.changed))) << line;
    }
    for (const std::string& name : HostBreaks())
        EXPECT_EQ(1u, made.count(name)) << name;
}

// An adapter in the driver's hands without an entry is a member of the team that misses one only if it lists the team's
// ids.
TEST_F(DoctorTests, CountsAMemberWithoutAnEntryByWhatItLists)
{
    for (const auto& [ids, found] : {std::pair(L"40", "no-driver-entry on Port D"), {L"77", "still-bound on Port D"}})
    {
        CLabHost host(HOST);
        for (const char* const left : {"still-bound", "parent-mark"})
            ASSERT_TRUE(BreakHost(left, host.Key("Port D")));
        for (const char* const member : {"Member 1", "Member 2"})
            LabSetNumber(LabPath(XMS_ADAPTERS_KEY, host.Key(member)), L"TotalPhysicalAdapters", 3);
        LabSetList(LabInstancePath(host.Key("Port D")), L"VLANID", {ids});
        EXPECT_NE(std::string::npos, Names(Examine()).find(found)) << Names(Examine());
    }
}

// A repair that has nothing to do asks for the locks and writes nothing; one of a finding that is named leaves others.
TEST_F(DoctorTests, MendsWhatIsChosenAlone)
{
    CLabHost host(HOST);
    ASSERT_TRUE(BreakHost("binding-count", host.Key("Port A")));
    ASSERT_TRUE(BreakHost("id-list", host.Key("Port B")));
    host.Agent();
    CJournal journal;
    journal.Start();
    Repair(host, "not-bound");
    EXPECT_EQ("", journal.Calls({"RegSetValueExW", "RegDeleteValueW", "RegCreateKeyExW", "RegDeleteKeyW"}));
    journal.Stop();
    EXPECT_EQ("id-list on Port B\n", Names(Repair(host, "binding-count").left));
}

// Every platform call of a repair fails once: both locks are free, and the next repair finishes.
TEST_F(DoctorTests, CanBeRepeatedAfterAnyFailure)
{
    size_t k = 1;
    for (bool failed = true; failed; k += 23)
    {
        CLabHost host(HOST);
        for (const auto& [what, where] : {std::pair("no-driver-entry", "Port A"),
                                          {"not-bound", "Port B"},
                                          {"stale-driver-entry", "Port D"},
                                          {"still-bound", "Port D"}})
            ASSERT_TRUE(BreakHost(what, host.Key(where)));
        ASSERT_TRUE(BreakHost("ghost-miniport", Subject(host, "Port C/35")));
        host.CloseAgent();
        host.Agent();
        CJournal journal;
        journal.FailCall(k);
        journal.Start();
        RavRepairHost(host.Agent(), *host.Agent().GetCoreAgentPvt(), host.Lock(),
                      [](const RAV_FINDING&) { return true; });
        failed = journal.HasFailed();
        journal.Stop();
        EXPECT_EQ("untagged-alone on Port C - VLAN : Untagged\n", Names(Repair(host).left)) << "after call " << k;
    }
    EXPECT_LT(100u, k);
}
