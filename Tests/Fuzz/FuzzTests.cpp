// The module and the repair of hosts where the registry is damaged at random: whatever stands there, nothing faults,
// throws or hangs, locks and handles are given back, nothing is written outside the keys of the VLAN format, and a host
// that was repaired stays so.
//
//   FuzzTests.exe [ROUNDS [SEED [FIRST]]]    scripts/fuzz.sh does many

#include "Common/Settings/RavSetting.h"
#include "Plan/RavRepair.h"
#include "Tests/Fuzz/Mutation.h"
#include "Tests/Fuzz/Stray.h"
#include "Tests/Harness/TraceFile.h"
#include "Tests/Src/LabFixture.h"

#include <atomic>
#include <cstdio>
#include <thread>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

size_t s_rounds = 150;
uint64_t s_seed = 1;
size_t s_first = 0;

constexpr ULONGLONG PATIENCE = 300000; // milliseconds: a round takes a fraction of a second, or never ends
constexpr size_t MOST_CALLS = 100000;

#define RAV_TEMPLATE                                                                                                   \
    R"({ "name": "*NumRssQueues", "type": "int", "description": "Queues", "default": 2, "min": 1, "max": 8 })"
const std::string HOSTS[] = {
    R"({ "adapters": [ { "name": "Port A", "mac": "001B21000001" } ],
         "vlans": [ { "parent": "Port A", "id": 10, "name": "Ten" } ] })",
    R"({ "adapters": [ { "name": "Port A", "mac": "001B21000001", "jumboFrames": [1514, 9014],
                         "parameters": { "VlanFiltering": "0", "TaggingMode": "0", "*PriorityVLANTag": "1" } },
                       { "name": "Port B", "mac": "001B21000002", "vmq": true } ],
         "vlans": [ { "parent": "Port A", "id": 10, "name": "Ten" }, { "parent": "Port A", "id": 20, "name": "Twenty" },
                    { "parent": "Port A", "id": 0, "name": "Zero" } ],
         "templates": [ { "name": "*JumboPacket", "type": "enum", "description": "Jumbo", "default": 1514,
                          "choices": [ { "value": 1514, "text": "Off" }, { "value": 9014, "text": "9014" } ] },)" RAV_TEMPLATE
    "] }",
    R"({ "adapters": [ { "name": "Port A", "mac": "001B21000001" }, { "name": "Port B", "mac": "001B21000002" } ],
         "teams": [ { "name": "Team", "members": ["Port A", "Port B"], "mode": 2 } ],
         "vlans": [ { "parent": "Team", "id": 10, "name": "Ten" }, { "parent": "Team", "id": 20, "name": "Twenty" } ],
         "templates": [)" RAV_TEMPLATE "] }"};
constexpr size_t TEAM = 2;

// What is going on, for whoever has to say that it ended the process.
std::string s_round;
std::atomic<ULONGLONG> s_begun = 0; // 0 between rounds

[[noreturn]] void Die(const char* reason)
{
    std::fprintf(stderr, "fuzz: %s in %s", reason, s_round.c_str());
    TerminateProcess(GetCurrentProcess(), 3);
    std::abort();
}

LONG WINAPI OnFault(EXCEPTION_POINTERS* fault)
{
    char reason[80];
    std::snprintf(reason, sizeof(reason), "fault 0x%08lX at %p", fault->ExceptionRecord->ExceptionCode,
                  fault->ExceptionRecord->ExceptionAddress);
    Die(reason);
}

void Watch()
{
    for (;; Sleep(1000))
    {
        const ULONGLONG begun = s_begun;
        if (begun != 0 && GetTickCount64() - begun > PATIENCE)
            Die("no end");
    }
}

class CRound
{
  public:
    CRound(size_t host, const std::string& mutations, CDice& dice, CJournal& journal)
        : m_host(HOSTS[host]), m_isTeam(host == TEAM), m_dice(dice)
    {
        Mutate(m_host.Hive(), mutations);
        const RAV_HIVE_DUMP before = DumpHive();
        journal.Start();
        try
        {
            Operate();
        }
        catch (...)
        {
            ADD_FAILURE() << "something was thrown";
        }
        journal.Stop();
        m_calls = journal.FailableCalls();
        EXPECT_EQ("", Stray(before, DumpHive()));
        EXPECT_EQ("", OpenHandles(journal));
        EXPECT_EQ("", Utf8(LabSuiteLockHolder()) + Utf8(LabWriteLockHolder()));
        EXPECT_GT(MOST_CALLS, m_calls);
    }
    size_t Calls() const { return m_calls; }

  private:
    // A repair takes as long as a creation and a removal: a round has either.
    void Operate()
    {
        CVlanAgentWin agent;
        CResult result;
        agent.Initialize(result);
        const std::vector<CRavString> keys = Look(agent);
        if (m_dice.OneIn(2))
            Change(agent, keys);
        else if (CRavCoreAgentPvtIntf* const core = agent.GetCoreAgentPvt())
            Repair(agent, *core);
    }

    std::vector<CRavString> Look(CVlanAgentWin& agent)
    {
        CResult result;
        std::vector<CRavString> keys;
        agent.EnumerateVlans(result, L"", keys);
        for (const CRavString& key : keys)
        {
            RAV_VLAN_INFO info;
            RAV_VLAN_PARENT parent;
            DWORD status = 0;
            std::vector<RAV_SETTING*> settings;
            agent.GetVlanInfo(result, key, info);
            agent.GetVlanParent(result, m_host.Client(), key, parent);
            agent.GetVlanStatus(result, key, status);
            agent.EnumerateSettings(result, m_host.Client(), key, settings);
            for (const RAV_SETTING* const setting : settings)
                delete setting;
        }
        std::vector<CRavString> parents;
        agent.EnumerateVlanSupportingParents(result, parents, m_host.Client());
        return keys;
    }

    void Change(CVlanAgentWin& agent, const std::vector<CRavString>& keys)
    {
        static const wchar_t* const NUMBERS[] = {L"30", L"10,20", L"5-9"};
        static const DWORD IDS[] = {30, 30, 0, 10, 4094};
        static const wchar_t* const NAMES[] = {L"New", L"New", L"Ten", L""};
        CResult result;
        std::vector<RAV_VALIDATION_MESSAGE> messages;
        const CRavString parent = m_host.Key(m_isTeam && !m_dice.OneIn(4) ? "Team" : "Port A");
        agent.ValidateNewVlan(result, parent, m_dice.Of(NUMBERS), m_dice.Of(NAMES), messages, m_host.Client());
        const DWORD id = m_dice.Of(IDS);
        agent.CreateVlan(result, parent, id, m_dice.Of(NAMES), static_cast<DWORD>(m_dice.Below(3)), m_host.Lock());
        agent.RemoveVlan(result, m_host.Lock(), keys.empty() ? LabGuid(100) : m_dice.Of(keys));
        if (m_isTeam && m_dice.OneIn(8))
            agent.RemoveAllVlansOnTeam(result, m_host.Key("Team"));
    }

    // When all steps could be taken, there is nothing left that has any.
    void Repair(CVlanAgentWin& agent, CRavCoreAgentPvtIntf& core)
    {
        const auto all = [](const RAV_FINDING&) { return true; };
        const auto isOpen = [](const RAV_FINDING& finding) { return !finding.steps.empty(); };
        const RAV_REPAIR repair = RavRepairHost(agent, core, m_host.Lock(), all);
        for (const RAV_FINDING& finding : repair.left)
            EXPECT_TRUE(!isOpen(finding) || !repair.failed.empty())
                << Utf8(RavFindingText(finding.kind).name) << ": " << Utf8(finding.detail);
    }

    // The team agent stays loaded from one question to the next.
    static std::string OpenHandles(const CJournal& journal)
    {
        std::string open;
        for (const std::string& line : SplitLines(journal.OpenHandles()))
            open += line.find("TeamAgent.dll") == std::string::npos ? line + "\n" : "";
        return open;
    }

    CLabHost m_host;
    bool m_isTeam;
    CDice& m_dice;
    size_t m_calls = 0;
};
} // namespace

class Fuzz : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        SetUnhandledExceptionFilter(OnFault);
        std::thread(Watch).detach();
    }
    void SetUp() override { m_journal.CountOnly(); }

    void Round(size_t host, const std::string& mutations, CDice& dice, const std::string& name)
    {
        s_round = name + ", host " + std::to_string(host) + ":\n" + mutations;
        SCOPED_TRACE(s_round);
        s_begun = GetTickCount64();
        m_most = std::max(m_most, CRound(host, mutations, dice, m_journal).Calls());
        s_begun = 0;
    }

    const CTempFolder m_folder; // of trace logs, where a damaged value asks for one
    CJournal m_journal;
    size_t m_most = 0;
};

TEST_F(Fuzz, WhatItHasFound)
{
    const struct
    {
        size_t host;
        const char* mutations;
    } FOUND[] = {
        {0, "Class\\0001  VlanFiltering  REG_SZ  hex:"}, // no data at all
        {0, "> Class\\0002  Class\\0001"},               // a VLAN in the place of its parent
        {0, "> Class\\0002  Class\\0001\n> Class\\0002  Class\\0099"},
        // A protocol whose service there is not.
        {0, "Network\\{4D36E975-E325-11CE-BFC1-08002BE10318}\\{B0000001-0000-4000-8000-000000000001}\\Ndi  Service  "
            "REG_SZ  \"Tcpop\""},
        // Names that grow: beyond what can be read, and with each repair.
        {TEAM, "Enum\\ROOT\\NET\\0003  FriendlyName  REG_SZ  hex:41 00*513"},
        {TEAM, "Class\\0003  DeviceInstanceID  REG_SZ  \"ROOT\\NET\\0005\""},
        // A device that is all devices, and one of two VLANs.
        {0, "Class\\0002  DeviceInstanceID  REG_SZ  \"\\\""},
        {1, "Class\\0004  DeviceInstanceID  REG_SZ  \"root\\net\\0005\""},
    };
    for (const auto& [host, mutations] : FOUND)
        for (size_t index = 0; index < 4; ++index) // some with a repair, some with a change
        {
            CDice dice(0, index);
            Round(host, mutations, dice, "found");
        }
}

TEST_F(Fuzz, DamagedHosts)
{
    std::vector<CMutator> mutators;
    for (const std::string& host : HOSTS)
    {
        const CLabHost untouched(host);
        mutators.emplace_back(CRegistrySnapshot().Text());
    }
    for (size_t index = s_first; index < s_first + s_rounds; ++index)
    {
        CDice dice(s_seed, index);
        const size_t host = dice.Below(mutators.size());
        Round(host, mutators[host].Next(dice), dice,
              "round " + std::to_string(index) + " of seed " + std::to_string(s_seed));
    }
    std::printf("fuzz: %zu rounds from %zu on, at most %zu calls\n", s_rounds, s_first, m_most);
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (argc > 1)
        s_rounds = std::strtoull(argv[1], nullptr, 10);
    if (argc > 2)
        s_seed = std::strtoull(argv[2], nullptr, 10);
    if (argc > 3)
        s_first = std::strtoull(argv[3], nullptr, 10);
    return RUN_ALL_TESTS();
}
