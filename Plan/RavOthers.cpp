#include "Plan/RavOthers.h"

#include <algorithm>

namespace
{
template <typename Test>
bool HasAny(const std::vector<RAV_WANTED_VLAN>& vlans, Test&& test)
{
    return std::any_of(vlans.begin(), vlans.end(), test);
}

bool IsOthers(const RAV_PRESENT_VLAN& vlan, const RAV_BEFORE& before)
{
    const auto isTheSame = [&](const RAV_WANTED_VLAN& own) {
        return own.id == vlan.id && own.name.CompareI(vlan.name);
    };
    if (HasAny(before.parent.vlans, [&](const RAV_WANTED_VLAN& own) { return own.key == vlan.key; }) ||
        HasAny(before.parent.vlans, isTheSame)) // an earlier way back has created it again
        return false;
    return before.known ? std::find(before.known->begin(), before.known->end(), vlan.key) == before.known->end()
                        : !HasAny(before.created, isTheSame);
}
} // namespace

RAV_BEFORE RavBeforeOf(const RAV_PRESENT_PARENT& present, const std::vector<RAV_PLAN_STEP>& steps)
{
    RAV_BEFORE before = {RavWantedAsIs(present), present.name, {}, {}};
    for (const RAV_PLAN_STEP& step : steps)
    {
        if (step.change == RAV_CHANGE::Create)
            before.created.push_back({{}, step.id, step.name, step.type, {}});
    }
    return before;
}

std::vector<RAV_PRESENT_VLAN> RavSpareOthers(const RAV_PRESENT_PARENT& present, RAV_BEFORE& before)
{
    std::vector<RAV_PRESENT_VLAN> gaveWay;
    std::vector<RAV_WANTED_VLAN> spared;
    for (const RAV_PRESENT_VLAN& vlan : present.vlans)
    {
        if (!IsOthers(vlan, before))
            continue;
        if (HasAny(before.parent.vlans,
                   [&](const RAV_WANTED_VLAN& own) { return own.id == vlan.id || own.name.CompareI(vlan.name); }))
            gaveWay.push_back(vlan);
        else
            spared.push_back({vlan.key, vlan.id, vlan.name, {}, {}});
    }
    if (before.parent.vlans.empty() && spared.size() == 1 && spared.front().id == 0)
    {
        gaveWay.push_back({spared.front().key, 0, spared.front().name, 0, {}});
        spared.clear();
    }
    before.parent.vlans.insert(before.parent.vlans.end(), spared.begin(), spared.end());
    return gaveWay;
}
