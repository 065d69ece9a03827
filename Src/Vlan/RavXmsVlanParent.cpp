#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Library/ParamKey.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavNameTable.h"
#include "Src/RavShielded.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanParent";

bool Contains(const std::vector<CRavString>& keys, const CRavString& key)
{
    return std::any_of(keys.begin(), keys.end(), [&](const CRavString& other) { return other.CompareI(key); });
}
} // namespace

CResult CRavXmsVlan::GetParent(RAV_VLAN_PARENT& parent)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::GetParent", &result);
    if (m_strParentKey.IsEmpty())
    {
        RavTrace().Print(L"CRavXmsVlan::GetParent, the VLAN has no parent.");
        return result;
    }
    parent.parentKey = m_strParentKey;
    // The VLAN's own features say whether it is over a team, which spares a search of the network configuration.
    parent.parentType = m_bFeatureFlag ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER;
    result = CResult::Success();
    return result;
}

CResult CRavXmsVlan::GetParentType(int& iParentType)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::GetParentType", &result);
    iParentType = RAV_PARENT_UNKNOWN;
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    ComPtr<INetCfgComponent> component;
    if (netCfg == nullptr || FAILED(netCfg->FindNetworkComponentByGUID(m_strParentKey, component)) || !component)
    {
        RavTrace().Print(L"CRavXmsVlan::GetParentType, %s cannot be found.", m_strParentKey.c_str());
        return result;
    }
    CRavRegKey key;
    DWORD features = 0;
    CRavKeyHandle handle;
    if (SUCCEEDED(RavOpenParamKey(*component.Get(), handle)))
        key.Adopt(std::move(handle));
    // Without features the parent is an adapter. A key that cannot be read is a failure: it may be a team's.
    if (!key.GetValue(RavName(RAV_NAME_SUPPORTED_FEATURES), features) && key.LastResult() != ERROR_FILE_NOT_FOUND)
    {
        RavTrace().Print(L"CRavXmsVlan::GetParentType, the features of %s cannot be read.", m_strParentKey.c_str());
        return result;
    }
    iParentType = RavIsTeam(features) ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER;
    result = CResult::Success();
    return result;
}

bool CRavXmsVlan::GetTotNoOfVlansOnThisParent(int& iCount)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::GetTotNoOfVlansOnThisParent", &done);
    iCount = 0;
    if (m_iParentType == RAV_PARENT_TEAM)
    {
        if (!LoadTeamAgent())
        {
            RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the team agent cannot be loaded.");
            return false;
        }
        bool any = false;
        if (!RavShielded(SOURCE_FILE, __LINE__, L"CRavXmsVlan::GetTotNoOfVlansOnThisParent",
                         [&] { any = m_pTeamAgentPvt->DoesTeamHaveVlans(m_strParentKey); }))
            return false;
        if (!any)
        {
            RavTrace().Print(L"CRavXmsVlan::GetTotNoOfVlansOnThisParent, Zero vlans on parent.");
            done = true;
            return done;
        }
    }
    std::vector<CRavString> keys;
    // A VLAN that exists must be among those counted, otherwise the count is wrong.
    if (!m_services.EnumerateVlansOnParent(m_strParentKey, keys).Succeeded() ||
        !(m_strVlanNetCfgInstanceId.IsEmpty() || Contains(keys, m_strVlanNetCfgInstanceId)))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the VLANs of %s cannot be counted.", m_strParentKey.c_str());
        return false;
    }
    iCount = static_cast<int>(keys.size());
    RavTrace().Print(L"CRavXmsVlan::GetTotNoOfVlansOnThisParent, %s vlan%s on parent.",
                     iCount == 0   ? L"Zero"
                     : iCount == 1 ? L"1"
                                   : L"More than 1",
                     iCount == 0 ? L"s" : L"");
    done = true;
    return done;
}

bool CRavXmsVlan::GetTeamMembers_v(const CRavString& strTeam, std::vector<CRavString>& members)
{
    bool done = false;
    const CRavTraceScope trace(L"CRavXmsVlan::GetTeamMembers_v", &done);
    members.clear();
    if (!LoadTeamAgent())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the team agent cannot be loaded.");
        return false;
    }
    done = RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::GetTeamMembers_v", [&] {
               return m_pTeamAgentPvt->GetTeamMembers(strTeam, members);
           }).Succeeded();
    if (!done)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetTeamMembers failed.");
    return done;
}

bool CRavXmsVlan::FindCarriers(std::vector<CRavString>& adapters)
{
    adapters = {m_strParentKey};
    return m_iParentType != RAV_PARENT_TEAM || (GetTeamMembers_v(m_strParentKey, adapters) && KeepPresent(adapters));
}

// Drops the adapters that are not in the machine. False when that cannot be told.
bool CRavXmsVlan::KeepPresent(std::vector<CRavString>& adapters)
{
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    bool done = netCfg != nullptr;
    std::erase_if(adapters, [&](const CRavString& adapter) {
        ComPtr<INetCfgComponent> component;
        done = done && SUCCEEDED(netCfg->FindNetworkComponentByGUID(adapter, component));
        if (done && !component)
            RavTrace().Print(L"CRavXmsVlan::KeepPresent, adapter %s is not in the machine", adapter.c_str());
        return done && !component;
    });
    return done;
}

// The team that has the parent, an adapter, as a member; empty when none has.
CRavString CRavXmsVlan::TeamOfParent()
{
    CRavString found;
    if (!LoadTeamAgent())
        return found;
    RavShielded(SOURCE_FILE, __LINE__, L"CRavXmsVlan::TeamOfParent", [&] {
        std::vector<CRavString> teams;
        std::vector<CRavString> members;
        if (!m_pTeamAgentPvt->EnumerateTeams(teams).Succeeded())
            return;
        const auto team = std::find_if(teams.begin(), teams.end(), [&](const CRavString& candidate) {
            return m_pTeamAgentPvt->GetTeamMembers(candidate, members).Succeeded() && Contains(members, m_strParentKey);
        });
        if (team != teams.end())
            found = *team;
    });
    return found;
}
