#include "Src/RavXmsVlan.h"

#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Src/RavNameTable.h"

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanParent";

// Bits of "SupportedFeatures": a miniport of the intermediate driver is a team when it has the first without the
// second.
constexpr DWORD FEATURE_TEAM = 0x1;
constexpr DWORD FEATURE_VLAN = 0x8;

bool IsTeam(INetCfgComponent& component)
{
    HKEY handle = nullptr;
    if (FAILED(component.OpenParamKey(&handle)))
        return false;
    CRavRegKey key(handle);
    DWORD features = 0;
    return key.GetValue(RavName(RAV_NAME_SUPPORTED_FEATURES), features) && (features & FEATURE_TEAM) != 0 &&
           (features & FEATURE_VLAN) == 0;
}
} // namespace

CResult CRavXmsVlan::GetParent(RAV_VLAN_PARENT& parent)
{
    CResult result;
    const CRavTraceScope trace(L"CRavXmsVlan::GetParent", &result);
    if (m_strParentKey.IsEmpty())
        return result;
    parent.parentKey = m_strParentKey;
    // The features of the VLAN itself tell what it lies over, and need no network configuration.
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
        return result;
    iParentType = IsTeam(*component.Get()) ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER;
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
            return false;
        if (!m_pTeamAgentPvt->DoesTeamHaveVlans(m_strParentKey))
        {
            RavTrace().Print(L"CRavXmsVlan::GetTotNoOfVlansOnThisParent, Zero vlans on parent.");
            done = true;
            return done;
        }
    }
    std::vector<CRavString> keys;
    if (!m_services.EnumerateVlansOnParent(m_strParentKey, keys).Succeeded())
        return false;
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
    done = m_pTeamAgentPvt->GetTeamMembers(strTeam, members).Succeeded();
    return done;
}
