#pragma once

#include "Common/Intf/RavClientTypes.h"
#include "Common/Intf/RavParameter.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"

#include <vector>

class CRavNetAgentPvt;
struct RAV_SETTING;
struct RAV_SETTING_VAL;

// Records of the core agent that only travel through this module.
struct RAV_ADAPTER;
struct RAV_ADAPTER_CAPABILITIES;
struct RAV_ADAPTER_HARDWARE;
struct RAV_ADAPTER_NODE;
struct RAV_BOOT_CONFIGURATION;
struct RAV_HBA_TARGET;
struct RAV_OID_REQUEST;
struct RAV_PCI_DEVICE_INFO;
struct RAV_PCI_SLOT_INFO;
struct RAV_WARNING;

// The core agent's private interface: adapters and their settings, the suite-wide configuration lock, the identity of
// clients, and driver reloads. It is had from the core agent module's export "GetCoreAgentPvt" and belongs to that
// module, which outlives every use of it here.
//
// The order of the operations is the order of the table and part of the contract between the modules. Of two operations
// of one name the shorter comes first in the table, and therefore last here: Microsoft's compiler lays operations that
// share a name out in reverse.
//
// Conventions. An adapter is named by its instance GUID text in braces, a team likewise. A CResult of code 0 is
// success; outputs are meaningful only then. A plain answer is false, 0 or null both for "no" and for "cannot tell".
// Records returned through a pointer-to-pointer belong to the caller, who deletes them. Operations may be called on
// any thread; they may throw, and callers catch. Unless said otherwise an operation changes nothing; "Set" changes what
// it names. Codes and flags of the core agent's are its own: this module passes them on and never interprets them.
class CRavCoreAgentPvtIntf
{
  public:
    // --- parameters and reloads ---------------------------------------------------------------------------------

    // Reads the value named parameter.strName of the adapter's driver key into the rest of the record.
    // Fails with ERROR_FILE_NOT_FOUND when there is no such value.
    virtual CResult GetParameter(const CRavString& strAdapter, RAV_PARAMETER& parameter) = 0;
    // Writes the record as a value of the adapter's driver key.
    virtual CResult SetParameter(const CRavString& strAdapter, const RAV_PARAMETER& parameter) = 0;
    // Deletes a value of the adapter's driver key.
    virtual CResult DeleteParameter(const CRavString& strAdapter, const CRavString& strName) = 0;
    // Unloads the adapter's miniport now; it is loaded again when the transaction is applied. One that is not loaded is
    // left alone, which is success; one that cannot be unloaded is a failure.
    // bReboot is set, never cleared, when only a restart of the system can do it.
    virtual CResult UnloadMiniport(const CRavString& strAdapter, bool& bReboot) = 0;
    // Queues the adapter's miniport for an unload and a load when the transaction is applied.
    virtual CResult UnloadMiniportDuringApplyDone(const CRavString& strAdapter) = 0;
    // Makes an agent known under a name. When a transaction is applied, its private face gets first the unload and
    // then the load pass. The face is not owned; registering the same name again replaces the earlier face.
    virtual CResult RegisterAgent(const CRavString& strName, CRavNetAgentPvt* pAgent) = 0;
    // Where the adapter sits on its bus.
    virtual CResult GetPCISlotInfo(const CRavString& strAdapter, RAV_PCI_SLOT_INFO** ppInfo) = 0;
    // Notes on the adapter the name of the team that it is a member of; an empty name takes the note away.
    virtual CResult SetTeamMemberName(const CRavString& strAdapter, const CRavString& strTeamName) = 0;
    // The name under which administrators know the adapter.
    virtual CResult GetDisplayName(const CRavString& strAdapter, CRavString& strName) = 0;

    // --- clients --------------------------------------------------------------------------------------------------

    // Code 0xFFFFFFFF when the core agent did not hand out this identity or its process has ended.
    virtual CResult VerifyClientID(const RAV_CLIENT_ID& client) = 0;
    // Returns when no transaction is being applied, by any process; at once inside a pass. The answer carries no
    // meaning.
    virtual bool WaitForApplyDone(const RAV_CLIENT_ID& client) = 0;

    // --- one adapter ----------------------------------------------------------------------------------------------

    // The factory MAC address: twelve hexadecimal digits without separators.
    virtual CResult GetPermMacAddress(const CRavString& strAdapter, CRavString& strAddress) = 0;
    // Whether the intermediate driver's protocol edge is bound to the adapter.
    virtual CResult IsBoundToXMS(const CRavString& strAdapter, bool& bBound) = 0;
    // Whether the adapter is a member of a team.
    virtual CResult IsBoundToTeam(const CRavString& strAdapter, bool& bBound) = 0;
    // Whether the adapter's port has a link partner at the moment; fails when the driver is not loaded.
    virtual CResult AdapterHasLink(const CRavString& strAdapter, bool& bLink) = 0;
    // Hands one object identifier request to the adapter's loaded driver and brings its answer back in the record. What
    // it changes is the request's to say.
    virtual CResult SendOID(const CRavString& strAdapter, RAV_OID_REQUEST& request) = 0;
    // The kind of adapter, a code of the core agent's.
    virtual CResult GetAdapterType(const CRavString& strAdapter, DWORD& dwType) = 0;
    // All adapters, in the order in which front ends show them.
    virtual CResult EnumerateAdapters(std::vector<CRavString>& adapters) = 0;
    // The adapter's hardware record. See the conventions for who deletes it.
    virtual CResult GetAdapterHardware(const CRavString& strAdapter, RAV_ADAPTER_HARDWARE** ppHardware) = 0;
    // The adapter's record of advanced capabilities.
    virtual CResult GetAdapterAdvCapabilities(const CRavString& strAdapter, RAV_ADAPTER_CAPABILITIES** ppCaps) = 0;
    // The core agent's whole record of the adapter, from its cache where it has one; with bRefresh read anew.
    virtual CResult GetAdapter(const CRavString& strAdapter, RAV_ADAPTER** ppAdapter, bool bRefresh) = 0;
    virtual CResult GetAdapter(const CRavString& strAdapter, RAV_ADAPTER** ppAdapter) = 0;
    // The adapter's state, a set of flags of the core agent's, from its cache where it has one; with bRefresh read
    // anew.
    virtual CResult GetAdapterStatus(const CRavString& strAdapter, DWORD& dwStatus, bool bRefresh) = 0;
    virtual CResult GetAdapterStatus(const CRavString& strAdapter, DWORD& dwStatus) = 0;
    // The adapter's capabilities as a set of flags of the core agent's; HasCapability asks for one.
    virtual CResult GetAdapterInternalCaps(const CRavString& strAdapter, DWORD& dwCapabilities) = 0;
    // The members of a team in the order in which they joined.
    virtual CResult GetAdaptersInTeam(const CRavString& strTeam, std::vector<CRavString>& adapters) = 0;
    // The setting record of a keyword such as "*VMQ"; fails when the adapter has none.
    virtual CResult GetSetting(const CRavString& strAdapter, const CRavString& strName, RAV_SETTING** ppSetting) = 0;
    // Writes a value that the setting accepts; refuses any other. The value is not kept.
    virtual CResult SetSetting(const CRavString& strAdapter, const CRavString& strName,
                               const RAV_SETTING_VAL* pValue) = 0;
    // Whether a member that a team still lists is no longer in the machine.
    virtual bool IsTeamMemberAdapterPhantom(const CRavString& strAdapter) = 0;
    // Brings the adapter's ERT setting in line with its other settings. Changes the driver key.
    virtual CResult UpdateERTSettting(const CRavString& strAdapter) = 0;

    // --- the suite-wide configuration lock ------------------------------------------------------------------------

    // Takes the lock for the client. Fails with ERROR_LOCK_VIOLATION when it is not to be had by the end of the wait.
    // The thread that holds it may take it again for the same client before it has given it back; each grant has its
    // own token. Inside a pass (below) it is refused at once with ERROR_POSSIBLE_DEADLOCK.
    virtual CResult StartLock(const RAV_LOCK_RECORD& request, RAV_LOCK_TOKEN& token) = 0;
    // Gives the lock back. The last grant that goes back applies the transaction: the unload pass and then the load
    // pass of every registered agent run before the call returns, still under the lock. A failure of a pass is the
    // result; the lock is given back all the same. Fails with ERROR_NOT_LOCKED for a token that is not a grant.
    virtual CResult DoneLock(const RAV_LOCK_TOKEN& token) = 0;

    // --- capabilities ---------------------------------------------------------------------------------------------

    // Whether the system has the scalable networking features.
    virtual bool IsSNPInstalled() = 0;
    // Whether the adapter is enabled for EIT.
    virtual bool IsEITEnabledAdapter(const CRavString& strAdapter) = 0;
    // The NDIS version of the adapter's driver, major version in the high word; 0 when it is not known.
    virtual DWORD GetNDISVersion(const CRavString& strAdapter) = 0;
    // The same as the driver itself answers, by an object identifier of the maker's.
    virtual DWORD GetNdisVersionFromCorvoOid(const CRavString& strAdapter) = 0;
    // Unbinds the MACsec protocol from the adapter when it is bound. Nothing to unbind is success.
    virtual CResult CheckForAndUnBindFromMacSec(const CRavString& strAdapter) = 0;
    // Whether the adapter's port is set up for iSCSI; the first form tells failure apart from "no".
    virtual CResult IsiSCSIEnabled(const CRavString& strAdapter, bool& bEnabled) = 0;
    virtual bool IsiSCSIEnabled(const CRavString& strAdapter) = 0;
    // Whether the adapter's driver names its settings by the standardized keywords ("*JumboPacket").
    virtual bool UsingStandardKeywords(const CRavString& strAdapter) = 0;
    // Whether this system can use iSCSI over the suite's adapters.
    virtual bool IsSystemiSCSISupported() = 0;
    // Vendor, device and revision of the adapter as its bus knows them.
    virtual CResult GetPCIDeviceInfo(const CRavString& strAdapter, RAV_PCI_DEVICE_INFO** ppInfo) = 0;
    // Whether the adapter is part of the main board.
    virtual bool IsLOM(const CRavString& strAdapter) = 0;
    // Whether the device belongs to the family of this name.
    virtual bool IsKalvane(const CRavString& strAdapter) = 0;
    // Whether the device can be set up for iSCSI.
    virtual bool IsDeviceiSCSICapable(const CRavString& strAdapter) = 0;
    // Whether another maker's driver offers a setting of this keyword.
    virtual bool CheckIf3rdPartySettingExists(const CRavString& strAdapter, const CRavString& strName) = 0;
    // Whether the device sits on PCI Express.
    virtual bool IsDevicePCIExpress(const CRavString& strAdapter) = 0;
    // The adapter's node in the core agent's tree. An exception to the conventions: it goes back by
    // ReleaseHX_AdapterNode.
    virtual CResult GetHX_AdapterNode(const CRavString& strAdapter, RAV_ADAPTER_NODE** ppNode) = 0;
    // Gives a node back that GetHX_AdapterNode handed out.
    virtual CResult ReleaseHX_AdapterNode(RAV_ADAPTER_NODE* pNode) = 0;
    // Whether the adapter's driver is loaded and started; fails when the device's state cannot be read.
    virtual CResult IsAdapterLoaded(const CRavString& strAdapter, bool& bLoaded) = 0;
    // Whether the device shares its controller with a second function.
    virtual bool DoesMAC_HaveTwoFunctions(const CRavString& strAdapter) = 0;
    // Whether the device belongs to the family of this name.
    virtual bool IsPemra(const CRavString& strAdapter) = 0;
    // Whether the device belongs to the family of this name.
    virtual bool IsDrosset(const CRavString& strAdapter) = 0;
    // Evaluates one rule of the suite's rule file, for example "IsXmsSupported", for the adapter.
    virtual bool IsRuleTrue(const CRavString& strAdapter, const CRavString& strRule) = 0;
    // Whether the adapter has one of the capabilities of GetAdapterInternalCaps; the first form tells failure apart
    // from "no".
    virtual CResult HasCapability(const CRavString& strAdapter, DWORD dwCapability, bool& bHas) = 0;
    virtual bool HasCapability(const CRavString& strAdapter, DWORD dwCapability) = 0;
    // Whether the Hyper-V switch protocol is bound to the device.
    virtual CResult IsHyperV_EnabledOnDevice(const CRavString& strAdapter, bool& bEnabled) = 0;
    // Whether the device has virtual machine queues.
    virtual CResult IsDeviceVmqCapable(const CRavString& strAdapter, bool& bCapable) = 0;
    // Whether the device has them and they are switched on.
    virtual CResult IsDeviceVmqEnabled(const CRavString& strAdapter, bool& bEnabled) = 0;
    // The other functions of the same device, by instance GUID; none is success with an empty list.
    virtual CResult GetDeviceGuidsOfOtherFunctions(const CRavString& strAdapter, std::vector<CRavString>& guids) = 0;
    // The flags of the receive-side scaling capabilities that the driver reports.
    virtual CResult GetReceiveScaleCapabilitiesFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags) = 0;
    // How many receive queues the driver can use for receive-side scaling.
    virtual CResult GetReceiveScaleCapabilitiesReceiveQueuesForAdapter(const CRavString& strAdapter,
                                                                       DWORD& dwQueues) = 0;
    // The flags of the receive-side scaling parameters in use.
    virtual CResult GetReceiveScaleParametersFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags) = 0;
    // The hash types and functions that receive-side scaling uses.
    virtual CResult GetReceiveScaleHashFlagForAdapter(const CRavString& strAdapter, DWORD& dwFlags) = 0;
    // Whether the device can do data center bridging in any form.
    virtual bool IsDeviceDcbCapable(const CRavString& strAdapter) = 0;
    // Whether it can do so through the maker's own service.
    virtual bool IsDeviceCorvoDcbCapable(const CRavString& strAdapter) = 0;
    // Whether data center bridging is switched on for the device.
    virtual bool IsDeviceDcbEnabled(const CRavString& strAdapter) = 0;
    // Whether both the system and the device can do data center bridging.
    virtual bool IsSystemAndDeviceDcbCapable(const CRavString& strAdapter) = 0;
    // Whether the device can carry Fibre Channel over Ethernet.
    virtual bool IsDeviceFcoeCapable(const CRavString& strAdapter) = 0;
    // Whether the device does so.
    virtual bool IsDeviceFcoeEnabled(const CRavString& strAdapter) = 0;
    // Whether this system can use Fibre Channel over Ethernet on the suite's adapters.
    virtual bool IsSystemFcoeCapable() = 0;
    // The storage targets that the adapter sees. The records belong to the caller.
    virtual CResult GetHbaTargets(const CRavString& strAdapter, std::vector<RAV_HBA_TARGET*>& targets) = 0;
    // The adapter's jumbo-frame setting. Code 0 with *ppSetting null: the adapter has none.
    virtual CResult GetJumboFramesSettingForAdapter(const CRavString& strAdapter, RAV_SETTING** ppSetting) = 0;
    // What has to be said about the adapter for its place in a Zentra system. The records belong to the caller.
    virtual CResult GetZentraWarnings(const CRavString& strAdapter, std::vector<RAV_WARNING*>& warnings) = 0;
    // The value that a performance profile gives the setting; fails when the profile leaves it alone.
    virtual CResult GetSettingFromPerformanceProfile(const CRavString& strAdapter, const CRavString& strName,
                                                     DWORD dwProfile, int& iValue) = 0;
    // Whether the device is one of the maker's own.
    virtual bool IsDeviceCorvo(const CRavString& strAdapter) = 0;
    // Whether the device is of the maker's server line.
    virtual bool IsServerDevice(const CRavString& strAdapter) = 0;
    // Whether the adapter's driver can carry VLANs of this driver generation.
    virtual bool IsDriverSupportingVORN(const CRavString& strAdapter) = 0;

    // --- boot -----------------------------------------------------------------------------------------------------

    // How the adapter takes part in booting, as the suite noted it last: a code of the core agent's, 0 for not at all.
    virtual DWORD GetAdapterBootTypeCachedValue(const CRavString& strAdapter) = 0;
    // Notes it. None of the notes of this group changes the adapter itself.
    virtual CResult SetAdapterBootTypeCachedValue(const CRavString& strAdapter, DWORD dwType) = 0;
    // The iSCSI initiator name that the adapter boots under, as noted last.
    virtual CResult GetIscsiBootInitiatorNameCachedValue(const CRavString& strAdapter, CRavString& strName) = 0;
    // Notes it.
    virtual CResult SetIscsiBootInitiatorNameCachedValue(const CRavString& strAdapter, const CRavString& strName) = 0;
    // The adapter's iSCSI boot configuration, as noted last.
    virtual CResult GetIscsiBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                              RAV_BOOT_CONFIGURATION** ppData) = 0;
    // Notes it; the record is copied.
    virtual CResult SetIscsiBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                              const RAV_BOOT_CONFIGURATION* pData) = 0;
    // The adapter's Fibre Channel boot configuration, as noted last.
    virtual CResult GetFcoeBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                             RAV_BOOT_CONFIGURATION** ppData) = 0;
    // Notes it; the record is copied.
    virtual CResult SetFcoeBootConfigurationDataCachedValues(const CRavString& strAdapter,
                                                             const RAV_BOOT_CONFIGURATION* pData) = 0;
    // Whether the system boots over Fibre Channel through this device.
    virtual bool IsDeviceConfiguredForFcoeBoot(const CRavString& strAdapter) = 0;

    // --- ports, virtual devices, teams ----------------------------------------------------------------------------

    // Whether WMC is switched on for the device.
    virtual bool IsWmcEnabledOnDevice(const CRavString& strAdapter) = 0;
    // Whether the device can do WMC.
    virtual bool IsDeviceWmcCapable(const CRavString& strAdapter) = 0;
    // Whether the adapter is a virtual function or another device without a port of its own.
    virtual bool IsVirtualDevice(const CRavString& strAdapter) = 0;
    // Whether it is such a device, and its address is fixed by its host.
    virtual bool IsVirtualDeviceWithReadOnlyMAC(const CRavString& strAdapter) = 0;
    // IsAdapterLoaded as a plain answer.
    virtual bool IsDriverLoadedCheck(const CRavString& strAdapter) = 0;
    // Whether the port may be a member of a team.
    virtual bool IsTeamingSupportedOnPort(const CRavString& strAdapter) = 0;
    // Whether the port may carry VLANs.
    virtual bool IsVlansSupportedOnPort(const CRavString& strAdapter) = 0;
    // Whether data center bridging on the device is the system's own and not the maker's.
    virtual bool IsDeviceOnlySupportingNativeDcb(const CRavString& strAdapter) = 0;
    // Whether there is a performance profile of this name.
    virtual bool IsProfile(const CRavString& strName) = 0;
    // What an administrator should know of the adapter. The records belong to the caller.
    virtual CResult GetAdapterWarnings(const CRavString& strAdapter, std::vector<RAV_WARNING*>& warnings) = 0;
    // Whether the adapters have a speed that all of them can run at.
    virtual bool IsAdapterListCapableOfCommonSpeed(const std::vector<CRavString>& adapters) = 0;
    // The team modes that all of the adapters can take part in.
    virtual CResult GetListOfSupportedTeamModes(const std::vector<CRavString>& adapters, std::vector<DWORD>& modes) = 0;
    // Those of them that may be chosen at the moment.
    virtual CResult GetListOfAvailableTeamModes(const std::vector<CRavString>& adapters, std::vector<DWORD>& modes) = 0;
    // Whether changing the setting takes the adapter out of its performance profile; the first form tells failure apart
    // from "no".
    virtual CResult WillProfileChangeToCustom(const CRavString& strAdapter, const CRavString& strSetting,
                                              bool& bWill) = 0;
    virtual bool WillProfileChangeToCustom(const CRavString& strAdapter, const CRavString& strSetting) = 0;
    // Whether the adapter's port is divided into partitions.
    virtual bool IsNPAREnabled(const CRavString& strAdapter) = 0;
    // The number of the adapter's partition; 0 also without partitions.
    virtual DWORD GetNParIdentifier(const CRavString& strAdapter) = 0;
    // A query of the core agent's own; passed on as it is.
    virtual DWORD QueryReserved(DWORD dwArgument) = 0;
    // Whether the adapter's firmware is too old for data center bridging.
    virtual bool IsDCBIncompatibleFW(const CRavString& strAdapter) = 0;

  protected:
    ~CRavCoreAgentPvtIntf() = default;
};

// The core agent module's private export.
using RAV_GET_CORE_AGENT_PVT = CRavCoreAgentPvtIntf* (*)();
inline constexpr char RAV_GET_CORE_AGENT_PVT_NAME[] = "GetCoreAgentPvt";

// The core agent module's export for front ends: introduces the calling process as a client. Returns 0 and the
// identity, or a Windows error code.
using RAV_REGISTER_CLIENT = DWORD (*)(RAV_CLIENT_ID* pClient);
inline constexpr char RAV_REGISTER_CLIENT_NAME[] = "RegisterClient";

// The core agent module's export for front ends: who holds the configuration lock, in words, into a buffer of dwSize
// characters. Returns 0, or ERROR_NOT_FOUND when nobody holds it.
using RAV_GET_LOCK_HOLDER = DWORD (*)(wchar_t* pText, DWORD dwSize);
inline constexpr char RAV_GET_LOCK_HOLDER_NAME[] = "GetLockHolder";
