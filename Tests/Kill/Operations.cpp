#include "Tests/Kill/Operations.h"

#include "Common/Settings/RavSetting.h"
#include "Common/Src/RavSuiteLock.h"
#include "Plan/RavCarryOut.h"
#include "Suite/Lab/LabTool/HostBuilder.h"
#include "Tests/Harness/RegistryText.h"

#include <stdexcept>

namespace
{

struct RAV_KILL_TARGET
{
    CVlanAgentWin& agent;
    RAV_LOCK_RECORD lock;
    CRavString parent;
};

CRavString VlanWithId(const RAV_KILL_TARGET& target, DWORD id)
{
    CResult result;
    std::vector<CRavString> keys;
    target.agent.EnumerateVlans(result, target.parent, keys);
    for (const CRavString& key : keys)
    {
        RAV_VLAN_INFO info;
        target.agent.GetVlanInfo(result, key, info);
        if (result.Succeeded() && info.vlanId == id)
            return key;
    }
    throw std::invalid_argument("there is no such VLAN");
}

std::function<CResult()> Create(const RAV_KILL_TARGET& target, const std::string& ids)
{
    const CRavString text(Wide(ids).c_str());
    const bool several = text.find(L',') != CRavString::npos;
    return [=] {
        CResult result;
        if (several)
            target.agent.CreateMultipleVLANs(result, target.parent, text, RAV_AUTO_VLAN_NAMES, 0, nullptr, target.lock);
        else
            target.agent.CreateVlan(result, target.parent, wcstoul(text, nullptr, 10), CRavString(L"VLAN") + text, 0,
                                    target.lock);
        return result;
    };
}

std::function<CResult()> Remove(const RAV_KILL_TARGET& target, const std::string& id)
{
    return [=, key = VlanWithId(target, std::stoul(id))] {
        CResult result;
        target.agent.RemoveVlan(result, target.lock, key);
        return result;
    };
}

// "10 20": the VLAN with the id, and what becomes of it.
std::pair<CRavString, std::string> VlanAndValue(const RAV_KILL_TARGET& target, const std::string& argument)
{
    const size_t blank = argument.find(' ');
    return {VlanWithId(target, std::stoul(argument.substr(0, blank))), argument.substr(blank + 1)};
}

std::function<CResult()> Rename(const RAV_KILL_TARGET& target, const std::string& argument)
{
    return [=, request = VlanAndValue(target, argument)] {
        CResult result;
        target.agent.SetVLANName(result, request.first, Wide(request.second).c_str(), target.lock);
        return result;
    };
}

std::function<CResult()> SetId(const RAV_KILL_TARGET& target, const std::string& argument)
{
    return [=, request = VlanAndValue(target, argument)] {
        CResult result;
        target.agent.SetVLANId(result, request.first, std::stoul(request.second), target.lock);
        return result;
    };
}

std::function<CResult()> SetQueues(const RAV_KILL_TARGET& target, const std::string& argument)
{
    return [=, request = VlanAndValue(target, argument)] {
        CResult result;
        const RAV_SETTING_VAL_INT value(std::stoi(request.second));
        target.agent.SetSetting(result, request.first, L"*NumRssQueues", &value, target.lock);
        return result;
    };
}

// The number of a member's key stands for it.
template <auto Change>
std::function<CResult()> ChangeMember(const RAV_KILL_TARGET& target, const std::string& member)
{
    return [=] {
        CResult result;
        (target.agent.*Change)(result, target.parent, LabGuid(std::stoul(member)), L"");
        return result;
    };
}

// The first steps of a plan with one of each kind.
std::function<CResult()> Apply(const RAV_KILL_TARGET& target, const std::string& steps)
{
    return [=] {
        const RAV_STATE_SOURCE source = {target.agent, *target.agent.GetCoreAgentPvt(), target.lock.client};
        const RAV_WANTED_PARENT wanted = {target.parent,
                                          {{{}, 10, L"New", {}, {{L"*NumRssQueues", L"4"}}},
                                           {{}, 21, L"VLAN20", {}, {}},
                                           {{}, 30, L"VLAN30", {}, {}}}};
        CResult result;
        const CRavSuiteLock lock(target.agent, target.lock, result);
        std::vector<RAV_PARENT_CHANGE> changes;
        if (result.Succeeded())
            result = RavPlanChanges(source, {wanted}, true, changes);
        if (!result.Succeeded())
            return result;
        changes.front().plan.steps.resize(std::stoul(steps));
        return RavCarryOut(source, changes, {true, true, {}, {}, {}}).failure;
    };
}

const std::pair<const char*, std::function<CResult()> (*)(const RAV_KILL_TARGET&, const std::string&)> s_verbs[] = {
    {"create", Create},
    {"remove", Remove},
    {"rename", Rename},
    {"set-id", SetId},
    {"set-queues", SetQueues},
    {"join", ChangeMember<&CVlanAgentWin::AddVlanToTeamMember>},
    {"leave", ChangeMember<&CVlanAgentWin::RemoveVlanFromTeamMember>},
    {"apply", Apply},
};

} // namespace

const std::vector<RAV_KILL_OPERATION>& KillOperations()
{
    static const std::vector<RAV_KILL_OPERATION> operations = {
        {"create-first", "Port A", "", "create 10", {}, {"create 10", "remove 10"}},
        {"create-further", "Port A", "5", "create 10", {}, {"create 10", "remove 10"}},
        {"create-untagged", "Port A", "5", "create 0", {}, {"create 0", "remove 0"}},
        {"create-batch", "Port A", "", "create 10,20,30", {"create 10", "create 10,20"}, {"create 10", "remove 10"}},
        {"remove-one", "Port A", "10 20 0", "remove 10", {}, {}},
        {"remove-untagged", "Port A", "10 0", "remove 0", {}, {}},
        {"remove-both", "Port A", "10 0", "remove 10", {"remove 0"}, {}},
        {"remove-last", "Port A", "10", "remove 10", {}, {}},
        {"team-create-first", "Team", "", "create 10", {}, {"create 10", "remove 10"}},
        {"team-create-further", "Team", "5", "create 10", {}, {"create 10", "remove 10"}},
        {"team-create-untagged", "Team", "5", "create 0", {}, {"create 0", "remove 0"}},
        {"team-leave", "Team", "10 20", "leave 2", {}, {}},
        {"team-join", "Team", "10 0", "join 2", {}, {}, "leave 2"},
        {"team-remove-one", "Team", "40 41 0", "remove 40", {}, {}},
        {"team-remove-untagged", "Team", "40 0", "remove 0", {}, {}},
        {"team-remove-both", "Team", "40 0", "remove 40", {"remove 0"}, {}},
        {"team-remove-last", "Team", "40", "remove 40", {}, {}},
        {"rename", "Port A", "10 20", "rename 10 New", {}, {}},
        {"set-id", "Port A", "10 20 0", "set-id 10 15", {}, {}},
        {"team-set-id", "Team", "40 41", "set-id 40 45", {}, {}},
        {"apply", "Port A", "10 20 0", "apply 5", {"apply 1", "apply 2", "apply 3", "apply 4"}, {}},
        {"set-setting", "Port A", "10 20", "set-queues 10 4", {}, {}},
    };
    return operations;
}

std::function<CResult()> MakeRequest(CVlanAgentWin& agent, const RAV_LOCK_RECORD& lock, const CRavString& parent,
                                     const std::string& request)
{
    const size_t blank = request.find(' ');
    for (const auto& [verb, make] : s_verbs)
        if (request.substr(0, blank) == verb)
            return make({agent, lock, parent}, request.substr(blank + 1));
    throw std::invalid_argument(request);
}
