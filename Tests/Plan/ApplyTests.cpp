// States that are applied to a host for real: it becomes what is wanted, or what it was.

#include "Common/Src/RavSuiteLock.h"
#include "Plan/RavCarryOut.h"
#include "Plan/RavExamine.h"
#include "Plan/RavRepair.h"
#include "Tests/Src/LabFixture.h"

#include <iostream>
#include <random>

namespace
{
const testing::Environment* const s_server = testing::AddGlobalTestEnvironment(new CLabServer);

const char* const HOST = R"({
    "adapters": [
        { "name": "Port A", "mac": "001B21000001", "parameters": { "VlanFiltering": "0", "*PriorityVLANTag": "1" } },
        { "name": "Port B", "mac": "001B21000002" }
    ],
    "templates": [
        { "name": "*NumRssQueues", "type": "int", "description": "Queues", "default": 2, "min": 1, "max": 8 },
        { "name": "*LsoV2IPv4", "type": "enum", "description": "Offload", "default": 1,
          "choices": [{ "value": 0, "text": "Disabled" }, { "value": 1, "text": "Enabled" }] }
    ]
})";

RAV_WANTED_VLAN Vlan(DWORD id, const std::string& name, DWORD type = 0, const std::string& queues = "default",
                     const std::string& offload = "default")
{
    RAV_WANTED_VLAN vlan;
    vlan.id = id;
    vlan.name = Wide(name).c_str();
    vlan.type = type;
    vlan.settings = {{L"*NumRssQueues", Wide(queues).c_str()}, {L"*LsoV2IPv4", Wide(offload).c_str()}};
    return vlan;
}

using STATE = std::vector<RAV_WANTED_PARENT>;

std::string Text(const RAV_WANTED_PARENT& parent)
{
    std::vector<std::string> vlans;
    for (const RAV_WANTED_VLAN& vlan : parent.vlans)
    {
        vlans.push_back(std::to_string(vlan.id) + " " + Utf8(vlan.name) + " " + std::to_string(vlan.type.value_or(0)));
        std::map<CRavString, std::string> settings;
        for (const RAV_WANTED_SETTING& setting : vlan.settings)
            settings[setting.keyword] = setting.value != RAV_DEFAULT_VALUE ? Utf8(setting.value)
                                        : setting.keyword == L"*LsoV2IPv4" ? "1"
                                                                           : "2";
        for (const auto& [keyword, value] : settings)
            vlans.back() += " " + (value == "Disabled" ? "0" : value);
    }
    std::sort(vlans.begin(), vlans.end());
    std::string text;
    for (const std::string& vlan : vlans)
        text += vlan + "\n";
    return text + ".\n";
}

std::string Text(const STATE& state)
{
    std::string text;
    for (const RAV_WANTED_PARENT& parent : state)
        text += Text(parent);
    return text;
}

// A host with the way to apply states to it.
class CApplied
{
  public:
    explicit CApplied(CLabHost& host)
        : m_host(host), m_source{host.Agent(), *host.Agent().GetCoreAgentPvt(), host.Client()}
    {
    }

    RAV_CARRIED Apply(const STATE& state, bool keep = false)
    {
        CResult result;
        const CRavSuiteLock lock(m_host.Agent(), m_host.Lock(), result);
        std::vector<RAV_PARENT_CHANGE> changes;
        result = lock.IsHeld() ? RavPlanChanges(m_source, state, true, changes) : result;
        RAV_CARRIED unread;
        unread.state = RAV_CARRIED_STATE::RolledBack;
        unread.failure = result;
        if (!result.Succeeded()) // nothing is done on such ground
            return unread;
        for (const RAV_PARENT_CHANGE& change : changes)
        {
            for (const RAV_REFUSAL& refusal : change.plan.refusals)
                std::cout << Utf8(refusal.text) << "\n";
            if (!change.plan.refusals.empty())
                return unread;
        }
        return RavCarryOut(m_source, changes, {true, keep, {}, {}, {}});
    }

    // What is there, as a state.
    STATE Export()
    {
        CRavNetCfgInterface netCfg;
        RAV_HOST host;
        EXPECT_LE(0, netCfg.Initialize());
        EXPECT_LE(0, RavReadHost(netCfg, host));
        STATE state;
        for (const char* const name : {"Port A", "Port B"})
        {
            RAV_PRESENT_PARENT parent = RavReadParent(m_source, host, m_host.Key(name));
            for (RAV_PRESENT_VLAN& vlan : parent.vlans)
                EXPECT_EQ(0u, RavReadSettings(m_source, vlan).ulErrCode);
            state.push_back(RavWantedAsIs(parent));
        }
        return state;
    }

    // What the doctor finds, one a line.
    std::string Findings() const
    {
        const RAV_REPAIR repair = RavRepairHost(m_host.Agent(), *m_host.Agent().GetCoreAgentPvt(), m_host.Lock(),
                                                [](const RAV_FINDING&) { return false; });
        return Names(repair.left);
    }
    std::string Mend() const
    {
        return Names(
            RavRepairHost(m_host.Agent(), *m_host.Agent().GetCoreAgentPvt(), m_host.Lock(), [](const RAV_FINDING&) {
                return true;
            }).left);
    }

  private:
    static std::string Names(const std::vector<RAV_FINDING>& findings)
    {
        std::string text;
        for (const RAV_FINDING& finding : findings)
            text += Utf8(RavFindingText(finding.kind).name) + " on " + Utf8(finding.where) + "\n";
        return text;
    }

    CLabHost& m_host;
    RAV_STATE_SOURCE m_source;
};

STATE StateOf(CLabHost& host, const std::vector<RAV_WANTED_VLAN>& onA, const std::vector<RAV_WANTED_VLAN>& onB = {})
{
    return {{host.Key("Port A"), onA}, {host.Key("Port B"), onB}};
}

// A change of every kind, a circle of names among them.
STATE MixedBefore(CLabHost& host)
{
    return StateOf(host, {Vlan(10, "Sales"), Vlan(20, "Voice", 0, "4"), Vlan(30, "Old"), Vlan(0, "Untagged")},
                   {Vlan(40, "Backup")});
}
// What new VLANs have is said by value: a default is what their own description says, whatever became of it.
STATE MixedAfter(CLabHost& host)
{
    return StateOf(host,
                   {Vlan(10, "Voice", 1), Vlan(20, "Sales", 0, "8", "Disabled"), Vlan(50, "New", 0, "2", "1"),
                    Vlan(31, "Other", 0, "2", "1")},
                   {Vlan(41, "Backup"), Vlan(0, "Untagged", 0, "2", "1")});
}

std::vector<RAV_WANTED_VLAN> RandomVlans(std::mt19937& random)
{
    constexpr size_t MOST = 4;
    std::vector<DWORD> ids = {0, 1, 2, 3, 4094};
    std::vector<std::string> names = {"A", "B", "C", "D", "E"};
    std::shuffle(ids.begin(), ids.end(), random);
    std::shuffle(names.begin(), names.end(), random);
    std::vector<RAV_WANTED_VLAN> vlans;
    const size_t count = random() % (MOST + 1);
    for (size_t index = 0; index < count && (count > 1 || ids[0] != 0); ++index)
        vlans.push_back(Vlan(ids[index], names[index], random() % 3, random() % 2 == 0 ? "default" : "5",
                             random() % 2 == 0 ? "default" : "Disabled"));
    return vlans;
}

constexpr size_t GROUPS = 6;
} // namespace

class RandomPairs : public testing::TestWithParam<size_t>
{
};

// From any state to any other and back; once more changes nothing, not even for a moment.
TEST_P(RandomPairs, ThereAndBack)
{
    const char* const pairs = std::getenv("RAV_PAIRS"); // of all groups
    const size_t mine = (pairs != nullptr ? std::stoul(pairs) : 60) / GROUPS;
    CLabHost host(HOST);
    CApplied applied(host);
    CJournal journal;
    std::mt19937 random(static_cast<unsigned>(GetParam()) + 1);
    STATE before = StateOf(host, {});
    for (size_t pair = 0; pair < mine; ++pair)
    {
        const STATE after = StateOf(host, RandomVlans(random), RandomVlans(random));
        for (const STATE& state : {after, before, after})
        {
            ASSERT_EQ(RAV_CARRIED_STATE::Done, applied.Apply(state).state) << Text(before) << Text(after);
            ASSERT_EQ(Text(state), Text(applied.Export()));
        }
        journal.Start();
        applied.Apply(after);
        journal.Stop();
        ASSERT_EQ("", journal.Calls({"RegSetValueExW", "RegCreateKeyExW", "RegDeleteValueW", "RegDeleteKeyW",
                                     "RegDeleteTreeW", "DeviceIoControl", "SetupDiCallClassInstaller"}));
        before = after;
    }
    EXPECT_EQ("", applied.Findings());
}

INSTANTIATE_TEST_SUITE_P(Groups, RandomPairs, testing::Range<size_t>(0, GROUPS));

// Whichever call fails in the middle of a plan: the host is as wanted or as before, or what is left is told and can be
// mended.
TEST(ApplyTests, FailingCalls)
{
    CLabHost first(HOST);
    const STATE mixed = MixedBefore(first);
    CApplied(first).Apply(mixed);
    const CHiveImage image(first.Hive());
    size_t back = 0;
    size_t points = 0;
    const char* const every = std::getenv("RAV_EVERY_CALL");
    const size_t stride = every != nullptr ? std::stoul(every) : 100;
    for (size_t k = stride * 7 / 10;; k += stride) // one of these is in the middle of a removal
    {
        CLabHost host(HOST, image);
        CApplied applied(host);
        const std::string before = Text(applied.Export());
        const STATE wanted = MixedAfter(host);
        CJournal journal;
        journal.FailCall(k);
        journal.Start();
        const RAV_CARRIED carried = applied.Apply(wanted);
        const bool hasFailed = journal.HasFailed();
        journal.Stop();
        if (!hasFailed)
            break;
        ++points;
        EXPECT_TRUE(host.IsSuiteLockFree() && CLabHost::IsNetworkLockFree());
        EXPECT_EQ("", applied.Mend()) << k;
        const std::string after = Text(applied.Export());
        back += carried.state == RAV_CARRIED_STATE::RolledBack;
        if (carried.state == RAV_CARRIED_STATE::Done)
            EXPECT_EQ(Text(wanted), after) << k;
        else if (carried.state == RAV_CARRIED_STATE::RolledBack)
            EXPECT_EQ(before, after) << k;
        else
            EXPECT_FALSE(carried.back.left.empty() && carried.back.refusals.empty() && carried.back.reading.Succeeded())
                << k;
    }
    std::cout << points << " points, " << back << " taken back\n";
    EXPECT_LT(5u, points);
    EXPECT_LT(1u, back);
}

// An operation of the agent that fails for good: on the way there all is taken back, unless what is done is kept; and
// what cannot be taken back is told step by step.
TEST(ApplyTests, AnAgentThatRefuses)
{
    using REFUSAL = void (*)(CRavVlanAgentIntf*, CResult&, const CRavString&, DWORD, const RAV_LOCK_RECORD&);
    const REFUSAL refuse = [](CRavVlanAgentIntf*, CResult& result, const CRavString&, DWORD, const RAV_LOCK_RECORD&) {
        result = CResult(ERROR_GEN_FAILURE);
    };
    CLabHost host(HOST);
    CApplied applied(host);
    applied.Apply(MixedBefore(host));
    const std::string before = Text(applied.Export());
    CRavVlanAgentIntf* const face = &host.Agent();
    {
        const CSlot slot(face, Place(&CRavVlanAgentIntf::SetVlanType), refuse); // towards the end
        const RAV_CARRIED carried = applied.Apply(MixedAfter(host));
        EXPECT_EQ(RAV_CARRIED_STATE::RolledBack, carried.state);
        EXPECT_EQ(static_cast<DWORD>(ERROR_GEN_FAILURE), carried.failure.ulErrCode);
        EXPECT_EQ(before, Text(applied.Export()));
        EXPECT_EQ(RAV_CARRIED_STATE::Kept, applied.Apply(MixedAfter(host), true).state);
        EXPECT_NE(before, Text(applied.Export()));
    }
    applied.Apply(MixedBefore(host));
    STATE other = MixedBefore(host);
    other[0].vlans[0].id = 11;
    {
        // The first change of an id is made, and no further one.
        static size_t s_calls;
        s_calls = 0;
        other[1].vlans[0].id = 44;
        static CSlot::FUNCTION s_original;
        const REFUSAL refuseLater = [](CRavVlanAgentIntf* agent, CResult& result, const CRavString& key, DWORD id,
                                       const RAV_LOCK_RECORD& lock) {
            if (++s_calls == 1)
                return reinterpret_cast<REFUSAL>(s_original)(agent, result, key, id, lock);
            result = CResult(ERROR_GEN_FAILURE);
        };
        const CSlot slot(face, Place(&CRavVlanAgentIntf::SetVLANId), refuseLater);
        s_original = slot.Original();
        const RAV_CARRIED carried = applied.Apply(other);
        EXPECT_EQ(RAV_CARRIED_STATE::Left, carried.state);
        ASSERT_EQ(1u, carried.back.left.size());
        EXPECT_EQ(RAV_CHANGE::SetId, carried.back.left[0].change);
        EXPECT_EQ(10u, carried.back.left[0].newId);
    }
    EXPECT_EQ(RAV_CARRIED_STATE::Done, applied.Apply(MixedBefore(host)).state);
    EXPECT_EQ(before, Text(applied.Export()));
    EXPECT_EQ("", applied.Findings());
}
