// Names, id, type and address of a VLAN.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"
#include "Src/RavNameTable.h"
#include "Src/RavShielded.h"
#include "Src/Vlan/RavNetCfgWriteLock.h"

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanIdentity";
} // namespace

void CRavXmsVlan::FinishDisplayName(const CRavString& strParentName)
{
    m_strVlanDisplayName =
        strParentName.IsEmpty() ? m_strVlanName : strParentName + L" - " + L"VLAN : " + m_strVlanName;
}

void CRavXmsVlan::ConstructVlanDisplayName(const CRavString& strParentName, int& status)
{
    status = 0;
    const CRavTraceScope trace(L"CRavXmsVlan::ConstructVlanDisplayName", &status);
    FinishDisplayName(strParentName);
    RavTrace().Print(L"CRavXmsVlan::ConstructVlanDisplayName() - (ParentNameUpdate) VlanDisplayName = %s "
                     L"(ReturnCode=%u)",
                     m_strVlanDisplayName.c_str(), status);
}

void CRavXmsVlan::ConstructVlanDisplayName(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::ConstructVlanDisplayName", &status);
    CRavString parentName;
    if (!QueryParentName(parentName))
        return;
    FinishDisplayName(parentName);
    status = 0;
    if (m_iParentType == RAV_PARENT_ADAPTER && !parentName.IsEmpty())
        RavTrace().Print(L"CRavXmsVlan::ConstructVlanDisplayName() - (ParentAdapter) VlanDisplayName = %s "
                         L"(ReturnCode=%u)",
                         m_strVlanDisplayName.c_str(), status);
}

// An empty parent name is no failure: the VLAN's display name is its own name then.
bool CRavXmsVlan::QueryParentName(CRavString& strParentName)
{
    int parentType = RAV_PARENT_UNKNOWN;
    if (!GetParentType(parentType).Succeeded())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetParentType failed for %s.", m_strParentKey.c_str());
        return false;
    }
    m_iParentType = parentType;
    if (m_iParentType == RAV_PARENT_TEAM)
    {
        RAV_TEAM_INFO info;
        const auto ask = [&] { return m_pTeamAgentPvt->GetTeamInfo(m_strParentKey, info); };
        if (!LoadTeamAgent() ||
            !RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::ConstructVlanDisplayName", ask).Succeeded())
            info.strTeamName.ClearString();
        if (info.strTeamName.IsEmpty())
            RavTrace().Print(L"CRavXmsVlan::ConstructVlanDisplayName() - TeamAgent GetTeamInfo string Empty");
        strParentName = info.strTeamName;
        return true;
    }
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    if (core == nullptr)
    {
        RavTrace().Print(L"CRavXmsVlan::ConstructVlanDisplayName() - CoreAgentPointer NULL");
        return false;
    }
    const CResult result = RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::ConstructVlanDisplayName",
                                     [&] { return core->GetDisplayName(m_strParentKey, strParentName); });
    if (!result.Succeeded())
    {
        RavTrace().Print(L"CRavXmsVlan::ConstructVlanDisplayName() - CoreAgent GetDisplayName failed (%u)",
                         result.ulErrCode);
        return false;
    }
    if (strParentName.IsEmpty())
        RavTrace().Print(L"CRavXmsVlan::ConstructVlanDisplayName() - CoreAgent GetDisplayName string Empty");
    return true;
}

void CRavXmsVlan::SetMiniportDisplayName(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SetMiniportDisplayName", &status);
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg == nullptr)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: no network configuration.");
        return;
    }
    CRavNetCfgWriteLock lock(*netCfg);
    CRavNetCfgComponent component(m_strVlanNetCfgInstanceId);
    if (lock.IsHeld() && component.SetDisplayName(*netCfg, m_strVlanDisplayName) == 0 && SUCCEEDED(lock.Release()))
        status = 0;
    else
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetMiniportDisplayName failed.");
}

void CRavXmsVlan::SetVLANName(const CRavString& strName, int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SetVLANName", &status);
    if (!OpenThisMiniportRegKey())
        return;
    m_services.VlanWritten(m_strVlanKey);
    if (!m_ownKey.SetValue(RavName(RAV_NAME_VLAN_NAME), strName, false))
    {
        RavTrace().Print(L"CRavXmsVlan::SetVLANName, RegSetValueEx fails.Extng");
        return;
    }
    m_strVlanName = strName;
    m_ravVlanInfo.vlanName = strName;
    int built = -1;
    ConstructVlanDisplayName(built);
    if (built != 0)
        return;
    if (!m_ownKey.SetValue(RavName(RAV_NAME_VLAN_DISPLAY_NAME), m_strVlanDisplayName, false))
    {
        RavTrace().Print(L"CRavXmsVlan::SetVLANName, RegSetValueEx fails.Extng-2");
        return;
    }
    m_ravVlanInfo.displayName = m_strVlanDisplayName;
    SetMiniportDisplayName(status);
}

void CRavXmsVlan::UpdateVLANName(const CRavString& strParentName, int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::UpdateVLANName", &status);
    if (!OpenThisMiniportRegKey())
        return;
    CRavString name;
    if (!m_ownKey.GetValue(RavName(RAV_NAME_VLAN_NAME), name))
    {
        RavTrace().Print(L"CRavXmsVlan::UpdateVLANName, RegQueryValueEx fails.Extng");
        return;
    }
    m_strVlanName = name;
    int built = -1;
    ConstructVlanDisplayName(strParentName, built);
    if (!m_ownKey.SetValue(RavName(RAV_NAME_VLAN_DISPLAY_NAME), m_strVlanDisplayName, false))
    {
        RavTrace().Print(L"CRavXmsVlan::UpdateVLANName, RegSetValueEx fails.Extng-2");
        return;
    }
    m_ravVlanInfo.displayName = m_strVlanDisplayName;
    SetMiniportDisplayName(status);
}

void CRavXmsVlan::SetVLANId(int iVlanId, int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SetVLANId", &status);
    if (!OpenThisMiniportRegKey())
    {
        RavTrace().Print(L"CRavXmsVlan::SetVLANId, Open vlan miniport key fails");
        return;
    }
    {
        CRavKeyHandle handle;
        CRavRegKey key;
        if (FAILED(OpenKeyOf(m_strVlanNetCfgInstanceId, handle)) || !key.Open(handle.Get(), L"", true))
        {
            RavTrace().Print(L"CRavXmsVlan::SetVLANId, Open vlan 000xKey fails");
            return;
        }
        m_services.VlanWritten(m_strVlanKey);
        if (!key.SetValue(RavName(RAV_NAME_VLAN_ID), static_cast<DWORD>(iVlanId)))
        {
            RavTrace().Print(L"CRavXmsVlan::SetVLANId, SetValue vlan 000xKey fails.Extng");
            return;
        }
    }
    // When an earlier change to this id failed half way, some parents still list the id before it: that one stays the
    // id to replace.
    if (m_iVlanId != iVlanId || m_iPreviousVlanId < 0)
        m_iPreviousVlanId = m_iVlanId;
    m_iVlanId = iVlanId;
    m_ravVlanInfo.vlanId = static_cast<DWORD>(iVlanId);
    RavTrace().Print(L"m_iVlanId= %d", m_iVlanId);
    if (m_iParentType == RAV_PARENT_TEAM && !FindMembers())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetTeamMembers_v failed.");
        return;
    }
    const std::vector<CRavString> carriers =
        m_iParentType == RAV_PARENT_TEAM ? m_members : std::vector<CRavString>{m_strParentKey};
    for (const CRavString& carrier : carriers)
    {
        int listed = -1;
        SetVlanIdAsMultiStrInAdptrOOOKi(carrier, listed);
        if (listed != 0)
            return;
    }
    m_iPreviousVlanId = -1; // no list has the previous id any longer
    UnloadMiniport();
    status = 0;
}

void CRavXmsVlan::SetVLANType(DWORD dwType, int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SetVLANType", &status);
    if (!OpenThisMiniportRegKey())
        return;
    if (!m_ownKey.SetValue(RavName(RAV_NAME_VLAN_TYPE), dwType))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetValue failed.");
        return;
    }
    m_dwVlanType = dwType;
    m_ravVlanInfo.vlanType = RavClientVlanType(dwType);
    UnloadMiniport();
    status = 0;
}

void CRavXmsVlan::GetCurrentMACAddress(int& status)
{
    status = 0;
    const CRavTraceScope trace(L"CRavXmsVlan::GetCurrentMACAddress", &status);
    const auto failed = [&] {
        status = -1;
        RavTrace().Print(L"Exiting CRavXmsVlan::GetCurrentMACAddress-1");
    };
    CRavRegKey key;
    if (!m_parentClassKey || !key.Open(GetParentClassKey(), L"", true))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the parent's key is not open.");
        return failed();
    }
    CRavString address;
    // A value of another type counts as no address. A text that cannot be read may be an address that somebody chose,
    // so it is not overwritten.
    const DWORD type = key.GetRegType(RavName(RAV_NAME_NETWORK_ADDRESS));
    if (type == REG_SZ)
        key.GetValue(RavName(RAV_NAME_NETWORK_ADDRESS), address);
    if (key.LastResult() != ERROR_SUCCESS && key.LastResult() != ERROR_FILE_NOT_FOUND)
        return failed();
    if (!address.IsEmpty())
    {
        RavTrace().Print(L"CRavXmsVlan::GetCurrentMACAddress, Found NA-%s", address.c_str());
        m_strNetworkAddress = address;
        return;
    }
    RavTrace().Print(L"CRavXmsVlan::GetCurrentMACAddress, NA is Empty");
    m_strNetworkAddress.ClearString();
    std::optional<CRavString> permanent;
    if (!QueryPermanentAddress(permanent))
        return failed();
    if (!permanent)
        return;
    if (!key.SetValue(RavName(RAV_NAME_NETWORK_ADDRESS), *permanent, false))
    {
        RavTrace().Print(L"CRavXmsVlan::GetCurrentMACAddress, NA set fails.");
        return failed();
    }
    m_strNetworkAddress = *permanent;
}

// The parent's own address; none of a virtual device. False when the core agent cannot tell.
bool CRavXmsVlan::QueryPermanentAddress(std::optional<CRavString>& address)
{
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    if (core == nullptr)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: no core agent.");
        return false;
    }
    bool isVirtual = false;
    if (!RavShielded(SOURCE_FILE, __LINE__, L"CRavXmsVlan::GetCurrentMACAddress",
                     [&] { isVirtual = core->IsVirtualDevice(m_strParentKey); }))
        return false;
    RavTrace().Print(L"CRavXmsVlan::GetCurrentMACAddress bIsVirtual_Device - %d", isVirtual);
    if (isVirtual)
    {
        RavTrace().Print(L"CRavXmsVlan::GetCurrentMACAddress Is A Virtual_Device - %d", isVirtual);
        return true;
    }
    RavTrace().Print(L"CRavXmsVlan::GetCurrentMACAddress Is Not a Virtual_Device - %d", isVirtual);
    CRavString permanent;
    const CResult result = RavAnswer(SOURCE_FILE, __LINE__, L"CRavXmsVlan::GetCurrentMACAddress",
                                     [&] { return core->GetPermMacAddress(m_strParentKey, permanent); });
    if (!result.Succeeded())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"CRavXmsVlan::GetCurrentMACAddress GetPermMacAddress failed (%u)",
                         result.ulErrCode);
        return false;
    }
    address = permanent;
    return true;
}
