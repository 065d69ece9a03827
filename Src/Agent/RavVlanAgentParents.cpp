// Which adapters and teams can carry VLANs.

#include "Src/Agent/RavVlanAgent.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavRegKey.h"
#include "Src/RavCoreInterface.h"
#include "Src/Vlan/RavXmsVlan.h"

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavVlanAgentParents";
constexpr DWORD XMS_SUPPORT_FILTERED = 3;
} // namespace

void CVlanAgentWin::DoesParentSupportVlans(CResult& result, const CRavString& strParentKey, bool& bSupports,
                                           const RAV_CLIENT_ID& client)
{
    bool notLoaded = false;
    bool teamFlag = false;
    DoesParentSupportVlans(result, strParentKey, bSupports, notLoaded, teamFlag, client);
}

void CVlanAgentWin::DoesParentSupportVlans(CResult& result, const CRavString& strParentKey, bool& bSupports,
                                           bool& bNotLoaded, bool& bTeamFlag, const RAV_CLIENT_ID& client)
{
    RavTrace().Print(L"Entering CVlanAgentWin::DoesParentSupportVlans");
    result = CResult();
    bSupports = false;
    bNotLoaded = false;
    bTeamFlag = false;
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::DoesParentSupportVlans", result, [&] {
        WaitForApplyDone(client);
        if (strParentKey.IsEmpty())
        {
            RavTrace().Print(L"DoesParentSupportVlans() - the parent key is invalid - exiting.");
            return;
        }
        if (IsFilteredOut(strParentKey))
        {
            RavTrace().Print(L"DoesParentSupportVlans() - the parent does not support vlans.");
            result = CResult::Success();
            return;
        }
        const CNetCfgSession session(*this);
        const int type = TypeOfParent(strParentKey);
        if (type == RAV_PARENT_TEAM)
            result = DoesTeamSupportVlans(strParentKey, bSupports, bNotLoaded, bTeamFlag, client);
        else if (type == RAV_PARENT_ADAPTER)
            result = DoesAdapterSupportVlans(strParentKey, bSupports, bNotLoaded);
    });
    RavTrace().Print(L"Exiting CVlanAgentWin::DoesParentSupportVlans() bSupports value is: %d", bSupports ? 1 : 0);
}

// Adapter or team, as the network configuration has it; needs the thread's session.
int CVlanAgentWin::TypeOfParent(const CRavString& strParentKey)
{
    CRavXmsVlan vlan(RAV_NEW_VLAN_KEY, *this);
    vlan.m_strParentKey = strParentKey;
    int type = RAV_PARENT_UNKNOWN;
    vlan.GetParentType(type);
    return type;
}

// A parent is only ruled out by a filter that can be read and says so.
bool CVlanAgentWin::IsFilteredOut(const CRavString& strParentKey)
{
    CRavRegKey parent;
    CRavRegKey filters;
    DWORD filter = 0;
    return OpenMiniportKey(strParentKey, parent) && filters.Open(parent.GetHKey(), L"ZentraNdi", true) &&
           filters.GetValue(L"XMSSupportFilter", filter) && filter == XMS_SUPPORT_FILTERED;
}

CResult CVlanAgentWin::DoesTeamSupportVlans(const CRavString& strTeam, bool& bSupports, bool& bNotLoaded,
                                            bool& bTeamFlag, const RAV_CLIENT_ID& client)
{
    const std::shared_ptr<CRavTeamAgentPvtIntf> team = GetTeamAgentPvtIntf();
    if (team == nullptr)
    {
        RavTrace().Print(L"DoesParentSupportVlans() -  fails unable to get team agent function pointer - exiting");
        return CResult();
    }
    bool supports = false;
    const CResult result = team->DoesTeamSupportVlan(strTeam, supports, bNotLoaded, bTeamFlag, client);
    if (!result.Succeeded())
        RavTrace().Print(L"DoesParentSupportVlans() -  fails for Team (%s) - exiting", strTeam.c_str());
    else if (supports)
    {
        bSupports = true;
        RavTrace().Print(L"DoesParentSupportVlans() - yes the parent (team) supports Vlans");
    }
    return result;
}

CResult CVlanAgentWin::DoesAdapterSupportVlans(const CRavString& strAdapter, bool& bSupports, bool& bNotLoaded)
{
    CRavCoreAgentPvtIntf& core = Core();
    CResult result = CResult::Success();
    if (!core.IsRuleTrue(strAdapter, L"IsXmsSupported"))
    {
        RavTrace().Print(L"DoesParentSupportVlans() - rule file shows the parent does not support vlans.");
        return result;
    }
    bool member = false;
    result = core.IsBoundToTeam(strAdapter, member);
    if (!result.Succeeded())
    {
        RavTrace().Print(L"DoesParentSupportVlans() - call to bBoundToTeam() failed.");
        return result;
    }
    if (member)
    {
        RavTrace().Print(L"DoesParentSupportVlans() - parent is a member of a team - cannot create a vlan on this "
                         L"parent.");
        return result;
    }
    if (!core.IsVlansSupportedOnPort(strAdapter))
    {
        RavTrace().Print(L"DoesParentSupportVlans() - vlans are not supported on this device.");
        return result;
    }
    bool loaded = false;
    result = core.IsAdapterLoaded(strAdapter, loaded);
    if (!result.Succeeded())
    {
        bNotLoaded = true;
        RavTrace().Print(L"DoesParentSupportVlans() - call to IsAdapterLoaded() failed - exiting.");
        return result;
    }
    if (loaded)
    {
        bSupports = core.IsVlansSupportedOnPort(strAdapter);
        return result;
    }
    bNotLoaded = true;
    bSupports = HasVlans(strAdapter);
    return result;
}

// An adapter that has VLANs supports them, loaded or not.
bool CVlanAgentWin::HasVlans(const CRavString& strAdapter)
{
    std::vector<CRavString> vlans;
    CResult enumerated;
    EnumerateVlans(enumerated, strAdapter, vlans);
    if (!enumerated.Succeeded())
    {
        RavTrace().Print(L"DoesParentSupportVlans(), EnumerateVlans() fails");
        return false;
    }
    if (vlans.empty())
        return false;
    RavTrace().Print(L"DoesParentSupportVlans() - this parent already has a Vlan, so it supports vlans - exiting");
    return true;
}

void CVlanAgentWin::EnumerateVlanSupportingParents(CResult& result, std::vector<CRavString>& parents,
                                                   const RAV_CLIENT_ID& client)
{
    RavTrace().Print(L"Entering CVlanAgentWin::EnumerateVlanSupportingParents");
    result = CResult();
    parents.clear();
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::EnumerateVlanSupportingParents", result, [&] {
        WaitForApplyDone(client);
        const std::shared_ptr<CRavTeamAgentPvtIntf> team = GetTeamAgentPvtIntf();
        if (team == nullptr)
        {
            RavTrace().Print(L"EnumerateVlanSupportingParents() - unable to get team agent function pointer - "
                             L"exiting");
            return;
        }
        const CNetCfgSession session(*this);
        if (!AddSupportingTeams(*team, parents, client, result) || !AddSupportingAdapters(parents, client, result))
            return;
        if (!parents.empty())
            RavTrace().Print(L"CVlanAgentWin::EnumerateVlanSupportingParents, # of supportive parents is:%d",
                             static_cast<int>(parents.size()));
        else
            RavTrace().Print(L"EnumerateVlanSupportingParents(), not a single parent supports vlans on this system");
    });
    RavTrace().Print(L"Exiting CVlanAgentWin::EnumerateVlanSupportingParents");
}

bool CVlanAgentWin::AddSupportingTeams(CRavTeamAgentPvtIntf& team, std::vector<CRavString>& parents,
                                       const RAV_CLIENT_ID& client, CResult& result)
{
    std::vector<CRavString> teams;
    result = team.EnumerateTeams(teams);
    if (!result.Succeeded())
    {
        RavTrace().Print(L"EnumerateVlanSupportingParents() - team agent's EnumerateTeams() fails - exiting");
        return false;
    }
    for (const CRavString& key : teams)
    {
        RavTrace().Print(L"EnumerateVlanSupportingParents() - team agent's DoesTeamSupportVlan() for team (%s).",
                         key.c_str());
        bool supports = false;
        bool notLoaded = false;
        bool teamFlag = false;
        const auto ask = [&] { return team.DoesTeamSupportVlan(key, supports, notLoaded, teamFlag, client); };
        if (!RavAnswer(SOURCE_FILE, __LINE__, L"EnumerateVlanSupportingParents", ask).Succeeded() || !supports)
            continue;
        parents.push_back(key);
        RavTrace().Print(L"EnumerateVlanSupportingParents(), found a supportive parent-Team (%s)", key.c_str());
    }
    return true;
}

bool CVlanAgentWin::AddSupportingAdapters(std::vector<CRavString>& parents, const RAV_CLIENT_ID& client,
                                          CResult& result)
{
    std::vector<CRavString> adapters;
    result = Core().EnumerateAdapters(adapters);
    if (!result.Succeeded())
    {
        RavTrace().Print(L"EnumerateVlanSupportingParents() core agent's  EnumerateAdapters() fails.");
        return false;
    }
    for (const CRavString& key : adapters)
    {
        CResult asked;
        bool supports = false;
        DoesParentSupportVlans(asked, key, supports, client);
        if (!asked.Succeeded())
            RavTrace().Print(L"EnumerateVlanSupportingParents() - call to DoesParentSupportVlansInternal() failed, go "
                             L"to next adapter");
        else if (supports)
        {
            parents.push_back(key);
            RavTrace().Print(L"EnumerateVlanSupportingParents, found a supportive parent-Adapter");
        }
    }
    return true;
}

void CVlanAgentWin::IsParentVmqEnabled(CResult& result, const CRavString& strParentKey, bool& bVmqEnabled,
                                       bool& bParentIsTeam, const RAV_CLIENT_ID& client)
{
    RavTrace().Print(L"CVlanAgentWin::IsParentVmqEnabled");
    result = CResult();
    bVmqEnabled = false;
    bParentIsTeam = false;
    Shielded(SOURCE_FILE, __LINE__, L"CVlanAgentWin::IsParentVmqEnabled", result, [&] {
        WaitForApplyDone(client);
        if (strParentKey.IsEmpty())
        {
            RavTrace().Print(L"IsParentVmqEnabled() - the parent key is invalid - exiting.");
            return;
        }
        const CNetCfgSession session(*this);
        const int type = TypeOfParent(strParentKey);
        if (type == RAV_PARENT_ADAPTER)
        {
            result = Core().IsDeviceVmqEnabled(strParentKey, bVmqEnabled);
            if (!result.Succeeded())
                RavTrace().Print(L"IsParentVmqEnabled() - call to IsDeviceVmqEnabled() failed.");
        }
        else if (type == RAV_PARENT_TEAM)
        {
            bParentIsTeam = true;
            result = IsTeamVmqEnabled(strParentKey, bVmqEnabled);
        }
    });
}

CResult CVlanAgentWin::IsTeamVmqEnabled(const CRavString& strTeam, bool& bEnabled)
{
    const std::shared_ptr<CRavTeamAgentPvtIntf> team = GetTeamAgentPvtIntf();
    if (team == nullptr)
    {
        RavTrace().Print(L"IsParentVmqEnabled() -  fails unable to get team agent function pointer - exiting");
        return CResult();
    }
    const CResult result = team->IsTeamVmqEnabled(strTeam, bEnabled);
    if (!result.Succeeded())
        RavTrace().Print(L"IsParentVmqEnabled() -  fails for Team (%s) - exiting", strTeam.c_str());
    return result;
}
