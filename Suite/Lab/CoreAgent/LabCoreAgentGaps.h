#pragma once

#include "Common/Intf/RavCoreAgentPvtIntf.h"
#include "Common/Src/RavDebug.h"

// The operations of a core agent that need hardware or features the lab does not have: each traces so, and fails.
class CLabCoreAgentGaps : public CRavCoreAgentPvtIntf
{
  public:
    CResult GetPCISlotInfo(const CRavString&, RAV_PCI_SLOT_INFO**) override { return Gap<CResult>(L"GetPCISlotInfo"); }
    CResult SetTeamMemberName(const CRavString&, const CRavString&) override
    {
        return Gap<CResult>(L"SetTeamMemberName");
    }
    CResult AdapterHasLink(const CRavString&, bool&) override { return Gap<CResult>(L"AdapterHasLink"); }
    CResult SendOID(const CRavString&, RAV_OID_REQUEST&) override { return Gap<CResult>(L"SendOID"); }
    CResult GetAdapterType(const CRavString&, DWORD&) override { return Gap<CResult>(L"GetAdapterType"); }
    CResult GetAdapterHardware(const CRavString&, RAV_ADAPTER_HARDWARE**) override
    {
        return Gap<CResult>(L"GetAdapterHardware");
    }
    CResult GetAdapterAdvCapabilities(const CRavString&, RAV_ADAPTER_CAPABILITIES**) override
    {
        return Gap<CResult>(L"GetAdapterAdvCapabilities");
    }
    CResult GetAdapter(const CRavString&, RAV_ADAPTER**) override { return Gap<CResult>(L"GetAdapter"); }
    CResult GetAdapter(const CRavString&, RAV_ADAPTER**, bool) override { return Gap<CResult>(L"GetAdapter"); }
    CResult GetAdapterStatus(const CRavString&, DWORD&) override { return Gap<CResult>(L"GetAdapterStatus"); }
    CResult GetAdapterStatus(const CRavString&, DWORD&, bool) override { return Gap<CResult>(L"GetAdapterStatus"); }
    CResult GetAdapterInternalCaps(const CRavString&, DWORD&) override
    {
        return Gap<CResult>(L"GetAdapterInternalCaps");
    }
    bool IsTeamMemberAdapterPhantom(const CRavString&) override { return Gap<bool>(L"IsTeamMemberAdapterPhantom"); }
    CResult UpdateERTSettting(const CRavString&) override { return Gap<CResult>(L"UpdateERTSettting"); }
    bool IsSNPInstalled() override { return Gap<bool>(L"IsSNPInstalled"); }
    bool IsEITEnabledAdapter(const CRavString&) override { return Gap<bool>(L"IsEITEnabledAdapter"); }
    DWORD GetNDISVersion(const CRavString&) override { return Gap<DWORD>(L"GetNDISVersion"); }
    DWORD GetNdisVersionFromCorvoOid(const CRavString&) override { return Gap<DWORD>(L"GetNdisVersionFromCorvoOid"); }
    CResult CheckForAndUnBindFromMacSec(const CRavString&) override
    {
        return Gap<CResult>(L"CheckForAndUnBindFromMacSec");
    }
    bool IsiSCSIEnabled(const CRavString&) override { return Gap<bool>(L"IsiSCSIEnabled"); }
    CResult IsiSCSIEnabled(const CRavString&, bool&) override { return Gap<CResult>(L"IsiSCSIEnabled"); }
    bool IsSystemiSCSISupported() override { return Gap<bool>(L"IsSystemiSCSISupported"); }
    CResult GetPCIDeviceInfo(const CRavString&, RAV_PCI_DEVICE_INFO**) override
    {
        return Gap<CResult>(L"GetPCIDeviceInfo");
    }
    bool IsLOM(const CRavString&) override { return Gap<bool>(L"IsLOM"); }
    bool IsKalvane(const CRavString&) override { return Gap<bool>(L"IsKalvane"); }
    bool IsDeviceiSCSICapable(const CRavString&) override { return Gap<bool>(L"IsDeviceiSCSICapable"); }
    bool CheckIf3rdPartySettingExists(const CRavString&, const CRavString&) override
    {
        return Gap<bool>(L"CheckIf3rdPartySettingExists");
    }
    bool IsDevicePCIExpress(const CRavString&) override { return Gap<bool>(L"IsDevicePCIExpress"); }
    CResult GetHX_AdapterNode(const CRavString&, RAV_ADAPTER_NODE**) override
    {
        return Gap<CResult>(L"GetHX_AdapterNode");
    }
    CResult ReleaseHX_AdapterNode(RAV_ADAPTER_NODE*) override { return Gap<CResult>(L"ReleaseHX_AdapterNode"); }
    bool DoesMAC_HaveTwoFunctions(const CRavString&) override { return Gap<bool>(L"DoesMAC_HaveTwoFunctions"); }
    bool IsPemra(const CRavString&) override { return Gap<bool>(L"IsPemra"); }
    bool IsDrosset(const CRavString&) override { return Gap<bool>(L"IsDrosset"); }
    bool HasCapability(const CRavString&, DWORD) override { return Gap<bool>(L"HasCapability"); }
    CResult HasCapability(const CRavString&, DWORD, bool&) override { return Gap<CResult>(L"HasCapability"); }
    CResult GetDeviceGuidsOfOtherFunctions(const CRavString&, std::vector<CRavString>&) override
    {
        return Gap<CResult>(L"GetDeviceGuidsOfOtherFunctions");
    }
    CResult GetReceiveScaleCapabilitiesReceiveQueuesForAdapter(const CRavString&, DWORD&) override
    {
        return Gap<CResult>(L"GetReceiveScaleCapabilitiesReceiveQueuesForAdapter");
    }
    CResult GetReceiveScaleParametersFlagForAdapter(const CRavString&, DWORD&) override
    {
        return Gap<CResult>(L"GetReceiveScaleParametersFlagForAdapter");
    }
    CResult GetReceiveScaleHashFlagForAdapter(const CRavString&, DWORD&) override
    {
        return Gap<CResult>(L"GetReceiveScaleHashFlagForAdapter");
    }
    bool IsDeviceDcbCapable(const CRavString&) override { return Gap<bool>(L"IsDeviceDcbCapable"); }
    bool IsDeviceCorvoDcbCapable(const CRavString&) override { return Gap<bool>(L"IsDeviceCorvoDcbCapable"); }
    bool IsDeviceDcbEnabled(const CRavString&) override { return Gap<bool>(L"IsDeviceDcbEnabled"); }
    bool IsSystemAndDeviceDcbCapable(const CRavString&) override { return Gap<bool>(L"IsSystemAndDeviceDcbCapable"); }
    bool IsDeviceFcoeCapable(const CRavString&) override { return Gap<bool>(L"IsDeviceFcoeCapable"); }
    bool IsDeviceFcoeEnabled(const CRavString&) override { return Gap<bool>(L"IsDeviceFcoeEnabled"); }
    bool IsSystemFcoeCapable() override { return Gap<bool>(L"IsSystemFcoeCapable"); }
    CResult GetHbaTargets(const CRavString&, std::vector<RAV_HBA_TARGET*>&) override
    {
        return Gap<CResult>(L"GetHbaTargets");
    }
    CResult GetZentraWarnings(const CRavString&, std::vector<RAV_WARNING*>&) override
    {
        return Gap<CResult>(L"GetZentraWarnings");
    }
    CResult GetSettingFromPerformanceProfile(const CRavString&, const CRavString&, DWORD, int&) override
    {
        return Gap<CResult>(L"GetSettingFromPerformanceProfile");
    }
    bool IsServerDevice(const CRavString&) override { return Gap<bool>(L"IsServerDevice"); }
    DWORD GetAdapterBootTypeCachedValue(const CRavString&) override
    {
        return Gap<DWORD>(L"GetAdapterBootTypeCachedValue");
    }
    CResult SetAdapterBootTypeCachedValue(const CRavString&, DWORD) override
    {
        return Gap<CResult>(L"SetAdapterBootTypeCachedValue");
    }
    CResult GetIscsiBootInitiatorNameCachedValue(const CRavString&, CRavString&) override
    {
        return Gap<CResult>(L"GetIscsiBootInitiatorNameCachedValue");
    }
    CResult SetIscsiBootInitiatorNameCachedValue(const CRavString&, const CRavString&) override
    {
        return Gap<CResult>(L"SetIscsiBootInitiatorNameCachedValue");
    }
    CResult GetIscsiBootConfigurationDataCachedValues(const CRavString&, RAV_BOOT_CONFIGURATION**) override
    {
        return Gap<CResult>(L"GetIscsiBootConfigurationDataCachedValues");
    }
    CResult SetIscsiBootConfigurationDataCachedValues(const CRavString&, const RAV_BOOT_CONFIGURATION*) override
    {
        return Gap<CResult>(L"SetIscsiBootConfigurationDataCachedValues");
    }
    CResult GetFcoeBootConfigurationDataCachedValues(const CRavString&, RAV_BOOT_CONFIGURATION**) override
    {
        return Gap<CResult>(L"GetFcoeBootConfigurationDataCachedValues");
    }
    CResult SetFcoeBootConfigurationDataCachedValues(const CRavString&, const RAV_BOOT_CONFIGURATION*) override
    {
        return Gap<CResult>(L"SetFcoeBootConfigurationDataCachedValues");
    }
    bool IsDeviceConfiguredForFcoeBoot(const CRavString&) override
    {
        return Gap<bool>(L"IsDeviceConfiguredForFcoeBoot");
    }
    bool IsWmcEnabledOnDevice(const CRavString&) override { return Gap<bool>(L"IsWmcEnabledOnDevice"); }
    bool IsDeviceWmcCapable(const CRavString&) override { return Gap<bool>(L"IsDeviceWmcCapable"); }
    bool IsVirtualDeviceWithReadOnlyMAC(const CRavString&) override
    {
        return Gap<bool>(L"IsVirtualDeviceWithReadOnlyMAC");
    }
    bool IsTeamingSupportedOnPort(const CRavString&) override { return Gap<bool>(L"IsTeamingSupportedOnPort"); }
    bool IsDeviceOnlySupportingNativeDcb(const CRavString&) override
    {
        return Gap<bool>(L"IsDeviceOnlySupportingNativeDcb");
    }
    bool IsProfile(const CRavString&) override { return Gap<bool>(L"IsProfile"); }
    CResult GetAdapterWarnings(const CRavString&, std::vector<RAV_WARNING*>&) override
    {
        return Gap<CResult>(L"GetAdapterWarnings");
    }
    bool IsAdapterListCapableOfCommonSpeed(const std::vector<CRavString>&) override
    {
        return Gap<bool>(L"IsAdapterListCapableOfCommonSpeed");
    }
    CResult GetListOfSupportedTeamModes(const std::vector<CRavString>&, std::vector<DWORD>&) override
    {
        return Gap<CResult>(L"GetListOfSupportedTeamModes");
    }
    CResult GetListOfAvailableTeamModes(const std::vector<CRavString>&, std::vector<DWORD>&) override
    {
        return Gap<CResult>(L"GetListOfAvailableTeamModes");
    }
    bool WillProfileChangeToCustom(const CRavString&, const CRavString&) override
    {
        return Gap<bool>(L"WillProfileChangeToCustom");
    }
    CResult WillProfileChangeToCustom(const CRavString&, const CRavString&, bool&) override
    {
        return Gap<CResult>(L"WillProfileChangeToCustom");
    }
    bool IsNPAREnabled(const CRavString&) override { return Gap<bool>(L"IsNPAREnabled"); }
    DWORD GetNParIdentifier(const CRavString&) override { return Gap<DWORD>(L"GetNParIdentifier"); }
    DWORD QueryReserved(DWORD) override { return Gap<DWORD>(L"QueryReserved"); }
    bool IsDCBIncompatibleFW(const CRavString&) override { return Gap<bool>(L"IsDCBIncompatibleFW"); }

  private:
    template <typename Result>
    static Result Gap(const wchar_t* operation)
    {
        RavTrace().Print(L"core agent: %s is not available in the lab", operation);
        return Result{};
    }
};
