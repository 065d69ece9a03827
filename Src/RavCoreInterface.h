#pragma once

#include "Common/Intf/RavCoreAgentPvtIntf.h"

// The module's one road to the core agent: traces every call under its own name and answers with failure (code
// 0xFFFFFFFF, false or 0) when there is no core agent. Arguments and results pass through unchanged; so do exceptions.
// It neither owns nor loads the core agent, which must outlive it. As thread-safe as the core agent itself.
class CRavCoreInterface final : public CRavCoreAgentPvtIntf
{
  public:
    explicit CRavCoreInterface(CRavCoreAgentPvtIntf* pCoreAgentPvt);

    CResult GetParameter(const CRavString& strAdapter, RAV_PARAMETER& parameter) override;
    CResult SetParameter(const CRavString& strAdapter, const RAV_PARAMETER& parameter) override;
    CResult DeleteParameter(const CRavString& strAdapter, const CRavString& strName) override;
    CResult UnloadMiniport(const CRavString& strAdapter, bool& bReboot) override;
    CResult UnloadMiniportDuringApplyDone(const CRavString& strAdapter) override;
    CResult RegisterAgent(const CRavString& strName, CRavNetAgentPvt* pAgent) override;
    CResult GetPCISlotInfo(const CRavString& strAdapter, RAV_PCI_SLOT_INFO** ppInfo) override;
    CResult SetTeamMemberName(const CRavString& strAdapter, const CRavString& strTeamName) override;
    CResult GetDisplayName(const CRavString& strAdapter, CRavString& strName) override;
    CResult VerifyClientID(const RAV_CLIENT_ID& client) override;
    bool WaitForApplyDone(const RAV_CLIENT_ID& client) override;
    CResult GetPermMacAddress(const CRavString& strAdapter, CRavString& strAddress) override;
    CResult IsBoundToXMS(const CRavString& strAdapter, bool& bBound) override;
    CResult IsBoundToTeam(const CRavString& strAdapter, bool& bBound) override;
    CResult AdapterHasLink(const CRavString& strAdapter, bool& bLink) override;
    CResult SendOID(const CRavString& strAdapter, RAV_OID_REQUEST& request) override;
    CResult GetAdapterType(const CRavString& strAdapter, DWORD& dwType) override;
    CResult EnumerateAdapters(std::vector<CRavString>& adapters) override;
    CResult GetAdapterHardware(const CRavString& strAdapter, RAV_ADAPTER_HARDWARE** ppHardware) override;
    CResult GetAdapterAdvCapabilities(const CRavString& strAdapter, RAV_ADAPTER_CAPABILITIES** ppCaps) override;
    CResult GetAdapter(const CRavString& strAdapter, RAV_ADAPTER** ppAdapter, bool bRefresh) override;
    CResult GetAdapter(const CRavString& strAdapter, RAV_ADAPTER** ppAdapter) override;
    CResult GetAdapterStatus(const CRavString& strAdapter, DWORD& dwStatus, bool bRefresh) override;
    CResult GetAdapterStatus(const CRavString& strAdapter, DWORD& dwStatus) override;
    CResult GetAdapterInternalCaps(const CRavString& strAdapter, DWORD& dwCapabilities) override;
    CResult GetAdaptersInTeam(const CRavString& strTeam, std::vector<CRavString>& adapters) override;
    CResult GetSetting(const CRavString& strAdapter, const CRavString& strName, RAV_SETTING** ppSetting) override;
    CResult SetSetting(const CRavString& strAdapter, const CRavString& strName, const RAV_SETTING_VAL* pValue) override;
    bool IsTeamMemberAdapterPhantom(const CRavString& strAdapter) override;
    CResult UpdateERTSettting(const CRavString& strAdapter) override;
    CResult StartLock(const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token) override;
    CResult DoneLock(const RAV_LOCK_TOKEN& token) override;
    bool IsSNPInstalled() override;
    bool IsEITEnabledAdapter(const CRavString& strAdapter) override;
    DWORD GetNDISVersion(const CRavString& strAdapter) override;
    DWORD GetNdisVersionFromCorvoOid(const CRavString& strAdapter) override;
    CResult CheckForAndUnBindFromMacSec(const CRavString& strAdapter) override;
    CResult IsiSCSIEnabled(const CRavString& strAdapter, bool& bEnabled) override;
    bool IsiSCSIEnabled(const CRavString& strAdapter) override;
    bool UsingStandardKeywords(const CRavString& strAdapter) override;
    bool IsSystemiSCSISupported() override;
    CResult GetPCIDeviceInfo(const CRavString& strAdapter, RAV_PCI_DEVICE_INFO** ppInfo) override;
    bool IsLOM(const CRavString& strAdapter) override;
    bool IsKalvane(const CRavString& strAdapter) override;
    bool IsDeviceiSCSICapable(const CRavString& strAdapter) override;
    bool CheckIf3rdPartySettingExists(const CRavString& strAdapter, const CRavString& strName) override;
    bool IsDevicePCIExpress(const CRavString& strAdapter) override;
    CResult GetHX_AdapterNode(const CRavString& strAdapter, RAV_ADAPTER_NODE** ppNode) override;
    CResult ReleaseHX_AdapterNode(RAV_ADAPTER_NODE* pNode) override;
    CResult IsAdapterLoaded(const CRavString& strAdapter, bool& bLoaded) override;
    bool DoesMAC_HaveTwoFunctions(const CRavString& strAdapter) override;
    bool IsPemra(const CRavString& strAdapter) override;
    bool IsDrosset(const CRavString& strAdapter) override;
    bool IsRuleTrue(const CRavString& strAdapter, const CRavString& strRule) override;
    CResult HasCapability(const CRavString& strAdapter, DWORD dwCapability, bool& bHas) override;
    bool HasCapability(const CRavString& strAdapter, DWORD dwCapability) override;
    CResult IsHyperV_EnabledOnDevice(const CRavString& strAdapter, bool& bEnabled) override;
    CResult IsDeviceVmqCapable(const CRavString& strAdapter, bool& bCapable) override;
    CResult IsDeviceVmqEnabled(const CRavString& strAdapter, bool& bEnabled) override;
    CResult GetDeviceGuidsOfOtherFunctions(const CRavString& strAdapter, std::vector<CRavString>& guids) override;
    CResult GetReceiveScaleCapabilitiesFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags) override;
    CResult GetReceiveScaleCapabilitiesReceiveQueuesForAdapter(const CRavString& strAdapter, DWORD& dwQueues) override;
    CResult GetReceiveScaleParametersFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags) override;
    CResult GetReceiveScaleHashFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags) override;
    bool IsDeviceDcbCapable(const CRavString& strAdapter) override;
    bool IsDeviceCorvoDcbCapable(const CRavString& strAdapter) override;
    bool IsDeviceDcbEnabled(const CRavString& strAdapter) override;
    bool IsSystemAndDeviceDcbCapable(const CRavString& strAdapter) override;
    bool IsDeviceFcoeCapable(const CRavString& strAdapter) override;
    bool IsDeviceFcoeEnabled(const CRavString& strAdapter) override;
    bool IsSystemFcoeCapable() override;
    CResult GetHbaTargets(const CRavString& strAdapter, std::vector<RAV_HBA_TARGET*>& targets) override;
    CResult GetJumboFramesSettingForAdapter(const CRavString& strAdapter, RAV_SETTING** ppSetting) override;
    CResult GetZentraWarnings(const CRavString& strAdapter, std::vector<RAV_WARNING*>& warnings) override;
    CResult GetSettingFromPerformanceProfile(const CRavString& strAdapter, const CRavString& strName, DWORD dwProfile,
                                             int& iValue) override;
    bool IsDeviceCorvo(const CRavString& strAdapter) override;
    bool IsServerDevice(const CRavString& strAdapter) override;
    bool IsDriverSupportingVORN(const CRavString& strAdapter) override;
    DWORD GetAdapterBootTypeCachedValue(const CRavString& strAdapter) override;
    CResult SetAdapterBootTypeCachedValue(const CRavString& strAdapter, DWORD dwType) override;
    CResult GetIscsiBootInitiatorNameCachedValue(const CRavString& strAdapter, CRavString& strName) override;
    CResult SetIscsiBootInitiatorNameCachedValue(const CRavString& strAdapter, const CRavString& strName) override;
    CResult GetIscsiBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                      RAV_BOOT_CONFIGURATION** ppData) override;
    CResult SetIscsiBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                      const RAV_BOOT_CONFIGURATION* pData) override;
    CResult GetFcoeBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                     RAV_BOOT_CONFIGURATION** ppData) override;
    CResult SetFcoeBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                     const RAV_BOOT_CONFIGURATION* pData) override;
    bool IsDeviceConfiguredForFcoeBoot(const CRavString& strAdapter) override;
    bool IsWmcEnabledOnDevice(const CRavString& strAdapter) override;
    bool IsDeviceWmcCapable(const CRavString& strAdapter) override;
    bool IsVirtualDevice(const CRavString& strAdapter) override;
    bool IsVirtualDeviceWithReadOnlyMAC(const CRavString& strAdapter) override;
    bool IsDriverLoadedCheck(const CRavString& strAdapter) override;
    bool IsTeamingSupportedOnPort(const CRavString& strAdapter) override;
    bool IsVlansSupportedOnPort(const CRavString& strAdapter) override;
    bool IsDeviceOnlySupportingNativeDcb(const CRavString& strAdapter) override;
    bool IsProfile(const CRavString& strName) override;
    CResult GetAdapterWarnings(const CRavString& strAdapter, std::vector<RAV_WARNING*>& warnings) override;
    bool IsAdapterListCapableOfCommonSpeed(const std::vector<CRavString>& adapters) override;
    CResult GetListOfSupportedTeamModes(const std::vector<CRavString>& adapters, std::vector<DWORD>& modes) override;
    CResult GetListOfAvailableTeamModes(const std::vector<CRavString>& adapters, std::vector<DWORD>& modes) override;
    CResult WillProfileChangeToCustom(const CRavString& strAdapter, const CRavString& strSetting, bool& bWill) override;
    bool WillProfileChangeToCustom(const CRavString& strAdapter, const CRavString& strSetting) override;
    bool IsNPAREnabled(const CRavString& strAdapter) override;
    DWORD GetNParIdentifier(const CRavString& strAdapter) override;
    DWORD QueryReserved(DWORD dwArgument) override;
    bool IsDCBIncompatibleFW(const CRavString& strAdapter) override;

  private:
    CRavCoreAgentPvtIntf* m_pCoreAgentPvt;
};
