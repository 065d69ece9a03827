#pragma once

#include "Common/Src/RavNetAgentPvt.h"
#include "Common/Src/RavResult.h"
#include "Common/Src/RavString.h"
#include "Src/RavVlanTypes.h"

#include <vector>

struct RAV_SETTING;
struct RAV_SETTING_VAL;
struct RAV_PARAMETER;

// Private face of the VLAN agent, for the core agent and the team agent. The order of the operations is part of the
// contract between the modules. Conventions are those of the public face. None of these takes the suite-wide lock,
// which the calling agent holds, but CreateVlan and RemoveVlan: they take it for the client that their lock record
// names. Reloads are queued, and happen when that lock is given back. What is handed in stays the caller's, records
// that are handed out are deleted by the caller. Those that change several VLANs go on behind one that fails, and
// answer with the first failure.
class CRavVlanAgentPvtIntf : public CRavNetAgentPvt
{
  public:
    // Takes one VLAN (with an empty key: every VLAN) of a team off a member that leaves the team, also one that is not
    // in the machine any more. The VLAN stays with the team. An adapter that is no member of the team is refused. After
    // a failure the call may be repeated: it goes on.
    virtual void RemoveVlanFromTeamMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                                          const CRavString& strVlanKey) = 0;
    // Gives one VLAN (with an empty key: every VLAN, in the order in which the team has them) of a team to an adapter
    // that joins it: the inverse of the above. An adapter with VLANs of its own is refused. After a failure the call
    // may be repeated: it goes on.
    virtual void AddVlanToTeamMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                                     const CRavString& strVlanKey) = 0;
    // SetSettingOnVlan for every VLAN over the team; when one refuses none is changed.
    virtual void SetTeamXMSSetting(CResult& result, const CRavString& strTeamKey, const CRavString& strName,
                                   const RAV_SETTING_VAL* pValue) = 0;
    // The public SetSetting: the same values, refusals and reload.
    virtual void SetSettingOnVlan(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                                  const RAV_SETTING_VAL* pValue) = 0;
    // The keys of the team's members, in the order in which they joined.
    virtual void GetTeamMembers(CResult& result, const CRavString& strTeamKey, std::vector<CRavString>& members) = 0;
    // Removes every VLAN over a team; the members are brought up to date with the last.
    virtual void RemoveAllVlansOnTeam(CResult& result, const CRavString& strTeamKey) = 0;
    // Gives the VLAN a setting, or another description and value for one that it has, and reloads it when the value is
    // another one. The record is a RAV_SETTING_ENUM or RAV_SETTING_INT. Of "*JumboPacket" the parent's choices are
    // taken, as when a VLAN is created.
    virtual void CreateAdvSetting(CResult& result, const CRavString& strVlanKey, const RAV_SETTING* pSetting) = 0;
    // The public EnumerateSettings and GetSetting, without waiting for an apply.
    virtual void EnumerateAdvSettings(CResult& result, const CRavString& strVlanKey,
                                      std::vector<RAV_SETTING*>& settings) = 0;
    virtual void GetSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                            RAV_SETTING** ppSetting) = 0;
    // Whether the VLAN's miniport driver is loaded.
    virtual bool IsVlanEnabled(const CRavString& strVlanKey) = 0;
    virtual CResult QueryHookThree() = 0; // code 0
    // Another name of SetSettingOnVlan.
    virtual void SetAdvSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                               const RAV_SETTING_VAL* pValue) = 0;
    // Takes value and description of a setting from the VLAN, and reloads it. Code 2 (ERROR_FILE_NOT_FOUND) when it has
    // none of the keyword.
    virtual void RemoveAdvSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName) = 0;
    // The path of the driver's file that serves the VLANs over a team.
    virtual void GetVoTDriver(CResult& result, const CRavString& strTeamKey, CRavString& strDriver) = 0;
    // As GetVlanStatus, of all VLANs over the team: 1 when every one is loaded, otherwise the status of the first that
    // is not; 0 when there is none.
    virtual void GetStatusOfVlansOnTeam(CResult& result, const CRavString& strTeamKey, DWORD& dwStatus) = 0;
    virtual void EnumerateVlans(CResult& result, const CRavString& strParentKey, std::vector<CRavString>& vlanKeys) = 0;
    virtual void GetVlanParent(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                               RAV_VLAN_PARENT& parent) = 0;
    // Whether the VLAN is bound to the Hyper-V switch.
    virtual void IsHyperV_EnabledOnVlan(CResult& result, const CRavString& strVlanKey, bool& bBound) = 0;
    virtual void GetVlanInfo(CResult& result, const CRavString& strVlanKey, RAV_VLAN_INFO& info) = 0;
    // Names every VLAN over the team after the team's new name. Takes the network configuration's write lock; nothing
    // is reloaded.
    virtual void UpdateParentTeamNameAllVlans(CResult& result, const CRavString& strTeamKey,
                                              const CRavString& strTeamName) = 0;
    virtual void CreateVlan(CResult& result, const CRavString& strParentKey, DWORD dwVlanId,
                            const CRavString& strVlanName, DWORD dwVlanType, const RAV_LOCK_RECORD& lock) = 0;
    virtual void RemoveVlan(CResult& result, const RAV_LOCK_RECORD& lock, const CRavString& strVlanKey) = 0;
    virtual void ValidateNewVlan(CResult& result, const CRavString& strParentKey, const CRavString& strVlanNumbers,
                                 const CRavString& strVlanName, std::vector<RAV_VALIDATION_MESSAGE>& messages,
                                 const RAV_CLIENT_ID& client) = 0;
    // Whether another VLAN of the same parent is bound to the Hyper-V switch.
    virtual void IsOtherVlansBoundToVmSwitchProtocol(CResult& result, const CRavString& strVlanKey, bool& bBound) = 0;
    // Reads the value named parameter.strName of the VLAN's key into the rest of the record.
    virtual void GetParameter(CResult& result, const CRavString& strVlanKey, RAV_PARAMETER& parameter) = 0;
    // Switches the filtering by VLAN id on or off, at an adapter or at each member of a team; those whose value changes
    // are reloaded, one without the parameter is left alone.
    virtual void SetVlanFilteringSetting(CResult& result, const CRavString& strParentKey, bool bOn) = 0;
    // Whether the parent has virtual machine queues, and has them on: of a team, whether every member does.
    virtual void IsVlanVmqCapable(CResult& result, const CRavString& strVlanKey, bool& bCapable) = 0;
    virtual void IsVlanVmqEnabled(CResult& result, const CRavString& strVlanKey, bool& bEnabled) = 0;
    // Makes the VLAN's "*JumboPacket" anew from the template, with the choices up to strTopValue (bytes, as text) and
    // the default as its value, and reloads the VLAN. With "1514" all choices stay and the setting is hidden.
    virtual void ReSyncJumboFrameSettingEnumValues(CResult& result, const CRavString& strVlanKey,
                                                   const CRavString& strTopValue) = 0;
    // SetSettingOnVlan with the record's name and current value.
    virtual void SetSetting(CResult& result, const CRavString& strVlanKey, const RAV_SETTING* pSetting) = 0;
    // After the jumbo size of an adapter, or of a team's member, has changed: every VLAN of the parent gets the
    // parent's choices up to its present size (of a team the least of its members'); a value above comes down to the
    // greatest. VLANs that this changes are reloaded.
    virtual void SyncJumboFramesOnAllVlans(CResult& result, const CRavString& strParentKey) = 0;
    // The receive-side scaling capabilities of the parent: of a team, those that all members share.
    virtual void GetReceiveScaleCapabilitiesFlag(CResult& result, const CRavString& strVlanKey, DWORD& dwFlags) = 0;
};

// The module's export for sibling agents; see GetVlanAgent.
using RAV_GET_VLAN_AGENT_PVT = CRavVlanAgentPvtIntf* (*)();
inline constexpr char RAV_GET_VLAN_AGENT_PVT_NAME[] = "GetVlanAgentPvt";
