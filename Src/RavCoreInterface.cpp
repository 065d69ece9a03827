#include "Src/RavCoreInterface.h"

#include "Common/Src/RavDebug.h"

#include <type_traits>

namespace
{
// One call through the proxy: traced under the operation's name, with the code for a CResult.
template <typename Call>
auto Forward(const wchar_t* name, CRavCoreAgentPvtIntf* core, Call&& call)
{
    using Result = std::invoke_result_t<Call, CRavCoreAgentPvtIntf&>;
    Result result{};
    const CResult* code = nullptr;
    if constexpr (std::is_same_v<Result, CResult>)
        code = &result;
    const CRavTraceScope trace(name, code);
    if (core != nullptr)
        result = call(*core);
    return result;
}
} // namespace

#define RAV_FORWARD(operation, ...)                                                                                    \
    return Forward(L"CRavCoreInterface::" #operation, m_pCoreAgentPvt,                                                 \
                   [&](CRavCoreAgentPvtIntf& core) { return core.operation(__VA_OPT__(__VA_ARGS__)); })

CRavCoreInterface::CRavCoreInterface(CRavCoreAgentPvtIntf* pCoreAgentPvt) : m_pCoreAgentPvt(pCoreAgentPvt)
{
    RavTrace().Print(L"CRavCoreInterface::CRavCoreInterface");
}

CResult CRavCoreInterface::GetParameter(const CRavString& strAdapter, RAV_PARAMETER& parameter)
{
    RAV_FORWARD(GetParameter, strAdapter, parameter);
}

CResult CRavCoreInterface::SetParameter(const CRavString& strAdapter, const RAV_PARAMETER& parameter)
{
    RAV_FORWARD(SetParameter, strAdapter, parameter);
}

CResult CRavCoreInterface::DeleteParameter(const CRavString& strAdapter, const CRavString& strName)
{
    RAV_FORWARD(DeleteParameter, strAdapter, strName);
}

CResult CRavCoreInterface::UnloadMiniport(const CRavString& strAdapter, bool& bReboot)
{
    RAV_FORWARD(UnloadMiniport, strAdapter, bReboot);
}

CResult CRavCoreInterface::UnloadMiniportDuringApplyDone(const CRavString& strAdapter)
{
    RAV_FORWARD(UnloadMiniportDuringApplyDone, strAdapter);
}

CResult CRavCoreInterface::RegisterAgent(const CRavString& strName, CRavNetAgentPvt* pAgent)
{
    RAV_FORWARD(RegisterAgent, strName, pAgent);
}

CResult CRavCoreInterface::GetPCISlotInfo(const CRavString& strAdapter, RAV_PCI_SLOT_INFO** ppInfo)
{
    RAV_FORWARD(GetPCISlotInfo, strAdapter, ppInfo);
}

CResult CRavCoreInterface::SetTeamMemberName(const CRavString& strAdapter, const CRavString& strTeamName)
{
    RAV_FORWARD(SetTeamMemberName, strAdapter, strTeamName);
}

CResult CRavCoreInterface::GetDisplayName(const CRavString& strAdapter, CRavString& strName)
{
    RAV_FORWARD(GetDisplayName, strAdapter, strName);
}

CResult CRavCoreInterface::VerifyClientID(const RAV_CLIENT_ID& client)
{
    RAV_FORWARD(VerifyClientID, client);
}

bool CRavCoreInterface::WaitForApplyDone(const RAV_CLIENT_ID& client)
{
    RAV_FORWARD(WaitForApplyDone, client);
}

CResult CRavCoreInterface::GetPermMacAddress(const CRavString& strAdapter, CRavString& strAddress)
{
    RAV_FORWARD(GetPermMacAddress, strAdapter, strAddress);
}

CResult CRavCoreInterface::IsBoundToXMS(const CRavString& strAdapter, bool& bBound)
{
    RAV_FORWARD(IsBoundToXMS, strAdapter, bBound);
}

CResult CRavCoreInterface::IsBoundToTeam(const CRavString& strAdapter, bool& bBound)
{
    RAV_FORWARD(IsBoundToTeam, strAdapter, bBound);
}

CResult CRavCoreInterface::AdapterHasLink(const CRavString& strAdapter, bool& bLink)
{
    RAV_FORWARD(AdapterHasLink, strAdapter, bLink);
}

CResult CRavCoreInterface::SendOID(const CRavString& strAdapter, RAV_OID_REQUEST& request)
{
    RAV_FORWARD(SendOID, strAdapter, request);
}

CResult CRavCoreInterface::GetAdapterType(const CRavString& strAdapter, DWORD& dwType)
{
    RAV_FORWARD(GetAdapterType, strAdapter, dwType);
}

CResult CRavCoreInterface::EnumerateAdapters(std::vector<CRavString>& adapters)
{
    RAV_FORWARD(EnumerateAdapters, adapters);
}

CResult CRavCoreInterface::GetAdapterHardware(const CRavString& strAdapter, RAV_ADAPTER_HARDWARE** ppHardware)
{
    RAV_FORWARD(GetAdapterHardware, strAdapter, ppHardware);
}

CResult CRavCoreInterface::GetAdapterAdvCapabilities(const CRavString& strAdapter, RAV_ADAPTER_CAPABILITIES** ppCaps)
{
    RAV_FORWARD(GetAdapterAdvCapabilities, strAdapter, ppCaps);
}

CResult CRavCoreInterface::GetAdapter(const CRavString& strAdapter, RAV_ADAPTER** ppAdapter)
{
    RAV_FORWARD(GetAdapter, strAdapter, ppAdapter);
}

CResult CRavCoreInterface::GetAdapter(const CRavString& strAdapter, RAV_ADAPTER** ppAdapter, bool bRefresh)
{
    RAV_FORWARD(GetAdapter, strAdapter, ppAdapter, bRefresh);
}

CResult CRavCoreInterface::GetAdapterStatus(const CRavString& strAdapter, DWORD& dwStatus)
{
    RAV_FORWARD(GetAdapterStatus, strAdapter, dwStatus);
}

CResult CRavCoreInterface::GetAdapterStatus(const CRavString& strAdapter, DWORD& dwStatus, bool bRefresh)
{
    RAV_FORWARD(GetAdapterStatus, strAdapter, dwStatus, bRefresh);
}

CResult CRavCoreInterface::GetAdapterInternalCaps(const CRavString& strAdapter, DWORD& dwCapabilities)
{
    RAV_FORWARD(GetAdapterInternalCaps, strAdapter, dwCapabilities);
}

CResult CRavCoreInterface::GetAdaptersInTeam(const CRavString& strTeam, std::vector<CRavString>& adapters)
{
    RAV_FORWARD(GetAdaptersInTeam, strTeam, adapters);
}

CResult CRavCoreInterface::GetSetting(const CRavString& strAdapter, const CRavString& strName, RAV_SETTING** ppSetting)
{
    RAV_FORWARD(GetSetting, strAdapter, strName, ppSetting);
}

CResult CRavCoreInterface::SetSetting(const CRavString& strAdapter, const CRavString& strName,
                                      const RAV_SETTING_VAL* pValue)
{
    RAV_FORWARD(SetSetting, strAdapter, strName, pValue);
}

bool CRavCoreInterface::IsTeamMemberAdapterPhantom(const CRavString& strAdapter)
{
    RAV_FORWARD(IsTeamMemberAdapterPhantom, strAdapter);
}

CResult CRavCoreInterface::UpdateERTSettting(const CRavString& strAdapter)
{
    RAV_FORWARD(UpdateERTSettting, strAdapter);
}

CResult CRavCoreInterface::StartLock(const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token)
{
    RAV_FORWARD(StartLock, request, token);
}

CResult CRavCoreInterface::DoneLock(const RAV_LOCK_TOKEN& token)
{
    RAV_FORWARD(DoneLock, token);
}

bool CRavCoreInterface::IsSNPInstalled()
{
    RAV_FORWARD(IsSNPInstalled);
}

bool CRavCoreInterface::IsEITEnabledAdapter(const CRavString& strAdapter)
{
    RAV_FORWARD(IsEITEnabledAdapter, strAdapter);
}

DWORD CRavCoreInterface::GetNDISVersion(const CRavString& strAdapter)
{
    RAV_FORWARD(GetNDISVersion, strAdapter);
}

DWORD CRavCoreInterface::GetNdisVersionFromCorvoOid(const CRavString& strAdapter)
{
    RAV_FORWARD(GetNdisVersionFromCorvoOid, strAdapter);
}

CResult CRavCoreInterface::CheckForAndUnBindFromMacSec(const CRavString& strAdapter)
{
    RAV_FORWARD(CheckForAndUnBindFromMacSec, strAdapter);
}

bool CRavCoreInterface::IsiSCSIEnabled(const CRavString& strAdapter)
{
    RAV_FORWARD(IsiSCSIEnabled, strAdapter);
}

CResult CRavCoreInterface::IsiSCSIEnabled(const CRavString& strAdapter, bool& bEnabled)
{
    RAV_FORWARD(IsiSCSIEnabled, strAdapter, bEnabled);
}

bool CRavCoreInterface::UsingStandardKeywords(const CRavString& strAdapter)
{
    RAV_FORWARD(UsingStandardKeywords, strAdapter);
}

bool CRavCoreInterface::IsSystemiSCSISupported()
{
    RAV_FORWARD(IsSystemiSCSISupported);
}

CResult CRavCoreInterface::GetPCIDeviceInfo(const CRavString& strAdapter, RAV_PCI_DEVICE_INFO** ppInfo)
{
    RAV_FORWARD(GetPCIDeviceInfo, strAdapter, ppInfo);
}

bool CRavCoreInterface::IsLOM(const CRavString& strAdapter)
{
    RAV_FORWARD(IsLOM, strAdapter);
}

bool CRavCoreInterface::IsKalvane(const CRavString& strAdapter)
{
    RAV_FORWARD(IsKalvane, strAdapter);
}

bool CRavCoreInterface::IsDeviceiSCSICapable(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceiSCSICapable, strAdapter);
}

bool CRavCoreInterface::CheckIf3rdPartySettingExists(const CRavString& strAdapter, const CRavString& strName)
{
    RAV_FORWARD(CheckIf3rdPartySettingExists, strAdapter, strName);
}

bool CRavCoreInterface::IsDevicePCIExpress(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDevicePCIExpress, strAdapter);
}

CResult CRavCoreInterface::GetHX_AdapterNode(const CRavString& strAdapter, RAV_ADAPTER_NODE** ppNode)
{
    RAV_FORWARD(GetHX_AdapterNode, strAdapter, ppNode);
}

CResult CRavCoreInterface::ReleaseHX_AdapterNode(RAV_ADAPTER_NODE* pNode)
{
    RAV_FORWARD(ReleaseHX_AdapterNode, pNode);
}

CResult CRavCoreInterface::IsAdapterLoaded(const CRavString& strAdapter, bool& bLoaded)
{
    RAV_FORWARD(IsAdapterLoaded, strAdapter, bLoaded);
}

bool CRavCoreInterface::DoesMAC_HaveTwoFunctions(const CRavString& strAdapter)
{
    RAV_FORWARD(DoesMAC_HaveTwoFunctions, strAdapter);
}

bool CRavCoreInterface::IsPemra(const CRavString& strAdapter)
{
    RAV_FORWARD(IsPemra, strAdapter);
}

bool CRavCoreInterface::IsDrosset(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDrosset, strAdapter);
}

bool CRavCoreInterface::IsRuleTrue(const CRavString& strAdapter, const CRavString& strRule)
{
    RAV_FORWARD(IsRuleTrue, strAdapter, strRule);
}

bool CRavCoreInterface::HasCapability(const CRavString& strAdapter, DWORD dwCapability)
{
    RAV_FORWARD(HasCapability, strAdapter, dwCapability);
}

CResult CRavCoreInterface::HasCapability(const CRavString& strAdapter, DWORD dwCapability, bool& bHas)
{
    RAV_FORWARD(HasCapability, strAdapter, dwCapability, bHas);
}

CResult CRavCoreInterface::IsHyperV_EnabledOnDevice(const CRavString& strAdapter, bool& bEnabled)
{
    RAV_FORWARD(IsHyperV_EnabledOnDevice, strAdapter, bEnabled);
}

CResult CRavCoreInterface::IsDeviceVmqCapable(const CRavString& strAdapter, bool& bCapable)
{
    RAV_FORWARD(IsDeviceVmqCapable, strAdapter, bCapable);
}

CResult CRavCoreInterface::IsDeviceVmqEnabled(const CRavString& strAdapter, bool& bEnabled)
{
    RAV_FORWARD(IsDeviceVmqEnabled, strAdapter, bEnabled);
}

CResult CRavCoreInterface::GetDeviceGuidsOfOtherFunctions(const CRavString& strAdapter, std::vector<CRavString>& guids)
{
    RAV_FORWARD(GetDeviceGuidsOfOtherFunctions, strAdapter, guids);
}

CResult CRavCoreInterface::GetReceiveScaleCapabilitiesFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags)
{
    RAV_FORWARD(GetReceiveScaleCapabilitiesFlagForAdapter, strAdapter, dwFlags);
}

CResult CRavCoreInterface::GetReceiveScaleCapabilitiesReceiveQueuesForAdapter(const CRavString& strAdapter,
                                                                              DWORD& dwQueues)
{
    RAV_FORWARD(GetReceiveScaleCapabilitiesReceiveQueuesForAdapter, strAdapter, dwQueues);
}

CResult CRavCoreInterface::GetReceiveScaleParametersFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags)
{
    RAV_FORWARD(GetReceiveScaleParametersFlagForAdapter, strAdapter, dwFlags);
}

CResult CRavCoreInterface::GetReceiveScaleHashFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags)
{
    RAV_FORWARD(GetReceiveScaleHashFlagForAdapter, strAdapter, dwFlags);
}

bool CRavCoreInterface::IsDeviceDcbCapable(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceDcbCapable, strAdapter);
}

bool CRavCoreInterface::IsDeviceCorvoDcbCapable(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceCorvoDcbCapable, strAdapter);
}

bool CRavCoreInterface::IsDeviceDcbEnabled(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceDcbEnabled, strAdapter);
}

bool CRavCoreInterface::IsSystemAndDeviceDcbCapable(const CRavString& strAdapter)
{
    RAV_FORWARD(IsSystemAndDeviceDcbCapable, strAdapter);
}

bool CRavCoreInterface::IsDeviceFcoeCapable(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceFcoeCapable, strAdapter);
}

bool CRavCoreInterface::IsDeviceFcoeEnabled(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceFcoeEnabled, strAdapter);
}

bool CRavCoreInterface::IsSystemFcoeCapable()
{
    RAV_FORWARD(IsSystemFcoeCapable);
}

CResult CRavCoreInterface::GetHbaTargets(const CRavString& strAdapter, std::vector<RAV_HBA_TARGET*>& targets)
{
    RAV_FORWARD(GetHbaTargets, strAdapter, targets);
}

CResult CRavCoreInterface::GetJumboFramesSettingForAdapter(const CRavString& strAdapter, RAV_SETTING** ppSetting)
{
    RAV_FORWARD(GetJumboFramesSettingForAdapter, strAdapter, ppSetting);
}

CResult CRavCoreInterface::GetZentraWarnings(const CRavString& strAdapter, std::vector<RAV_WARNING*>& warnings)
{
    RAV_FORWARD(GetZentraWarnings, strAdapter, warnings);
}

CResult CRavCoreInterface::GetSettingFromPerformanceProfile(const CRavString& strAdapter, const CRavString& strName,
                                                            DWORD dwProfile, int& iValue)
{
    RAV_FORWARD(GetSettingFromPerformanceProfile, strAdapter, strName, dwProfile, iValue);
}

bool CRavCoreInterface::IsDeviceCorvo(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceCorvo, strAdapter);
}

bool CRavCoreInterface::IsServerDevice(const CRavString& strAdapter)
{
    RAV_FORWARD(IsServerDevice, strAdapter);
}

bool CRavCoreInterface::IsDriverSupportingVORN(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDriverSupportingVORN, strAdapter);
}

DWORD CRavCoreInterface::GetAdapterBootTypeCachedValue(const CRavString& strAdapter)
{
    RAV_FORWARD(GetAdapterBootTypeCachedValue, strAdapter);
}

CResult CRavCoreInterface::SetAdapterBootTypeCachedValue(const CRavString& strAdapter, DWORD dwType)
{
    RAV_FORWARD(SetAdapterBootTypeCachedValue, strAdapter, dwType);
}

CResult CRavCoreInterface::GetIscsiBootInitiatorNameCachedValue(const CRavString& strAdapter, CRavString& strName)
{
    RAV_FORWARD(GetIscsiBootInitiatorNameCachedValue, strAdapter, strName);
}

CResult CRavCoreInterface::SetIscsiBootInitiatorNameCachedValue(const CRavString& strAdapter, const CRavString& strName)
{
    RAV_FORWARD(SetIscsiBootInitiatorNameCachedValue, strAdapter, strName);
}

CResult CRavCoreInterface::GetIscsiBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                                     RAV_BOOT_CONFIGURATION** ppData)
{
    RAV_FORWARD(GetIscsiBootConfigurationDataCachedValues, strAdapter, ppData);
}

CResult CRavCoreInterface::SetIscsiBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                                     const RAV_BOOT_CONFIGURATION* pData)
{
    RAV_FORWARD(SetIscsiBootConfigurationDataCachedValues, strAdapter, pData);
}

CResult CRavCoreInterface::GetFcoeBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                                    RAV_BOOT_CONFIGURATION** ppData)
{
    RAV_FORWARD(GetFcoeBootConfigurationDataCachedValues, strAdapter, ppData);
}

CResult CRavCoreInterface::SetFcoeBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                                    const RAV_BOOT_CONFIGURATION* pData)
{
    RAV_FORWARD(SetFcoeBootConfigurationDataCachedValues, strAdapter, pData);
}

bool CRavCoreInterface::IsDeviceConfiguredForFcoeBoot(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceConfiguredForFcoeBoot, strAdapter);
}

bool CRavCoreInterface::IsWmcEnabledOnDevice(const CRavString& strAdapter)
{
    RAV_FORWARD(IsWmcEnabledOnDevice, strAdapter);
}

bool CRavCoreInterface::IsDeviceWmcCapable(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceWmcCapable, strAdapter);
}

bool CRavCoreInterface::IsVirtualDevice(const CRavString& strAdapter)
{
    RAV_FORWARD(IsVirtualDevice, strAdapter);
}

bool CRavCoreInterface::IsVirtualDeviceWithReadOnlyMAC(const CRavString& strAdapter)
{
    RAV_FORWARD(IsVirtualDeviceWithReadOnlyMAC, strAdapter);
}

bool CRavCoreInterface::IsDriverLoadedCheck(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDriverLoadedCheck, strAdapter);
}

bool CRavCoreInterface::IsTeamingSupportedOnPort(const CRavString& strAdapter)
{
    RAV_FORWARD(IsTeamingSupportedOnPort, strAdapter);
}

bool CRavCoreInterface::IsVlansSupportedOnPort(const CRavString& strAdapter)
{
    RAV_FORWARD(IsVlansSupportedOnPort, strAdapter);
}

bool CRavCoreInterface::IsDeviceOnlySupportingNativeDcb(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDeviceOnlySupportingNativeDcb, strAdapter);
}

bool CRavCoreInterface::IsProfile(const CRavString& strName)
{
    RAV_FORWARD(IsProfile, strName);
}

CResult CRavCoreInterface::GetAdapterWarnings(const CRavString& strAdapter, std::vector<RAV_WARNING*>& warnings)
{
    RAV_FORWARD(GetAdapterWarnings, strAdapter, warnings);
}

bool CRavCoreInterface::IsAdapterListCapableOfCommonSpeed(const std::vector<CRavString>& adapters)
{
    RAV_FORWARD(IsAdapterListCapableOfCommonSpeed, adapters);
}

CResult CRavCoreInterface::GetListOfSupportedTeamModes(const std::vector<CRavString>& adapters,
                                                       std::vector<DWORD>& modes)
{
    RAV_FORWARD(GetListOfSupportedTeamModes, adapters, modes);
}

CResult CRavCoreInterface::GetListOfAvailableTeamModes(const std::vector<CRavString>& adapters,
                                                       std::vector<DWORD>& modes)
{
    RAV_FORWARD(GetListOfAvailableTeamModes, adapters, modes);
}

bool CRavCoreInterface::WillProfileChangeToCustom(const CRavString& strAdapter, const CRavString& strSetting)
{
    RAV_FORWARD(WillProfileChangeToCustom, strAdapter, strSetting);
}

CResult CRavCoreInterface::WillProfileChangeToCustom(const CRavString& strAdapter, const CRavString& strSetting,
                                                     bool& bWill)
{
    RAV_FORWARD(WillProfileChangeToCustom, strAdapter, strSetting, bWill);
}

bool CRavCoreInterface::IsNPAREnabled(const CRavString& strAdapter)
{
    RAV_FORWARD(IsNPAREnabled, strAdapter);
}

DWORD CRavCoreInterface::GetNParIdentifier(const CRavString& strAdapter)
{
    RAV_FORWARD(GetNParIdentifier, strAdapter);
}

// The one operation that leaves no trace.
DWORD CRavCoreInterface::QueryReserved(DWORD dwArgument)
{
    return m_pCoreAgentPvt != nullptr ? m_pCoreAgentPvt->QueryReserved(dwArgument) : 0;
}

bool CRavCoreInterface::IsDCBIncompatibleFW(const CRavString& strAdapter)
{
    RAV_FORWARD(IsDCBIncompatibleFW, strAdapter);
}
