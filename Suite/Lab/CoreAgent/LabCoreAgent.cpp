// Adapters, settings and capabilities.

#include "Suite/Lab/CoreAgent/LabCoreAgent.h"

#include "Common/Library/RavMiniportReg.h"
#include "Common/Settings/RavAdvancedSettingNames.h"
#include "Common/Src/RavRegKey.h"
#include "Common/Settings/RavSetting.h"
#include "Common/Src/NetworkNames.h"
#include "Common/Src/XmsNames.h"
#include "Src/RavVlanAgentPvtIntf.h"
#include "Suite/Lab/State/LabNames.h"
#include "Suite/Lab/State/LabState.h"

#include <algorithm>

namespace
{
constexpr wchar_t VLAN_AGENT[] = L"VLAN_AGENT"; // the name under which it registers

CResult NotFound()
{
    return CResult(ERROR_FILE_NOT_FOUND);
}

bool Flag(const CRavString& adapter, const wchar_t* name)
{
    return LabNumber(LabPath(LAB_ADAPTERS, adapter), name, 0) != 0;
}

bool IsAdapter(const CRavString& adapter)
{
    return LabHasKey(LabPath(LAB_ADAPTERS, adapter));
}

enum class Access
{
    Read,
    Write
};

bool OpenInstance(const CRavString& adapter, CRavRegKey& key, Access access)
{
    const CRavString path = LabInstancePath(adapter);
    return !path.IsEmpty() && key.Open(HKEY_LOCAL_MACHINE, path, access == Access::Write);
}

bool IsInBindings(const wchar_t* service, const CRavString& adapter)
{
    CRavRegKey linkage;
    return linkage.Open(HKEY_LOCAL_MACHINE, LabPath(SERVICES_KEY, service) + L"\\Linkage", false) &&
           linkage.IsValueInMultiString(L"Bind", CRavString(DEVICE_PREFIX) + adapter);
}

bool IsVmqOn(const CRavString& adapter)
{
    return LabText(LabInstancePath(adapter), VMQ) == L"1";
}
} // namespace

CResult CLabCoreAgent::GetParameter(const CRavString& strAdapter, RAV_PARAMETER& parameter)
{
    CRavRegKey key;
    if (!OpenInstance(strAdapter, key, Access::Read))
        return NotFound();
    parameter.dwType = key.GetRegType(parameter.strName);
    const bool done = parameter.dwType == REG_SZ         ? key.GetValue(parameter.strName, parameter.strValue)
                      : parameter.dwType == REG_DWORD    ? key.GetValue(parameter.strName, parameter.dwValue)
                      : parameter.dwType == REG_MULTI_SZ ? key.GetValue(parameter.strName, parameter.values)
                                                         : false;
    return done ? CResult::Success() : NotFound();
}

CResult CLabCoreAgent::SetParameter(const CRavString& strAdapter, const RAV_PARAMETER& parameter)
{
    CRavRegKey key;
    if (!OpenInstance(strAdapter, key, Access::Write))
        return NotFound();
    const bool done = parameter.dwType == REG_SZ         ? key.SetValue(parameter.strName, parameter.strValue, false)
                      : parameter.dwType == REG_DWORD    ? key.SetValue(parameter.strName, parameter.dwValue)
                      : parameter.dwType == REG_MULTI_SZ ? key.SetValue(parameter.strName, parameter.values)
                                                         : false;
    return done ? CResult::Success() : CResult(ERROR_INVALID_PARAMETER);
}

CResult CLabCoreAgent::DeleteParameter(const CRavString& strAdapter, const CRavString& strName)
{
    CRavRegKey key;
    return OpenInstance(strAdapter, key, Access::Write) && key.DeleteValue(strName) ? CResult::Success() : NotFound();
}

CResult CLabCoreAgent::GetDisplayName(const CRavString& strAdapter, CRavString& strName)
{
    if (!IsAdapter(strAdapter))
        return NotFound();
    strName = LabDisplayName(strAdapter);
    return CResult::Success();
}

CResult CLabCoreAgent::GetPermMacAddress(const CRavString& strAdapter, CRavString& strAddress)
{
    const std::vector<CRavString> members = LabList(LabPath(LAB_TEAMS, strAdapter), L"Members");
    // A team has that of its first member.
    strAddress = LabText(LabPath(LAB_ADAPTERS, members.empty() ? strAdapter : members.front()), L"PermanentMac");
    return strAddress.IsEmpty() ? NotFound() : CResult::Success();
}

CResult CLabCoreAgent::IsBoundToXMS(const CRavString& strAdapter, bool& bBound)
{
    bBound = IsInBindings(XMS_SERVICE, strAdapter);
    return IsAdapter(strAdapter) ? CResult::Success() : NotFound();
}

CResult CLabCoreAgent::IsBoundToTeam(const CRavString& strAdapter, bool& bBound)
{
    bBound = !LabTeamOf(strAdapter).IsEmpty();
    return IsAdapter(strAdapter) ? CResult::Success() : NotFound();
}

CResult CLabCoreAgent::EnumerateAdapters(std::vector<CRavString>& adapters)
{
    adapters = LabList(LAB_KEY, LAB_ADAPTER_ORDER);
    return LabHasKey(LAB_KEY) ? CResult::Success() : NotFound();
}

CResult CLabCoreAgent::GetAdaptersInTeam(const CRavString& strTeam, std::vector<CRavString>& adapters)
{
    adapters = LabList(LabPath(LAB_TEAMS, strTeam), L"Members");
    return LabHasKey(LabPath(LAB_TEAMS, strTeam)) ? CResult::Success() : NotFound();
}

CResult CLabCoreAgent::GetSetting(const CRavString& strAdapter, const CRavString& strName, RAV_SETTING** ppSetting)
{
    *ppSetting = nullptr;
    const CRavString path = LabInstancePath(strAdapter);
    if (path.IsEmpty())
        return NotFound();
    std::unique_ptr<RAV_SETTING> setting;
    const CResult result = CRavMiniportReg(path).GetSetting(strName, setting);
    *ppSetting = setting.release();
    return result;
}

CResult CLabCoreAgent::SetSetting(const CRavString& strAdapter, const CRavString& strName,
                                  const RAV_SETTING_VAL* pValue)
{
    const CRavString path = LabInstancePath(strAdapter);
    if (path.IsEmpty() || pValue == nullptr)
        return NotFound();
    CResult result = CRavMiniportReg(path).SetSetting(strName, *pValue);
    const bool isJumbo = strName.CompareI(UsingStandardKeywords(strAdapter) ? JUMBO_PACKET : OLD_JUMBO_PACKET);
    if (result.Succeeded() && isJumbo && IsAdapter(strAdapter))
        result = FollowJumboSize(strAdapter);
    return result;
}

// The adapter starts anew with its size, and the VLANs above it follow.
CResult CLabCoreAgent::FollowJumboSize(const CRavString& adapter)
{
    QueueReload(adapter, false);
    CRavNetAgentPvt* agent = nullptr;
    {
        const std::lock_guard guard(m_lock);
        const auto found = m_agents.find(VLAN_AGENT);
        agent = found != m_agents.end() ? found->second : nullptr;
    }
    if (agent == nullptr)
        return CResult::Success();
    CResult result;
    const CRavString team = LabTeamOf(adapter);
    static_cast<CRavVlanAgentPvtIntf*>(agent)->SyncJumboFramesOnAllVlans(result, team.IsEmpty() ? adapter : team);
    return result;
}

CResult CLabCoreAgent::GetJumboFramesSettingForAdapter(const CRavString& strAdapter, RAV_SETTING** ppSetting)
{
    const CResult result =
        GetSetting(strAdapter, UsingStandardKeywords(strAdapter) ? JUMBO_PACKET : OLD_JUMBO_PACKET, ppSetting);
    // That the adapter has no such setting is an answer, not a failure.
    return result.ulErrCode == ERROR_FILE_NOT_FOUND && IsAdapter(strAdapter) ? CResult::Success() : result;
}

bool CLabCoreAgent::UsingStandardKeywords(const CRavString& strAdapter)
{
    return LabNumber(LabPath(LAB_ADAPTERS, strAdapter), L"StandardKeywords", 1) != 0;
}

CResult CLabCoreAgent::IsAdapterLoaded(const CRavString& strAdapter, bool& bLoaded)
{
    bLoaded = LabNumber(LabPath(LAB_DEVICES, strAdapter), L"Problem", 0) == 0;
    return IsAdapter(strAdapter) ? CResult::Success() : NotFound();
}

bool CLabCoreAgent::IsDriverLoadedCheck(const CRavString& strAdapter)
{
    bool loaded = false;
    return IsAdapterLoaded(strAdapter, loaded).Succeeded() && loaded;
}

bool CLabCoreAgent::IsRuleTrue(const CRavString& strAdapter, const CRavString& strRule)
{
    return strRule == L"IsXmsSupported" && Flag(strAdapter, L"XmsRule");
}

CResult CLabCoreAgent::IsHyperV_EnabledOnDevice(const CRavString& strAdapter, bool& bEnabled)
{
    bEnabled = IsInBindings(L"VMSP", strAdapter);
    return CResult::Success();
}

CResult CLabCoreAgent::IsDeviceVmqCapable(const CRavString& strAdapter, bool& bCapable)
{
    bCapable = Flag(strAdapter, L"Vmq");
    return IsAdapter(strAdapter) ? CResult::Success() : NotFound();
}

CResult CLabCoreAgent::IsDeviceVmqEnabled(const CRavString& strAdapter, bool& bEnabled)
{
    bEnabled = Flag(strAdapter, L"Vmq") && IsVmqOn(strAdapter);
    return IsAdapter(strAdapter) ? CResult::Success() : NotFound();
}

CResult CLabCoreAgent::GetReceiveScaleCapabilitiesFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags)
{
    dwFlags = LabNumber(LabPath(LAB_ADAPTERS, strAdapter), L"RssFlag", 0);
    return IsAdapter(strAdapter) ? CResult::Success() : NotFound();
}

bool CLabCoreAgent::IsDeviceCorvo(const CRavString& strAdapter)
{
    return Flag(strAdapter, L"Corvo");
}

bool CLabCoreAgent::IsDriverSupportingVORN(const CRavString& strAdapter)
{
    return Flag(strAdapter, L"Vorn");
}

// A team can do no more than each of its members.
bool CLabCoreAgent::IsVirtualDevice(const CRavString& strAdapter)
{
    const std::vector<CRavString> members = LabList(LabPath(LAB_TEAMS, strAdapter), L"Members");
    return Flag(strAdapter, L"VirtualDevice") ||
           std::any_of(members.begin(), members.end(),
                       [](const CRavString& member) { return Flag(member, L"VirtualDevice"); });
}

bool CLabCoreAgent::IsVlansSupportedOnPort(const CRavString& strAdapter)
{
    return Flag(strAdapter, L"VlansOnPort");
}
