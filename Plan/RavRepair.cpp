#include "Plan/RavRepair.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Library/RavAdapter.h"
#include "Common/Library/RavAdvSvcNetCfgComponent.h"
#include "Common/Src/RavNetAgentPvt.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Src/RavSuiteLock.h"
#include "Common/Src/SuiteNames.h"
#include "Common/Src/XmsNames.h"
#include "Plan/RavExamine.h"
#include "Src/RavShielded.h"
#include "Src/Vlan/RavNetCfgWriteLock.h"

#include <algorithm>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Plan\\RavRepair";
constexpr int MOST_TURNS = 4;  // components with one GUID
constexpr int MOST_ROUNDS = 4; // of a turn: one repair may show what another finding hid

// The driver's entries and the records are made where they are missing; the key of an adapter or VLAN has to be there.
bool OpenForWriting(CRavRegKey& key, const CRavString& path)
{
    return path.starts_with(XMS_PARAMETERS_KEY) || path == BINDING_RECORDS_KEY
               ? key.Create(HKEY_LOCAL_MACHINE, path, true, false)
               : key.Open(HKEY_LOCAL_MACHINE, path, true);
}

bool WriteValue(const RAV_STEP& step)
{
    CRavRegKey key;
    if (!OpenForWriting(key, step.target))
        return false;
    switch (step.act)
    {
    case RAV_ACT::SetNumber:
        return key.SetValue(step.name, step.number);
    case RAV_ACT::SetText:
        return key.SetValue(step.name, step.text, false);
    case RAV_ACT::SetList:
        return key.SetValue(step.name, step.list);
    default:
        return key.DeleteValue(step.name) || key.LastResult() == ERROR_FILE_NOT_FOUND;
    }
}

// A code of Windows' own as such, any other as it is.
CResult ResultOf(HRESULT status)
{
    if (SUCCEEDED(status))
        return CResult(0);
    return CResult(static_cast<DWORD>(HRESULT_FACILITY(status) == FACILITY_WIN32 ? HRESULT_CODE(status) : status));
}

// What was not read is not missing.
HRESULT ReadSurely(CRavNetCfgInterface& netCfg, RAV_HOST& host)
{
    const HRESULT status = RavReadHost(netCfg, host);
    return SUCCEEDED(status) && !host.unread.empty() ? HRESULT_FROM_WIN32(ERROR_READ_FAULT) : status;
}

class CRepair
{
  public:
    CRepair(CRavNetAgentPvt& agent, CRavCoreAgentPvtIntf& core, RAV_RELOADS reloads, RAV_REPAIR& repair)
        : m_agent(agent), m_core(core), m_reloads(reloads), m_repair(repair)
    {
    }

    void Run(const std::function<bool(const RAV_FINDING&)>& isChosen)
    {
        CRavNetCfgInterface netCfg;
        HRESULT status = netCfg.Initialize();
        if (SUCCEEDED(status))
        {
            CRavNetCfgWriteLock lock(netCfg);
            status = lock.Status();
            for (int round = 0; SUCCEEDED(status) && round < MOST_ROUNDS; ++round)
            {
                status = ReadSurely(netCfg, m_host);
                if (FAILED(status) || !Mend(netCfg, isChosen))
                    break;
            }
            const HRESULT applied = lock.Release();
            if (SUCCEEDED(status))
                status = applied;
        }
        m_repair.result = ResultOf(status);
        if (SUCCEEDED(status))
            ChangeDevices(netCfg);
        m_repair.isRestartNeeded = m_repair.isRestartNeeded || netCfg.NeedsReboot();
    }

  private:
    // Takes the steps that were not taken before; false when there are none.
    bool Mend(CRavNetCfgInterface& netCfg, const std::function<bool(const RAV_FINDING&)>& isChosen)
    {
        std::vector<RAV_STEP> steps;
        for (const RAV_FINDING& finding : RavExamine(m_host))
        {
            const size_t before = steps.size();
            if (!isChosen(finding))
                continue;
            std::copy_if(finding.steps.begin(), finding.steps.end(), std::back_inserter(steps),
                         [&](const RAV_STEP& step) { return IsNew(step, steps); });
            if (steps.size() > before)
                m_repair.mended.push_back(finding);
        }
        std::stable_sort(steps.begin(), steps.end(),
                         [](const RAV_STEP& left, const RAV_STEP& right) { return left.act < right.act; });
        for (const RAV_STEP& step : steps)
        {
            m_taken.push_back(step);
            if (step.act < RAV_ACT::Start && !Take(netCfg, step))
                m_repair.failed.push_back(step);
        }
        return !steps.empty();
    }

    bool IsNew(const RAV_STEP& step, const std::vector<RAV_STEP>& steps) const
    {
        return (step.act != RAV_ACT::Reload || m_reloads == RAV_RELOADS::WhereNeeded) &&
               std::find(m_taken.begin(), m_taken.end(), step) == m_taken.end() &&
               std::find(steps.begin(), steps.end(), step) == steps.end();
    }

    bool Take(CRavNetCfgInterface& netCfg, const RAV_STEP& step)
    {
        switch (step.act)
        {
        case RAV_ACT::RemoveMiniport:
            return CRavNetCfgComponent(step.target).RemoveVirtualComponent(netCfg, step.target) == 0;
        case RAV_ACT::GiveBack:
            return netCfg.CleanUpAdapterFromXms(step.target, true) == 0;
        case RAV_ACT::Bind:
            return CRavAdvSvcNetCfgComponent().BindAdapterToXms(netCfg, step.target) == 0;
        case RAV_ACT::SetDisplayName:
            return CRavNetCfgComponent(step.target).SetDisplayName(netCfg, step.text) == 0;
        default:
            return WriteValue(step);
        }
    }

    // Behind the network configuration's lock, whose release has applied the bindings.
    void ChangeDevices(CRavNetCfgInterface& netCfg)
    {
        for (const RAV_STEP& step : m_taken)
        {
            bool done = true;
            if (step.act == RAV_ACT::Start)
                done = Start(netCfg, step.target);
            else if (step.act == RAV_ACT::Reload)
                done = QueueReload(step.target);
            if (!done)
                m_repair.failed.push_back(step);
        }
    }

    bool Start(CRavNetCfgInterface& netCfg, const CRavString& guid)
    {
        CRavAdapter adapter(guid);
        return adapter.Initialize(netCfg).Succeeded() &&
               adapter.ReloadDevice(true, m_repair.isRestartNeeded).Succeeded();
    }

    bool QueueReload(const CRavString& guid)
    {
        const RAV_HOST_COMPONENT* const component = m_host.Find(guid);
        if (component == nullptr)
            return true; // it has gone in the meantime
        if (!component->IsVlan())
            return m_core.UnloadMiniportDuringApplyDone(guid).Succeeded();
        m_agent.AddForUnload(guid);
        return true;
    }

    CRavNetAgentPvt& m_agent;
    CRavCoreAgentPvtIntf& m_core;
    const RAV_RELOADS m_reloads;
    RAV_REPAIR& m_repair;
    RAV_HOST m_host;
    std::vector<RAV_STEP> m_taken;
};

void ExamineAfterwards(RAV_REPAIR& repair)
{
    CRavNetCfgInterface netCfg;
    RAV_HOST host;
    HRESULT status = netCfg.Initialize();
    if (SUCCEEDED(status))
        status = ReadSurely(netCfg, host);
    if (SUCCEEDED(status))
        repair.left = RavExamine(host);
    else
        repair.result = ResultOf(status);
}

RAV_REPAIR RepairOnce(CRavNetAgentPvt& agent, CRavCoreAgentPvtIntf& core, const RAV_LOCK_RECORD& lock,
                      const std::function<bool(const RAV_FINDING&)>& isChosen, RAV_RELOADS reloads)
{
    RAV_REPAIR repair;
    {
        const CRavSuiteLock suiteLock(agent, lock, repair.result);
        if (!suiteLock.IsHeld())
            return repair;
        if (!RavShielded(SOURCE_FILE, __LINE__, L"RavRepairHost",
                         [&] { CRepair(agent, core, reloads, repair).Run(isChosen); }))
            repair.result = CResult();
    }
    if (repair.result.Succeeded())
        ExamineAfterwards(repair);
    return repair;
}

// Whether a component is still to be removed although that has been done: it is another one with the same GUID.
bool HasDouble(const RAV_REPAIR& repair, const std::function<bool(const RAV_FINDING&)>& isChosen)
{
    const auto isToBeRemoved = [&](const RAV_FINDING& finding) {
        return isChosen(finding) && !finding.steps.empty() && finding.steps.front().act == RAV_ACT::RemoveMiniport;
    };
    return repair.result.Succeeded() && repair.failed.empty() &&
           std::any_of(repair.left.begin(), repair.left.end(), isToBeRemoved);
}

void Add(RAV_REPAIR& repair, RAV_REPAIR&& next)
{
    repair.result = next.result;
    repair.mended.insert(repair.mended.end(), next.mended.begin(), next.mended.end());
    repair.failed = std::move(next.failed);
    repair.left = std::move(next.left);
    repair.isRestartNeeded = repair.isRestartNeeded || next.isRestartNeeded;
}
} // namespace

// Several components with one GUID look like one, and a removal takes one of them: each has its turn.
RAV_REPAIR RavRepairHost(CRavNetAgentPvt& agent, CRavCoreAgentPvtIntf& core, const RAV_LOCK_RECORD& lock,
                         const std::function<bool(const RAV_FINDING&)>& isChosen, RAV_RELOADS reloads)
{
    RAV_REPAIR repair = RepairOnce(agent, core, lock, isChosen, reloads);
    for (int turn = 1; turn < MOST_TURNS && HasDouble(repair, isChosen); ++turn)
    {
        RAV_REPAIR next = RepairOnce(agent, core, lock, isChosen, reloads);
        if (!next.result.Succeeded() && next.mended.empty())
            break; // another program came between the two
        Add(repair, std::move(next));
    }
    return repair;
}
