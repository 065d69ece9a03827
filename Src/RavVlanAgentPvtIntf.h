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
// names. Operations marked "not offered" fail.
class CRavVlanAgentPvtIntf : public CRavNetAgentPvt
{
  public:
    // Takes one VLAN (with an empty key: every VLAN) of a team off a member that leaves the team, also one that is not
    // in the machine any more. The VLAN stays with the team. After a failure the call may be repeated: it goes on.
    virtual void RemoveVlanFromTeamMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                                          const CRavString& strVlanKey) = 0;
    virtual void AddVlanToTeamMember(CResult& result, const CRavString& strTeamKey, const CRavString& strMemberKey,
                                     const CRavString& strVlanKey) = 0; // not offered
    virtual void SetTeamXMSSetting(CResult& result, const CRavString& strTeamKey, const CRavString& strName,
                                   const RAV_SETTING_VAL* pValue) = 0; // not offered
    virtual void SetSettingOnVlan(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                                  const RAV_SETTING_VAL* pValue) = 0; // not offered
    virtual void GetTeamMembers(CResult& result, const CRavString& strTeamKey,
                                std::vector<CRavString>& members) = 0; // not offered
    // Removes every VLAN over a team; the members are brought up to date with the last.
    virtual void RemoveAllVlansOnTeam(CResult& result, const CRavString& strTeamKey) = 0;
    virtual void CreateAdvSetting(CResult& result, const CRavString& strVlanKey,
                                  const RAV_SETTING* pSetting) = 0; // not offered
    virtual void EnumerateAdvSettings(CResult& result, const CRavString& strVlanKey,
                                      std::vector<RAV_SETTING*>& settings) = 0; // not offered
    virtual void GetSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                            RAV_SETTING** ppSetting) = 0; // not offered
    // Whether the VLAN's miniport driver is loaded.
    virtual bool IsVlanEnabled(const CRavString& strVlanKey) = 0;
    virtual CResult QueryHookThree() = 0; // code 0
    virtual void SetAdvSetting(CResult& result, const CRavString& strVlanKey, const CRavString& strName,
                               const RAV_SETTING_VAL* pValue) = 0; // not offered
    virtual void RemoveAdvSetting(CResult& result, const CRavString& strVlanKey,
                                  const CRavString& strName) = 0;                                        // not offered
    virtual void GetVoTDriver(CResult& result, const CRavString& strTeamKey, CRavString& strDriver) = 0; // not offered
    virtual void GetStatusOfVlansOnTeam(CResult& result, const CRavString& strTeamKey,
                                        DWORD& dwStatus) = 0; // not offered
    virtual void EnumerateVlans(CResult& result, const CRavString& strParentKey, std::vector<CRavString>& vlanKeys) = 0;
    virtual void GetVlanParent(CResult& result, const RAV_CLIENT_ID& client, const CRavString& strVlanKey,
                               RAV_VLAN_PARENT& parent) = 0;
    // Whether the VLAN is bound to the Hyper-V switch.
    virtual void IsHyperV_EnabledOnVlan(CResult& result, const CRavString& strVlanKey, bool& bBound) = 0;
    virtual void GetVlanInfo(CResult& result, const CRavString& strVlanKey, RAV_VLAN_INFO& info) = 0;
    virtual void UpdateParentTeamNameAllVlans(CResult& result, const CRavString& strTeamKey,
                                              const CRavString& strTeamName) = 0; // not offered
    virtual void CreateVlan(CResult& result, const CRavString& strParentKey, DWORD dwVlanId,
                            const CRavString& strVlanName, DWORD dwVlanType, const RAV_LOCK_RECORD& lock) = 0;
    virtual void RemoveVlan(CResult& result, const RAV_LOCK_RECORD& lock, const CRavString& strVlanKey) = 0;
    virtual void ValidateNewVlan(CResult& result, const CRavString& strParentKey, const CRavString& strVlanNumbers,
                                 const CRavString& strVlanName, std::vector<RAV_VALIDATION_MESSAGE>& messages,
                                 const RAV_CLIENT_ID& client) = 0;
    virtual void IsOtherVlansBoundToVmSwitchProtocol(CResult& result, const CRavString& strVlanKey,
                                                     bool& bBound) = 0; // not offered
    virtual void GetParameter(CResult& result, const CRavString& strVlanKey,
                              RAV_PARAMETER& parameter) = 0;                                             // not offered
    virtual void SetVlanFilteringSetting(CResult& result, const CRavString& strParentKey, bool bOn) = 0; // not offered
    virtual void IsVlanVmqCapable(CResult& result, const CRavString& strVlanKey, bool& bCapable) = 0;    // not offered
    virtual void IsVlanVmqEnabled(CResult& result, const CRavString& strVlanKey, bool& bEnabled) = 0;    // not offered
    virtual void ReSyncJumboFrameSettingEnumValues(CResult& result, const CRavString& strVlanKey,
                                                   const CRavString& strTopValue) = 0; // not offered
    virtual void SetSetting(CResult& result, const CRavString& strVlanKey,
                            const RAV_SETTING* pSetting) = 0;                                    // not offered
    virtual void SyncJumboFramesOnAllVlans(CResult& result, const CRavString& strParentKey) = 0; // not offered
    virtual void GetReceiveScaleCapabilitiesFlag(CResult& result, const CRavString& strVlanKey,
                                                 DWORD& dwFlags) = 0; // not offered
};

// The module's export for sibling agents; see GetVlanAgent.
using RAV_GET_VLAN_AGENT_PVT = CRavVlanAgentPvtIntf* (*)();
inline constexpr char RAV_GET_VLAN_AGENT_PVT_NAME[] = "GetVlanAgentPvt";
