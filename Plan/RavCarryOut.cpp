#include "Plan/RavCarryOut.h"

#include "Common/Library/RavNetCfgInterface.h"
#include "Plan/RavExamine.h"
#include "Src/RavVlanAgentIntf.h"

#include <algorithm>
#include <map>
#include <span>
#include <string>

namespace
{
CResult ReadHost(RAV_HOST& host, RAV_HOST_DEPTH depth = RAV_HOST_DEPTH::Keys)
{
    CRavNetCfgInterface netCfg;
    HRESULT status = netCfg.Initialize();
    if (SUCCEEDED(status))
        status = RavReadHost(netCfg, host, depth);
    if (SUCCEEDED(status) && !host.unread.empty())
        status = HRESULT_FROM_WIN32(ERROR_READ_FAULT);
    return SUCCEEDED(status) ? CResult::Success() : CResult(static_cast<DWORD>(status));
}

// A removal for which the network configuration's lock was not to be had may have code 0; it is a failure, in the form
// in which changes tell of the lock.
CResult OutcomeOf(const CResult& result)
{
    const bool isRefused = result.Succeeded() && result.ulErrClass == RAV_CLASS_REFUSED;
    return isRefused ? CResult(CResult::FAILED, RAV_CLASS_REFUSED) : result;
}

// Creations that stand in a row, made in one call.
class CCreations final : public CRavVlanProgress
{
  public:
    CCreations(std::span<const RAV_PLAN_STEP> steps, const RAV_CARRY_OUT_OPTIONS& options)
        : m_steps(steps), m_options(options)
    {
    }

    CRavString Ids() const
    {
        std::wstring ids;
        for (const RAV_PLAN_STEP& step : m_steps)
            ids += (ids.empty() ? L"" : L",") + std::to_wstring(step.id);
        return ids.c_str();
    }
    bool IsStopped() const { return m_isStopped; }
    // The first that was not made; null when all were.
    const RAV_PLAN_STEP* Next() const { return m_done < m_steps.size() ? &m_steps[m_done] : nullptr; }

    void NameVlan(DWORD vlanId, CRavString& name) override
    {
        const auto step = std::find_if(m_steps.begin(), m_steps.end(),
                                       [&](const RAV_PLAN_STEP& candidate) { return candidate.id == vlanId; });
        if (step != m_steps.end())
            name = step->name;
    }
    void OnVlanCreated(DWORD, size_t done, size_t) override
    {
        m_done = done;
        if (m_options.onTaken)
            m_options.onTaken(m_steps[done - 1], CResult::Success());
    }
    bool GoesOn() override
    {
        m_isStopped = m_options.goesOn && !m_options.goesOn();
        return !m_isStopped;
    }

  private:
    const std::span<const RAV_PLAN_STEP> m_steps;
    const RAV_CARRY_OUT_OPTIONS& m_options;
    size_t m_done = 0;
    bool m_isStopped = false;
};

// What has become of the next steps.
struct TAKEN
{
    size_t count = 0; // of the steps that this is about
    CResult result = CResult::Success();
    bool isStopped = false; // somebody wants no further one
};

// How many of the first steps the agent can create in one call; it has the untagged VLAN last.
size_t CreationsOf(std::span<const RAV_PLAN_STEP> steps)
{
    const auto end = std::find_if(steps.begin(), steps.end(), [&](const RAV_PLAN_STEP& step) {
        return step.change != RAV_CHANGE::Create || step.id == 0 || step.type != steps.front().type;
    });
    return static_cast<size_t>(end - steps.begin());
}

// Takes steps through the agent, and knows the keys of the VLANs that it has created.
class CStepTaker
{
  public:
    CStepTaker(const RAV_STATE_SOURCE& source, const RAV_CARRY_OUT_OPTIONS& options)
        : m_source(source), m_options(options)
    {
    }

    // The first of the steps, or several.
    TAKEN TakeSome(std::span<const RAV_PLAN_STEP> steps)
    {
        const size_t creations = CreationsOf(steps);
        if (creations > 1)
            return Create(steps.first(creations));
        if (m_options.goesOn && !m_options.goesOn())
            return {1, CResult::Success(), true};
        const CResult result = Take(steps.front());
        if (m_options.onTaken)
            m_options.onTaken(steps.front(), result);
        return {1, result, false};
    }

  private:
    // In one call the agent reads and validates the host once.
    TAKEN Create(std::span<const RAV_PLAN_STEP> steps)
    {
        CCreations creations(steps, m_options);
        CResult result;
        m_isKnown = false;
        m_source.agent.CreateMultipleVLANs(result, steps.front().parentKey, creations.Ids(), RAV_AUTO_VLAN_NAMES,
                                           steps.front().type, &creations, {m_source.client, 0});
        if (creations.IsStopped())
            return {steps.size(), CResult::Success(), true};
        if (!result.Succeeded() && m_options.onTaken && creations.Next() != nullptr)
            m_options.onTaken(*creations.Next(), result);
        return {steps.size(), result, false};
    }

    CResult Take(const RAV_PLAN_STEP& step)
    {
        const RAV_LOCK_RECORD lock = {m_source.client, 0};
        CResult result;
        if (step.change == RAV_CHANGE::Create)
        {
            m_isKnown = false;
            m_source.agent.CreateVlan(result, step.parentKey, step.id, step.name, step.type, lock);
            return result;
        }
        CRavString key = step.vlanKey;
        if (key.IsEmpty())
        {
            result = FindCreated(step, key);
            if (!result.Succeeded())
                return result;
        }
        Change(result, step, key, lock);
        return OutcomeOf(result);
    }

    void Change(CResult& result, const RAV_PLAN_STEP& step, const CRavString& key, const RAV_LOCK_RECORD& lock)
    {
        const RAV_SETTING_VAL_INT value(step.is);
        switch (step.change)
        {
        case RAV_CHANGE::Remove:
            return m_source.agent.RemoveVlan(result, lock, key);
        case RAV_CHANGE::Rename:
            return m_source.agent.SetVLANName(result, key, step.newName, lock);
        case RAV_CHANGE::SetId:
            return m_source.agent.SetVLANId(result, key, step.newId, lock);
        case RAV_CHANGE::SetType:
            return m_source.agent.SetVlanType(result, key, step.newType, lock);
        case RAV_CHANGE::Set:
            return m_source.agent.SetSetting(result, key, step.keyword, &value, lock);
        case RAV_CHANGE::Reset:
            return m_source.agent.SetSettingToDefault(result, key, step.keyword, lock);
        case RAV_CHANGE::Create:
            break;
        }
    }

    // The host is read once for all of them.
    CResult FindCreated(const RAV_PLAN_STEP& step, CRavString& key)
    {
        RAV_HOST host;
        CResult result = m_isKnown ? CResult::Success() : ReadHost(host);
        if (!m_isKnown && result.Succeeded())
        {
            m_isKnown = true;
            m_keys.clear();
            for (const RAV_HOST_COMPONENT& component : host.components)
            {
                if (component.IsVlan())
                    m_keys[{component.vlan.parentKey, component.vlan.id.value_or(0)}] = component.guid;
            }
        }
        const auto found = m_keys.find({step.parentKey, step.id});
        if (result.Succeeded() && found == m_keys.end())
            result = CResult(ERROR_FILE_NOT_FOUND);
        if (result.Succeeded())
            key = found->second;
        return result;
    }

    const RAV_STATE_SOURCE& m_source;
    const RAV_CARRY_OUT_OPTIONS& m_options;
    std::map<std::pair<CRavString, DWORD>, CRavString> m_keys;
    bool m_isKnown = false;
};

enum class RAV_AT_FAILURE
{
    Stop,
    NextParent // the others may be brought back all the same
};

// Whether all were taken. The first failure is noted.
bool TakeAll(const RAV_STATE_SOURCE& source, const std::vector<RAV_PARENT_CHANGE>& changes,
             const RAV_CARRY_OUT_OPTIONS& options, RAV_AT_FAILURE atFailure, CResult& failure)
{
    CStepTaker taker(source, options);
    for (const RAV_PARENT_CHANGE& change : changes)
    {
        std::span<const RAV_PLAN_STEP> left(change.plan.steps);
        while (!left.empty())
        {
            const TAKEN taken = taker.TakeSome(left);
            left = left.subspan(taken.count);
            if (taken.isStopped)
                return false;
            if (taken.result.Succeeded())
                continue;
            if (failure.Succeeded())
                failure = taken.result;
            if (atFailure == RAV_AT_FAILURE::Stop)
                return false;
            break;
        }
    }
    return failure.Succeeded();
}

template <typename Item>
void Append(std::vector<Item>& to, const std::vector<Item>& from)
{
    to.insert(to.end(), from.begin(), from.end());
}

// The parents as they are now; whether that could be read, and whether they are as wanted.
bool ReadAgain(const RAV_STATE_SOURCE& source, const std::vector<RAV_WANTED_PARENT>& wanted, bool prune,
               RAV_CARRIED& carried)
{
    std::vector<RAV_PARENT_CHANGE> changes;
    carried.reading = RavPlanChanges(source, wanted, prune, changes);
    bool isAny = false;
    for (const RAV_PARENT_CHANGE& change : changes)
    {
        carried.found.push_back(change.before);
        isAny = isAny || !change.plan.steps.empty() || !change.plan.refusals.empty();
    }
    carried.isDifferent = carried.reading.Succeeded() && isAny;
    return carried.reading.Succeeded() && !isAny;
}

// Removals that have not come to their end: of each VLAN that its parent knows no more, although its miniport is there.
CResult FindHalfRemoved(const std::vector<RAV_WANTED_PARENT>& parents, std::vector<RAV_PLAN_STEP>& removals)
{
    RAV_HOST host;
    const CResult result = ReadHost(host, RAV_HOST_DEPTH::Bindings);
    for (const RAV_FINDING& finding : result.Succeeded() ? RavExamine(host) : std::vector<RAV_FINDING>())
    {
        const RAV_HOST_COMPONENT* const vlan = host.Find(finding.subject);
        const bool isOurs = std::any_of(parents.begin(), parents.end(), [&](const RAV_WANTED_PARENT& parent) {
            return finding.parent.CompareI(parent.key);
        });
        if (finding.kind != RAV_FINDING_KIND::AbandonedVlan || vlan == nullptr || !isOurs)
            continue;
        RAV_PLAN_STEP& step = removals.emplace_back();
        step.change = RAV_CHANGE::Remove;
        step.parentKey = vlan->vlan.parentKey;
        step.vlanKey = vlan->guid;
        step.id = vlan->vlan.id.value_or(0);
        step.name = vlan->vlan.name;
    }
    return result;
}

// Back to what was; everything else that the parents carry goes.
RAV_WAY_BACK GoBack(const RAV_STATE_SOURCE& source, std::vector<RAV_WANTED_PARENT> before,
                    const std::function<void(const RAV_PLAN_STEP&, const CResult&)>& onTaken)
{
    constexpr bool PRUNE = true;
    RAV_WAY_BACK back;
    for (RAV_WANTED_PARENT& parent : before)
        parent.wasBefore = true;
    RAV_CARRY_OUT_OPTIONS options;
    options.onTaken = [&](const RAV_PLAN_STEP& step, const CResult& result) {
        if (result.Succeeded() && step.change == RAV_CHANGE::Create)
            back.createdAgain.push_back(step);
        if (onTaken)
            onTaken(step, result);
    };
    // A VLAN that was removed in part is none that could stay: it goes, and what was before is created again.
    std::vector<RAV_PARENT_CHANGE> changes(1);
    back.failure = FindHalfRemoved(before, changes.front().plan.steps);
    if (back.failure.Succeeded())
        TakeAll(source, changes, options, RAV_AT_FAILURE::Stop, back.failure);
    changes.clear();
    const CResult planned = RavPlanChanges(source, before, PRUNE, changes);
    if (planned.Succeeded())
        TakeAll(source, changes, options, RAV_AT_FAILURE::NextParent, back.failure);
    else if (back.failure.Succeeded())
        back.failure = planned;
    changes.clear();
    back.reading = FindHalfRemoved(before, back.left);
    if (back.reading.Succeeded())
        back.reading = RavPlanChanges(source, before, PRUNE, changes);
    for (const RAV_PARENT_CHANGE& change : changes)
    {
        Append(back.left, change.plan.steps);
        Append(back.refusals, change.plan.refusals);
        Append(back.dropped, change.plan.dropped);
    }
    back.isDone = back.reading.Succeeded() && back.left.empty() && back.refusals.empty();
    return back;
}
} // namespace

CResult RavPlanChanges(const RAV_STATE_SOURCE& source, const RAV_HOST& host,
                       const std::vector<RAV_WANTED_PARENT>& wanted, bool prune,
                       std::vector<RAV_PARENT_CHANGE>& changes)
{
    CResult result = CResult::Success();
    for (const RAV_WANTED_PARENT& parent : wanted)
    {
        RAV_PARENT_CHANGE& change = changes.emplace_back();
        change.before = RavReadParent(source, host, parent.key);
        change.wanted = parent;
        const CResult read = RavReadSettingsFor(source, parent, change.before);
        if (!read.Succeeded())
            result = read;
        change.plan = RavPlanParent(change.before, parent, prune);
    }
    return result;
}

CResult RavPlanChanges(const RAV_STATE_SOURCE& source, const std::vector<RAV_WANTED_PARENT>& wanted, bool prune,
                       std::vector<RAV_PARENT_CHANGE>& changes)
{
    RAV_HOST host;
    const CResult result = ReadHost(host);
    return result.Succeeded() ? RavPlanChanges(source, host, wanted, prune, changes) : result;
}

CResult RavReadRemoved(const RAV_STATE_SOURCE& source, std::vector<RAV_PARENT_CHANGE>& changes)
{
    CResult result = CResult::Success();
    for (RAV_PARENT_CHANGE& change : changes)
    {
        for (RAV_PRESENT_VLAN& vlan : change.before.vlans)
        {
            for (const RAV_PRESENT_VLAN& removed : change.plan.removed)
            {
                if (result.Succeeded() && removed.key == vlan.key)
                    result = RavReadSettings(source, vlan);
            }
        }
    }
    return result;
}

RAV_CARRIED RavCarryOut(const RAV_STATE_SOURCE& source, std::vector<RAV_PARENT_CHANGE>& changes,
                        const RAV_CARRY_OUT_OPTIONS& options)
{
    RAV_CARRIED carried;
    carried.failure = RavReadRemoved(source, changes);
    if (!carried.failure.Succeeded()) // nothing has been done yet
    {
        carried.state = RAV_CARRIED_STATE::RolledBack;
        return carried;
    }
    std::vector<RAV_WANTED_PARENT> wanted;
    std::vector<RAV_WANTED_PARENT> before;
    for (const RAV_PARENT_CHANGE& change : changes)
    {
        wanted.push_back(change.wanted);
        before.push_back(RavWantedAsIs(change.before));
    }
    const bool isTaken = TakeAll(source, changes, options, RAV_AT_FAILURE::Stop, carried.failure);
    if (isTaken && ReadAgain(source, wanted, options.prune, carried))
    {
        carried.state = RAV_CARRIED_STATE::Done;
        return carried;
    }
    carried.isInterrupted = !isTaken && carried.failure.Succeeded();
    if (options.keep)
    {
        carried.state = RAV_CARRIED_STATE::Kept;
        return carried;
    }
    if (options.onWayBack)
        options.onWayBack();
    carried.back = GoBack(source, before, options.onTaken);
    carried.state = carried.back.isDone ? RAV_CARRIED_STATE::RolledBack : RAV_CARRIED_STATE::Left;
    return carried;
}

RAV_WAY_BACK RavGoBack(const RAV_STATE_SOURCE& source, std::vector<RAV_BEFORE> before)
{
    RAV_HOST host;
    RAV_WAY_BACK unread;
    unread.failure = unread.reading = ReadHost(host);
    if (!unread.failure.Succeeded())
        return unread;
    std::vector<RAV_WANTED_PARENT> wanted;
    std::vector<RAV_PRESENT_VLAN> gaveWay;
    for (RAV_BEFORE& one : before)
    {
        Append(gaveWay, RavSpareOthers(RavReadParent(source, host, one.parent.key), one));
        wanted.push_back(one.parent);
    }
    RAV_WAY_BACK back = GoBack(source, wanted, {});
    back.gaveWay = gaveWay;
    return back;
}
