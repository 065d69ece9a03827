#include "Src/RavXmsVlan.h"

#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Src/RavNameTable.h"

#include <algorithm>

using Microsoft::WRL::ComPtr;

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanParent";

// Bits of "SupportedFeatures": a miniport of the intermediate driver is a team when it has the first without the
// second.
constexpr DWORD FEATURE_TEAM = 0x1;
constexpr DWORD FEATURE_VLAN = 0x8;

// Opens the instance key of a component; the key is closed when that fails.
void OpenKey(INetCfgComponent& component, CRavRegKey& key)
{
    HKEY handle = nullptr;
    if (SUCCEEDED(component.OpenParamKey(&handle)))
        key = handle;
}

// Whether the miniport of the key is a VLAN over the parent.
bool IsVlanOver(CRavRegKey& key, const CRavString& parent)
{
    DWORD features = 0;
    CRavString over;
    return key.GetValue(RavName(RAV_NAME_SUPPORTED_FEATURES), features) && (features & FEATURE_VLAN) != 0 &&
           key.GetValue(RavName(RAV_NAME_VLAN_PARENT_KEY), over) && over.CompareI(parent);
}

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
    CRavRegKey key;
    DWORD features = 0;
    OpenKey(*component.Get(), key);
    // A team whose key cannot be read must not be taken for an adapter.
    if (!key.GetValue(RavName(RAV_NAME_SUPPORTED_FEATURES), features) && key.LastResult() != ERROR_FILE_NOT_FOUND)
        return result;
    const bool team = (features & FEATURE_TEAM) != 0 && (features & FEATURE_VLAN) == 0;
    iParentType = team ? RAV_PARENT_TEAM : RAV_PARENT_ADAPTER;
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
        if (!m_pTeamAgentPvt->DoesTeamHaveVlans(m_strParentKey))
        {
            RavTrace().Print(L"CRavXmsVlan::GetTotNoOfVlansOnThisParent, Zero vlans on parent.");
            done = true;
            return done;
        }
    }
    std::vector<CRavString> keys;
    if (!m_services.EnumerateVlansOnParent(m_strParentKey, keys).Succeeded() || !IsPlausible(keys))
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

// A network configuration that cannot be had enumerates as empty. Taken at its word, that would turn a parent with
// VLANs into one without: the first VLAN of a parent replaces, and the last one deletes, what the driver keeps of it.
bool CRavXmsVlan::IsPlausible(const std::vector<CRavString>& vlanKeys)
{
    if (!m_strVlanNetCfgInstanceId.IsEmpty())
        return Contains(vlanKeys, m_strVlanNetCfgInstanceId);
    return !vlanKeys.empty() || !HasListedVlans();
}

// Whether the driver's entry of the parent lists a VLAN that is alive.
bool CRavXmsVlan::HasListedVlans()
{
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    const CRavString device = RavName(RAV_NAME_DEVICE);
    CRavRegKey entry;
    std::vector<CRavString> bindings;
    if (netCfg == nullptr ||
        !entry.Open(HKEY_LOCAL_MACHINE, RavName(RAV_NAME_DRIVER_ADAPTERS_KEY) + L"\\" + m_strParentKey, false) ||
        !entry.GetValue(RavName(RAV_NAME_BINDING_LIST), bindings))
        return false;
    return std::any_of(bindings.begin(), bindings.end(), [&](const CRavString& binding) {
        ComPtr<INetCfgComponent> component;
        CRavRegKey key;
        if (binding.Length() <= device.Length() ||
            FAILED(netCfg->FindNetworkComponentByGUID(binding.c_str() + device.Length(), component)) || !component)
            return false;
        OpenKey(*component.Get(), key);
        return IsVlanOver(key, m_strParentKey);
    });
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

// The team that has the parent, an adapter, as a member; empty when none has.
CRavString CRavXmsVlan::TeamOfParent()
{
    std::vector<CRavString> teams;
    if (!LoadTeamAgent() || !m_pTeamAgentPvt->EnumerateTeams(teams).Succeeded())
        return CRavString();
    for (const CRavString& team : teams)
    {
        std::vector<CRavString> members;
        if (m_pTeamAgentPvt->GetTeamMembers(team, members).Succeeded() && Contains(members, m_strParentKey))
            return team;
    }
    return CRavString();
}
