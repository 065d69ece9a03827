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

CRavCoreInterface::CRavCoreInterface(CRavCoreAgentPvtIntf* pCoreAgentPvt) : m_pCoreAgentPvt(pCoreAgentPvt)
{
    RavTrace().Print(L"CRavCoreInterface::CRavCoreInterface");
}

// RAV_FORWARD(RESULT, OPERATION, (PARAMETERS), ARGUMENTS...) defines one operation.
#define RAV_FORWARD(result, operation, parameters, ...)                                                                \
    result CRavCoreInterface::operation parameters                                                                     \
    {                                                                                                                  \
        return Forward(L"CRavCoreInterface::" #operation, m_pCoreAgentPvt,                                             \
                       [&](CRavCoreAgentPvtIntf& core) { return core.operation(__VA_ARGS__); });                       \
    }

RAV_FORWARD(CResult, GetParameter, (const CRavString& strAdapter, RAV_PARAMETER& parameter), strAdapter, parameter)
RAV_FORWARD(CResult, SetParameter, (const CRavString& strAdapter, const RAV_PARAMETER& parameter), strAdapter,
            parameter)
RAV_FORWARD(CResult, DeleteParameter, (const CRavString& strAdapter, const CRavString& strName), strAdapter, strName)
RAV_FORWARD(CResult, UnloadMiniport, (const CRavString& strAdapter, bool& bReboot), strAdapter, bReboot)
RAV_FORWARD(CResult, UnloadMiniportDuringApplyDone, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(CResult, RegisterAgent, (const CRavString& strName, CRavNetAgentPvt* pAgent), strName, pAgent)
RAV_FORWARD(CResult, GetPCISlotInfo, (const CRavString& strAdapter, RAV_PCI_SLOT_INFO** ppInfo), strAdapter, ppInfo)
RAV_FORWARD(CResult, SetTeamMemberName, (const CRavString& strAdapter, const CRavString& strTeamName), strAdapter,
            strTeamName)
RAV_FORWARD(CResult, GetDisplayName, (const CRavString& strAdapter, CRavString& strName), strAdapter, strName)
RAV_FORWARD(CResult, VerifyClientID, (const RAV_CLIENT_ID& client), client)
RAV_FORWARD(bool, WaitForApplyDone, (const RAV_CLIENT_ID& client), client)
RAV_FORWARD(CResult, GetPermMacAddress, (const CRavString& strAdapter, CRavString& strAddress), strAdapter, strAddress)
RAV_FORWARD(CResult, IsBoundToXMS, (const CRavString& strAdapter, bool& bBound), strAdapter, bBound)
RAV_FORWARD(CResult, IsBoundToTeam, (const CRavString& strAdapter, bool& bBound), strAdapter, bBound)
RAV_FORWARD(CResult, AdapterHasLink, (const CRavString& strAdapter, bool& bLink), strAdapter, bLink)
RAV_FORWARD(CResult, SendOID, (const CRavString& strAdapter, RAV_OID_REQUEST& request), strAdapter, request)
RAV_FORWARD(CResult, GetAdapterType, (const CRavString& strAdapter, DWORD& dwType), strAdapter, dwType)
RAV_FORWARD(CResult, EnumerateAdapters, (std::vector<CRavString> & adapters), adapters)
RAV_FORWARD(CResult, GetAdapterHardware, (const CRavString& strAdapter, RAV_ADAPTER_HARDWARE** ppHardware), strAdapter,
            ppHardware)
RAV_FORWARD(CResult, GetAdapterAdvCapabilities, (const CRavString& strAdapter, RAV_ADAPTER_CAPABILITIES** ppCaps),
            strAdapter, ppCaps)
RAV_FORWARD(CResult, GetAdapter, (const CRavString& strAdapter, RAV_ADAPTER** ppAdapter), strAdapter, ppAdapter)
RAV_FORWARD(CResult, GetAdapter, (const CRavString& strAdapter, RAV_ADAPTER** ppAdapter, bool bRefresh), strAdapter,
            ppAdapter, bRefresh)
RAV_FORWARD(CResult, GetAdapterStatus, (const CRavString& strAdapter, DWORD& dwStatus), strAdapter, dwStatus)
RAV_FORWARD(CResult, GetAdapterStatus, (const CRavString& strAdapter, DWORD& dwStatus, bool bRefresh), strAdapter,
            dwStatus, bRefresh)
RAV_FORWARD(CResult, GetAdapterInternalCaps, (const CRavString& strAdapter, DWORD& dwCapabilities), strAdapter,
            dwCapabilities)
RAV_FORWARD(CResult, GetAdaptersInTeam, (const CRavString& strTeam, std::vector<CRavString>& adapters), strTeam,
            adapters)
RAV_FORWARD(CResult, GetSetting, (const CRavString& strAdapter, const CRavString& strName, RAV_SETTING** ppSetting),
            strAdapter, strName, ppSetting)
RAV_FORWARD(CResult, SetSetting,
            (const CRavString& strAdapter, const CRavString& strName, const RAV_SETTING_VAL* pValue), strAdapter,
            strName, pValue)
RAV_FORWARD(bool, IsTeamMemberAdapterPhantom, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(CResult, UpdateERTSettting, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(CResult, StartLock, (const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token), request, token)
RAV_FORWARD(CResult, DoneLock, (const RAV_LOCK_TOKEN& token), token)
RAV_FORWARD(bool, IsSNPInstalled, ())
RAV_FORWARD(bool, IsEITEnabledAdapter, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(DWORD, GetNDISVersion, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(DWORD, GetNdisVersionFromCorvoOid, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(CResult, CheckForAndUnBindFromMacSec, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsiSCSIEnabled, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(CResult, IsiSCSIEnabled, (const CRavString& strAdapter, bool& bEnabled), strAdapter, bEnabled)
RAV_FORWARD(bool, UsingStandardKeywords, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsSystemiSCSISupported, ())
RAV_FORWARD(CResult, GetPCIDeviceInfo, (const CRavString& strAdapter, RAV_PCI_DEVICE_INFO** ppInfo), strAdapter, ppInfo)
RAV_FORWARD(bool, IsLOM, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsKalvane, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDeviceiSCSICapable, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, CheckIf3rdPartySettingExists, (const CRavString& strAdapter, const CRavString& strName), strAdapter,
            strName)
RAV_FORWARD(bool, IsDevicePCIExpress, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(CResult, GetHX_AdapterNode, (const CRavString& strAdapter, RAV_ADAPTER_NODE** ppNode), strAdapter, ppNode)
RAV_FORWARD(CResult, ReleaseHX_AdapterNode, (RAV_ADAPTER_NODE * pNode), pNode)
RAV_FORWARD(CResult, IsAdapterLoaded, (const CRavString& strAdapter, bool& bLoaded), strAdapter, bLoaded)
RAV_FORWARD(bool, DoesMAC_HaveTwoFunctions, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsPemra, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDrosset, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsRuleTrue, (const CRavString& strAdapter, const CRavString& strRule), strAdapter, strRule)
RAV_FORWARD(bool, HasCapability, (const CRavString& strAdapter, DWORD dwCapability), strAdapter, dwCapability)
RAV_FORWARD(CResult, HasCapability, (const CRavString& strAdapter, DWORD dwCapability, bool& bHas), strAdapter,
            dwCapability, bHas)
RAV_FORWARD(CResult, IsHyperV_EnabledOnDevice, (const CRavString& strAdapter, bool& bEnabled), strAdapter, bEnabled)
RAV_FORWARD(CResult, IsDeviceVmqCapable, (const CRavString& strAdapter, bool& bCapable), strAdapter, bCapable)
RAV_FORWARD(CResult, IsDeviceVmqEnabled, (const CRavString& strAdapter, bool& bEnabled), strAdapter, bEnabled)
RAV_FORWARD(CResult, GetDeviceGuidsOfOtherFunctions, (const CRavString& strAdapter, std::vector<CRavString>& guids),
            strAdapter, guids)
RAV_FORWARD(CResult, GetReceiveScaleCapabilitiesFlagForAdapter, (const CRavString& strAdapter, DWORD& dwFlags),
            strAdapter, dwFlags)
RAV_FORWARD(CResult, GetReceiveScaleCapabilitiesReceiveQueuesForAdapter,
            (const CRavString& strAdapter, DWORD& dwQueues), strAdapter, dwQueues)
RAV_FORWARD(CResult, GetReceiveScaleParametersFlagForAdapter, (const CRavString& strAdapter, DWORD& dwFlags),
            strAdapter, dwFlags)
RAV_FORWARD(CResult, GetReceiveScaleHashFlagForAdapter, (const CRavString& strAdapter, DWORD& dwFlags), strAdapter,
            dwFlags)
RAV_FORWARD(bool, IsDeviceDcbCapable, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDeviceCorvoDcbCapable, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDeviceDcbEnabled, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsSystemAndDeviceDcbCapable, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDeviceFcoeCapable, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDeviceFcoeEnabled, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsSystemFcoeCapable, ())
RAV_FORWARD(CResult, GetHbaTargets, (const CRavString& strAdapter, std::vector<RAV_HBA_TARGET*>& targets), strAdapter,
            targets)
RAV_FORWARD(CResult, GetJumboFramesSettingForAdapter, (const CRavString& strAdapter, RAV_SETTING** ppSetting),
            strAdapter, ppSetting)
RAV_FORWARD(CResult, GetZentraWarnings, (const CRavString& strAdapter, std::vector<RAV_WARNING*>& warnings), strAdapter,
            warnings)
RAV_FORWARD(CResult, GetSettingFromPerformanceProfile,
            (const CRavString& strAdapter, const CRavString& strName, DWORD dwProfile, int& iValue), strAdapter,
            strName, dwProfile, iValue)
RAV_FORWARD(bool, IsDeviceCorvo, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsServerDevice, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDriverSupportingVORN, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(DWORD, GetAdapterBootTypeCachedValue, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(CResult, SetAdapterBootTypeCachedValue, (const CRavString& strAdapter, DWORD dwType), strAdapter, dwType)
RAV_FORWARD(CResult, GetIscsiBootInitiatorNameCachedValue, (const CRavString& strAdapter, CRavString& strName),
            strAdapter, strName)
RAV_FORWARD(CResult, SetIscsiBootInitiatorNameCachedValue, (const CRavString& strAdapter, const CRavString& strName),
            strAdapter, strName)
RAV_FORWARD(CResult, GetIscsiBootConfigurationDataCachedValues,
            (const CRavString& strAdapter, RAV_BOOT_CONFIGURATION** ppData), strAdapter, ppData)
RAV_FORWARD(CResult, SetIscsiBootConfigurationDataCachedValues,
            (const CRavString& strAdapter, const RAV_BOOT_CONFIGURATION* pData), strAdapter, pData)
RAV_FORWARD(CResult, GetFcoeBootConfigurationDataCachedValues,
            (const CRavString& strAdapter, RAV_BOOT_CONFIGURATION** ppData), strAdapter, ppData)
RAV_FORWARD(CResult, SetFcoeBootConfigurationDataCachedValues,
            (const CRavString& strAdapter, const RAV_BOOT_CONFIGURATION* pData), strAdapter, pData)
RAV_FORWARD(bool, IsDeviceConfiguredForFcoeBoot, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsWmcEnabledOnDevice, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDeviceWmcCapable, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsVirtualDevice, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsVirtualDeviceWithReadOnlyMAC, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDriverLoadedCheck, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsTeamingSupportedOnPort, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsVlansSupportedOnPort, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsDeviceOnlySupportingNativeDcb, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(bool, IsProfile, (const CRavString& strName), strName)
RAV_FORWARD(CResult, GetAdapterWarnings, (const CRavString& strAdapter, std::vector<RAV_WARNING*>& warnings),
            strAdapter, warnings)
RAV_FORWARD(bool, IsAdapterListCapableOfCommonSpeed, (const std::vector<CRavString>& adapters), adapters)
RAV_FORWARD(CResult, GetListOfSupportedTeamModes, (const std::vector<CRavString>& adapters, std::vector<DWORD>& modes),
            adapters, modes)
RAV_FORWARD(CResult, GetListOfAvailableTeamModes, (const std::vector<CRavString>& adapters, std::vector<DWORD>& modes),
            adapters, modes)
RAV_FORWARD(bool, WillProfileChangeToCustom, (const CRavString& strAdapter, const CRavString& strSetting), strAdapter,
            strSetting)
RAV_FORWARD(CResult, WillProfileChangeToCustom,
            (const CRavString& strAdapter, const CRavString& strSetting, bool& bWill), strAdapter, strSetting, bWill)
RAV_FORWARD(bool, IsNPAREnabled, (const CRavString& strAdapter), strAdapter)
RAV_FORWARD(DWORD, GetNParIdentifier, (const CRavString& strAdapter), strAdapter)

// The one operation that leaves no trace.
DWORD CRavCoreInterface::QueryReserved(DWORD dwArgument)
{
    return m_pCoreAgentPvt != nullptr ? m_pCoreAgentPvt->QueryReserved(dwArgument) : 0;
}

RAV_FORWARD(bool, IsDCBIncompatibleFW, (const CRavString& strAdapter), strAdapter)
