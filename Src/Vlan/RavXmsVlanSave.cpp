// What creating a VLAN writes to the registry: the parent's instance key, the driver's entry for it, the VLAN's own
// key.

#include "Src/Vlan/RavXmsVlan.h"

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Intf/RavTeamAgentPvtIntf.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/RavDebug.h"
#include "Common/Src/RavValueWriter.h"
#include "Src/RavDriverEntry.h"
#include "Src/RavNameTable.h"
#include "Common/Settings/RavSetting.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/XmsNames.h"
#include "Src/Vlan/TaggingModeSpy.h"

#include <algorithm>
#include <cwchar>

namespace
{
constexpr wchar_t SOURCE_FILE[] = L"Src\\RavXmsVlanSave";
constexpr int VMQ_DISABLED = 0;
constexpr DWORD MAX_TEAM_MODE = 6;

enum class Parameter
{
    Text,
    Missing,
    Unreadable
};

// Reads an advanced parameter that the adapter keeps as text. A value of another type counts as missing. A text that is
// too long to be read counts as read, and is empty here: it is none of those that are looked for.
Parameter ReadTextParameter(CRavRegKey& key, const wchar_t* name, CRavString& text)
{
    const DWORD type = key.GetRegType(name);
    if (key.LastResult() == ERROR_FILE_NOT_FOUND || (key.LastResult() == ERROR_SUCCESS && type != REG_SZ))
        return Parameter::Missing;
    if (key.LastResult() == ERROR_SUCCESS && (key.GetValue(name, text) || key.LastResult() == ERROR_MORE_DATA))
        return Parameter::Text;
    RavTrace().Print(L"SetupVlanParentRegistry() - unable to read the registry value %s", name);
    return Parameter::Unreadable;
}

bool WriteTextParameter(CRavRegKey& key, const wchar_t* name, const wchar_t* value)
{
    if (key.SetValue(name, value, false))
        return true;
    RavTrace().Print(L"SetupVlanParentRegistry() - unable to set the registry value %s", name);
    return false;
}

// Gives a parameter that is there the value it needs; one that is missing stays missing.
bool RequireTextParameter(CRavRegKey& key, const wchar_t* name, const wchar_t* value)
{
    CRavString text;
    const Parameter read = ReadTextParameter(key, name, text);
    return read == Parameter::Missing ||
           (read == Parameter::Text && (text == value || WriteTextParameter(key, name, value)));
}

void SwitchVmqOff(CRavCoreAgentPvtIntf& core, const CRavString& adapter)
{
    RAV_SETTING* raw = nullptr;
    const CResult read = core.GetSetting(adapter, VMQ, &raw);
    const std::unique_ptr<RAV_SETTING> setting(raw);
    const RAV_SETTING_VAL_INT disabled(VMQ_DISABLED);
    if (!read.Succeeded() || !setting || setting->GetType() != RAV_SETTING_TYPE_ENUM)
        RavTrace().Print(L"CRavXmsVlan::DisableVMQ VMQ not supported on this device");
    else if (static_cast<const RAV_SETTING_ENUM&>(*setting).iCurrent == VMQ_DISABLED)
        RavTrace().Print(L"CRavXmsVlan::DisableVMQ VMQ is already disabled");
    else if (!core.SetSetting(adapter, VMQ, &disabled).Succeeded())
        RavTrace().Print(L"CRavXmsVlan::DisableVMQ SetSetting failed");
}

void CannotTellGroups(LONG status)
{
    RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the logical groups cannot be read. err= %d", status);
}

// Whether all values were written.
bool Told(const CRavRegKey& key, const CRavValueWriter& writer)
{
    if (!writer.Done())
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetValue failed. value: %s err= %d", writer.Failed().c_str(),
                         key.LastResult());
    return writer.Done();
}
} // namespace

// --- the parent's instance key --------------------------------------------------------------------------------------

void CRavXmsVlan::SetupVlanParentRegistry(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SetupVlanParentRegistry", &status);
    HRESULT opened = S_OK;
    if (m_iParentType == RAV_PARENT_TEAM)
        opened = OpenKeyOf(m_strParentAdapterId);
    else if (!m_parentClassKey)
        opened = GetParentOOOKey();
    CRavRegKey key;
    if (FAILED(opened) || !key.Open(GetParentClassKey(), L"", true))
    {
        RavTrace().Print(L"SetupVlanParentRegistry() - unable to open the parent KEY!!");
        return;
    }
    if (m_iParentType != RAV_PARENT_TEAM)
    {
        if (!key.GetValue(NetworkValue::NetCfgInstanceId, m_strParentAdapterId))
        {
            RavTrace().Print(L"SetupVlanParentRegistry() - unable to get the adapter's guid.");
            return;
        }
        DisableVMQ(m_strParentAdapterId);
    }
    if (MarkAsXmsLoaded(key) && SetupVlanFiltering(key) && RequireTextParameter(key, XmsValue::TaggingMode, L"1") &&
        RequireTextParameter(key, PRIORITY_VLAN_TAG, L"3"))
        status = 0;
}

bool CRavXmsVlan::MarkAsXmsLoaded(CRavRegKey& key)
{
    const CRavString name = RavName(RAV_NAME_XMS_LOADED);
    DWORD loaded = 0;
    if (key.GetValue(name, loaded) && loaded == 1)
        return true;
    if (key.SetValue(name, DWORD{1}))
        return true;
    RavTrace().Print(L"SetupVlanParentRegistry() - unable to set the registry value %s", name.c_str());
    return false;
}

bool CRavXmsVlan::SetupVlanFiltering(CRavRegKey& key)
{
    CRavString filtering;
    const Parameter read = ReadTextParameter(key, XmsValue::VlanFiltering, filtering);
    if (read != Parameter::Text)
        return read == Parameter::Missing;
    if (filtering == L"1")
        return true;
    if (!LoadTeamAgent())
    {
        // Only the team agent knows whether a team sorts the VLANs itself: without it the administrator's choice
        // stands.
        RavTrace().Print(L"SetupVlanParentRegistry() - no team agent, VlanFiltering is left as it is");
        return true;
    }
    // The question is about an adapter: of a team each member is asked about.
    const CRavString& adapter = m_iParentType == RAV_PARENT_TEAM ? m_strParentAdapterId : m_strParentKey;
    const bool byTeam = m_pTeamAgentPvt->IsVlanFilteringDoneByTeam(adapter);
    return WriteTextParameter(key, XmsValue::VlanFiltering, byTeam ? L"0" : L"1");
}

// Virtual machine queues and the intermediate driver's VLANs exclude each other. Failures are traced and ignored.
void CRavXmsVlan::DisableVMQ(const CRavString& strAdapter)
{
    const CRavTraceScope trace(L"CRavXmsVlan::DisableVMQ");
    RavTrace().Print(L"Entering CRavXmsVlan::DisableVMQ device %s", strAdapter.c_str());
    CRavCoreAgentPvtIntf* const core = GetCoreInterface();
    if (strAdapter.IsEmpty())
        RavTrace().Print(L"CRavXmsVlan::DisableVMQ empty adapter string");
    else if (core == nullptr)
        RavTrace().Print(L"CRavXmsVlan::DisableVMQ pCoreAgentPvt is NULL");
    else
    {
        // The VLAN is created even if the queues cannot be switched off.
        try
        {
            SwitchVmqOff(*core, strAdapter);
        }
        catch (...)
        {
            RavTrace().Error(SOURCE_FILE, __LINE__, L"CRavXmsVlan::DisableVMQ - Exception caught");
        }
    }
    RavTrace().Print(L"Exiting CRavXmsVlan::DisableVMQ");
}

void CRavXmsVlan::SetParentAdapterNA(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SetParentAdapterNA", &status);
    CRavString path;
    CRavRegKey key;
    if (!GetParentLogicalGrpIdFromGuid(m_strParentKey, path) || !key.Open(HKEY_LOCAL_MACHINE, path, true))
    {
        RavTrace().Print(L"CRavXmsVlan::SetParentAdapterNA, Open reg key failed");
        return;
    }
    if (!key.SetValue(RavName(RAV_NAME_NETWORK_ADDRESS), m_strNetworkAddress, false))
    {
        RavTrace().Print(L"CRavXmsVlan::SetParentAdapterNA, SetValue failed");
        return;
    }
    status = 0;
}

// The path of the instance key, whose last four digits are the instance number.
bool CRavXmsVlan::GetParentLogicalGrpIdFromGuid(const CRavString& strGuid, CRavString& strInstancePath)
{
    if (strGuid == m_strParentKey && ParentAdapter() != nullptr)
    {
        strInstancePath = ParentAdapter()->GetInstancePath();
        return true;
    }
    CRavAdapter adapter(strGuid);
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg == nullptr || !adapter.Initialize(*netCfg).Succeeded())
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: GetParentLogicalGrpIdFromGuid failed for %s.",
                         strGuid.c_str());
        return false;
    }
    strInstancePath = adapter.GetInstancePath();
    return true;
}

// --- the driver's entry for the adapter -----------------------------------------------------------------------------

void CRavXmsVlan::GenNewLogicalGroupId(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::GenNewLogicalGroupId", &status);
    CRavRegKey adapters;
    m_dwLogicalGroupId = 0;
    if (!adapters.Open(HKEY_LOCAL_MACHINE, RavName(RAV_NAME_DRIVER_ADAPTERS_KEY), false))
    {
        if (adapters.LastResult() != ERROR_FILE_NOT_FOUND)
            return CannotTellGroups(adapters.LastResult());
        status = 0; // no adapter has ever been a parent
        return;
    }
    CRavString name;
    DWORD next = 0; // 0 again after the largest number there is
    DWORD largest = 0;
    while (adapters.EnumSubKey(name))
    {
        CRavRegKey adapter;
        DWORD group = 0;
        if (adapter.Open(adapters.GetHKey(), name, false) &&
            adapter.GetValue(RavName(RAV_NAME_LOGICAL_GROUP_ID), group))
        {
            largest = std::max(largest, group);
            next = largest + 1;
        }
        else if (!RavIsNoNumber(adapter.LastResult()))
            RavTrace().Print(L"LogicalGroupID of %s cannot be read. err= %d", name.c_str(), adapter.LastResult());
    }
    if (adapters.LastResult() != ERROR_NO_MORE_ITEMS)
        return CannotTellGroups(adapters.LastResult());
    m_dwLogicalGroupId = next;
    status = 0;
}

void CRavXmsVlan::TakeParentLogicalGroupId(int& status)
{
    CRavRegKey key;
    status = key.Open(HKEY_LOCAL_MACHINE, RavDriverEntryPath(m_strParentKey), false) &&
                     key.GetValue(RavName(RAV_NAME_LOGICAL_GROUP_ID), m_dwLogicalGroupId)
                 ? 0
                 : -1;
}

void CRavXmsVlan::SaveParentAdptrToReg(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SaveParentAdptrToReg", &status);
    RavTrace().Print(L"Entering CRavXmsVlan::SaveParentAdptrToReg");
    const bool team = m_iParentType == RAV_PARENT_TEAM;
    const CRavString adapter = team ? m_strParentAdapterId : m_strParentKey;
    const CRavString path = RavDriverEntryPath(adapter);
    {
        CRavRegKey key;
        if (!OpenDriverEntry(key, path, adapter) || !WriteDriverEntry(key, adapter) || !AddToBindingList(key))
            return;
    }
    int step = 0;
    if (!IsUntagged())
        SetVlanIdAsMultiStrInAdptrOOOKi(adapter, step);
    if (step == 0)
        SetParamsForAdptrOOOKey(step);
    if (step != 0)
        return;
    CRavRegKey key;
    if (!key.Open(HKEY_LOCAL_MACHINE, path, true))
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Open failed. path: %s", path.c_str());
        return;
    }
    TaggingModeSpy(*this).SetTaggingModeDisguise(status, key, team ? adapter : CRavString());
    if (status != 0)
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: SetTaggingModeDisguise failed.");
}

bool CRavXmsVlan::OpenDriverEntry(CRavRegKey& key, const CRavString& strPath, const CRavString& strAdapter)
{
    if (key.Open(HKEY_LOCAL_MACHINE, strPath, true))
    {
        // All members of a team have these alike: the first one's are taken.
        if (m_iParentType == RAV_PARENT_TEAM && (m_members.empty() || strAdapter == m_members.front()))
        {
            key.GetValue(RavName(RAV_NAME_LOGICAL_GROUP_ID), m_dwLogicalGroupId);
            key.GetValue(RavName(RAV_NAME_TOTAL_PHYSICAL_ADAPTERS), m_dwTotalPhysicalAdapters);
        }
        return true;
    }
    if (key.LastResult() == ERROR_FILE_NOT_FOUND && key.Create(HKEY_LOCAL_MACHINE, strPath, true, false))
        return IsOnTeamMember() || MoveDhcp(strAdapter); // of a member that joins it has been moved
    RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: Open failed. path: %s err= %d", strPath.c_str(), key.LastResult());
    return false;
}

// A parent has no IP address of its own any more, its VLANs have. Its DHCP flag moves to the driver's configuration
// key, from where the removal of its last VLAN moves it back.
bool CRavXmsVlan::MoveDhcp(const CRavString& strAdapter)
{
    const auto failed = [](const wchar_t* step, LONG status) {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: EnableDHCP cannot be %s. err= %d", step, status);
        return false;
    };
    const CRavString name = RavName(RAV_NAME_ENABLE_DHCP);
    CRavRegKey tcpip;
    DWORD dhcp = 0;
    bool known = false;
    if (tcpip.Open(HKEY_LOCAL_MACHINE, RavName(RAV_NAME_TCPIP_INTERFACES_KEY) + strAdapter, true))
    {
        known = tcpip.GetValue(name, dhcp);
        if (!known && !RavIsNoNumber(tcpip.LastResult()))
            return failed(L"read", tcpip.LastResult());
        if (!tcpip.SetValue(name, DWORD{0}))
            return failed(L"switched off", tcpip.LastResult());
    }
    else if (tcpip.LastResult() != ERROR_FILE_NOT_FOUND) // an adapter without TCP/IP has no flag
        return failed(L"read", tcpip.LastResult());
    CRavRegKey configuration;
    if (configuration.Create(HKEY_LOCAL_MACHINE, RavName(RAV_NAME_DRIVER_CONFIGURATION_KEY) + strAdapter, true,
                             false) &&
        (!known || configuration.SetValue(name, dhcp)))
        return true;
    return failed(L"kept", configuration.LastResult());
}

bool CRavXmsVlan::WriteDriverEntry(CRavRegKey& key, const CRavString& strAdapter)
{
    const bool team = m_iParentType == RAV_PARENT_TEAM;
    DWORD written = 0;
    // The entry of a team's member was made with the team; one that is missing, or was not finished, is made here.
    if (team ? key.GetValue(RavName(RAV_NAME_TOTAL_PHYSICAL_ADAPTERS), written) : !m_bFirstVlan)
        return true;
    CRavString instancePath;
    CRavString name;
    CRavNetCfgComponent component(strAdapter);
    if (!GetParentLogicalGrpIdFromGuid(strAdapter, instancePath) ||
        component.GetDescription(*GetNetCfgInterface(), name) != 0)
    {
        RavTrace().Error(SOURCE_FILE, __LINE__, L"ERROR: the adapter %s cannot be found.", strAdapter.c_str());
        return false;
    }
    const wchar_t* const number = wcsrchr(instancePath, L'\\');
    if (number == nullptr)
        return false;
    return Told(key, CRavValueWriter(key)
                         .Number(RavName(RAV_NAME_LOGICAL_GROUP_ID), m_dwLogicalGroupId)
                         .Number(RavName(RAV_NAME_PHYSICAL_ADAPTER_ID), static_cast<DWORD>(_wtoi(number + 1)))
                         .Text(RavName(RAV_NAME_ADAPTER_NAME), name)
                         .Number(RavName(RAV_NAME_TOTAL_PHYSICAL_ADAPTERS), team ? m_dwTotalPhysicalAdapters : 1));
}

bool CRavXmsVlan::AddToBindingList(CRavRegKey& key)
{
    const CRavString name = RavName(RAV_NAME_BINDING_LIST);
    const CRavString device = RavName(RAV_NAME_DEVICE) + m_strVlanNetCfgInstanceId;
    std::vector<CRavString> bindings;
    if (!m_bFirstVlan && !RavReadList(key, name, bindings))
    {
        RavTrace().Print(L"CRavXmsVlan::SaveParentAdptrToReg, GetVlaue for MULTI_SZ fails. Extng");
        return false;
    }
    // The team's own miniport, by which members are known, stays in front of its VLANs.
    if (m_bFirstVlan && m_iParentType == RAV_PARENT_TEAM)
        bindings.push_back(RavDeviceOf(m_strParentKey));
    std::erase(bindings, device); // a member may get a VLAN again behind a failure
    bindings.push_back(device);
    if (!key.SetValue(name, bindings))
    {
        RavTrace().Print(L"CRavXmsVlan::SaveParentAdptrToReg, SetVlaue for MULTI_SZ fails. Extng");
        return false;
    }
    return Told(key,
                CRavValueWriter(key).Number(RavName(RAV_NAME_BINDING_LIST_COUNT), static_cast<DWORD>(bindings.size())));
}

// --- the VLAN's own key ---------------------------------------------------------------------------------------------

void CRavXmsVlan::SaveVlanParamsToReg(int& status)
{
    status = -1;
    const CRavTraceScope trace(L"CRavXmsVlan::SaveVlanParamsToReg", &status);
    m_services.VlanWritten(m_strVlanKey); // also when it stops half-way
    if (!OpenThisMiniportRegKey() || !SaveTeamParams() || !SaveOwnParams())
        return;
    if (m_iParentType == RAV_PARENT_ADAPTER)
        RegDeleteKeyW(m_ownKey.GetHKey(), RavName(RAV_NAME_SUPPORTED_FEATURES)); // an older format had a subkey here
    CreateVlanAdvancedSettings();
    status = 0;
}

bool CRavXmsVlan::SaveTeamParams()
{
    if (m_iParentType != RAV_PARENT_TEAM)
        return true;
    DWORD mode = 0;
    CRavNetCfgInterface* const netCfg = GetNetCfgInterface();
    if (netCfg == nullptr || FAILED(netCfg->GetTeamMode(m_strParentKey, mode)))
    {
        RavTrace().Print(L"CRavXmsVlan::SaveVlanParamsToReg, GetTeamMode fails. Exiting");
        RemoveVirtualMiniport();
        return false;
    }
    return Told(m_ownKey, CRavValueWriter(m_ownKey)
                              .Number(RavName(RAV_NAME_TEAM_MODE), mode >= 1 && mode <= MAX_TEAM_MODE ? mode : 0)
                              .Number(RavName(RAV_NAME_TOTAL_PHYSICAL_ADAPTERS), m_dwTotalPhysicalAdapters));
}

bool CRavXmsVlan::SaveOwnParams()
{
    CRavValueWriter writer(m_ownKey);
    // The untagged VLAN gets no id value: the driver treats every VLAN that has one as tagged.
    if (!IsUntagged())
        writer.Number(RavName(RAV_NAME_VLAN_ID), static_cast<DWORD>(m_iVlanId));
    writer.Number(RavName(RAV_NAME_LOGICAL_GROUP_ID), m_dwLogicalGroupId)
        .Text(RavName(RAV_NAME_XMS_MINIPORT_KEY), m_strVlanNetCfgInstanceId)
        .Text(RavName(RAV_NAME_VLAN_PARENT_KEY), m_strParentKey)
        .Number(RavName(RAV_NAME_VLAN_TYPE), m_dwVlanType)
        .Text(RavName(RAV_NAME_NETWORK_ADDRESS), m_strNetworkAddress)
        .Number(RavName(RAV_NAME_SUPPORTED_FEATURES),
                m_iParentType == RAV_PARENT_TEAM ? FEATURE_VLAN | FEATURE_OVER_TEAM : FEATURE_VLAN)
        .Text(RavName(RAV_NAME_VLAN_NAME), m_strVlanName)
        .Text(RavName(RAV_NAME_VLAN_DISPLAY_NAME), m_strVlanDisplayName);
    return Told(m_ownKey, writer);
}
